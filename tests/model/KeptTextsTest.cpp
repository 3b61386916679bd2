#include "model/KeptTexts.h"

#include "domain/Coding.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class KeptTextsTest : public testing::Test {
protected:
    KeptTextsTest() { restart(); }

    /// What is kept is read anew, as by the next process.
    void restart()
    {
        texts = std::make_shared<KeptTexts>(
            folder.filePath(u"texts"_s),
            std::make_shared<KeychainStore>(u"test"_s, QList<std::shared_ptr<KeychainBackend>>{keychain}));
    }
    ComposeDraft draft(const QString& body, const QUuid& id = QUuid::createUuid()) const
    {
        ComposeDraft made;
        made.id = id;
        made.accountID = first;
        made.originAccountID = first;
        made.body = body;
        return made;
    }
    void keep(const ComposeDraft& kept)
    {
        texts->keep(kept);
        await(texts->settle());
    }
    QList<ComposeDraft> recover(const QUuid& accountID)
    {
        await(texts->unlock({accountID}));
        return await(texts->recover(accountID));
    }
    QStringList bodies(const QUuid& accountID)
    {
        QStringList found;
        for (const ComposeDraft& kept : recover(accountID))
            found.append(kept.body);
        found.sort();
        return found;
    }
    QStringList files() const
    {
        QStringList found;
        QDirIterator tree(folder.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (tree.hasNext())
            found.append(tree.next());
        return found;
    }
    /// The file that was written first.
    QString oldest() const
    {
        QStringList all = files();
        std::ranges::sort(all, {}, [](const QString& path) { return QFileInfo(path).lastModified(); });
        return all.value(0);
    }
    QString folderOf(const QUuid& accountID) const
    {
        return folder.filePath(u"texts/"_s + Coding::fromUuid(accountID));
    }

    QTemporaryDir folder;
    std::shared_ptr<InMemoryKeychain> keychain = std::make_shared<InMemoryKeychain>();
    std::shared_ptr<KeptTexts> texts;
    const QUuid first = QUuid::createUuid();
    const QUuid second = QUuid::createUuid();
};

TEST_F(KeptTextsTest, GivesBackEveryFieldOfAText)
{
    ComposeDraft full = draft(u"body"_s);
    full.originAccountID = second;
    full.to = u"a@x"_s;
    full.cc = u"b@x"_s;
    full.bcc = u"c@x"_s;
    full.subject = u"subject"_s;
    full.inReplyTo = u"<1@x>"_s;
    full.references = {u"<0@x>"_s, u"<1@x>"_s};
    full.threadID = u"thread"_s;
    full.isRichText = true;
    full.draftMessageID = u"7"_s;
    full.initialHTML = u"<b>body</b>"_s;
    full.wasSending = true;
    full.attempt = ComposeDraft::Attempt{u"1@x"_s, second, "digest"};
    full.notices = {u"Left out: x"_s};
    full.attachments = {{QUuid::createUuid(), u"a.txt"_s, u"text/plain"_s, "one"},
                        {QUuid::createUuid(), u"b.pdf\u2060\u2028\u202e .txt"_s, u"text/html"_s, "two"}};
    keep(full);
    restart();
    const QList<ComposeDraft> found = recover(first);
    ASSERT_EQ(found.size(), 1);
    const ComposeDraft& back = found.first();
    EXPECT_EQ(back.id, full.id);
    EXPECT_EQ(back.accountID, first);
    EXPECT_EQ(back.originAccountID, second);
    EXPECT_EQ(back.to, full.to);
    EXPECT_EQ(back.cc, full.cc);
    EXPECT_EQ(back.bcc, full.bcc);
    EXPECT_EQ(back.subject, full.subject);
    EXPECT_EQ(back.body, full.body);
    EXPECT_EQ(back.inReplyTo, full.inReplyTo);
    EXPECT_EQ(back.references, full.references);
    EXPECT_EQ(back.threadID, full.threadID);
    EXPECT_TRUE(back.isRichText);
    EXPECT_EQ(back.draftMessageID, full.draftMessageID);
    EXPECT_EQ(back.initialHTML, full.initialHTML);
    EXPECT_TRUE(back.wasSending);
    EXPECT_EQ(back.attempt, full.attempt);
    EXPECT_EQ(back.references, full.references);
    EXPECT_EQ(back.notices, full.notices);
    ASSERT_EQ(back.attachments.size(), 2);
    EXPECT_EQ(back.attachments[1].filename, u"b.pdf .txt") << "an earlier version kept what hides";
    EXPECT_EQ(back.attachments[1].mimeType, u"text/html");
    EXPECT_EQ(back.attachments[1].data, "two");
}

TEST_F(KeptTextsTest, KeepsOneFileForEachTextHoweverOftenItIsKept)
{
    const QUuid id = QUuid::createUuid();
    for (int number = 1; number <= 20; ++number)
        texts->keep(draft(QString::number(number), id));
    await(texts->settle());
    EXPECT_EQ(files().size(), 1);
    restart();
    EXPECT_EQ(bodies(first), QStringList(u"20"_s));
}

TEST_F(KeptTextsTest, OffersEveryOneOf130Texts)
{
    for (int number = 0; number < 130; ++number)
        texts->keep(draft(QString::number(number)));
    await(texts->settle());
    restart();
    EXPECT_EQ(recover(first).size(), 130);
    EXPECT_TRUE(recover(first).isEmpty()) << "each is offered once";
}

TEST_F(KeptTextsTest, OffersWhatWasKeptBeforeTheOldOnesWereRead)
{
    keep(draft(u"old"_s));
    restart();
    keep(draft(u"new"_s));
    EXPECT_EQ(bodies(first), QStringList(u"old"_s)) << "the new one has its window";
    restart();
    EXPECT_EQ(bodies(first), QStringList({u"new"_s, u"old"_s}));
}

TEST_F(KeptTextsTest, OffersNoTextAgainWhoseWindowIsOpen)
{
    const ComposeDraft old = draft(u"old"_s);
    keep(old);
    EXPECT_TRUE(recover(first).isEmpty());
}

TEST_F(KeptTextsTest, ForgetsATextWithItsFiles)
{
    const ComposeDraft closed = draft(u"x"_s);
    keep(closed);
    texts->forget(closed.id);
    await(texts->settle());
    EXPECT_TRUE(files().isEmpty());
    restart();
    EXPECT_TRUE(recover(first).isEmpty());
}

TEST_F(KeptTextsTest, ForgetsATextThatIsStillBeingWritten)
{
    const ComposeDraft closed = draft(u"x"_s);
    texts->keep(closed);
    texts->forget(closed.id);
    await(texts->settle());
    EXPECT_TRUE(files().isEmpty());
}

// --- Accounts

TEST_F(KeptTextsTest, MovesATextBeforeItErasesItInTheOtherAccount)
{
    ComposeDraft moving = draft(u"x"_s);
    keep(moving);
    moving.accountID = second;
    keep(moving);
    EXPECT_EQ(files().size(), 1);
    restart();
    EXPECT_TRUE(recover(first).isEmpty());
    ASSERT_EQ(recover(second).size(), 1);
}

TEST_F(KeptTextsTest, LeavesATextWhereItWasWhereTheNextAccountHasNoKey)
{
    ComposeDraft moving = draft(u"x"_s);
    keep(moving);
    keychain->writeFailure = KeychainStatus::failed;
    moving.accountID = second;
    keep(moving);
    EXPECT_TRUE(texts->hasTrouble(second));
    restart();
    ASSERT_EQ(recover(first).size(), 1);
}

TEST_F(KeptTextsTest, OffersTheLaterOfTwoStatesWhereTheProcessEndedBetweenWritingAndErasing)
{
    ComposeDraft moving = draft(u"before"_s);
    keep(moving);
    const QString older = files().first();
    ASSERT_TRUE(QFile::copy(older, folder.filePath(u"copy"_s)));
    moving.accountID = second;
    moving.body = u"after"_s;
    keep(moving);
    ASSERT_TRUE(QFile::rename(folder.filePath(u"copy"_s), older));
    restart();
    EXPECT_TRUE(recover(first).isEmpty());
    EXPECT_EQ(bodies(second), QStringList(u"after"_s));
    texts->forget(moving.id);
    await(texts->settle());
    EXPECT_TRUE(files().isEmpty()) << "the older state is gone as well";
}

TEST_F(KeptTextsTest, FallsBackToTheOlderStateWhereTheNewestIsDamaged)
{
    ComposeDraft text = draft(u"before"_s);
    keep(text);
    const QString older = files().first();
    ASSERT_TRUE(QFile::copy(older, folder.filePath(u"copy"_s)));
    text.body = u"after"_s;
    keep(text);
    QFile newest(files().filter(u"texts"_s).first());
    ASSERT_TRUE(newest.resize(10));
    ASSERT_TRUE(QFile::rename(folder.filePath(u"copy"_s), older));
    restart();
    EXPECT_EQ(bodies(first), QStringList(u"before"_s));
}

TEST_F(KeptTextsTest, TakesNoFileForAnother)
{
    const ComposeDraft one = draft(u"one"_s);
    const ComposeDraft other = draft(u"other"_s);
    keep(one);
    QString oneFile = files().first();
    keep(other);
    QString otherFile = files().first() == oneFile ? files().last() : files().first();
    ASSERT_TRUE(QFile::rename(oneFile, folder.filePath(u"swap"_s)));
    ASSERT_TRUE(QFile::rename(otherFile, oneFile));
    restart();
    EXPECT_TRUE(recover(first).isEmpty());
    EXPECT_TRUE(texts->hasTrouble(first));
}

TEST_F(KeptTextsTest, RemovesTheTextsAndTheKeyOfAnAccount)
{
    keep(draft(u"x"_s));
    await(texts->removeAccount(first, second, {}));
    EXPECT_TRUE(files().isEmpty());
    EXPECT_EQ(keychain->read(u"test"_s, Coding::fromUuid(first)).status, KeychainStatus::itemNotFound);
    restart();
    EXPECT_TRUE(recover(second).isEmpty());
}

TEST_F(KeptTextsTest, LetsAnOpenTextOutliveItsAccount)
{
    const ComposeDraft open = draft(u"open"_s);
    keep(open);
    keep(draft(u"closed"_s));
    await(texts->removeAccount(first, second, {open.id}));
    restart();
    EXPECT_TRUE(recover(first).isEmpty());
    EXPECT_EQ(bodies(second), QStringList(u"open"_s));
}

TEST_F(KeptTextsTest, LeaveAnOpenTextWhereItWasUntilTheHeirHasIt)
{
    const ComposeDraft open = draft(u"open"_s);
    keep(open);
    keep(draft(u"closed"_s));
    keychain->readFailure = KeychainStatus::interactionNotAllowed;
    await(texts->removeAccount(first, second, {open.id}));
    EXPECT_EQ(files().size(), 1) << "the closed one is gone";
    // The process may end now: the text is found without its account.
    keychain->readFailure = KeychainStatus::success;
    const auto ended = std::exchange(texts, nullptr);
    restart();
    EXPECT_EQ(await(texts->strayAccounts({second})), QList<QUuid>{first});
    EXPECT_EQ(bodies(first), QStringList(u"open"_s));
    // Or the keyring answers.
    await(ended->unlock({second}));
    await(ended->settle());
    restart();
    EXPECT_EQ(bodies(second), QStringList(u"open"_s));
    EXPECT_TRUE(await(texts->strayAccounts({second})).isEmpty());
}

TEST_F(KeptTextsTest, KeepForTheHeirWhatIsTypedWhileAnAccountIsRemoved)
{
    const ComposeDraft open = draft(u"old"_s);
    keep(open);
    keychain->hesitates = true;
    Begun<void> removal(texts->removeAccount(first, second, {open.id}));
    texts->keep(draft(u"typed"_s, open.id));
    keychain->hesitates = false;
    removal.get();
    texts->keep(draft(u"typed later"_s, open.id));
    await(texts->settle());
    EXPECT_FALSE(QDir(folderOf(first)).exists());
    EXPECT_EQ(keychain->read(u"test"_s, Coding::fromUuid(first)).status, KeychainStatus::itemNotFound);
    restart();
    EXPECT_EQ(bodies(second), QStringList(u"typed later"_s));
}

TEST_F(KeptTextsTest, GoToTheHeirOfTheHeirWhereThatIsRemovedAsWell)
{
    const QUuid third = QUuid::createUuid();
    const ComposeDraft open = draft(u"open"_s);
    keep(open);
    Begun<void> one(texts->removeAccount(first, second, {open.id}));
    Begun<void> other(texts->removeAccount(second, third, {open.id}));
    one.get();
    other.get();
    await(texts->settle());
    restart();
    EXPECT_EQ(bodies(third), QStringList(u"open"_s));
    EXPECT_TRUE(await(texts->strayAccounts({third})).isEmpty());
}

TEST_F(KeptTextsTest, MakeNoKeyForAnAccountThatIsGone)
{
    const ComposeDraft open = draft(u"open"_s);
    keep(open);
    await(texts->removeAccount(first, std::nullopt, {open.id}));
    keep(draft(u"typed"_s, open.id));
    EXPECT_TRUE(files().isEmpty());
    EXPECT_EQ(keychain->read(u"test"_s, Coding::fromUuid(first)).status, KeychainStatus::itemNotFound);
    // Another account takes it.
    ComposeDraft taken = draft(u"typed"_s, open.id);
    taken.accountID = second;
    keep(taken);
    EXPECT_EQ(files().size(), 1);
}

TEST_F(KeptTextsTest, OfferNoTextAgainThatIsClosedWhileItIsRead)
{
    const ComposeDraft text = draft(u"x"_s);
    keep(text);
    Begun<QList<ComposeDraft>> recovered(texts->recover(first));
    texts->forget(text.id);
    EXPECT_TRUE(recovered.get().isEmpty());
}

// --- Keyrings

TEST_F(KeptTextsTest, AskTheKeyringOnceHoweverManyWaitForIt)
{
    keychain->readFailure = KeychainStatus::interactionNotAllowed;
    keychain->hesitates = true;
    Begun<void> atStart(texts->unlock({second, first}));
    Begun<void> again(texts->unlock({first}));
    for (int number = 0; number < 5; ++number)
        texts->keep(draft(QString::number(number)));
    ASSERT_TRUE(waitUntil([this] { return keychain->reads > 0; }));
    keychain->hesitates = false;
    atStart.get();
    again.get();
    await(texts->settle());
    EXPECT_EQ(keychain->reads, 2) << "once for each account";
    EXPECT_TRUE(texts->hasTrouble(first));
}

TEST_F(KeptTextsTest, TellOfATextThatCannotBeOpenedAsLongAsItIsThere)
{
    keep(draft(u"old"_s));
    keychain->update(u"test"_s, Coding::fromUuid(first), QByteArray(AESGCMCipher::keySize, 'k'));
    restart();
    EXPECT_TRUE(recover(first).isEmpty());
    EXPECT_TRUE(texts->hasTrouble(first));
    keep(draft(u"new"_s));
    EXPECT_EQ(files().size(), 2);
    EXPECT_TRUE(texts->hasTrouble(first)) << "what can be written says nothing of what can't be read";
    ASSERT_TRUE(QFile::remove(oldest()));
    EXPECT_TRUE(recover(first).isEmpty());
    EXPECT_FALSE(texts->hasTrouble(first));
}

TEST_F(KeptTextsTest, LoseNothingWhereTheKeyringRefusesOnce)
{
    keep(draft(u"old"_s));
    for (const KeychainStatus refusal :
         {KeychainStatus::failed, KeychainStatus::interactionNotAllowed, KeychainStatus::notAvailable}) {
        keychain->readFailure = refusal;
        restart();
        EXPECT_TRUE(recover(first).isEmpty());
        EXPECT_TRUE(texts->hasTrouble(first));
        EXPECT_EQ(files().size(), 1);
    }
    // What is written meanwhile is kept as soon as the key can be read.
    keep(draft(u"new"_s));
    EXPECT_EQ(files().size(), 1);
    keychain->readFailure = KeychainStatus::success;
    EXPECT_EQ(bodies(first), QStringList(u"old"_s));
    EXPECT_FALSE(texts->hasTrouble(first));
    await(texts->settle());
    restart();
    EXPECT_EQ(bodies(first), QStringList({u"new"_s, u"old"_s}));
}

TEST_F(KeptTextsTest, MakeNoNewKeyWhereATextIsThereThatAnEarlierKeyOpens)
{
    keep(draft(u"old"_s));
    keychain->remove(u"test"_s, Coding::fromUuid(first));
    restart();
    EXPECT_TRUE(recover(first).isEmpty());
    EXPECT_TRUE(texts->hasTrouble(first));
    EXPECT_EQ(keychain->read(u"test"_s, Coding::fromUuid(first)).status, KeychainStatus::itemNotFound);
    EXPECT_EQ(files().size(), 1);
}

TEST_F(KeptTextsTest, AreNotKeptUnderAKeyThatWasNotStored)
{
    keychain->writeFailure = KeychainStatus::failed;
    keep(draft(u"x"_s));
    EXPECT_TRUE(files().isEmpty());
    EXPECT_TRUE(texts->hasTrouble(first));
}

TEST_F(KeptTextsTest, AskTheKeyringOnceHoweverMuchIsTyped)
{
    keychain->readFailure = KeychainStatus::interactionNotAllowed;
    for (int number = 0; number < 5; ++number)
        keep(draft(QString::number(number)));
    EXPECT_EQ(keychain->reads, 1);
}

TEST_F(KeptTextsTest, TellOfTroubleWhereTheDiskRefusesAndOfItsEnd)
{
    QFile blocked(folder.filePath(u"texts"_s));
    ASSERT_TRUE(blocked.open(QIODevice::WriteOnly));
    int changes = 0;
    QObject::connect(texts.get(), &KeptTexts::troubleChanged, [&changes] { ++changes; });
    const ComposeDraft text = draft(u"x"_s);
    keep(text);
    EXPECT_TRUE(texts->hasTrouble(first));
    ASSERT_TRUE(blocked.remove());
    keep(text);
    EXPECT_FALSE(texts->hasTrouble(first));
    EXPECT_GE(changes, 2);
}

TEST_F(KeptTextsTest, WriteWhatIsWaitingWhereTheProcessEnds)
{
    const QUuid id = QUuid::createUuid();
    keep(draft(u"first"_s, id));
    texts->keep(draft(u"second"_s, id));
    texts->keep(draft(u"third"_s, id));
    texts->flush();
    texts.reset();
    restart();
    EXPECT_EQ(bodies(first), QStringList(u"third"_s));
}

TEST_F(KeptTextsTest, KeepNothingWithoutAPlace)
{
    const auto nowhere = std::make_shared<KeptTexts>(
        QString(),
        std::make_shared<KeychainStore>(u"test"_s, QList<std::shared_ptr<KeychainBackend>>{keychain}));
    nowhere->keep(draft(u"x"_s));
    await(nowhere->settle());
    EXPECT_TRUE(await(nowhere->recover(first)).isEmpty());
    EXPECT_EQ(keychain->reads, 0);
}

TEST_F(KeptTextsTest, PassOverTheRemainsOfAWriteThatWasKilled)
{
    keep(draft(u"x"_s));
    QFile remains(files().first() + u".AbCdEf"_s);
    ASSERT_TRUE(remains.open(QIODevice::WriteOnly));
    restart();
    EXPECT_EQ(bodies(first), QStringList(u"x"_s));
    EXPECT_FALSE(texts->hasTrouble(first));
}

TEST_F(KeptTextsTest, AreForTheOwnerAlone)
{
    keep(draft(u"x"_s));
    for (const QString& path : {folder.filePath(u"texts"_s), folderOf(first), files().first()})
        EXPECT_FALSE(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther)) << path.toStdString();
}

} // namespace
} // namespace Larkhaven
