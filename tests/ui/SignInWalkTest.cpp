#include "UITestSupport.h"
#include "app/platform/PrivateBrowser.h"
#include "app/platform/SingleInstance.h"
#include "app/signin/Redirects.h"
#include "app/signin/WebAuthenticator.h"
#include "platform/ScriptedBrowsers.h"
#include "support/GoogleServices.h"
#include "support/QtPrinters.h"
#include "views/ComposeTextView.h"
#include "views/ComposeWindows.h"
#include "views/MessageTable.h"
#include "views/SidebarView.h"
#include "views/SignInWindow.h"

#include <QAction>
#include <QApplication>
#include <QDirIterator>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

constexpr auto patience = 30s;

/// Opens the page, and brings its redirect back as a desktop does.
const QByteArray browserScript = R"(
for page; do :; done
redirect=$(curl -sS --cacert "$SSL_CERT_FILE" -D - -o /dev/null "$page" | sed -n 's/^[Ll]ocation: //p' | tr -d '\r')
gdbus call --session --dest com.tundra42.larkhaven --object-path /com/tundra42/larkhaven \
    --method org.freedesktop.Application.Open "['$redirect']" '@a{sv} {}'
exec sleep 60
)";

/// A person with a Google account, from the welcome on: a real browser process, the session bus, the real
/// HTTP stack, and a double of the services behind it.
class SignInWalkTest : public testing::Test {
protected:
    SignInWalkTest()
    {
        for (const char* subject : {"Five", "Four", "Three", "Two", "One"})
            services.mailbox().insert(
                {.raw = QByteArray("From: Ann <ann@example.org>\r\nTo: mia@gmail.com\r\n"
                                   "Subject: ") +
                        subject + "\r\nMessage-ID: <" + subject +
                        "@example.org>\r\nContent-Type: text/plain\r\n\r\nSome text.\r\n",
                 .labelIds = {u"INBOX"_s, u"UNREAD"_s}});
        desktop.useBrowser(u"chromium"_s, browserScript);
        EXPECT_EQ(instance.enter({}), SingleInstance::Role::first);
        QObject::connect(
            &instance, &SingleInstance::activated, mail.window.get(), [this](const QStringList& arguments) {
                wantsWindow += Redirects::deliver(arguments, ModelFixture::info(), authenticator);
            });
        const auto authenticate = [this](const QByteArray& url, const QString& scheme,
                                         const std::stop_token& stop) {
            return authenticator.authenticate(url, scheme, stop);
        };
        const SignInService::Services signIn{ModelFixture::info(), authenticate, {}};
        mail.fixture.setSignIn([signIn](ProviderKind provider, const QUuid& accountID,
                                        const std::optional<QString>& hint, const std::stop_token& stop) {
            return SignInService::signIn(provider, signIn, accountID, hint, stop);
        });
    }

    AppModel& model() { return mail.model(); }
    GmailMailbox& mailbox() { return services.mailbox(); }
    template <typename Condition>
    static bool comes(Condition condition)
    {
        return waitUntil(condition, patience);
    }
    void show(const MailboxRef& ref, qsizetype count)
    {
        model().selectMailbox(ref);
        EXPECT_TRUE(comes([this, count] {
            if (!model().isLoading() && model().messages().size() != count)
                model().start(model().load(0, true));
            return !model().isLoading() && model().messages().size() == count;
        })) << model().messages().size();
    }
    void show(Mailbox role, qsizetype count) { show(MailboxRef::system(role), count); }
    ComposeWindow& composeWindow()
    {
        if (!comes([this] { return !mail.window->composeWindows().windows().isEmpty(); }))
            throw std::runtime_error("no compose window opened");
        ComposeWindow& window = *mail.window->composeWindows().windows().last();
        Larkhaven::show(window);
        return window;
    }
    void write(ComposeWindow& window, const QString& words)
    {
        auto& text = *window.findChild<ComposeTextView*>(u"composeText"_s);
        text.setFocus();
        QTest::keyClicks(&text, words);
    }
    /// Types into the dialog for a label.
    void name(const QString& label)
    {
        ASSERT_TRUE(comes([this] { return mail.window->findChild<QLineEdit*>(u"labelName"_s); }));
        auto* const field = mail.window->findChild<QLineEdit*>(u"labelName"_s);
        field->selectAll();
        QTest::keyClicks(field, label);
        QTest::keyClick(field, Qt::Key_Return);
        ASSERT_TRUE(comes([this] { return !mail.window->findChild<QLineEdit*>(u"labelName"_s); }));
    }
    std::optional<MailLabel> label(const QString& path)
    {
        for (const MailLabel& known : model().labels(account())) {
            if (known.path == path)
                return known;
        }
        return std::nullopt;
    }
    bool hasLabels(const QStringList& paths)
    {
        return comes([this, paths] {
            QStringList found;
            for (const GmailMailbox::Label& known : mailbox().labels()) {
                if (!known.isSystem)
                    found.append(known.name);
            }
            QStringList shown;
            for (const MailLabel& known : model().labels(account()))
                shown.append(known.path);
            found.sort();
            shown.sort();
            return found == paths && shown == paths;
        });
    }
    QUuid account() { return model().accounts().first().id; }
    /// A click with the right button on the first row, as a display tells of it, and the item of its menu.
    void chooseOnFirstRow(const char* item)
    {
        MessageTable& table = mail.table();
        const QPoint place = table.visualRect(table.model()->index(0, 1)).center();
        QWindow* const window = mail.window->windowHandle();
        QTest::mouseClick(window, Qt::RightButton, {}, table.viewport()->mapTo(mail.window.get(), place));
        ASSERT_TRUE(comes([&table] { return table.findChild<QMenu*>(u"messageMenu"_s); }));
        QPointer<QMenu> menu = table.findChild<QMenu*>(u"messageMenu"_s);
        auto* const action = menu->findChild<QAction*>(QLatin1StringView(item));
        ASSERT_TRUE(action) << item;
        action->trigger();
        menu->close();
        ASSERT_TRUE(comes([&menu] { return !menu; }));
    }
    void press(const QString& keys)
    {
        mail.table().setFocus();
        QTest::keyClicks(&mail.table(), keys);
    }
    /// The labels of the message of the subject on the server; "gone" where it isn't there.
    QStringList labelsOf(const QByteArray& subject)
    {
        for (const GmailMailbox::Message& message : mailbox().messages()) {
            if (!message.raw.contains("Subject: " + subject + "\r\n"))
                continue;
            QStringList labels(message.labelIds.cbegin(), message.labelIds.cend());
            labels.sort();
            return labels;
        }
        return {u"gone"_s};
    }
    bool becomes(const QByteArray& subject, const QStringList& labels)
    {
        return comes([&] { return labelsOf(subject) == labels; });
    }
    bool isSecretIn(const QByteArray& bytes)
    {
        return std::ranges::any_of(services.google().secrets(),
                                   [&bytes](const QByteArray& secret) { return bytes.contains(secret); });
    }

    void signIn();
    void answer();
    void label();
    void move();

    GoogleServices services{u"mia@gmail.com"_s};
    ScriptedBrowsers desktop;
    QTemporaryDir profile;
    MailWindow mail{QList<Account>{}, ModelFixture::info()};
    WebAuthenticator authenticator{[this](const QByteArray& url, const std::stop_token& stop) {
        return PrivateBrowser::open(url, {desktop.folders, desktop.runtime()}, stop);
    }};
    SingleInstance instance{profile.path()};
    int wantsWindow = 0;
};

void SignInWalkTest::signIn()
{
    mail.open();
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    auto& window = mail.child<SignInWindow>("signInWindow");
    EXPECT_TRUE(window.isVisible());
    ASSERT_TRUE(comes([this] { return !model().accounts().isEmpty(); }))
        << model().errorMessage().value_or(QString()).toStdString();
    EXPECT_FALSE(window.isVisible());
    ASSERT_TRUE(comes([this] { return model().messages().size() == 5; }));
    EXPECT_EQ(wantsWindow, 0) << "a redirect shows no window";
    // The browser got the page and nothing else, and is gone with its profile.
    const QStringList arguments = desktop.arguments();
    ASSERT_EQ(arguments.size(), 5);
    EXPECT_EQ(arguments[1], u"--incognito");
    EXPECT_TRUE(arguments[4].startsWith(u"https://accounts.google.com/"_s));
    EXPECT_FALSE(isSecretIn(arguments.join(u' ').toUtf8()));
    EXPECT_TRUE(comes([this] { return desktop.profiles().isEmpty(); }));
    takeScreenshot(*mail.window, u"google-01-inbox"_s);
}

void SignInWalkTest::answer()
{
    mail.read(model().messages().first().id);
    EXPECT_TRUE(becomes("One", {u"INBOX"_s}));
    takeScreenshot(*mail.window, u"google-02-message"_s);
    QTest::mouseClick(&mail.child<QToolButton>("reply"), Qt::LeftButton);
    ComposeWindow* window = &composeWindow();
    write(*window, u"Half an answer"_s);
    window->close();
    QPointer<QMessageBox> question;
    ASSERT_TRUE(comes([&] {
        for (auto* const box : window->findChildren<QMessageBox*>())
            question = box->isVisible() ? box : question.data();
        return !question.isNull();
    }));
    for (QAbstractButton* const button : question->buttons()) {
        if (button->text() == u"Save")
            button->click();
    }
    ASSERT_TRUE(comes([this] { return mailbox().drafts().size() == 1; }));
    model().setPath({});
    show(Mailbox::drafts, 1);
    press(u"jo"_s);
    window = &composeWindow();
    write(*window, u", and the other half. "_s);
    QTest::mouseClick(window->findChild<QToolButton*>(u"send"_s), Qt::LeftButton);
    ASSERT_TRUE(comes([this] { return becomes("Re: One", {u"SENT"_s}); }));
    EXPECT_TRUE(comes([this] { return mailbox().drafts().isEmpty(); }));
    const QList<GmailMailbox::Message> messages = mailbox().messages();
    const auto thread = [&messages](const QByteArray& subject) {
        const auto found = std::ranges::find_if(messages, [&](const GmailMailbox::Message& message) {
            return message.raw.contains("Subject: " + subject + "\r\n");
        });
        return found == messages.end() ? QString() : found->threadId;
    };
    EXPECT_EQ(thread("Re: One"), thread("One"));
}

void SignInWalkTest::label()
{
    model().beginCreateLabel(account());
    name(u"Trips"_s);
    ASSERT_TRUE(hasLabels({u"Trips"_s}));
    model().beginCreateLabel(account(), label(u"Trips"_s));
    name(u"2026"_s);
    ASSERT_TRUE(hasLabels({u"Trips"_s, u"Trips/2026"_s}));
    model().beginRenameLabel(*label(u"Trips"_s), account());
    name(u"Travel"_s);
    ASSERT_TRUE(hasLabels({u"Travel"_s, u"Travel/2026"_s}));
    show(Mailbox::inbox, 5);
    const MailLabel inner = *label(u"Travel/2026"_s);
    model().setLabel(model().messages().first(3), inner, true);
    for (const char* subject : {"One", "Two", "Three"})
        EXPECT_TRUE(comes([&] { return labelsOf(subject).contains(inner.id); })) << subject;
    show(MailboxRef::label(inner), 3);
    takeScreenshot(*mail.window, u"google-03-label"_s);
    model().beginDeleteLabel(inner, account());
    ASSERT_TRUE(comes([this] { return mail.window->findChild<QPushButton*>(u"confirmDeletion"_s); }));
    mail.window->findChild<QPushButton*>(u"confirmDeletion"_s)->click();
    EXPECT_TRUE(hasLabels({u"Travel"_s}));
    EXPECT_TRUE(becomes("One", {u"INBOX"_s}));
}

void SignInWalkTest::move()
{
    show(Mailbox::inbox, 5);
    press(u"je"_s);
    EXPECT_TRUE(becomes("One", {}));
    chooseOnFirstRow("reportSpam");
    EXPECT_TRUE(becomes("Two", {u"SPAM"_s, u"UNREAD"_s}));
    chooseOnFirstRow("delete");
    EXPECT_TRUE(becomes("Three", {u"TRASH"_s, u"UNREAD"_s}));
    show(Mailbox::inbox, 2);
    show(Mailbox::spam, 1);
    chooseOnFirstRow("notSpam");
    EXPECT_TRUE(becomes("Two", {u"INBOX"_s, u"UNREAD"_s}));
    show(Mailbox::trash, 1);
    model().moveToInbox(model().messages());
    EXPECT_TRUE(becomes("Three", {u"INBOX"_s, u"UNREAD"_s}));
    show(Mailbox::inbox, 4);
    takeScreenshot(*mail.window, u"google-04-restored"_s);
}

TEST_F(SignInWalkTest, FromTheWelcomeToRestoredMessages)
{
    signIn();
    if (HasFatalFailure())
        return;
    answer();
    if (HasFatalFailure())
        return;
    label();
    move();

    // What is on the server in the end.
    EXPECT_EQ(labelsOf("One"), QStringList());
    EXPECT_EQ(labelsOf("Re: One"), QStringList(u"SENT"_s));
    for (const char* subject : {"Two", "Three", "Four", "Five"})
        EXPECT_EQ(labelsOf(subject), QStringList({u"INBOX"_s, u"UNREAD"_s})) << subject;
    EXPECT_EQ(mailbox().messageCount(), 6);
    EXPECT_TRUE(mailbox().drafts().isEmpty());
    EXPECT_EQ(services.google().exchanges(), 1);
    EXPECT_EQ(services.violations(), QStringList());
    EXPECT_FALSE(model().errorMessage()) << model().errorMessage()->toStdString();

    // What is on the disk, but for the keyring.
    qsizetype files = 0;
    QDirIterator walk(QFileInfo(mail.fixture.cachesDirectory()).path(), QDir::Files,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        QFile file(walk.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
        EXPECT_FALSE(isSecretIn(file.readAll())) << qPrintable(file.fileName());
        ++files;
    }
    EXPECT_GT(files, 2);
}

TEST_F(SignInWalkTest, EndsTheBrowserWhereTheUserGivesUp)
{
    desktop.useBrowser(u"chromium"_s, "exec sleep 60");
    mail.open();
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    ASSERT_TRUE(comes([this] { return QFile::exists(desktop.noted()); }));
    ASSERT_EQ(desktop.profiles().size(), 2);
    QTest::mouseClick(&mail.child<QPushButton>("signInCancel"), Qt::LeftButton);
    EXPECT_TRUE(comes([this] { return !model().isSigningIn() && desktop.profiles().isEmpty(); }));
    EXPECT_TRUE(model().accounts().isEmpty());
    EXPECT_FALSE(model().errorMessage());
    EXPECT_EQ(services.google().exchanges(), 0);
}

TEST_F(SignInWalkTest, SaysSoWhereNoBrowserCanBePrivate)
{
    desktop.useBrowser(u"konqueror"_s);
    mail.open();
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    EXPECT_TRUE(comes([this] { return model().errorMessage().has_value(); }));
    EXPECT_EQ(model().errorMessage(), u"Sign-in failed: Could not open the sign-in window."_s);
    EXPECT_FALSE(QFile::exists(desktop.noted()));
}

} // namespace
} // namespace Larkhaven
