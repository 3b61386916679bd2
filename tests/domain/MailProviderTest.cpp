#include "domain/MailProvider.h"

#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Notes the operations that are called.
class NotingProvider final : public MailProvider {
public:
    explicit NotingProvider(ProviderKind kind) { m_account.provider = kind; }

    const Account& account() const override { return m_account; }
    Task<MessagePage> listMessages(MailboxRef, std::optional<QString>, qint64, qint64, bool) override
    {
        co_return MessagePage{};
    }
    Task<qint64> lastPageOffset(MailboxRef, std::optional<QString>, qint64) override { co_return 0; }
    Task<QList<MailLabel>> listLabels() override { co_return QList<MailLabel>(); }
    Task<QByteArray> fetchRaw(QString) override { co_return QByteArray(); }
    Task<std::optional<QString>> threadID(QString) override { co_return std::nullopt; }
    Task<> setRead(bool, QList<QString>) override { return noted(u"setRead"_s, {}); }
    Task<> setStarred(bool, QList<QString>) override { return noted(u"setStarred"_s, {}); }
    Task<> archive(QList<QString> ids) override { return noted(u"archive"_s, ids); }
    Task<> trash(QList<QString> ids) override { return noted(u"trash"_s, ids); }
    Task<> moveToInbox(QList<QString> ids) override { return noted(u"moveToInbox"_s, ids); }
    Task<> markSpam(QList<QString> ids) override { return noted(u"markSpam"_s, ids); }
    Task<> moveToLabel(QList<QString> ids, MailLabel label) override
    {
        return noted(u"moveToLabel "_s + label.id, ids);
    }
    using MailProvider::saveDraft;
    using MailProvider::send;
    Task<> send(OutgoingMessage message, std::optional<QString> draftID) override
    {
        return noted(u"send "_s + draftID.value_or(u"without a draft"_s), {message.subject});
    }
    Task<> saveDraft(OutgoingMessage message, std::optional<QString> draftID) override
    {
        return noted(u"saveDraft "_s + draftID.value_or(u"without a draft"_s), {message.subject});
    }
    Task<bool> wasSent(QString) override { co_return false; }
    Task<qint64> inboxUnreadCount() override { co_return 0; }
    Task<QHash<QString, qint64>> counts(QList<MailLabel>) override { co_return QHash<QString, qint64>(); }
    bool supportsLabels() const override { return false; }
    Task<MailLabel> createLabel(QString) override { co_return MailLabel{}; }
    Task<MailLabel> renameLabel(MailLabel label, QString) override { co_return label; }
    Task<> deleteLabel(MailLabel) override { return noted(u"deleteLabel"_s, {}); }
    Task<> setLabel(MailLabel, bool, QList<QString>) override { return noted(u"setLabel"_s, {}); }

    QStringList calls;

private:
    Task<> noted(QString operation, QList<QString> ids)
    {
        calls.append(operation + u'(' + ids.join(u',') + u')');
        co_return;
    }

    Account m_account;
};

const QList<QString>& ids()
{
    static const QList<QString> some{u"1"_s, u"2"_s};
    return some;
}

TEST(MailProvider, MovesToTheSpamRoleByMarkingAsSpam)
{
    NotingProvider provider(ProviderKind::google);
    await(provider.move(ids(), MailboxRef::system(Mailbox::spam)));
    EXPECT_EQ(provider.calls, QStringList(u"markSpam(1,2)"_s));
}

TEST(MailProvider, MovesToTheOtherTargetsByTheirOwnOperations)
{
    NotingProvider provider(ProviderKind::imap);
    await(provider.move(ids(), MailboxRef::system(Mailbox::inbox)));
    await(provider.move(ids(), MailboxRef::system(Mailbox::archive)));
    await(provider.move(ids(), MailboxRef::system(Mailbox::trash)));
    await(provider.move(ids(), MailboxRef::label({u"Label_1"_s, u"Work"_s})));
    EXPECT_EQ(provider.calls, QStringList({u"moveToInbox(1,2)"_s, u"archive(1,2)"_s, u"trash(1,2)"_s,
                                           u"moveToLabel Label_1(1,2)"_s}));
}

TEST(MailProvider, RefusesToMoveToTheSentRole)
{
    NotingProvider provider(ProviderKind::google);
    expectUnsupported(provider.move(ids(), MailboxRef::system(Mailbox::sent)),
                      u"Messages can't be moved to Sent."_s);
    EXPECT_TRUE(provider.calls.isEmpty());
}

TEST(MailProvider, NamesTheRefusedRoleInTheWordsOfTheService)
{
    NotingProvider google(ProviderKind::google);
    expectUnsupported(google.move(ids(), MailboxRef::system(Mailbox::starred)),
                      u"Messages can't be moved to Starred."_s);
    NotingProvider imap(ProviderKind::imap);
    expectUnsupported(imap.move(ids(), MailboxRef::system(Mailbox::starred)),
                      u"Messages can't be moved to Flagged."_s);
    expectUnsupported(imap.move(ids(), MailboxRef::system(Mailbox::drafts)),
                      u"Messages can't be moved to Drafts."_s);
}

TEST(MailProvider, SendsAndSavesWithoutADraftToReplace)
{
    NotingProvider provider(ProviderKind::imap);
    OutgoingMessage message;
    message.subject = u"Hello"_s;
    await(provider.send(message));
    await(provider.saveDraft(message));
    EXPECT_EQ(provider.calls,
              QStringList({u"send without a draft(Hello)"_s, u"saveDraft without a draft(Hello)"_s}));
}

} // namespace
} // namespace Larkhaven
