#include "Gestures.h"
#include "UITestSupport.h"
#include "integration/MailServer.h"
#include "protocols/StreamTransport.h"
#include "support/QtPrinters.h"
#include "views/list/MessageTable.h"
#include "views/setup/IMAPSetupView.h"

#include <QApplication>
#include <QHeaderView>
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
    template <typename Window>
    static Window* visible()
    {
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (auto* const found = qobject_cast<Window*>(window); found && found->isVisible())
                return found;
        }
        return nullptr;
    }
    static QString focused()
    {
        return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : QString();
    }
    /// Presses Tab until the keyboard is at the widget of the name.
    static void tabTo(const QString& name, Qt::KeyboardModifiers modifiers = {})
    {
        constexpr int longWay = 60;
        for (int step = 0; step < longWay && focused() != name; ++step)
            pressKey(modifiers ? Qt::Key_Backtab : Qt::Key_Tab, modifiers);
        ASSERT_EQ(focused(), name);
    }
    static void fill(const QString& name, const QString& text)
    {
        tabTo(name);
        pressChord(u"Ctrl+A"_s);
        typeText(text);
    }
    /// What a window manager does when a window closes; there is none here.
    void returnToMain()
    {
        mail.window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(mail.window.get()));
    }
    void choose(const QString& menu, const QStringList& path)
    {
        openMenuOfBar(*mail.window, menu);
        chooseByKeys(path);
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
    void addAccount();
    void read();

    MailServer server{{u"--messages"_s, u"empty"_s}, MailServer::Submission::postfix};
    MailWindow mail;
};

void KeyboardWalkTest::addAccount()
{
    tabTo(u"addIMAP"_s);
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(comes([] { return visible<IMAPSetupView>() && visible<IMAPSetupView>()->isActiveWindow(); }));
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
    takeScreenshot(*visible<IMAPSetupView>(), u"keys-01-setup"_s);
    tabTo(u"setupSignIn"_s);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(comes([this] { return !model().accounts().isEmpty(); }))
        << model().errorMessage().value_or(QString()).toStdString();
    ASSERT_TRUE(isIdle());
    returnToMain();
    ASSERT_TRUE(comes([] { return focused() == u"messageTable"; })) << "the list has the keyboard";
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
    EXPECT_EQ(focused(), u"messageTable");
    pressChord(u"Ctrl+F"_s);
    typeText(u"boat"_s);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(comes([this] { return model().messages().size() == 1 && !model().isLoading(); }));
}

TEST_F(KeyboardWalkTest, AddsAnAccountReadsAndSearchesWithoutAMouse)
{
    deliver("A newsletter", "text/html",
            "<p>News <img src=\"https://img.example/a.png\" width=9 height=9></p>");
    deliver("Breakfast", "text/plain", "At eight?");
    deliver("Cruise", "text/plain", "The boat leaves at noon.");
    mail.open();
    ASSERT_NO_FATAL_FAILURE(addAccount());
    ASSERT_NO_FATAL_FAILURE(read());
}

} // namespace
} // namespace Larkhaven
