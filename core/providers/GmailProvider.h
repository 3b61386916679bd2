#pragma once

#include "domain/MailProvider.h"
#include "platform/Coalescer.h"
#include "providers/AuthorizedAPI.h"
#include "providers/GmailPutBack.h"
#include "providers/GmailSyncState.h"
#include "providers/ListingCache.h"
#include "store/MailCache.h"

#include <QHash>
#include <QJsonObject>
#include <QSet>

#include <functional>
#include <memory>
#include <optional>

namespace Larkhaven {

/// The mail service of a Google account, over the Gmail REST API v1.
///
/// A listing is the ids that the service gave, in its order, and lives until something has changed; the rows
/// behind the ids are asked for once and follow the service's history from then on. Changes of ours go out
/// one after the other, and are applied to the rows once the service has taken them.
///
/// At most five requests at once are for rows, and at most five for counts.
///
/// Lives on the main thread. An operation under way keeps the provider alive.
class GmailProvider final : public MailProvider, public std::enable_shared_from_this<GmailProvider> {
public:
    static constexpr qsizetype readingWidth = 5;
    static constexpr qsizetype trashingWidth = 4;
    /// The most messages of one `batchModify`.
    static constexpr qsizetype batchLimit = 1000;
    /// Pages of the history, and of the drafts, that are read in one go.
    static constexpr int mostPages = 10'000;

    /// Asks for nothing yet. `tokens` must not be null, `cache` may be.
    static std::shared_ptr<GmailProvider> create(Account account, std::shared_ptr<TokenSource> tokens,
                                                 std::shared_ptr<MailCache> cache,
                                                 AuthorizedAPI::Sleep sleep = sleepFor);

    /// The address of the mailbox that the tokens open. Fails with `MailError::protocolError` "No email in
    /// Gmail profile".
    static Task<QString> profileAddress(std::shared_ptr<TokenSource> tokens, std::stop_token stop = {});

    using MailProvider::saveDraft;
    using MailProvider::send;
    const Account& account() const override { return m_account; }
    Task<MessagePage> listMessages(MailboxRef ref, std::optional<QString> query, qint64 offset, qint64 limit,
                                   bool refresh) override;
    Task<qint64> lastPageOffset(MailboxRef ref, std::optional<QString> query, qint64 pageSize) override;
    Task<QList<MailLabel>> listLabels() override;
    Task<QByteArray> fetchRaw(QString id) override;
    Task<std::optional<QString>> threadID(QString id) override;
    Task<> setRead(bool read, QList<QString> ids) override;
    Task<> setStarred(bool starred, QList<QString> ids) override;
    Task<> archive(QList<QString> ids) override;
    Task<> trash(QList<QString> ids) override;
    Task<> moveToInbox(QList<QString> ids) override;
    Task<> markSpam(QList<QString> ids) override;
    Task<> moveToLabel(QList<QString> ids, MailLabel label) override;
    Task<bool> canPutBack(QList<QString> ids) override;
    Task<> putBack(QList<QString> ids) override;
    Task<> send(OutgoingMessage message, std::optional<QString> draftID) override;
    Task<bool> wasSent(QString messageID) override;
    Task<> saveDraft(OutgoingMessage message, std::optional<QString> draftID) override;
    Task<qint64> inboxUnreadCount() override;
    Task<QHash<QString, qint64>> counts(QList<MailLabel> labels) override;
    bool supportsLabels() const override { return true; }
    Task<MailLabel> createLabel(QString name) override;
    Task<MailLabel> renameLabel(MailLabel label, QString newName) override;
    Task<> deleteLabel(MailLabel label) override;
    Task<> setLabel(MailLabel label, bool applied, QList<QString> ids) override;

private:
    using SyncState = GmailSyncState;
    using Listings = ListingCache<QString>;
    using Query = QList<SecureHTTP::QueryItem>;
    using Names = QHash<QString, QString>;

    GmailProvider(Account account, AuthorizedAPI api, std::shared_ptr<MailCache> cache);

    // Listing. Whoever calls these keeps the provider alive.
    Task<Listings::Entry> listing(MailboxRef ref, std::optional<QString> query, qint64 count);
    Task<Listings::Page> fetchPage(Query specification, std::optional<QString> continuation);
    /// Ids, in their order and each once, of which there is something to ask.
    struct Lacking {
        QList<QString> rows;
        QList<QString> labels; ///< the rows are known, and unconfirmed
    };
    Lacking lacking(const QList<QString>& ids) const;
    /// The rows of the ids, known and confirmed as far as they can be.
    Task<SyncState::Summaries> completeRows(QList<QString> ids);
    Task<> fetchRow(QString id, std::stop_token stop);
    Task<> confirmRow(QString id, std::stop_token stop);
    /// With their labels by name.
    Task<QList<MessageSummary>> rows(QList<QString> ids, SyncState::Summaries known);
    Task<std::optional<qint64>> total(MailboxRef ref, std::optional<QString> query,
                                      std::optional<qint64> estimate);
    /// Follows the history. Never fails: what can't be learned is left to the next time.
    Task<> sync();
    /// Whether anything may have changed.
    Task<bool> followHistory();
    Task<> takeBaseline();
    Task<QJsonObject> labelNumbers(QString labelID, QString names, std::stop_token stop);
    Task<> addCount(std::shared_ptr<QHash<QString, qint64>> counts, QString key, QString labelID,
                    QLatin1StringView number, std::stop_token stop);

    // Changes (GmailProviderChanges.cpp)
    Task<> modify(QList<QString> ids, QList<QString> add, QList<QString> remove);
    /// Within a turn of changes.
    Task<> modifyInTurn(QList<QString> ids, QList<QString> add, QList<QString> remove);
    /// A change of place, which can be put back.
    Task<> relocate(QList<QString> ids, QList<QString> add, QList<QString> remove);
    /// What puts such a change back that is about to be made; absent where the labels of any message aren't
    /// surely known.
    std::optional<GmailPutBack> puttingBack(const QList<QString>& ids, const QList<QString>& add,
                                            const QList<QString>& remove) const;
    bool isLastRelocation(const QList<QString>& ids) const;
    Task<> restore(GmailPutBack::Step step);
    Task<> trashOne(QString id, std::stop_token stop);
    Task<> untrashOne(QString id, std::shared_ptr<QSet<QString>> done, std::stop_token stop);
    /// Id and name of the user's labels, in the service's order.
    Task<QList<MailLabel>> allLabels();
    Task<QJsonObject> postLabel(QString name);
    Task<> patchLabel(QString id, QString name);

    // Writing (GmailProviderWriting.cpp)
    /// What a message becomes on the service.
    struct Upload {
        enum class Kind { message, draft };
        Kind kind;
        std::optional<QString> draftID; ///< of the draft that it replaces
    };
    /// The own id of the first draft of a search whose message is the one meant; absent where there is none.
    Task<std::optional<QString>> findDraft(Query search, std::function<bool(QString)> isMeant);
    /// The own id of the draft whose message has the id, or that an earlier saving may have left behind.
    Task<std::optional<QString>> draftToReplace(OutgoingMessage message, std::optional<QString> draftID);
    /// Once more without its conversation where that is gone.
    Task<> upload(Upload upload, OutgoingMessage message);
    Task<> uploadOnce(Upload upload, OutgoingMessage message);
    /// False where the draft is gone.
    Task<bool> updateDraft(QString draftID, OutgoingMessage message);
    Task<> sendDraft(QString draftID);

    const Account m_account;
    const AuthorizedAPI m_api;
    const std::shared_ptr<MailCache> m_cache;
    SyncState m_state;
    Listings m_index;
    Names m_labelNames;
    std::shared_ptr<Coalescer> m_syncs;
    Turnstile m_rowTurn;
    Turnstile m_countTurn;
    Turnstile m_changeTurn;
    std::optional<GmailPutBack> m_putBack; ///< of the last change of place
    /// Message-IDs of drafts whose first saving failed: they may be stored all the same.
    QSet<QString> m_unsureDrafts;
};

} // namespace Larkhaven
