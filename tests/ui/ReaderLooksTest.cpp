#include "ReaderViewFixture.h"

#include <QWebEnginePage>
#include <QWebEngineView>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A message with all that a header block can have, and one forwarded within it.
QByteArray richMessage()
{
    QByteArray to = "To: =?utf-8?B?2YXYrdmF2K8g2LnZhNmK?= <m@example.org>";
    for (int number = 1; number < 1000; ++number)
        to += ",\r\n Person " + QByteArray::number(number) + " <p" + QByteArray::number(number) +
              "@example.org>";
    return "From: Ada Lovelace <ada@example.com>\r\n" + to +
           "\r\nCc: Bo <bo@example.org>\r\nSubject: The boats of this summer, of the last one, and of all "
           "those before "
           "them, as they were seen from the harbour by those who stayed at home, with their names and their "
           "owners, and what has become of them since\r\n"
           "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
           "--b\r\nContent-Type: text/html; charset=utf-8\r\n\r\n<p>Have a look at <a "
           "href=\"https://a.example/\">these</a> and <a href=\"javascript:x\">those</a>.</p>"
           "<img src=\"https://img.example/a.png\" width=\"200\" height=\"100\">\r\n"
           "--b\r\nContent-Type: message/rfc822\r\n\r\nFrom: Carl <carl@example.com>\r\nSubject: Boats\r\n"
           "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\n\r\n" +
           QByteArray("One of them.\r\n").repeated(40) +
           "--b\r\nContent-Type: application/pdf; name=boats.pdf\r\n\r\nPDF\r\n--b--\r\n";
}

class ReaderAppearanceTest : public ReaderViewTest, public testing::WithParamInterface<Look> {};

TEST_P(ReaderAppearanceTest, ShowsAMessageWithinItsPane)
{
    const Look look = GetParam();
    open(richMessage());
    Style::shared().setScheme(look.scheme);
    Style::shared().setTextSize(look.textSize);
    mail->window->resize(look.size);
    ASSERT_TRUE(waitUntilDrawn(*mail->window));
    // The engine follows at its own pace.
    const QWebEngineView& page = message().webView();
    ASSERT_TRUE(waitUntil([&page] {
        const double width = page.page()->contentsSize().width() / page.devicePixelRatioF();
        return width <= page.width() + 2 && width > 0.8 * page.width();
    })) << page.page()->contentsSize().width()
        << ' ' << page.width();
    takeScreenshot(*mail->window, u"reader-"_s + nameOf(look));
    const int right = reader().width();
    for (const char* const name :
         {"readerSubject", "readerFrom", "readerTo", "readerDate", "readerClip", "readerAttachmentCount"}) {
        const QLabel& shown = label(name);
        ASSERT_TRUE(shown.isVisible()) << name;
        EXPECT_LE(shown.mapTo(&reader(), QPoint(shown.width(), 0)).x(), right) << name;
    }
    EXPECT_LE(message().mapTo(&reader(), QPoint(message().width(), 0)).x(), right);
    Style::shared().setScheme(Style::Scheme::light);
    Style::shared().setTextSize(Style::standardTextSize);
}

INSTANTIATE_TEST_SUITE_P(Looks, ReaderAppearanceTest,
                         testing::Values(Look{Style::Scheme::light, 13, ContentView::defaultSize},
                                         Look{Style::Scheme::dark, 13, ContentView::defaultSize},
                                         Look{Style::Scheme::light, 10, ContentView::smallestSize},
                                         Look{Style::Scheme::dark, 28, ContentView::defaultSize},
                                         Look{Style::Scheme::light, 28, ContentView::smallestSize}),
                         [](const auto& one) { return nameOf(one.param).replace(u'-', u'_').toStdString(); });

} // namespace
} // namespace Larkhaven
