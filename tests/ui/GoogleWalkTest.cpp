#include "Gestures.h"
#include "UITestSupport.h"
#include "app/platform/PrivateBrowser.h"
#include "app/platform/SingleInstance.h"
#include "app/signin/SignInService.h"
#include "app/signin/WebAuthenticator.h"
#include "platform/ScriptedBrowsers.h"
#include "protocols/StreamTransport.h"
#include "support/GoogleServices.h"
#include "support/QtPrinters.h"
#include "views/compose/AddressField.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"
#include "views/list/MessageTable.h"
#include "views/main/SidebarView.h"
#include "views/setup/SignInWindow.h"

#include <QApplication>
#include <QDialog>
#include <QDirIterator>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

constexpr auto patience = 30s;

/// A session bus of its own.
class Bus {
public:
    Bus()
    {
        m_daemon.start(u"dbus-daemon"_s,
                       {u"--session"_s, u"--nofork"_s, u"--print-address"_s, u"--nopidfile"_s});
        if (!m_daemon.waitForReadyRead(10'000))
            throw std::runtime_error("no session bus");
        m_address = QString::fromLocal8Bit(m_daemon.readLine()).trimmed();
    }
    ~Bus()
    {
        QDBusConnection::disconnectFromBus(u"walk"_s);
        m_daemon.terminate();
        m_daemon.waitForFinished(5'000);
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    const QString& address() const { return m_address; }
    QDBusConnection connection() const { return QDBusConnection::connectToBus(m_address, u"walk"_s); }

private:
    QProcess m_daemon;
    QString m_address;
};

/// A person with a Google account: windows, browser, bus, HTTP stack and tokens are real, and the services
/// are doubles under their real names.
class GoogleWalkTest : public testing::Test {
protected:
    GoogleWalkTest()
    {
        const QByteArray environment = "WALK_BUS='" + bus.address().toUtf8() + "' ";
        browsers.useBrowser(u"firefox"_s, "export " + environment +
                                              "\nexec " LARKHAVEN_PYTHON " -B " SCRIPTED_BROWSER " \"$@\"");
        EXPECT_EQ(instance.enter({}), SingleInstance::Role::first);
        QObject::connect(&instance, &SingleInstance::activated, &authenticator,
                         [this](const QStringList& arguments) {
                             for (const QString& argument : arguments) {
                                 if (SignInService::isRedirect(argument, ModelFixture::info()))
                                     authenticator.takeRedirect(argument.toUtf8());
                             }
                         });
        const SignInService::Authenticate authenticate = [this](const QByteArray& url, const QString& scheme,
                                                                const std::stop_token& stop) {
            return authenticator.authenticate(url, scheme, stop);
        };
        mail.fixture.setSignIn([authenticate](ProviderKind provider, QUuid accountID,
                                              std::optional<QString> hint, const std::stop_token& stop) {
            const SignInService::Services needs{ModelFixture::info(), authenticate, MailTransports::open};
            return SignInService::signIn(provider, needs, accountID, hint, stop);
        });
    }

    AppModel& model() { return mail.model(); }
    GmailMailbox& mailbox() { return services.mailbox(); }

    template <typename Condition>
    static bool comes(Condition condition)
    {
        return waitUntil(condition, patience);
    }
    template <typename Widget>
    static Widget& child(const QWidget& parent, const char* name)
    {
        auto* const found = parent.findChild<Widget*>(QLatin1StringView(name));
        if (!found)
            throw std::runtime_error(name);
        return *found;
    }

    /// What lies in the double's mailbox when the walk begins; the newest one last.
    QString receive(const QByteArray& subject, const QByteArray& text)
    {
        return mailbox().insert(
            {.raw = "From: Ada <ada@example.com>\r\nTo: user@gmail.com\r\nSubject: " + subject +
                    "\r\nMessage-ID: <" + subject.toHex() +
                    "@example.com>\r\nDate: Fri, 15 Mar 2024 11:00:00 +0000\r\n\r\n" + text,
             .labelIds = {u"INBOX"_s, u"UNREAD"_s}});
    }
    QSet<QString> labelsOf(const QString& id) { return mailbox().message(id)->labelIds; }
    QString idOf(const QString& labelName)
    {
        const GmailMailbox::Label* const label = mailbox().labelNamed(labelName);
        return label ? label->id : QString();
    }

    void press(const QString& key)
    {
        mail.table().setFocus();
        QTest::keyClicks(&mail.table(), key);
    }
    void select(const QStringList& ids) { model().setSelection(QSet<QString>(ids.cbegin(), ids.cend())); }
    /// Shows a mailbox by a click in the sidebar, and waits until it lists these.
    void show(const QString& title, const QStringList& ids)
    {
        SidebarView& sidebar = mail.window->sidebar();
        const QModelIndex place = sidebarRow(title);
        ASSERT_TRUE(place.isValid()) << title.toStdString();
        QTest::mouseClick(sidebar.viewport(), Qt::LeftButton, {}, sidebar.visualRect(place).center());
        EXPECT_TRUE(comes([this, &ids] { return !model().isLoading() && listed() == ids; }))
            << title.toStdString() << " lists " << listed().join(u' ').toStdString();
    }
    QStringList listed()
    {
        QStringList ids;
        for (const MessageSummary& row : model().messages())
            ids.append(row.id);
        return ids;
    }
    QModelIndex sidebarRow(const QString& text)
    {
        const QAbstractItemModel& rows = *mail.window->sidebar().model();
        const QModelIndex heading = rows.index(0, 0);
        if (heading.data().toString() == text)
            return heading;
        for (int row = 0; row < rows.rowCount(heading); ++row) {
            if (rows.index(row, 0, heading).data().toString() == text)
                return rows.index(row, 0, heading);
        }
        return {};
    }
    /// Chooses an item of the menu that the right button opens.
    void choose(QWidget& view, const QPoint& place, const QStringList& titles)
    {
        const QPointer<QMenu> menu = rightClick(view, place);
        ASSERT_TRUE(menu);
        chooseByKeys(titles);
        ASSERT_TRUE(comes([&menu] { return !menu; }));
    }
    void chooseOnSidebar(const QString& row, const QString& title)
    {
        SidebarView& sidebar = mail.window->sidebar();
        const QModelIndex place = sidebarRow(row);
        ASSERT_TRUE(place.isValid()) << row.toStdString();
        choose(*sidebar.viewport(), sidebar.visualRect(place).center(), {title});
    }
    void chooseOnRow(int row, const QStringList& titles)
    {
        MessageTable& table = mail.table();
        choose(*table.viewport(), table.visualRect(table.model()->index(row, 4)).center(), titles);
    }
    /// Types the name into the sheet for labels and presses Return.
    void nameLabel(const QString& name, const QString& screenshot)
    {
        ASSERT_TRUE(comes([this] { return mail.window->findChild<QDialog*>(u"labelSheet"_s); }));
        const QPointer<QDialog> sheet = mail.window->findChild<QDialog*>(u"labelSheet"_s);
        auto& field = child<QLineEdit>(*sheet, "labelName");
        field.selectAll();
        QTest::keyClicks(&field, name);
        takeScreenshot(*sheet, screenshot);
        QTest::keyClick(&field, Qt::Key_Return);
        ASSERT_TRUE(comes([&sheet] { return !sheet; }));
    }
    bool hasLabels(const QStringList& names)
    {
        QStringList now;
        for (const GmailMailbox::Label& label : mailbox().labels()) {
            if (!label.isSystem)
                now.append(label.name);
        }
        now.sort();
        return now == names;
    }
    ComposeWindow& newestWindow()
    {
        if (!comes([this] { return !mail.window->composeWindows().windows().isEmpty(); }))
            throw std::runtime_error("no compose window opened");
        ComposeWindow& window = *mail.window->composeWindows().windows().last();
        Larkhaven::show(window);
        return window;
    }

    /// What holds a code, a token or a verifier: files of the program and of the browser, and texts of
    /// windows.
    QStringList placesOfSecrets()
    {
        QStringList places;
        const auto holdsSecret = [this](const QByteArray& bytes) {
            return std::ranges::any_of(services.google().secrets(),
                                       [&bytes](const QByteArray& secret) { return bytes.contains(secret); });
        };
        const QString ofModel = QFileInfo(mail.fixture.cachesDirectory()).path();
        for (const QString& folder :
             {ofModel, browsers.path(QString()), qEnvironmentVariable("XDG_CONFIG_HOME"),
              qEnvironmentVariable("XDG_CACHE_HOME"), qEnvironmentVariable("XDG_DATA_HOME")}) {
            QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (files.hasNext()) {
                QFile file(files.next());
                ++m_searched;
                if (file.open(QIODevice::ReadOnly) && holdsSecret(file.readAll()))
                    places.append(file.fileName());
            }
        }
        for (const QWidget* const widget : QApplication::allWidgets()) {
            for (const char* const property : {"text", "windowTitle", "toolTip", "accessibleName"}) {
                if (holdsSecret(widget->property(property).toString().toUtf8()))
                    places.append(QString::fromLatin1(widget->metaObject()->className()));
            }
        }
        return places;
    }

    int m_searched = 0; ///< files
    Bus bus;
    ScriptedBrowsers browsers;
    GoogleServices services;
    SingleInstance instance{browsers.path(u"profile"_s), bus.connection()};
    WebAuthenticator authenticator{[this](QByteArray url, std::stop_token stop) {
        return PrivateBrowser::open(url, {.folders = browsers.folders, .runtimeFolder = browsers.runtime()},
                                    stop);
    }};
    MailWindow mail{QList<Account>{}, ModelFixture::info()};
};

TEST_F(GoogleWalkTest, FromTheSignInToATidyMailbox)
{
    const QString first = receive("Minutes", "Here are the minutes.");
    const QString second = receive("Lunch", "Shall we have lunch?");
    const QString third = receive("Offer", "Buy this.");
    const QString fourth = receive("Old news", "Nothing of interest.");

    // Signed in, in the browser.
    mail.open();
    takeScreenshot(*mail.window, u"google-01-welcome"_s);
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    ASSERT_TRUE(
        comes([this] { return model().browserSignIn().has_value() || !model().accounts().isEmpty(); }));
    ASSERT_TRUE(comes([this] { return !model().accounts().isEmpty(); }))
        << model().errorMessage().value_or(QString()).toStdString();
    EXPECT_EQ(model().accounts().first().email, u"user@gmail.com");
    EXPECT_EQ(model().browserSignIn(), std::nullopt);
    EXPECT_EQ(browsers.arguments().value(0), u"--no-remote");
    for (const QByteArray& secret : services.google().secrets())
        EXPECT_FALSE(browsers.read(u"noted"_s).contains(secret)) << "no secret on a command line";
    EXPECT_TRUE(comes([this] { return browsers.profiles().isEmpty(); })) << "the profile is gone";

    // The Inbox, and a message that is read.
    EXPECT_TRUE(comes([this] { return !model().isLoading() && model().messages().size() == 4; }));
    EXPECT_EQ(listed(), (QStringList{fourth, third, second, first}));
    takeScreenshot(*mail.window, u"google-02-inbox"_s);
    mail.read(second);
    takeScreenshot(*mail.window, u"google-03-read"_s);
    EXPECT_TRUE(comes([&] { return !labelsOf(second).contains(u"UNREAD"_s); }));

    // An answer that is stored as a draft, resumed, and sent in its conversation.
    QTest::mouseClick(&mail.child<QToolButton>("reply"), Qt::LeftButton);
    ComposeWindow* window = &newestWindow();
    auto* text = &child<ComposeTextView>(*window, "composeText");
    text->setFocus();
    QTest::keyClicks(text, u"Gladly"_s);
    window->close();
    QPointer<QMessageBox> question;
    ASSERT_TRUE(comes([&] {
        for (auto* const box : window->findChildren<QMessageBox*>())
            question = box->isVisible() ? box : question.data();
        return !question.isNull();
    }));
    for (QAbstractButton* const button : question->buttons()) {
        if (button->text() == u"Save")
            QTest::mouseClick(button, Qt::LeftButton);
    }
    ASSERT_TRUE(comes([this] { return mail.window->composeWindows().windows().isEmpty(); }));
    ASSERT_EQ(mailbox().drafts().size(), 1);
    const QString draft = mailbox().drafts().first();
    EXPECT_EQ(mailbox().message(draft)->threadId, mailbox().message(second)->threadId);
    model().setPath({});
    show(u"Drafts"_s, {draft});
    takeScreenshot(*mail.window, u"google-04-drafts"_s);
    press(u"jo"_s);
    window = &newestWindow();
    text = &child<ComposeTextView>(*window, "composeText");
    text->setFocus();
    QTest::keyClicks(text, u", at noon. "_s);
    takeScreenshot(*window, u"google-05-resumed"_s);
    const QPointer<ComposeWindow> sending(window);
    QTest::mouseClick(&child<QToolButton>(*window, "send"), Qt::LeftButton);
    EXPECT_TRUE(comes([&sending] { return !sending || sending->view().error(); }));
    EXPECT_FALSE(sending);
    EXPECT_TRUE(mailbox().drafts().isEmpty());
    const QString sent = mailbox().messages().first().id;
    EXPECT_EQ(labelsOf(sent), QSet<QString>{u"SENT"_s});
    EXPECT_EQ(mailbox().message(sent)->threadId, mailbox().message(second)->threadId);
    show(u"Sent"_s, {sent});
    takeScreenshot(*mail.window, u"google-06-sent"_s);

    // A label, one inside it, both renamed; put on three messages, and deleted.
    chooseOnSidebar(model().accounts().first().title(), u"New Label…"_s);
    nameLabel(u"Work"_s, u"google-07-label"_s);
    EXPECT_TRUE(comes([this] { return sidebarRow(u"Work"_s).isValid(); }));
    chooseOnSidebar(u"Work"_s, u"New Label Inside “Work”…"_s);
    nameLabel(u"2026"_s, u"google-08-nested"_s);
    EXPECT_TRUE(comes([this] { return sidebarRow(u"2026"_s).isValid(); }));
    EXPECT_TRUE(hasLabels({u"Work"_s, u"Work/2026"_s}));
    chooseOnSidebar(u"Work"_s, u"Rename “Work”…"_s);
    nameLabel(u"Office"_s, u"google-09-renamed"_s);
    EXPECT_TRUE(comes([this] { return hasLabels({u"Office"_s, u"Office/2026"_s}); }));
    EXPECT_TRUE(
        comes([this] { return sidebarRow(u"Office"_s).isValid() && !sidebarRow(u"Work"_s).isValid(); }));
    const QString label = idOf(u"Office/2026"_s);
    show(u"Inbox"_s, {fourth, third, second, first});
    select({first, second, third});
    chooseOnRow(1, {u"Label As"_s, u"Office/2026"_s});
    EXPECT_TRUE(comes([&] {
        return labelsOf(first).contains(label) && labelsOf(second).contains(label) &&
               labelsOf(third).contains(label);
    }));
    EXPECT_FALSE(labelsOf(fourth).contains(label));
    show(u"2026"_s, {third, second, first});
    takeScreenshot(*mail.window, u"google-10-labelled"_s);
    chooseOnSidebar(u"2026"_s, u"Delete “2026”…"_s);
    const QPointer<QMessageBox> deletion = mail.window->findChild<QMessageBox*>(u"labelDeletion"_s);
    ASSERT_TRUE(deletion && comes([&deletion] { return deletion->isVisible(); }));
    takeScreenshot(*deletion, u"google-11-delete-label"_s);
    QTest::mouseClick(&child<QPushButton>(*deletion, "confirmDeletion"), Qt::LeftButton);
    EXPECT_TRUE(comes([this] { return hasLabels({u"Office"_s}); }));
    EXPECT_TRUE(comes([this] {
        return model().sidebarSelection()->ref == MailboxRef::system(Mailbox::inbox);
    })) << "the label on screen is gone";
    EXPECT_TRUE(comes([&] {
        return !model().isLoading() && listed() == (QStringList{fourth, third, second, first});
    }));

    // Archived, reported, thrown away, and taken back.
    select({first});
    press(u"e"_s);
    EXPECT_TRUE(comes([&] { return !labelsOf(first).contains(u"INBOX"_s); }));
    chooseOnRow(static_cast<int>(listed().indexOf(third)), {u"Report Spam"_s});
    EXPECT_TRUE(comes([&] { return labelsOf(third).contains(u"SPAM"_s); }));
    select({fourth});
    press(u"#"_s);
    EXPECT_TRUE(comes([&] { return labelsOf(fourth).contains(u"TRASH"_s); }));
    EXPECT_TRUE(comes([&] { return listed() == QStringList{second}; }));
    show(u"Trash"_s, {fourth});
    takeScreenshot(*mail.window, u"google-12-trash"_s);
    chooseOnRow(0, {u"Move To"_s, u"Inbox"_s});
    EXPECT_TRUE(comes([&] { return !labelsOf(fourth).contains(u"TRASH"_s); }));
    show(u"Spam"_s, {third});
    chooseOnRow(0, {u"Not Spam"_s});
    EXPECT_TRUE(comes([&] { return !labelsOf(third).contains(u"SPAM"_s); }));
    show(u"Inbox"_s, {fourth, third, second});
    takeScreenshot(*mail.window, u"google-13-tidy"_s);

    // What the service holds in the end.
    EXPECT_EQ(labelsOf(first), QSet<QString>{u"UNREAD"_s});
    EXPECT_EQ(labelsOf(second), QSet<QString>{u"INBOX"_s});
    EXPECT_EQ(labelsOf(third), (QSet<QString>{u"INBOX"_s, u"UNREAD"_s}));
    EXPECT_EQ(labelsOf(fourth), (QSet<QString>{u"INBOX"_s, u"UNREAD"_s}));
    EXPECT_EQ(labelsOf(sent), QSet<QString>{u"SENT"_s});
    EXPECT_EQ(mailbox().messageCount(), 5);
    EXPECT_TRUE(hasLabels({u"Office"_s}));
    EXPECT_EQ(model().errorMessage(), std::nullopt);
    EXPECT_EQ(services.violations(), QStringList());
    EXPECT_GE(services.google().secrets().size(), 4) << "a code, a verifier and two tokens";
    EXPECT_EQ(placesOfSecrets(), QStringList());
    EXPECT_GE(m_searched, 5) << "settings, cached messages, a snapshot, what the browser was told";
}

TEST_F(GoogleWalkTest, AsksForANewSignInWhereTheGrantIsGoneAndForNothingElse)
{
    const QString first = receive("Minutes", "Here are the minutes.");
    mail.open();
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    ASSERT_TRUE(comes([&] { return !model().isLoading() && listed() == QStringList{first}; }));
    const QUuid account = model().accounts().first().id;
    ASSERT_TRUE(comes([this] { return browsers.profiles().isEmpty(); }));

    services.revokeGrant();
    QTest::mouseClick(&mail.child<QToolButton>("getMail"), Qt::LeftButton);
    EXPECT_TRUE(comes([&] { return model().needsReauth().contains(account); }));
    EXPECT_TRUE(comes([this] { return !model().isLoading() && services.inFlight() == 0; }));
    settle();
    EXPECT_EQ(model().errorMessage(), std::nullopt);
    EXPECT_FALSE(QApplication::activeModalWidget());
    EXPECT_EQ(listed(), QStringList{first}) << "what is known stays";
    takeScreenshot(*mail.window, u"google-20-grant-gone"_s);

    services.google().setExpectedHint(u"user@gmail.com"_s);
    QTest::mouseClick(&mail.child<QPushButton>("signInButton"), Qt::LeftButton);
    EXPECT_TRUE(comes([&] { return !model().needsReauth().contains(account); }))
        << model().errorMessage().value_or(QString()).toStdString();
    EXPECT_EQ(model().accounts().size(), 1);
    const QString second = receive("Lunch", "Shall we?");
    QTest::mouseClick(&mail.child<QToolButton>("getMail"), Qt::LeftButton);
    EXPECT_TRUE(comes([&] { return listed() == (QStringList{second, first}); }));
    EXPECT_EQ(services.violations(), QStringList());
}

} // namespace
} // namespace Larkhaven
