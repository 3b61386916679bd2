#include "views/list/MessageActions.h"

#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeWindows.h"
#include "views/list/DraggedMessages.h"
#include "views/list/MessageTable.h"
#include "views/main/SidebarView.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QList<MailLabel> folders{{u"P"_s, u"Projects"_s}, {u"P/A"_s, u"Projects/A & B"_s}};

class ActionsTest : public testing::Test {
protected:
    explicit ActionsTest(const QList<Account>& accounts = {ModelFixture::imapAccount()})
        : mail(accounts)
    {}

    void SetUp() override
    {
        provider().setLabels(folders);
        QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 4);
        rows[1].isRead = false;
        mail.fill(rows);
        mail.open();
        ASSERT_TRUE(waitUntil([this] { return !mail.model().labels(mail.fixture.account().id).isEmpty(); }));
        provider().forgetCalls();
    }

    FakeMailProvider& provider() { return mail.fixture.provider(); }
    AppModel& model() { return mail.model(); }
    void select(const QStringList& ids) { model().setSelection(QSet<QString>(ids.cbegin(), ids.cend())); }
    void press(const QString& key)
    {
        mail.table().setFocus();
        QTest::keyClicks(&mail.table(), key);
    }
    /// Clicks with the right button on a row and gives the menu that opens.
    QMenu* menuOn(int row)
    {
        MessageTable& table = mail.table();
        QMenu* const menu =
            rightClick(*table.viewport(), table.visualRect(table.model()->index(row, 4)).center());
        EXPECT_TRUE(menu && menu->objectName() == u"messageMenu");
        return menu;
    }
    /// Titles of a menu, "-" for a line.
    static QStringList titles(const QMenu& menu)
    {
        QStringList texts;
        for (const QAction* const action : menu.actions())
            texts.append(action->isSeparator() ? u"-"_s : action->text());
        return texts;
    }
    /// Goes to the item of the open menu by the arrow keys, and chooses it.
    static void choose(QMenu* menu, const QString& name)
    {
        const auto* const action = menu->findChild<QAction*>(name);
        ASSERT_TRUE(action) << name.toStdString();
        QStringList path(plainTitle(action->text()));
        if (const auto* const submenu = qobject_cast<const QMenu*>(action->parent()); submenu != menu)
            path.prepend(plainTitle(submenu->title()));
        const QPointer<QMenu> closing(menu);
        chooseByKeys(path);
        ASSERT_TRUE(waitUntil([&closing] { return !closing; }));
    }
    QModelIndex sidebarRow(const QString& text, int section = 0)
    {
        const QAbstractItemModel& rows = *mail.window->sidebar().model();
        const QModelIndex heading = rows.index(section, 0);
        if (heading.data().toString() == text)
            return heading;
        for (int row = 0; row < rows.rowCount(heading); ++row) {
            if (rows.index(row, 0, heading).data().toString() == text)
                return rows.index(row, 0, heading);
        }
        return {};
    }
    QMenu* sidebarMenu(const QString& text)
    {
        SidebarView& sidebar = mail.window->sidebar();
        return rightClick(*sidebar.viewport(), sidebar.visualRect(sidebarRow(text)).center());
    }
    /// Drags a row, with the others that are selected where it is, to a mailbox of the sidebar.
    void dragTo(int row, const QString& mailbox, int section = 0)
    {
        MessageTable& table = mail.table();
        SidebarView& sidebar = mail.window->sidebar();
        dragFrom(*table.viewport(), table.visualRect(table.model()->index(row, 4)).center(),
                 *sidebar.viewport(), sidebar.visualRect(sidebarRow(mailbox, section)).center());
    }
    QList<ComposeWindow*> windows() { return mail.window->composeWindows().windows(); }
    QDialog* sheet() { return mail.window->findChild<QDialog*>(u"labelSheet"_s); }

    MailWindow mail;
};

class GoogleActionsTest : public ActionsTest {
protected:
    GoogleActionsTest()
        : ActionsTest({ModelFixture::googleAccount()})
    {}
};

class TwoAccountsActionsTest : public ActionsTest {
protected:
    TwoAccountsActionsTest()
        : ActionsTest({ModelFixture::imapAccount(), ModelFixture::imapAccount(u"mia@other.example"_s)})
    {}
};

// --- The context menu

TEST_F(ActionsTest, OffersWhatCanBeDoneToOneMessage)
{
    select({u"2"_s});
    QMenu* const menu = menuOn(1);
    EXPECT_EQ(titles(*menu),
              QStringList({u"Open"_s, u"-"_s, u"Reply"_s, u"Reply All"_s, u"Forward"_s, u"-"_s,
                           u"Mark as Read"_s, u"Add Star"_s, u"-"_s, u"Archive"_s, u"Move To"_s,
                           u"Mark as Junk"_s, u"Delete"_s, u"-"_s, u"Show Messages from Sender"_s,
                           u"Copy Sender Address"_s, u"Save As…"_s, u"Show Source"_s}));
    const auto* const targets = menu->findChild<QMenu*>(u"moveTo"_s);
    EXPECT_EQ(titles(*targets), QStringList({u"Inbox"_s, u"Archive"_s, u"Junk"_s, u"Trash"_s, u"-"_s,
                                             u"Projects"_s, u"Projects/A && B"_s}));
    takeScreenshot(*menu, u"message-menu"_s);
}

TEST_F(ActionsTest, OffersWhatCanBeDoneToSeveralMessages)
{
    select({u"1"_s, u"3"_s});
    EXPECT_EQ(titles(*menuOn(0)), QStringList({u"Mark as Unread"_s, u"Add Star"_s, u"-"_s, u"Archive"_s,
                                               u"Move To"_s, u"Mark as Junk"_s, u"Delete"_s}));
}

TEST_F(ActionsTest, ActsOnTheClickedRowAloneWhereItIsOutsideTheSelectionAndLeavesTheSelection)
{
    select({u"1"_s, u"2"_s});
    choose(menuOn(3), u"archive"_s);
    settle();
    EXPECT_EQ(provider().calls(u"archive"_s), QStringList(u"archive 4"_s));
    EXPECT_EQ(model().selection(), (QSet<QString>{u"1"_s, u"2"_s}));
}

TEST_F(ActionsTest, ActsOnTheWholeSelectionFromOneOfItsRows)
{
    select({u"1"_s, u"3"_s});
    choose(menuOn(2), u"delete"_s);
    settle();
    ASSERT_EQ(provider().calls(u"trash"_s).size(), 1);
    EXPECT_EQ(provider().calls(u"trash"_s)[0].size(), u"trash 1 3"_s.size());
}

TEST_F(ActionsTest, OffersNotSpamInTheJunkMailbox)
{
    provider().setListing(MailboxRef::system(Mailbox::spam), ModelFixture::rows(mail.fixture.account(), 1));
    model().selectMailbox(MailboxRef::system(Mailbox::spam));
    ASSERT_TRUE(waitUntil([this] { return !model().messages().isEmpty(); }));
    QMenu* const menu = menuOn(0);
    EXPECT_TRUE(titles(*menu).contains(u"Not Spam"_s));
    EXPECT_FALSE(titles(*menu).contains(u"Mark as Junk"_s));
    choose(menu, u"notSpam"_s);
    settle();
    EXPECT_EQ(provider().calls(u"moveToInbox"_s).size(), 1);
}

TEST_F(ActionsTest, OffersToEditADraftWhichOEdits)
{
    provider().setListing(MailboxRef::system(Mailbox::drafts), ModelFixture::rows(mail.fixture.account(), 1));
    provider().setRaw(u"1"_s, "To: a@x\r\nSubject: Half\r\n\r\nText");
    model().selectMailbox(MailboxRef::system(Mailbox::drafts));
    ASSERT_TRUE(waitUntil([this] { return !model().messages().isEmpty(); }));
    QMenu* const menu = menuOn(0);
    EXPECT_EQ(titles(*menu).first(), u"Edit Draft");
    menu->close();
    select({u"1"_s});
    press(u"o"_s);
    ASSERT_TRUE(waitUntil([this] { return windows().size() == 1; }));
    EXPECT_EQ(windows().first()->view().draft().subject, u"Half");
    EXPECT_TRUE(model().path().isEmpty()) << "the reader stays closed";
}

TEST_F(ActionsTest, CopiesTheAddressOfTheSenderAndSearchesForIt)
{
    choose(menuOn(0), u"copySender"_s);
    EXPECT_EQ(QApplication::clipboard()->text(), u"ada@example.com");
    choose(menuOn(0), u"fromSender"_s);
    EXPECT_EQ(model().searchText(), u"from:ada@example.com");
}

TEST_F(ActionsTest, SavesAMessageWhereTheUserSays)
{
    QTemporaryDir folder;
    mail.savePath = folder.filePath(u"x.eml"_s);
    provider().setRaw(u"1"_s, "Subject: x\r\n\r\nBody");
    choose(menuOn(0), u"saveAs"_s);
    EXPECT_TRUE(waitUntil([this] { return QFile::exists(mail.savePath); }));
    EXPECT_EQ(mail.suggestedNames, QStringList(u"Subject 1.eml"_s));
}

TEST_F(ActionsTest, MovesToAFolderOfTheMenu)
{
    select({u"1"_s});
    menuOn(0);
    chooseByKeys({u"Move To"_s, u"Projects/A & B"_s});
    ASSERT_EQ(provider().calls(u"moveToLabel"_s).size(), 1);
    EXPECT_TRUE(provider().calls(u"moveToLabel"_s)[0].contains(u"P/A"_s));
}

TEST_F(GoogleActionsTest, OffersLabelsWhichAreOnWhereAllMessagesCarryThem)
{
    QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 2);
    rows[0].labelIDs = {u"P"_s};
    rows[1].labelIDs = {u"P"_s, u"P/A"_s};
    mail.fill(rows);
    model().start(model().load(0, true));
    ASSERT_TRUE(waitUntil([this] { return model().messages().size() == 2; }));
    select({u"1"_s, u"2"_s});
    const QMenu* const menu = menuOn(0);
    EXPECT_TRUE(titles(*menu).contains(u"Report Spam"_s));
    auto* const marks = menu->findChild<QMenu*>(u"labelAs"_s);
    ASSERT_TRUE(marks);
    EXPECT_EQ(titles(*marks), QStringList({u"Projects"_s, u"Projects/A && B"_s, u"-"_s, u"New Label…"_s}));
    EXPECT_TRUE(marks->actions()[0]->isChecked());
    EXPECT_FALSE(marks->actions()[1]->isChecked());
    chooseByKeys({u"Label As"_s, u"Projects/A & B"_s});
    ASSERT_FALSE(provider().calls(u"setLabel"_s).isEmpty());
    EXPECT_TRUE(provider().calls(u"setLabel"_s).first().contains(u"true"_s));
    choose(menuOn(0), u"newLabel"_s);
    ASSERT_TRUE(model().labelEdit());
    EXPECT_EQ(std::get<AppModel::LabelEdit::Create>(model().labelEdit()->kind).applyTo.size(), 2);
}

// --- Single keys

TEST_F(ActionsTest, GoesToTheNextRowWithJWhichStaysOnTheLast)
{
    press(u"j"_s);
    EXPECT_EQ(model().selection(), QSet<QString>{u"1"_s});
    press(u"jjj"_s);
    EXPECT_EQ(model().selection(), QSet<QString>{u"4"_s});
    press(u"j"_s);
    EXPECT_EQ(model().selection(), QSet<QString>{u"4"_s});
}

TEST_F(ActionsTest, GoesToTheRowBeforeWithKWhichStaysOnTheFirst)
{
    select({u"2"_s});
    press(u"k"_s);
    EXPECT_EQ(model().selection(), QSet<QString>{u"1"_s});
    press(u"k"_s);
    EXPECT_EQ(model().selection(), QSet<QString>{u"1"_s});
}

TEST_F(ActionsTest, ActsOnTheSelectionWithSingleKeys)
{
    select({u"1"_s, u"2"_s});
    press(u"s"_s);
    press(u"U"_s);
    EXPECT_TRUE(model().messages()[0].isStarred && model().messages()[1].isStarred);
    EXPECT_TRUE(model().messages()[1].isRead);
    press(u"e"_s);
    settle();
    EXPECT_EQ(provider().calls(u"archive"_s).size(), 1);
    select({u"3"_s});
    press(u"#"_s);
    settle();
    EXPECT_EQ(provider().calls(u"trash"_s), QStringList(u"trash 3"_s));
    select({u"4"_s});
    press(u"o"_s);
    EXPECT_EQ(model().path(), QStringList(u"4"_s));
}

TEST_F(ActionsTest, BeginsAMessageWithC)
{
    press(u"c"_s);
    EXPECT_EQ(windows().size(), 1);
}

TEST_F(ActionsTest, LeavesSingleKeysAloneWhereTheyAreOff)
{
    model().defaults().set(DefaultsKey::gmailShortcuts, false);
    select({u"1"_s});
    press(u"e#sUc"_s);
    settle();
    EXPECT_TRUE(provider().calls(u"archive"_s).isEmpty());
    EXPECT_TRUE(provider().calls(u"trash"_s).isEmpty());
    EXPECT_FALSE(model().messages()[0].isStarred);
}

TEST_F(ActionsTest, LeavesLettersWithAModifierAlone)
{
    select({u"1"_s});
    mail.table().setFocus();
    QTest::keyClick(&mail.table(), Qt::Key_E, Qt::AltModifier);
    settle();
    EXPECT_TRUE(provider().calls(u"archive"_s).isEmpty());
}

TEST_F(ActionsTest, GoesOnFromTheSamePlaceAfterARemoval)
{
    QTest::mouseClick(mail.table().viewport(), Qt::LeftButton, {},
                      mail.table().visualRect(mail.table().model()->index(1, 4)).center());
    press(u"e"_s);
    settle();
    QTest::keyClick(&mail.table(), Qt::Key_Down);
    EXPECT_EQ(model().selection(), QSet<QString>{u"4"_s});
}

// --- The toolbar

TEST_F(ActionsTest, EnablesTheToolbarForWhatIsSelected)
{
    const auto isEnabled = [this](const char* name) { return mail.child<QToolButton>(name).isEnabled(); };
    for (const char* name : {"archive", "delete", "junk", "star", "reply", "replyAll", "forward"})
        EXPECT_FALSE(isEnabled(name)) << name;
    select({u"1"_s, u"2"_s});
    for (const char* name : {"archive", "delete", "junk", "star"})
        EXPECT_TRUE(isEnabled(name)) << name;
    for (const char* name : {"reply", "replyAll", "forward"})
        EXPECT_FALSE(isEnabled(name)) << name;
    select({u"1"_s});
    EXPECT_TRUE(isEnabled("reply"));
    EXPECT_EQ(mail.child<QToolButton>("junk").toolTip(), u"Mark as Junk (Ctrl+Shift+J)");
}

TEST_F(ActionsTest, ActsOnTheOpenMessageFromTheToolbar)
{
    provider().setRaw(u"3"_s, htmlMessage(u"<p>Hi</p>"_s));
    mail.read(u"3"_s);
    QTest::mouseClick(&mail.child<QToolButton>("archive"), Qt::LeftButton);
    EXPECT_TRUE(model().path().isEmpty());
    settle();
    EXPECT_EQ(provider().calls(u"archive"_s), QStringList(u"archive 3"_s));
}

// --- Dragging onto the sidebar

TEST_F(ActionsTest, DraggingARowTakesItsWholeSelectionToTheMailbox)
{
    select({u"2"_s, u"3"_s});
    dragTo(1, u"Trash"_s);
    ASSERT_TRUE(waitUntil([this] { return !provider().calls(u"trash"_s).isEmpty(); }));
    QStringList words = provider().calls(u"trash"_s).constFirst().split(u' ');
    words.sort();
    EXPECT_EQ(words, QStringList({u"2"_s, u"3"_s, u"trash"_s}));
}

TEST_F(ActionsTest, DraggingARowOutsideTheSelectionTakesItAlone)
{
    select({u"2"_s, u"3"_s});
    dragTo(0, u"Projects"_s);
    ASSERT_TRUE(waitUntil([this] { return !provider().calls(u"moveToLabel"_s).isEmpty(); }));
    const QStringList words = provider().calls(u"moveToLabel"_s).constFirst().split(u' ');
    EXPECT_TRUE(words.contains(u"1"_s));
    EXPECT_FALSE(words.contains(u"2"_s) || words.contains(u"3"_s));
    EXPECT_EQ(model().messages().size(), 3);
}

TEST_F(ActionsTest, ADragThatEndsWhereNothingIsTakenMovesNothing)
{
    select({u"2"_s});
    dragTo(1, u"Inbox"_s);
    settle();
    EXPECT_TRUE(provider().calls(u"moveToInbox"_s).isEmpty());
    EXPECT_EQ(model().messages().size(), 4);
}

TEST_F(ActionsTest, MovesADraggedMessageIntoARole)
{
    dragTo(0, u"Trash"_s);
    ASSERT_TRUE(waitUntil([this] { return !provider().calls(u"trash"_s).isEmpty(); }));
    EXPECT_EQ(provider().calls(u"trash"_s), QStringList(u"trash 1"_s));
}

TEST_F(ActionsTest, TakesNoDragToAHeading)
{
    dragTo(0, mail.fixture.account().title());
    settle();
    EXPECT_EQ(model().messages().size(), 4);
    EXPECT_TRUE(provider().calls().isEmpty());
}

TEST_F(TwoAccountsActionsTest, TakesNoDragToAMailboxOfAnotherAccount)
{
    dragTo(0, u"Trash"_s, 1);
    settle();
    EXPECT_EQ(model().messages().size(), 4);
    EXPECT_TRUE(provider().calls(u"trash"_s).isEmpty());
    EXPECT_TRUE(mail.fixture.provider(1).calls(u"trash"_s).isEmpty());
    dragTo(0, u"Trash"_s, 0);
    EXPECT_TRUE(waitUntil([this] { return !provider().calls(u"trash"_s).isEmpty(); }));
}

TEST_F(ActionsTest, GivesOtherProgramsNothingOfADraggedMessage)
{
    const DraggedMessages data(model().messages());
    EXPECT_EQ(data.formats(), QStringList(u"application/x-larkhaven-messages"_s));
    EXPECT_FALSE(data.hasText() || data.hasHtml() || data.hasUrls());
    EXPECT_TRUE(data.data(u"application/x-larkhaven-messages"_s).isEmpty());
}

// --- Folders

TEST_F(ActionsTest, OffersNewRenameAndDeleteOnAFolder)
{
    QMenu* const menu = sidebarMenu(u"A & B"_s);
    ASSERT_TRUE(menu);
    EXPECT_EQ(titles(*menu), QStringList({u"New Folder…"_s, u"New Folder Inside “A && B”…"_s,
                                          u"Rename “A && B”…"_s, u"Delete “A && B”…"_s}));
    menu->close();
}

TEST_F(ActionsTest, OffersOnlyANewFolderOnAnAccount)
{
    QMenu* const menu = sidebarMenu(mail.fixture.account().title());
    ASSERT_TRUE(menu);
    EXPECT_EQ(titles(*menu), QStringList(u"New Folder…"_s));
}

TEST_F(ActionsTest, OffersNothingOnARole)
{
    EXPECT_FALSE(sidebarMenu(u"Inbox"_s));
}

TEST_F(ActionsTest, MakesAFolderInsideAnother)
{
    choose(sidebarMenu(u"Projects"_s), u"newLabelInside"_s);
    QDialog* const dialog = sheet();
    ASSERT_TRUE(dialog && waitUntil([dialog] { return dialog->isVisible(); }));
    EXPECT_EQ(dialog->windowTitle(), u"New Folder in “Projects”");
    auto* const name = dialog->findChild<QLineEdit*>(u"labelName"_s);
    auto* const create = dialog->findChild<QPushButton*>(u"labelApply"_s);
    EXPECT_EQ(create->text(), u"Create");
    QTest::keyClicks(name, u"2026"_s);
    EXPECT_TRUE(create->isEnabled());
    takeScreenshot(*dialog, u"label-sheet"_s);
    QTest::keyClick(name, Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return !provider().calls(u"createLabel"_s).isEmpty(); }));
    EXPECT_TRUE(provider().calls(u"createLabel"_s)[0].contains(u"Projects/"_s));
    EXPECT_FALSE(model().labelEdit());
}

TEST_F(ActionsTest, KeepsCreateOffForANameOfBlanks)
{
    choose(sidebarMenu(u"Projects"_s), u"newLabelInside"_s);
    QDialog* const dialog = sheet();
    ASSERT_TRUE(dialog && waitUntil([dialog] { return dialog->isVisible(); }));
    auto* const name = dialog->findChild<QLineEdit*>(u"labelName"_s);
    const auto* const create = dialog->findChild<QPushButton*>(u"labelApply"_s);
    EXPECT_FALSE(create->isEnabled());
    QTest::keyClicks(name, u"  "_s);
    EXPECT_FALSE(create->isEnabled());
    QTest::keyClick(name, Qt::Key_Return);
    EXPECT_TRUE(dialog->isVisible());
    QTest::keyClicks(name, u"x"_s);
    EXPECT_TRUE(create->isEnabled());
    dialog->reject();
}

TEST_F(ActionsTest, RenamesAFolderFromItsPresentName)
{
    choose(sidebarMenu(u"A & B"_s), u"renameLabel"_s);
    QDialog* const dialog = sheet();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->windowTitle(), u"Rename “A & B”");
    auto* const name = dialog->findChild<QLineEdit*>(u"labelName"_s);
    EXPECT_EQ(name->text(), u"A & B");
    EXPECT_EQ(dialog->findChild<QPushButton*>(u"labelApply"_s)->text(), u"Rename");
    name->setText(u"C"_s);
    leftClick(*dialog->findChild<QPushButton*>(u"labelApply"_s));
    EXPECT_TRUE(waitUntil([this] { return !provider().calls(u"renameLabel"_s).isEmpty(); }));
    EXPECT_TRUE(provider().calls(u"renameLabel"_s)[0].endsWith(u"Projects/C"_s));
}

TEST_F(ActionsTest, ShowsTheNameOfAFolderInItsFieldAsInATitle)
{
    const QString hostile = u"Wo\u202erk\n\u200bplans"_s;
    provider().setLabels({{u"H"_s, hostile}});
    model().start(model().refresh());
    ASSERT_TRUE(waitUntil([this] { return sidebarRow(u"Work plans"_s).isValid(); }));
    choose(sidebarMenu(u"Work plans"_s), u"renameLabel"_s);
    ASSERT_TRUE(waitUntil([this] { return sheet() && sheet()->isActiveWindow(); }));
    auto* const name = sheet()->findChild<QLineEdit*>(u"labelName"_s);
    EXPECT_EQ(name->text(), u"Work plans");
    pressKey(Qt::Key_Return);
    settle();
    for (const QString& call : provider().calls(u"renameLabel"_s))
        EXPECT_TRUE(call.endsWith(hostile)) << "what wasn't touched stays: " << call.toStdString();
    choose(sidebarMenu(u"Work plans"_s), u"renameLabel"_s);
    ASSERT_TRUE(waitUntil([this] { return sheet() && sheet()->isActiveWindow(); }));
    typeText(u"New"_s);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !provider().calls(u"renameLabel"_s).isEmpty(); }));
    EXPECT_TRUE(provider().calls(u"renameLabel"_s).constLast().endsWith(u"New"_s));
}

TEST_F(ActionsTest, KeepsTheKeyboardAtAHeadingWhenTheFoldersAreReadAgain)
{
    SidebarView& sidebar = mail.window->sidebar();
    sidebar.setFocus();
    pressKey(Qt::Key_Home);
    ASSERT_EQ(sidebar.currentIndex(), sidebarRow(mail.fixture.account().title()));
    provider().setLabels({{u"N"_s, u"New one"_s}});
    model().start(model().refresh());
    ASSERT_TRUE(waitUntil([this] { return sidebarRow(u"New one"_s).isValid(); }));
    EXPECT_EQ(sidebar.currentIndex(), sidebarRow(mail.fixture.account().title()));
    EXPECT_EQ(QApplication::focusWidget(), &sidebar);
    pressKey(Qt::Key_Left);
    EXPECT_FALSE(sidebar.isExpanded(sidebar.currentIndex()));
    pressKey(Qt::Key_Right);
    EXPECT_TRUE(sidebar.isExpanded(sidebar.currentIndex()));
}

TEST_F(ActionsTest, ForgetsALabelDialogThatIsCancelled)
{
    choose(sidebarMenu(u"Projects"_s), u"newLabel"_s);
    ASSERT_TRUE(sheet());
    sheet()->reject();
    EXPECT_FALSE(model().labelEdit());
    settle();
    EXPECT_TRUE(provider().calls(u"createLabel"_s).isEmpty());
}

TEST_F(ActionsTest, AsksBeforeAFolderIsDeleted)
{
    choose(sidebarMenu(u"Projects"_s), u"deleteLabel"_s);
    auto* const question = mail.window->findChild<QMessageBox*>(u"labelDeletion"_s);
    ASSERT_TRUE(question && waitUntil([question] { return question->isVisible(); }));
    EXPECT_EQ(question->text(), u"Delete Folder “Projects”?");
    EXPECT_EQ(question->informativeText(),
              u"The folder and every message in it are deleted from the server. This can’t be undone.");
    takeScreenshot(*question, u"label-deletion"_s);
    leftClick(*question->findChild<QPushButton*>(u"confirmDeletion"_s));
    EXPECT_TRUE(waitUntil([this] { return !provider().calls(u"deleteLabel"_s).isEmpty(); }));
}

TEST_F(ActionsTest, DeletesNoFolderWhereTheUserSaysNo)
{
    choose(sidebarMenu(u"Projects"_s), u"deleteLabel"_s);
    auto* const question = mail.window->findChild<QMessageBox*>(u"labelDeletion"_s);
    ASSERT_TRUE(question);
    leftClick(*question->button(QMessageBox::Cancel));
    EXPECT_FALSE(model().labelDeletion());
    settle();
    EXPECT_TRUE(provider().calls(u"deleteLabel"_s).isEmpty());
}

TEST_F(GoogleActionsTest, TellsThatADeletedLabelLeavesItsMessages)
{
    QMenu* const menu = sidebarMenu(u"Projects"_s);
    EXPECT_EQ(titles(*menu).first(), u"New Label…");
    choose(menu, u"deleteLabel"_s);
    auto* const question = mail.window->findChild<QMessageBox*>(u"labelDeletion"_s);
    ASSERT_TRUE(question);
    EXPECT_EQ(question->text(), u"Delete Label “Projects”?");
    EXPECT_EQ(
        question->informativeText(),
        u"The label is removed from its messages; the messages stay in All Mail. Labels nested inside it "
        "are kept.");
}

// --- Words of strangers

TEST_F(ActionsTest, SurvivesASubjectOfEighteenMillionCharacters)
{
    provider().setRaw(u"1"_s, "From: \"" + QByteArray(2'000'000, 'n') +
                                  "\" <a@x>\r\nSubject: " + QByteArray(18'000'000, 's') + "\r\n\r\nBody");
    mail.read(u"1"_s);
    EXPECT_LT(mail.window->windowTitle().size(), 2000);
    model().report(std::make_exception_ptr(MailError::unsupported(QString(1'000'000, u'x'))));
    const auto* const alert = mail.window->findChild<QMessageBox*>(u"errorAlert"_s);
    ASSERT_TRUE(alert && waitUntil([alert] { return alert->isVisible(); }));
    EXPECT_LT(alert->informativeText().size(), 2000);
}

} // namespace
} // namespace Larkhaven
