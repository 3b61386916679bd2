// Works through a day on a large mailbox, and prints for each part of it how long the main thread was held by
// one turn of its event loop at most: what a user would feel as a window that doesn't answer.
//
// A thread of its own posts an event to the main thread each millisecond, and takes the time until that is
// delivered, and how much of it the main thread had a processor: the rest it waited for one, which the web
// engine's processes and the mail server want as well.
//
// bench/day-turns prepares the mailbox and runs it.

#include "platform/Wakeup.h"
#include "views/compose/ComposeWindow.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/Application.h"
#include "views/settings/SettingsView.h"

#include <QDeadlineTimer>
#include <QSemaphore>
#include <QTextStream>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <thread>

using namespace Larkhaven;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr auto patience = 60s;
constexpr int newsletters = 100;
constexpr int archivedPages = 10;
constexpr qsizetype attachmentSize = 25 * 1024 * 1024;
constexpr auto longTurn = 50ms;
constexpr auto betweenClicks = 120ms;

/// Records the longest turns of the thread that makes it, which must run an event loop.
class Watchdog {
public:
    struct Longest {
        Milliseconds wall{0};
        Milliseconds processor{0};
        int longTurns = 0; ///< that took more than `longTurn` of a processor
    };

    Watchdog()
    {
        pthread_getcpuclockid(pthread_self(), &m_processorClock);
        m_thread = std::jthread([this](const std::stop_token& stop) { watch(stop); });
    }
    ~Watchdog() { m_thread.request_stop(); }
    Q_DISABLE_COPY_MOVE(Watchdog)

    /// Those since the last call.
    Longest take()
    {
        const std::scoped_lock lock(m_mutex);
        return std::exchange(m_longest, {});
    }

private:
    void watch(const std::stop_token& stop)
    {
        while (!stop.stop_requested()) {
            const auto posted = Clock::now();
            const Milliseconds before = processorTime();
            const auto delivered = std::make_shared<QSemaphore>();
            QMetaObject::invokeMethod(
                &m_context, [delivered] { delivered->release(); }, Qt::QueuedConnection);
            while (!delivered->tryAcquire(1, 100)) {
                if (stop.stop_requested())
                    return;
            }
            note(Clock::now() - posted, processorTime() - before);
            std::this_thread::sleep_for(1ms);
        }
    }

    void note(Milliseconds wall, Milliseconds processor)
    {
        const std::scoped_lock lock(m_mutex);
        m_longest.wall = std::max(m_longest.wall, wall);
        m_longest.processor = std::max(m_longest.processor, processor);
        m_longest.longTurns += processor > longTurn ? 1 : 0;
    }

    Milliseconds processorTime() const
    {
        timespec time{};
        clock_gettime(m_processorClock, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    QObject m_context;
    clockid_t m_processorClock{};
    std::mutex m_mutex;
    Longest m_longest;
    std::jthread m_thread; ///< the last one: it uses all the others
};

class Day {
public:
    explicit Day(Application& application)
        : m_application(application)
        , m_model(application.model())
    {}

    /// The kept rows, before the server says anything.
    Task<bool> liveAgain()
    {
        m_application.window().show();
        const auto areThere = [this] { return !m_model.messages().isEmpty(); };
        const bool good = co_await part(u"started again, to the kept rows"_s, until(areThere));
        co_return good;
    }

    Task<bool> live()
    {
        m_application.window().show();
        const auto isListed = [this] { return isListing(); };
        bool good = co_await part(u"start, to a filled list"_s, until(isListed));
        good = good && co_await part(u"100 newsletters opened"_s, openNewsletters());
        good = good && co_await part(u"a message of 25 MiB opened"_s, openLarge());
        good = good && co_await part(u"25 MiB attached, typed and sent"_s, send());
        good = good && co_await part(u"20 pages turned"_s, turnPages());
        good = good && co_await part(u"three searches"_s, search());
        good = good && co_await part(u"1,000 rows archived"_s, archive());
        good = good && co_await part(u"settings opened and closed"_s, openSettings());
        co_return good;
    }

private:
    bool isListing() const { return !m_model.isLoading() && !m_model.messages().isEmpty(); }

    Task<bool> part(QString name, Task<bool> work)
    {
        m_watchdog.take();
        const auto start = Clock::now();
        const bool isDone = co_await work;
        const std::chrono::duration<double> whole = Clock::now() - start;
        const Watchdog::Longest longest = m_watchdog.take();
        QTextStream(stdout) << name << '\t' << QString::number(longest.wall.count(), 'f', 1) << '\t'
                            << QString::number(longest.processor.count(), 'f', 1) << '\t' << longest.longTurns
                            << '\t' << QString::number(whole.count(), 'f', 2) << '\t'
                            << (isDone ? "" : "not done") << Qt::endl;
        co_return isDone;
    }

    Task<bool> until(std::function<bool()> isReached)
    {
        const QDeadlineTimer deadline(patience);
        Wakeup wakeup;
        while (!isReached()) {
            if (deadline.hasExpired())
                co_return false;
            co_await wakeup.wait(5ms);
        }
        co_return true;
    }

    Task<bool> open(MessageSummary row)
    {
        ReaderView& reader = m_application.window().reader();
        bool isDrawn = false;
        const auto connection = QObject::connect(&reader, &ReaderView::shown, [&isDrawn] { isDrawn = true; });
        // Two clicks: the first one selects the row.
        m_model.setSelection({row.id});
        Wakeup wakeup;
        co_await wakeup.wait(betweenClicks);
        m_model.open(row);
        const auto isDone = [&reader, &isDrawn] { return isDrawn || reader.loadError(); };
        const bool isShown = co_await until(isDone);
        QObject::disconnect(connection);
        m_model.setPath({});
        co_return isShown&& isDrawn;
    }

    Task<bool> openNewsletters()
    {
        const QList<MessageSummary> rows = m_model.messages();
        int opened = 0;
        for (const MessageSummary& row : rows) {
            if (!row.subject.contains("(issue "_L1))
                continue;
            const bool isOpened = co_await open(row);
            if (!isOpened)
                co_return false;
            ++opened;
        }
        // The large message is on the page as well.
        if (opened < newsletters - 1)
            complain(u"%1 newsletters among %2 rows, the first of them %3"_s.arg(opened)
                         .arg(rows.size())
                         .arg(rows.isEmpty() ? QString() : rows.first().subject));
        co_return opened == newsletters - 1;
    }

    Task<bool> openLarge()
    {
        const QList<MessageSummary> rows = m_model.messages();
        const auto large = std::ranges::find_if(
            rows, [](const MessageSummary& row) { return row.subject == "A large message"_L1; });
        if (large == rows.end())
            co_return false;
        const MessageSummary row = *large;
        const bool isOpened = co_await open(row);
        co_return isOpened;
    }

    Task<bool> send()
    {
        // Its file is read before, by a worker where a user attaches one.
        const QByteArray file(attachmentSize, 'x');
        Wakeup wakeup;
        co_await wakeup.wait(100ms);
        ComposeDraft draft;
        draft.id = QUuid::createUuid();
        draft.accountID = m_model.accounts().first().id;
        draft.to = u"mara@larkhaven.example"_s;
        draft.subject = u"Something heavy"_s;
        draft.body = u"It is attached."_s;
        draft.attachments = {{QUuid::createUuid(), u"heavy.bin"_s, u"application/octet-stream"_s, file}};
        m_model.openCompose(draft);
        co_await wakeup.wait(3s); // what is typed is kept meanwhile
        bool isSent = true;
        try {
            co_await m_model.send(draft);
        } catch (const std::exception& error) {
            complain(QString::fromUtf8(error.what()));
            isSent = false;
        }
        m_model.closeCompose(draft.id);
        if (ComposeWindow* const window = m_application.window().composeWindows().window(draft.id))
            window->close();
        co_await wakeup.wait(1s);
        co_return isSent;
    }

    static void complain(const QString& text) { QTextStream(stderr) << "DayTurns: " << text << Qt::endl; }

    Task<bool> turnPages()
    {
        for (int page = 0; page < 20; ++page) {
            co_await m_model.nextPage();
            const auto isThere = [this] { return isListing(); };
            const bool isListed = co_await until(isThere);
            if (!isListed)
                co_return false;
        }
        co_await m_model.firstPage();
        co_return true;
    }

    Task<bool> search()
    {
        for (const QString& text : {u"boat"_s, u"order"_s, u"nothing has this"_s}) {
            m_model.setSearchText(text);
            co_await m_model.applySearch();
        }
        m_model.setSearchText({});
        co_await m_model.applySearch();
        const auto isThere = [this] { return isListing(); };
        const bool isListed = co_await until(isThere);
        co_return isListed;
    }

    Task<bool> archive()
    {
        for (int page = 0; page < archivedPages; ++page) {
            const QList<MessageSummary> rows = m_model.messages();
            if (rows.isEmpty())
                co_return false;
            m_model.archive(rows);
            const QString first = rows.first().id;
            const auto isNext = [this, first] { return isListing() && !m_model.message(first); };
            const bool isListed = co_await until(isNext);
            if (!isListed)
                co_return false;
            Wakeup wakeup;
            co_await wakeup.wait(500ms);
        }
        co_return true;
    }

    Task<bool> openSettings()
    {
        for (const SettingsView::Pane pane : {SettingsView::Pane::general, SettingsView::Pane::accounts}) {
            m_application.window().openSettings(pane);
            Wakeup wakeup;
            co_await wakeup.wait(500ms);
        }
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (qobject_cast<SettingsView*>(window))
                window->close();
        }
        Wakeup wakeup;
        co_await wakeup.wait(300ms);
        co_return true;
    }

    Application& m_application;
    AppModel& m_model;
    Watchdog m_watchdog;
};

} // namespace

/// usage: DayTurns [again]   With "again" no more than the start, on what an earlier run has left.
int main(int argc, char** argv)
{
    const bool isAgain = argc > 1 && QByteArrayView(argv[1]) == "again";
    argc = 1;
    Application application(argc, argv);
    if (!application.isFirst())
        return application.run();
    application.model().defaults().set(DefaultsKey::pageSize, 100);
    Day day(application);
    bool isGood = false;
    Task<> living = [](Day& whole, bool again, bool& good) -> Task<> {
        try {
            Task<bool> work = again ? whole.liveAgain() : whole.live();
            good = co_await work;
        } catch (const std::exception& error) {
            QTextStream(stderr) << "DayTurns: " << error.what() << Qt::endl;
        }
        QApplication::quit();
    }(day, isAgain, isGood);
    QApplication::exec();
    return isGood ? 0 : 1;
}
