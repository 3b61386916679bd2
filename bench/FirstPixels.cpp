// Shows newsletters of 90,000 characters, one after another: from their HTML, through the sanitizer, in the
// message view, with a page and a process of its own for each; or in a bare view of the engine, which keeps
// both, trusts the HTML, and is given nothing else.
//
// usage: FirstPixels ours|bare   Needs a display, and bench/first-pixels, which looks at it. For each
// newsletter it prints where on the screen its colour will be, the colour, and when it was given to the view,
// in nanoseconds of the monotonic clock; the next one comes some time behind a line of the standard input.

#include "safety/HTMLSanitizer.h"
#include "views/reader/SecureMessageView.h"

#include <QApplication>
#include <QEventLoop>
#include <QQuickWindow>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>
#include <QWebEngineView>

#include <array>
#include <chrono>
#include <unistd.h>

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

constexpr int newsletters = 26;
/// What a reader takes at least before they open the next message.
constexpr int pause = 700;
constexpr int patience = 10'000;
/// A line of the view, in pixels, left of whose text is the ground of the newsletter.
constexpr int middle = 400;

QColor colorOf(int run)
{
    return QColor(40 + run * 8, 250 - run * 8, 100);
}

QString newsletter(int run)
{
    QString html =
        u"<html><body><table width=\"600\" cellspacing=\"0\" bgcolor=\"%1\">"_s.arg(colorOf(run).name());
    for (int offer = 0; offer < 30; ++offer) {
        html +=
            u"<tr><td style=\"padding:8px;font-family:sans-serif;color:#333\"><h2>Offer %1</h2><p>%2</p></td></tr>"_s
                .arg(offer)
                .arg(u"Some words about what is on <b>sale</b> this week. "_s.repeated(60));
    }
    return html + u"</table></body></html>"_s;
}

/// Waits until whoever looks at the screen has written a line; false where it is never seen.
bool isSeen()
{
    bool isSeen = false;
    QEventLoop loop;
    const QSocketNotifier answer(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&answer, &QSocketNotifier::activated, &loop, [&] {
        std::array<char, 2> line{};
        isSeen = ::read(STDIN_FILENO, line.data(), line.size()) > 0;
        loop.quit();
    });
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    loop.exec();
    return isSeen;
}

/// Shows one newsletter after another. Returns whether all were seen.
template <typename Show>
bool showAll(QWidget& view, Show show)
{
    view.resize(700, 800);
    view.show();
    QTextStream out(stdout);
    for (int run = 0; run < newsletters; ++run) {
        const QString html = newsletter(run);
        const QPoint place = view.mapToGlobal(QPoint(0, middle));
        const auto start = std::chrono::steady_clock::now().time_since_epoch();
        show(html);
        // Behind the call, so that its writing isn't counted; what reads it sees no earlier than this.
        out << place.x() << ' ' << place.y() << ' ' << colorOf(run).name() << ' '
            << std::chrono::nanoseconds(start).count() << Qt::endl;
        if (!isSeen())
            return false;
        QEventLoop loop;
        QTimer::singleShot(pause, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

bool showOurs()
{
    SecureMessageView view;
    return showAll(view, [&view](const QString& html) {
        SanitizerOptions options;
        options.indirectLinks = true;
        view.display(HTMLSanitizer::sanitize(html, options), false, 1);
    });
}

bool showBare()
{
    QWebEngineView view;
    return showAll(view, [&view](const QString& html) { view.setHtml(html); });
}

} // namespace

int main(int argc, char** argv)
{
    const bool isOurs = argc > 1 && QByteArrayView(argv[1]) == "ours";
    if (geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    if (isOurs)
        SecureMessageView::prepareEngine();
    else
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QApplication application(argc, argv);
    return (isOurs ? showOurs() : showBare()) ? 0 : 1;
}
