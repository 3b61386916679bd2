#include "UITestSupport.h"

#include "views/list/MessageTableView.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <QWindow>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace Larkhaven {

QString nameOf(const Look& look)
{
    const QString scheme = look.scheme == Style::Scheme::light ? u"light"_s : u"dark"_s;
    const bool isDouble = qEnvironmentVariable("QT_SCALE_FACTOR") == u"2";
    return u"%1-%2-%3x%4%5"_s.arg(scheme)
        .arg(look.textSize)
        .arg(look.size.width())
        .arg(look.size.height())
        .arg(isDouble ? u"-double"_s : QString());
}

QImage grab(const QWidget& widget)
{
    const QPoint place = widget.mapToGlobal(QPoint(0, 0));
    return widget.screen()
        ->grabWindow(0, place.x(), place.y(), widget.width(), widget.height())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

void takeScreenshot(const QWidget& widget, const QString& name)
{
    ASSERT_TRUE(waitUntilDrawn(widget));
    // Another user can't write into the folder of the build.
    const QString folder = qEnvironmentVariable("LARKHAVEN_TEST_SCREENSHOTS", QStringLiteral(SCREENSHOTS));
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(grab(widget).save(u"%1/%2.png"_s.arg(folder, name)));
}

void show(QWidget& window)
{
    window.show();
    ASSERT_TRUE(waitUntil([&window] { return window.windowHandle() && window.windowHandle()->isExposed(); }));
    activate(window);
}

void activate(QWidget& window)
{
    // A window that was shown just before may be on its way to the front still, and would come last.
    constexpr qint64 patience = 300;
    QElapsedTimer sinceAsked;
    ASSERT_TRUE(waitUntil([&] {
        if (window.isActiveWindow())
            return true;
        if (!sinceAsked.isValid() || sinceAsked.hasExpired(patience)) {
            window.activateWindow();
            sinceAsked.start();
        }
        return false;
    })) << window.windowTitle().toStdString();
}

std::string wordsOnScreen()
{
    QStringList words;
    for (const QWidget* const window : QApplication::topLevelWidgets()) {
        if (!window->isVisible())
            continue;
        words.append(
            u"[%1 %2]"_s.arg(QString::fromLatin1(window->metaObject()->className()), window->windowTitle()));
        for (const QLabel* const label : window->findChildren<QLabel*>()) {
            if (label->isVisible() && !label->text().isEmpty())
                words.append(label->text());
        }
    }
    return words.join(u" | "_s).toStdString();
}

QColor pixel(const QWidget& widget, const QPoint& point)
{
    const QImage image = grab(widget);
    const double ratio = static_cast<double>(image.width()) / widget.width();
    return image.pixelColor((QPointF(point) * ratio).toPoint());
}

bool waitForColor(const QWidget& widget, const QPoint& point, const QColor& color)
{
    constexpr int tolerance = 6;
    return waitUntil([&] {
        const QColor seen = pixel(widget, point);
        return std::abs(seen.red() - color.red()) < tolerance &&
               std::abs(seen.green() - color.green()) < tolerance &&
               std::abs(seen.blue() - color.blue()) < tolerance;
    });
}

bool waitUntilDrawn(const QWidget& widget)
{
    // The engine gives no sign of a finished frame: a picture that stays the same for a while is finished.
    constexpr int frames = 8;
    QImage last;
    int same = 0;
    return waitUntil([&] {
        const QImage now = grab(widget);
        same = now == last ? same + 1 : 0;
        last = now;
        return same >= frames;
    });
}

QString pageText(SecureMessageView& view)
{
    std::optional<QString> text;
    view.webView().page()->toPlainText([&text](const QString& found) { text = found; });
    EXPECT_TRUE(waitUntil([&text] { return text.has_value(); }));
    return text.value_or(QString());
}

QWidget& inputWidget(const SecureMessageView& view)
{
    QWidget* const proxy = view.webView().focusProxy();
    return proxy ? *proxy : view.webView();
}

void showDocument(SecureMessageView& view, const QString& document, bool allowRemoteImages, double zoom)
{
    const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
    view.display({document, {}, 0, 0}, allowRemoteImages, zoom);
    ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
}

QString filled(const QString& body, const QString& color)
{
    return u"<!DOCTYPE html><html><body style=\"margin:0;background:%1\">%2</body></html>"_s.arg(color, body);
}

LinkRecord link(const QString& url, const QString& text)
{
    return {*MailURL::parse(url), text};
}

MailWindow::MailWindow(const QList<Account>& accounts, const Info& info)
    : fixture(accounts)
{
    fixture.setInfo(info);
    fixture.restart();
    Style::shared().setTextSize(Style::standardTextSize);
    Style::shared().setScheme(Style::Scheme::light);
    Style::shared().applyToApplication();
    ReaderView::Desktop desktop;
    desktop.openURL = [this](const QUrl& url) { openedURLs.append(url); };
    desktop.chooseSavePath = [this](QWidget*, const QString& suggestedName) {
        suggestedNames.append(suggestedName);
        return savePath;
    };
    window = std::make_unique<ContentView>(fixture.model(), desktop);
}

MailWindow::~MailWindow()
{
    window.reset();
    settle();
}

void MailWindow::fill(const QList<MessageSummary>& rows)
{
    fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), rows);
}

void MailWindow::open()
{
    show(*window);
    ASSERT_TRUE(waitUntil([this] { return !model().isLoading(); }));
}

void MailWindow::read(const QString& id)
{
    const std::optional<MessageSummary> row = model().message(id);
    ASSERT_TRUE(row);
    const QSignalSpy shown(&window->reader(), &ReaderView::shown);
    model().open(*row);
    ASSERT_TRUE(waitUntil([&] { return !shown.isEmpty() || window->reader().loadError(); }));
}

MessageTable& MailWindow::table()
{
    return window->listing().table();
}

QByteArray htmlMessage(const QString& html, const QString& subject)
{
    return u"From: Ada <ada@example.com>\r\nTo: Mia <mia@example.org>\r\nSubject: %1\r\n"
           "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\nMIME-Version: 1.0\r\n"
           "Content-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n%2\r\n"_s
               .arg(subject, html)
               .toUtf8();
}

} // namespace Larkhaven
