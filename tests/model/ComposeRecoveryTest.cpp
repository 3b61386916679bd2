#include "AppModelCompose.h"
#include "model/AccountStore.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDirIterator>
#include <QFile>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class ComposeRecoveryTest : public AppModelCompose {
protected:
    ComposeDraft kept(const QString& body)
    {
        ComposeDraft draft = draftTo(u"secret-recipient@x"_s);
        draft.subject = u"Secret subject"_s;
        draft.body = body;
        draft.bcc = u"b@x"_s;
        draft.isRichText = true;
        draft.initialHTML = u"<b>x</b>"_s;
        draft.inReplyTo = u"<1@x>"_s;
        draft.references = {u"<0@x>"_s, u"<1@x>"_s};
        draft.draftMessageID = u"3:Drafts"_s;
        draft.attachments = {{QUuid::createUuid(), u"plan.txt"_s, u"text/plain"_s, "attached bytes"}};
        model().keepForRecovery(draft);
        return draft;
    }
    /// What the next start of the program offers.
    QList<ComposeDraft> recovered()
    {
        waitForFiles();
        fixture.restart();
        QList<ComposeDraft> drafts;
        QObject::connect(&model(), &AppModel::pendingComposeChanged, &model(), [this, &drafts] {
            if (model().pendingCompose())
                drafts.append(*model().takeSeed(*model().pendingCompose()));
            model().clearPendingCompose();
        });
        await(model().recoverDrafts());
        return drafts;
    }
    void waitForFiles() { await(model().settleKeptTexts()); }
};

TEST_F(ComposeRecoveryTest, BringsBackATextWhoseWindowWasNeverClosed)
{
    const ComposeDraft draft = kept(u"first"_s);
    ComposeDraft later = draft;
    later.body = u"second"_s;
    model().keepForRecovery(later);
    const QList<ComposeDraft> drafts = recovered();
    ASSERT_EQ(drafts.size(), 1);
    EXPECT_EQ(drafts[0].id, draft.id);
    EXPECT_EQ(drafts[0].accountID, draft.accountID);
    EXPECT_EQ(drafts[0].to, draft.to);
    EXPECT_EQ(drafts[0].bcc, draft.bcc);
    EXPECT_EQ(drafts[0].subject, draft.subject);
    EXPECT_EQ(drafts[0].body, u"second");
    EXPECT_EQ(drafts[0].isRichText, true);
    EXPECT_EQ(drafts[0].initialHTML, draft.initialHTML);
    EXPECT_EQ(drafts[0].inReplyTo, draft.inReplyTo);
    EXPECT_EQ(drafts[0].references, draft.references);
    EXPECT_EQ(drafts[0].draftMessageID, draft.draftMessageID);
    ASSERT_EQ(drafts[0].attachments.size(), 1);
    EXPECT_EQ(drafts[0].attachments[0].filename, u"plan.txt");
    EXPECT_EQ(drafts[0].attachments[0].data, "attached bytes");
    EXPECT_TRUE(model().isRecovered(draft.id));
}

TEST_F(ComposeRecoveryTest, BringsBackATextWhoseAccountIsNoLongerInTheList)
{
    const ComposeDraft draft = kept(u"x"_s);
    waitForFiles();
    Account other = fixture.account();
    other.id = QUuid::createUuid();
    AccountStore::save({other}, fixture.defaults());
    for (int start = 0; start < 2; ++start) {
        const QList<ComposeDraft> drafts = recovered();
        ASSERT_EQ(drafts.size(), 1);
        EXPECT_EQ(drafts[0].body, u"x"_s);
        EXPECT_EQ(drafts[0].accountID, other.id);
        EXPECT_EQ(drafts[0].originAccountID, draft.accountID) << "whose stored draft it was";
    }
}

TEST_F(ComposeRecoveryTest, BringsItBackWhenTheProgramBegins)
{
    const ComposeDraft draft = kept(u"x"_s);
    waitForFiles();
    fixture.restart();
    await(model().begin());
    ASSERT_TRUE(waitUntil([this] { return model().pendingCompose().has_value(); }));
    EXPECT_EQ(model().pendingCompose(), draft.id);
}

TEST_F(ComposeRecoveryTest, BringsItBackAgainAndAgainUntilItsWindowCloses)
{
    const ComposeDraft draft = kept(u"x"_s);
    EXPECT_EQ(recovered().size(), 1);
    EXPECT_EQ(recovered().size(), 1);
    EXPECT_TRUE(model().isRecovered(draft.id));
    model().closeCompose(draft.id);
    EXPECT_FALSE(model().isRecovered(draft.id));
    EXPECT_TRUE(recovered().isEmpty());
}

TEST_F(ComposeRecoveryTest, KeepsWhatCameBackWhereAnotherTextIsKeptAfterwards)
{
    kept(u"one"_s);
    ASSERT_EQ(recovered().size(), 1);
    kept(u"two"_s);
    EXPECT_EQ(recovered().size(), 2);
}

TEST_F(ComposeRecoveryTest, ForgetsATextWhoseWindowWasClosed)
{
    model().closeCompose(kept(u"x"_s).id);
    EXPECT_TRUE(recovered().isEmpty());
}

TEST_F(ComposeRecoveryTest, KeepsNoWordInTheClear)
{
    kept(u"Secret body"_s);
    waitForFiles();
    int files = 0;
    QDirIterator tree(fixture.keptTextsDirectory(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (tree.hasNext()) {
        QFile file(tree.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll() + tree.fileName().toUtf8();
        for (const char* word : {"ecret", "attached", "plan.txt", "3:Drafts"})
            EXPECT_FALSE(bytes.contains(word)) << tree.fileName().toStdString();
        ++files;
    }
    EXPECT_EQ(files, 1);
}

TEST_F(ComposeRecoveryTest, MovesWithTheAccountThatSends)
{
    ComposeDraft draft = kept(u"x"_s);
    draft.accountID = fixture.account(1).id;
    model().keepForRecovery(draft);
    const QList<ComposeDraft> drafts = recovered();
    ASSERT_EQ(drafts.size(), 1);
    EXPECT_EQ(drafts[0].accountID, fixture.account(1).id);
}

TEST_F(ComposeRecoveryTest, OutlivesTheClearingOfTheCaches)
{
    kept(u"x"_s);
    await(model().clearCaches());
    EXPECT_EQ(recovered().size(), 1);
}

TEST_F(ComposeRecoveryTest, GoesWithItsAccount)
{
    kept(u"x"_s);
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_TRUE(recovered().isEmpty());
}

TEST_F(ComposeRecoveryTest, SurvivesFilesThatCannotBeRead)
{
    kept(u"x"_s);
    waitForFiles();
    QDirIterator tree(fixture.keptTextsDirectory(), QDir::Files, QDirIterator::Subdirectories);
    while (tree.hasNext()) {
        QFile file(tree.next());
        ASSERT_TRUE(file.resize(file.size() / 2));
    }
    EXPECT_TRUE(recovered().isEmpty());
}

} // namespace
} // namespace Larkhaven
