#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"
#include "views/main/SidebarDelegate.h"
#include "views/main/SidebarView.h"
#include "views/main/WelcomeView.h"
#include "views/setup/IMAPSetupView.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>

#include <tuple>

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

    static IMAPSetupView* form() { return visibleWindow<IMAPSetupView>(); }
    IMAPSetupView* openForm()
    {
        mail.window->openSetup();
        EXPECT_TRUE(waitUntil([] { return form() && form()->isActiveWindow(); }));
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
    void replace(const char* name, const QString& text)
    {
        field(name).selectAll();
        QTest::keyClick(&field(name), Qt::Key_Delete);
        QTest::keyClicks(&field(name), text);
    }
    void connectTo(const QList<Script>& scripts) { connect(mail, scripts); }
    void connect(MailWindow& window, const QList<Script>& scripts)
    {
        server = std::make_unique<ScriptedServer>(scripts);
        window.fixture.setTransports(
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
        leftClick(signIn());
        EXPECT_TRUE(waitUntil([this] { return alert() && alert()->isActiveWindow(); }));
        if (!alert())
            return {};
        const auto ok = alert()->button(QMessageBox::Ok);
        EXPECT_EQ(alert()->text(), u"Couldn’t Sign In");
        const QString text = alert()->informativeText();
        QTest::mouseClick(ok, Qt::LeftButton);
        EXPECT_TRUE(waitUntil([this] { return !alert(); }));
        activate(*form());
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
    ASSERT_TRUE(waitUntil([] { return form(); }));
    EXPECT_EQ(form()->windowTitle(), u"Account Setup");
    takeScreenshot(*mail.window, u"welcome"_s);
    takeScreenshot(*form(), u"imap-setup"_s);
    clickButton(*form(), u"Server Settings"_s);
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
        replace(name, {});
        EXPECT_FALSE(signIn().isEnabled()) << name;
        replace(name, text);
        EXPECT_TRUE(signIn().isEnabled()) << name;
    }
    form()->close();
}

TEST_F(AccountSetupTest, LeavesTheServersAloneOnceThePortWasChangedByHand)
{
    openForm();
    fill(u"ann@x.example"_s, u"x"_s);
    clickButton(*form(), u"Server Settings"_s);
    port("imapPort").setFocus();
    port("imapPort").selectAll();
    typeText(u"1143"_s);
    replace("setupEmail", u"ann@gmx.net"_s);
    EXPECT_EQ(port("imapPort").value(), 1143);
    EXPECT_EQ(field("imapHost").text(), u"imap.x.example");
    form()->close();
}

TEST_F(AccountSetupTest, HidesThePasswordAndForgetsItOnTheWayOut)
{
    openForm();
    EXPECT_EQ(field("setupPassword").echoMode(), QLineEdit::Password);
    fill(u"ann@x.example"_s, u"secret"_s);
    clickButton(*form(), u"Cancel"_s);
    ASSERT_TRUE(waitUntil([] { return !form(); }));
    openForm();
    EXPECT_EQ(field("setupPassword").text(), u"");
    EXPECT_TRUE(mail.model().accounts().isEmpty());
    form()->close();
}

const QString guessed =
    u" Its name was only guessed from your email address; your provider knows the right one."_s;

TEST_F(AccountSetupTest, TellsEachFailureInItsOwnWordsAndNamesItsServer)
{
    const QString incoming = u"\n\nIncoming server: imap.x.example, port 993."_s + guessed;
    const QString outgoing = u"\n\nOutgoing server: smtp.x.example, port 465."_s + guessed;
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    replace("setupUsername", u"ann"_s);
    EXPECT_EQ(
        refusal({refusedSignIn()}),
        u"The server didn't accept the user name or password. Some providers (iCloud, Yahoo, Gmail) need "
        "an app-specific password."_s +
            incoming)
        << "the title says already that the sign-in failed";
    EXPECT_EQ(refusal({signedIn(), Script(R"(
                  S: 220 ready
                  C: EHLO [127.0.0.1]
                  S: 250 AUTH CRAM-MD5
              )")}),
              u"smtp.x.example doesn't accept password sign-in."_s + outgoing);
    const QString outgoingWithStartTLS = u"\n\nOutgoing server: smtp.x.example, port 587."_s + guessed;
    const auto setStartTLS = [this](const char* name) {
        form()->findChild<QComboBox*>(QLatin1StringView(name))->setCurrentText(u"STARTTLS"_s);
    };
    setStartTLS("smtpSecurity");
    EXPECT_EQ(refusal({signedIn(), Script(R"(
                  S: 220 ready
                  C: EHLO [127.0.0.1]
                  S: 250 AUTH PLAIN
              )")}),
              u"smtp.x.example doesn't offer STARTTLS. Try SSL/TLS (usually port 465)."_s +
                  outgoingWithStartTLS);
    EXPECT_EQ(refusal({signedIn(), Script(R"(
                  S: 220 ready
                  C: EHLO [127.0.0.1]
                  S: 250 STARTTLS
                  C: STARTTLS
                  S= 220 go\r\n250 injected\r\n
              )")}),
              u"Mail protocol error: Unexpected data before TLS."_s + outgoingWithStartTLS);
    setStartTLS("imapSecurity");
    EXPECT_EQ(refusal({Script(R"(
                  S: * OK ready
                  C: P1 CAPABILITY
                  S: * CAPABILITY IMAP4rev1 AUTH=PLAIN
                  S: P1 OK done
              )")}),
              u"imap.x.example doesn't offer STARTTLS. Try SSL/TLS (usually port 993).\n\nIncoming server: "
              "imap.x.example, port 143."_s +
                  guessed);
    EXPECT_EQ(field("setupPassword").text(), u"secret") << "the form keeps what it holds";
    EXPECT_TRUE(mail.model().accounts().isEmpty());
    form()->close();
}

TEST_F(AccountSetupTest, DisablesItsButtonWhileTheServersAreAsked)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    connectTo({Script("[CLOSE]")});
    leftClick(signIn());
    EXPECT_FALSE(signIn().isEnabled());
    EXPECT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    EXPECT_TRUE(signIn().isEnabled());
    form()->close();
}

TEST_F(AccountSetupTest, NamesTheOtherSecurityWhereAServerSpeaksNoTLS)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    EXPECT_EQ(
        refusal({Script("[WITHOUT TLS]")}),
        u"There is no TLS here. Try STARTTLS (usually port 143).\n\nIncoming server: imap.x.example, port 993."_s +
            guessed);
    form()->close();
}

TEST_F(AccountSetupTest, SaysOnlyOfAGuessThatItIsOne)
{
    openForm();
    fill(u"ann@gmx.net"_s, u"secret"_s);
    EXPECT_EQ(refusal({Script("[CLOSE]")}), u"Mail protocol error: The server closed the connection.\n\n"
                                            "Incoming server: imap.gmx.net, port 993.");
    replace("setupEmail", u"ann@x.example"_s);
    replace("imapHost", u"mail.x.example"_s);
    EXPECT_EQ(refusal({Script("[CLOSE]")}), u"Mail protocol error: The server closed the connection.\n\n"
                                            "Incoming server: mail.x.example, port 993.");
    form()->close();
}

TEST_F(AccountSetupTest, NamesTheServerThatWasAskedThoughItsFieldHasChanged)
{
    openForm();
    fill(u"ann@gmx.net"_s, u"secret"_s);
    connectTo({Script("[CLOSE]")});
    leftClick(signIn());
    replace("imapHost", u"other.example"_s);
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    EXPECT_TRUE(alert()->informativeText().endsWith(u"Incoming server: imap.gmx.net, port 993."_s))
        << alert()->informativeText().toStdString();
    ASSERT_TRUE(waitUntil([this] { return alert()->isActiveWindow(); }));
    pressKey(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return !alert(); }));
    form()->close();
}

TEST_F(AccountSetupTest, UnfoldsTheServersWithTheFocusOnTheOneThatFailed)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    replace("setupUsername", u"ann"_s);
    EXPECT_FALSE(field("smtpHost").isVisible());
    refusal({signedIn(), Script("[CLOSE]")});
    EXPECT_TRUE(field("smtpHost").isVisible());
    EXPECT_EQ(QApplication::focusWidget(), &field("smtpHost"));
    EXPECT_EQ(field("smtpHost").selectedText(), u"smtp.x.example");
    takeScreenshot(*form(), u"imap-setup-failed"_s);
    refusal({Script("[CLOSE]")});
    EXPECT_EQ(QApplication::focusWidget(), &field("imapHost"));
    form()->close();
}

TEST_F(AccountSetupTest, GoesBackToThePasswordWhereItWasRefused)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    replace("setupUsername", u"ann"_s);
    refusal({refusedSignIn()});
    EXPECT_EQ(QApplication::focusWidget(), &field("setupPassword"));
    EXPECT_TRUE(field("setupPassword").hasSelectedText()) << "what is typed replaces it";
    form()->close();
}

TEST_F(AccountSetupTest, ProposesThePortOfASecurityUnlessOneWasTyped)
{
    openForm();
    clickButton(*form(), u"Server Settings"_s);
    for (const auto& [name, tls, startTLS] : {std::tuple("imap", 993, 143), std::tuple("smtp", 465, 587)}) {
        auto& security = *form()->findChild<QComboBox*>(QLatin1StringView(name) + "Security"_L1);
        auto& number = *form()->findChild<QSpinBox*>(QLatin1StringView(name) + "Port"_L1);
        security.setFocus();
        QTest::keyClick(&security, Qt::Key_Down);
        EXPECT_EQ(security.currentText(), u"STARTTLS");
        EXPECT_EQ(number.value(), startTLS);
        QTest::keyClick(&security, Qt::Key_Up);
        EXPECT_EQ(number.value(), tls);
        number.setFocus();
        number.selectAll();
        QTest::keyClicks(&number, u"2525"_s);
        QTest::keyClick(&number, Qt::Key_Tab);
        security.setFocus();
        QTest::keyClick(&security, Qt::Key_Down);
        EXPECT_EQ(security.currentText(), u"STARTTLS");
        EXPECT_EQ(number.value(), 2525) << "it was typed";
    }
    form()->close();
}

TEST_F(AccountSetupTest, SaysWhichServerIsChecked)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    replace("setupUsername", u"ann"_s);
    auto& text = *form()->findChild<QLabel*>(u"setupProgress"_s);
    EXPECT_FALSE(text.isVisible());
    server = std::make_unique<ScriptedServer>(QList<Script>{signedIn(), Script("[CLOSE]")});
    QStringList told;
    mail.fixture.setTransports([this, &told, &text](const QString& host, int where, bool tls) {
        told.append(text.text());
        EXPECT_TRUE(text.isVisible());
        takeScreenshot(*form(), u"imap-setup-progress"_s);
        return server->factory()(host, where, tls);
    });
    leftClick(signIn());
    EXPECT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    EXPECT_EQ(told, QStringList({u"Checking the incoming server…"_s, u"Checking the outgoing server…"_s}));
    EXPECT_FALSE(text.isVisible());
    takeScreenshot(*alert(), u"imap-setup-alert"_s);
    form()->close();
}

TEST_F(AccountSetupTest, CancelsByReturnOnCancel)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    connectTo({});
    QPushButton& cancel = *form()->findChild<QPushButton*>(u"setupCancel"_s);
    for (int presses = 0; QApplication::focusWidget() != &cancel && presses < 20; ++presses)
        QTest::keyClick(&focusedWidget(), Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), &cancel);
    QTest::keyClick(&cancel, Qt::Key_Return);
    EXPECT_TRUE(waitUntil([] { return !form(); }));
    EXPECT_TRUE(server->openings().isEmpty());
    EXPECT_FALSE(mail.model().isSigningIn());
}

TEST_F(AccountSetupTest, UnfoldsTheServersByKeyAndTellsAssistiveTechnologySo)
{
    openForm();
    auto& button = *form()->findChild<QToolButton*>(u"setupDisclosure"_s);
    QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(&button);
    ASSERT_TRUE(told);
    EXPECT_EQ(told->role(), QAccessible::Button) << "it is nothing that is checked";
    EXPECT_EQ(told->text(QAccessible::Name), u"Server Settings");
    EXPECT_TRUE(told->state().expandable);
    EXPECT_TRUE(told->state().collapsed);
    EXPECT_FALSE(told->state().expanded);
    button.setFocus();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space}) {
        QTest::keyClick(&button, key);
        EXPECT_EQ(told->state().expanded, key == Qt::Key_Return);
        EXPECT_NE(told->state().collapsed, told->state().expanded);
        EXPECT_EQ(field("imapHost").isVisible(), key == Qt::Key_Return);
    }
    told->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(field("imapHost").isVisible());
    form()->close();
}

/// The names of all controls that can have the focus.
QStringList namesOfControls(QAccessibleInterface* root)
{
    QStringList names;
    if (root->state().focusable && !root->state().invisible && root->role() != QAccessible::Window)
        names.append(root->text(QAccessible::Name));
    for (int index = 0; index < root->childCount(); ++index)
        names += namesOfControls(root->child(index));
    return names;
}

TEST_F(AccountSetupTest, NamesEachOfItsControlsOnce)
{
    openForm();
    clickButton(*form(), u"Server Settings"_s);
    fill(u"ann@x.example"_s, u"secret"_s);
    QStringList names = namesOfControls(QAccessible::queryAccessibleInterface(form()));
    names.sort();
    EXPECT_EQ(names, QStringList({u"Cancel"_s, u"Email Address"_s, u"Incoming Server"_s, u"Name"_s,
                                  u"Outgoing Server"_s, u"Password"_s, u"Port of the Incoming Server"_s,
                                  u"Port of the Outgoing Server"_s, u"Security of the Incoming Server"_s,
                                  u"Security of the Outgoing Server"_s, u"Server Settings"_s, u"Sign In"_s,
                                  u"User Name"_s}));
    auto& security = *form()->findChild<QComboBox*>(u"imapSecurity"_s);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&security)->text(QAccessible::Value), u"SSL/TLS");
    form()->close();
}

/// On a screen of 960x540.
class SmallScreenSetupTest : public AccountSetupTest {
protected:
    ~SmallScreenSetupTest() override { Style::shared().setTextSize(Style::standardTextSize); }
};

TEST_F(SmallScreenSetupTest, ScrollsWhereItDoesNotFit)
{
    constexpr int mostHeight = 540;
    ASSERT_LE(mail.window->screen()->availableGeometry().height(), mostHeight);
    Style::shared().setTextSize(Style::textSizes.back());
    openForm();
    clickButton(*form(), u"Server Settings"_s);
    auto& scroll = *form()->findChild<QScrollArea*>();
    const QRect room = form()->screen()->availableGeometry();
    ASSERT_TRUE(waitUntil([&scroll] { return scroll.verticalScrollBar()->maximum() > 0; }));
    EXPECT_TRUE(waitUntil([this, &room] { return room.contains(form()->frameGeometry()); }))
        << QTest::toString(form()->frameGeometry());
    const auto isInSight = [&scroll](const QWidget& widget) {
        const QRect place(widget.mapTo(scroll.viewport(), QPoint()), widget.size());
        return scroll.viewport()->rect().contains(place);
    };
    EXPECT_TRUE(form()->rect().contains(QRect(signIn().mapTo(form(), QPoint()), signIn().size())))
        << "the buttons stay in sight";
    field("setupUsername").setFocus();
    QStringList passed;
    for (int presses = 0; presses < 7; ++presses) {
        QWidget* const focused = QApplication::focusWidget();
        if (scroll.isAncestorOf(focused)) {
            passed.append(focused->objectName());
            EXPECT_TRUE(isInSight(*focused))
                << focused->objectName().toStdString() << " at "
                << focused->mapTo(scroll.viewport(), QPoint()).y() << " of " << scroll.viewport()->height()
                << " height " << focused->height();
        }
        QTest::keyClick(focused, Qt::Key_Tab);
    }
    EXPECT_TRUE(passed.contains(u"smtpSecurity"_s));
    takeScreenshot(*form(), u"imap-setup-scrolls"_s);
    form()->close();
}

TEST_F(AccountSetupTest, AddsTheAccountAndShowsItsInbox)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    QTest::keyClicks(&field("setupName"), u" Ann "_s);
    replace("setupUsername", u"ann"_s);
    connectTo({signedIn(), verifiedSubmission()});
    QTest::keyClick(&field("setupPassword"), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([] { return !form(); }));
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
    ASSERT_TRUE(waitUntil([] { return form(); }));
    EXPECT_EQ(field("setupEmail").text(), u"mia@example.org");
    EXPECT_EQ(field("setupName").text(), u"Mia");
    EXPECT_EQ(field("imapHost").text(), u"imap.own.example");
    EXPECT_EQ(port("imapPort").value(), 1993);
    EXPECT_TRUE(field("imapHost").isVisible());
    EXPECT_EQ(field("setupPassword").text(), u"");
    takeScreenshot(*form(), u"imap-repair"_s);
    form()->close();
}

TEST_F(AccountRepairTest, ShowsNamesInItsFieldsAsInATitle)
{
    QList<Account> accounts{repairable()};
    accounts[0].displayName = u"Mi\u202ea\n\u200bof Orust"_s;
    MailWindow hostile(accounts);
    hostile.open();
    hostile.model().signInAgain(hostile.model().accounts().first(), [&] { hostile.window->openSetup(); });
    ASSERT_TRUE(waitUntil([] { return form(); }));
    EXPECT_EQ(field("setupName").text(), u"Mia of Orust");
    form()->close();
}

TEST_F(AccountRepairTest, KeepsANameThatIsShownInPartUnlessItIsEdited)
{
    const QString stored = u" Mi\u200ba of Orust"_s;
    for (const bool isEdited : {false, true}) {
        QList<Account> accounts{repairable()};
        accounts[0].displayName = stored;
        MailWindow repaired(accounts);
        repaired.open();
        repaired.model().signInAgain(repaired.model().accounts().first(),
                                     [&] { repaired.window->openSetup(); });
        ASSERT_TRUE(waitUntil([this] { return form(); }));
        EXPECT_EQ(field("setupName").text(), u" Mia of Orust");
        if (isEdited)
            QTest::keyClicks(&field("setupName"), u"!"_s);
        field("setupUsername").setText(u"ann"_s);
        QTest::keyClicks(&field("setupPassword"), u"secret"_s);
        connect(repaired, {signedIn(), verifiedSubmission()});
        QTest::keyClick(&field("setupPassword"), Qt::Key_Return);
        ASSERT_TRUE(waitUntil([this] { return !form(); })) << "it ends with what it was opened for";
        EXPECT_EQ(repaired.model().accounts()[0].displayName, isEdited ? u"Mia of Orust!"_s : stored);
    }
}

TEST_F(AccountRepairTest, LeavesTheAccountAsItWasWhereItIsCancelledAfterAFailure)
{
    const QList<Account> before = mail.model().accounts();
    mail.model().signInAgain(before.first(), [this] { openForm(); });
    replace("imapHost", u"other.example"_s);
    QTest::keyClicks(&field("setupPassword"), u"wrong"_s);
    EXPECT_EQ(refusal({Script("[CLOSE]")}), u"Mail protocol error: The server closed the "
                                            u"connection.\n\nIncoming server: other.example, port 1993.");
    clickButton(*form(), u"Cancel"_s);
    ASSERT_TRUE(waitUntil([] { return !form(); }));
    EXPECT_EQ(mail.model().accounts(), before);
    EXPECT_FALSE(mail.model().imapSetupAccountID());
}

TEST_F(AccountSetupTest, TakesAFailureThatNobodyHasReadAwayWithItself)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    connectTo({Script("[CLOSE]")});
    // The answer can come before the window manager has brought the other window to the front, and the form
    // may be on its way there still.
    ASSERT_TRUE(waitUntil([] { return form()->isActiveWindow(); }));
    activate(*mail.window);
    QTest::mouseClick(&signIn(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return alert() != nullptr; }));
    EXPECT_FALSE(alert()->isVisible()) << "the user is elsewhere";
    form()->close();
    openForm();
    settle();
    EXPECT_FALSE(alert());
    form()->close();
}

TEST_F(AccountRepairTest, IsNotClosedByTheAttemptForAnotherAccount)
{
    openForm();
    fill(u"ann@x.example"_s, u"secret"_s);
    connectTo({Script("S: * OK ready\nC: P1 CAPABILITY")});
    leftClick(signIn());
    ASSERT_TRUE(mail.model().isSigningIn());
    mail.model().signInAgain(mail.model().accounts().first(), [this] { mail.window->openSetup(); });
    EXPECT_EQ(field("setupEmail").text(), u"mia@example.org");
    EXPECT_TRUE(waitUntil([this] { return !mail.model().isSigningIn(); }));
    settle();
    ASSERT_TRUE(form());
    EXPECT_EQ(field("setupEmail").text(), u"mia@example.org");
    EXPECT_EQ(field("setupPassword").text(), u"");
    EXPECT_FALSE(alert());
    EXPECT_EQ(mail.model().accounts().size(), 1);
    form()->close();
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
    ASSERT_TRUE(waitUntil([] { return form(); }));
    EXPECT_EQ(mail.model().imapSetupAccountID(), mail.fixture.account().id);
    form()->close();
}

TEST_F(AccountRepairTest, AddsAnotherAccountFromTheFootOfTheSidebar)
{
    openMenuOfBar(*mail.window, u"Mailbox"_s);
    chooseByKeys({u"Add Account"_s, u"Other Mail Account (IMAP)…"_s});
    ASSERT_TRUE(waitUntil([] { return form(); }));
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
