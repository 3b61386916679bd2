#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/SearchField.h"
#include "views/main/SidebarView.h"
#include "views/style/AlertText.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class MailCommandsTest : public testing::Test {
protected:
    explicit MailCommandsTest(const Account& account = ModelFixture::imapAccount())
        : mail(QList{account})
    {}

    void SetUp() override
    {
        provider().setLabels({work});
        provider().setCanPutBack(true);
        QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 60);
        rows[1].isRead = false;
        mail.fill(rows);
        mail.open();
        ASSERT_TRUE(waitUntil([this] { return !model().labels(mail.fixture.account().id).isEmpty(); }));
        provider().forgetCalls();
    }

    FakeMailProvider& provider() { return mail.fixture.provider(); }
    AppModel& model() { return mail.model(); }
    QMenu* menu(const QString& title)
    {
        for (const QAction* const action : mail.window->menuBar()->actions()) {
            if (QString(action->text()).remove(u'&') == title)
                return action->menu();
        }
        return nullptr;
    }
    QMenu* submenu(const char* name)
    {
        return mail.window->menuBar()->findChild<QMenu*>(QLatin1StringView(name));
    }
    void press(const QString& chord)
    {
        mail.table().setFocus();
        QTest::keySequence(mail.window.get(), QKeySequence(chord));
        settle();
    }
    void choose(const QString& title, const QStringList& items)
    {
        openMenuOfBar(*mail.window, title);
        chooseByKeys(items);
    }
    void select(const QString& id) { model().setSelection({id}); }

    const MailLabel work{u"W"_s, u"Work"_s};
    MailWindow mail;
};

class GoogleCommandsTest : public MailCommandsTest {
protected:
    GoogleCommandsTest()
        : MailCommandsTest(ModelFixture::googleAccount())
    {}
};

// --- What the menus hold

TEST_F(MailCommandsTest, ListsItsMenusInTheirOrder)
{
    QStringList titles;
    for (const QAction* const action : mail.window->menuBar()->actions())
        titles.append(QString(action->text()).remove(u'&'));
    EXPECT_EQ(titles, (QStringList{u"File"_s, u"Edit"_s, u"View"_s, u"Mailbox"_s, u"Message"_s, u"Help"_s}));
    EXPECT_EQ(linesOf(*menu(u"File"_s)),
              (QStringList{u"New Message [Ctrl+N]"_s, u"-"_s, u"Quit [Ctrl+Q]"_s}));
    EXPECT_EQ(linesOf(*menu(u"Edit"_s)),
              (QStringList{u"Undo [Ctrl+Z]"_s, u"Redo [Ctrl+Shift+Z]"_s, u"-"_s, u"Cut [Ctrl+X]"_s,
                           u"Copy [Ctrl+C]"_s, u"Paste [Ctrl+V]"_s, u"Select All [Ctrl+A]"_s, u"-"_s,
                           u"Find… [Ctrl+F]"_s, u"-"_s, u"Settings… [Ctrl+,]"_s}));
    EXPECT_EQ(linesOf(*menu(u"View"_s)),
              (QStringList{u"Sort By ▸"_s, u"Show Preview Text ✓"_s, u"-"_s,
                           u"Make Text Bigger [Ctrl++; Ctrl+=]"_s, u"Make Text Smaller [Ctrl+-]"_s,
                           u"Actual Size [Ctrl+0]"_s, u"-"_s, u"Columns ▸"_s, u"Show Sidebar [F9] ✓"_s}));
    EXPECT_EQ(linesOf(*submenu("sortBy")),
              (QStringList{u"(Sort This Page By)"_s, u"Date ✓"_s, u"From"_s, u"Subject"_s, u"Unread"_s,
                           u"Starred"_s, u"Attachments"_s, u"-"_s, u"(Order)"_s, u"Ascending"_s,
                           u"Descending ✓"_s}));
}

TEST_F(MailCommandsTest, ListsWhatCanBeDoneToAMailbox)
{
    EXPECT_EQ(
        linesOf(*menu(u"Mailbox"_s)),
        (QStringList{u"Get All New Mail [Ctrl+Shift+N]"_s, u"-"_s,
                     u"Newest Messages [Ctrl+Alt+Home; Ctrl+Alt+Up]"_s, u"(Newer Messages [Ctrl+Alt+[])"_s,
                     u"Older Messages [Ctrl+Alt+]]"_s, u"Oldest Messages [Ctrl+Alt+End; Ctrl+Alt+Down]"_s,
                     u"-"_s, u"Go To ▸"_s, u"-"_s, u"New Folder…"_s, u"(Rename Folder…)"_s,
                     u"(Delete Folder…)"_s, u"-"_s, u"Add Account ▸"_s, u"Accounts…"_s}));
    EXPECT_EQ(
        linesOf(*submenu("goTo")),
        (QStringList{u"Inbox [Ctrl+1]"_s, u"Flagged [Ctrl+2]"_s, u"Sent [Ctrl+3]"_s, u"Drafts [Ctrl+4]"_s,
                     u"Archive [Ctrl+5]"_s, u"Junk [Ctrl+6]"_s, u"Trash [Ctrl+7]"_s}));
    model().selectMailbox(MailboxRef::label({u"W"_s, u"R&D \u202e/Work \u200bplans"_s}));
    EXPECT_TRUE(linesOf(*menu(u"Mailbox"_s)).contains(u"Rename “Work plans”…"_s))
        << linesOf(*menu(u"Mailbox"_s)).join(u'\n').toStdString();
    EXPECT_TRUE(linesOf(*menu(u"Mailbox"_s)).contains(u"Delete “Work plans”…"_s));
}

TEST_F(MailCommandsTest, ListsWhatCanBeDoneToAMessage)
{
    select(u"2"_s);
    EXPECT_EQ(
        linesOf(*menu(u"Message"_s)),
        (QStringList{u"Open [Ctrl+O]"_s, u"-"_s, u"Reply [Ctrl+R]"_s, u"Reply All [Ctrl+Shift+R]"_s,
                     u"Forward [Ctrl+Shift+F]"_s, u"-"_s, u"Mark as Read [Ctrl+Shift+U]"_s,
                     u"Add Star [Ctrl+Shift+L]"_s, u"-"_s, u"Archive [Ctrl+Alt+A]"_s, u"Move To ▸"_s,
                     u"(Label As ▸)"_s, u"Mark as Junk [Ctrl+Shift+J]"_s,
                     u"Delete [Ctrl+Del; Ctrl+Backspace]"_s, u"-"_s, u"Show Messages from Sender"_s,
                     u"Copy Sender Address"_s, u"Save As… [Ctrl+Shift+S]"_s, u"Show Source [Ctrl+U]"_s}));
    select(u"1"_s);
    EXPECT_EQ(linesOf(*menu(u"Message"_s))[6], u"Mark as Unread [Ctrl+Shift+U]");
    model().setSelection({u"1"_s, u"2"_s});
    const QStringList ofTwo = linesOf(*menu(u"Message"_s));
    EXPECT_EQ(ofTwo[0], u"(Open [Ctrl+O])");
    EXPECT_EQ(ofTwo[6], u"Mark as Read [Ctrl+Shift+U]");
    EXPECT_EQ(ofTwo[9], u"Archive [Ctrl+Alt+A]");
    EXPECT_EQ(ofTwo[17], u"(Save As… [Ctrl+Shift+S])");
    model().setSelection({});
    for (const QAction* const action : menu(u"Message"_s)->actions())
        EXPECT_TRUE(action->isSeparator() || !action->isEnabled()) << action->text().toStdString();
}

TEST_F(MailCommandsTest, FollowsAnOpenMessageThatHasLeftThePage)
{
    provider().setRaw(u"2"_s, "From: a@b.example\r\nSubject: S\r\n\r\ntext"_ba);
    mail.read(u"2"_s);
    mail.fill(ModelFixture::rows(mail.fixture.account(), 60).sliced(2));
    model().start(model().refresh());
    ASSERT_TRUE(waitUntil([this] { return model().messages().value(0).id == u"3"; }));
    const auto& star = mail.child<QToolButton>("star");
    const auto picture = [&star] { return star.icon().pixmap(16, 16).toImage(); };
    const QImage plain = picture();
    EXPECT_EQ(linesOf(*menu(u"Message"_s))[7], u"Add Star [Ctrl+Shift+L]");
    press(u"Ctrl+Shift+L"_s);
    EXPECT_EQ(linesOf(*menu(u"Message"_s))[7], u"Remove Star [Ctrl+Shift+L]");
    EXPECT_NE(picture(), plain);
    EXPECT_EQ(linesOf(*menu(u"Message"_s))[6], u"Mark as Unread [Ctrl+Shift+U]");
    press(u"Ctrl+Shift+U"_s);
    EXPECT_EQ(linesOf(*menu(u"Message"_s))[6], u"Mark as Read [Ctrl+Shift+U]");
}

TEST_F(MailCommandsTest, ActsOnTheOpenMessageInTheJunkAndInTheDrafts)
{
    const QByteArray raw = "From: a@b.example\r\nSubject: S\r\n\r\ntext"_ba;
    const auto openIn = [&](Mailbox role) {
        provider().setListing(MailboxRef::system(role), ModelFixture::rows(mail.fixture.account(), 3));
        provider().setRaw(u"2"_s, raw);
        model().selectMailbox(MailboxRef::system(role));
        ASSERT_TRUE(waitUntil([this] { return !model().isLoading() && model().messages().size() == 3; }));
        mail.read(u"2"_s);
        // What is selected in the list counts for nothing while a message is open.
        select(u"3"_s);
    };
    openIn(Mailbox::spam);
    EXPECT_TRUE(linesOf(*menu(u"Message"_s)).contains(u"Not Spam [Ctrl+Shift+J]"_s));
    provider().forgetCalls();
    press(u"Ctrl+Shift+J"_s);
    EXPECT_EQ(provider().calls().value(0), u"moveToInbox 2"_s);
    EXPECT_TRUE(model().path().isEmpty());
    openIn(Mailbox::drafts);
    EXPECT_EQ(linesOf(*menu(u"Message"_s))[0], u"Edit Draft [Ctrl+O]"_s);
    provider().forgetCalls();
    press(u"Ctrl+O"_s);
    ASSERT_TRUE(waitUntil([this] { return mail.window->composeWindows().windows().size() == 1; }));
    EXPECT_EQ(mail.window->composeWindows().windows().first()->view().draft().draftMessageID, u"2"_s);
}

TEST_F(GoogleCommandsTest, CallsThingsAsGoogleDoes)
{
    select(u"2"_s);
    const QStringList lines = linesOf(*menu(u"Message"_s));
    EXPECT_TRUE(lines.contains(u"Label As ▸"_s));
    EXPECT_TRUE(lines.contains(u"Report Spam [Ctrl+Shift+J]"_s));
    EXPECT_TRUE(linesOf(*menu(u"Mailbox"_s)).contains(u"New Label…"_s));
    EXPECT_EQ(linesOf(*submenu("goTo"))[1], u"Starred [Ctrl+2]");
    QMenu* const labels = submenu("labelAs");
    openMenuOfBar(*mail.window, u"Message"_s);
    walkTo(*openedMenu(), u"Label As"_s);
    pressKey(Qt::Key_Right);
    ASSERT_TRUE(waitUntil([labels] { return openedMenu() == labels; }));
    EXPECT_EQ(linesOf(*labels), (QStringList{u"Work"_s, u"-"_s, u"New Label…"_s}));
    pressKey(Qt::Key_Escape);
    pressKey(Qt::Key_Escape);
}

TEST_F(MailCommandsTest, TurnsOffWhatNeedsAnAccountWhereThereIsNone)
{
    MailWindow empty{QList<Account>()};
    empty.open();
    const auto find = [&empty](const char* name) {
        return empty.window->menuBar()->findChild<QAction*>(QLatin1StringView(name));
    };
    for (const char* const name :
         {"newMessage", "getAllNewMail", "newestMessages", "oldestMessages", "goTo1", "newLabel",
          "renameLabel", "deleteLabel", "open", "reply", "archive", "saveAs"}) {
        ASSERT_TRUE(find(name)) << name;
        EXPECT_FALSE(find(name)->isEnabled()) << name;
    }
    for (const char* const name : {"accounts", "settings", "addIMAP", "quit", "about"})
        EXPECT_TRUE(find(name)->isEnabled()) << name;
}

// --- What they do, by real keys

struct Chord {
    const char* chord;
    const char* call; ///< what the service is asked for
};

TEST_F(MailCommandsTest, ActsOnTheSelectionByItsChords)
{
    const Chord table[]{
        {"Ctrl+Shift+U", "setRead true 2"},
        {"Ctrl+Shift+L", "setStarred true 2"},
        {"Ctrl+Alt+A", "archive 2"},
        {"Ctrl+Shift+J", "markSpam 2"},
        {"Ctrl+Del", "trash 2"},
        {"Ctrl+Backspace", "trash 2"},
    };
    for (const Chord& row : table) {
        QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 4);
        rows[1].isRead = false;
        mail.fill(rows);
        model().start(model().firstPage());
        ASSERT_TRUE(waitUntil([this] { return !model().isLoading() && model().messages().size() == 4; }));
        select(u"2"_s);
        provider().forgetCalls();
        press(QString::fromLatin1(row.chord));
        EXPECT_EQ(provider().calls().value(0), QLatin1StringView(row.call)) << row.chord;
    }
}

TEST_F(MailCommandsTest, OpensWritesAndShowsByItsChords)
{
    const auto windows = [this] { return mail.window->composeWindows().windows().size(); };
    provider().setRaw(u"2"_s, "From: a@b.example\r\nSubject: S\r\n\r\ntext"_ba);
    select(u"2"_s);
    press(u"Ctrl+O"_s);
    EXPECT_EQ(model().path(), QStringList(u"2"_s));
    model().setPath({});
    qsizetype opened = 0;
    for (const char* const chord : {"Ctrl+N", "Ctrl+R", "Ctrl+Shift+R", "Ctrl+Shift+F"}) {
        select(u"2"_s);
        activate(*mail.window);
        press(QString::fromLatin1(chord));
        ++opened;
        EXPECT_TRUE(waitUntil([&] { return windows() == opened; })) << chord;
    }
}

TEST_F(MailCommandsTest, LeafsAndGoesByItsChords)
{
    const Chord pages[]{{"Ctrl+Alt+]", "26–50 of 60"},    {"Ctrl+Alt+[", "1–25 of 60"},
                        {"Ctrl+Alt+End", "51–60 of 60"},  {"Ctrl+Alt+Home", "1–25 of 60"},
                        {"Ctrl+Alt+Down", "51–60 of 60"}, {"Ctrl+Alt+Up", "1–25 of 60"}};
    for (const Chord& row : pages) {
        press(QString::fromLatin1(row.chord));
        EXPECT_TRUE(waitUntil([&] { return model().pagerText() == QString::fromUtf8(row.call); }))
            << row.chord << ": " << model().pagerText().toStdString();
    }
    for (size_t number = 0; number < allMailboxes.size(); ++number) {
        press(u"Ctrl+%1"_s.arg(number + 1));
        EXPECT_EQ(model().sidebarSelection()->ref.role(), allMailboxes[number]);
    }
    provider().forgetCalls();
    press(u"Ctrl+Shift+N"_s);
    EXPECT_FALSE(provider().calls(u"listMessages"_s).isEmpty());
}

TEST_F(MailCommandsTest, DoesNothingWithOldestMessagesWhileAPageLoads)
{
    provider().hold(u"listMessages"_s);
    model().start(model().nextPage());
    provider().forgetCalls();
    press(u"Ctrl+Alt+End"_s);
    EXPECT_TRUE(provider().calls().isEmpty());
    provider().stopHolding(u"listMessages"_s);
    provider().completeAll();
    settle();
}

TEST_F(MailCommandsTest, MovesBackWithUndoUnlessTextIsBeingEdited)
{
    select(u"2"_s);
    press(u"Ctrl+Alt+A"_s);
    ASSERT_TRUE(waitUntil([this] { return model().undoOffer().has_value(); }));
    SearchField& search = mail.child<SearchField>("searchField");
    search.setFocus();
    QTest::keyClicks(&search, u"ab"_s);
    QTest::keySequence(&search, QKeySequence(u"Ctrl+Z"_s));
    settle();
    EXPECT_TRUE(search.text().isEmpty());
    EXPECT_TRUE(provider().calls(u"putBack"_s).isEmpty());
    press(u"Ctrl+Z"_s);
    EXPECT_EQ(provider().calls(u"putBack"_s), QStringList(u"putBack 2"_s));
}

TEST_F(MailCommandsTest, SortsAndShowsByTheMenu)
{
    choose(u"View"_s, {u"Sort By"_s, u"Subject"_s});
    EXPECT_EQ(model().sortOrder(), (QList<SortComparator>{{SortField::subject, Qt::DescendingOrder}}));
    choose(u"View"_s, {u"Sort By"_s, u"Ascending"_s});
    EXPECT_EQ(model().sortOrder(), (QList<SortComparator>{{SortField::subject, Qt::AscendingOrder}}));
    // The menu follows what a click on a title does.
    QHeaderView& header = *mail.table().horizontalHeader();
    const auto from = static_cast<int>(MessageColumn::from);
    const QPoint title(header.sectionViewportPosition(from) + header.sectionSize(from) / 2,
                       header.height() / 2);
    QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, title);
    EXPECT_EQ(model().sortOrder().value(0).field, SortField::from);
    QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, title);
    EXPECT_TRUE(mail.window->menuBar()->findChild<QAction*>(u"sortBy-from"_s)->isChecked());
    EXPECT_TRUE(mail.window->menuBar()->findChild<QAction*>(u"descending"_s)->isChecked());
    QAction* const preview = mail.window->menuBar()->findChild<QAction*>(u"showPreview"_s);
    choose(u"View"_s, {u"Show Preview Text"_s});
    EXPECT_FALSE(mail.fixture.defaults().boolean(DefaultsKey::showPreview));
    mail.fixture.defaults().set(DefaultsKey::showPreview, true);
    EXPECT_TRUE(preview->isChecked());
}

TEST_F(MailCommandsTest, ShowsColumnsByTheMenu)
{
    EXPECT_TRUE(mail.table().horizontalHeader()->isSectionHidden(static_cast<int>(MessageColumn::size)));
    choose(u"View"_s, {u"Columns"_s, u"Size"_s});
    EXPECT_EQ(submenu("columns")->actions().size(), 8);
    EXPECT_FALSE(mail.table().horizontalHeader()->isSectionHidden(static_cast<int>(MessageColumn::size)));
}

TEST_F(MailCommandsTest, MovesTheKeyboardFromPaneToPane)
{
    mail.table().setFocus();
    const auto press6 = [this](Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(mail.window.get(), Qt::Key_F6, modifiers);
        return QApplication::focusWidget();
    };
    EXPECT_EQ(press6(), &mail.child<QToolButton>("getMail"));
    EXPECT_EQ(press6(), &mail.window->sidebar());
    EXPECT_EQ(press6(), &mail.table());
    EXPECT_EQ(press6(Qt::ShiftModifier), &mail.window->sidebar());
    takeScreenshot(*mail.window, u"focus-sidebar"_s);
    QTest::keyClick(mail.window.get(), Qt::Key_F9);
    EXPECT_FALSE(mail.window->sidebar().isVisible());
    EXPECT_EQ(QApplication::focusWidget(), &mail.table()) << "the focus is where it can be seen";
}

TEST_F(MailCommandsTest, TellsWhatLarkhavenIs)
{
    QApplication::setWindowIcon(QIcon(Style::shared().pixmap(Symbol::envelope, 64, Qt::black, 1)));
    choose(u"Help"_s, {u"About Larkhaven"_s});
    auto* const about = mail.window->findChild<QMessageBox*>(u"about"_s);
    ASSERT_TRUE(about);
    EXPECT_TRUE(about->text().startsWith(u"Larkhaven"_s));
    const auto* const words = about->findChild<AlertText*>();
    EXPECT_EQ(words->width(), 420);
    // Also behind a change of the looks it shows the program's icon, and nothing stands on its words.
    Style::shared().setTextSize(20);
    settle();
    EXPECT_EQ(about->iconPixmap().deviceIndependentSize(), QSizeF(64, 64));
    const QAbstractButton& button = *about->button(QMessageBox::Ok);
    EXPECT_GE(button.mapTo(about, QPoint()).y(), words->mapTo(about, QPoint(0, words->height())).y());
    Style::shared().setTextSize(Style::standardTextSize);
    QApplication::setWindowIcon({});
    pressKey(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return !mail.window->findChild<QMessageBox*>(u"about"_s); }));
}

} // namespace
} // namespace Larkhaven
