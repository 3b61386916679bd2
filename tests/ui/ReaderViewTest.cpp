#include "views/reader/ReaderView.h"

#include "ReaderViewFixture.h"
#include "domain/MailError.h"
#include "safety/LinkCleaner.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeWindows.h"
#include "views/style/AttachmentChip.h"
#include "views/style/EmptyStateView.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString remoteImage =
    u"<p>Hello</p><img src=\"https://img.local/a.png\" width=\"200\" height=\"100\">"_s;
const QString tracker = u"<img src=\"https://track.example/open.gif\" width=\"1\" height=\"1\">"_s;

// --- What is shown

TEST_F(ReaderViewTest, ShowsAnEmptyPageWithItsAttachmentsWhereAMessageHasNoBody)
{
    open("Subject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
         "--b\r\nContent-Type: application/pdf\r\nContent-Disposition: attachment; "
         "filename=a.pdf\r\n\r\nPDF\r\n"
         "--b--\r\n");
    EXPECT_EQ(pageText(message()).trimmed(), u"");
    const auto chips = mail->window->findChildren<AttachmentChip*>();
    ASSERT_EQ(chips.size(), 1);
    EXPECT_TRUE(chips.first()->isVisible());
    EXPECT_EQ(chips.first()->text(), u"a.pdf (3 bytes)");
    takeScreenshot(*mail->window, u"reader-attachment-only"_s);
}

TEST_F(ReaderViewTest, ShowsPlainTextWithoutHTML)
{
    open("Subject: x\r\n\r\n<b>not bold</b>");
    EXPECT_EQ(pageText(message()).trimmed(), u"<b>not bold</b>");
    EXPECT_FALSE(mail->child<QWidget>("readerBanner").isVisible());
    EXPECT_FALSE(mail->child<QWidget>("attachmentsRow").isVisible());
}

TEST_F(ReaderViewTest, LeavesTheParsedMessageInTheModel)
{
    open("Subject: x\r\n\r\nHello");
    ASSERT_TRUE(mail->model().openParsed());
    EXPECT_EQ(mail->model().openParsed()->headers.subject(), u"x");
}

// --- Loading

TEST_F(ReaderViewTest, ShowsWhatTheRowKnowsWhileTheMessageLoads)
{
    open("Subject: x\r\n\r\nHello");
    QList<MessageSummary> rows = ModelFixture::rows(mail->fixture.account(), 3);
    rows[1].to = {EmailAddress(u"Mia"_s, u"mia@example.org"_s)};
    rows[1].isStarred = true;
    rows[1].hasAttachments = true;
    mail->model().setPath({});
    mail->fill(rows);
    mail->model().start(mail->model().refresh());
    ASSERT_TRUE(waitUntil([this] { return mail->model().message(u"2"_s)->isStarred; }));
    mail->fixture.provider().setRaw(
        u"2"_s, "From: Ada <ada@example.com>\r\nTo: Mia <mia@example.org>\r\nCc: Bo <bo@example.org>\r\n"
                "Subject: Subject 2\r\nDate: Fri, 15 Mar 2024 10:58:00 +0000\r\nMIME-Version: 1.0\r\n"
                "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nHello\r\n"
                "--b\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\nPDF\r\n--b--\r\n");
    mail->fixture.provider().hold(u"fetchRaw"_s);
    mail->model().open(*mail->model().message(u"2"_s));
    EXPECT_EQ(mail->window->windowTitle(), u"Subject 2");
    const QList<QLabel*> shown{&label("readerSubject"), &label("readerFrom"), &label("readerTo"),
                               &label("readerDate"),    &label("readerStar"), &label("readerClip")};
    const auto places = [&] {
        QStringList texts;
        for (const QLabel* const one : shown)
            texts.append(u"%1 %2 %3 %4"_s.arg(one->objectName(), one->text())
                             .arg(one->mapTo(mail->window.get(), QPoint()).y())
                             .arg(one->isVisible()));
        return texts;
    };
    auto* const progress = reader().findChild<QProgressBar*>();
    ASSERT_TRUE(waitUntil([&] { return progress->isVisible(); }));
    // It moves, as nobody knows how long it takes.
    EXPECT_EQ(progress->minimum(), progress->maximum());
    EXPECT_EQ(label("readerSubject").text(), u"Subject 2");
    EXPECT_EQ(label("readerFrom").text(), u"Ada");
    EXPECT_EQ(label("readerTo").text(), u"Mia");
    EXPECT_EQ(label("readerDate").text(), u"Friday, March 15, 2024 at 11:58 AM");
    const QStringList before = places();
    for (const QString& place : before)
        EXPECT_TRUE(place.endsWith(u" 1")) << place.toStdString();
    EXPECT_FALSE(label("readerCc").isVisible());
    EXPECT_FALSE(message().isVisible());
    // The bar moves all the time: there is no picture that stays.
    ASSERT_TRUE(QDir().mkpath(QStringLiteral(SCREENSHOTS)));
    ASSERT_TRUE(grab(*mail->window).save(QStringLiteral(SCREENSHOTS "/reader-loading.png")));
    mail->fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return label("readerCc").isVisible() && message().isVisible(); }));
    EXPECT_FALSE(progress->isVisible());
    EXPECT_EQ(label("readerAttachmentCount").text(), u"1");
    EXPECT_EQ(places(), before);
    // The star follows what the user does.
    mail->model().toggleStarred(mail->model().actedOn());
    EXPECT_FALSE(label("readerStar").isVisible());
}

TEST_F(ReaderViewTest, SaysWhyAMessageCouldNotBeLoaded)
{
    mail = std::make_unique<MailWindow>();
    mail->fill(ModelFixture::rows(mail->fixture.account(), 1));
    mail->open();
    mail->fixture.provider().failNext(u"fetchRaw"_s, MailError::protocolError(u"It broke."_s));
    mail->read(u"1"_s);
    const auto* const empty = reader().findChild<EmptyStateView*>();
    ASSERT_TRUE(empty && empty->isVisible());
    EXPECT_EQ(empty->state().title, u"Couldn't Load Message");
    EXPECT_EQ(empty->state().explanation,
              localizedText(std::make_exception_ptr(MailError::protocolError(u"It broke."_s))));
    EXPECT_TRUE(mail->model().errorMessage());
    mail->model().clearErrorMessage();
    takeScreenshot(*mail->window, u"reader-load-error"_s);
}

TEST_F(ReaderViewTest, SaysNothingOfTheSignInThatFailsAfterARepair)
{
    open("Subject: x\r\n\r\nHello");
    FakeMailProvider& provider = mail->fixture.provider();
    const std::shared_ptr<MailProvider> repaired = FakeMailProvider::create(mail->fixture.account());
    for (const bool isRepaired : {true, false}) {
        mail->model().setPath({});
        provider.failNext(u"fetchRaw"_s, MailError::notSignedIn());
        provider.hold(u"fetchRaw"_s);
        mail->model().open(*mail->model().message(u"2"_s));
        ASSERT_TRUE(waitUntil([&] { return !provider.pending().isEmpty(); }));
        const std::shared_ptr<MailProvider> before = mail->model().provider(accountID());
        if (isRepaired)
            mail->model().useProvider(accountID(), repaired);
        provider.completeAll();
        ASSERT_TRUE(waitUntil([this] { return reader().loadError().has_value(); }));
        EXPECT_NE(mail->model().needsReauth().contains(accountID()), isRepaired);
        mail->model().useProvider(accountID(), before);
    }
}

TEST_F(ReaderViewTest, SaysThatAMessageIsNoLongerAvailable)
{
    open("Subject: x\r\n\r\nHello");
    mail->model().setPath({u"gone"_s});
    EXPECT_EQ(reader().loadError(), u"This message is no longer available.");
}

TEST_F(ReaderViewTest, ShowsNoLateAnswerForTheMessageBefore)
{
    open("Subject: x\r\n\r\nHello");
    FakeMailProvider& provider = mail->fixture.provider();
    provider.setRaw(u"2"_s, "Subject: two\r\n\r\nTwo");
    provider.setRaw(u"3"_s, "Subject: three\r\n\r\nThree");
    provider.hold(u"fetchRaw"_s);
    mail->model().open(*mail->model().message(u"2"_s));
    mail->model().open(*mail->model().message(u"3"_s));
    ASSERT_EQ(provider.pending(), (QStringList{u"fetchRaw 2"_s, u"fetchRaw 3"_s}));
    provider.complete(1);
    ASSERT_TRUE(waitUntil([this] { return reader().title() == u"three" && reader().rendered(); }));
    provider.complete(0);
    settle();
    EXPECT_EQ(label("readerSubject").text(), u"three");
    EXPECT_TRUE(waitUntil([this] { return pageText(message()).trimmed() == u"Three"; }));
}

TEST_F(ReaderViewTest, ZoomsByTheTextSize)
{
    open("Subject: x\r\n\r\nHello");
    EXPECT_EQ(message().webView().zoomFactor(), 1.0);
    Style::shared().setTextSize(28);
    EXPECT_NEAR(message().webView().zoomFactor(), 28.0 / 13, 1e-6);
    Style::shared().setTextSize(13);
    EXPECT_EQ(message().webView().zoomFactor(), 1.0);
    EXPECT_EQ(message().loadCount(), 1);
}

// --- Remote content

TEST_F(ReaderViewTest, OffersToLoadRemoteContent)
{
    open(htmlMessage(remoteImage + tracker));
    EXPECT_TRUE(label("bannerRemote").isVisible());
    EXPECT_EQ(label("bannerRemote").text(), u"This message contains remote content.");
    EXPECT_EQ(label("bannerTrackers").text(), u"1 tracking image blocked");
    EXPECT_EQ(label("bannerTrackers").toolTip(),
              u"Tracking pixels are never loaded, even when remote content is loaded.");
    EXPECT_EQ(mail->child<QPushButton>("bannerLoad").text(), u"Load Remote Content");
    takeScreenshot(*mail->window, u"reader-banner"_s);
}

TEST_F(ReaderViewTest, ShowsImagesAndKeepsTheTrackerCountAfterLoadingRemoteContent)
{
    open(htmlMessage(remoteImage + tracker + tracker));
    EXPECT_FALSE(reader().rendered()->document.contains(u"https://img.local/a.png\""));
    QTest::mouseClick(&mail->child<QPushButton>("bannerLoad"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return message().loadCount() == 2; }));
    EXPECT_TRUE(reader().showsRemote());
    EXPECT_TRUE(reader().rendered()->document.contains(u"https://img.local/a.png"));
    EXPECT_FALSE(reader().rendered()->document.contains(u"track.example"));
    EXPECT_EQ(reader().rendered()->trackers, 2);
    EXPECT_FALSE(label("bannerRemote").isVisible());
    EXPECT_FALSE(mail->child<QPushButton>("bannerLoad").isVisible());
    EXPECT_TRUE(label("bannerTrackers").isVisible());
    EXPECT_EQ(label("bannerTrackers").text(), u"2 tracking images blocked");
}

class ReaderViewWithRemoteContentTest : public ReaderViewTest {
protected:
    void change() override { set(DefaultsKey::loadRemoteContent, true); }
};

TEST_F(ReaderViewWithRemoteContentTest, ShowsNoBannerForRemoteContentButStillTheTrackers)
{
    open(htmlMessage(remoteImage + tracker));
    EXPECT_TRUE(reader().showsRemote());
    EXPECT_FALSE(label("bannerRemote").isVisible());
    EXPECT_TRUE(label("bannerTrackers").isVisible());
    EXPECT_EQ(message().loadCount(), 1);
}

TEST_F(ReaderViewTest, TellsHowManyImagesCouldNotBeLoadedSafely)
{
    // Hosts of the user's own network, about which nobody is asked.
    open(htmlMessage(u"<img src=\"https://router/a.png\" width=\"90\" height=\"90\">"
                     "<img src=\"https://127.0.0.1/b.png\" width=\"90\" height=\"90\">"_s));
    EXPECT_FALSE(label("bannerRefused").isVisible());
    QTest::mouseClick(&mail->child<QPushButton>("bannerLoad"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return label("bannerRefused").isVisible(); }));
    EXPECT_TRUE(waitUntil([this] {
        return label("bannerRefused").text() == u"2 images could not be loaded safely."_s;
    })) << label("bannerRefused").text().toStdString();
    EXPECT_FALSE(label("bannerRemote").isVisible());
    takeScreenshot(*mail->window, u"images-refused"_s);
    mail->fixture.provider().setRaw(u"2"_s, htmlMessage(u"<p>Next</p>"_s));
    mail->model().setPath({});
    mail->read(u"2"_s);
    EXPECT_TRUE(waitUntil([this] { return !label("bannerRefused").isVisible(); }));
}

TEST_F(ReaderViewTest, AsksAgainForTheNextMessage)
{
    open(htmlMessage(remoteImage));
    QTest::mouseClick(&mail->child<QPushButton>("bannerLoad"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return message().loadCount() == 2; }));
    mail->model().setPath({});
    mail->read(u"1"_s);
    EXPECT_FALSE(reader().showsRemote());
    EXPECT_TRUE(label("bannerRemote").isVisible());
}

TEST_F(ReaderViewTest, ShowsImagesThatCameWithTheMessage)
{
    open("Subject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/related; boundary=b\r\n\r\n"
         "--b\r\nContent-Type: text/html\r\n\r\n<img src=\"cid:one\">\r\n"
         "--b\r\nContent-Type: image/png\r\nContent-ID: <one>\r\nContent-Disposition: inline\r\n"
         "Content-Transfer-Encoding: base64\r\n\r\niVBORw0KGgo=\r\n--b--\r\n");
    EXPECT_TRUE(reader().rendered()->document.contains(u"data:image/png;base64,"));
    EXPECT_FALSE(mail->child<QWidget>("attachmentsRow").isVisible());
}

// --- Attachments

TEST_F(ReaderViewTest, SavesAnAttachmentWhereTheUserSays)
{
    open(
        "Subject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\n\r\nHello\r\n"
        "--b\r\nContent-Type: text/csv\r\nContent-Disposition: attachment; filename=\"R&D table.csv\"\r\n\r\n"
        "a,b\r\n--b\r\nContent-Type: image/png\r\nContent-Disposition: attachment; "
        "filename=two.png\r\n\r\nx\r\n"
        "--b--\r\n");
    const auto chips = mail->window->findChildren<AttachmentChip*>();
    ASSERT_EQ(chips.size(), 2);
    EXPECT_EQ(chips[0]->accessibleName(), u"R&D table.csv (3 bytes)");
    EXPECT_EQ(chips[0]->toolTip(), u"Save R&D table.csv");
    const QTemporaryDir folder;
    mail->savePath = folder.filePath(u"saved.csv"_s);
    QTest::mouseClick(chips[0], Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return QFile::exists(mail->savePath); }));
    EXPECT_EQ(mail->suggestedNames, QStringList(u"R&D table.csv"_s));
    QFile saved(mail->savePath);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), "a,b");
    takeScreenshot(*mail->window, u"reader-attachments"_s);
}

TEST_F(ReaderViewTest, SavesNothingWhenTheUserGivesUp)
{
    open(
        "Subject: x\r\nContent-Type: text/csv\r\nContent-Disposition: attachment; filename=a.csv\r\n\r\na,b");
    QTest::mouseClick(mail->window->findChild<AttachmentChip*>(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return mail->suggestedNames.size() == 1; }));
    settle();
    EXPECT_FALSE(mail->model().errorMessage());
}

TEST_F(ReaderViewTest, TellsThatAnAttachmentCouldNotBeSaved)
{
    open(
        "Subject: x\r\nContent-Type: text/csv\r\nContent-Disposition: attachment; filename=a.csv\r\n\r\na,b");
    const QTemporaryDir folder;
    mail->savePath = folder.filePath(u"none/saved.csv"_s);
    QTest::mouseClick(mail->window->findChild<AttachmentChip*>(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return mail->model().errorMessage().has_value(); }));
    EXPECT_FALSE(QFile::exists(mail->savePath));
}

TEST_F(ReaderViewTest, SuggestsANameThatAFileCanHave)
{
    open("Subject: x\r\nContent-Type: text/csv\r\nContent-Disposition: attachment; filename*=utf-8''" +
         QByteArray("%E2%82%AC").repeated(150) + ".csv\r\n\r\na,b");
    QTest::mouseClick(mail->window->findChild<AttachmentChip*>(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return mail->suggestedNames.size() == 1; }));
    EXPECT_EQ(mail->suggestedNames.constFirst(), QString(83, u'€') + u".csv"_s);
}

// --- Links

TEST_F(ReaderViewTest, OpensALinkOfThePageInTheBrowserWithoutItsTracking)
{
    open(htmlMessage(u"<a href=\"https://shop.example/?id=1&utm_source=mail\" "
                     "style=\"display:block;font-size:40px;line-height:60px\">Shop</a>"_s));
    ASSERT_TRUE(waitUntilDrawn(message()));
    QTest::mouseClick(&inputWidget(message()), Qt::LeftButton, {}, QPoint(60, 40));
    ASSERT_TRUE(waitUntil([this] { return !mail->openedURLs.isEmpty(); }));
    EXPECT_EQ(openedURLs(), QStringList(u"https://shop.example/?id=1"_s));
}

TEST_F(ReaderViewTest, OpensALinkAsItIsWhereTrackingIsKept)
{
    open("Subject: x\r\n\r\nHello");
    set(DefaultsKey::stripTrackingParams, false);
    reader().followLink(link(u"https://shop.example/?utm_source=mail"_s, u"Shop"_s));
    EXPECT_EQ(openedURLs(), QStringList(u"https://shop.example/?utm_source=mail"_s));
}

TEST_F(ReaderViewTest, OpensADeceptiveLinkDirectlyWhereWarningsAreOff)
{
    open("Subject: x\r\n\r\nHello");
    set(DefaultsKey::warnSuspiciousLinks, false);
    const LinkRecord deceptive = link(u"https://evil.example/?utm_source=mail"_s, u"bank.example"_s);
    reader().followLink(deceptive);
    set(DefaultsKey::stripTrackingParams, false);
    reader().followLink(deceptive);
    EXPECT_FALSE(alert());
    EXPECT_EQ(openedURLs(),
              (QStringList{u"https://evil.example/"_s, u"https://evil.example/?utm_source=mail"_s}));
}

TEST_F(ReaderViewTest, OpensAnUnencryptedLinkWithoutTheAlert)
{
    open("Subject: x\r\n\r\nHello");
    reader().followLink(link(u"http://bank.example/"_s, u"bank.example"_s));
    EXPECT_FALSE(alert());
    EXPECT_EQ(openedURLs(), QStringList(u"http://bank.example/"_s));
}

TEST_F(ReaderViewTest, WarnsOfANumberInPlaceOfANameWithTwoLines)
{
    open("Subject: x\r\n\r\nHello");
    reader().followLink(link(u"http://10.0.0.1/"_s, u"click"_s));
    ASSERT_TRUE(alert());
    EXPECT_EQ(mail->openedURLs.size(), 0);
    const QStringList lines = alertText().split(u'\n');
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[0], LinkCleaner::Warning::insecure().message());
    EXPECT_EQ(lines[1], LinkCleaner::Warning::ipAddress(u"10.0.0.1"_s).message());
    EXPECT_EQ(lines[2], u"");
    EXPECT_EQ(lines[3], u"http://10.0.0.1/");
    ASSERT_TRUE(waitUntil([this] { return alert()->isVisible(); }));
    takeScreenshot(*mail->window, u"reader-link-alert"_s);
}

TEST_F(ReaderViewTest, OpensADeceptiveLinkOnlyOnDemand)
{
    open("Subject: x\r\n\r\nHello");
    reader().followLink(link(u"https://evil.example/?a=1&utm_source=mail"_s, u"https://bank.example/"_s));
    ASSERT_TRUE(alert());
    EXPECT_EQ(alert()->text(), u"This link may be deceptive");
    EXPECT_TRUE(alertText().endsWith(u"\n\nhttps://evil.example/?a=1"));
    QTest::mouseClick(alert()->button(QMessageBox::Cancel), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return !alert(); }));
    EXPECT_EQ(mail->openedURLs.size(), 0);

    reader().followLink(link(u"https://evil.example/?a=1&utm_source=mail"_s, u"https://bank.example/"_s));
    QAbstractButton* openAnyway = nullptr;
    const auto buttons = alert()->buttons();
    for (QAbstractButton* const button : buttons) {
        if (button->text() == u"Open Anyway")
            openAnyway = button;
    }
    ASSERT_TRUE(openAnyway);
    QTest::mouseClick(openAnyway, Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return !alert(); }));
    EXPECT_EQ(openedURLs(), QStringList(u"https://evil.example/?a=1"_s));
}

TEST_F(ReaderViewTest, CancelsTheAlertWithReturnAndEscape)
{
    open("Subject: x\r\n\r\nHello");
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        reader().followLink(link(u"http://10.0.0.1/"_s));
        ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isActiveWindow(); }));
        QTest::keyClick(alert(), key);
        ASSERT_TRUE(waitUntil([this] { return !alert(); }));
    }
    EXPECT_EQ(mail->openedURLs.size(), 0);
    EXPECT_FALSE(mail->model().path().isEmpty());
}

TEST_F(ReaderViewTest, ShowsTheWordsOfAStrangerAsPlainTextInTheAlert)
{
    open("Subject: x\r\n\r\nHello");
    reader().followLink(link(u"https://evil.example/%3Cb%3E?<img/src=x>"_s, u"<h1>bank.example</h1>"_s));
    reader().followLink(link(u"http://10.0.0.1/<b>bold</b>"_s, u"bank.example"_s));
    ASSERT_TRUE(alert());
    const auto labels = alert()->findChildren<QLabel*>();
    int texts = 0;
    for (const QLabel* const shown : labels) {
        if (shown->text().isEmpty())
            continue;
        texts += shown->isHidden() ? 0 : 1;
        EXPECT_EQ(shown->textFormat(), Qt::PlainText) << shown->objectName().toStdString();
    }
    EXPECT_EQ(texts, 2);
}

TEST_F(ReaderViewTest, KeepsTheAlertOfALongLinkOnTheScreen)
{
    open("Subject: x\r\n\r\nHello");
    reader().followLink(link(u"http://10.0.0.1/"_s + QString(4000, u'a')));
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    ASSERT_TRUE(waitUntilDrawn(*alert()));
    EXPECT_LE(alert()->width(), alert()->screen()->availableSize().width());
    EXPECT_LE(alert()->height(), alert()->screen()->availableSize().height());
    EXPECT_TRUE(alert()->button(QMessageBox::Cancel)->isVisible());
    const QRect onScreen = alert()->screen()->availableGeometry();
    QAbstractButton& cancel = *alert()->button(QMessageBox::Cancel);
    EXPECT_TRUE(onScreen.contains(cancel.mapToGlobal(cancel.rect().center())));
    takeScreenshot(*mail->window, u"reader-link-alert-long"_s);
}

TEST_F(ReaderViewTest, WritesToTheAddressOfAMailLink)
{
    open("Subject: x\r\n\r\nHello");
    const auto composedTo = [this](const QString& url) {
        reader().followLink(link(url));
        const QList<ComposeWindow*> windows = mail->window->composeWindows().windows();
        return windows.isEmpty() ? u"none"_s : windows.last()->view().draft().to;
    };
    EXPECT_EQ(composedTo(u"mailto:a@x?subject=y"_s), u"a@x");
    EXPECT_EQ(composedTo(u"MAILTO:a%2Bb@x"_s), u"a+b@x");
    EXPECT_EQ(composedTo(u"mailto:%FF@x"_s), u"%FF@x");
    EXPECT_EQ(composedTo(u"mailto:a%0D%0ABcc:b@x"_s), u"a  Bcc:b@x");
    EXPECT_EQ(mail->openedURLs.size(), 0);
}

TEST_F(ReaderViewTest, IgnoresLinksWithOtherSchemes)
{
    open("Subject: x\r\n\r\nHello");
    for (const QString& url : {u"ftp://a.example/"_s, u"file:///etc/passwd"_s, u"tel:+123"_s,
                               u"javascript:alert(1)"_s, u"smb://a.example/"_s}) {
        if (const auto parsed = MailURL::parse(url))
            reader().followLink({*parsed, u"x"_s});
    }
    EXPECT_FALSE(alert());
    EXPECT_EQ(mail->openedURLs.size(), 0);
    reader().followLink(link(u"HTTPS://a.example/"_s));
    EXPECT_EQ(mail->openedURLs.size(), 1);
}

// --- Forwarded messages

TEST_F(ReaderViewTest, SetsAForwardedMessageApart)
{
    open("Subject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
         "--b\r\n\r\nHave a look at this.\r\n"
         "--b\r\nContent-Type: message/rfc822\r\n\r\nFrom: Carl <carl@example.com>\r\nSubject: Boats & "
         "more\r\n"
         "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\nContent-Type: text/html\r\n\r\n"
         "<p>Two boats</p><a href=\"https://a.example/\">here</a>\r\n--b--\r\n");
    const QStringList lines = pageText(message()).split(u'\n', Qt::SkipEmptyParts);
    EXPECT_EQ(lines, (QStringList{u"Have a look at this."_s, u"From: Carl <carl@example.com>"_s,
                                  u"Subject: Boats & more"_s, u"Date: Friday, March 15, 2024 at 12:00 PM"_s,
                                  u"Two boats"_s, u"here"_s}));
    EXPECT_TRUE(
        reader().rendered()->document.contains(u"aria-label=\"Forwarded message: Boats &amp; more\""));
    ASSERT_EQ(reader().rendered()->links.size(), 1);
    takeScreenshot(*mail->window, u"reader-forwarded"_s);
}

// --- Keys

TEST_F(ReaderViewTest, GoesBackToTheListWithEscapeFromTheMessage)
{
    open("Subject: x\r\n\r\nHello");
    for (const bool hasShortcuts : {true, false}) {
        set(DefaultsKey::gmailShortcuts, hasShortcuts);
        mail->model().open(*mail->model().message(u"1"_s));
        ASSERT_TRUE(waitUntil([this] { return reader().rendered().has_value(); }));
        inputWidget(message()).setFocus();
        QTest::keyClick(&inputWidget(message()), Qt::Key_Escape);
        EXPECT_TRUE(mail->model().path().isEmpty());
        EXPECT_TRUE(mail->table().isVisible());
    }
}

/// Counts keys on their way.
class KeyCounter : public QObject {
public:
    int keys = 0;

    bool eventFilter(QObject*, QEvent* event) override
    {
        keys += event->type() == QEvent::KeyPress ? 1 : 0;
        return false;
    }
};

TEST_F(ReaderViewTest, GoesBackToTheListWithUAloneAndKeepsItFromTheEngine)
{
    open("Subject: x\r\n\r\nHello");
    for (QWidget* const target : {&inputWidget(message()), static_cast<QWidget*>(&reader())}) {
        QTest::keyClick(target, 'x');
        QTest::keyClick(target, 'U', Qt::ShiftModifier);
        QTest::sendKeyEvent(QTest::Click, target, Qt::Key_U, u"u"_s, Qt::AltModifier);
        QTest::sendKeyEvent(QTest::Click, target, Qt::Key_U, u"u"_s, Qt::MetaModifier);
        EXPECT_FALSE(mail->model().path().isEmpty());
        // What the engine's widget were to pass on would reach the reader.
        KeyCounter engine;
        reader().installEventFilter(&engine);
        QTest::keyClick(target, 'u');
        EXPECT_TRUE(mail->model().path().isEmpty());
        EXPECT_EQ(engine.keys, target == &reader() ? 1 : 0);
        mail->read(u"1"_s);
    }
}

TEST_F(ReaderViewTest, PassesUOnWhereTheSingleKeyShortcutsAreOff)
{
    open("Subject: x\r\n\r\nHello");
    set(DefaultsKey::gmailShortcuts, false);
    QTest::keyClick(&inputWidget(message()), 'u');
    QTest::keyClick(&reader(), 'u');
    QTest::keyClick(&label("readerSubject"), 'u');
    EXPECT_FALSE(mail->model().path().isEmpty());
}

const QString longPage = u"<p style=\"height:3000px;background:#00ff00\">top</p><p>end</p>"_s;

TEST_F(ReaderViewTest, ScrollsAnOpenedMessageAtOnceByItsKeys)
{
    open(htmlMessage(longPage));
    const auto position = [this] { return message().webView().page()->scrollPosition().y(); };
    EXPECT_TRUE(message().isAncestorOf(QApplication::focusWidget()));
    struct Key {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        int direction;
    };
    for (const auto& [key, modifiers, direction] :
         {Key{Qt::Key_PageDown, {}, 1}, Key{Qt::Key_PageUp, {}, -1}, Key{Qt::Key_Space, {}, 1},
          Key{Qt::Key_Space, Qt::ShiftModifier, -1}, Key{Qt::Key_Down, {}, 1}, Key{Qt::Key_Up, {}, -1},
          Key{Qt::Key_End, {}, 1}, Key{Qt::Key_Home, {}, -1}}) {
        const double before = position();
        QTest::keyClick(mail->window->windowHandle(), key, modifiers);
        EXPECT_TRUE(waitUntil([&] { return (position() - before) * direction > 0; })) << key;
        ASSERT_TRUE(waitUntilDrawn(message()));
    }
    EXPECT_EQ(mail->model().path(), QStringList(u"1"_s));
    EXPECT_EQ(mail->model().selection(), QSet<QString>{u"1"_s});
    // Another document, as remote content brings it, has the keys as well.
    mail->fixture.provider().setRaw(u"2"_s, htmlMessage(remoteImage + longPage));
    mail->model().setPath({});
    mail->read(u"2"_s);
    QTest::mouseClick(&mail->child<QPushButton>("bannerLoad"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return reader().rendered()->blockedRemoteImages == 0; }));
    ASSERT_TRUE(waitUntil([this] { return !message().isCovered(); }));
    ASSERT_TRUE(waitUntil([this] { return message().isAncestorOf(QApplication::focusWidget()); }));
    ASSERT_TRUE(waitUntilDrawn(message()));
    QTest::keyClick(mail->window->windowHandle(), Qt::Key_PageDown);
    EXPECT_TRUE(waitUntil([&] { return position() > 0; }));
    QTest::keyClick(mail->window->windowHandle(), Qt::Key_Escape);
    EXPECT_TRUE(mail->model().path().isEmpty());
    EXPECT_TRUE(mail->table().hasFocus());
}

TEST_F(ReaderViewTest, LeavesTheKeysOfTheListAlone)
{
    open(htmlMessage(longPage));
    mail->fixture.provider().forgetCalls();
    for (const char key : {'j', 'k', 'o', 'e', '#', 's', 'c'})
        QTest::keyClick(mail->window->windowHandle(), key);
    QTest::keyClick(mail->window->windowHandle(), Qt::Key_Return);
    settle();
    EXPECT_EQ(mail->fixture.provider().calls(), QStringList());
    EXPECT_EQ(mail->model().path(), QStringList(u"1"_s));
    QTest::keyClick(mail->window->windowHandle(), 'u');
    EXPECT_TRUE(mail->model().path().isEmpty());
}

TEST_F(ReaderViewTest, BringsAllOfALowWindowToLightByTheSameKeys)
{
    open(htmlMessage(longPage));
    Style::shared().setTextSize(28);
    mail->window->resize(ContentView::smallestSize);
    ASSERT_TRUE(waitUntilDrawn(*mail->window));
    QScrollBar& bar = *reader().findChild<QScrollArea*>()->verticalScrollBar();
    ASSERT_GT(bar.maximum(), 0);
    takeScreenshot(*mail->window, u"reader-low"_s);
    const auto position = [this] { return message().webView().page()->scrollPosition().y(); };
    for (int presses = 0; presses < 20 && position() == 0; ++presses) {
        QTest::keyClick(mail->window->windowHandle(), Qt::Key_Space);
        ASSERT_TRUE(waitUntilDrawn(*mail->window));
    }
    EXPECT_GT(position(), 0);
    EXPECT_EQ(bar.value(), bar.maximum());
    QTest::keyClick(mail->window->windowHandle(), Qt::Key_Home);
    EXPECT_TRUE(waitUntil([&] { return position() == 0 && bar.value() == 0; }));
    Style::shared().setTextSize(13);
}

TEST_F(ReaderViewTest, GoesBackWithItsButton)
{
    open("Subject: x\r\n\r\nHello");
    QTest::mouseClick(&mail->child<QAbstractButton>("readerBack"), Qt::LeftButton);
    EXPECT_TRUE(mail->model().path().isEmpty());
    EXPECT_TRUE(mail->table().isVisible());
}

TEST_F(ReaderViewTest, TakesTheQuestionAboutALinkBackWithItsMessage)
{
    open(htmlMessage(u"<a href=\"https://evil.example/\">bank.example</a>"_s));
    mail->fixture.provider().setRaw(u"2"_s, "Subject: two\r\n\r\nTwo");
    reader().followLink(link(u"https://evil.example/"_s, u"bank.example"_s));
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    mail->read(u"2"_s);
    EXPECT_TRUE(waitUntil([this] { return !alert(); }));
    EXPECT_TRUE(openedURLs().isEmpty());
}

} // namespace
} // namespace Larkhaven
