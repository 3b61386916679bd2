#include "views/compose/ComposeWindow.h"

#include "ComposeSupport.h"
#include "domain/MailError.h"
#include "format/MessageComposer.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/compose/SuggestionList.h"
#include "views/style/FlatButton.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QProgressBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

// --- The form

TEST_F(ComposeWindowTest, ItsTitleIsTheSubjectOnceThereIsOne)
{
    ComposeWindow& window = open();
    EXPECT_EQ(window.windowTitle(), u"New Message"_s);
    EXPECT_EQ(window.size(), ComposeWindow::defaultSize);
    QTest::keyClicks(&child<QLineEdit>(window, "subject"), u"Hello"_s);
    EXPECT_EQ(window.windowTitle(), u"Hello"_s);
    child<QLineEdit>(window, "subject").clear();
    EXPECT_EQ(window.windowTitle(), u"New Message"_s);
}

TEST_F(ComposeWindowTest, PlainTextModeHasNoFormatBar)
{
    ComposeWindow& window = open();
    EXPECT_FALSE(child<QWidget>(window, "formatBar").isVisible());
    QTest::mouseClick(&child<QAbstractButton>(window, "richText"), Qt::LeftButton);
    EXPECT_TRUE(child<QWidget>(window, "formatBar").isVisible());
    EXPECT_TRUE(window.view().draft().isRichText);
    QTest::mouseClick(&child<QAbstractButton>(window, "plainText"), Qt::LeftButton);
    EXPECT_FALSE(child<QWidget>(window, "formatBar").isVisible());
    EXPECT_FALSE(window.view().draft().isRichText);
}

TEST_F(ComposeWindowTest, OneAccountNeedsNoChoice)
{
    EXPECT_FALSE(child<QWidget>(open(), "from").isVisible());
}

TEST_F(ComposeWindowTest, BccShowsWhenItIsAskedForOrHoldsSomeone)
{
    ComposeWindow& window = open();
    FlatButton& toggle = child<FlatButton>(window, "showBcc");
    EXPECT_EQ(toggle.toolTip(), u"Show Bcc field"_s);
    EXPECT_FALSE(field(window, "bcc").isVisible());
    QTest::mouseClick(&toggle, Qt::LeftButton);
    EXPECT_TRUE(field(window, "bcc").isVisible());
    QTest::mouseClick(&toggle, Qt::LeftButton);
    EXPECT_FALSE(field(window, "bcc").isVisible());
    // Nobody gets a message whom the sender can't see.
    field(window, "bcc").setText(u"eve@example.com"_s);
    window.view().setShowsBcc(false);
    EXPECT_TRUE(field(window, "bcc").isVisible());
    EXPECT_TRUE(toggle.isChecked());
    ComposeDraft draft = addressed();
    draft.bcc = u"eve@example.com"_s;
    EXPECT_TRUE(field(open(draft), "bcc").isVisible());
}

TEST_F(ComposeWindowTest, TheToolbarNamesItsChords)
{
    ComposeWindow& window = open();
    EXPECT_EQ(child<FlatButton>(window, "send").toolTip(), u"Send (Ctrl+Shift+D)"_s);
    EXPECT_EQ(child<FlatButton>(window, "attach").toolTip(), u"Attach Files (Ctrl+Shift+A)"_s);
    EXPECT_EQ(child<QAbstractButton>(window, "richText").toolTip(),
              u"Rich text is sent as HTML with a plain-text copy"_s);
}

// --- Sending

TEST_F(ComposeWindowTest, SendsWhatIsOnScreenAndCloses)
{
    QPointer<ComposeWindow> window = &open();
    const QUuid id = window->view().draftID();
    QTest::keyClicks(&field(*window, "to").line(), u"ada@example.com"_s);
    QTest::keyClicks(&child<QLineEdit>(*window, "subject"), u"Hello"_s);
    text(*window).setFocus();
    QTest::keyClicks(&text(*window), u"Good morning"_s);
    QTest::keyClick(&text(*window), Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    ASSERT_EQ(fixture.provider().sent().size(), 1);
    const OutgoingMessage& sent = fixture.provider().sent().constFirst().message;
    EXPECT_EQ(sent.to, QList<EmailAddress>({EmailAddress(std::nullopt, u"ada@example.com"_s)}));
    EXPECT_EQ(sent.subject, u"Hello"_s);
    EXPECT_EQ(sent.body, u"Good morning"_s);
    EXPECT_EQ(sent.htmlBody, std::nullopt);
    EXPECT_TRUE(windows->windows().isEmpty());
    EXPECT_FALSE(model().takeSeed(id));
}

TEST_F(ComposeWindowTest, RichTextGoesOutAsHTMLWithAPlainCopy)
{
    ComposeDraft draft = addressed();
    draft.isRichText = true;
    draft.initialHTML = u"<div>a <b>b</b></div><ul><li>c</li></ul>"_s;
    QPointer<ComposeWindow> window = &open(draft);
    pressSend(*window);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    const OutgoingMessage& sent = fixture.provider().sent().constFirst().message;
    EXPECT_EQ(sent.body, u"a b\n\t•\tc"_s);
    ASSERT_TRUE(sent.htmlBody);
    EXPECT_TRUE(sent.htmlBody->contains("<div>a <b>b</b></div>"_L1));
    EXPECT_TRUE(sent.htmlBody->contains("<ul><li>c</li></ul>"_L1));
}

TEST_F(ComposeWindowTest, AFailureToSendIsToldAndLosesNothing)
{
    fixture.provider().failNext(u"send"_s, MailError::protocolError(u"No."_s));
    ComposeWindow& window = open(addressed());
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    QMessageBox* const told = alert(window, "composeAlert");
    EXPECT_EQ(told->text(), u"Message Not Sent"_s);
    EXPECT_EQ(told->informativeText(), MailError::protocolError(u"No."_s).localizedText() +
                                           u"\nYour text is safe: it stays in this window."_s);
    EXPECT_FALSE(window.view().isSending());
    EXPECT_TRUE(window.view().error());
    press(*told, u"OK"_s);
    EXPECT_FALSE(window.view().error());
    EXPECT_EQ(text(window).toPlainText(), u"The text"_s);
    EXPECT_TRUE(text(window).isEnabled());
}

TEST_F(ComposeWindowTest, AMessageWithoutRecipientsIsNotSent)
{
    ComposeWindow& window = open();
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_TRUE(alert(window, "composeAlert")
                    ->informativeText()
                    .startsWith("Please specify at least one recipient.\n"_L1));
}

TEST_F(ComposeWindowTest, SendingShowsInTheToolbarAndHoldsTheFields)
{
    fixture.provider().hold(u"send"_s);
    QPointer<ComposeWindow> window = &open(addressed());
    pressSend(*window);
    EXPECT_TRUE(window->view().isSending());
    EXPECT_EQ(child<QLabel>(*window, "progressText").text(), u"Sending…"_s);
    EXPECT_TRUE(window->findChild<QProgressBar*>()->isVisible());
    EXPECT_FALSE(text(*window).isEnabled());
    EXPECT_FALSE(child<FlatButton>(*window, "send").isEnabled());
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return !window; }));
}

TEST_F(ComposeWindowTest, ClosingDuringSendingClosesAtOnce)
{
    fixture.provider().hold(u"send"_s);
    QPointer<ComposeWindow> window = &open(addressed());
    QTest::keyClicks(&text(*window), u"more "_s);
    pressSend(*window);
    window->close();
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    EXPECT_TRUE(windows->holdsQuit());
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return fixture.provider().sent().size() == 1; }));
    EXPECT_TRUE(waitUntil([this] { return !windows->holdsQuit(); }));
    EXPECT_TRUE(windows->windows().isEmpty());
}

TEST_F(ComposeWindowTest, AMessageWhoseSendingFailsAfterItsWindowClosedComesBack)
{
    fixture.provider().hold(u"send"_s);
    fixture.provider().failNext(u"send"_s, MailError::protocolError(u"No."_s));
    const ComposeDraft draft = addressed();
    QPointer<ComposeWindow> window = &open(draft);
    QTest::keyClicks(&text(*window), u"More. "_s);
    pressSend(*window);
    window->close();
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return windows->window(draft.id); }));
    ComposeWindow& back = *windows->window(draft.id);
    EXPECT_EQ(text(back).toPlainText(), u"More. The text"_s);
    settle();
    EXPECT_FALSE(alert(back, "composeAlert")) << "the user is elsewhere";
    back.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return alert(back, "composeAlert"); }));
    EXPECT_EQ(alert(back, "composeAlert")->text(), u"Message Not Sent"_s);
    EXPECT_TRUE(back.view().hasUnsavedChanges());
    EXPECT_TRUE(model().takeSeed(draft.id));
}

// --- Closing

TEST_F(ComposeWindowTest, ClosingWithoutChangesClosesAtOnce)
{
    const ComposeDraft draft = addressed();
    QPointer<ComposeWindow> window = &open(draft);
    EXPECT_FALSE(window->view().hasUnsavedChanges());
    window->close();
    EXPECT_TRUE(waitUntil([&] { return !window; }));
    EXPECT_FALSE(model().takeSeed(draft.id));
}

TEST_F(ComposeWindowTest, ARichDraftCountsAsUnchangedAfterItHasLoaded)
{
    ComposeDraft draft = addressed();
    draft.isRichText = true;
    draft.body = u"the text part says something else"_s;
    draft.initialHTML = u"<p>One</p><p>Two</p>"_s;
    EXPECT_FALSE(open(draft).view().hasUnsavedChanges());
}

TEST_F(ComposeWindowTest, EachKindOfChangeIsAnUnsavedOne)
{
    ComposeWindow& window = open(addressed());
    const auto expectChange = [&](QLineEdit& line) {
        const QString before = line.text();
        line.setText(before + u"x"_s);
        EXPECT_TRUE(window.view().hasUnsavedChanges());
        line.setText(before);
        EXPECT_FALSE(window.view().hasUnsavedChanges());
    };
    expectChange(field(window, "to").line());
    expectChange(field(window, "cc").line());
    expectChange(field(window, "bcc").line());
    expectChange(child<QLineEdit>(window, "subject"));
    QTest::keyClicks(&text(window), u"x"_s);
    EXPECT_TRUE(window.view().hasUnsavedChanges());
    text(window).undo();
    EXPECT_FALSE(window.view().hasUnsavedChanges());
    strip(window).setAttachments({{QUuid::createUuid(), u"a"_s, u"text/plain"_s, "x"}});
    EXPECT_TRUE(window.view().hasUnsavedChanges());
}

class ComposeSheetTest : public ComposeWindowTest {
protected:
    QMessageBox& closeChanged()
    {
        window = &open(addressed());
        QTest::keyClicks(&text(*window), u"x"_s);
        window->close();
        if (!waitUntil([this] { return alert(*window, "saveSheet"); }))
            throw std::runtime_error("no sheet");
        return *alert(*window, "saveSheet");
    }

    QPointer<ComposeWindow> window;
};

TEST_F(ComposeSheetTest, AsksInItsWordsWithItsButtonsInTheirOrder)
{
    QMessageBox& sheet = closeChanged();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(sheet.windowModality(), Qt::WindowModal);
    EXPECT_EQ(sheet.text(), u"Do you want to save this message as a draft?"_s);
    EXPECT_EQ(sheet.informativeText(), u"If you don't save, your changes will be lost."_s);
    QList<QAbstractButton*> buttons = sheet.buttons();
    std::ranges::sort(buttons,
                      [](const QAbstractButton* a, const QAbstractButton* b) { return a->x() < b->x(); });
    QStringList labels;
    for (const QAbstractButton* const button : buttons)
        labels.append(button->text());
    EXPECT_EQ(labels, QStringList({u"Save"_s, u"Don't Save"_s, u"Cancel"_s}));
    EXPECT_EQ(buttons[1]->property("role"), u"danger"_s);
    press(sheet, u"Cancel"_s);
}

TEST_F(ComposeSheetTest, SaveStoresTheDraftAndCloses)
{
    press(closeChanged(), u"Save"_s);
    EXPECT_TRUE(waitUntil([this] { return !window; }));
    ASSERT_EQ(fixture.provider().savedDrafts().size(), 1);
    EXPECT_EQ(fixture.provider().savedDrafts().constFirst().message.body, u"xThe text"_s);
}

TEST_F(ComposeSheetTest, DontSaveClosesAndForgets)
{
    QMessageBox& sheet = closeChanged();
    const QUuid id = window->view().draftID();
    press(sheet, u"Don't Save"_s);
    EXPECT_TRUE(waitUntil([this] { return !window; }));
    EXPECT_TRUE(fixture.provider().savedDrafts().isEmpty());
    EXPECT_FALSE(model().takeSeed(id));
}

TEST_F(ComposeSheetTest, CancelAndEscapeStay)
{
    press(closeChanged(), u"Cancel"_s);
    settle();
    ASSERT_TRUE(window);
    EXPECT_TRUE(window->isVisible());
    window->close();
    QTest::keyClick(alert(*window, "saveSheet"), Qt::Key_Escape);
    settle();
    ASSERT_TRUE(window);
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->view().hasUnsavedChanges());
}

TEST_F(ComposeSheetTest, AFailureToSaveIsToldAndTheWindowStays)
{
    fixture.provider().failNext(u"saveDraft"_s, MailError::protocolError(u"Full."_s));
    press(closeChanged(), u"Save"_s);
    ASSERT_TRUE(waitUntil([this] { return alert(*window, "composeAlert"); }));
    EXPECT_EQ(alert(*window, "composeAlert")->text(), u"Draft Not Saved"_s);
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->view().hasUnsavedChanges());
}

TEST_F(ComposeWindowTest, TheWindowItselfIsNotAskedWhenTheGuardSaysNo)
{
    class Asked : public QWidget {
    public:
        int closes = 0;
        int resizes = 0;

    protected:
        void closeEvent(QCloseEvent*) override { ++closes; }
        void resizeEvent(QResizeEvent*) override { ++resizes; }
    };
    Asked window;
    const auto state = std::make_shared<ComposeCloseState>();
    state->window = &window;
    bool answer = false;
    const WindowCloseGuard guard(
        state, [&answer](QWidget&) { return answer; }, nullptr);
    window.show();
    EXPECT_FALSE(window.close());
    EXPECT_EQ(window.closes, 0);
    EXPECT_TRUE(window.isVisible());
    EXPECT_GT(window.resizes, 0);
    answer = true;
    EXPECT_TRUE(window.close());
    EXPECT_EQ(window.closes, 1);
}

// --- What counts as unsaved

TEST_F(ComposeWindowTest, EachFieldAloneCountsAsUnsavedAndIsSentAsItStands)
{
    for (const char* const name : {"to", "cc", "bcc"}) {
        ComposeDraft draft = addressed();
        draft.cc = u"cc@example.com"_s;
        draft.bcc = u"bcc@example.com"_s;
        const QPointer<ComposeWindow> window = &open(draft);
        EXPECT_FALSE(window->view().hasUnsavedChanges());
        QLineEdit& line = field(*window, name).line();
        QTest::keyClicks(&line, u", new@example.com"_s);
        EXPECT_TRUE(window->view().hasUnsavedChanges()) << name;
        for (int count = 0; count < 17; ++count)
            QTest::keyClick(&line, Qt::Key_Backspace);
        EXPECT_FALSE(window->view().hasUnsavedChanges()) << name;
        QTest::keyClicks(&line, u", new@example.com"_s);
        pressSend(*window);
        ASSERT_TRUE(waitUntil([&] { return !window; }));
        const OutgoingMessage message = fixture.provider().sent().constLast().message;
        const auto expected = [name](const char* which, const QString& first) {
            QList<EmailAddress> list{EmailAddress(std::nullopt, first)};
            if (qstrcmp(which, name) == 0)
                list.append(EmailAddress(std::nullopt, u"new@example.com"_s));
            return list;
        };
        EXPECT_EQ(message.to, expected("to", u"ada@example.com"_s));
        EXPECT_EQ(message.cc, expected("cc", u"cc@example.com"_s));
        EXPECT_EQ(message.bcc, expected("bcc", u"bcc@example.com"_s));
    }
}

TEST_F(ComposeWindowTest, ANameWithABackslashLeavesAsItWas)
{
    ComposeDraft draft = addressed();
    draft.to = uR"(O\Brien <o@example.com>)"_s;
    const QPointer<ComposeWindow> window = &open(draft);
    EXPECT_EQ(field(*window, "to").text(), draft.to);
    EXPECT_EQ(window->view().draft().to, draft.to);
    pressSend(*window);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    EXPECT_EQ(fixture.provider().sent().constLast().message.to,
              QList<EmailAddress>{EmailAddress(uR"(O\Brien)"_s, u"o@example.com"_s)});
}

TEST_F(ComposeWindowTest, AChangeOfFormattingAloneCountsAsUnsaved)
{
    ComposeDraft draft = addressed();
    draft.isRichText = true;
    draft.initialHTML = u"<div>The text</div>"_s;
    ComposeWindow& window = open(draft);
    EXPECT_FALSE(window.view().hasUnsavedChanges());
    text(window).selectAll();
    QTest::keyClick(&text(window), Qt::Key_B, Qt::ControlModifier);
    EXPECT_TRUE(window.view().hasUnsavedChanges());
    QTest::keyClick(&text(window), Qt::Key_B, Qt::ControlModifier);
    EXPECT_FALSE(window.view().hasUnsavedChanges());
    QTest::mouseClick(&child<QAbstractButton>(window, "plainText"), Qt::LeftButton);
    EXPECT_TRUE(window.view().hasUnsavedChanges());
}

TEST_F(ComposeWindowTest, WhatWasTypedAndTakenBackIsNoChangeButInALongText)
{
    ComposeDraft draft = addressed();
    ComposeWindow& window = open(draft);
    QTest::keyClicks(&text(window), u"x"_s);
    EXPECT_TRUE(window.view().hasUnsavedChanges());
    QTest::keyClick(&text(window), Qt::Key_Backspace);
    EXPECT_FALSE(window.view().hasUnsavedChanges());
    ComposeDraft longer = addressed();
    longer.body = u"word "_s.repeated(ComposeSession::longestCompared / 5);
    ComposeWindow& longWindow = open(longer);
    EXPECT_FALSE(longWindow.view().hasUnsavedChanges());
    QTest::keyClicks(&text(longWindow), u"x"_s);
    QTest::keyClick(&text(longWindow), Qt::Key_Backspace);
    EXPECT_TRUE(longWindow.view().hasUnsavedChanges());
    text(longWindow).undo();
    text(longWindow).undo();
    EXPECT_FALSE(longWindow.view().hasUnsavedChanges());
}

// --- Files

TEST_F(ComposeWindowTest, AttachesTheFilesThatAreChosen)
{
    ComposeWindow& window = open();
    chosenFiles = {url(makeFile(u"a.pdf"_s, 1'500)), url(makeFile(u"b"_s, 10))};
    QTest::keyClick(&window, Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(waitUntil([&] { return strip(window).attachments().size() == 2; }));
    const QList<OutgoingAttachment> attachments = strip(window).attachments();
    EXPECT_EQ(attachments[0].filename, u"a.pdf"_s);
    EXPECT_EQ(attachments[0].mimeType, u"application/pdf"_s);
    EXPECT_EQ(attachments[0].data, QByteArray(1'500, '\0'));
    EXPECT_EQ(attachments[1].mimeType, u"application/octet-stream"_s);
    EXPECT_NE(attachments[0].id, attachments[1].id);
    EXPECT_TRUE(strip(window).isVisible());
    EXPECT_FALSE(alert(window, "composeAlert"));
    EXPECT_FALSE(child<QLabel>(window, "attachmentTotal").isVisible());
}

TEST_F(ComposeWindowTest, AnAttachmentIsRemovedByItsButton)
{
    ComposeDraft draft = addressed();
    draft.attachments = {{QUuid::createUuid(), u"a"_s, u"text/plain"_s, "x"},
                         {QUuid::createUuid(), u"b"_s, u"text/plain"_s, "y"}};
    ComposeWindow& window = open(draft);
    FlatButton& remove = child<FlatButton>(window, "removeAttachment");
    EXPECT_EQ(remove.toolTip(), u"Remove Attachment"_s);
    QTest::mouseClick(&remove, Qt::LeftButton);
    EXPECT_EQ(names(window), QStringList({u"b"_s}));
    settle();
    QTest::mouseClick(&child<FlatButton>(window, "removeAttachment"), Qt::LeftButton);
    EXPECT_FALSE(strip(window).isVisible());
}

TEST_F(ComposeWindowTest, ADropOfAFolderIsRefusedByName)
{
    ComposeWindow& window = open();
    ASSERT_TRUE(QDir(folder.path()).mkdir(u"Holiday"_s));
    drop(window, {url(folder.filePath(u"Holiday"_s)), url(makeFile(u"a.txt"_s, 5))});
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_EQ(alert(window, "composeAlert")->text(), u"Some Files Weren’t Attached"_s);
    EXPECT_EQ(alert(window, "composeAlert")->informativeText(),
              u"Couldn't attach Holiday. Only files can be attached, up to 26.2 MB in total."_s);
    EXPECT_EQ(names(window), QStringList({u"a.txt"_s}));
}

TEST_F(ComposeWindowTest, AFileOverTheLimitIsRefusedAndALaterSmallerOneStillTaken)
{
    ComposeWindow& window = open();
    const qint64 limit = MessageComposer::maxAttachmentBytes;
    drop(window, {url(makeFile(u"big"_s, limit - 100)), url(makeFile(u"over"_s, 101)),
                  url(makeFile(u"small"_s, 100))});
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_EQ(names(window), QStringList({u"big"_s, u"small"_s}));
    EXPECT_EQ(strip(window).total(), limit);
    EXPECT_TRUE(alert(window, "composeAlert")->informativeText().startsWith("Couldn't attach over."_L1));
    EXPECT_EQ(child<QLabel>(window, "attachmentTotal").text(), u"26.2 MB of 26.2 MB"_s);
    EXPECT_TRUE(child<QLabel>(window, "attachmentTotal").isVisible());
    press(*alert(window, "composeAlert"), u"OK"_s);
    drop(window, {url(makeFile(u"one more"_s, 1))});
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_EQ(names(window), QStringList({u"big"_s, u"small"_s}));
}

TEST_F(ComposeWindowTest, WhatIsNoReadableFileIsRefusedByName)
{
    ComposeWindow& window = open();
    const QString target = makeFile(u"target"_s, 5);
    ASSERT_TRUE(QFile::link(target, folder.filePath(u"link"_s)));
    drop(window, {url(folder.filePath(u"missing"_s)), url(folder.filePath(u"link"_s)), url(u"/dev/null"_s),
                  url(target)});
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_TRUE(alert(window, "composeAlert")
                    ->informativeText()
                    .startsWith("Couldn't attach missing, link, null. Only"_L1));
    EXPECT_EQ(names(window), QStringList({u"target"_s}));
}

TEST_F(ComposeWindowTest, SeveralDropsAtOnceShareTheLimit)
{
    ComposeWindow& window = open();
    const qint64 half = MessageComposer::maxAttachmentBytes / 2 + 1;
    drop(window, {url(makeFile(u"a"_s, half))});
    drop(window, {url(makeFile(u"b"_s, half))});
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_EQ(names(window), QStringList({u"a"_s}));
}

TEST_F(ComposeWindowTest, SendingWaitsForFilesThatAreBeingRead)
{
    QPointer<ComposeWindow> window = &open(addressed());
    drop(*window, {url(makeFile(u"a"_s, 5'000'000))});
    pressSend(*window);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    ASSERT_EQ(fixture.provider().sent().size(), 1);
    EXPECT_EQ(fixture.provider().sent().constFirst().message.attachments.size(), 1);
}

// --- Several accounts

class ComposeAccountsTest : public ComposeTest {
protected:
    ComposeAccountsTest()
        : ComposeTest({ModelFixture::imapAccount(), ModelFixture::googleAccount()})
    {}
};

TEST_F(ComposeAccountsTest, TheChoiceOfTheAccountSetsWhoSends)
{
    QPointer<ComposeWindow> window = &open();
    EXPECT_TRUE(child<QWidget>(*window, "from").isVisible());
    auto& accounts = *window->findChild<QComboBox*>();
    EXPECT_EQ(accounts.count(), 2);
    EXPECT_EQ(accounts.currentIndex(), 0);
    QTest::keyClick(&accounts, Qt::Key_Down);
    EXPECT_EQ(window->view().draft().accountID, fixture.account(1).id);
    field(*window, "to").setText(u"ada@example.com"_s);
    pressSend(*window);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    EXPECT_EQ(fixture.provider(1).sent().size(), 1);
    EXPECT_TRUE(fixture.provider(0).sent().isEmpty());
}

TEST_F(ComposeAccountsTest, ATextOfAnAccountThatIsRemovedLeavesByAnother)
{
    ComposeDraft written = draft();
    written.to = u"ada@example.com"_s;
    QPointer<ComposeWindow> window = &open(written);
    model().start(model().removeAccount(fixture.account(0).id));
    ASSERT_TRUE(waitUntil([&] { return model().accounts().size() == 1; }));
    EXPECT_TRUE(child<QWidget>(*window, "from").isVisible());
    EXPECT_TRUE(window->view().hasUnsavedChanges());
    pressSend(*window);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    EXPECT_EQ(fixture.provider(1).sent().size(), 1);
}

TEST_F(ComposeWindowTest, AnEndlessSubjectEndsNoDisplay)
{
    ComposeDraft written = draft();
    written.subject = QString(1'000'000, u'x');
    ComposeWindow& window = open(written);
    EXPECT_LT(window.windowTitle().size(), 2'000);
    EXPECT_EQ(window.view().draft().subject, written.subject);
}

TEST_F(ComposeWindowTest, NoRecipientIsCutOffALongList)
{
    ComposeDraft written = draft();
    QStringList many;
    for (int index = 0; index < 5'000; ++index)
        many.append(u"person%1@example.com"_s.arg(index));
    written.to = many.join(u", "_s);
    ComposeWindow& window = open(written);
    EXPECT_EQ(window.view().draft().to, written.to);
    EXPECT_FALSE(window.view().hasUnsavedChanges());
}

} // namespace
} // namespace Larkhaven
