#include "AccessibleTree.h"
#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "platform/Wakeup.h"
#include "support/QtPrinters.h"
#include "views/compose/AddressField.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/SearchField.h"
#include "views/main/SidebarView.h"
#include "views/reader/SourceWindows.h"
#include "views/settings/SettingsView.h"
#include "views/setup/IMAPSetupView.h"
#include "views/setup/SignInWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

// What a screen reader gets of every window, over the real accessibility bus.

namespace Larkhaven {
namespace {

const QList<MailLabel> folders{{u"P"_s, u"Projects"_s}, {u"P/A"_s, u"Projects/A & B"_s}};

class AccessibilityTest : public testing::Test {
protected:
    explicit AccessibilityTest(const QList<Account>& accounts = {ModelFixture::imapAccount(),
                                                                 ModelFixture::googleAccount()},
                               const Info& info = {})
        : mail(accounts, info)
    {}

    void SetUp() override
    {
        if (!mail.model().accounts().isEmpty()) {
            provider().setLabels(folders);
            provider().setCanPutBack(true);
            provider().setCounts({{MailboxRef::system(Mailbox::inbox).id(), 43}});
            QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 30);
            rows[0].isRead = false;
            rows[0].hasAttachments = true;
            rows[1].isStarred = true;
            mail.fill(rows);
        }
        mail.open();
        settle();
    }

    FakeMailProvider& provider() { return mail.fixture.provider(); }
    AppModel& model() { return mail.model(); }

    /// The tree without what stands within the page of a message, which is the engine's and the sender's.
    static QList<AccessibleNode> treeAroundMessages()
    {
        QList<AccessibleNode> kept;
        int page = -1;
        for (const AccessibleNode& node : accessibleTree()) {
            if (page >= 0 && node.depth > page)
                continue;
            page = node.name == u"Text of the Message" ? node.depth : -1;
            kept.append(node);
        }
        return kept;
    }
    /// Everything on the screen has a name.
    static void expectNames()
    {
        const QList<AccessibleNode> tree = treeAroundMessages();
        const QStringList faults = accessibilityFaults(tree);
        EXPECT_TRUE(faults.isEmpty()) << faults.join(u'\n').toStdString() << "\n\n"
                                      << described(tree).toStdString();
    }
    static const AccessibleNode* find(const QList<AccessibleNode>& tree, const QString& role,
                                      const QString& name)
    {
        for (const AccessibleNode& node : tree) {
            if (node.role == role && node.name == name)
                return &node;
        }
        return nullptr;
    }
    struct Spoken {
        const char* role;
        const char* name;
    };
    /// Each of them is said by an object of its own.
    static void expectNodes(const QList<Spoken>& expected)
    {
        const QList<AccessibleNode> tree = accessibleTree();
        for (const Spoken& one : expected)
            EXPECT_TRUE(find(tree, QLatin1StringView(one.role), QString::fromUtf8(one.name)))
                << one.role << ": " << one.name;
        if (testing::Test::HasFailure())
            ADD_FAILURE() << described(tree).toStdString();
    }
    QMenu* menu(const QString& title)
    {
        for (const QAction* const action : mail.window->menuBar()->actions()) {
            if (QString(action->text()).remove(u'&') == title)
                return action->menu();
        }
        return nullptr;
    }
    /// Waits for the alert, looks at it, and closes it.
    template <typename Alert = QMessageBox>
    void expectNamesOf(const char* alert)
    {
        QPointer<Alert> found;
        ASSERT_TRUE(waitUntil([&] {
            found = visibleWindow<Alert>(QString::fromLatin1(alert));
            return !found.isNull();
        })) << alert;
        expectNames();
        found->close();
        settle();
    }
    ComposeWindow& compose(const QString& to = {})
    {
        model().newMessage(to);
        if (!waitUntil([this] { return !mail.window->composeWindows().windows().isEmpty(); }))
            throw std::runtime_error("no compose window opened");
        ComposeWindow& window = *mail.window->composeWindows().windows().last();
        show(window);
        return window;
    }
    QUrl file(const QString& name) const
    {
        QFile made(folder.filePath(name));
        EXPECT_TRUE(made.open(QIODevice::WriteOnly) && made.write("bytes") == 5);
        return QUrl::fromLocalFile(made.fileName());
    }
    void read(const QByteArray& raw)
    {
        provider().setRaw(u"1"_s, raw);
        mail.read(u"1"_s);
        settle();
    }

    QTemporaryDir folder;
    MailWindow mail;
};

class WelcomeAccessibilityTest : public AccessibilityTest {
protected:
    WelcomeAccessibilityTest()
        : AccessibilityTest({}, ModelFixture::info())
    {}
};

// --- The main window

TEST_F(AccessibilityTest, NamesWhatTheListHolds)
{
    expectNames();
}

TEST_F(AccessibilityTest, NamesWhatStandsAroundTheList)
{
    SearchField& search = mail.child<SearchField>("searchField");
    provider().setListing(MailboxRef::system(Mailbox::inbox), ModelFixture::rows(mail.fixture.account(), 5),
                          u"Subject"_s);
    search.setFocus();
    QTest::keyClicks(&search, u"Subject"_s);
    QTest::keyClick(&search, Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !model().isLoading(); }));
    model().report(std::make_exception_ptr(MailError::notSignedIn()), mail.fixture.account().id);
    provider().failAlways(u"listMessages"_s, MailError::protocolError(u"No answer"_s));
    mail.fixture.endSleeps();
    ASSERT_TRUE(waitUntil([this] { return model().failedChecks().size() == 1; }));
    model().setSelection({u"3"_s});
    model().archive(model().actedOn());
    ASSERT_TRUE(waitUntil([this] { return model().undoOffer().has_value(); }));
    expectNames();
    expectNodes({{"text", "Search"},
                 {"push button", "Clear"},
                 {"label", "4 results for “Subject” in Inbox"},
                 {"push button", "Clear Search"},
                 {"label", "Sign-In Required"},
                 {"push button", "Sign In…"},
                 {"label", "Mail protocol error: No answer."},
                 {"push button", "Try mia@example.org Again"},
                 {"label", "Archived."},
                 {"push button", "Undo"},
                 {"push button", "Newer"},
                 {"push button", "Older"},
                 {"label", "1–4 of 4"}});
}

TEST_F(AccessibilityTest, TellsTheUnreadCountsOfTheMailboxes)
{
    const QList<AccessibleNode> tree = accessibleTree();
    EXPECT_TRUE(find(tree, u"table cell"_s, u"Inbox, 43 unread"_s)) << described(tree).toStdString();
    EXPECT_TRUE(find(tree, u"table cell"_s, u"Sent"_s));
    EXPECT_TRUE(find(tree, u"table cell"_s, u"Projects, 0 unread"_s) == nullptr);
    EXPECT_TRUE(find(tree, u"table cell"_s, u"A & B"_s)) << "the last piece of its name";
}

TEST_F(AccessibilityTest, TellsTheContentOfTheRowsAndHowTheyAreSorted)
{
    QList<AccessibleNode> tree = accessibleTree();
    for (const QString& cell : {u"Unread"_s, u"Has attachments"_s, u"Starred"_s, u"Ada"_s, u"Subject 1"_s})
        EXPECT_TRUE(find(tree, u"table cell"_s, cell)) << cell.toStdString();
    EXPECT_TRUE(find(tree, u"table column header"_s, u"Date, sorted, descending"_s))
        << described(tree).toStdString();
    EXPECT_TRUE(find(tree, u"table column header"_s, u"From"_s));
    model().setSortOrder({{SortField::from, Qt::AscendingOrder}});
    tree = accessibleTree();
    EXPECT_TRUE(find(tree, u"table column header"_s, u"From, sorted, ascending"_s));
    EXPECT_TRUE(find(tree, u"table column header"_s, u"Date"_s));
}

TEST_F(AccessibilityTest, NamesTheItemsOfTheMenus)
{
    for (const QString& title : {u"File"_s, u"Edit"_s, u"View"_s, u"Mailbox"_s, u"Message"_s, u"Help"_s}) {
        QMenu* const shown = menu(title);
        shown->popup(mail.window->mapToGlobal(QPoint(20, 40)));
        ASSERT_TRUE(waitUntil([shown] { return shown->isVisible(); }));
        expectNames();
        shown->close();
        settle();
    }
}

TEST_F(AccessibilityTest, NamesTheAlertsOfTheMainWindow)
{
    model().report(std::make_exception_ptr(MailError::protocolError(u"It broke."_s)),
                   mail.fixture.account().id);
    expectNamesOf("errorAlert");
    model().beginDeleteLabel(folders[0], mail.fixture.account().id);
    expectNamesOf("labelDeletion");
    model().beginCreateLabel(mail.fixture.account().id, folders[0]);
    expectNamesOf<QDialog>("labelSheet");
    model().beginRenameLabel(folders[0], mail.fixture.account().id);
    expectNamesOf<QDialog>("labelSheet");
    openMenuOfBar(*mail.window, u"Help"_s);
    chooseByKeys({u"About Larkhaven"_s});
    expectNamesOf("about");
}

TEST_F(WelcomeAccessibilityTest, NamesTheWelcome)
{
    expectNames();
}

TEST_F(WelcomeAccessibilityTest, NamesTheWindowOfASignIn)
{
    Wakeup answer;
    mail.fixture.setSignIn([&answer](ProviderKind, const QUuid&, const std::optional<QString>&,
                                     const std::stop_token&) -> Task<SignInService::SignedIn> {
        static const auto wait = [](Wakeup* wakeup) -> Task<SignInService::SignedIn> {
            co_await wakeup->wait(std::chrono::seconds(60));
            throw MailError::cancelled();
        };
        return wait(&answer);
    });
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return mail.child<SignInWindow>("signInWindow").isVisible(); }));
    expectNames();
    answer.notify();
    EXPECT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
}

// --- The reader

TEST_F(AccessibilityTest, NamesWhatTheReaderHolds)
{
    read("From: Ada <ada@example.com>\r\nTo: Mia <mia@example.org>\r\nCc: b@example.org\r\n"
         "Subject: Pictures\r\nDate: Fri, 15 Mar 2024 11:00:00 +0000\r\nMIME-Version: 1.0\r\n"
         "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/html\r\n\r\n"
         "<p>Hello <img src=\"https://img.example/a.png\" width=50 height=50></p>\r\n--b\r\n"
         "Content-Type: text/plain\r\nContent-Disposition: attachment; "
         "filename=notes.txt\r\n\r\nx\r\n--b--\r\n");
    expectNames();
    QTest::keyClick(mail.window.get(), Qt::Key_U, Qt::ControlModifier);
    const auto source = [this] {
        return mail.window->sourceWindows().window(mail.fixture.account().id, u"1"_s);
    };
    ASSERT_TRUE(waitUntil([&] { return source() && source()->isVisible(); }));
    settle();
    expectNames();
    source()->close();
}

TEST_F(AccessibilityTest, NamesTheWarningAboutALink)
{
    read("Subject: x\r\nContent-Type: text/html\r\n\r\n<p>Hello</p>");
    mail.window->reader().followLink(link(u"https://xn--e1awd7f.example/a"_s, u"paypal.com"_s));
    expectNamesOf("linkAlert");
}

TEST_F(AccessibilityTest, NamesAMessageThatCouldNotBeLoaded)
{
    provider().failAlways(u"fetchRaw"_s, MailError::protocolError(u"Gone"_s));
    mail.read(u"1"_s);
    EXPECT_EQ(mail.window->reader().loadError(), u"Mail protocol error: Gone"_s);
    expectNames();
    expectNodes({{"filler", "Couldn't Load Message"},
                 {"alert", "Something went wrong"},
                 {"label", "Mail protocol error: Gone"}});
    const QList<AccessibleNode> tree = accessibleTree();
    const AccessibleNode* const said = find(tree, u"filler"_s, u"Couldn't Load Message"_s);
    ASSERT_TRUE(said);
    EXPECT_EQ(said->description, u"Mail protocol error: Gone");
}

// --- Writing

TEST_F(AccessibilityTest, NamesWhatAComposeWindowHolds)
{
    ComposeWindow& window = compose(u"ada@example.com"_s);
    window.view().setShowsBcc(true);
    window.view().addFiles({file(u"notes.txt"_s), file(u"plan.pdf"_s)});
    ASSERT_TRUE(waitUntil([&window] { return window.view().draft().attachments.size() == 2; }));
    settle();
    expectNames();
    const QList<AccessibleNode> tree = accessibleTree();
    EXPECT_TRUE(find(tree, u"push button"_s, u"Remove notes.txt"_s));
    for (const char* const field : {"To", "Cc", "Bcc", "Subject"})
        EXPECT_TRUE(find(tree, u"text"_s, QLatin1StringView(field))) << field;
    auto* const plain = window.findChild<QAbstractButton*>(u"plainText"_s);
    ASSERT_TRUE(plain);
    QTest::mouseClick(plain, Qt::LeftButton);
    settle();
    expectNames();
}

TEST_F(AccessibilityTest, NamesTheAlertsOfAComposeWindow)
{
    ComposeWindow& window = compose(u"ada@example.com"_s);
    QTest::keyClicks(window.findChild<QLineEdit*>(u"subject"_s), u"Words"_s);
    window.close();
    QMessageBox* question = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        for (auto* const box : window.findChildren<QMessageBox*>())
            question = box->isVisible() ? box : question;
        return question;
    }));
    expectNames();
    question->reject();
    settle();
    window.view().addFiles({QUrl::fromLocalFile(folder.path())});
    question = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        for (auto* const box : window.findChildren<QMessageBox*>())
            question = box->isVisible() ? box : question;
        return question;
    }));
    expectNames();
    question->reject();
    settle();
}

// --- Accounts and settings

TEST_F(AccessibilityTest, NamesTheScrollBarsOfWhatDoesNotFit)
{
    QTest::keyClick(mail.window.get(), Qt::Key_Comma, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([] { return visibleWindow<SettingsView>(); }));
    visibleWindow<SettingsView>()->open(SettingsView::Pane::privacy);
    Style::shared().setTextSize(28);
    visibleWindow<SettingsView>()->resize(720, 480);
    settle();
    const QList<AccessibleNode> tree = accessibleTree();
    EXPECT_TRUE(find(tree, u"scroll bar"_s, u"Vertical Scroll Bar"_s)) << described(tree).toStdString();
    expectNames();
    visibleWindow<SettingsView>()->close();
    Style::shared().setTextSize(Style::standardTextSize);
}

TEST_F(AccessibilityTest, NamesTheFormOfAnAccount)
{
    mail.window->openSetup();
    ASSERT_TRUE(waitUntil([] { return visibleWindow<IMAPSetupView>(); }));
    IMAPSetupView& form = *visibleWindow<IMAPSetupView>();
    expectNames();
    QTest::mouseClick(form.findChild<QToolButton*>(u"setupDisclosure"_s), Qt::LeftButton);
    settle();
    expectNames();
    const QList<AccessibleNode> tree = accessibleTree();
    const AccessibleNode* const disclosure = find(tree, u"push button"_s, u"Server Settings"_s);
    ASSERT_TRUE(disclosure) << described(tree).toStdString();
    EXPECT_TRUE(disclosure->is("expanded"));
    EXPECT_FALSE(disclosure->is("checkable"));
    for (const char* const name : {"Security of the Incoming Server", "Security of the Outgoing Server"})
        EXPECT_TRUE(find(tree, u"combo box"_s, QLatin1StringView(name))) << name;
    form.close();
}

TEST_F(AccessibilityTest, NamesTheSettings)
{
    QTest::keyClick(mail.window.get(), Qt::Key_Comma, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([] { return visibleWindow<SettingsView>(); }));
    for (const auto pane : {SettingsView::Pane::accounts, SettingsView::Pane::general,
                            SettingsView::Pane::composing, SettingsView::Pane::privacy}) {
        visibleWindow<SettingsView>()->open(pane);
        if (pane == SettingsView::Pane::accounts)
            visibleWindow<SettingsView>()->open(mail.fixture.account().id);
        settle();
        expectNames();
    }
    visibleWindow<SettingsView>()->close();
}

} // namespace
} // namespace Larkhaven
