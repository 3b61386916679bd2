#include "Internet.h"
#include "UITestSupport.h"
#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"
#include "views/reader/SecureMessageView.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineView>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace Larkhaven {
namespace {

const QString newsletter =
    u"<html><head><base href=\"https://base.example/\">"
    "<link rel=\"stylesheet\" href=\"https://style.example/a.css\">"
    "<link rel=\"preconnect\" href=\"https://connect.example/\">"
    "<link rel=\"dns-prefetch\" href=\"https://prefetch.example/\">"
    "<style>@import url(https://style.example/b.css);"
    "@font-face{font-family:f;src:url(https://font.example/f.woff)}"
    "body{background:url(https://background.example/b.png)}</style></head>"
    "<body background=\"https://background.example/c.png\"><h1>News</h1>"
    "<img src=\"https://img.example/one.png\" width=\"100\" height=\"50\">"
    "<img src=\"https://cdn.example/two.png?size=2\" width=\"100\" height=\"50\" "
    "srcset=\"https://srcset.example/three.png 2x\">"
    "<img src=\"http://plain.example/four.png\" width=\"100\" height=\"50\">"
    "<img src=\"https://tracker.example/open.gif\" width=\"1\" height=\"1\">"
    "<img src=\"https://tracker.example/pixel.gif?u=1\" style=\"display:none\">"
    "<a href=\"https://link.example/?utm_source=x\">Read more</a>"
    "<video poster=\"https://video.example/p.png\" src=\"https://video.example/v.mp4\"></video>"
    "<audio src=\"https://audio.example/a.mp3\"></audio>"
    "<iframe src=\"https://frame.example/\"></iframe>"
    "<form action=\"https://form.example/\"><input type=\"image\" src=\"https://input.example/i.png\"></form>"
    "</body></html>"_s;

/// Counts every attempt to reach anybody, on whatever port, beside what the servers see.
class NetworkTest : public testing::Test {
protected:
    NetworkTest()
    {
        view.resize(400, 400);
        show(view);
        internet.forget();
    }

    static SanitizedHTML sanitized(const QString& html, bool allowRemoteImages)
    {
        SanitizerOptions options;
        options.allowRemoteImages = allowRemoteImages;
        options.indirectLinks = true;
        return HTMLSanitizer::sanitize(html, options);
    }

    void display(const SanitizedHTML& content, bool allowRemoteImages)
    {
        const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
        view.display(content, allowRemoteImages, 1);
        ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
        ASSERT_TRUE(waitUntilDrawn(view));
    }

    /// Loads an image that is allowed: it comes after all that the engine had still in mind, and proves that
    /// this network would have shown it.
    void expectThatTheNetworkWorks()
    {
        display({filled(u"<img src=\"https://sentinel.example/s.png\">"_s), {}, 0, 0}, true);
        EXPECT_TRUE(waitUntil([this] { return !internet.requests().isEmpty(); }));
        EXPECT_THAT(internet.hosts(), ElementsAre(u"sentinel.example"_s));
        EXPECT_THAT(internet.lookups(), ElementsAre(u"sentinel.example"_s));
    }

    /// Of the pictures that this network serves.
    int bluePixels()
    {
        const QImage image = view.grab().toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                count += image.pixelColor(x, y) == QColor(Qt::blue);
        }
        return count;
    }

    QStringList urls() const
    {
        QStringList all;
        for (const Internet::Request& request : internet.requests())
            all.append(request.url);
        return all;
    }

    Internet internet;
    SecureMessageView view;
};

TEST_F(NetworkTest, AsksNobodyForANewsletterWhoseRemoteContentIsOff)
{
    const Internet::Counters before = Internet::counters();
    display(sanitized(newsletter, false), false);
    EXPECT_EQ(Internet::counters(), before);
    EXPECT_THAT(internet.lookups(), IsEmpty());
    EXPECT_EQ(internet.connections(), 0);
    expectThatTheNetworkWorks();
}

TEST_F(NetworkTest, GetsOnlyTheImagesOfANewsletterOverHTTPS)
{
    display(sanitized(newsletter, true), true);
    EXPECT_TRUE(waitUntil([this] { return internet.requests().size() >= 3; }));
    EXPECT_THAT(urls(), UnorderedElementsAre(u"https://img.example/one.png"_s,
                                             u"https://cdn.example/two.png?size=2"_s,
                                             u"https://plain.example/four.png"_s));
    EXPECT_THAT(internet.lookups(),
                UnorderedElementsAre(u"img.example"_s, u"cdn.example"_s, u"plain.example"_s));
    EXPECT_EQ(internet.plainConnections(), 0);
    // They are squares, and are kept in shape.
    EXPECT_TRUE(waitUntil([this] { return bluePixels() == 3 * 100 * 100; })) << bluePixels();
    takeScreenshot(view, u"newsletter-with-images"_s);
}

TEST_F(NetworkTest, TellsServersOfImagesNothingOfTheReader)
{
    display(sanitized(newsletter, true), true);
    ASSERT_TRUE(waitUntil([this] { return internet.requests().size() >= 3; }));
    for (const Internet::Request& request : internet.requests()) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.header("user-agent"), "Mozilla/5.0");
        EXPECT_TRUE(request.body.isEmpty());
        const QList<QByteArray> known{"host", "user-agent", "accept", "accept-encoding"};
        for (const auto& [name, value] : request.headers)
            EXPECT_TRUE(known.contains(name)) << name.toStdString() << ": " << value.toStdString();
    }
}

TEST_F(NetworkTest, GivesNoClientHintsThatAServerAsksFor)
{
    internet.answer(
        u"https://img.example/one.png"_s,
        {200,
         {{"Accept-CH", "Sec-CH-UA-Platform-Version, Sec-CH-UA-Full-Version-List, Sec-CH-UA-Arch, "
                        "Device-Memory, DPR, Viewport-Width, RTT"},
          {"Critical-CH", "Sec-CH-UA-Platform-Version"},
          {"Permissions-Policy", "ch-ua-arch=*, ch-dpr=*"}}});
    for (const QString& name : {u"one"_s, u"two"_s}) {
        internet.forget();
        display(sanitized(u"<img src=\"https://img.example/%1.png\" width=\"90\" height=\"90\">"_s.arg(name),
                          true),
                true);
        ASSERT_TRUE(waitUntil([this] { return !internet.requests().isEmpty(); }));
        for (const Internet::Request& request : internet.requests()) {
            for (const auto& [header, value] : request.headers)
                EXPECT_FALSE(header.startsWith("sec-ch-") || header == "dpr" || header == "device-memory" ||
                             header == "rtt" || header == "viewport-width")
                    << header.toStdString();
        }
    }
}

TEST_F(NetworkTest, SendsNoCookieBackAndNoReferrer)
{
    const QList<std::pair<QByteArray, QByteArray>> cookies{
        {"Set-Cookie", "id=1; Secure; SameSite=None; Path=/; Max-Age=999999"},
        {"Set-Cookie", "plain=2"},
        {"Referrer-Policy", "unsafe-url"}};
    internet.answer(u"https://img.example/one.png"_s, {200, cookies});
    auto toSecond = cookies;
    toSecond.emplaceBack("Location", "/second.png");
    internet.answer(u"https://img.example/redirect.png"_s, {302, toSecond});
    auto toOther = cookies;
    toOther.emplaceBack("Location", "https://cdn.example/third.png");
    internet.answer(u"https://img.example/second.png"_s, {307, toOther});
    const auto image = [](const QString& url) {
        return u"<img src=\"%1\" width=\"90\" height=\"90\">"_s.arg(url);
    };
    display(sanitized(image(u"https://img.example/one.png"_s), true), true);
    display(sanitized(image(u"https://img.example/redirect.png"_s) + image(u"https://img.example/last.png"_s),
                      true),
            true);
    EXPECT_TRUE(waitUntil([this] { return internet.requests().size() >= 5; }));
    EXPECT_THAT(urls(),
                UnorderedElementsAre(u"https://img.example/one.png"_s, u"https://img.example/redirect.png"_s,
                                     u"https://img.example/second.png"_s, u"https://cdn.example/third.png"_s,
                                     u"https://img.example/last.png"_s));
    for (const Internet::Request& request : internet.requests()) {
        EXPECT_EQ(request.header("cookie"), std::nullopt) << request.url.toStdString();
        EXPECT_EQ(request.header("referer"), std::nullopt) << request.url.toStdString();
        EXPECT_EQ(request.header("origin"), std::nullopt) << request.url.toStdString();
        EXPECT_EQ(request.header("user-agent"), "Mozilla/5.0") << request.url.toStdString();
    }
}

TEST_F(NetworkTest, FollowsNoRedirectToPlainHTTP)
{
    internet.answer(u"https://img.example/down.png"_s, {302, {{"Location", "http://plain.example/x.png"}}});
    internet.answer(u"https://img.example/again.png"_s,
                    {302, {{"Location", "https://cdn.example/down.png"}}});
    internet.answer(u"https://cdn.example/down.png"_s, {301, {{"Location", "http://plain.example/y.png"}}});
    internet.answer(u"https://img.example/file.png"_s, {302, {{"Location", "file:///etc/hostname"}}});
    internet.answer(u"https://img.example/link.png"_s, {302, {{"Location", "larkhaven-link:0"}}});
    QString body;
    for (const QString& name : {u"down"_s, u"again"_s, u"file"_s, u"link"_s})
        body += u"<img src=\"https://img.example/%1.png\" width=\"90\" height=\"90\">"_s.arg(name);
    display(sanitized(body, true), true);
    EXPECT_TRUE(waitUntil([this] { return internet.requests().size() >= 5; }));
    EXPECT_EQ(internet.plainConnections(), 0);
    internet.forget();
    expectThatTheNetworkWorks();
    EXPECT_EQ(internet.plainConnections(), 0);
}

TEST_F(NetworkTest, GivesNoCredentialsToAServerThatAsks)
{
    internet.answer(u"https://img.example/one.png"_s, {401, {{"WWW-Authenticate", "Basic realm=\"bank\""}}});
    display(sanitized(u"<img src=\"https://img.example/one.png\" width=\"90\" height=\"90\">"_s, true), true);
    EXPECT_THAT(urls(), ElementsAre(u"https://img.example/one.png"_s));
    EXPECT_EQ(internet.requests().first().header("authorization"), std::nullopt);
    EXPECT_FALSE(QApplication::activeModalWidget());
}

TEST_F(NetworkTest, NeverAsksATrackerInAnyMode)
{
    const QString html = u"<img src=\"https://tracker.example/open.gif\" width=\"1\" height=\"1\">"
                         "<img src=\"https://tracker.example/a.gif\" width=\"0\" height=\"90\">"
                         "<img src=\"https://tracker.example/b.gif\" style=\"width:1px;height:1px\">"_s;
    const Internet::Counters before = Internet::counters();
    for (const bool allowRemoteImages : {false, true}) {
        const SanitizedHTML content = sanitized(html, allowRemoteImages);
        EXPECT_EQ(content.trackers, 3);
        display(content, allowRemoteImages);
    }
    EXPECT_EQ(Internet::counters(), before);
    expectThatTheNetworkWorks();
}

TEST_F(NetworkTest, ReloadsABlockedMessageWithItsImages)
{
    const QString html = u"<img src=\"https://img.example/one.png\" width=\"90\" height=\"90\">"_s;
    display(sanitized(html, false), false);
    EXPECT_EQ(internet.connections(), 0);
    display(sanitized(html, true), true);
    EXPECT_TRUE(waitUntil([this] { return !internet.requests().isEmpty(); }));
    EXPECT_THAT(urls(), ElementsAre(u"https://img.example/one.png"_s));
    display(sanitized(html, false), false);
    EXPECT_EQ(internet.requests().size(), 1);
}

TEST_F(NetworkTest, AsksForNothingMoreOfAMessageThatHasGivenWayToAnother)
{
    QString before;
    for (int number = 0; number < 400; ++number)
        before += u"<img src=\"https://img.example/%1.png\" width=\"9\" height=\"9\">"_s.arg(number);
    for (const int milliseconds : {0, 20, 60, 150}) {
        SCOPED_TRACE(milliseconds);
        view.display(sanitized(before, true), true, 1);
        QTest::qWait(milliseconds);
        display(sanitized(u"<p>%1</p>"_s.arg(milliseconds), true), true);
        // What was on its way may still arrive.
        QTest::qWait(50);
        internet.forget();
        QTest::qWait(200);
        EXPECT_THAT(internet.requests(), IsEmpty());
        EXPECT_THAT(internet.lookups(), IsEmpty());
        EXPECT_EQ(view.refusedImages(), 0);
    }
    expectThatTheNetworkWorks();
}

/// Documents that try to reach {host}, as if the sanitizer had let them through.
const QStringList hostileDocuments{
    u"<link rel=\"dns-prefetch\" href=\"//{host}\">"_s,
    u"<meta http-equiv=\"x-dns-prefetch-control\" content=\"on\"><a href=\"https://{host}/\">x</a>"
    "<link rel=\"dns-prefetch\" href=\"https://{host}\">"_s,
    u"<link rel=\"preconnect\" href=\"https://{host}\">"_s,
    u"<link rel=\"preconnect\" href=\"https://{host}\" crossorigin>"_s,
    u"<link rel=\"preconnect\" href=\"http://{host}\">"_s,
    u"<link rel=\"preconnect\" href=\"https://{host}:8443\">"_s,
    u"<link rel=\"prefetch\" href=\"https://{host}/a\">"_s,
    u"<link rel=\"prerender\" href=\"https://{host}/a\">"_s,
    u"<link rel=\"modulepreload\" href=\"https://{host}/a.js\">"_s,
    u"<link rel=\"preload\" as=\"font\" href=\"https://{host}/a.woff\" crossorigin>"_s,
    u"<link rel=\"preload\" as=\"fetch\" href=\"https://{host}/a\" crossorigin>"_s,
    u"<link rel=\"stylesheet\" href=\"https://{host}/a.css\">"_s,
    u"<link rel=\"icon\" href=\"https://{host}/favicon.ico\">"_s,
    u"<link rel=\"apple-touch-icon\" href=\"https://{host}/t.png\">"_s,
    u"<link rel=\"manifest\" href=\"https://{host}/m.json\">"_s,
    u"<meta http-equiv=\"refresh\" content=\"0;url=https://{host}/\">"_s,
    u"<script src=\"https://{host}/a.js\"></script>"_s,
    u"<script>new WebSocket('wss://{host}/');fetch('https://{host}/');new Image().src='https://{host}/i';"
    "navigator.sendBeacon('https://{host}/b');new EventSource('https://{host}/e');"
    "new RTCPeerConnection({iceServers:[{urls:'stun:{host}'}]}).createDataChannel('x')</script>"_s,
    u"<iframe src=\"https://{host}/\"></iframe>"_s,
    u"<iframe srcdoc=\"<meta http-equiv=x-dns-prefetch-control content=on>"
    "<link rel=dns-prefetch href=//{host}>\"></iframe>"_s,
    u"<iframe srcdoc=\"<link rel=preconnect href=https://{host}><link rel=dns-prefetch href=//{host}>\"></iframe>"_s,
    u"<iframe src=\"data:text/html,<link rel=preconnect href=https://{host}>\"></iframe>"_s,
    u"<object data=\"https://{host}/\"></object><embed src=\"https://{host}/\">"_s,
    u"<video src=\"https://{host}/v.mp4\" autoplay muted></video>"_s,
    u"<audio src=\"https://{host}/a.mp3\" autoplay></audio>"_s,
    u"<style>@import 'https://{host}/a.css';</style>"_s,
    u"<style>@font-face{font-family:f;src:url(https://{host}/f.woff)}p{font-family:f}</style><p>x</p>"_s,
    u"<a href=\"https://{host}/\" ping=\"https://{host}/ping\">x</a>"_s,
    u"<script "
    u"type=\"speculationrules\">{\"prerender\":[{\"source\":\"list\",\"urls\":[\"https://{host}/\"]}]}"
    "</script>"_s,
    u"<meta http-equiv=\"Content-Security-Policy\" content=\"img-src 'none'; report-uri https://{host}/r\">"
    "<img src=\"data:,x\">"_s,
    u"<svg><use href=\"https://{host}/x.svg#a\"/></svg>"_s,
    u"<form action=\"https://{host}/\"><input autofocus></form>"_s};
/// These are images, which the second mode allows.
const QStringList hostileImages{u"<img src=\"https://{host}/x.png\" srcset=\"https://{host}/y.png 2x\">"_s,
                                u"<div style=\"background:url(https://{host}/x.png);height:90px\"></div>"_s,
                                u"<video poster=\"https://{host}/p.png\"></video>"_s,
                                u"<link rel=\"preload\" as=\"image\" href=\"https://{host}/x.png\">"_s,
                                u"<svg><image href=\"https://{host}/x.png\"/></svg>"_s,
                                u"<input type=\"image\" src=\"https://{host}/x.png\">"_s,
                                u"<svg><feImage href=\"https://{host}/x.png\"/></svg>"_s};

QString documentOf(const QString& piece, int number)
{
    QString body = piece;
    return filled(body.replace(u"{host}"_s, u"h%1.example"_s.arg(number)));
}

TEST_F(NetworkTest, AsksNobodyForHostileDocumentsThatGotThrough)
{
    int number = 0;
    for (const QString& piece : hostileDocuments + hostileImages) {
        SCOPED_TRACE(piece.toStdString());
        const Internet::Counters before = Internet::counters();
        display({documentOf(piece, number++), {}, 0, 0}, false);
        EXPECT_EQ(Internet::counters(), before);
        EXPECT_THAT(internet.lookups(), IsEmpty());
        EXPECT_EQ(internet.connections(), 0);
        internet.forget();
    }
    expectThatTheNetworkWorks();
}

TEST_F(NetworkTest, AsksNobodyForHostileDocumentsEvenWhereNoRuleHoldsThem)
{
    const std::optional<ContentBlocker::RuleList> none = ContentBlocker::RuleList::compile(
        R"([{"trigger":{"url-filter":".*"},"action":{"type":"ignore-previous-rules"}}])");
    ASSERT_TRUE(none);
    SecureMessageView open(
        nullptr, [&none](ContentBlocker::Mode) -> const ContentBlocker::RuleList& { return *none; });
    open.resize(400, 400);
    show(open);
    int number = 0;
    for (const QString& piece : hostileDocuments) {
        SCOPED_TRACE(piece.toStdString());
        const Internet::Counters before = Internet::counters();
        const QSignalSpy loads(&open, &SecureMessageView::loadFinished);
        open.display({documentOf(piece, number++), {}, 0, 0}, true, 1);
        ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
        EXPECT_EQ(Internet::counters(), before);
        EXPECT_THAT(internet.lookups(), IsEmpty());
        EXPECT_EQ(internet.connections(), 0);
        internet.forget();
    }
    expectThatTheNetworkWorks();
}

TEST_F(NetworkTest, HasAnEngineThatReachesNobodyByItself)
{
    // Without any of what is ours around it.
    QWebEngineProfile profile;
    QWebEnginePage page(&profile);
    const Internet::Counters before = Internet::counters();
    for (const QString& url :
         {u"https://h0.example/"_s, u"http://h0.example/"_s, u"https://93.184.216.34/"_s,
          u"http://93.184.216.34:8080/"_s, u"http://127.0.0.1/"_s, u"https://127.0.0.1/"_s,
          u"http://127.1/"_s, u"http://localhost/"_s, u"http://[::1]/"_s, u"https://[2606:2800:220:1::1]/"_s,
          u"http://router/"_s, u"http://printer.local/"_s, u"ftp://h0.example/"_s,
          u"view-source:http://127.0.0.1/"_s}) {
        SCOPED_TRACE(url.toStdString());
        const QSignalSpy loads(&page, &QWebEnginePage::loadFinished);
        page.load(QUrl(url));
        EXPECT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
        EXPECT_FALSE(loads.value(0).value(0).toBool());
    }
    EXPECT_EQ(Internet::counters(), before);
    EXPECT_THAT(internet.lookups(), IsEmpty());
    EXPECT_EQ(internet.connections(), 0);
    expectThatTheNetworkWorks();
}

TEST_F(NetworkTest, AsksForNothingButImagesOfHostileDocumentsWhereImagesAreAllowed)
{
    int number = 0;
    for (const QString& piece : hostileDocuments) {
        SCOPED_TRACE(piece.toStdString());
        const Internet::Counters before = Internet::counters();
        display({documentOf(piece, number++), {}, 0, 0}, true);
        EXPECT_EQ(Internet::counters(), before);
        EXPECT_THAT(internet.lookups(), IsEmpty());
        EXPECT_EQ(internet.connections(), 0);
        internet.forget();
    }
    expectThatTheNetworkWorks();
}

} // namespace
} // namespace Larkhaven
