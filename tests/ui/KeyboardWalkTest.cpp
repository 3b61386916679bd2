#include "Gestures.h"
#include "UITestSupport.h"
#include "integration/MailServer.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeWindows.h"
#include "views/list/MessageTable.h"
#include "views/main/SidebarView.h"
#include "views/settings/SettingsView.h"
#include "views/setup/IMAPSetupView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QTest>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

constexpr auto patience = 30s;

/// A person who never touches the mouse does what the user guide tells, on real servers. Nothing here gives
/// the focus to a widget: keys alone lead there.
class KeyboardWalkTest : public testing::Test {
protected:
    KeyboardWalkTest()
        : mail(QList<Account>{})
    {
        mail.fixture.setTransports(MailTransports::open);
    }

    AppModel& model() { return mail.model(); }
    template <typename Condition>
    static bool comes(Condition condition)
    {
        return waitUntil(condition, patience);
    }
    static void fill(const QString& name, const QString& text)
    {
        tabTo(name);
        pressChord(u"Ctrl+A"_s);
        typeText(text);
    }
    /// What a window manager does when a window closes; there is none here.
    void returnToMain() { activate(*mail.window); }
    void choose(const QString& menu, const QStringList& path)
    {
        openMenuOfBar(*mail.window, menu);
        chooseByKeys(path);
    }
    /// By F6, as often as it takes.
    static void toList()
    {
        constexpr int panes = 3;
        for (int step = 0; step < panes && focusedName() != u"messageTable"; ++step)
            pressKey(Qt::Key_F6);
        if (focusedName() != u"messageTable")
            throw std::runtime_error("F6 does not lead to the list");
    }
    bool isIdle()
    {
        return comes([this] { return !model().isLoading(); });
    }
    void deliver(const QByteArray& subject, const QByteArray& type, const QByteArray& text)
    {
        server.deliver("From: Ann <ann@example.org>\r\nTo: mara@larkhaven.example\r\nSubject: " + subject +
                       "\r\nMIME-Version: 1.0\r\nContent-Type: " + type + "\r\n\r\n" + text + "\r\n");
    }
    qsizetype isListed(const QString& subject)
    {
        return std::ranges::count(model().messages(), subject, &MessageSummary::subject);
    }
    void addAccount();
    void read();
    ComposeWindow* composed();
    void send();
    void write();
    void mark();
    void tidy();
    void fold();
    void set();
    void quit();

    MailServer server{{u"--messages"_s, u"empty"_s}, MailServer::Submission::postfix};
    MailWindow mail;
};

void KeyboardWalkTest::addAccount()
{
    tabTo(u"addIMAP"_s);
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(comes(
        [] { return visibleWindow<IMAPSetupView>() && visibleWindow<IMAPSetupView>()->isActiveWindow(); }));
    const ServerSettings settings = *server.account(ConnectionSecurity::startTLS).server;
    fill(u"setupName"_s, u"Mara"_s);
    fill(u"setupEmail"_s, QString::fromLatin1(MailServer::address));
    fill(u"setupPassword"_s, QString::fromLatin1(MailServer::password));
    tabTo(u"setupDisclosure"_s);
    pressKey(Qt::Key_Space);
    fill(u"setupUsername"_s, settings.username);
    for (const auto& [prefix, host, port] : {std::tuple(u"imap"_s, settings.imapHost, settings.imapPort),
                                             std::tuple(u"smtp"_s, settings.smtpHost, settings.smtpPort)}) {
        fill(prefix + u"Host"_s, host);
        tabTo(prefix + u"Security"_s);
        typeText(u"ST"_s);
        tabTo(prefix + u"Port"_s, Qt::ShiftModifier);
        pressChord(u"Ctrl+A"_s);
        typeText(QString::number(port));
        tabTo(prefix + u"Security"_s);
    }
    takeScreenshot(*visibleWindow<IMAPSetupView>(), u"keys-01-setup"_s);
    tabTo(u"setupSignIn"_s);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(comes([this] { return !model().accounts().isEmpty(); })) << wordsOnScreen();
    ASSERT_TRUE(isIdle());
    returnToMain();
    ASSERT_TRUE(comes([] { return focusedName() == u"messageTable"; })) << "the list has the keyboard";
}

void KeyboardWalkTest::read()
{
    pressChord(u"Ctrl+Shift+N"_s);
    ASSERT_TRUE(comes([this] { return model().messages().size() == 3; }));
    choose(u"View"_s, {u"Sort By"_s, u"Subject"_s});
    choose(u"View"_s, {u"Sort By"_s, u"Ascending"_s});
    EXPECT_EQ(mail.table().model()->index(0, 4).data().toString(), u"A newsletter");
    choose(u"View"_s, {u"Columns"_s, u"Size"_s});
    EXPECT_FALSE(mail.table().horizontalHeader()->isSectionHidden(static_cast<int>(MessageColumn::size)));
    pressKey(Qt::Key_Home);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(comes([this] { return mail.window->reader().rendered().has_value(); }));
    tabTo(u"bannerLoad"_s);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(comes([this] { return mail.window->reader().showsRemote(); }));
    takeScreenshot(*mail.window, u"keys-02-reader"_s);
    pressKey(Qt::Key_Escape);
    ASSERT_TRUE(comes([this] { return model().path().isEmpty(); }));
    EXPECT_EQ(focusedName(), u"messageTable");
    pressChord(u"Ctrl+F"_s);
    typeText(u"boat"_s);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(comes([this] { return model().messages().size() == 1 && !model().isLoading(); }));
    tabTo(u"clearSearch"_s);
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(comes([this] { return model().messages().size() == 3; }));
    EXPECT_EQ(focusedName(), u"messageTable");
}

ComposeWindow* KeyboardWalkTest::composed()
{
    if (!comes([] {
            return visibleWindow<ComposeWindow>() && visibleWindow<ComposeWindow>()->isActiveWindow();
        }))
        throw std::runtime_error("no compose window");
    return visibleWindow<ComposeWindow>();
}

/// The text goes out, and the keyboard back to the main window.
void KeyboardWalkTest::send()
{
    pressChord(u"Ctrl+Shift+D"_s);
    ASSERT_TRUE(comes([] { return !visibleWindow<ComposeWindow>(); }));
    returnToMain();
    ASSERT_TRUE(isIdle());
}

void KeyboardWalkTest::write()
{
    // A message that is put aside, resumed and sent.
    pressChord(u"Ctrl+N"_s);
    composed();
    typeText(QString::fromLatin1(MailServer::secondAddress));
    tabTo(u"subject"_s);
    typeText(u"By keys"_s);
    pressKey(Qt::Key_Tab);
    EXPECT_EQ(focusedName(), u"composeText");
    typeText(u"No mouse"_s);
    takeScreenshot(*composed(), u"keys-03-compose"_s);
    pressChord(u"Ctrl+S"_s);
    ASSERT_TRUE(comes([] { return !visibleWindow<ComposeWindow>(); }));
    returnToMain();
    pressChord(u"Ctrl+4"_s);
    ASSERT_TRUE(comes([this] { return isListed(u"By keys"_s) == 1 && !model().isLoading(); }));
    toList();
    pressKey(Qt::Key_Home);
    pressKey(Qt::Key_Return);
    composed();
    tabTo(u"composeText"_s);
    pressChord(u"Ctrl+End"_s);
    typeText(u" was near."_s);
    ASSERT_NO_FATAL_FAILURE(send());
    pressChord(u"Ctrl+3"_s);
    EXPECT_TRUE(comes([this] { return isListed(u"By keys"_s) == 1; }));
    // Answers to what is selected.
    pressChord(u"Ctrl+1"_s);
    ASSERT_TRUE(comes([this] { return model().messages().size() == 3 && !model().isLoading(); }));
    toList();
    pressKey(Qt::Key_Home);
    pressChord(u"Ctrl+R"_s);
    EXPECT_EQ(composed()->view().draft().to, u"\"Ann\" <ann@example.org>");
    EXPECT_EQ(focusedName(), u"composeText");
    pressChord(u"Ctrl+W"_s);
    ASSERT_TRUE(comes([] { return !visibleWindow<ComposeWindow>(); }));
    returnToMain();
    pressChord(u"Ctrl+Shift+F"_s);
    EXPECT_TRUE(composed()->view().draft().subject.startsWith(u"Fwd: "_s));
    typeText(QString::fromLatin1(MailServer::secondAddress));
    ASSERT_NO_FATAL_FAILURE(send());
    const std::shared_ptr<IMAPProvider> theos = server.providerOf(MailServer::secondAddress);
    const MessagePage arrived =
        await(theos->listMessages(MailboxRef::system(Mailbox::inbox), std::nullopt, 0, 25, true));
    EXPECT_EQ(arrived.messages.size(), 2);
}

void KeyboardWalkTest::mark()
{
    // The list is sorted by subject.
    const auto first = [this] { return mail.table().selectedRows().value(0); };
    toList();
    pressKey(Qt::Key_Home);
    typeText(u"s"_s);
    EXPECT_TRUE(comes([&] { return first().isStarred; }));
    pressChord(u"Ctrl+Shift+L"_s);
    EXPECT_TRUE(comes([&] { return !first().isStarred; }));
    const bool isRead = first().isRead;
    pressKey(Qt::Key_U, Qt::ShiftModifier);
    EXPECT_TRUE(comes([&] { return first().isRead != isRead; }));
    pressChord(u"Ctrl+U"_s);
    QPointer<QWidget> source;
    ASSERT_TRUE(comes([&] {
        source = QApplication::activeWindow();
        return source && source != mail.window.get();
    }));
    pressKey(Qt::Key_Escape);
    ASSERT_TRUE(comes([&] { return !source || !source->isVisible(); }));
    returnToMain();
    const double size = mail.fixture.defaults().real(DefaultsKey::textSize);
    pressChord(u"Ctrl++"_s);
    EXPECT_GT(mail.fixture.defaults().real(DefaultsKey::textSize), size);
    pressChord(u"Ctrl+0"_s);
    EXPECT_EQ(mail.fixture.defaults().real(DefaultsKey::textSize), size);
}

void KeyboardWalkTest::tidy()
{
    choose(u"Mailbox"_s, {u"New Folder…"_s});
    ASSERT_TRUE(comes([] { return visibleWindow<QDialog>() && visibleWindow<QDialog>()->isActiveWindow(); }));
    typeText(u"Travel"_s);
    pressKey(Qt::Key_Return);
    const QUuid account = model().accounts().first().id;
    ASSERT_TRUE(comes([&] { return model().labels(account).size() == 1; }));
    returnToMain();
    toList();
    pressKey(Qt::Key_Home);
    choose(u"Message"_s, {u"Move To"_s, u"Travel"_s});
    EXPECT_TRUE(comes([this] { return model().messages().size() == 2 && model().undoOffer(); }));
    typeText(u"e"_s);
    EXPECT_TRUE(comes([this] { return model().messages().size() == 1 && model().undoOffer(); }));
    pressChord(u"Ctrl+Z"_s);
    EXPECT_TRUE(comes([this] { return model().messages().size() == 2 && !model().isLoading(); }));
    // By the button of the line at the foot as well.
    toList();
    pressKey(Qt::Key_Home);
    pressChord(u"Ctrl+Shift+J"_s);
    EXPECT_TRUE(comes([this] { return model().messages().size() == 1 && model().undoOffer(); }));
    tabTo(u"undo"_s);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(comes([this] { return model().messages().size() == 2 && !model().isLoading(); }));
    toList();
    pressKey(Qt::Key_Home);
    pressChord(u"Ctrl+Delete"_s);
    EXPECT_TRUE(comes([this] { return model().messages().size() == 1 && !model().isLoading(); }));
}

void KeyboardWalkTest::fold()
{
    const SidebarView& sidebar = mail.window->sidebar();
    const QUuid account = model().accounts().first().id;
    toList();
    pressKey(Qt::Key_F6, Qt::ShiftModifier);
    ASSERT_EQ(focusedName(), u"sidebar");
    pressKey(Qt::Key_End);
    EXPECT_TRUE(comes([this] { return model().messages().size() == 1 && !model().isLoading(); }));
    EXPECT_EQ(mail.window->windowTitle().section(u' ', 0, 0), u"Travel");
    // The menu of the folder.
    openMenuByKey(*QApplication::activeWindow(), u"Menu"_s);
    ASSERT_TRUE(comes([] { return openedMenu(); }));
    chooseByKeys({u"Rename “Travel”…"_s});
    ASSERT_TRUE(comes([] { return visibleWindow<QDialog>() && visibleWindow<QDialog>()->isActiveWindow(); }));
    pressChord(u"Ctrl+A"_s);
    typeText(u"Voyages"_s);
    pressKey(Qt::Key_Return);
    EXPECT_TRUE(comes([&] {
        return model().labels(account).size() == 1 && model().labels(account).first().path == u"Voyages";
    }));
    returnToMain();
    pressKey(Qt::Key_Home);
    pressKey(Qt::Key_Left);
    pressKey(Qt::Key_Left);
    EXPECT_FALSE(sidebar.isExpanded(sidebar.model()->index(0, 0)));
    pressKey(Qt::Key_Right);
    EXPECT_TRUE(sidebar.isExpanded(sidebar.model()->index(0, 0)));
    pressChord(u"F9"_s);
    EXPECT_FALSE(sidebar.isVisible());
    EXPECT_EQ(focusedName(), u"messageTable");
    tabTo(u"toggleSidebar"_s);
    pressKey(Qt::Key_Space);
    EXPECT_TRUE(sidebar.isVisible());
}

void KeyboardWalkTest::set()
{
    pressChord(u"Ctrl+,"_s);
    ASSERT_TRUE(comes(
        [] { return visibleWindow<SettingsView>() && visibleWindow<SettingsView>()->isActiveWindow(); }));
    tabTo(u"settingsTabBar"_s);
    pressKey(Qt::Key_Right);
    tabTo(u"gmailShortcuts"_s);
    pressKey(Qt::Key_Space);
    EXPECT_FALSE(mail.fixture.defaults().boolean(DefaultsKey::gmailShortcuts));
    pressKey(Qt::Key_Escape);
    EXPECT_TRUE(comes([] { return !visibleWindow<SettingsView>(); }));
    returnToMain();
}

void KeyboardWalkTest::quit()
{
    pressChord(u"Ctrl+Q"_s);
    EXPECT_TRUE(comes([this] { return !mail.window->isVisible(); }));
}

TEST_F(KeyboardWalkTest, DoesWhatTheUserGuideTellsWithoutAMouse)
{
    deliver("A newsletter", "text/html",
            "<p>News <img src=\"https://img.local/a.png\" width=9 height=9></p>");
    deliver("Breakfast", "text/plain", "At eight?");
    deliver("Cruise", "text/plain", "The boat leaves at noon.");
    mail.open();
    ASSERT_NO_FATAL_FAILURE(addAccount());
    ASSERT_NO_FATAL_FAILURE(read());
    ASSERT_NO_FATAL_FAILURE(write());
    ASSERT_NO_FATAL_FAILURE(mark());
    ASSERT_NO_FATAL_FAILURE(tidy());
    ASSERT_NO_FATAL_FAILURE(fold());
    ASSERT_NO_FATAL_FAILURE(set());
    ASSERT_NO_FATAL_FAILURE(quit());
}

} // namespace
} // namespace Larkhaven
