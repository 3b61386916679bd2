#include "views/setup/SignInWindow.h"

#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "platform/Wakeup.h"
#include "support/QtPrinters.h"
#include "views/main/SearchField.h"
#include "views/main/SidebarDelegate.h"
#include "views/main/SidebarView.h"
#include "views/main/WelcomeView.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The browser is one that waits until it is told.
class SignInWindowTest : public testing::Test {
protected:
    explicit SignInWindowTest(const QList<Account>& accounts = {}, const Info& info = ModelFixture::info())
        : mail(accounts, info)
    {
        mail.fixture.setSignIn([this](ProviderKind provider, const QUuid& id, const std::optional<QString>&,
                                      const std::stop_token& stop) { return wait(provider, id, stop); });
    }

    void SetUp() override { mail.open(); }

    Task<SignInService::SignedIn> wait(ProviderKind provider, QUuid id, std::stop_token stop)
    {
        ++begun;
        const std::stop_callback giveUp(stop, [this] { answer.notify(); });
        co_await answer.wait(std::chrono::seconds(30));
        if (stop.stop_requested())
            throw MailError::cancelled();
        if (fails)
            throw MailError::authFailed(u"No authorization code"_s);
        Account account = ModelFixture::microsoftAccount();
        account.id = id;
        account.provider = provider;
        TokenSet tokens{u"a"_s, u"r"_s, QDateTime::currentDateTimeUtc(), std::nullopt};
        co_return SignInService::SignedIn{account, Credential::oauth(tokens)};
    }
    SignInWindow& window() { return mail.child<SignInWindow>("signInWindow"); }
    /// Presses the button and waits for the window.
    void begin(const char* button = "signInMicrosoft")
    {
        QTest::mouseClick(&mail.child<QPushButton>(button), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return window().isVisible(); }));
    }
    /// As the user does by the frame: the window manager asks the window to close.
    void closeByFrame()
    {
        window().activateWindow();
        pressOnDisplay(window(), u"alt+F4"_s);
    }
    /// Asks for another account in the menu.
    void add(const QString& service)
    {
        openMenuOfBar(*mail.window, u"Mailbox"_s);
        chooseByKeys({u"Add Account"_s, service});
    }
    bool isOver()
    {
        return waitUntil([this] { return !mail.model().isSigningIn(); }) && !window().isVisible();
    }

    int begun = 0;
    bool fails = false;
    Wakeup answer;
    MailWindow mail;
};

class RenewalSignInWindowTest : public SignInWindowTest {
protected:
    RenewalSignInWindowTest()
        : SignInWindowTest({ModelFixture::microsoftAccount()})
    {}
};

class NoClientSignInWindowTest : public SignInWindowTest {
protected:
    NoClientSignInWindowTest()
        : SignInWindowTest({}, Info())
    {}
};

TEST_F(SignInWindowTest, BeginsFromTheWelcomeView)
{
    EXPECT_EQ(mail.child<QPushButton>("signInGoogle").text(), u"Sign In with Google…");
    EXPECT_EQ(mail.child<QPushButton>("signInMicrosoft").text(), u"Sign In with Microsoft…");
    takeScreenshot(*mail.window, u"welcome-all-services"_s);
    begin("signInGoogle");
    EXPECT_EQ(mail.child<QLabel>("signInTitle").text(), u"Sign In with Google");
    takeScreenshot(window(), u"sign-in-window"_s);
    for (const char* name : {"signInGoogle", "signInMicrosoft", "addIMAP"})
        EXPECT_FALSE(mail.window->findChild<WelcomeView*>()
                         ->findChild<QPushButton*>(QLatin1StringView(name))
                         ->isEnabled())
            << name;
    answer.notify();
    EXPECT_TRUE(isOver());
}

TEST_F(SignInWindowTest, FitsLargeTextInTheDarkScheme)
{
    Style::shared().setScheme(Style::Scheme::dark);
    Style::shared().setTextSize(24);
    takeScreenshot(*mail.window, u"welcome-all-services-dark-24"_s);
    begin();
    takeScreenshot(window(), u"sign-in-window-dark-24"_s);
    const auto& text = *window().findChild<QLabel*>(u"signInTitle"_s);
    EXPECT_GE(text.width(), text.sizeHint().width());
    EXPECT_LT(window().palette().color(QPalette::Window).lightness(), 80);
    mail.model().cancelSignIn();
    EXPECT_TRUE(isOver());
}

TEST_F(SignInWindowTest, ClosesByItselfAndShowsTheNewAccount)
{
    begin();
    EXPECT_EQ(mail.child<QLabel>("signInTitle").text(), u"Sign In with Microsoft");
    answer.notify();
    EXPECT_TRUE(isOver());
    ASSERT_EQ(mail.model().accounts().size(), 1);
    EXPECT_TRUE(mail.window->sidebar().isVisible());
}

TEST_F(SignInWindowTest, GivesTheSignInUpByItsButton)
{
    begin();
    QTest::mouseClick(&mail.child<QPushButton>("signInCancel"), Qt::LeftButton);
    EXPECT_TRUE(isOver());
    EXPECT_TRUE(mail.model().accounts().isEmpty());
    EXPECT_FALSE(mail.model().errorMessage());
}

TEST_F(SignInWindowTest, GivesTheSignInUpByEscapeAndByItsFrame)
{
    begin();
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_TRUE(isOver());
    begin();
    closeByFrame();
    EXPECT_TRUE(isOver());
    EXPECT_EQ(begun, 2);
    EXPECT_TRUE(mail.model().accounts().isEmpty());
}

TEST_F(SignInWindowTest, ShowsAFailureInAnAlert)
{
    fails = true;
    begin();
    answer.notify();
    EXPECT_TRUE(isOver());
    auto* const alert = mail.window->findChild<QMessageBox*>(u"errorAlert"_s);
    ASSERT_TRUE(alert);
    EXPECT_EQ(alert->informativeText(), u"Sign-in failed: No authorization code");
    alert->close();
}

TEST_F(RenewalSignInWindowTest, LeavesTheKeyboardWhereTheUserTypes)
{
    auto& field = mail.child<SearchField>("searchField");
    field.setFocus();
    ASSERT_TRUE(field.hasFocus());
    add(u"Microsoft (Outlook.com)…"_s);
    ASSERT_TRUE(waitUntil([this] { return window().isVisible() && window().windowHandle()->isExposed(); }));
    EXPECT_FALSE(waitUntil([this] { return window().isActiveWindow(); }, std::chrono::milliseconds(300)));
    EXPECT_TRUE(mail.window->isActiveWindow());
    EXPECT_TRUE(field.hasFocus());
    mail.model().cancelSignIn();
    EXPECT_TRUE(isOver());
    EXPECT_TRUE(mail.window->isActiveWindow());
    EXPECT_TRUE(field.hasFocus());
}

TEST_F(RenewalSignInWindowTest, ComesToTheFrontWhereItIsAskedForOnceMore)
{
    add(u"Microsoft (Outlook.com)…"_s);
    ASSERT_TRUE(waitUntil([this] { return window().isVisible() && window().windowHandle()->isExposed(); }));
    mail.model().signInAgain(mail.fixture.account(), [] {});
    EXPECT_TRUE(waitUntil([this] { return window().isActiveWindow(); }));
    EXPECT_EQ(begun, 1);
    mail.model().cancelSignIn();
    EXPECT_TRUE(isOver());
}

TEST_F(RenewalSignInWindowTest, BeginsFromTheBannerAndFromTheHeadingOfTheAccount)
{
    mail.fixture.provider().failNext(u"listMessages"_s, MailError::notSignedIn());
    mail.model().start(mail.model().refresh());
    auto& button = mail.child<QPushButton>("signInButton");
    ASSERT_TRUE(waitUntil([&button] { return button.isVisible(); }));
    QTest::mouseClick(&button, Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return window().isVisible(); }));
    EXPECT_FALSE(button.isEnabled());
    mail.model().cancelSignIn();
    EXPECT_TRUE(isOver());
    SidebarView& sidebar = mail.window->sidebar();
    const QRect heading = sidebar.visualRect(sidebar.model()->index(0, 0));
    QTest::mouseClick(sidebar.viewport(), Qt::LeftButton, {},
                      QPoint(heading.left() + 30, heading.top() + SidebarDelegate::signInTop() + 6));
    ASSERT_TRUE(waitUntil([this] { return window().isVisible(); }));
    EXPECT_EQ(begun, 2);
    mail.model().cancelSignIn();
    EXPECT_TRUE(isOver());
}

TEST_F(RenewalSignInWindowTest, IsInTheMenuWithTheOtherServices)
{
    const auto texts = [this] {
        QStringList found;
        for (const char* name : {"addGoogle", "addMicrosoft", "addIMAP"}) {
            const auto& item = mail.child<QAction>(name);
            found.append(item.text() + (item.isEnabled() ? u" +"_s : u" -"_s));
        }
        return found;
    };
    EXPECT_EQ(texts(), (QStringList{u"Google… +"_s, u"Microsoft (Outlook.com)… +"_s,
                                    u"Other Mail Account (IMAP)… +"_s}));
    add(u"Google…"_s);
    EXPECT_EQ(mail.model().browserSignIn(), ProviderKind::google);
    EXPECT_EQ(texts(), (QStringList{u"Google… -"_s, u"Microsoft (Outlook.com)… -"_s,
                                    u"Other Mail Account (IMAP)… -"_s}));
    mail.model().cancelSignIn();
    EXPECT_TRUE(isOver());
}

TEST_F(NoClientSignInWindowTest, OffersNoServiceThatTheBuildHasNoClientFor)
{
    EXPECT_FALSE(mail.window->findChild<QPushButton*>(u"signInGoogle"_s));
    EXPECT_FALSE(mail.window->findChild<QPushButton*>(u"signInMicrosoft"_s));
    EXPECT_FALSE(mail.child<QAction>("addGoogle").isEnabled());
    EXPECT_FALSE(mail.child<QAction>("addMicrosoft").isEnabled());
    EXPECT_TRUE(mail.child<QAction>("addIMAP").isEnabled());
}

} // namespace
} // namespace Larkhaven
