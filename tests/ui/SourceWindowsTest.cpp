#include "views/reader/SourceWindows.h"

#include "ReaderViewFixture.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class SourceWindowsTest : public ReaderViewTest {};

TEST_F(SourceWindowsTest, SaysThatPartsCouldNotBeReadAndShowsTheSource)
{
    const QByteArray raw =
        "From: Ada <ada@example.com>\r\nSubject: Broken\r\n"
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--c\r\n\r\nhidden words\r\n--c--\r\n";
    open(raw);
    QWidget& banner = mail->child<QWidget>("incompleteBanner");
    ASSERT_TRUE(banner.isVisible());
    EXPECT_EQ(banner.findChild<QLabel*>(u"noticeText"_s)->text(),
              u"Parts of this message could not be read."_s);
    auto* const button = banner.findChild<QPushButton*>(u"noticeButton"_s);
    EXPECT_EQ(button->text(), u"Show Source"_s);
    takeScreenshot(*mail->window, u"reader-incomplete"_s);
    QTest::mouseClick(button, Qt::LeftButton);
    SourceWindows& sources = mail->window->sourceWindows();
    ASSERT_TRUE(waitUntil([&] {
        return sources.window(accountID(), u"1"_s) && sources.window(accountID(), u"1"_s)->isVisible();
    }));
    QWidget& source = *sources.window(accountID(), u"1"_s);
    auto* const text = source.findChild<QPlainTextEdit*>();
    EXPECT_EQ(text->toPlainText(), QString::fromLatin1(raw).replace(u"\r\n"_s, u"\n"_s).chopped(1));
    EXPECT_TRUE(text->isReadOnly());
    EXPECT_EQ(source.windowTitle(), u"Source of “Subject 1”"_s);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&source));
    takeScreenshot(source, u"source"_s);
    QTest::mouseClick(button, Qt::LeftButton);
    settle();
    EXPECT_EQ(sources.window(accountID(), u"1"_s), &source);
}

TEST_F(SourceWindowsTest, SaysNothingOfPartsWhereAllWasRead)
{
    open("Subject: x\r\n\r\nHello");
    EXPECT_FALSE(mail->child<QWidget>("incompleteBanner").isVisible());
}

TEST_F(SourceWindowsTest, ControlUShowsTheSourceInReaderAndList)
{
    open(htmlMessage(filled(u"Hello"_s)));
    SourceWindows& sources = mail->window->sourceWindows();
    QTest::keyClick(&inputWidget(message()), Qt::Key_U, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return sources.window(accountID(), u"1"_s); }));
    sources.window(accountID(), u"1"_s)->close();
    ASSERT_TRUE(waitUntil([&] { return !sources.window(accountID(), u"1"_s); }));
    mail->model().setPath({});
    mail->model().setSelection({u"2"_s, u"3"_s});
    mail->window->activateWindow();
    mail->table().setFocus();
    QTest::keyClick(&mail->table(), Qt::Key_U, Qt::ControlModifier);
    settle();
    EXPECT_FALSE(sources.window(accountID(), u"2"_s));
    mail->model().setSelection({u"1"_s});
    QTest::keyClick(&mail->table(), Qt::Key_U, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([&] { return sources.window(accountID(), u"1"_s); }));
}

TEST_F(SourceWindowsTest, KeepsTheSourcesOfTwoAccountsApartAndClosesThoseOfOneThatIsRemoved)
{
    open("Subject: one\r\n\r\nHello",
         {ModelFixture::imapAccount(), ModelFixture::imapAccount(u"other@example.org"_s)});
    mail->fixture.provider(1).setRaw(u"1"_s, "Subject: two\r\n\r\nHello");
    SourceWindows& sources = mail->window->sourceWindows();
    const QUuid other = mail->fixture.account(1).id;
    sources.open(*mail->model().message(u"1"_s));
    ASSERT_TRUE(waitUntil([&] { return sources.window(accountID(), u"1"_s); }));
    sources.open(ModelFixture::row(mail->fixture.account(1), u"1"_s));
    ASSERT_TRUE(waitUntil([&] { return sources.window(other, u"1"_s); }));
    const auto text = [&](const QUuid& account) {
        return sources.window(account, u"1"_s)->findChild<QPlainTextEdit*>()->toPlainText();
    };
    EXPECT_TRUE(text(accountID()).startsWith(u"Subject: one"_s));
    EXPECT_TRUE(text(other).startsWith(u"Subject: two"_s));
    mail->model().start(mail->model().removeAccount(other));
    EXPECT_TRUE(waitUntil([&] { return !sources.window(other, u"1"_s); }));
    EXPECT_TRUE(sources.window(accountID(), u"1"_s));
}

TEST_F(SourceWindowsTest, ShowsNoSourceThatComesFromTheServersOfBefore)
{
    open("Subject: x\r\n\r\nHello");
    FakeMailProvider& provider = mail->fixture.provider();
    provider.hold(u"fetchRaw"_s);
    mail->window->sourceWindows().open(*mail->model().message(u"1"_s));
    ASSERT_EQ(provider.pending().size(), 1);
    mail->model().useProvider(accountID(), FakeMailProvider::create(mail->fixture.account()));
    provider.completeAll();
    settle();
    EXPECT_FALSE(mail->window->sourceWindows().window(accountID(), u"1"_s));
    EXPECT_FALSE(mail->model().errorMessage());
}

TEST_F(SourceWindowsTest, ASourceThatCannotBeFetchedIsReported)
{
    open("Subject: x\r\n\r\nHello");
    mail->fixture.provider().failNext(u"fetchRaw"_s, MailError::protocolError(u"Gone."_s));
    mail->window->sourceWindows().open(*mail->model().message(u"2"_s));
    EXPECT_TRUE(waitUntil([this] { return mail->model().errorMessage().has_value(); }));
    EXPECT_FALSE(mail->window->sourceWindows().window(accountID(), u"2"_s));
}

} // namespace
} // namespace Larkhaven
