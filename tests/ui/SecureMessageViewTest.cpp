#include "views/reader/SecureMessageView.h"

#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>
#include <QWebEngineHistory>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineView>

#include <csignal>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// How many pixels of the picture are of such a colour.
template <typename IsCounted>
int count(const QImage& image, IsCounted isCounted)
{
    int found = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            found += isCounted(image.pixelColor(x, y)) ? 1 : 0;
    }
    return found;
}

/// A link that fills a quarter of the page.
QString quarter(int index, const QString& href, const QString& attributes = {})
{
    return u"<a href=\"%1\" %2 style=\"position:fixed;left:0;width:100%;top:%3%;height:25%;display:block\">x</a>"_s
        .arg(href, attributes)
        .arg(index * 25);
}

class SecureMessageViewTest : public testing::Test {
protected:
    SecureMessageViewTest()
    {
        view.resize(400, 400);
        QObject::connect(&view, &SecureMessageView::linkActivated, &view,
                         [this](const LinkRecord& link) { activated.append(link.text); });
        show(view);
    }

    void display(const QString& document, const QList<LinkRecord>& links = {})
    {
        const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
        view.display({document, links, 0, 0}, false, 1);
        ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
        ASSERT_TRUE(waitForColor(view, QPoint(395, 395), green));
    }

    void click(int quarter)
    {
        QTest::mouseClick(&inputWidget(view), Qt::LeftButton, {}, QPoint(200, 50 + 100 * quarter));
    }

    const QColor green = QColor(0, 255, 0);
    const QList<LinkRecord> threeLinks{link(u"https://a.example/"_s, u"first"_s),
                                       link(u"https://b.example/"_s, u"second"_s),
                                       link(u"https://c.example/"_s, u"third"_s)};
    SecureMessageView view;
    QStringList activated;
};

TEST_F(SecureMessageViewTest, LoadsTheSameDocumentUnderTheSameSettingOnce)
{
    display(filled(u"one"_s));
    EXPECT_EQ(view.loadCount(), 1);
    view.display({filled(u"one"_s), {}, 0, 0}, false, 1);
    EXPECT_EQ(view.loadCount(), 1);
    EXPECT_EQ(pageText(view), u"one");
    takeScreenshot(view, u"message-document"_s);
}

TEST_F(SecureMessageViewTest, LoadsAnotherDocument)
{
    display(filled(u"one"_s));
    display(filled(u"two"_s));
    EXPECT_EQ(view.loadCount(), 2);
    EXPECT_EQ(pageText(view), u"two");
}

TEST_F(SecureMessageViewTest, LoadsAgainUnderTheOtherRuleListWhenRemoteImagesAreTurnedOn)
{
    QList<ContentBlocker::Mode> modes;
    SecureMessageView other(nullptr, [&modes](ContentBlocker::Mode mode) -> const ContentBlocker::RuleList& {
        modes.append(mode);
        return ContentBlocker::ruleList(mode);
    });
    show(other);
    showDocument(other, filled(u"one"_s), false);
    showDocument(other, filled(u"one"_s), true);
    EXPECT_EQ(other.loadCount(), 2);
    EXPECT_EQ(modes, (QList{ContentBlocker::Mode::blockAll, ContentBlocker::Mode::httpsImagesOnly}));
}

TEST_F(SecureMessageViewTest, ChangesItsZoomWithoutALoad)
{
    const QString document = filled(u"<div style=\"width:100px;height:100px;background:#ff0000\"></div>"_s);
    display(document);
    const QColor red(255, 0, 0);
    EXPECT_TRUE(waitForColor(view, QPoint(90, 90), red));
    EXPECT_TRUE(waitForColor(view, QPoint(150, 150), green));
    view.display({document, {}, 0, 0}, false, 2);
    EXPECT_TRUE(waitForColor(view, QPoint(150, 150), red));
    EXPECT_EQ(view.loadCount(), 1);
    EXPECT_EQ(view.webView().zoomFactor(), 2.0);
}

TEST_F(SecureMessageViewTest, KeepsItsZoomForTheNextDocument)
{
    view.setZoom(2);
    const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
    view.display({filled(u"<div style=\"width:100px;height:100px;background:#ff0000\"></div>"_s), {}, 0, 0},
                 false, 2);
    EXPECT_TRUE(waitForColor(view, QPoint(150, 150), QColor(255, 0, 0)));
}

/// A message that does what it can to the scroll bar.
const QString hostileStyle =
    u"<style>html::-webkit-scrollbar,::-webkit-scrollbar{width:120px!important;background:#f00!important;"
    "display:none!important}html::-webkit-scrollbar-thumb,::-webkit-scrollbar-thumb{background:#f00!"
    "important;"
    "border:9px solid #f00!important}::-webkit-scrollbar-track{background:#f00!important}"
    "::-webkit-scrollbar-button{display:block!important;height:90px!important;background:#f00!important}"
    "html,body{overflow:hidden!important;scrollbar-width:none!important;height:100%!important}"
    "@layer{::-webkit-scrollbar{width:70px!important}}@layer larkhaven{::-webkit-scrollbar{width:99px!important}}</style>"_s;

TEST_F(SecureMessageViewTest, DrawsItsOwnScrollBarWhateverAMessageSays)
{
    const QString page = filled(u"<div style=\"height:4000px\"></div>"_s);
    for (const QString& style : {QString(), hostileStyle}) {
        const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
        view.display({style + page, {}, 0, 0}, false, 1);
        ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
        ASSERT_TRUE(waitForColor(view, QPoint(390, 200), green)) << "8 px wide";
        ASSERT_TRUE(waitForColor(view, QPoint(396, 200), Qt::white)) << "its track";
        ASSERT_TRUE(waitUntilDrawn(view));
        const QImage image = grab(view);
        // 40% of the secondary colour on white; no arrows and no thumb of the message's.
        const QColor thumb(0xc0, 0xbe, 0xc6);
        const QColor seen = image.pixelColor(396, 16);
        EXPECT_NEAR(seen.red(), thumb.red(), 3);
        EXPECT_NEAR(seen.blue(), thumb.blue(), 3);
        EXPECT_EQ(image.pixelColor(392, 0).lightness() > 200, true) << "its ends are round";
        takeScreenshot(view, style.isEmpty() ? u"message-scroll-bar"_s : u"message-scroll-bar-hostile"_s);
        view.webView().setFocus();
        QTest::keyClick(&inputWidget(view), Qt::Key_End);
        EXPECT_TRUE(waitUntil([this] { return view.webView().page()->scrollPosition().y() > 3000; }));
    }
}

TEST_F(SecureMessageViewTest, ShowsADeadLinkAsText)
{
    const QString style =
        u"<style>a{color:#1a73e8}a.x{color:#f00!important;text-decoration:underline!important}"
        "body{color:#000;font:40px monospace}</style>"_s;
    const auto hasColor = [this, &style](const QString& link) {
        display(filled(style + link));
        // The engine paints the ground before it has a font: letters are there when much isn't green.
        QImage image;
        EXPECT_TRUE(waitUntil([&] {
            image = grab(view);
            return count(image, [](const QColor& color) { return color.green() < 150; }) > 100;
        }));
        return count(image, [](const QColor& color) { return std::max(color.red(), color.blue()) > 150; }) >
               20;
    };
    EXPECT_TRUE(hasColor(u"<a href=\"larkhaven-link:0\">MMM</a>"_s));
    EXPECT_FALSE(hasColor(u"<a>MMM</a>"_s));
    EXPECT_FALSE(hasColor(u"<a class=\"x\">MMM</a>"_s));
    EXPECT_FALSE(hasColor(u"<a style=\"color:#00f\">MMM</a>"_s));
}

TEST_F(SecureMessageViewTest, NamesTheDocumentByItsTitle)
{
    const QSignalSpy titles(view.webView().page(), &QWebEnginePage::titleChanged);
    const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
    view.display(
        {u"<!DOCTYPE html><html><head><title>theirs</title></head><body>x</body></html>"_s, {}, 0, 0}, false,
        1, u"</title><b>A & B"_s);
    ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
    EXPECT_EQ(view.webView().page()->title(), u"</title><b>A & B");
    EXPECT_EQ(pageText(view).trimmed(), u"x");
    EXPECT_EQ(view.webView().accessibleName(), u"</title><b>A & B");
}

TEST_F(SecureMessageViewTest, HidesItsRefusalBesideAGoodMessage)
{
    display(filled(u"one"_s));
    const auto labels = view.findChildren<QLabel*>();
    ASSERT_EQ(labels.size(), 1);
    EXPECT_FALSE(labels.first()->isVisible());
}

TEST_F(SecureMessageViewTest, HandsOutTheLinkOfAClick)
{
    display(filled(quarter(0, u"larkhaven-link:0"_s) + quarter(1, u"larkhaven-link:2"_s)), threeLinks);
    click(1);
    EXPECT_TRUE(waitUntil([this] { return activated == QStringList(u"third"_s); }));
    click(0);
    EXPECT_TRUE(waitUntil([this] { return activated == (QStringList{u"third"_s, u"first"_s}); }));
}

TEST_F(SecureMessageViewTest, RefusesALinkNumberBeyondTheList)
{
    display(filled(quarter(0, u"larkhaven-link:3"_s) + quarter(1, u"larkhaven-link:99999999999999999999"_s) +
                   quarter(2, u"larkhaven-link:2"_s)),
            threeLinks);
    click(0);
    click(1);
    click(2);
    EXPECT_TRUE(waitUntil([this] { return !activated.isEmpty(); }));
    EXPECT_EQ(activated, QStringList(u"third"_s));
}

TEST_F(SecureMessageViewTest, RefusesANegativeLinkNumber)
{
    display(filled(quarter(0, u"larkhaven-link:-1"_s) + quarter(1, u"larkhaven-link:-0"_s) +
                   quarter(2, u"larkhaven-link:1"_s)),
            threeLinks);
    click(0);
    click(1);
    click(2);
    EXPECT_TRUE(waitUntil([this] { return !activated.isEmpty(); }));
    EXPECT_EQ(activated, QStringList(u"second"_s));
}

TEST_F(SecureMessageViewTest, RefusesALinkWithoutANumber)
{
    display(filled(quarter(0, u"larkhaven-link:"_s) + quarter(1, u"larkhaven-link:x"_s) +
                   quarter(2, u"larkhaven-link:1x"_s) + quarter(3, u"larkhaven-link:0"_s)),
            threeLinks);
    for (const int index : {0, 1, 2, 3})
        click(index);
    EXPECT_TRUE(waitUntil([this] { return !activated.isEmpty(); }));
    EXPECT_EQ(activated, QStringList(u"first"_s));
}

TEST_F(SecureMessageViewTest, KeepsThePageInPlaceWhenALinkIsClicked)
{
    display(filled(u"stays"_s + quarter(0, u"larkhaven-link:0"_s) + quarter(1, u"https://evil.example/"_s) +
                   quarter(2, u"file:///etc/passwd"_s)),
            threeLinks);
    const QUrl before = view.webView().url();
    click(1);
    click(2);
    click(0);
    EXPECT_TRUE(waitUntil([this] { return !activated.isEmpty(); }));
    EXPECT_EQ(view.webView().url().toString(), before.toString());
    EXPECT_EQ(view.webView().history()->count(), 1);
    EXPECT_EQ(view.loadCount(), 1);
    EXPECT_TRUE(pageText(view).contains(u"stays"));
}

TEST_F(SecureMessageViewTest, DeliversALinkWithATargetOnceAndOpensNoWindow)
{
    display(filled(quarter(0, u"larkhaven-link:1"_s, u"target=\"_blank\""_s) +
                   quarter(1, u"larkhaven-link:0"_s) +
                   quarter(2, u"https://evil.example/"_s, u"target=\"_blank\""_s)),
            threeLinks);
    const qsizetype windows = QApplication::topLevelWidgets().size();
    click(2);
    click(0);
    EXPECT_TRUE(waitUntil([this] { return !activated.isEmpty(); }));
    click(1);
    EXPECT_TRUE(waitUntil([this] { return activated.contains(u"first"_s); }));
    EXPECT_EQ(activated, (QStringList{u"second"_s, u"first"_s}));
    EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
}

TEST_F(SecureMessageViewTest, OpensNothingForAMiddleClickOrAClickWithControl)
{
    display(filled(quarter(0, u"https://evil.example/"_s) + quarter(1, u"larkhaven-link:1"_s)), threeLinks);
    const qsizetype windows = QApplication::topLevelWidgets().size();
    QWidget& input = inputWidget(view);
    QTest::mouseClick(&input, Qt::MiddleButton, {}, QPoint(200, 50));
    QTest::mouseClick(&input, Qt::LeftButton, Qt::ControlModifier, QPoint(200, 50));
    QTest::mouseClick(&input, Qt::LeftButton, Qt::ShiftModifier, QPoint(200, 50));
    click(1);
    EXPECT_TRUE(waitUntil([this] { return activated == QStringList(u"second"_s); }));
    EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
}

TEST_F(SecureMessageViewTest, TakesNewLinksOfTheSameDocumentWithoutALoad)
{
    const QString document = filled(quarter(0, u"larkhaven-link:0"_s));
    display(document, threeLinks);
    view.display({document, {link(u"https://d.example/"_s, u"other"_s)}, 0, 0}, false, 1);
    EXPECT_EQ(view.loadCount(), 1);
    click(0);
    EXPECT_TRUE(waitUntil([this] { return activated == QStringList(u"other"_s); }));
}

TEST_F(SecureMessageViewTest, LoadsNoDocumentWithoutARuleList)
{
    bool isThere = false;
    SecureMessageView other(nullptr,
                            [&isThere](ContentBlocker::Mode mode) -> const ContentBlocker::RuleList& {
                                if (!isThere)
                                    throw MailError::unsupported(u"Content blocker failed to compile"_s);
                                return ContentBlocker::ruleList(mode);
                            });
    other.resize(400, 200);
    show(other);
    other.display({filled(u"secret"_s), {}, 0, 0}, true, 1);
    EXPECT_EQ(other.loadCount(), 0);
    EXPECT_EQ(pageText(other), u"");
    const auto* const refusal = other.findChild<QLabel*>();
    ASSERT_TRUE(refusal);
    EXPECT_TRUE(refusal->isVisible());
    EXPECT_EQ(refusal->text(), u"Unable to display this message safely.");
    takeScreenshot(other, u"message-refused"_s);
    // The same document is not tried again until the key changes.
    isThere = true;
    other.display({filled(u"secret"_s), {}, 0, 0}, true, 1);
    EXPECT_EQ(other.loadCount(), 0);
    showDocument(other, filled(u"secret"_s), false);
    EXPECT_EQ(pageText(other), u"secret");
    EXPECT_TRUE(waitForColor(other, QPoint(390, 190), green));
}

TEST_F(SecureMessageViewTest, ShowsNothingOfTheMessageBeforeWhileTheNextOneLoads)
{
    display(filled(u"one"_s));
    view.display({filled(u"two"_s, u"#0000ff"_s), {}, 0, 0}, false, 1);
    EXPECT_TRUE(waitUntil([this] { return pixel(view, QPoint(395, 395)) != green; }));
    EXPECT_TRUE(waitUntil([this] {
        const QColor seen = pixel(view, QPoint(395, 395));
        EXPECT_NE(seen, green);
        return seen == QColor(0, 0, 255);
    }));
}

TEST_F(SecureMessageViewTest, LeavesNothingBehindWhenCleared)
{
    display(filled(u"one"_s));
    view.clear();
    EXPECT_TRUE(waitForColor(view, QPoint(395, 395), Qt::white));
    EXPECT_EQ(pageText(view), u"");
    display(filled(u"one"_s));
    EXPECT_EQ(view.loadCount(), 2);
}

TEST_F(SecureMessageViewTest, ShowsADocumentOfManyMegabytesToItsEnd)
{
    // A comment, since a text of that size takes the engine seconds to lay out.
    display(filled(u"<!--"_s + QString(6'000'000, u'x') + u"--><p>the end</p>"_s));
    EXPECT_TRUE(pageText(view).endsWith(u"the end"));
}

TEST_F(SecureMessageViewTest, KeepsNothingAndRunsNothing)
{
    const QWebEngineProfile& profile = *view.webView().page()->profile();
    EXPECT_TRUE(profile.isOffTheRecord());
    EXPECT_EQ(profile.httpCacheType(), QWebEngineProfile::NoCache);
    EXPECT_EQ(profile.persistentCookiesPolicy(), QWebEngineProfile::NoPersistentCookies);
    const QWebEngineSettings& settings = *view.webView().page()->settings();
    EXPECT_FALSE(settings.testAttribute(QWebEngineSettings::JavascriptEnabled));
    EXPECT_FALSE(settings.testAttribute(QWebEngineSettings::LocalStorageEnabled));
    EXPECT_FALSE(settings.testAttribute(QWebEngineSettings::PluginsEnabled));
    EXPECT_FALSE(settings.testAttribute(QWebEngineSettings::FullScreenSupportEnabled));
    EXPECT_FALSE(settings.testAttribute(QWebEngineSettings::JavascriptCanOpenWindows));
}

/// The pages of the view that aren't on screen.
QList<QWebEnginePage*> otherPages(const SecureMessageView& view)
{
    QWebEnginePage* const shown = view.webView().page();
    QList<QWebEnginePage*> pages = shown->profile()->findChildren<QWebEnginePage*>();
    pages.removeAll(shown);
    return pages;
}

/// Waits for the page that is made ready for the next message, and for its process.
QWebEnginePage* nextPage(const SecureMessageView& view)
{
    const auto isReady = [&view] {
        const QList<QWebEnginePage*> pages = otherPages(view);
        return pages.size() == 1 && pages.first()->renderProcessPid() != 0;
    };
    return waitUntil(isReady) ? otherPages(view).first() : nullptr;
}

TEST_F(SecureMessageViewTest, HasAPageAndAProcessReadyForTheNextMessage)
{
    display(filled(u"one"_s));
    const qint64 first = view.webView().page()->renderProcessPid();
    QWebEnginePage* const next = nextPage(view);
    ASSERT_TRUE(next);
    const qint64 process = next->renderProcessPid();
    EXPECT_NE(process, first);
    display(filled(u"two"_s));
    EXPECT_EQ(view.webView().page(), next);
    EXPECT_EQ(view.webView().page()->renderProcessPid(), process);
    EXPECT_EQ(pageText(view), u"two");
    EXPECT_TRUE(nextPage(view));
}

TEST_F(SecureMessageViewTest, ShowsTheBeginningOfALongDocumentBeforeItsEnd)
{
    bool hasTurned = false;
    bool wasSeenBefore = false;
    QObject::connect(&view, &SecureMessageView::uncovered, &view, [&hasTurned, this] {
        QTimer::singleShot(0, &view, [&hasTurned] { hasTurned = true; });
    });
    QObject::connect(&view, &SecureMessageView::loadFinished, &view,
                     [&] { wasSeenBefore = hasTurned && !view.isCovered(); });
    const QSignalSpy loaded(&view, &SecureMessageView::loadFinished);
    view.display({u"<p>a line of many</p>"_s.repeated(100000), {}, 0, 0}, false, 1);
    ASSERT_TRUE(waitUntil([&loaded] { return !loaded.isEmpty(); }));
    EXPECT_TRUE(wasSeenBefore);
}

TEST_F(SecureMessageViewTest, LaysThePageForTheNextMessageBelowWhereNobodyReachesIt)
{
    display(filled(u"one"_s));
    ASSERT_TRUE(nextPage(view));
    const QList<QWebEngineView*> both = view.findChildren<QWebEngineView*>();
    ASSERT_EQ(both.size(), 2);
    QWebEngineView& next = both.first() == &view.webView() ? *both.last() : *both.first();
    EXPECT_EQ(next.geometry(), view.webView().geometry());
    const QPoint middle = view.webView().geometry().center();
    EXPECT_TRUE(view.webView().isAncestorOf(view.childAt(middle)));
    // Its own widgets are in the order of the Tab key, and passed over.
    for (QWidget* const widget : next.findChildren<QWidget*>())
        EXPECT_FALSE(widget->isEnabled());
    EXPECT_FALSE(next.isEnabled());
    display(filled(u"two"_s));
    EXPECT_EQ(&view.webView(), &next);
    EXPECT_TRUE(next.isEnabled());
    EXPECT_TRUE(waitUntil([this] { return view.findChildren<QWebEngineView*>().size() == 2; }));
    EXPECT_TRUE(next.isAncestorOf(view.childAt(middle)));
}

TEST_F(SecureMessageViewTest, ShowsTheNextMessageWhereTheProcessThatWasReadyHasEnded)
{
    display(filled(u"one"_s));
    QPointer<QWebEnginePage> next = nextPage(view);
    ASSERT_TRUE(next);
    kill(static_cast<pid_t>(next->renderProcessPid()), SIGKILL);
    ASSERT_TRUE(waitUntil([&next] { return next.isNull(); }));
    EXPECT_EQ(view.trouble(), SecureMessageView::Trouble::none);
    display(filled(u"two"_s));
    EXPECT_EQ(pageText(view), u"two");
}

TEST_F(SecureMessageViewTest, ShowsTheNextMessageAtEachMomentOfMakingAPageReady)
{
    display(filled(u"one"_s));
    for (int moment = 0; moment < 300; moment += 15) {
        const QString text = QString::number(moment);
        display(filled(text));
        EXPECT_EQ(pageText(view), text);
        QTest::qWait(moment);
    }
    ASSERT_TRUE(nextPage(view));
    view.clear();
    display(filled(u"two"_s));
    EXPECT_EQ(pageText(view), u"two");
}

TEST_F(SecureMessageViewTest, SurvivesTheEndOfTheViewAtEachMomentWhileADocumentLoads)
{
    // The engine's own threads are at different places each time.
    constexpr int moments = 30;
    for (int moment = 0; moment < moments; ++moment) {
        auto other = std::make_unique<SecureMessageView>();
        show(*other);
        other->display({filled(u"<img src=\"https://a.example/\">"_s, u"one"_s), {}, 0, 0}, true, 1);
        QElapsedTimer turns;
        for (turns.start(); turns.elapsed() < moment;)
            QCoreApplication::processEvents();
        other.reset();
    }
    display(filled(u"two"_s));
    EXPECT_EQ(pageText(view), u"two");
}

} // namespace
} // namespace Larkhaven
