#include "ReaderViewFixture.h"
#include "safety/LinkCleaner.h"
#include "support/QtPrinters.h"
#include "views/reader/SecureMessageView.h"

#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using LinkCleaner::Warning;

/// A message that is one link, which is pressed.
class DeceptiveLinkTest : public ReaderViewTest {
protected:
    void press(const QString& url, const QString& text)
    {
        const QString html =
            u"<a href=\"%1\" style=\"display:block;font-size:40px;line-height:60px\">%2</a>"_s;
        open("Subject: x\r\nContent-Type: text/html; charset=utf-8\r\n\r\n" + html.arg(url, text).toUtf8());
        ASSERT_TRUE(waitUntilDrawn(message()));
        QTest::mouseClick(&inputWidget(message()), Qt::LeftButton, {}, QPoint(60, 40));
    }

    void expectWarnings(const QString& url, const QString& text, const QList<Warning>& warnings)
    {
        SCOPED_TRACE(text.toStdString());
        ASSERT_NO_FATAL_FAILURE(press(url, text));
        ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
        QStringList messages;
        for (const Warning& warning : warnings)
            messages += warning.message();
        EXPECT_EQ(alertText().section(u"\n\n"_s, 0, 0), messages.join(u'\n'));
        EXPECT_EQ(mail->openedURLs.size(), 0);
        QTest::mouseClick(alert()->button(QMessageBox::Cancel), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return !alert(); }));
        EXPECT_EQ(mail->openedURLs.size(), 0);
    }

    static Warning mismatch(const QString& shown)
    {
        return Warning::mismatchedText(shown, u"evil.example"_s);
    }
};

TEST_F(DeceptiveLinkTest, AsksAboutAHostAmongOtherWords)
{
    const QString evil = u"https://evil.example/"_s;
    for (const QString& text :
         {u"Go to bank.example"_s, u"bank.example!"_s, u"//bank.example/"_s, u"me@bank.example now"_s,
          u"bank\u3002example!"_s, u"ba\u200bnk.example!"_s, u"<b>bank</b>.example &rarr;"_s,
          u"bank<i style=\"display:none\"> </i>.example"_s})
        expectWarnings(evil, text, {mismatch(u"bank.example"_s)});
}

TEST_F(DeceptiveLinkTest, AsksAboutAnotherSiteOfTheSameProvider)
{
    expectWarnings(u"https://evil.github.io/"_s, u"bank.github.io"_s,
                   {Warning::mismatchedText(u"bank.github.io"_s, u"evil.github.io"_s)});
}

TEST_F(DeceptiveLinkTest, AsksAboutAPasswordWithoutAUser)
{
    expectWarnings(u"https://:bank.example@evil.example/"_s, u"Log in"_s, {mismatch(u":bank.example"_s)});
}

TEST_F(DeceptiveLinkTest, ShowsTheAddressThatANumberIs)
{
    for (const QString& host : {u"2130706433"_s, u"0x7f.1"_s, u"[::ffff:127.0.0.1]"_s})
        expectWarnings(u"https://"_s + host + u'/', u"Log in"_s, {Warning::ipAddress(u"127.0.0.1"_s)});
}

TEST_F(DeceptiveLinkTest, TakesADomainInAnotherScriptForNoAddress)
{
    expectWarnings(u"https://xn--80ab2al.xn--p1ai/"_s, u"Log in"_s,
                   {Warning::punycode(u"xn--80ab2al.xn--p1ai"_s)});
}

TEST_F(DeceptiveLinkTest, OpensALinkToTheSiteThatItsWordsName)
{
    ASSERT_NO_FATAL_FAILURE(press(u"https://login.bank.example/"_s, u"Go to www.bank.example!"_s));
    ASSERT_TRUE(waitUntil([this] { return !mail->openedURLs.isEmpty(); }));
    EXPECT_EQ(openedURLs(), QStringList(u"https://login.bank.example/"_s));
    EXPECT_FALSE(alert());
}

TEST_F(DeceptiveLinkTest, SpeaksOnLinesThatCanBeSeenWhateverTheUserIs)
{
    const QString user = u"bank.example%E2%80%AE%0A%E3%85%A4"_s.repeated(60);
    ASSERT_NO_FATAL_FAILURE(press(u"http://:"_s + user + u"@2130706433/"_s,
                                  u"Go to www."_s + u"bank."_s.repeated(40) + u"example"_s));
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    const QStringList lines = alertText().section(u"\n\n"_s, 0, 0).split(u'\n');
    ASSERT_EQ(lines.size(), 4);
    for (const QString& line : lines) {
        EXPECT_LT(line.size(), 400);
        for (const char16_t hidden : {u'\u202e', u'\u3164', u'\r'})
            EXPECT_FALSE(line.contains(hidden)) << line.toStdString();
    }
    takeScreenshot(*mail->window, u"reader-link-alert-long"_s);
}

/// Words that take long to read as hosts.
QString endlessText()
{
    return u"\u00e4.b "_s.repeated(100'000);
}

TEST_F(DeceptiveLinkTest, AsksOnceAboutALinkOfAMillionWordsThatIsPressedTwice)
{
    open("Subject: x\r\nContent-Type: text/html\r\n\r\n<p>x</p>");
    ASSERT_TRUE(waitUntilDrawn(message()));
    const LinkRecord link{*MailURL::parse(u"https://evil.example/"_s), endlessText() + u"bank.example"_s};
    reader().followLink(link);
    reader().followLink(link);
    EXPECT_FALSE(alert()) << "the words are read elsewhere";
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    EXPECT_TRUE(alertText().startsWith(mismatch(u"bank.example"_s).message()));
    QTest::mouseClick(alert()->button(QMessageBox::Cancel), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return !alert(); }));
    QTest::qWait(500);
    EXPECT_FALSE(alert());
    EXPECT_EQ(mail->openedURLs.size(), 0);
}

TEST_F(DeceptiveLinkTest, SaysNothingOfALinkWhoseMessageWentWhileItWasJudged)
{
    open("Subject: x\r\nContent-Type: text/html\r\n\r\n<p>x</p>");
    ASSERT_TRUE(waitUntilDrawn(message()));
    reader().followLink({*MailURL::parse(u"https://evil.example/"_s), endlessText() + u"bank.example"_s});
    mail->model().setPath({});
    QTest::qWait(1500);
    EXPECT_FALSE(alert());
    EXPECT_EQ(mail->openedURLs.size(), 0);
}

TEST_F(DeceptiveLinkTest, LooksLikeTheOtherAlerts)
{
    ASSERT_NO_FATAL_FAILURE(press(u"http://:bank.example@2130706433/login"_s, u"Go to bank.example"_s));
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    EXPECT_EQ(alertText().section(u"\n\n"_s, 1), u"http://:bank.example@2130706433/login");
    takeScreenshot(*mail->window, u"reader-link-alert-number"_s);
}

} // namespace
} // namespace Larkhaven
