// How long a newsletter of 90,000 characters takes until it can be seen: from its HTML, through the
// sanitizer, in the message view, with a page and a process of its own for each message; and in a bare view
// of the engine, which keeps both, trusts the HTML, and is given nothing else.
//
// usage: FirstPixels ours|bare   Needs a display. Prints the median and the longest time in milliseconds.

#include "safety/HTMLSanitizer.h"
#include "support/WaitUntil.h"
#include "views/reader/SecureMessageView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QQuickWindow>
#include <QTextStream>
#include <QTimer>
#include <QWebEngineView>

#include <algorithm>
#include <unistd.h>

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

constexpr int runs = 25;
/// What a reader takes at least before they open the next message.
constexpr int pause = 700;

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

/// Whether the ground of the newsletter is on screen, left of its text.
bool isSeen(QWidget& view, int run)
{
    constexpr int middle = 400;
    constexpr int widestMargin = 30;
    const QImage picture = view.grab(QRect(0, middle, widestMargin, 1)).toImage();
    for (int x = 0; x < picture.width(); ++x) {
        if (picture.pixelColor(x, 0) == colorOf(run))
            return true;
    }
    return false;
}

/// Times each newsletter until it can be seen.
template <typename Show>
QList<qint64> measured(QWidget& view, Show show)
{
    view.resize(700, 800);
    view.show();
    QList<qint64> times;
    for (int run = 0; run <= runs; ++run) {
        const QString html = newsletter(run);
        QElapsedTimer time;
        time.start();
        show(html);
        const bool isShown = waitUntil([&] { return isSeen(view, run); });
        // The first one starts the engine.
        if (run > 0)
            times.append(isShown ? time.elapsed() : -1);
        QEventLoop loop;
        QTimer::singleShot(pause, &loop, &QEventLoop::quit);
        loop.exec();
    }
    std::ranges::sort(times);
    return times;
}

QList<qint64> measuredOurs()
{
    SecureMessageView view;
    return measured(view, [&view](const QString& html) {
        SanitizerOptions options;
        options.indirectLinks = true;
        view.display(HTMLSanitizer::sanitize(html, options), false, 1);
    });
}

QList<qint64> measuredBare()
{
    QWebEngineView view;
    return measured(view, [&view](const QString& html) { view.setHtml(html); });
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
    const QList<qint64> times = isOurs ? measuredOurs() : measuredBare();
    QTextStream(stdout) << times.at(times.size() / 2) << ' ' << times.last() << Qt::endl;
    return times.first() >= 0 ? 0 : 1;
}
