#include "UITestSupport.h"
#include "support/QtPrinters.h"
#include "views/reader/SecureMessageView.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>
#include <QWebEngineHistory>
#include <QWebEngineView>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What comes to the view as it stands, as if the sanitizer had let it through. {host} is a server that
/// counts who connects.
class HostileDocumentTest : public testing::Test {
protected:
    HostileDocumentTest()
    {
        EXPECT_TRUE(trap.listen(QHostAddress::LocalHost));
        view.resize(400, 300);
        show(view);
    }

    /// Shows the document, sees that it does nothing, and that the page still stands: its link works.
    void expectHarmless(const QString& body, const QString& head = {})
    {
        SCOPED_TRACE(body.toStdString() + head.toStdString());
        const qsizetype windows = QApplication::topLevelWidgets().size();
        const QString host = u"127.0.0.1:%1"_s.arg(trap.serverPort());
        QString document = u"<!DOCTYPE html><html><head><title>quiet</title>{head}</head>"
                           "<body style=\"margin:0;overflow:hidden;background:#00ff00\">{body}"
                           "<a href=\"larkhaven-link:0\" "
                           "style=\"position:fixed;left:0;right:0;top:50%;bottom:0;z-index:9999\">"
                           "link</a></body></html>"_s;
        document.replace(u"{head}"_s, head).replace(u"{body}"_s, body).replace(u"{host}"_s, host);
        const int loads = view.loadCount();
        QStringList activated;
        const auto connection =
            QObject::connect(&view, &SecureMessageView::linkActivated, &view,
                             [&activated](const LinkRecord& record) { activated.append(record.text); });
        const QSignalSpy loaded(&view, &SecureMessageView::loadFinished);
        view.display({document, {link(u"https://a.example/"_s, u"first"_s)}, 0, 0}, remote, 1);
        ASSERT_TRUE(waitUntil([&loaded] { return !loaded.isEmpty(); }));
        // Beside the scroll bar of a document that needs one.
        ASSERT_TRUE(waitForColor(view, QPoint(385, 295), QColor(0, 255, 0)));
        // A click on what it offers, in case it waits for one.
        QTest::mouseClick(&inputWidget(view), Qt::LeftButton, {}, QPoint(30, 30));
        ASSERT_TRUE(waitUntilDrawn(view));
        QTest::mouseClick(&inputWidget(view), Qt::LeftButton, {}, QPoint(200, 250));
        EXPECT_TRUE(waitUntil([&activated] { return !activated.isEmpty(); }));
        QObject::disconnect(connection);

        EXPECT_EQ(activated, QStringList(u"first"_s));
        EXPECT_EQ(view.webView().title(), u"quiet");
        EXPECT_TRUE(view.webView().url().toString().startsWith(u"larkhaven-message:document/"_s));
        EXPECT_EQ(view.webView().history()->count(), 1);
        EXPECT_FALSE(pageText(view).contains(u"HACKED"));
        EXPECT_EQ(view.loadCount(), loads + 1);
        EXPECT_FALSE(trap.hasPendingConnections());
        EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
    }

    /// The engine leaves such a document by itself, for an empty page: the view shows nothing of it any more.
    void expectRefused(const QString& head)
    {
        SCOPED_TRACE(head.toStdString());
        view.display({filled(u"<p>HACKED</p>"_s).replace(u"<body"_s, head + u"<body"_s), {}, 0, 0}, remote,
                     1);
        expectRefusal();
    }

    void expectRefusal()
    {
        const auto* const refusal = view.findChild<QLabel*>();
        EXPECT_TRUE(
            waitUntil([refusal] { return refusal->isVisible() && !refusal->visibleRegion().isEmpty(); }));
        EXPECT_TRUE(waitForColor(view, QPoint(395, 295), Qt::white));
        EXPECT_FALSE(pageText(view).contains(u"HACKED"));
        EXPECT_FALSE(trap.hasPendingConnections());
    }

    void expectHarmless(const QStringList& bodies)
    {
        for (const QString& body : bodies)
            expectHarmless(body);
    }

    QTcpServer trap;
    bool remote = false;
    SecureMessageView view;
};

TEST_F(HostileDocumentTest, RunsNoScript)
{
    const QString act = u"document.title='HACKED';document.body.append('HACKED')"_s;
    expectHarmless(
        {u"<script>%1</script>"_s.arg(act), u"<script type=\"module\">%1</script>"_s.arg(act),
         u"<script src=\"data:text/javascript,document.title='HACKED'\"></script>"_s,
         u"<script src=\"http://{host}/x.js\"></script>"_s,
         u"<svg onload=\"%1\"><script>%1</script></svg>"_s.arg(act),
         u"<svg><animate onbegin=\"%1\" attributeName=\"x\" dur=\"1s\"/></svg>"_s.arg(act),
         u"<iframe srcdoc=\"&lt;script&gt;parent.document.title='HACKED'&lt;/script&gt;\"></iframe>"_s});
    expectHarmless(u"<body onload=\"%1\">"_s.arg(act));
    expectHarmless(u"<noscript>quiet</noscript>"_s, u"<script>%1</script>"_s.arg(act));
}

TEST_F(HostileDocumentTest, RunsNoEventHandler)
{
    const QString act = u"document.title='HACKED'"_s;
    expectHarmless({u"<img src=\"data:,x\" onerror=\"%1\">"_s.arg(act),
                    u"<div onclick=\"%1\" onmouseover=\"%1\" onmousedown=\"%1\" "
                    "style=\"height:100px\">x</div>"_s.arg(act),
                    u"<details ontoggle=\"%1\" open><summary>x</summary></details>"_s.arg(act),
                    u"<input autofocus onfocus=\"%1\" onblur=\"%1\">"_s.arg(act),
                    u"<video onerror=\"%1\"><source onerror=\"%1\" src=\"data:,x\"></video>"_s.arg(act),
                    u"<style>@keyframes k{from{left:0}to{left:1px}}</style>"
                    "<b style=\"position:relative;animation:k .01s\" onanimationend=\"%1\">x</b>"_s.arg(act),
                    u"<marquee onstart=\"%1\">x</marquee>"_s.arg(act)});
}

TEST_F(HostileDocumentTest, FollowsNoScriptURL)
{
    expectHarmless(
        {u"<a href=\"javascript:document.title='HACKED'\" style=\"display:block;height:90px\">x</a>"_s,
         u"<a href=\"JaVa&#10;Script:document.title='HACKED'\" "
         "style=\"display:block;height:90px\">x</a>"_s,
         u"<iframe src=\"javascript:parent.document.title='HACKED'\"></iframe>"_s,
         u"<form action=\"javascript:document.title='HACKED'\"><button "
         "style=\"width:90px;height:90px\">x</button></form>"_s,
         u"<object data=\"javascript:document.title='HACKED'\"></object>"_s});
    expectHarmless(QString(),
                   u"<meta http-equiv=\"refresh\" content=\"0;url=javascript:document.title='HACKED'\">"_s);
}

TEST_F(HostileDocumentTest, IsSentNowhereByARefresh)
{
    for (const QString& target :
         {u"http://{host}/"_s, u"https://{host}/"_s, u"data:text/html,HACKED"_s, u"larkhaven-message:other"_s,
          u"file:///etc/hostname"_s, u"larkhaven-message:document"_s, u"larkhaven-message:document/1"_s,
          u"larkhaven-message:document/2"_s, u"larkhaven-message:document/100"_s}) {
        expectHarmless(QString(), u"<meta http-equiv=\"refresh\" content=\"0;url=%1\">"_s.arg(target));
    }
    expectHarmless(QString(), u"<meta http-equiv=\"refresh\" content=\"0\">"_s);
    expectRefused(u"<meta http-equiv=\"refresh\" content=\"0;url=about:blank\">"_s);
}

TEST_F(HostileDocumentTest, LeavesByNoLink)
{
    for (const QString& target :
         {u"http://{host}/"_s, u"https://{host}/"_s, u"data:text/html,HACKED"_s, u"file:///etc/hostname"_s,
          u"larkhaven-message:other"_s, u"view-source:http://{host}/"_s, u"chrome://version/"_s,
          u"mailto:a@b.example"_s, u"ftp://{host}/"_s, u"blob:x"_s}) {
        expectHarmless(u"<base href=\"http://{host}/\"><a href=\"%1\" ping=\"http://{host}/ping\" "
                       "style=\"display:block;height:90px\">x</a>"_s.arg(target));
        expectHarmless(
            u"<a target=\"_blank\" rel=\"opener\" href=\"%1\" style=\"display:block;height:90px\">x</a>"_s
                .arg(target));
    }
    expectHarmless(u"<base href=\"http://{host}/\"><a href=\"relative\" download "
                   "style=\"display:block;height:90px\">x</a>"_s);
    expectHarmless(u"<a href=\"http://{host}/file.exe\" download=\"x.exe\" "
                   "style=\"display:block;height:90px\">x</a>"_s);
    expectHarmless(
        u"<map name=\"m\"><area shape=\"default\" href=\"http://{host}/\"></map><img usemap=\"#m\" "
        "width=\"90\" height=\"90\" src=\"data:image/svg+xml,<svg xmlns='http://www.w3.org/2000/svg'/>\">"_s);
}

TEST_F(HostileDocumentTest, ShowsARefusalWhereALinkLeadsToAnEmptyPage)
{
    // The engine follows these without asking.
    for (const QString& target : {u"about:blank"_s, u"about:blank#x"_s, u"about:version"_s}) {
        SCOPED_TRACE(target.toStdString());
        showDocument(view,
                     filled(u"<a href=\"%1\" style=\"display:block;height:90px\">HACKED</a>"_s.arg(target)));
        ASSERT_TRUE(waitForColor(view, QPoint(395, 295), QColor(0, 255, 0)));
        QTest::mouseClick(&inputWidget(view), Qt::LeftButton, {}, QPoint(30, 30));
        expectRefusal();
    }
}

TEST_F(HostileDocumentTest, SubmitsNoForm)
{
    const QString button = u"<button style=\"width:90px;height:90px\">x</button>"_s;
    expectHarmless(
        {u"<form action=\"http://{host}/\">%1</form>"_s.arg(button),
         u"<form method=\"post\" action=\"http://{host}/\">%1</form>"_s.arg(button),
         u"<form target=\"_blank\" action=\"http://{host}/\">%1</form>"_s.arg(button),
         u"<form method=\"dialog\">%1</form>"_s.arg(button),
         u"<form><button formaction=\"http://{host}/\" style=\"width:90px;height:90px\">x</button></form>"_s,
         u"<form><input type=\"image\" src=\"http://{host}/i\" formaction=\"http://{host}/\" "
         "width=\"90\" height=\"90\"></form>"_s,
         u"<input type=\"file\" style=\"width:90px;height:90px\">"_s});
}

TEST_F(HostileDocumentTest, ShowsNoFrame)
{
    expectHarmless({u"<iframe src=\"http://{host}/\"></iframe>"_s,
                    u"<iframe src=\"https://{host}/\"></iframe>"_s,
                    u"<iframe src=\"data:text/html,HACKED\"></iframe>"_s,
                    u"<iframe srcdoc=\"quiet <img src='http://{host}/x'>"
                    "<meta http-equiv='refresh' content='0;url=http://{host}/'>\"></iframe>"_s,
                    u"<iframe src=\"larkhaven-message:document\"></iframe>"_s,
                    u"<iframe src=\"larkhaven-message:document/2\"></iframe>"_s,
                    u"<iframe src=\"larkhaven-link:0\" hidden></iframe>"_s.replace(u"link:0"_s, u"link:9"_s),
                    u"<object data=\"http://{host}/\"></object>"_s,
                    u"<object data=\"data:text/html,HACKED\"></object>"_s,
                    u"<embed src=\"http://{host}/\"><embed src=\"data:text/html,HACKED\">"_s,
                    u"<embed type=\"application/pdf\" src=\"data:application/pdf,HACKED\">"_s,
                    u"<portal src=\"http://{host}/\"></portal>"_s,
                    u"<fencedframe src=\"http://{host}/\"></fencedframe>"_s});
}

TEST_F(HostileDocumentTest, LoadsNothingThroughStyles)
{
    expectHarmless({u"<style>@import 'http://{host}/a.css'; @import url(http://{host}/b.css);</style>"_s,
                    u"<div style=\"background:url(http://{host}/x.png);height:90px\">x</div>"_s,
                    u"<div style=\"list-style-image:url(http://{host}/x.png);display:list-item\">x</div>"_s,
                    u"<div style=\"cursor:url(http://{host}/x.cur),auto;height:90px\">x</div>"_s,
                    u"<div style=\"border-image:url(http://{host}/x.png) 1;border:2px solid\">x</div>"_s,
                    u"<div style=\"filter:url(http://{host}/x.svg#f)\">x</div>"_s,
                    u"<div style=\"clip-path:url(http://{host}/x.svg#f)\">x</div>"_s,
                    u"<div style=\"mask-image:url(http://{host}/x.png);-webkit-mask-image:"
                    "url(http://{host}/x.png)\">x</div>"_s,
                    u"<style>p::before{content:url(http://{host}/x.png)}</style><p>x</p>"_s,
                    u"<div style=\"background-image:image-set('http://{host}/x.png' 1x)\">x</div>"_s,
                    u"<style>@font-face{font-family:f;src:url(http://{host}/x.woff)}</style>"
                    "<p style=\"font-family:f\">x</p>"_s,
                    u"<link rel=\"stylesheet\" href=\"http://{host}/x.css\">"_s});
}

TEST_F(HostileDocumentTest, ConnectsToNothingInAdvance)
{
    for (const QString& relation :
         {u"stylesheet"_s, u"alternate stylesheet"_s, u"preconnect"_s, u"preconnect\" crossorigin=\""_s,
          u"dns-prefetch"_s, u"prefetch"_s, u"prerender"_s, u"modulepreload"_s, u"preload\" as=\"image"_s,
          u"preload\" as=\"font\" crossorigin=\""_s, u"preload\" as=\"script"_s, u"icon"_s,
          u"apple-touch-icon"_s, u"manifest"_s, u"import"_s, u"search"_s, u"next"_s}) {
        expectHarmless(QString(), u"<link rel=\"%1\" href=\"http://{host}/x\">"_s.arg(relation));
    }
    expectHarmless(QString(), u"<meta http-equiv=\"Link\" content=\"<http://{host}/>; rel=preconnect\">"
                              "<meta http-equiv=\"x-dns-prefetch-control\" content=\"on\">"
                              "<meta http-equiv=\"Set-Cookie\" content=\"a=b\">"
                              "<script type=\"speculationrules\">{\"prefetch\":[{\"source\":\"list\","
                              "\"urls\":[\"http://{host}/\"]}]}</script>"_s);
}

TEST_F(HostileDocumentTest, LoadsNoMedia)
{
    expectHarmless(
        {u"<video poster=\"http://{host}/p.png\" src=\"http://{host}/v.mp4\" autoplay muted></video>"_s,
         u"<video autoplay muted><source src=\"http://{host}/v.mp4\" type=\"video/mp4\">"
         "<track default kind=\"subtitles\" src=\"http://{host}/t.vtt\"></video>"_s,
         u"<audio src=\"http://{host}/a.mp3\" autoplay preload=\"auto\"></audio>"_s});
}

TEST_F(HostileDocumentTest, LoadsNoImageThatIsBlocked)
{
    const QStringList bodies{
        u"<img src=\"http://{host}/x.png\" srcset=\"http://{host}/y.png 2x\">"_s,
        u"<picture><source srcset=\"http://{host}/y.png\"><img src=\"data:,\"></picture>"_s,
        u"<svg><image href=\"http://{host}/x.png\"/></svg>"_s,
        u"<svg><use href=\"http://{host}/x.svg#a\"/></svg>"_s,
        u"<svg><feImage href=\"http://{host}/x.png\"/></svg>"_s,
        u"<table background=\"http://{host}/x.png\"><tr><td>x</td></tr></table>"_s,
        u"<input type=\"image\" src=\"http://{host}/x.png\">"_s,
        u"<img loading=\"eager\" fetchpriority=\"high\" crossorigin src=\"//{host}/x.png\">"_s,
        u"<img src=\"ftp://{host}/x.png\"><img src=\"file:///etc/hostname\">"_s};
    expectHarmless(bodies);
    // Plain HTTP stays blocked where images are allowed.
    remote = true;
    expectHarmless(bodies);
}

} // namespace
} // namespace Larkhaven
