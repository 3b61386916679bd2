#include "support/ModelFixture.h"
#include "support/TurnMeter.h"
#include "support/WaitUntil.h"
#include "views/list/MessageTable.h"
#include "views/list/MessageTableView.h"
#include "views/main/ContentView.h"
#include "views/reader/SecureMessageView.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <unistd.h>

// Prints how long the main window with 100 rows takes for a frame, in milliseconds of the wall clock and of
// the processor: while it is resized and scrolled, and for a change of text size and of scheme. A frame is
// the step and all that it leaves to be laid out and painted. The engine of the message view is up by then;
// the longest turn of its start has a line of its own.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

class Frames {
public:
    void measure(const std::function<void()>& step)
    {
        TurnMeter meter;
        meter.step([&step] {
            step();
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents();
        });
        m_turns.append(meter.takeLongest());
    }

    void print(const char* name)
    {
        std::ranges::sort(m_turns, {}, &TurnMeter::Turn::wall);
        const TurnMeter::Turn& median = m_turns.at(m_turns.size() / 2);
        std::printf(
            "%-14s %4lld frames, median %6.2f ms (%6.2f ms of the processor), longest %6.2f ms (%6.2f)\n",
            name, static_cast<long long>(m_turns.size()), median.wall, median.processor, m_turns.last().wall,
            m_turns.last().processor);
    }

private:
    QList<TurnMeter::Turn> m_turns;
};

bool waitForEngine(ContentView& window)
{
    constexpr std::chrono::seconds patience{30};
    TurnMeter meter;
    if (!meter.until([&] { return window.findChild<SecureMessageView*>() != nullptr; }, patience))
        return false;
    meter.pass(std::chrono::seconds(1));
    const TurnMeter::Turn longest = meter.takeLongest();
    std::printf("engine's start, longest turn %6.2f ms (%6.2f ms of the processor)\n", longest.wall,
                longest.processor);
    return true;
}

void run(ContentView& window)
{
    MessageTable& table = window.listing().table();
    Frames resizing;
    for (int step = 0; step < 120; ++step) {
        const int width = 900 + 4 * (step < 60 ? step : 120 - step);
        resizing.measure([&] { window.resize(width, 700 + (step % 60)); });
    }
    resizing.print("resizing");

    Frames scrolling;
    QScrollBar& bar = *table.verticalScrollBar();
    for (int turn = 0; turn < 3; ++turn) {
        for (int value = bar.minimum(); value <= bar.maximum(); value += std::max(1, bar.maximum() / 60))
            scrolling.measure([&] { bar.setValue(value); });
    }
    scrolling.print("scrolling");

    Style& style = Style::shared();
    Frames sizes;
    for (const int size : {10, 13, 20, 28, 13, 10, 28, 13})
        sizes.measure([&] { style.setTextSize(size); });
    sizes.print("text size");

    Frames schemes;
    for (int turn = 0; turn < 8; ++turn) {
        schemes.measure([&] { style.setScheme(turn % 2 == 0 ? Style::Scheme::dark : Style::Scheme::light); });
    }
    schemes.print("scheme");
}

} // namespace

int main(int argc, char** argv)
{
    // The engine, which the window starts behind it, refuses to make a sandbox for root.
    if (geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    SecureMessageView::prepareEngine();
    QApplication application(argc, argv);
    ModelFixture fixture;
    fixture.defaults().set(DefaultsKey::pageSize, qint64{100});
    fixture.provider().setListing(MailboxRef::system(Mailbox::inbox),
                                  ModelFixture::rows(fixture.account(), 100));
    Style::shared().applyToApplication();
    ContentView window(fixture.model(), {});
    window.resize(1100, 760);
    window.show();
    if (!waitUntil([&] { return fixture.model().messages().size() == 100; }))
        return 1;
    if (!waitForEngine(window))
        return 1;
    settle();
    run(window);
    return 0;
}
