#include "ComposeSupport.h"
#include "Gestures.h"
#include "support/QtPrinters.h"
#include "views/style/FlatButton.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class ComposeKeyboardTest : public ComposeWindowTest {
protected:
    static QString focus()
    {
        const QWidget* const widget = QApplication::focusWidget();
        const bool isNamed = widget && !widget->objectName().isEmpty();
        // The line of an address row has the name of the row.
        return !widget ? QString() : isNamed ? widget->objectName() : widget->parentWidget()->objectName();
    }
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&focusedWidget(), key, modifiers);
    }
    ComposeDraft rich() const
    {
        ComposeDraft draft = addressed();
        draft.isRichText = true;
        draft.initialHTML = u"<div>The text</div>"_s;
        return draft;
    }
};

// --- Focus

TEST_F(ComposeKeyboardTest, TabGoesFromFieldToFieldAndFromTheSubjectToTheText)
{
    ComposeDraft draft = rich();
    draft.to.clear();
    draft.bcc = u"eve@example.com"_s;
    ComposeWindow& window = open(draft);
    QStringList steps{focus()};
    for (int step = 0; step < 4; ++step) {
        press(Qt::Key_Tab);
        steps.append(focus());
    }
    EXPECT_EQ(steps, QStringList({u"to"_s, u"cc"_s, u"bcc"_s, u"subject"_s, u"composeText"_s}));
    // What is typed goes into the text.
    QTest::keyClicks(&focusedWidget(), u"a b "_s);
    EXPECT_EQ(text(window).toPlainText(), u"a b The text"_s);
}

TEST_F(ComposeKeyboardTest, TheFormatBarIsOneStepBackFromTheText)
{
    ComposeWindow& window = open(rich());
    text(window).setFocus();
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focus(), u"fonts"_s);
    press(Qt::Key_Tab);
    EXPECT_EQ(focus(), u"composeText"_s);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focus(), u"subject"_s);
}

TEST_F(ComposeKeyboardTest, ArrowsGoThroughTheFormatBarWhichRemembersItsPlace)
{
    ComposeWindow& window = open(rich());
    text(window).setFocus();
    text(window).selectAll();
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    press(Qt::Key_Left);
    EXPECT_EQ(focus(), u"numberedList"_s);
    press(Qt::Key_Right);
    EXPECT_EQ(focus(), u"fonts"_s);
    press(Qt::Key_End);
    EXPECT_EQ(focus(), u"numberedList"_s);
    press(Qt::Key_Home);
    for (int step = 0; step < 5; ++step)
        press(Qt::Key_Right);
    EXPECT_EQ(focus(), u"bold"_s);
    press(Qt::Key_Space);
    EXPECT_TRUE(window.view().editor().isBold());
    // A command hands the keyboard to the text.
    EXPECT_EQ(focus(), u"composeText"_s);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focus(), u"bold"_s);
}

TEST_F(ComposeKeyboardTest, F6GoesThroughThePartsOfTheWindowInBothDirections)
{
    ComposeDraft draft = rich();
    draft.attachments = {{QUuid::createUuid(), u"a.txt"_s, u"text/plain"_s, "x"}};
    ComposeWindow& window = open(draft);
    child<QLineEdit>(window, "subject").setFocus();
    QStringList steps;
    for (int step = 0; step < 5; ++step) {
        press(Qt::Key_F6);
        steps.append(focus());
    }
    EXPECT_EQ(steps,
              QStringList({u"composeText"_s, u"fonts"_s, u"removeAttachment"_s, u"send"_s, u"subject"_s}));
    press(Qt::Key_F6, Qt::ShiftModifier);
    EXPECT_EQ(focus(), u"send"_s);
    press(Qt::Key_F6, Qt::ShiftModifier);
    EXPECT_EQ(focus(), u"removeAttachment"_s);
}

TEST_F(ComposeKeyboardTest, F6LeavesOutWhatIsNotShown)
{
    ComposeWindow& window = open(addressed());
    text(window).setFocus();
    press(Qt::Key_F6);
    EXPECT_EQ(focus(), u"send"_s);
    press(Qt::Key_F6);
    EXPECT_EQ(focus(), u"to"_s);
}

// --- Commands

TEST_F(ComposeKeyboardTest, ControlSSavesTheDraft)
{
    QPointer<ComposeWindow> window = &open(addressed());
    EXPECT_TRUE(child<FlatButton>(*window, "saveDraft").isVisible());
    EXPECT_EQ(child<FlatButton>(*window, "saveDraft").text(), u"Save Draft"_s);
    EXPECT_EQ(child<FlatButton>(*window, "saveDraft").toolTip(), u"Save Draft (Ctrl+S)"_s);
    text(*window).setFocus();
    press(Qt::Key_S, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    ASSERT_EQ(fixture.provider().savedDrafts().size(), 1);
    EXPECT_EQ(fixture.provider().savedDrafts().constFirst().message.body, u"The text"_s);
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
}

TEST_F(ComposeKeyboardTest, EveryControlHasANameWithoutAChord)
{
    ComposeDraft draft = rich();
    draft.bcc = u"eve@example.com"_s;
    draft.attachments = {{QUuid::createUuid(), u"a.txt"_s, u"text/plain"_s, "x"},
                         {QUuid::createUuid(), u"b.txt"_s, u"text/plain"_s, "x"}};
    ComposeWindow& window = open(draft);
    QStringList names;
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus || widget->focusProxy())
            continue;
        QAccessibleInterface* const interface =
            QAccessible::queryAccessibleInterface(const_cast<QWidget*>(widget));
        ASSERT_TRUE(interface);
        const QString name = interface->text(QAccessible::Name);
        EXPECT_FALSE(name.isEmpty()) << widget->metaObject()->className() << ' '
                                     << widget->objectName().toStdString();
        EXPECT_FALSE(name.contains("Ctrl"_L1)) << name.toStdString();
        names.append(name);
    }
    for (const QString& name :
         {u"Send"_s, u"Attach"_s, u"Save Draft"_s, u"Plain Text"_s, u"Rich Text"_s, u"Bcc"_s, u"To"_s,
          u"Cc"_s, u"Subject"_s, u"Fonts"_s, u"Message"_s, u"Remove a.txt"_s, u"Remove b.txt"_s})
        EXPECT_TRUE(names.contains(name)) << name.toStdString();
    for (const FlatButton* const button : child<QWidget>(window, "formatBar").findChildren<FlatButton*>())
        EXPECT_FALSE(button->accessibleName().contains("Ctrl"_L1)) << button->objectName().toStdString();
}

// --- Pasting

class ComposePasteTest : public ComposeKeyboardTest {
protected:
    void put(QMimeData* data) { QApplication::clipboard()->setMimeData(data); }
    QMessageBox& pasteAndWait(ComposeWindow& window)
    {
        text(window).setFocus();
        press(Qt::Key_V, Qt::ControlModifier);
        if (!waitUntil([&] { return alert(window, "attachOffer"); }))
            throw std::runtime_error("nothing was offered");
        return *alert(window, "attachOffer");
    }
};

TEST_F(ComposePasteTest, FilesThatWereCopiedAreOfferedAsAttachments)
{
    ComposeWindow& window = open(addressed());
    const QList<QUrl> files{url(makeFile(u"a.pdf"_s, 10)), url(makeFile(u"b.txt"_s, 5))};
    auto* const data = new QMimeData;
    data->setUrls(files);
    data->setText(files.constFirst().toString());
    put(data);
    QMessageBox& offer = pasteAndWait(window);
    EXPECT_EQ(offer.text(), u"Do you want to attach what you pasted?"_s);
    EXPECT_EQ(offer.informativeText(), u"a.pdf, b.txt"_s);
    EXPECT_TRUE(names(window).isEmpty());
    ComposeTest::press(offer, u"Attach"_s);
    ASSERT_TRUE(waitUntil([&] { return names(window).size() == 2; }));
    EXPECT_EQ(names(window), QStringList({u"a.pdf"_s, u"b.txt"_s}));
    EXPECT_EQ(text(window).toPlainText(), u"The text"_s);
}

TEST_F(ComposePasteTest, WhatIsDeclinedIsNeitherAttachedNorTyped)
{
    ComposeWindow& window = open(addressed());
    auto* const data = new QMimeData;
    data->setUrls({url(makeFile(u"a.pdf"_s, 10))});
    put(data);
    QTest::keyClick(&pasteAndWait(window), Qt::Key_Escape);
    settle();
    EXPECT_TRUE(names(window).isEmpty());
    EXPECT_EQ(text(window).toPlainText(), u"The text"_s);
    EXPECT_FALSE(window.view().hasUnsavedChanges());
}

TEST_F(ComposePasteTest, AnImageIsOfferedAndTheTableBesideAPictureIsNot)
{
    ComposeWindow& window = open(addressed());
    QImage picture(5, 4, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    QApplication::clipboard()->setImage(picture);
    ComposeTest::press(pasteAndWait(window), u"Attach"_s);
    ASSERT_TRUE(waitUntil([&] { return names(window).size() == 1; }));
    const OutgoingAttachment attached = strip(window).attachments().constFirst();
    EXPECT_EQ(attached.filename, u"Pasted Image.png"_s);
    EXPECT_EQ(QImage::fromData(attached.data).size(), QSize(5, 4));
    auto* const both = new QMimeData;
    both->setImageData(picture);
    both->setText(u"cells "_s);
    put(both);
    text(window).setFocus();
    press(Qt::Key_V, Qt::ControlModifier);
    settle();
    EXPECT_FALSE(alert(window, "attachOffer"));
    EXPECT_EQ(text(window).toPlainText(), u"cells The text"_s);
}

TEST_F(ComposePasteTest, PasteWithoutFormattingTakesTheTextAlone)
{
    ComposeWindow& window = open(rich());
    const auto copy = [this] {
        auto* const data = new QMimeData;
        data->setHtml(u"<b>bold</b>"_s);
        data->setText(u"bold "_s);
        put(data);
    };
    copy();
    text(window).setFocus();
    press(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(text(window).toPlainText(), u"bold The text"_s);
    EXPECT_FALSE(window.view().draft().initialHTML->contains("<b>"_L1));
    press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_TRUE(window.view().draft().initialHTML->contains("<b>"_L1));
}

TEST_F(ComposePasteTest, TheMenuOfTheTextHoldsIt)
{
    ComposeWindow& window = open(rich());
    QApplication::clipboard()->setText(u"plain "_s);
    QMenu* const menu = rightClick(*text(window).viewport(), QPoint(30, 15));
    ASSERT_TRUE(menu);
    QStringList texts;
    for (const QAction* const item : menu->actions()) {
        if (!item->isSeparator())
            texts.append(item->text());
    }
    EXPECT_EQ(texts.first(7), QStringList({u"Undo"_s, u"Redo"_s, u"Cut"_s, u"Copy"_s, u"Paste"_s,
                                           u"Paste Without Formatting"_s, u"Select All"_s}));
    EXPECT_FALSE(menu->actions().constFirst()->isEnabled());
    chooseByKeys({u"Paste Without Formatting"_s});
    EXPECT_TRUE(text(window).toPlainText().contains("plain "_L1));
}

} // namespace
} // namespace Larkhaven
