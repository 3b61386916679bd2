#include "Gestures.h"
#include "UITestSupport.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/SearchField.h"
#include "views/main/SidebarView.h"
#include "views/reader/SourceWindows.h"
#include "views/settings/SettingsView.h"
#include "views/setup/IMAPSetupView.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTabBar>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

// Every item of the menu bar: its chord, when it is turned on, and what it does, by the keys that a user
// presses.

namespace Larkhaven {
namespace {

/// A situation of the window, by the letter under which the table knows it.
enum Situation : char {
    Welcome = 'w', ///< there is no account
    Nothing = '-', ///< nothing is selected, on the first page of two
    SecondPage = 'p',
    One = '1', ///< one row is selected
    Two = '2',
    OpenMessage = 'o',
    ShownLabel = 'l', ///< the mailbox of a label, which is empty
    Google = 'g',     ///< one row of a Google account is selected
};
constexpr const char* allSituations = "w-p12olg";

struct Item {
    const char* name;
    const char* chords;
    const char* on; ///< situations in which it is turned on
};

constexpr const char* always = "w-p12olg";
constexpr const char* withAccount = "-p12olg";
constexpr const char* withRows = "-p12og"; ///< of the page
constexpr const char* withOne = "1og";
constexpr const char* withAny = "12og";

constexpr Item items[]{
    {"newMessage", "Ctrl+N", withAccount},
    {"quit", "Ctrl+Q", always},
    {"find", "Ctrl+F", withAccount},
    {"settings", "Ctrl+,", always},
    {"sortBy-date", "", always},
    {"sortBy-from", "", always},
    {"sortBy-subject", "", always},
    {"sortBy-unread", "", always},
    {"sortBy-starred", "", always},
    {"sortBy-attachments", "", always},
    {"ascending", "", always},
    {"descending", "", always},
    {"showPreview", "", always},
    {"textBigger", "Ctrl++; Ctrl+=", always},
    {"textSmaller", "Ctrl+-", always},
    {"textActualSize", "Ctrl+0", always},
    {"toggleSidebar", "F9", withAccount},
    {"getAllNewMail", "Ctrl+Shift+N", withAccount},
    {"newestMessages", "Ctrl+Alt+Home; Ctrl+Alt+Up", withRows},
    {"newerMessages", "Ctrl+Alt+[", "p"},
    {"olderMessages", "Ctrl+Alt+]", "-12og"},
    {"oldestMessages", "Ctrl+Alt+End; Ctrl+Alt+Down", withRows},
    {"goTo1", "Ctrl+1", withAccount},
    {"goTo2", "Ctrl+2", withAccount},
    {"goTo3", "Ctrl+3", withAccount},
    {"goTo4", "Ctrl+4", withAccount},
    {"goTo5", "Ctrl+5", withAccount},
    {"goTo6", "Ctrl+6", withAccount},
    {"goTo7", "Ctrl+7", withAccount},
    {"newLabel", "", withAccount},
    {"renameLabel", "", "l"},
    {"deleteLabel", "", "l"},
    {"addGoogle", "", always},
    {"addMicrosoft", "", always},
    {"addIMAP", "", always},
    {"accounts", "", always},
    {"open", "Ctrl+O", withOne},
    {"reply", "Ctrl+R", withOne},
    {"replyAll", "Ctrl+Shift+R", withOne},
    {"forward", "Ctrl+Shift+F", withOne},
    {"toggleRead", "Ctrl+Shift+U", withAny},
    {"toggleStarred", "Ctrl+Shift+L", withAny},
    {"archive", "Ctrl+Alt+A", withAny},
    {"moveTo", "", withAny},
    {"labelAs", "", "g"},
    {"reportSpam", "Ctrl+Shift+J", withAny},
    {"delete", "Ctrl+Del; Ctrl+Backspace", withAny},
    {"fromSender", "", withOne},
    {"copySender", "", withOne},
    {"saveAs", "Ctrl+Shift+S", withOne},
    {"showSource", "Ctrl+U", withOne},
    {"about", "", always},
};

/// They follow what the keyboard is in, and have a table of their own.
const QStringList editing{u"undo"_s, u"redo"_s, u"cut"_s, u"copy"_s, u"paste"_s, u"selectAll"_s};

const MailLabel work{u"W"_s, u"Work"_s};
const QByteArray raw = "From: Ada <ada@example.com>\r\nTo: mia@example.org\r\nSubject: S\r\n\r\ntext"_ba;

Account accountOf(Situation situation)
{
    return situation == Google ? ModelFixture::googleAccount() : ModelFixture::imapAccount();
}

class MenuTableTest : public testing::Test {
protected:
    void begin(Situation situation)
    {
        mail.reset();
        const QList<Account> accounts =
            situation == Welcome ? QList<Account>() : QList<Account>{accountOf(situation)};
        mail = std::make_unique<MailWindow>(accounts, ModelFixture::info());
        if (situation != Welcome) {
            provider().setLabels({work});
            provider().setCanPutBack(true);
            provider().setRaw(u"2"_s, raw);
            fill();
        }
        mail->open();
        if (situation != Welcome) {
            ASSERT_TRUE(waitUntil([this] { return !model().labels(mail->fixture.account().id).isEmpty(); }));
        }
        enter(situation);
        settle();
    }
    void fill()
    {
        QList<MessageSummary> rows = ModelFixture::rows(mail->fixture.account(), 40);
        rows[1].isRead = false;
        mail->fill(rows);
    }
    void enter(Situation situation)
    {
        if (situation == One || situation == Google)
            model().setSelection({u"2"_s});
        else if (situation == Two)
            model().setSelection({u"2"_s, u"3"_s});
        else if (situation == OpenMessage)
            mail->read(u"2"_s);
        else if (situation == ShownLabel)
            model().selectMailbox(MailboxRef::label(work));
        else if (situation == SecondPage)
            model().start(model().nextPage());
        ASSERT_TRUE(waitUntil([this] { return !model().isLoading(); }));
    }
    QAction* action(const char* name)
    {
        const auto* const menu = bar().findChild<QMenu*>(QLatin1StringView(name));
        return menu ? menu->menuAction() : bar().findChild<QAction*>(QLatin1StringView(name));
    }
    QMenuBar& bar() { return *mail->window->menuBar(); }
    AppModel& model() { return mail->model(); }
    FakeMailProvider& provider() { return mail->fixture.provider(); }
    template <typename Window>
    static Window* visible()
    {
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (auto* const found = qobject_cast<Window*>(window); found && found->isVisible())
                return found;
        }
        return nullptr;
    }
    void activate()
    {
        Larkhaven::activate(*mail->window);
        mail->table().setFocus();
    }

    std::unique_ptr<MailWindow> mail;
};

// --- When they are turned on

TEST_F(MenuTableTest, TurnsItsItemsOnWhereTheyDoSomething)
{
    for (const char* letter = allSituations; *letter; ++letter) {
        begin(static_cast<Situation>(*letter));
        for (const Item& item : items) {
            const QAction* const found = action(item.name);
            ASSERT_TRUE(found) << item.name;
            EXPECT_EQ(found->isEnabled(), std::strchr(item.on, *letter) != nullptr)
                << item.name << " in the situation " << *letter;
            EXPECT_EQ(QKeySequence::listToString(found->shortcuts(), QKeySequence::PortableText),
                      QLatin1StringView(item.chords))
                << item.name;
        }
    }
}

TEST_F(MenuTableTest, HasNoItemBesideThoseOfItsTable)
{
    begin(One);
    QSet<QString> known(editing.cbegin(), editing.cend());
    for (const Item& item : items)
        known.insert(QLatin1StringView(item.name));
    QStringList chords;
    const std::function<void(const QMenu&)> look = [&](const QMenu& menu) {
        for (const QAction* const item : menu.actions()) {
            const bool isCaption = !item->isEnabled() && item->objectName().isEmpty() && !item->menu();
            if (item->isSeparator() || isCaption)
                continue;
            const QMenu* const submenu = item->menu();
            const QString name = submenu ? submenu->objectName() : item->objectName();
            if (submenu && !known.contains(name))
                look(*submenu);
            else
                EXPECT_TRUE(known.contains(name)) << item->text().toStdString();
            for (const QKeySequence& chord : item->shortcuts())
                chords.append(chord.toString());
        }
    };
    for (const QAction* const menu : bar().actions())
        look(*menu->menu());
    EXPECT_EQ(QSet<QString>(chords.cbegin(), chords.cend()).size(), chords.size()) << "a chord stands twice";
}

TEST_F(MenuTableTest, TurnsTheItemsOfEditOnForWhatTheKeyboardIsIn)
{
    begin(One);
    SearchField& search = mail->child<SearchField>("searchField");
    const auto on = [this] {
        const QMenu* const menu = openMenuOfBar(*mail->window, u"Edit"_s);
        QStringList names;
        for (const QString& name : editing) {
            if (action(name.toLatin1().constData())->isEnabled())
                names.append(name);
        }
        pressKey(Qt::Key_Escape);
        EXPECT_TRUE(waitUntil([menu] { return !menu->isVisible(); }));
        // The bar keeps the keyboard until it is told once more.
        pressKey(Qt::Key_Escape);
        EXPECT_TRUE(waitUntil([this] { return QApplication::focusWidget() != &bar(); }));
        settle();
        return names.join(u' ');
    };
    QApplication::clipboard()->clear();
    mail->table().setFocus();
    EXPECT_EQ(on(), u"selectAll");
    search.setFocus();
    EXPECT_EQ(on(), u"");
    QTest::keyClicks(&search, u"ab"_s);
    EXPECT_EQ(on(), u"undo selectAll");
    pressChord(u"Ctrl+A"_s);
    EXPECT_EQ(on(), u"undo cut copy selectAll");
    // A line lets go of its selection when the keyboard has been in the bar.
    pressChord(u"Ctrl+A"_s);
    pressChord(u"Ctrl+X"_s);
    EXPECT_EQ(on(), u"undo paste");
    pressChord(u"Ctrl+Z"_s);
    EXPECT_EQ(on(), u"undo redo cut copy paste selectAll");
    mail->window->sidebar().setFocus();
    EXPECT_EQ(on(), u"");
    search.clear();
    ASSERT_TRUE(waitUntil([this] { return !model().isLoading() && model().messages().size() == 25; }));
    model().setSelection({u"2"_s});
    model().archive(model().actedOn());
    ASSERT_TRUE(waitUntil([this] { return model().undoOffer().has_value(); }));
    mail->table().setFocus();
    EXPECT_EQ(on(), u"undo selectAll") << "the last move";
    for (const QString& name : editing)
        EXPECT_TRUE(action(name.toLatin1().constData())->isEnabled()) << "chords go where the keyboard is";
}

// --- What they do

/// An item as a user finds it, by keys alone, and what it does to one selected row.
struct Effect {
    Situation situation;
    QStringList path; ///< from the menu of the bar on
    QStringList chords;
    std::function<bool()> hasHappened;
};

class MenuEffectTest : public MenuTableTest {
protected:
    bool asked(const QString& call) { return provider().calls().contains(call); }
    qsizetype composing() { return mail->window->composeWindows().windows().size(); }
    double textSize() { return mail->fixture.defaults().real(DefaultsKey::textSize); }
    QDialog* sheet() { return mail->window->findChild<QDialog*>(u"labelSheet"_s); }
    bool isShown(Mailbox role) { return model().sidebarSelection()->ref == MailboxRef::system(role); }
    bool isSorted(SortField field, Qt::SortOrder order)
    {
        return model().sortOrder().value(0) == SortComparator{field, order};
    }
    static bool isSettings(const QString& pane)
    {
        const auto* const settings = visible<SettingsView>();
        const auto* const tabs = settings ? settings->findChild<QTabBar*>(u"settingsTabBar"_s) : nullptr;
        return tabs && tabs->tabText(tabs->currentIndex()) == pane;
    }
    QList<Effect> effects();
    QList<Effect> googleEffects();

    /// Chooses each by its menu and by each of its chords, every time in a new window.
    void expect(const QList<Effect>& table)
    {
        for (const Effect& effect : table) {
            for (qsizetype way = -1; way < effect.chords.size(); ++way) {
                const QString name =
                    effect.path.join(u" ▸ "_s) + (way < 0 ? QString() : u" by "_s + effect.chords[way]);
                SCOPED_TRACE(name.toStdString());
                QApplication::clipboard()->clear();
                begin(effect.situation);
                activate();
                provider().forgetCalls();
                if (way < 0) {
                    openMenuOfBar(*mail->window, effect.path.first());
                    chooseByKeys(effect.path.sliced(1));
                } else {
                    pressChord(effect.chords[way]);
                }
                EXPECT_TRUE(waitUntil(effect.hasHappened)) << provider().calls().join(u'\n').toStdString();
                for (QWidget* const window : QApplication::topLevelWidgets()) {
                    if (window != mail->window.get())
                        window->close();
                }
            }
        }
    }
};

QList<Effect> MenuEffectTest::effects()
{
    const auto calls = [this](const char* call) {
        return [this, call] { return asked(QLatin1StringView(call)); };
    };
    const auto composes = [this] { return composing() == 1; };
    const auto pages = [this](qsizetype page) {
        return [this, page] { return model().pageIndex() == page && !model().isLoading(); };
    };
    const auto sorts = [this](SortField field, Qt::SortOrder order) {
        return [this, field, order] { return isSorted(field, order); };
    };
    QList<Effect> table{
        {One, {u"File"_s, u"New Message"_s}, {u"Ctrl+N"_s}, composes},
        {One,
         {u"Edit"_s, u"Select All"_s},
         {u"Ctrl+A"_s},
         [this] { return model().selection().size() == 25; }},
        {One,
         {u"Edit"_s, u"Find…"_s},
         {u"Ctrl+F"_s},
         [this] { return QApplication::focusWidget() == &mail->child<SearchField>("searchField"); }},
        {One, {u"Edit"_s, u"Settings…"_s}, {u"Ctrl+,"_s}, [] { return visible<SettingsView>() != nullptr; }},
        {One,
         {u"View"_s, u"Show Preview Text"_s},
         {},
         [this] { return !mail->fixture.defaults().boolean(DefaultsKey::showPreview); }},
        {One,
         {u"View"_s, u"Make Text Bigger"_s},
         {u"Ctrl++"_s, u"Ctrl+="_s},
         [this] { return textSize() == 14; }},
        {One, {u"View"_s, u"Make Text Smaller"_s}, {u"Ctrl+-"_s}, [this] { return textSize() == 12; }},
        {One,
         {u"View"_s, u"Columns"_s, u"Size"_s},
         {},
         [this] {
             return !mail->table().horizontalHeader()->isSectionHidden(static_cast<int>(MessageColumn::size));
         }},
        {One,
         {u"View"_s, u"Show Sidebar"_s},
         {u"F9"_s},
         [this] { return !mail->window->sidebar().isVisible(); }},
        {One, {u"View"_s, u"Sort By"_s, u"Date"_s}, {}, sorts(SortField::date, Qt::DescendingOrder)},
        {One, {u"View"_s, u"Sort By"_s, u"Ascending"_s}, {}, sorts(SortField::date, Qt::AscendingOrder)},
        {One,
         {u"Mailbox"_s, u"Get All New Mail"_s},
         {u"Ctrl+Shift+N"_s},
         [this] { return !provider().calls(u"listMessages"_s).isEmpty(); }},
        {SecondPage, {u"Mailbox"_s, u"Newest Messages"_s}, {u"Ctrl+Alt+Home"_s, u"Ctrl+Alt+Up"_s}, pages(0)},
        {SecondPage, {u"Mailbox"_s, u"Newer Messages"_s}, {u"Ctrl+Alt+["_s}, pages(0)},
        {One, {u"Mailbox"_s, u"Older Messages"_s}, {u"Ctrl+Alt+]"_s}, pages(1)},
        {One, {u"Mailbox"_s, u"Oldest Messages"_s}, {u"Ctrl+Alt+End"_s, u"Ctrl+Alt+Down"_s}, pages(1)},
        {One,
         {u"Mailbox"_s, u"New Folder…"_s},
         {},
         [this] { return sheet() && sheet()->windowTitle() == u"New Folder"; }},
        {ShownLabel,
         {u"Mailbox"_s, u"Rename “Work”…"_s},
         {},
         [this] { return sheet() && sheet()->windowTitle() == u"Rename “Work”"; }},
        {ShownLabel,
         {u"Mailbox"_s, u"Delete “Work”…"_s},
         {},
         [this] { return mail->window->findChild<QMessageBox*>(u"labelDeletion"_s) != nullptr; }},
        {One,
         {u"Mailbox"_s, u"Add Account"_s, u"Google…"_s},
         {},
         // The sign-in of the test refuses at once.
         [this] { return model().errorMessage().has_value(); }},
        {One,
         {u"Mailbox"_s, u"Add Account"_s, u"Microsoft (Outlook.com)…"_s},
         {},
         [this] { return model().errorMessage().has_value(); }},
        {One,
         {u"Mailbox"_s, u"Add Account"_s, u"Other Mail Account (IMAP)…"_s},
         {},
         [this] { return visible<IMAPSetupView>() && !model().imapSetupAccountID(); }},
        {One, {u"Mailbox"_s, u"Accounts…"_s}, {}, [] { return isSettings(u"Accounts"_s); }},
        {One,
         {u"Message"_s, u"Open"_s},
         {u"Ctrl+O"_s},
         [this] { return model().path() == QStringList(u"2"_s); }},
        {One, {u"Message"_s, u"Reply"_s}, {u"Ctrl+R"_s}, composes},
        {One, {u"Message"_s, u"Reply All"_s}, {u"Ctrl+Shift+R"_s}, composes},
        {One, {u"Message"_s, u"Forward"_s}, {u"Ctrl+Shift+F"_s}, composes},
        {One, {u"Message"_s, u"Mark as Read"_s}, {u"Ctrl+Shift+U"_s}, calls("setRead true 2")},
        {One, {u"Message"_s, u"Add Star"_s}, {u"Ctrl+Shift+L"_s}, calls("setStarred true 2")},
        {One, {u"Message"_s, u"Archive"_s}, {u"Ctrl+Alt+A"_s}, calls("archive 2")},
        {One, {u"Message"_s, u"Move To"_s, u"Trash"_s}, {}, calls("trash 2")},
        {One,
         {u"Message"_s, u"Move To"_s, u"Work"_s},
         {},
         [this] { return !provider().calls(u"moveToLabel"_s).isEmpty(); }},
        {One, {u"Message"_s, u"Mark as Junk"_s}, {u"Ctrl+Shift+J"_s}, calls("markSpam 2")},
        {One, {u"Message"_s, u"Delete"_s}, {u"Ctrl+Del"_s, u"Ctrl+Backspace"_s}, calls("trash 2")},
        {One,
         {u"Message"_s, u"Show Messages from Sender"_s},
         {},
         [this] { return model().searchText() == u"from:ada@example.com"; }},
        {One,
         {u"Message"_s, u"Copy Sender Address"_s},
         {},
         [] { return QApplication::clipboard()->text() == u"ada@example.com"; }},
        {One,
         {u"Message"_s, u"Save As…"_s},
         {u"Ctrl+Shift+S"_s},
         [this] { return mail->suggestedNames == QStringList(u"Subject 2.eml"_s); }},
        {One,
         {u"Message"_s, u"Show Source"_s},
         {u"Ctrl+U"_s},
         [this] {
             return mail->window->sourceWindows().window(mail->fixture.account().id, u"2"_s) != nullptr;
         }},
        {One,
         {u"Help"_s, u"About Larkhaven"_s},
         {},
         [this] { return mail->window->findChild<QMessageBox*>(u"about"_s) != nullptr; }},
    };
    const std::pair<const char*, SortField> fields[]{{"From", SortField::from},
                                                     {"Subject", SortField::subject},
                                                     {"Unread", SortField::unread},
                                                     {"Starred", SortField::starred},
                                                     {"Attachments", SortField::attachments}};
    for (const auto& [title, field] : fields)
        table.append({One,
                      {u"View"_s, u"Sort By"_s, QString::fromLatin1(title)},
                      {},
                      sorts(field, Qt::DescendingOrder)});
    const char* const roles[]{"Inbox", "Flagged", "Sent", "Drafts", "Archive", "Junk", "Trash"};
    for (size_t index = 0; index < allMailboxes.size(); ++index)
        table.append({ShownLabel,
                      {u"Mailbox"_s, u"Go To"_s, QString::fromLatin1(roles[index])},
                      {u"Ctrl+%1"_s.arg(index + 1)},
                      [this, index] { return isShown(allMailboxes[index]); }});
    return table;
}

TEST_F(MenuEffectTest, DoesWhatEachItemSays)
{
    expect(effects());
}

TEST_F(MenuEffectTest, DoesWhatEachItemSaysToAGoogleAccount)
{
    expect({
        {Google,
         {u"Message"_s, u"Report Spam"_s},
         {u"Ctrl+Shift+J"_s},
         [this] { return asked(u"markSpam 2"_s); }},
        {Google,
         {u"Message"_s, u"Label As"_s, u"Work"_s},
         {},
         [this] { return !provider().calls(u"setLabel"_s).isEmpty(); }},
        {Google,
         {u"Message"_s, u"Label As"_s, u"New Label…"_s},
         {},
         [this] { return sheet() && sheet()->windowTitle() == u"New Label"; }},
        {Google, {u"Mailbox"_s, u"New Label…"_s}, {}, [this] { return sheet() != nullptr; }},
    });
}

TEST_F(MenuEffectTest, EditsADraftAndTakesBackJunkByTheirItems)
{
    for (const auto& [role, path, chord] : {std::tuple(Mailbox::drafts, u"Edit Draft"_s, u"Ctrl+O"_s),
                                            std::tuple(Mailbox::spam, u"Not Spam"_s, u"Ctrl+Shift+J"_s)}) {
        for (const bool isByMenu : {true, false}) {
            begin(Nothing);
            provider().setListing(MailboxRef::system(role), ModelFixture::rows(mail->fixture.account(), 3));
            model().selectMailbox(MailboxRef::system(role));
            ASSERT_TRUE(waitUntil([this] { return !model().isLoading() && model().messages().size() == 3; }));
            model().setSelection({u"2"_s});
            activate();
            if (isByMenu) {
                openMenuOfBar(*mail->window, u"Message"_s);
                chooseByKeys({path});
            } else {
                pressChord(chord);
            }
            EXPECT_TRUE(waitUntil([this] { return composing() == 1 || asked(u"moveToInbox 2"_s); }))
                << path.toStdString();
            EXPECT_EQ(composing(), role == Mailbox::drafts ? 1 : 0);
        }
    }
}

TEST_F(MenuEffectTest, EditsTheTextThatTheKeyboardIsIn)
{
    begin(One);
    activate();
    SearchField& search = mail->child<SearchField>("searchField");
    const auto choose = [this](const QString& title) {
        openMenuOfBar(*mail->window, u"Edit"_s);
        chooseByKeys({title});
    };
    for (const bool isByMenu : {true, false}) {
        const auto act = [&](const QString& title, const QString& chord) {
            if (isByMenu)
                choose(title);
            else
                pressChord(chord);
        };
        QApplication::clipboard()->clear();
        search.clear();
        search.setFocus();
        QTest::keyClicks(&search, u"boat"_s);
        act(u"Select All"_s, u"Ctrl+A"_s);
        EXPECT_EQ(search.selectedText(), u"boat");
        act(u"Copy"_s, u"Ctrl+C"_s);
        EXPECT_EQ(QApplication::clipboard()->text(), u"boat");
        act(u"Cut"_s, u"Ctrl+X"_s);
        EXPECT_EQ(search.text(), u"");
        act(u"Paste"_s, u"Ctrl+V"_s);
        act(u"Paste"_s, u"Ctrl+V"_s);
        EXPECT_EQ(search.text(), u"boatboat");
        act(u"Undo"_s, u"Ctrl+Z"_s);
        EXPECT_NE(search.text(), u"boatboat");
        act(u"Redo"_s, u"Ctrl+Shift+Z"_s);
        EXPECT_EQ(search.text(), u"boatboat");
    }
}

TEST_F(MenuEffectTest, ReturnsTheTextToItsSizeAndQuits)
{
    for (const bool isByMenu : {true, false}) {
        begin(One);
        activate();
        mail->fixture.defaults().set(DefaultsKey::textSize, 20.0);
        if (isByMenu) {
            openMenuOfBar(*mail->window, u"View"_s);
            chooseByKeys({u"Actual Size"_s});
        } else {
            pressChord(u"Ctrl+0"_s);
        }
        EXPECT_EQ(textSize(), 13);
        const QSignalSpy quits(mail->window.get(), &ContentView::quitApproved);
        if (isByMenu) {
            openMenuOfBar(*mail->window, u"File"_s);
            chooseByKeys({u"Quit"_s});
        } else {
            pressChord(u"Ctrl+Q"_s);
        }
        EXPECT_TRUE(waitUntil([&quits] { return quits.size() == 1; }));
    }
}

} // namespace
} // namespace Larkhaven
