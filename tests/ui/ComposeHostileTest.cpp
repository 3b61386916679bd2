#include "ComposeSupport.h"
#include "model/DraftGate.h"
#include "support/HostileMessages.h"
#include "support/QtPrinters.h"
#include "support/TurnMeter.h"
#include "support/WaitUntil.h"
#include "views/style/DisplayText.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QTest>
#include <QTextBlock>
#include <QWindow>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Hostile messages in real windows. How long each of them holds the main thread is printed, never asserted.
class ComposeHostileTest : public ComposeWindowTest {
protected:
    using Open = std::function<void(const MessageSummary& row)>;

    MessageSummary row(const HostileMessages::Message& message)
    {
        const QString id = QString::number(++number);
        fixture.provider().setRaw(id, message.raw);
        return ModelFixture::row(fixture.account(), id);
    }

    /// The window that `open` brings up.
    ComposeWindow* opened(const std::function<void()>& open)
    {
        meter.step(open);
        if (!meter.until([this] { return !windows->windows().isEmpty(); }, std::chrono::seconds(60)))
            return nullptr;
        ComposeWindow* const window = windows->windows().constFirst();
        meter.pass(std::chrono::milliseconds(100));
        return window;
    }

    void typeAndKeep(ComposeWindow& window)
    {
        text(window).setFocus();
        meter.step([&] { QTest::keyClick(&text(window), 'x'); });
        meter.step([&] { window.view().keep(); });
        meter.pass(std::chrono::milliseconds(50));
        EXPECT_TRUE(window.view().hasUnsavedChanges());
    }

    void print(const QString& name)
    {
        const TurnMeter::Turn turn = meter.takeLongest();
        std::printf("%-32s longest turn %5.0f ms\n", qPrintable(name), turn.wall);
    }

    void closeAll()
    {
        for (ComposeWindow* const window : windows->windows())
            window->view().discard();
        ASSERT_TRUE(waitUntil([this] { return windows->windows().isEmpty(); }));
    }

    static QString notices(const ComposeWindow& window) { return child<QLabel>(window, "notices").text(); }

    /// Nothing of the window is longer than what it can lay out at once.
    static void expectBounded(const ComposeWindow& window)
    {
        const QString title = window.windowTitle();
        EXPECT_LE(title.size(), DisplayText::maxLength + 1);
        EXPECT_FALSE(title.contains(u'\n'));
        EXPECT_LE(child<QLineEdit>(window, "subject").text().size(), DraftGate::longestSubject + 6);
        for (const char* const name : {"to", "cc", "bcc"})
            EXPECT_LE(field(window, name).text().size(), DraftGate::mostFieldEffort) << name;
        const ComposeDraft draft = window.view().draft();
        constexpr qsizetype room = 20'000; ///< what a reply adds: signature, head, marks of a quote
        EXPECT_LE(draft.body.size(), DraftGate::mostCharacters + DraftGate::mostLines * 2 + room);
        for (QTextBlock block = text(window).document()->begin(); block.isValid(); block = block.next())
            ASSERT_LE(block.length(), DraftGate::longestBlock + 10);
    }

    void expectAnswer(const HostileMessages::Message& message, const QString& step, const Open& open)
    {
        SCOPED_TRACE(message.name.toStdString() + ", " + step.toStdString());
        const MessageSummary summary = row(message);
        ComposeWindow* const window = opened([&] { open(summary); });
        ASSERT_TRUE(window);
        expectBounded(*window);
        const bool isSaid =
            !notices(*window).isEmpty() || text(*window).toPlainText().contains(u" left out"_s);
        said[message.name] |= isSaid;
        typeAndKeep(*window);
        closeAll();
        print(message.name + u", "_s + step);
    }

    TurnMeter meter;
    QMap<QString, bool> said;
    int number = 0;
};

TEST_F(ComposeHostileTest, AnswersEveryMessage)
{
    for (const HostileMessages::Message& message : HostileMessages::received()) {
        expectAnswer(message, u"reply"_s,
                     [this](const MessageSummary& row) { model().start(model().reply(row, false)); });
        expectAnswer(message, u"reply to all"_s,
                     [this](const MessageSummary& row) { model().start(model().reply(row, true)); });
        expectAnswer(message, u"forward"_s,
                     [this](const MessageSummary& row) { model().start(model().forward(row)); });
        EXPECT_EQ(said[message.name], message.isCut) << message.name.toStdString();
    }
}

TEST_F(ComposeHostileTest, EditsEveryDraftAsACopyThatLeavesTheOriginal)
{
    for (const HostileMessages::Message& message : HostileMessages::drafts()) {
        SCOPED_TRACE(message.name.toStdString());
        const MessageSummary summary = row(message);
        ComposeWindow* const window = opened([&] { model().start(model().editDraft(summary)); });
        ASSERT_TRUE(window);
        expectBounded(*window);
        EXPECT_TRUE(notices(*window).endsWith(
            u"This is a copy of a draft that is more than a window can take. Saving it leaves the draft as it is."_s))
            << notices(*window).toStdString();
        typeAndKeep(*window);
        // Whether it is given up or saved, what is stored stays.
        window->close();
        QMessageBox* const sheet = alert(*window, "saveSheet");
        ASSERT_TRUE(sheet);
        press(*sheet, u"Cancel"_s);
        EXPECT_TRUE(fixture.provider().savedDrafts().isEmpty());
        window->view().save();
        ASSERT_TRUE(waitUntil([this] { return windows->windows().isEmpty(); }, std::chrono::seconds(30)));
        ASSERT_EQ(fixture.provider().savedDrafts().size(), 1);
        EXPECT_FALSE(fixture.provider().savedDrafts().constFirst().draftID);
        EXPECT_TRUE(fixture.provider().calls(u"trash"_s).isEmpty());
        fixture.provider().forgetSaved();
        print(message.name);
    }
}

TEST_F(ComposeHostileTest, TakesWhatIsPasted)
{
    for (const HostileMessages::Text& paste : HostileMessages::pastes()) {
        SCOPED_TRACE(paste.name.toStdString());
        ComposeDraft draft = addressed();
        draft.isRichText = paste.isHTML;
        ComposeWindow& window = open(draft);
        auto* const data = new QMimeData;
        if (paste.isHTML)
            data->setHtml(paste.text);
        else
            data->setText(paste.text);
        QApplication::clipboard()->setMimeData(data);
        meter.step([&] { text(window).paste(); });
        const int empty = 30; ///< what was there
        ASSERT_TRUE(meter.until([&] { return text(window).document()->characterCount() > empty; },
                                std::chrono::seconds(30)));
        meter.pass(std::chrono::milliseconds(100));
        expectBounded(window);
        const QString plain = text(window).toPlainText();
        EXPECT_TRUE(plain.contains(u"left out.]"_s));
        typeAndKeep(window);
        closeAll();
        print(paste.name);
    }
}

TEST_F(ComposeHostileTest, FieldsOfOneLineTakeNoMoreThanTheyCanLayOut)
{
    for (const HostileMessages::Text& paste : HostileMessages::pastes()) {
        SCOPED_TRACE(paste.name.toStdString());
        ComposeWindow& window = open(addressed());
        QApplication::clipboard()->setText(paste.text);
        for (QLineEdit* const line : {&child<QLineEdit>(window, "subject"), &field(window, "to").line()}) {
            line->setFocus();
            meter.step([&] { QTest::keyClick(line, Qt::Key_V, Qt::ControlModifier); });
        }
        meter.pass(std::chrono::milliseconds(50));
        expectBounded(window);
        EXPECT_LE(DraftGate::effort(field(window, "to").text()), DraftGate::mostFieldEffort);
        EXPECT_EQ(field(window, "to").text(), u"ada@example.com"_s) << "what was there stays";
        EXPECT_EQ(child<QLineEdit>(window, "subject").text(), u"A subject"_s);
        EXPECT_EQ(notices(window), u"What was pasted is more than a field takes, and was left out."_s);
        closeAll();
        print(paste.name + u", in a field"_s);
    }
}

/// Chooses Paste of the field's menu, as a user does: a right click, and a click on the entry.
void pasteByMenu(QLineEdit& line)
{
    QWindow* const window = line.window()->windowHandle();
    const QPoint place = line.mapTo(line.window(), line.rect().center());
    QTest::mouseClick(window, Qt::RightButton, {}, place);
    ASSERT_TRUE(waitUntil([] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()) != nullptr; }));
    const QPointer<QMenu> menu = static_cast<QMenu*>(QApplication::activePopupWidget());
    const QList<QAction*> actions = menu->actions();
    const auto paste = std::ranges::find_if(
        actions, [](const QAction* action) { return action->text().startsWith(u"&Paste"_s); });
    ASSERT_TRUE(paste != actions.end() && (*paste)->isEnabled());
    ASSERT_TRUE(QTest::qWaitForWindowExposed(menu));
    QTest::mouseClick(menu->windowHandle(), Qt::LeftButton, {}, menu->actionGeometry(*paste).center());
    ASSERT_TRUE(waitUntil([&] { return menu.isNull(); }));
}

TEST_F(ComposeHostileTest, TheMenuOfAFieldPastesNoMoreThanItsKey)
{
    ComposeWindow& window = open(addressed());
    for (QLineEdit* const line : {&child<QLineEdit>(window, "subject"), &field(window, "to").line()}) {
        line->setFocus();
        line->end(false);
        QTest::keyClicks(line, u"x"_s);
        line->home(false);
        const QString before = line->text();
        QApplication::clipboard()->setText(QString(1'000'001, u'y'));
        meter.step([&] { pasteByMenu(*line); });
        EXPECT_EQ(line->text(), before);
        // The field hasn't seen the text: what was typed can still be taken back, and the cursor stays.
        EXPECT_EQ(line->cursorPosition(), 0);
        EXPECT_TRUE(line->isUndoAvailable());
        QApplication::clipboard()->setText(u"b@example.com, "_s);
        pasteByMenu(*line);
        EXPECT_EQ(line->text(), u"b@example.com, "_s + before);
    }
    EXPECT_EQ(notices(window), u"What was pasted is more than a field takes, and was left out."_s);
    closeAll();
    print(u"million letters, by the menu"_s);
}

TEST_F(ComposeHostileTest, LinksToWriteToSomebodyPassTheGate)
{
    for (const HostileMessages::Text& link : HostileMessages::recipients()) {
        SCOPED_TRACE(link.name.toStdString());
        ComposeWindow* const window = opened([&] { model().newMessage(link.text); });
        ASSERT_TRUE(window);
        expectBounded(*window);
        EXPECT_LE(DraftGate::effort(field(*window, "to").text()), DraftGate::mostFieldEffort);
        EXPECT_TRUE(notices(*window).contains(u"Left out: "_s)) << notices(*window).toStdString();
        typeAndKeep(*window);
        closeAll();
        print(link.name);
    }
    ComposeWindow* const window =
        opened([this] { model().newMessage(u"a@x\nBcc: b@x\u2028\u202ec@x\u200b, d@x"_s); });
    ASSERT_TRUE(window);
    EXPECT_EQ(field(*window, "to").text(), u"a@x Bcc: b@x c@x, d@x"_s);
    EXPECT_EQ(notices(*window), QString());
}

} // namespace
} // namespace Larkhaven
