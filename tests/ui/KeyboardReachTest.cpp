#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "platform/Wakeup.h"
#include "protocols/StreamTransport.h"
#include "support/QtPrinters.h"
#include "views/main/SidebarView.h"
#include "views/reader/ReaderView.h"
#include "views/reader/SecureMessageView.h"
#include "views/settings/SettingsView.h"
#include "views/setup/SignInWindow.h"
#include "views/style/AttachmentChip.h"

#include <QFile>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QWebEngineView>

using namespace Qt::StringLiterals;

// What the walk by keys does not come by: nothing here gives the focus to a widget either.

namespace Larkhaven {
namespace {

const auto listMessages = u"listMessages"_s;

class KeyboardReachTest : public testing::Test {
protected:
    void begin(const QList<Account>& accounts = {ModelFixture::imapAccount(), ModelFixture::googleAccount()})
    {
        mail = std::make_unique<MailWindow>(accounts, ModelFixture::info());
        if (!accounts.isEmpty())
            mail->fill(ModelFixture::rows(mail->fixture.account(), 60));
        mail->open();
        settle();
        constexpr int panes = 3;
        for (int step = 0; !accounts.isEmpty() && step < panes && focusedName() != u"messageTable"; ++step)
            pressKey(Qt::Key_F6);
    }
    AppModel& model() { return mail->model(); }
    FakeMailProvider& provider() { return mail->fixture.provider(); }
    /// Opens the first message by keys.
    void read(const QByteArray& raw)
    {
        provider().setRaw(u"1"_s, raw);
        const QSignalSpy shown(&mail->window->reader(), &ReaderView::shown);
        typeText(u"jo"_s);
        ASSERT_TRUE(waitUntil([&shown] { return !shown.isEmpty(); }))
            << model().path().join(u' ').toStdString() << " is open";
        ASSERT_TRUE(waitUntilDrawn(*mail->window));
    }
    /// Presses Tab until what has the keyboard is of the kind.
    template <typename Widget>
    static bool tabToKind()
    {
        constexpr int longWay = 60;
        for (int presses = 0; presses < longWay; ++presses) {
            if (qobject_cast<Widget*>(QApplication::focusWidget()))
                return true;
            // The engine passes the keyboard on in its own time.
            const QWidget* const before = QApplication::focusWidget();
            pressKey(Qt::Key_Tab);
            waitUntil([before] { return QApplication::focusWidget() != before; }, std::chrono::seconds(1));
        }
        return false;
    }
    bool isBack()
    {
        return waitUntil([this] { return mail->window->isActiveWindow(); });
    }

    QTemporaryDir folder;
    Wakeup signIn; ///< ends it
    std::unique_ptr<MailWindow> mail;
};

TEST_F(KeyboardReachTest, TakesTheSameWayThroughTheNextMessage)
{
    begin();
    const auto way = [this] {
        QStringList names;
        const QWidget* const start = QApplication::focusWidget();
        constexpr int longWay = 60;
        for (int presses = 0; presses < longWay; ++presses) {
            const QWidget* const before = QApplication::focusWidget();
            pressKey(Qt::Key_Tab);
            waitUntil([before] { return QApplication::focusWidget() != before; }, std::chrono::seconds(1));
            const QWidget* const now = QApplication::focusWidget();
            const bool isMessage = mail->window->reader().findChild<SecureMessageView*>()->isAncestorOf(now);
            names.append(isMessage ? u"message"_s : focusedName());
            if (now == start)
                break;
        }
        return names;
    };
    read("Subject: one\r\n\r\nOne");
    const QStringList first = way();
    EXPECT_EQ(first.count(u"message"_s), 1) << first.join(u' ').toStdString();
    provider().setRaw(u"2"_s, "Subject: two\r\n\r\nTwo");
    const SecureMessageView& message = *mail->window->reader().findChild<SecureMessageView*>();
    // The page that is ready has its own view.
    ASSERT_TRUE(waitUntil([&message] { return message.findChildren<QWebEngineView*>().size() == 2; }));
    EXPECT_EQ(way(), first);
    pressKey(Qt::Key_Escape);
    const QSignalSpy shown(&mail->window->reader(), &ReaderView::shown);
    typeText(u"jo"_s);
    ASSERT_TRUE(waitUntil([&shown] { return !shown.isEmpty(); }));
    ASSERT_TRUE(waitUntilDrawn(*mail->window));
    EXPECT_EQ(way(), first);
}

TEST_F(KeyboardReachTest, SavesAnAttachment)
{
    begin();
    mail->savePath = folder.filePath(u"notes.txt"_s);
    read("Subject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
         "--b\r\n\r\nHello\r\n--b\r\nContent-Type: text/plain\r\nContent-Disposition: attachment; "
         "filename=notes.txt\r\n\r\nkept\r\n--b--\r\n");
    ASSERT_TRUE(tabToKind<AttachmentChip>());
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(waitUntil([this] { return QFile::exists(mail->savePath); }));
    EXPECT_EQ(mail->suggestedNames, QStringList(u"notes.txt"_s));
    QFile saved(mail->savePath);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), "kept");
}

TEST_F(KeyboardReachTest, TriesAgainFromTheStrip)
{
    begin();
    provider().failAlways(listMessages,
                          StreamError(QAbstractSocket::ConnectionRefusedError, u"Connection refused"_s));
    mail->fixture.endSleeps();
    ASSERT_TRUE(waitUntil([this] { return model().failedChecks().size() == 1; }));
    provider().heal();
    provider().forgetCalls();
    tabTo(u"tryAgain"_s);
    EXPECT_TRUE(provider().calls(listMessages).isEmpty());
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([this] { return model().failedChecks().isEmpty(); }));
    EXPECT_FALSE(provider().calls(listMessages).isEmpty());
    EXPECT_EQ(focusedName(), u"messageTable") << "the strip goes, and the keyboard isn't lost with it";
}

TEST_F(KeyboardReachTest, LeafsByChordsAndByTheButtonsOfThePager)
{
    begin();
    const auto shows = [this](const QString& text) {
        return waitUntil([&] { return model().pagerText() == text && !model().isLoading(); });
    };
    for (const auto& [chord, text] :
         {std::pair(u"Ctrl+Alt+]"_s, u"26–50 of 60"_s), std::pair(u"Ctrl+Alt+["_s, u"1–25 of 60"_s),
          std::pair(u"Ctrl+Alt+End"_s, u"51–60 of 60"_s), std::pair(u"Ctrl+Alt+Home"_s, u"1–25 of 60"_s)}) {
        pressChord(chord);
        EXPECT_TRUE(shows(text)) << chord.toStdString();
    }
    tabTo(u"pagerForward"_s);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(shows(u"26–50 of 60"_s));
    tabTo(u"pagerBack"_s);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(shows(u"1–25 of 60"_s));
    tabTo(u"pagerJump"_s);
    // Such a button waits within its press until its menu has closed.
    bool hasChosen = false;
    QTimer::singleShot(0, mail->window.get(), [&hasChosen] {
        ASSERT_TRUE(waitUntil([] { return openedMenu() != nullptr; }));
        chooseByKeys({u"Oldest"_s});
        hasChosen = true;
    });
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(hasChosen);
    EXPECT_TRUE(shows(u"51–60 of 60"_s));
}

TEST_F(KeyboardReachTest, GoesOnFromTheFootOfTheSidebarToTheNextPane)
{
    begin();
    tabTo(u"addAccount"_s);
    pressKey(Qt::Key_F6);
    EXPECT_EQ(focusedName(), u"messageTable");
    tabTo(u"addAccount"_s);
    pressKey(Qt::Key_F6, Qt::ShiftModifier);
    EXPECT_EQ(focusedName(), u"getMail");
}

TEST_F(KeyboardReachTest, PressesByReturnWhatHasTheRing)
{
    begin();
    tabTo(u"toggleSidebar"_s);
    const auto& sidebar = mail->window->sidebar();
    EXPECT_TRUE(sidebar.isVisible());
    pressKey(Qt::Key_Return);
    EXPECT_FALSE(sidebar.isVisible());
    EXPECT_EQ(focusedName(), u"toggleSidebar");
    pressKey(Qt::Key_Enter);
    EXPECT_TRUE(sidebar.isVisible());
    // A button with a menu waits within its press until the menu has closed.
    tabTo(u"addAccount"_s);
    bool hasOpened = false;
    QTimer::singleShot(0, mail->window.get(), [&hasOpened] {
        hasOpened = waitUntil([] { return openedMenu() != nullptr; });
        pressKey(Qt::Key_Escape);
    });
    pressKey(Qt::Key_Return);
    EXPECT_TRUE(hasOpened);
}

TEST_F(KeyboardReachTest, AsksBeforeItOpensADeceptiveLink)
{
    begin();
    read("Content-Type: text/html\r\n\r\n<p>Go to <a href=\"https://evil.example/x\">https://bank.example/"
         "</a></p>");
    const auto question = [this] { return mail->window->findChild<QMessageBox*>(u"linkAlert"_s); };
    // The engine takes its keys from the display.
    pressOnDisplay(*mail->window, u"Tab"_s);
    ASSERT_TRUE(waitUntilDrawn(*mail->window));
    pressOnDisplay(*mail->window, u"Return"_s);
    ASSERT_TRUE(waitUntil([&] { return question() && question()->isVisible(); }));
    activate(*question());
    pressKey(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return !question(); }));
    EXPECT_TRUE(mail->openedURLs.isEmpty()) << "Return cancels";
    ASSERT_TRUE(isBack());
    pressOnDisplay(*mail->window, u"Return"_s);
    ASSERT_TRUE(waitUntil([&] { return question() && question()->isVisible(); }));
    activate(*question());
    pressKey(Qt::Key_Tab);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([this] { return mail->openedURLs.size() == 1; }));
}

TEST_F(KeyboardReachTest, OrdersAndRemovesTheAccountsOfTheSettings)
{
    begin();
    const QString imap = ModelFixture::imapAccount().email;
    const QString google = ModelFixture::googleAccount().email;
    const auto order = [this] {
        QStringList emails;
        for (const Account& account : model().accounts())
            emails.append(account.email);
        return emails;
    };
    pressChord(u"Ctrl+,"_s);
    ASSERT_TRUE(waitUntil(
        [] { return visibleWindow<SettingsView>() && visibleWindow<SettingsView>()->isActiveWindow(); }));
    SettingsView& settings = *visibleWindow<SettingsView>();
    tabTo(u"settingsTabBar"_s);
    for (int pane = 0; pane < 3 && !settings.findChild<QWidget*>(u"accountsList"_s)->isVisible(); ++pane)
        pressKey(Qt::Key_Right);
    tabTo(u"accountsList"_s);
    pressKey(Qt::Key_Down);
    pressKey(Qt::Key_Home);
    ASSERT_EQ(order(), (QStringList{imap, google}));
    pressKey(Qt::Key_Down, Qt::AltModifier);
    EXPECT_TRUE(waitUntil([&] { return order() == QStringList{google, imap}; }));
    pressKey(Qt::Key_Up, Qt::AltModifier);
    EXPECT_TRUE(waitUntil([&] { return order() == QStringList{imap, google}; }));

    const auto question = [&] { return settings.findChild<QMessageBox*>(u"removeQuestion"_s); };
    tabTo(u"accountsRemove"_s);
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(waitUntil([&] { return question() && question()->isVisible(); }));
    activate(*question());
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return !question(); }));
    EXPECT_EQ(order(), (QStringList{imap, google})) << "Return cancels";
    activate(settings);
    EXPECT_EQ(focusedName(), u"accountsRemove");
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(waitUntil([&] { return question() && question()->isVisible(); }));
    activate(*question());
    tabTo(u"confirmRemove"_s);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return order() == QStringList{google}; }));
    EXPECT_FALSE(question());
    EXPECT_TRUE(settings.isVisible());
}

TEST_F(KeyboardReachTest, GivesASignInUp)
{
    begin({});
    mail->fixture.setSignIn([this](ProviderKind, const QUuid&, const std::optional<QString>&,
                                   const std::stop_token& stop) -> Task<SignInService::SignedIn> {
        static const auto wait = [](Wakeup* wakeup, std::stop_token asked) -> Task<SignInService::SignedIn> {
            const std::stop_callback giveUp(asked, [wakeup] { wakeup->notify(); });
            co_await wakeup->wait(std::chrono::seconds(60));
            throw MailError::cancelled();
        };
        return wait(&signIn, stop);
    });
    tabTo(u"signInGoogle"_s);
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(waitUntil([] { return visibleWindow<SignInWindow>() != nullptr; }));
    // It leaves the keyboard to the browser; the user goes there as between all windows.
    auto* const window = visibleWindow<SignInWindow>();
    const auto isThere = [window] { return window->isActiveWindow(); };
    if (!waitUntil(isThere, std::chrono::seconds(1)))
        pressOnDisplay(*mail->window, u"alt+Tab"_s);
    ASSERT_TRUE(waitUntil(isThere));
    tabTo(u"signInCancel"_s);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
    EXPECT_FALSE(visibleWindow<SignInWindow>());
    EXPECT_TRUE(isBack());
}

} // namespace
} // namespace Larkhaven
