#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/SidebarView.h"
#include "views/setup/IMAPSetupView.h"

#include <QClipboard>
#include <QDialog>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QTest>
#include <QTextCursor>

using namespace Qt::StringLiterals;

// Every item of the menus of the sidebar, the reader and the text that is written: when it is there and
// turned on, and what it does. They open by the right button and by both keys that desktops have for it, and
// the items are chosen by keys.

namespace Larkhaven {
namespace {

enum class Way { rightButton, menuKey, shiftF10 };
constexpr std::array ways{Way::rightButton, Way::menuKey, Way::shiftF10};
constexpr std::array nameOfWay{"by the right button", "by the Menu key", "by Shift+F10"};

const MailLabel work{u"W"_s, u"Work"_s};

class ContextMenuTest : public testing::Test {
protected:
    void begin(const Account& account = ModelFixture::imapAccount())
    {
        mail.reset();
        QApplication::clipboard()->clear();
        mail = std::make_unique<MailWindow>(QList{account});
        provider().setLabels({work});
        provider().setRaw(u"1"_s,
                          "From: Ada <ada@example.com>\r\nTo: Mia <mia@example.org>, carl@example.org\r\n"
                          "Cc: Bob <bob@example.org>\r\nSubject: S\r\n\r\ntext");
        mail->fill(ModelFixture::rows(mail->fixture.account(), 3));
        mail->open();
        ASSERT_TRUE(waitUntil([this] { return !model().labels(mail->fixture.account().id).isEmpty(); }));
        settle();
    }
    AppModel& model() { return mail->model(); }
    FakeMailProvider& provider() { return mail->fixture.provider(); }

    /// Opens the menu of a place; by a key, that of what has the keyboard.
    static QMenu* open(Way way, QWidget& widget, const QPoint& place)
    {
        if (way == Way::rightButton)
            return rightClick(widget, place);
        return openMenuByKey(*widget.window(), way == Way::menuKey ? u"Menu"_s : u"shift+F10"_s);
    }
    static void closeMenu()
    {
        while (openedMenu())
            pressKey(Qt::Key_Escape);
        settle();
    }

    std::unique_ptr<MailWindow> mail;
};

// --- The sidebar

class SidebarMenuTest : public ContextMenuTest {
protected:
    QModelIndex row(const QString& title)
    {
        const QAbstractItemModel& rows = *mail->window->sidebar().model();
        const QModelIndex heading = rows.index(0, 0);
        for (int number = 0; number < rows.rowCount(heading); ++number) {
            if (rows.index(number, 0, heading).data().toString() == title)
                return rows.index(number, 0, heading);
        }
        return heading;
    }
    /// Where the keyboard is to open it, it goes there by arrow keys.
    QMenu* open(Way way, const QString& title)
    {
        SidebarView& sidebar = mail->window->sidebar();
        if (way != Way::rightButton) {
            sidebar.setFocus();
            pressKey(Qt::Key_Home);
            // The rows are made anew when labels come.
            for (int steps = 0; sidebar.currentIndex() != row(title) && steps < 20; ++steps)
                pressKey(row(title).parent().isValid() ? Qt::Key_Down : Qt::Key_Left);
            if (sidebar.currentIndex() != row(title))
                throw std::runtime_error("no way to the row");
        }
        return ContextMenuTest::open(way, *sidebar.viewport(), sidebar.visualRect(row(title)).center());
    }
    void refuse()
    {
        model().report(std::make_exception_ptr(MailError::notSignedIn()), mail->fixture.account().id);
        settle();
    }
    QString sheetTitle()
    {
        const auto* const sheet = visibleWindow<QDialog>(u"labelSheet"_s);
        return sheet ? sheet->windowTitle() : QString();
    }
};

TEST_F(SidebarMenuTest, HoldsWhatCanBeDoneThere)
{
    const QString heading = ModelFixture::imapAccount().email;
    for (const Way way : ways) {
        SCOPED_TRACE(nameOfWay[static_cast<size_t>(way)]);
        begin();
        const auto lines = [&](const QString& title) {
            const QMenu* const menu = open(way, title);
            const QStringList found = menu ? linesOf(*menu) : QStringList();
            closeMenu();
            return found;
        };
        EXPECT_EQ(lines(heading), QStringList(u"New Folder…"_s));
        EXPECT_EQ(lines(u"Work"_s), (QStringList{u"New Folder…"_s, u"New Folder Inside “Work”…"_s,
                                                 u"Rename “Work”…"_s, u"Delete “Work”…"_s}));
        // To make sure of it takes a wait.
        if (way != Way::shiftF10) {
            EXPECT_EQ(lines(u"Inbox"_s), QStringList()) << "there is nothing to be done to it";
        }
        refuse();
        EXPECT_EQ(lines(heading), (QStringList{u"Sign In…"_s, u"-"_s, u"New Folder…"_s}));
        begin(ModelFixture::googleAccount());
        EXPECT_EQ(lines(u"Work"_s), (QStringList{u"New Label…"_s, u"New Label Inside “Work”…"_s,
                                                 u"Rename “Work”…"_s, u"Delete “Work”…"_s}));
    }
}

TEST_F(SidebarMenuTest, DoesWhatItsItemsSay)
{
    struct Effect {
        QString row;
        QString item;
        std::function<bool()> hasHappened;
    };
    const QString heading = ModelFixture::imapAccount().email;
    const auto opens = [this](const QString& title) {
        return [this, title] { return sheetTitle() == title; };
    };
    const QList<Effect> effects{
        {heading, u"New Folder…"_s, opens(u"New Folder"_s)},
        {heading, u"Sign In…"_s,
         [this] {
             return visibleWindow<IMAPSetupView>() &&
                    model().imapSetupAccountID() == mail->fixture.account().id;
         }},
        {u"Work"_s, u"New Folder…"_s, opens(u"New Folder"_s)},
        {u"Work"_s, u"New Folder Inside “Work”…"_s, opens(u"New Folder in “Work”"_s)},
        {u"Work"_s, u"Rename “Work”…"_s, opens(u"Rename “Work”"_s)},
        {u"Work"_s, u"Delete “Work”…"_s,
         [] {
             const auto* const question = visibleWindow<QMessageBox>(u"labelDeletion"_s);
             return question && question->text() == u"Delete Folder “Work”?";
         }},
    };
    for (const Effect& effect : effects) {
        for (const Way way : ways) {
            SCOPED_TRACE((effect.item + u' ').toStdString() + nameOfWay[static_cast<size_t>(way)]);
            begin();
            if (effect.item == u"Sign In…")
                refuse();
            ASSERT_TRUE(open(way, effect.row));
            chooseByKeys({effect.item});
            EXPECT_TRUE(waitUntil(effect.hasHappened));
        }
    }
}

// --- The reader

TEST_F(ContextMenuTest, CopiesTheAddressesOfTheReader)
{
    const std::pair<const char*, QString> fields[]{{"readerFrom", u"ada@example.com"_s},
                                                   {"readerTo", u"mia@example.org, carl@example.org"_s},
                                                   {"readerCc", u"bob@example.org"_s}};
    begin();
    mail->read(u"1"_s);
    for (const auto& [name, addresses] : fields) {
        for (const Way way : ways) {
            SCOPED_TRACE(std::string(name) + ' ' + nameOfWay[static_cast<size_t>(way)]);
            QApplication::clipboard()->clear();
            auto& label = mail->child<QWidget>(name);
            if (way != Way::rightButton) {
                label.setFocus(Qt::TabFocusReason);
                ASSERT_TRUE(label.hasFocus());
            }
            const QMenu* const menu = open(way, label, {4, 4});
            ASSERT_TRUE(menu);
            EXPECT_EQ(linesOf(*menu), QStringList(u"Copy"_s));
            chooseByKeys({u"Copy"_s});
            EXPECT_EQ(QApplication::clipboard()->text(), addresses);
        }
    }
}

TEST_F(ContextMenuTest, HasNoneOfTheEnginesOwn)
{
    begin();
    mail->read(u"1"_s);
    auto& message = *mail->window->findChild<SecureMessageView*>();
    EXPECT_FALSE(open(Way::rightButton, inputWidget(message), {20, 20}));
    inputWidget(message).setFocus();
    EXPECT_FALSE(open(Way::menuKey, inputWidget(message), {20, 20}));
}

/// Notes the windows that come up.
class WindowWatch : public QObject {
public:
    WindowWatch() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show && watched->isWidgetType() &&
            static_cast<QWidget*>(watched)->isWindow())
            ++shown;
        return false;
    }
    int shown = 0;
};

/// The reader is made a moment after a row was selected, when a menu may be open.
TEST_F(SidebarMenuTest, StaysOpenWhileTheReaderIsMade)
{
    mail = std::make_unique<MailWindow>();
    mail->fill(ModelFixture::rows(mail->fixture.account(), 1));
    mail->open();
    const QPointer<QMenu> menu = open(Way::rightButton, mail->fixture.account().email);
    ASSERT_TRUE(menu);
    ASSERT_FALSE(mail->window->findChild<ReaderView*>());
    const WindowWatch windows;
    mail->model().setSelection({mail->model().messages().first().id});
    ASSERT_TRUE(waitUntil([this] { return mail->window->findChild<ReaderView*>() != nullptr; }));
    EXPECT_EQ(windows.shown, 0);
    EXPECT_TRUE(menu && menu->isVisible());
    closeMenu();
}

// --- The text that is written

class ComposeMenuTest : public ContextMenuTest {
protected:
    /// A new message with the text, all of it selected if told.
    ComposeTextView& compose(const QString& words, bool isSelected)
    {
        begin();
        mail->fixture.defaults().set(DefaultsKey::composeRichText, true);
        model().newMessage({});
        if (!waitUntil([] { return visibleWindow<ComposeWindow>() != nullptr; }))
            throw std::runtime_error("no compose window opened");
        ComposeWindow& window = *visibleWindow<ComposeWindow>();
        show(window);
        auto& text = *window.findChild<ComposeTextView*>(u"composeText"_s);
        text.setFocus();
        typeText(words);
        if (isSelected)
            pressChord(u"Ctrl+A"_s);
        return text;
    }
    /// Puts bold words onto the clipboard.
    static void copyBold()
    {
        auto* const data = new QMimeData;
        data->setText(u"bold"_s);
        data->setHtml(u"<b>bold</b>"_s);
        QApplication::clipboard()->setMimeData(data);
    }
    static QMenu* open(Way way, ComposeTextView& text)
    {
        return ContextMenuTest::open(way, *text.viewport(), text.cursorRect().center());
    }
    static bool isBold(const ComposeTextView& text)
    {
        QTextCursor cursor(text.document());
        cursor.movePosition(QTextCursor::NextCharacter);
        return cursor.charFormat().fontWeight() > QFont::Normal;
    }
};

TEST_F(ComposeMenuTest, TurnsItsItemsOnWhereTheyDoSomething)
{
    const auto lines = [](Way way, ComposeTextView& text) {
        const QMenu* const menu = open(way, text);
        const QStringList found = menu ? linesOf(*menu).first(9) : QStringList();
        closeMenu();
        return found;
    };
    for (const Way way : ways) {
        SCOPED_TRACE(nameOfWay[static_cast<size_t>(way)]);
        EXPECT_EQ(lines(way, compose({}, false)),
                  (QStringList{u"(Undo [Ctrl+Z])"_s, u"(Redo [Ctrl+Shift+Z])"_s, u"-"_s, u"(Cut [Ctrl+X])"_s,
                               u"(Copy [Ctrl+C])"_s, u"(Paste [Ctrl+V])"_s,
                               u"(Paste Without Formatting [Ctrl+Shift+V])"_s, u"-"_s,
                               u"(Select All [Ctrl+A])"_s}));
        ComposeTextView& text = compose(u"words"_s, true);
        copyBold();
        EXPECT_EQ(lines(way, text), (QStringList{u"Undo [Ctrl+Z]"_s, u"(Redo [Ctrl+Shift+Z])"_s, u"-"_s,
                                                 u"Cut [Ctrl+X]"_s, u"Copy [Ctrl+C]"_s, u"Paste [Ctrl+V]"_s,
                                                 u"Paste Without Formatting [Ctrl+Shift+V]"_s, u"-"_s,
                                                 u"Select All [Ctrl+A]"_s}));
        pressChord(u"Ctrl+Z"_s);
        EXPECT_EQ(lines(way, text).value(1), u"Redo [Ctrl+Shift+Z]");
    }
}

TEST_F(ComposeMenuTest, DoesWhatItsItemsSay)
{
    struct Effect {
        QString item;
        bool isSelected;
        QString chordBefore; ///< pressed before the menu opens
        std::function<bool(const ComposeTextView&)> hasHappened;
    };
    const auto copied = [] { return QApplication::clipboard()->text(); };
    const QList<Effect> effects{
        {u"Undo"_s, false, {}, [](const auto& text) { return text.toPlainText().isEmpty(); }},
        {u"Redo"_s, false, u"Ctrl+Z"_s, [](const auto& text) { return text.toPlainText() == u"words"; }},
        {u"Cut"_s,
         true,
         {},
         [&](const auto& text) { return text.toPlainText().isEmpty() && copied() == u"words"; }},
        {u"Copy"_s,
         true,
         {},
         [&](const auto& text) { return text.toPlainText() == u"words" && copied() == u"words"; }},
        {u"Paste"_s,
         true,
         {},
         [](const auto& text) { return text.toPlainText() == u"bold" && isBold(text); }},
        {u"Paste Without Formatting"_s,
         true,
         {},
         [](const auto& text) { return text.toPlainText() == u"bold" && !isBold(text); }},
        {u"Select All"_s,
         false,
         {},
         [](const auto& text) { return text.textCursor().selectedText() == u"words"; }},
    };
    for (const Effect& effect : effects) {
        for (const Way way : ways) {
            SCOPED_TRACE((effect.item + u' ').toStdString() + nameOfWay[static_cast<size_t>(way)]);
            ComposeTextView& text = compose(u"words"_s, effect.isSelected);
            if (effect.item.startsWith(u"Paste"_s))
                copyBold();
            if (!effect.chordBefore.isEmpty())
                pressChord(effect.chordBefore);
            ASSERT_TRUE(open(way, text));
            chooseByKeys({effect.item});
            EXPECT_TRUE(waitUntil([&] { return effect.hasHappened(text); }))
                << text.toPlainText().toStdString() << " and copied " << copied().toStdString();
        }
    }
}

} // namespace
} // namespace Larkhaven
