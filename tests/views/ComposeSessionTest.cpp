#include "views/compose/ComposeSession.h"

#include "domain/MailError.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/compose/ComposeFileReader.h"

#include <QMimeData>
#include <QMutex>
#include <QSemaphore>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What stands for a window: fields in memory, and answers that are given ahead.
class FakeSurface final : public ComposeSession::Surface {
public:
    ComposeDraft fields(ComposeDraft draft) const override
    {
        draft.to = shown.to;
        draft.cc = shown.cc;
        draft.bcc = shown.bcc;
        draft.subject = shown.subject;
        draft.attachments = shown.attachments;
        return draft;
    }
    ComposeDraft text(ComposeDraft draft) const override
    {
        ++textsTaken;
        draft.body = shown.body;
        draft.initialHTML = shown.initialHTML;
        return draft;
    }
    TextState textState() const override { return state; }
    bool isReadingFiles() const override { return isReading; }
    Task<bool> complete() override { co_return bool(isComplete); }
    Task<bool> acceptLosses(ComposeSession::Delivery) override
    {
        ++lossQuestions;
        co_return bool(acceptsLosses);
    }
    Task<SendAgain::Decision> askToSendAgain(Larkhaven::Outcome<bool> look) override
    {
        looks.append(look.value.value_or(false));
        co_return SendAgain::Decision(again);
    }
    void showProgress(const QString& text) override { progress.append(text); }
    void showSending(bool isSending) override { sending.append(isSending); }
    void showFailure(const ComposeSession::Failure& failure) override { failures.append(failure); }
    void closeWindow() override { ++closes; }

    ComposeDraft shown;
    TextState state;
    bool isReading = false;
    bool isComplete = true;
    bool acceptsLosses = true;
    SendAgain::Decision again = SendAgain::Decision::send;
    QStringList progress;
    QList<bool> sending;
    QList<bool> looks;
    QList<ComposeSession::Failure> failures;
    int lossQuestions = 0;
    int closes = 0;
    mutable int textsTaken = 0;
};

class ComposeSessionTest : public testing::Test {
protected:
    using Delivery = ComposeSession::Delivery;
    using Outcome = ComposeSession::Outcome;

    ComposeSessionTest()
    {
        draft.id = QUuid::createUuid();
        draft.accountID = fixture.account().id;
        draft.to = u"ada@example.com"_s;
        draft.subject = u"A subject"_s;
        draft.body = u"The text"_s;
    }

    ComposeSession& begin(bool isUnsaved = false)
    {
        surface.shown = draft;
        ComposeSession::Hooks hooks;
        hooks.deliveryBegan = [this](const QUuid& id) { began.append(id); };
        hooks.deliveryEnded = [this](const QUuid&, Outcome outcome) { ended.append(outcome); };
        hooks.lateFailure = [this](const ComposeDraft& kept, const ComposeSession::Failure& failure) {
            late.append({kept, failure});
        };
        session = std::make_unique<ComposeSession>(fixture.model(), draft, isUnsaved, surface, hooks);
        session->begin();
        return *session;
    }

    void type(const QString& body)
    {
        surface.shown.body = body;
        surface.state.isModified = true;
        ++surface.state.revision;
        session->followChange();
    }

    ModelFixture fixture{QList<Account>{ModelFixture::imapAccount(), ModelFixture::googleAccount()}};
    ComposeDraft draft;
    FakeSurface surface;
    std::unique_ptr<ComposeSession> session;
    QList<QUuid> began;
    QList<Outcome> ended;
    QList<std::pair<ComposeDraft, ComposeSession::Failure>> late;
};

// --- What is unsaved

TEST_F(ComposeSessionTest, ComparesEachFieldWithWhatItBeganWith)
{
    begin();
    EXPECT_FALSE(session->hasUnsavedChanges());
    for (QString ComposeDraft::*const field :
         {&ComposeDraft::to, &ComposeDraft::cc, &ComposeDraft::bcc, &ComposeDraft::subject}) {
        const QString before = surface.shown.*field;
        surface.shown.*field = u"another"_s;
        EXPECT_TRUE(session->hasUnsavedChanges());
        surface.shown.*field = before;
        EXPECT_FALSE(session->hasUnsavedChanges());
    }
    surface.shown.attachments = {{QUuid::createUuid(), u"a"_s, u"text/plain"_s, "x"}};
    EXPECT_TRUE(session->hasUnsavedChanges());
    surface.shown.attachments.clear();
    surface.isReading = true;
    EXPECT_TRUE(session->hasUnsavedChanges());
}

TEST_F(ComposeSessionTest, ATextThatCameBackToItsBeginningIsNoChange)
{
    begin();
    type(u"The text."_s);
    EXPECT_TRUE(session->hasUnsavedChanges());
    type(u"The text"_s);
    EXPECT_FALSE(session->hasUnsavedChanges());
    surface.shown.initialHTML = u"<div>The text</div>"_s;
    ++surface.state.revision;
    EXPECT_TRUE(session->hasUnsavedChanges());
}

TEST_F(ComposeSessionTest, OneRevisionOfATextIsComparedOnce)
{
    begin();
    type(u"The text."_s);
    EXPECT_TRUE(session->hasUnsavedChanges());
    const int taken = surface.textsTaken;
    EXPECT_TRUE(session->hasUnsavedChanges());
    EXPECT_EQ(surface.textsTaken, taken);
}

TEST_F(ComposeSessionTest, ALongTextIsNeitherTakenNorCompared)
{
    surface.state.length = ComposeSession::longestCompared + 1;
    begin();
    EXPECT_EQ(surface.textsTaken, 0);
    type(draft.body);
    EXPECT_TRUE(session->hasUnsavedChanges());
    EXPECT_EQ(surface.textsTaken, 0);
    surface.state.isModified = false;
    EXPECT_FALSE(session->hasUnsavedChanges());
}

TEST_F(ComposeSessionTest, WhatIsStoredNowhereIsUnsavedWithoutAChange)
{
    EXPECT_TRUE(begin(true).hasUnsavedChanges());
}

TEST_F(ComposeSessionTest, ATextWhoseAccountIsGoneGoesToAnotherAndIsUnsaved)
{
    begin();
    EXPECT_FALSE(session->rescue());
    EXPECT_EQ(session->accountID(), fixture.account(0).id);
    draft.accountID = QUuid::createUuid();
    begin();
    EXPECT_TRUE(session->rescue());
    EXPECT_EQ(session->accountID(), fixture.account(0).id);
    EXPECT_TRUE(session->hasUnsavedChanges());
}

// --- Its way out

TEST_F(ComposeSessionTest, SendsWhatItsSurfaceShowsAndCloses)
{
    begin();
    surface.shown.body = u"Another text"_s;
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return surface.closes == 1; }));
    ASSERT_EQ(fixture.provider().sent().size(), 1);
    EXPECT_EQ(fixture.provider().sent().constFirst().message.body, u"Another text"_s);
    EXPECT_EQ(surface.progress, QStringList({u"Sending…"_s}));
    EXPECT_EQ(surface.sending, QList<bool>({true}));
    EXPECT_TRUE(session->isFinished());
    settle();
    EXPECT_EQ(began, QList<QUuid>({draft.id}));
    EXPECT_EQ(ended, QList<Outcome>({Outcome::done}));
}

TEST_F(ComposeSessionTest, SavesUnderItsOwnWords)
{
    begin();
    session->deliver(Delivery::save);
    ASSERT_TRUE(waitUntil([this] { return surface.closes == 1; }));
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 1);
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
    EXPECT_EQ(surface.progress, QStringList({u"Saving…"_s}));
}

TEST_F(ComposeSessionTest, AnotherAccountSendsOnceItIsChosen)
{
    begin();
    session->setAccount(fixture.account(1).id);
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return surface.closes == 1; }));
    EXPECT_TRUE(fixture.provider(0).sent().isEmpty());
    EXPECT_EQ(fixture.provider(1).sent().size(), 1);
}

TEST_F(ComposeSessionTest, AFailureIsShownAndNothingIsLost)
{
    begin();
    fixture.provider().failNext(u"saveDraft"_s, MailError::protocolError(u"Full."_s));
    session->deliver(Delivery::save);
    ASSERT_TRUE(waitUntil([this] { return !surface.failures.isEmpty(); }));
    EXPECT_EQ(surface.failures.constFirst().title, u"Draft Not Saved"_s);
    EXPECT_EQ(surface.failures.constFirst().text, MailError::protocolError(u"Full."_s).localizedText());
    EXPECT_EQ(surface.sending, QList<bool>({true, false}));
    EXPECT_EQ(surface.progress, QStringList({u"Saving…"_s, QString()}));
    EXPECT_EQ(surface.closes, 0);
    EXPECT_FALSE(session->isSending());
    settle();
    EXPECT_EQ(ended, QList<Outcome>({Outcome::failed}));
    EXPECT_FALSE(session->isDelivering());
}

TEST_F(ComposeSessionTest, ASecondCommandDoesNotDeliverTwice)
{
    fixture.provider().hold(u"send"_s);
    begin();
    session->deliver(Delivery::send);
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return session->isSending(); }));
    session->deliver(Delivery::save);
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return surface.closes == 1; }));
    EXPECT_EQ(fixture.provider().sent().size(), 1);
    EXPECT_TRUE(fixture.provider().savedDrafts().isEmpty());
    EXPECT_EQ(began.size(), 1);
}

TEST_F(ComposeSessionTest, WithoutAFileThatWasToBeAttachedNothingGoesOut)
{
    begin();
    surface.isComplete = false;
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return ended.size() == 1; }));
    EXPECT_EQ(ended.constFirst(), Outcome::failed);
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
    EXPECT_TRUE(surface.sending.isEmpty());
}

TEST_F(ComposeSessionTest, AClosedWindowSendsNothingThatHadNotBegun)
{
    begin();
    session->noteClosed();
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return ended.size() == 1; }));
    EXPECT_EQ(ended.constFirst(), Outcome::dropped);
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
}

TEST_F(ComposeSessionTest, AFailureAfterTheWindowHasClosedComesBackWithItsText)
{
    fixture.provider().hold(u"send"_s);
    fixture.provider().failNext(u"send"_s, MailError::protocolError(u"No."_s));
    begin();
    type(u"More"_s);
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return session->isSending(); }));
    session->noteClosed();
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return !late.isEmpty(); }));
    EXPECT_EQ(late.constFirst().first.body, u"More"_s);
    EXPECT_FALSE(late.constFirst().first.wasSending);
    EXPECT_EQ(late.constFirst().second.title, u"Message Not Sent"_s);
    EXPECT_EQ(late.constFirst().second.text, MailError::protocolError(u"No."_s).localizedText() +
                                                 u"\nYour text is safe: it stays in this window."_s);
    EXPECT_TRUE(surface.failures.isEmpty());
}

TEST_F(ComposeSessionTest, LossesOfAStoredDraftAreAskedAboutOnceTheyAreRefusedOrTaken)
{
    draft.draftMessageID = u"1"_s;
    begin();
    surface.acceptsLosses = false;
    session->deliver(Delivery::save);
    ASSERT_TRUE(waitUntil([this] { return ended.size() == 1; }));
    EXPECT_TRUE(fixture.provider().savedDrafts().isEmpty());
    EXPECT_EQ(surface.lossQuestions, 1);
    surface.acceptsLosses = true;
    fixture.provider().failNext(u"saveDraft"_s, MailError::protocolError(u"Full."_s));
    session->deliver(Delivery::save);
    ASSERT_TRUE(waitUntil([this] { return ended.size() == 2; }));
    EXPECT_EQ(surface.lossQuestions, 2);
    session->deliver(Delivery::save);
    ASSERT_TRUE(waitUntil([this] { return ended.size() == 3; }));
    EXPECT_EQ(surface.lossQuestions, 2);
    EXPECT_EQ(ended.constLast(), Outcome::done);
}

TEST_F(ComposeSessionTest, WhatMayHaveGoneOutIsLookedForAndAskedAbout)
{
    draft.wasSending = true;
    draft.attempt = ComposeDraft::Attempt{u"1@example.org"_s, draft.accountID, {}};
    fixture.provider().setSentIDs({u"1@example.org"_s});
    begin();
    surface.again = SendAgain::Decision::stay;
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return ended.size() == 1; }));
    EXPECT_EQ(surface.looks, QList<bool>({true}));
    EXPECT_EQ(surface.progress, QStringList({u"Looking in Sent…"_s, QString()}));
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
    surface.again = SendAgain::Decision::close;
    session->deliver(Delivery::send);
    ASSERT_TRUE(waitUntil([this] { return ended.size() == 2; }));
    EXPECT_EQ(ended.constLast(), Outcome::done);
    EXPECT_EQ(surface.closes, 1);
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
}

TEST_F(ComposeSessionTest, GivingUpClosesAndKeepsNothing)
{
    begin();
    type(u"More"_s);
    session->discard();
    EXPECT_TRUE(session->isFinished());
    EXPECT_EQ(surface.closes, 1);
    const int taken = surface.textsTaken;
    session->keep();
    EXPECT_EQ(surface.textsTaken, taken);
}

// --- The reader of files

class ComposeFileReaderTest : public testing::Test {
protected:
    ComposeFileReader::Read counting()
    {
        return [this](const QList<QUrl>& files, qint64 before, qint64) {
            gate.acquire();
            {
                const QMutexLocker<QMutex> lock(&totalsLock);
                totals.append(before);
            }
            ComposeFiles::Files read;
            for (const QUrl& file : files) {
                if (file.fileName() == "refused"_L1)
                    read.refused.append(file.fileName());
                else
                    read.attachments.append({QUuid::createUuid(), file.fileName(), {}, "12345"});
            }
            return read;
        };
    }

    void open()
    {
        reader = std::make_unique<ComposeFileReader>(counting(), [this] { return total; });
        QObject::connect(reader.get(), &ComposeFileReader::found, reader.get(),
                         [this](const QList<OutgoingAttachment>& attachments) {
                             for (const OutgoingAttachment& attachment : attachments) {
                                 names.append(attachment.filename);
                                 total += attachment.data.size();
                             }
                         });
        QObject::connect(reader.get(), &ComposeFileReader::finished, reader.get(),
                         [this](const QStringList& some) { refused.append(some); });
    }

    ~ComposeFileReaderTest() override
    {
        gate.release(100);
        workers().waitForDone();
    }

    static QUrl url(const QString& name) { return QUrl::fromLocalFile(u"/nowhere/"_s + name); }

    QSemaphore gate;
    qint64 total = 0;
    QMutex totalsLock;
    QList<qint64> totals;
    QStringList names;
    QList<QStringList> refused;
    std::unique_ptr<ComposeFileReader> reader;
};

TEST_F(ComposeFileReaderTest, ReadsOneListAfterTheOtherEachWithTheTotalBeforeIt)
{
    open();
    reader->add(QList<QUrl>());
    EXPECT_FALSE(reader->isReading());
    reader->add({url(u"a"_s), url(u"refused"_s)});
    reader->add({url(u"b"_s)});
    EXPECT_TRUE(reader->isReading());
    gate.release(2);
    ASSERT_TRUE(waitUntil([this] { return !reader->isReading(); }));
    EXPECT_EQ(names, QStringList({u"a"_s, u"b"_s}));
    EXPECT_EQ(totals, QList<qint64>({0, 5}));
    EXPECT_EQ(refused, QList<QStringList>({{u"refused"_s}}));
}

TEST_F(ComposeFileReaderTest, AnImageOfTheClipboardIsAFileOfItsOwn)
{
    open();
    QMimeData data;
    data.setData(u"image/jpeg"_s, "jpeg bytes");
    QImage pixels(4, 3, QImage::Format_RGB32);
    pixels.fill(Qt::red);
    data.setImageData(pixels);
    // The bytes of a file are taken as they are; nothing is decoded.
    reader->add(ComposeFiles::imageOf(data));
    ASSERT_TRUE(waitUntil([this] { return !reader->isReading(); }));
    EXPECT_EQ(names, QStringList({u"Pasted Image.jpg"_s}));
    EXPECT_EQ(total, 10);
    QMimeData drawn;
    drawn.setImageData(pixels);
    const ComposeFiles::Files made = ComposeFiles::made(ComposeFiles::imageOf(drawn), 0, 10'000);
    ASSERT_EQ(made.attachments.size(), 1);
    EXPECT_EQ(made.attachments.constFirst().filename, u"Pasted Image.png"_s);
    EXPECT_EQ(made.attachments.constFirst().mimeType, u"image/png"_s);
    EXPECT_EQ(QImage::fromData(made.attachments.constFirst().data).size(), QSize(4, 3));
}

TEST_F(ComposeFileReaderTest, AnImageBeyondTheLimitIsRefusedByName)
{
    QMimeData data;
    data.setData(u"image/png"_s, QByteArray(11, 'x'));
    const ComposeFiles::Image image = ComposeFiles::imageOf(data);
    EXPECT_EQ(ComposeFiles::made(image, 9, 20).attachments.size(), 1);
    EXPECT_EQ(ComposeFiles::made(image, 10, 20).refused, QStringList({u"Pasted Image.png"_s}));
    EXPECT_EQ(ComposeFiles::made({}, 0, 20).refused, QStringList({u"Pasted Image"_s}));
}

TEST_F(ComposeFileReaderTest, ManyNamesAreCut)
{
    QList<QUrl> files;
    for (int number = 0; number < 12; ++number)
        files.append(url(u"f%1"_s.arg(number)));
    EXPECT_EQ(ComposeFiles::names(files.first(2)), u"f0, f1"_s);
    EXPECT_EQ(ComposeFiles::names(files), u"f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, …"_s);
}

TEST_F(ComposeFileReaderTest, AWaitEndsWithTheLastFileAndSaysWhetherAllCame)
{
    open();
    EXPECT_TRUE(Begun<bool>(reader->ended()).get());
    reader->add({url(u"refused"_s)});
    Begun<bool> wait(reader->ended());
    settle();
    EXPECT_FALSE(wait.isDone());
    gate.release();
    EXPECT_FALSE(wait.get());
    // What was refused before a wait began is known to the user.
    EXPECT_TRUE(Begun<bool>(reader->ended()).get());
}

TEST_F(ComposeFileReaderTest, AWaitEndsWhenItIsStoppedOrTheReaderGoes)
{
    open();
    reader->add({url(u"a"_s)});
    Begun<bool> wait(reader->ended());
    reader->stop();
    EXPECT_FALSE(wait.get());
    open();
    reader->add({url(u"a"_s)});
    Begun<bool> other(reader->ended());
    reader.reset();
    EXPECT_FALSE(other.get());
}

} // namespace
} // namespace Larkhaven
