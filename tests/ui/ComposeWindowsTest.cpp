#include "views/compose/ComposeWindows.h"

#include "ComposeSupport.h"
#include "domain/MailError.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/style/FlatButton.h"

#include <QDirIterator>
#include <QLabel>
#include <QTest>
#include <QThreadPool>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

// --- Recovery

class ComposeRecoveryTest : public ComposeWindowTest {
protected:
    /// What is kept on the disk.
    QString keptState() const
    {
        QString state;
        QDirIterator files(fixture.keptTextsDirectory(), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QFileInfo file(files.next());
            state += u"%1 %2 %3;"_s.arg(file.fileName())
                         .arg(file.size())
                         .arg(file.lastModified().toMSecsSinceEpoch());
        }
        return state;
    }

    /// What happens when the process is killed and starts again.
    void crashAndRestart()
    {
        windows.reset();
        fixture.restart();
        windows = std::make_unique<ComposeWindows>(fixture.model(), ComposeView::Desktop{}, contacts);
        await(model().recoverDrafts());
    }
};

TEST_F(ComposeRecoveryTest, ATextThatWasBeingWrittenComesBackAfterACrash)
{
    ComposeWindow& window = open(addressed());
    const QUuid id = window.view().draftID();
    EXPECT_FALSE(child<QLabel>(window, "recoveredNote").isVisible());
    const QString before = keptState();
    QTest::keyClicks(&text(window), u"More. "_s);
    ASSERT_TRUE(waitUntil([&] { return keptState() != before; }));
    crashAndRestart();
    ASSERT_TRUE(windows->window(id));
    ComposeWindow& back = *windows->window(id);
    EXPECT_EQ(text(back).toPlainText(), u"More. The text"_s);
    EXPECT_EQ(field(back, "to").text(), u"ada@example.com"_s);
    EXPECT_TRUE(back.view().hasUnsavedChanges());
    QLabel& note = child<QLabel>(back, "recoveredNote");
    EXPECT_TRUE(note.isVisible());
    EXPECT_EQ(note.text(), u"Recovered after Larkhaven ended unexpectedly."_s);
    back.close();
    EXPECT_TRUE(alert(back, "saveSheet"));
}

TEST_F(ComposeRecoveryTest, TypingWithoutAPauseIsKeptAsWell)
{
    ComposeWindow& window = open(addressed());
    const QString before = keptState();
    EXPECT_TRUE(waitUntil(
        [&] {
            QTest::keyClicks(&text(window), u"x"_s, Qt::NoModifier, 50);
            return keptState() != before;
        },
        std::chrono::seconds(30)));
}

TEST_F(ComposeRecoveryTest, WhatWasClosedOnPurposeStaysAway)
{
    ComposeWindow& window = open(addressed());
    const QString before = keptState();
    QTest::keyClicks(&text(window), u"x"_s);
    ASSERT_TRUE(waitUntil([&] { return keptState() != before; }));
    window.view().discard();
    settle();
    crashAndRestart();
    EXPECT_TRUE(windows->windows().isEmpty());
}

TEST_F(ComposeRecoveryTest, AMessageOnItsWayComesBackIfTheProcessEndsFirst)
{
    fixture.provider().hold(u"send"_s);
    ComposeWindow& window = open(addressed());
    const QUuid id = window.view().draftID();
    const QString before = keptState();
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return keptState() != before; }));
    crashAndRestart();
    EXPECT_TRUE(windows->window(id));
}

// --- All windows

class ComposeWindowsTest : public ComposeWindowTest {
protected:
    ComposeWindow& changed()
    {
        ComposeWindow& window = open(addressed());
        QTest::keyClicks(&text(window), u"x"_s);
        return window;
    }

    void quit()
    {
        windows->confirmQuit(&parent, [this] { ++quits; });
    }

    QMessageBox& quitAlert(const char* name = "quitAlert")
    {
        if (!waitUntil([&] { return alert(parent, name); }))
            throw std::runtime_error(name);
        return *alert(parent, name);
    }

    QWidget parent;
    int quits = 0;
};

TEST_F(ComposeWindowsTest, EachDraftHasItsWindowAndAnOpenOneIsRaised)
{
    const ComposeDraft first = addressed();
    const ComposeDraft second = addressed();
    open(first);
    open(second);
    EXPECT_EQ(windows->windows().size(), 2);
    EXPECT_FALSE(model().pendingCompose());
    ComposeWindow& raised = open(first);
    EXPECT_EQ(windows->windows().size(), 2);
    EXPECT_TRUE(raised.isActiveWindow());
}

TEST_F(ComposeWindowsTest, QuittingWithoutChangesAsksNothing)
{
    open(addressed());
    quit();
    EXPECT_EQ(quits, 1);
}

TEST_F(ComposeWindowsTest, QuittingWithOneChangedWindowShowsItsSheet)
{
    ComposeWindow& window = changed();
    quit();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "saveSheet"); }));
    press(*alert(window, "saveSheet"), u"Cancel"_s);
    settle();
    EXPECT_EQ(quits, 0);
    quit();
    press(*alert(window, "saveSheet"), u"Save"_s);
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 1);
}

TEST_F(ComposeWindowsTest, QuittingAsksOnceForAllWindows)
{
    parent.show();
    changed();
    changed();
    changed();
    open(addressed());
    quit();
    QMessageBox& asked = quitAlert();
    EXPECT_EQ(asked.text(),
              u"You have 3 messages with unsaved changes. Do you want to save them as drafts?"_s);
    press(asked, u"Cancel"_s);
    settle();
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(windows->windows().size(), 4);
    quit();
    press(quitAlert(), u"Discard All"_s);
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    EXPECT_TRUE(fixture.provider().savedDrafts().isEmpty());
}

TEST_F(ComposeWindowsTest, SaveAllQuitsOnceAllAreSaved)
{
    parent.show();
    changed();
    changed();
    fixture.provider().hold(u"saveDraft"_s);
    quit();
    press(quitAlert(), u"Save All"_s);
    settle();
    EXPECT_EQ(quits, 0);
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 2);
}

TEST_F(ComposeWindowsTest, ADraftThatCannotBeSavedStopsTheQuit)
{
    parent.show();
    changed();
    changed();
    fixture.provider().failNext(u"saveDraft"_s, MailError::protocolError(u"Full."_s));
    quit();
    press(quitAlert(), u"Save All"_s);
    ASSERT_TRUE(waitUntil([this] { return windows->windows().size() == 1; }));
    settle();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(windows->windows().constFirst()->view().hasUnsavedChanges());
}

TEST_F(ComposeWindowsTest, SendingHoldsTheQuitUntilItHasEnded)
{
    parent.show();
    fixture.provider().hold(u"send"_s);
    pressSend(open(addressed()));
    quit();
    quitAlert("deliveryAlert");
    EXPECT_EQ(quits, 0);
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    EXPECT_FALSE(alert(parent, "deliveryAlert"));
}

TEST_F(ComposeWindowsTest, TheUserMayInsistOrStay)
{
    parent.show();
    fixture.provider().hold(u"send"_s);
    pressSend(open(addressed()));
    quit();
    press(quitAlert("deliveryAlert"), u"Cancel"_s);
    settle();
    EXPECT_EQ(quits, 0);
    quit();
    press(quitAlert("deliveryAlert"), u"Quit Anyway"_s);
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    fixture.provider().completeAll();
    settle();
    EXPECT_EQ(quits, 1);
}

TEST_F(ComposeWindowsTest, ASendingThatFailsStopsTheQuit)
{
    parent.show();
    fixture.provider().hold(u"send"_s);
    fixture.provider().failNext(u"send"_s, MailError::protocolError(u"No."_s));
    ComposeWindow& window = open(addressed());
    pressSend(window);
    quit();
    quitAlert("deliveryAlert");
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(waitUntil([this] { return !alert(parent, "deliveryAlert"); }));
}

// --- Crossings

class ComposeQuitTest : public ComposeWindowsTest {
protected:
    ComposeQuitTest() { parent.show(); }

    void finishReading() { readingGate->release(); }
    /// A window with a change, whose files are being read until `finishReading`.
    ComposeWindow& reading()
    {
        // Painting needs a worker as well.
        QThreadPool::globalInstance()->setMaxThreadCount(4);
        if (readingGate->available() > 0)
            readingGate->acquire();
        ComposeWindow& window = changed();
        drop(window, {url(makeFile(QUuid::createUuid().toString(QUuid::Id128), 2'000))});
        return window;
    }
    bool quitsOnceAsked()
    {
        quit();
        return waitUntil([this] { return quits == 1; });
    }
};

TEST_F(ComposeQuitTest, ThrowingAwayATextWhoseFilesAreReadForSavingLetsTheQuitGoOn)
{
    const QPointer<ComposeWindow> first = &reading();
    const QPointer<ComposeWindow> second = &changed();
    quit();
    press(quitAlert(), u"Save All"_s);
    // The answer comes before the files do.
    ASSERT_TRUE(waitUntil([&] { return first->view().isDelivering(); }));
    ASSERT_FALSE(first->view().isSending());
    first->view().carryOut(ComposeView::Choice::discard);
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    EXPECT_FALSE(first);
    EXPECT_FALSE(second);
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 1);
    EXPECT_FALSE(windows->holdsQuit());
    quits = 0;
    EXPECT_TRUE(quitsOnceAsked());
    EXPECT_FALSE(alert(parent, "deliveryAlert"));
}

TEST_F(ComposeQuitTest, SavingWaitsForFilesAndTakesThemAlong)
{
    reading();
    reading();
    quit();
    press(quitAlert(), u"Save All"_s);
    quitAlert("deliveryAlert");
    EXPECT_TRUE(fixture.provider().savedDrafts().isEmpty());
    finishReading();
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    ASSERT_EQ(fixture.provider().savedDrafts().size(), 2);
    for (const FakeMailProvider::Sent& saved : fixture.provider().savedDrafts())
        EXPECT_EQ(saved.message.attachments.size(), 1);
}

TEST_F(ComposeQuitTest, ARefusedFileStopsTheQuitAndTheNextOneAsksAgain)
{
    ComposeWindow& window = reading();
    changed();
    drop(window, {url(folder.filePath(u"missing"_s))});
    quit();
    press(quitAlert(), u"Save All"_s);
    ASSERT_TRUE(waitUntil([&] { return window.view().isDelivering(); }));
    finishReading();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    ASSERT_TRUE(waitUntil([this] { return windows->windows().size() == 1; }));
    settle();
    EXPECT_EQ(quits, 0);
    press(*alert(window, "composeAlert"), u"OK"_s);
    quit();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "saveSheet"); }));
    press(*alert(window, "saveSheet"), u"Don't Save"_s);
    EXPECT_TRUE(waitUntil([this] { return quits == 1; }));
}

TEST_F(ComposeQuitTest, QuittingTwiceAsksOnceAndQuitsOnce)
{
    changed();
    changed();
    quit();
    quitAlert();
    quit();
    settle();
    EXPECT_EQ(parent.findChildren<QMessageBox*>(u"quitAlert"_s).size(), 1);
    press(quitAlert(), u"Discard All"_s);
    ASSERT_TRUE(waitUntil([this] { return quits > 0; }));
    settle();
    EXPECT_EQ(quits, 1);
}

TEST_F(ComposeQuitTest, AQuestionOfTheWindowGivesWayToTheOneOfTheQuit)
{
    ComposeWindow& window = changed();
    window.close();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "saveSheet"); }));
    quit();
    settle();
    ASSERT_TRUE(alert(window, "saveSheet"));
    press(*alert(window, "saveSheet"), u"Don't Save"_s);
    EXPECT_TRUE(waitUntil([this] { return quits == 1; }));
}

TEST_F(ComposeQuitTest, CancelAtEachQuestionStaysAndTheNextQuitAsksAfresh)
{
    fixture.provider().hold(u"saveDraft"_s);
    const QPointer<ComposeWindow> first = &changed();
    const QPointer<ComposeWindow> second = &changed();
    quit();
    press(quitAlert(), u"Cancel"_s);
    settle();
    quit();
    press(quitAlert(), u"Save All"_s);
    press(quitAlert("deliveryAlert"), u"Cancel"_s);
    settle();
    EXPECT_EQ(quits, 0);
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return !first && !second; }));
    settle();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(quitsOnceAsked());
}

TEST_F(ComposeQuitTest, CancelStaysAlsoWhereEverythingEndsWithIt)
{
    fixture.provider().hold(u"saveDraft"_s);
    const QPointer<ComposeWindow> window = &changed();
    changed();
    quit();
    press(quitAlert(), u"Save All"_s);
    QMessageBox& question = quitAlert("deliveryAlert");
    QObject::connect(&question, &QMessageBox::finished, &question,
                     [this] { fixture.provider().completeAll(); });
    press(question, u"Cancel"_s);
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    settle();
    EXPECT_EQ(quits, 0);
}

TEST_F(ComposeQuitTest, OfSeveralSavesTheOneThatFailsKeepsItsWindowAndTheProgram)
{
    fixture.provider().hold(u"saveDraft"_s);
    fixture.provider().failNext(u"saveDraft"_s, MailError::protocolError(u"Full."_s));
    const QPointer<ComposeWindow> first = &changed();
    const QPointer<ComposeWindow> second = &changed();
    const QPointer<ComposeWindow> third = &changed();
    quit();
    press(quitAlert(), u"Save All"_s);
    quitAlert("deliveryAlert");
    fixture.provider().complete(0);
    ASSERT_TRUE(waitUntil([&] { return first && alert(*first, "composeAlert"); }));
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return !second && !third; }));
    settle();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(first);
    EXPECT_FALSE(alert(parent, "deliveryAlert"));
}

TEST_F(ComposeQuitTest, AWindowThatClosesMeanwhileIsAskedAboutNoMore)
{
    const QPointer<ComposeWindow> first = &changed();
    changed();
    quit();
    quitAlert();
    first->view().discard();
    ASSERT_TRUE(waitUntil([&] { return !first; }));
    press(quitAlert(), u"Save All"_s);
    ASSERT_TRUE(waitUntil([this] { return quits == 1; }));
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 1);
}

TEST_F(ComposeQuitTest, ATextThatIsBegunWhileOthersAreOnTheirWayIsAskedAbout)
{
    fixture.provider().hold(u"send"_s);
    pressSend(open(addressed()));
    quit();
    quitAlert("deliveryAlert");
    ComposeWindow& late = changed();
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return alert(late, "saveSheet"); }));
    EXPECT_EQ(quits, 0);
    press(*alert(late, "saveSheet"), u"Don't Save"_s);
    EXPECT_TRUE(waitUntil([this] { return quits == 1; }));
}

TEST_F(ComposeQuitTest, QuittingAnywayKeepsWhatIsOnItsWayFirst)
{
    fixture.provider().hold(u"send"_s);
    fixture.textKeychain().hesitates = true;
    pressSend(open(addressed()));
    quit();
    QMessageBox& question = quitAlert("deliveryAlert");
    EXPECT_EQ(question.informativeText(), u"Larkhaven quits as soon as they have been sent or saved."_s);
    press(question, u"Quit Anyway"_s);
    settle();
    EXPECT_EQ(quits, 0) << "it isn't kept yet";
    fixture.textKeychain().hesitates = false;
    EXPECT_TRUE(waitUntil([this] { return quits == 1; }));
    EXPECT_FALSE(QDir(fixture.keptTextsDirectory()).isEmpty());
}

TEST_F(ComposeQuitTest, QuittingAnywayWaitsForNoKeyringForLong)
{
    fixture.provider().hold(u"send"_s);
    fixture.textKeychain().hesitates = true;
    pressSend(open(addressed()));
    quit();
    press(quitAlert("deliveryAlert"), u"Quit Anyway"_s);
    EXPECT_TRUE(waitUntil([this] { return quits == 1; }, std::chrono::seconds(20)));
    fixture.textKeychain().hesitates = false;
}

TEST_F(ComposeQuitTest, SaysThatWhatIsOnItsWayCannotBeKept)
{
    fixture.provider().hold(u"send"_s);
    fixture.textKeychain().readFailure = KeychainStatus::interactionNotAllowed;
    pressSend(open(addressed()));
    settle();
    quit();
    EXPECT_EQ(quitAlert("deliveryAlert").informativeText(),
              u"Larkhaven quits as soon as they have been sent or saved. What you write can’t be kept at the "
              "moment: quitting now may lose them."_s);
}

TEST_F(ComposeQuitTest, TheEndOfTheProgramEndsTheDecision)
{
    fixture.provider().hold(u"send"_s);
    pressSend(open(addressed()));
    quit();
    quitAlert("deliveryAlert");
    windows.reset();
    settle();
    EXPECT_EQ(quits, 0);
}

TEST_F(ComposeQuitTest, SavingInPlaceOfSendingWaitsForTheSameFiles)
{
    ComposeWindow& window = reading();
    window.view().send();
    window.view().save();
    finishReading();
    ASSERT_TRUE(waitUntil([this] { return windows->windows().isEmpty(); }));
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 1);
}

// --- What is kept after a failure

/// The note of a text that comes back after the process has ended.
class ComposeFailureTest : public ComposeRecoveryTest {
protected:
    static constexpr auto recovered = "Recovered after Larkhaven ended unexpectedly."_L1;

    QString noteAfterCrash(const QUuid& id)
    {
        settle();
        crashAndRestart();
        ComposeWindow* const back = windows->window(id);
        return back ? child<QLabel>(*back, "recoveredNote").text() : QString();
    }
    void failNextSend() { fixture.provider().failNext(u"send"_s, MailError::protocolError(u"No."_s)); }
};

TEST_F(ComposeFailureTest, ATextIsKeptAsNotBeingSentAfterItsSendingFailed)
{
    failNextSend();
    ComposeWindow& window = open(addressed());
    const QUuid id = window.view().draftID();
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_EQ(noteAfterCrash(id), recovered);
}

TEST_F(ComposeFailureTest, ATextOnItsWayStaysMarkedWhateverWasTypedBefore)
{
    fixture.provider().hold(u"send"_s);
    ComposeWindow& window = open(addressed());
    const QUuid id = window.view().draftID();
    text(window).setFocus();
    QTest::keyClicks(&text(window), u"typed"_s);
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return window.view().isSending(); }));
    // What was typed would be kept by now, and an account is changed.
    fixture.model().setNickname(fixture.account().id, u"Work"_s);
    QTest::qWait(ComposeSession::keepingDelay + 300);
    EXPECT_EQ(noteAfterCrash(id),
              u"This was being sent when Larkhaven ended. Look in Sent before you send it again."_s);
}

TEST_F(ComposeFailureTest, OfTwoDeliveriesTheLastOneCounts)
{
    failNextSend();
    ComposeWindow& window = open(addressed());
    const QUuid id = window.view().draftID();
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    press(*alert(window, "composeAlert"), u"OK"_s);
    fixture.provider().hold(u"send"_s);
    pressSend(window);
    EXPECT_EQ(noteAfterCrash(id),
              u"This was being sent when Larkhaven ended. Look in Sent before you send it again."_s);
}

TEST_F(ComposeFailureTest, AFailureBehindAClosedWindowTakesItBackAsWell)
{
    fixture.provider().hold(u"send"_s);
    failNextSend();
    const QPointer<ComposeWindow> window = &open(addressed());
    const QUuid id = window->view().draftID();
    pressSend(*window);
    ASSERT_TRUE(waitUntil([&] { return window->view().isSending(); }));
    window->close();
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return windows->window(id); }));
    EXPECT_EQ(noteAfterCrash(id), recovered);
}

class ComposeLostAccountTest : public ComposeTest {
protected:
    ComposeLostAccountTest()
        : ComposeTest({ModelFixture::imapAccount(), ModelFixture::googleAccount()})
    {}

    ComposeDraft written() const
    {
        ComposeDraft draft = this->draft();
        draft.to = u"ada@example.com"_s;
        return draft;
    }
    void loseAccount()
    {
        model().start(model().removeAccount(fixture.account(0).id));
        ASSERT_TRUE(waitUntil([&] { return model().accounts().size() == 1; }));
    }
};

TEST_F(ComposeLostAccountTest, ATextThatFailsWithoutItsAccountIsKeptByAnother)
{
    fixture.provider().hold(u"send"_s);
    fixture.provider().failNext(u"send"_s, MailError::protocolError(u"No."_s));
    ComposeWindow& window = open(written());
    const QUuid id = window.view().draftID();
    pressSend(window);
    loseAccount();
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    settle();
    windows.reset();
    fixture.restart();
    windows = std::make_unique<ComposeWindows>(fixture.model(), ComposeView::Desktop{}, contacts);
    await(model().recoverDrafts());
    ASSERT_TRUE(windows->window(id));
    EXPECT_EQ(windows->window(id)->view().draft().accountID, fixture.account(1).id);
    EXPECT_FALSE(windows->window(id)->view().draft().wasSending);
}

} // namespace
} // namespace Larkhaven
