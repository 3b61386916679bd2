// How long a newsletter takes with its images, from the call that shows it to its end: in the message view,
// which has them fetched for the engine, and in a bare view of the engine, which fetches them itself. Run it
// through "newsletter-images", which makes the network that it needs, and compares the two.

#include "../tests/ui/Internet.h"
#include "safety/HTMLSanitizer.h"
#include "support/WaitUntil.h"
#include "views/reader/SecureMessageView.h"

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QPointer>
#include <QQuickWindow>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTextStream>
#include <QThread>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineView>

#include <algorithm>
#include <memory>
#include <random>
#include <unistd.h>

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

constexpr int images = 30;
constexpr int hosts = 3;
constexpr int runs = 15;

/// A picture of about 30 KB.
QByteArray picture()
{
    std::mt19937 random(7);
    QImage image(100, 100, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, static_cast<QRgb>(random()));
    }
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
}

QString urlOf(int run, int image)
{
    return u"https://h%1.example/%2/%3.png"_s.arg(image % hosts).arg(run).arg(image);
}

/// Its text is about 90,000 characters long.
QString newsletter(int run)
{
    QString html = u"<html><body><table width=\"600\">"_s;
    for (int image = 0; image < images; ++image) {
        html += u"<tr><td style=\"padding:8px;font-family:sans-serif;color:#333\"><h2>Offer %1</h2>"
                "<img src=\"%2\" width=\"300\" height=\"200\"><p>%3</p></td></tr>"_s.arg(image)
                    .arg(urlOf(run, image), u"Some words about what is on sale this week. "_s.repeated(60));
    }
    return html + u"</table></body></html>"_s;
}

/// The servers, in a thread of their own.
class Servers {
public:
    Servers()
    {
        m_thread.reset(QThread::create([this] {
            Internet internet;
            internet.keepConnections();
            const QByteArray body = picture();
            for (int run = 0; run <= runs; ++run) {
                for (int image = 0; image < images; ++image)
                    internet.answer(urlOf(run, image), {200, {}, body});
            }
            m_isReady.release();
            QEventLoop().exec();
            m_served = internet.requests().size();
        }));
        m_thread->start();
        m_isReady.acquire();
    }
    ~Servers() { end(); }
    Servers(const Servers&) = delete;
    Servers& operator=(const Servers&) = delete;

    /// Gives the number of requests that were answered.
    qsizetype end()
    {
        m_thread->quit();
        m_thread->wait();
        return m_served;
    }

private:
    std::unique_ptr<QThread> m_thread;
    QSemaphore m_isReady;
    qsizetype m_served = 0;
};

template <typename Show>
QList<qint64> measure(Show showNewsletter)
{
    QList<qint64> times;
    for (int run = 0; run <= runs; ++run) {
        const qint64 time = showNewsletter(newsletter(run));
        // The first one starts the engine.
        if (run > 0)
            times.append(time);
    }
    std::ranges::sort(times);
    return times;
}

QList<qint64> measureOurs()
{
    SecureMessageView view;
    view.resize(700, 800);
    view.show();
    return measure([&view](const QString& html) {
        SanitizerOptions options;
        options.allowRemoteImages = true;
        options.indirectLinks = true;
        const SanitizedHTML content = HTMLSanitizer::sanitize(html, options);
        const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
        QElapsedTimer time;
        time.start();
        view.display(content, true, 1);
        return waitUntil([&loads] { return !loads.isEmpty(); }) ? time.elapsed() : -1;
    });
}

QList<qint64> measureBare()
{
    QWebEngineProfile profile;
    profile.setHttpCacheType(QWebEngineProfile::NoCache);
    QWebEngineView view;
    view.resize(700, 800);
    view.show();
    return measure([&](const QString& html) {
        SanitizerOptions options;
        options.allowRemoteImages = true;
        const SanitizedHTML content = HTMLSanitizer::sanitize(html, options);
        // As in the message view, each message has a page of its own.
        auto* const page = new QWebEnginePage(&profile, &profile);
        page->settings()->setAttribute(QWebEngineSettings::JavascriptEnabled, false);
        const QSignalSpy loads(page, &QWebEnginePage::loadFinished);
        QElapsedTimer time;
        time.start();
        // The view's first page is its own, and goes by itself.
        const QPointer<QWebEnginePage> last = view.page();
        view.setPage(page);
        delete last;
        page->setHtml(content.document);
        return waitUntil([&loads] { return !loads.isEmpty(); }) ? time.elapsed() : -1;
    });
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
    QApplication application(argc, argv);
    Servers servers;
    const QList<qint64> times = isOurs ? measureOurs() : measureBare();
    const qsizetype served = servers.end();
    QTextStream(stdout) << times.at(times.size() / 2) << ' ' << times.first() << ' ' << served << Qt::endl;
    // Both have had all images, or nothing is compared.
    return served == (runs + 1) * images ? 0 : 1;
}
