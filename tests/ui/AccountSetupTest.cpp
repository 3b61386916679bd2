#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"
#include "views/main/SidebarDelegate.h"
#include "views/main/SidebarView.h"
#include "views/main/WelcomeView.h"
#include "views/setup/IMAPSetupView.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

Account repairable()
{
    Account account = ModelFixture::imapAccount();
    account.displayName = u"Mia"_s;
    account.server->imapHost = u"imap.own.example"_s;
    account.server->imapPort = 1993;
    return account;
}

class AccountSetupTest : public testing::Test {
protected:
    explicit AccountSetupTest(const QList<Account>& accounts = {})
        : mail(accounts)
    {}

    void SetUp() override { mail.open(); }

    IMAPSetupView* form() const
    {
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            auto* const found = qobject_cast<IMAPSetupView*>(window);
            if (found && found->isVisible())
                return found;
        }
        return nullptr;
    }
    IMAPSetupView* openForm()
    {
        mail.window->openSetup();
        EXPECT_TRUE(waitUntil([this] { return form() && form()->isActiveWindow(); }));
        return form();
    }
    QLineEdit& field(const char* name) const
    {
        return *form()->findChild<QLineEdit*>(QLatin1StringView(name));
    }
    QSpinBox& port(const char* name) const { return *form()->findChild<QSpinBox*>(QLatin1StringView(name)); }
    QPushButton& signIn() const { return *form()->findChild<QPushButton*>(u"setupSignIn"_s); }
    QMessageBox* alert() const { return form() ? form()->findChild<QMessageBox*>(u"setupAlert"_s) : nullptr; }
    void fill(const QString& email, const QString& password)
    {
        QTest::keyClicks(&field("setupEmail"), email);
        QTest::keyClicks(&field("setupPassword"), password);
    }
    void connectTo(const QList<Script>& scripts)
    {
        server = std::make_unique<ScriptedServer>(scripts);
        mail.fixture.setTransports(
            [this, left = scripts.size()](const QString& host, int where, bool tls) mutable {
                return left-- > 0 ? server->factory()(host, where, tls) : nobody();
            });
    }
    static Task<std::shared_ptr<MailTransport>> nobody()
    {
        throw MailError::protocolError(u"The server closed the connection."_s);
        co_return std::shared_ptr<MailTransport>();
    }
    /// What the form says about servers that answer as the scripts tell.
    QString refusal(const QList<Script>& scripts)
    {
        connectTo(scripts);
        signIn().click();
        EXPECT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
        if (!alert())
            return {};
        EXPECT_EQ(alert()->text(), u"Couldn’t Sign In");
        const QString text = alert()->informativeText();
        alert()->close();
        EXPECT_TRUE(waitUntil([this] { return !alert(); }));
        return text;
    }

    MailWindow mail;
    std::unique_ptr<ScriptedServer> server;
};

class AccountRepairTest : public AccountSetupTest {
protected:
    AccountRepairTest()
        : AccountSetupTest({repairable()})
    {}
};

TEST_F(AccountSetupTest, OpensFromTheWelcomeView)
{
    QTest::mouseClick(&mail.child<QPushButton>("addIMAP"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return form(); }));
    EXPECT_EQ(form()->windowTitle(), u"Account Setup");
    takeScreenshot(*mail.window, u"welcome"_s);
    takeScreenshot(*form(), u"imap-setup"_s);
    form()->findChild<QToolButton*>(u"setupDisclosure"_s)->click();
    takeScreenshot(*form(), u"imap-setup-servers"_s);
    form()->close();
}

TEST_F(AccountSetupTest, FillsTheServersInFromTheAddress)
{
    openForm();
    fill(u"ann@gmx.net"_s, u"x"_s);
    EXPECT_EQ(field("imapHost").text(), u"imap.gmx.net");
    EXPECT_EQ(field("smtpHost").text(), u"mail.gmx.net");
    EXPECT_EQ(field("setupUsername").text(), u"ann@gmx.net");
    EXPECT_EQ(port("imapPort").value(), 993);
    form()->close();
}

TEST_F(AccountSetupTest, KeepsSignInDisabledForAnAddressWithoutAnAtSign)
{
    openForm();
    fill(u"ann"_s, u"x"_s);
    EXPECT_FALSE(signIn().isEnabled());
    QTest::keyClicks(&field("setupEmail"), u"@x.example"_s);
    EXPECT_TRUE(signIn().isEnabled());
    form()->close();
}

TEST_F(AccountSetupTest, KeepsSignInDisabledWithoutAPasswordOrAServerOrAUserName)
{
    openForm();
    fill(u"ann@x.example"_s, {});
    EXPECT_FALSE(signIn().isEnabled());
    QTest::keyClicks(&field("setupPassword"), u"x"_s);
    for (const char* name : {"imapHost", "smtpHost", "setupUsername"}) {
        const QString text = field(name).text();
        field(name).clear();
        EXPECT_FALSE(signIn().isEnabled()) << name;
        field(name).setText(text);
        EXPECT_TRUE(signIn().isEnabled()) << name;
    }
    form()->close();
}

TEST_F(AccountSetupTest, LeavesTheServersAloneOnceThePortWasChangedByHand)
{
    openForm();
    fill(u"ann@x.example"_s, u"x"_s);
    port("imapPort").setValue(1143);
    field("setupEmail").setText(u"ann@gmx.net"_s);
    EXPECT_EQ(port("imapPort").value(), 1143);
    EXPECT_EQ(field("imapHost").text(), u"imap.x.example");
    form()->close();
}

TEST_F(AccountSetupTest, HidesThePasswordAndForgetsItOnTheWayOut)
{
    openForm();
    EXPECT_EQ(field("setupPassword").echoMode(), QLineEdit::Password);
    fill(u"ann@x.example"_s, u"secret"_s);
    form()->findChild<QPushButton*>(u"setupCancel"_s)->click();
    ASSERT_TRUE(waitUntil([this] { return !form(); }));
    openForm();
    EXPECT_EQ(field("setupPassword").text(), u"");
    EXPECT_TRUE(mail.model().accounts().isEmpty());
    form()->close();
}

TEST_F(AccountSetupTest, TellsEachFailureInItsOwnWords)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    field("setupUsername").setText(u"ann"_s);
    EXPECT_EQ(refusal({refusedSignIn()}),
              u"Sign-in failed: The server didn't accept the user name or password. Some providers (iCloud, "
              "Yahoo, Gmail) need an app-specific password.");
    EXPECT_EQ(refusal({signedIn(), Script(R"(
                  S: 220 ready
                  C: EHLO [127.0.0.1]
                  S: 250 AUTH CRAM-MD5
              )")}),
              u"smtp.x.example doesn't accept password sign-in.");
    const auto setStartTLS = [this](const char* name) {
        form()->findChild<QComboBox*>(QLatin1StringView(name))->setCurrentText(u"STARTTLS"_s);
    };
    setStartTLS("smtpSecurity");
    EXPECT_EQ(refusal({signedIn(), Script(R"(
                  S: 220 ready
                  C: EHLO [127.0.0.1]
                  S: 250 AUTH PLAIN
              )")}),
              u"smtp.x.example doesn't offer STARTTLS. Try SSL/TLS (usually port 465).");
    EXPECT_EQ(refusal({signedIn(), Script(R"(
                  S: 220 ready
                  C: EHLO [127.0.0.1]
                  S: 250 STARTTLS
                  C: STARTTLS
                  S= 220 go\r\n250 injected\r\n
              )")}),
              u"Mail protocol error: Unexpected data before TLS.");
    setStartTLS("imapSecurity");
    EXPECT_EQ(refusal({Script(R"(
                  S: * OK ready
                  C: P1 CAPABILITY
                  S: * CAPABILITY IMAP4rev1 AUTH=PLAIN
                  S: P1 OK done
              )")}),
              u"imap.x.example doesn't offer STARTTLS. Try SSL/TLS (usually port 993).");
    EXPECT_EQ(field("setupPassword").text(), u"secret") << "the form keeps what it holds";
    EXPECT_TRUE(mail.model().accounts().isEmpty());
    form()->close();
}

TEST_F(AccountSetupTest, DisablesItsButtonWhileTheServersAreAsked)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    connectTo({Script("[CLOSE]")});
    signIn().click();
    EXPECT_FALSE(signIn().isEnabled());
    EXPECT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    EXPECT_TRUE(signIn().isEnabled());
    form()->close();
}

TEST_F(AccountSetupTest, AddsTheAccountAndShowsItsInbox)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    QTest::keyClicks(&field("setupName"), u" Ann "_s);
    field("setupUsername").setText(u"ann"_s);
    connectTo({signedIn(), verifiedSubmission()});
    QTest::keyClick(&field("setupPassword"), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !form(); }));
    ASSERT_EQ(mail.model().accounts().size(), 1);
    EXPECT_EQ(mail.model().accounts()[0].displayName, u"Ann"_s);
    EXPECT_FALSE(mail.child<WelcomeView>("welcome").isVisible());
    EXPECT_TRUE(mail.window->sidebar().isVisible());
}

TEST_F(AccountRepairTest, OpensWithItsServersFilledInAndThePasswordEmpty)
{
    mail.fixture.provider().failNext(u"listMessages"_s, MailError::notSignedIn());
    mail.model().start(mail.model().refresh());
    auto& button = mail.child<QPushButton>("signInButton");
    ASSERT_TRUE(waitUntil([&button] { return button.isVisible(); }));
    EXPECT_EQ(mail.child<QLabel>("signInText").text(), u"mia@example.org needs to sign in again.");
    takeScreenshot(*mail.window, u"sign-in-banner"_s);
    QTest::mouseClick(&button, Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return form(); }));
    EXPECT_EQ(field("setupEmail").text(), u"mia@example.org");
    EXPECT_EQ(field("setupName").text(), u"Mia");
    EXPECT_EQ(field("imapHost").text(), u"imap.own.example");
    EXPECT_EQ(port("imapPort").value(), 1993);
    EXPECT_TRUE(field("imapHost").isVisible());
    EXPECT_EQ(field("setupPassword").text(), u"");
    takeScreenshot(*form(), u"imap-repair"_s);
    form()->close();
}

TEST_F(AccountRepairTest, LeavesTheAccountAsItWasWhereItIsCancelledAfterAFailure)
{
    const QList<Account> before = mail.model().accounts();
    mail.model().signInAgain(before.first(), [this] { openForm(); });
    field("imapHost").setText(u"other.example"_s);
    QTest::keyClicks(&field("setupPassword"), u"wrong"_s);
    EXPECT_EQ(refusal({Script("[CLOSE]")}), u"Mail protocol error: The server closed the connection.");
    form()->findChild<QPushButton*>(u"setupCancel"_s)->click();
    ASSERT_TRUE(waitUntil([this] { return !form(); }));
    EXPECT_EQ(mail.model().accounts(), before);
    EXPECT_FALSE(mail.model().imapSetupAccountID());
}

TEST_F(AccountRepairTest, OpensFromTheHeadingOfTheAccountThatMustSignIn)
{
    mail.fixture.provider().failNext(u"listMessages"_s, MailError::notSignedIn());
    mail.model().start(mail.model().refresh());
    ASSERT_TRUE(waitUntil([this] { return !mail.model().needsReauth().isEmpty(); }));
    SidebarView& sidebar = mail.window->sidebar();
    const QRect heading = sidebar.visualRect(sidebar.model()->index(0, 0));
    QTest::mouseClick(sidebar.viewport(), Qt::LeftButton, {},
                      QPoint(heading.left() + 30, heading.top() + SidebarDelegate::signInTop() + 6));
    ASSERT_TRUE(waitUntil([this] { return form(); }));
    EXPECT_EQ(mail.model().imapSetupAccountID(), mail.fixture.account().id);
    form()->close();
}

TEST_F(AccountRepairTest, AddsAnotherAccountFromTheFootOfTheSidebar)
{
    mail.child<QAction>("addIMAP").trigger();
    ASSERT_TRUE(waitUntil([this] { return form(); }));
    EXPECT_EQ(field("setupEmail").text(), u"");
    EXPECT_FALSE(mail.model().imapSetupAccountID());
    form()->close();
}

TEST_F(AccountRepairTest, ReturnsToTheWelcomeViewWhereTheLastAccountIsRemoved)
{
    mail.model().start(mail.model().removeAccount(mail.fixture.account().id));
    EXPECT_TRUE(waitUntil([this] { return mail.child<WelcomeView>("welcome").isVisible(); }));
    EXPECT_FALSE(mail.window->sidebar().isVisible());
}

} // namespace
} // namespace Larkhaven
