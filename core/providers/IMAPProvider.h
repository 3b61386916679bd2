#pragma once

#include "domain/MailProvider.h"
#include "platform/Turnstile.h"
#include "protocols/IMAPClient.h"
#include "providers/IMAPMailboxes.h"
#include "providers/IMAPSnapshot.h"
#include "store/MailCache.h"

#include <QHash>
#include <QMap>

#include <functional>
#include <memory>
#include <optional>

namespace Larkhaven {

/// The mail service of every account that isn't a Google account, over one IMAP connection that is opened on
/// the first operation.
///
/// Everything that speaks to the server goes through `withClient`: one body at a time owns the connection, in
/// the order of their coming, and a connection that the server has dropped meanwhile is replaced once,
/// unnoticed. Each listing asks the server for the UIDs of the whole view and fetches only what its page
/// lacks; summaries are kept across launches in a sealed snapshot.
///
/// Messages go out over SMTP, on a connection of their own that nothing else waits for, and are copied to the
/// Sent mailbox where the server doesn't do so itself. An operation on the IMAP connection is repeated once
/// where that dies; the sending of a message never is.
///
/// A message id is "{uid}:{wire name of the mailbox}". Ids are good only under the UIDVALIDITY that their
/// mailbox had when it was listed: under another, operations on them fail with "This message is no longer on
/// the server." and touch nothing, since the same number may mean another message by now.
///
/// Lives on the main thread. An operation under way keeps the provider alive.
class IMAPProvider final : public MailProvider, public std::enable_shared_from_this<IMAPProvider> {
public:
    /// Connects nothing. `cache` may be null. Fails with `MailError::unsupported` "Missing server settings."
    /// for an account without `server`.
    static std::shared_ptr<IMAPProvider> create(Account account, MailAuth auth,
                                                std::shared_ptr<MailCache> cache, TransportFactory factory);

    /// Proves that both servers take the settings and the credential. A failure of either passes on as it is.
    static Task<> testConnection(ServerSettings settings, MailAuth auth, TransportFactory factory);

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
    Task<> send(OutgoingMessage message, std::optional<QString> draftID) override;
    Task<> saveDraft(OutgoingMessage message, std::optional<QString> draftID) override;
    Task<qint64> inboxUnreadCount() override;
    Task<QHash<QString, qint64>> counts(QList<MailLabel> labels) override;
    bool supportsLabels() const override { return false; }
    Task<MailLabel> createLabel(QString name) override;
    Task<MailLabel> renameLabel(MailLabel label, QString newName) override;
    Task<> deleteLabel(MailLabel label) override;
    Task<> setLabel(MailLabel label, bool applied, QList<QString> ids) override;

    /// The arguments of UID SEARCH for a view. "from:" is the only operator of a query.
    static QList<IMAPArg> searchArgs(const MailboxRef& ref, const std::optional<QString>& query);
    /// UIDs by the wire name of their mailbox; ids that can't be read are dropped.
    static QMap<QString, QList<qint64>> groupIDs(const QList<QString>& ids);

private:
    using Client = std::shared_ptr<IMAPClient>;
    /// Gives a wire name, within a body.
    using Destination = std::function<Task<QString>(Client)>;
    /// Acts on messages of the mailbox that is selected.
    using GroupBody = std::function<Task<>(QString mailbox, QList<qint64> uids)>;
    /// Whether the mailboxes are as a change wants them.
    using IsDone = std::function<bool(const IMAPMailboxes::Listing&)>;
    struct Listing {
        QString mailbox;
        QList<qint64> uids; ///< descending: newest first by arrival
    };
    struct FetchedBody {
        QByteArray bytes;
        qint64 uidValidity;
    };
    struct PageRequest {
        MailboxRef ref;
        std::optional<QString> query;
        qint64 offset;
        qint64 limit;
        bool refresh;
    };

    IMAPProvider(Account account, MailAuth auth, std::shared_ptr<MailCache> cache, TransportFactory factory);

    template <typename Body>
    std::invoke_result_t<Body, Client> withClient(Body body);

    // Bodies and pieces of bodies: they run while they own the client.
    Task<std::optional<QString>> resolveMailbox(Mailbox role, Client client, bool create);
    Task<QString> requireMailbox(Mailbox role, Client client, bool create);
    Task<> knowMailboxes(Client client);
    Task<Listing> uidListing(MailboxRef ref, std::optional<QString> query, Client client, bool refresh);
    Task<MessagePage> fetchListing(Client client, PageRequest request);
    Task<MessagePage> fetchPage(Client client, PageRequest request, Listing listing);
    Task<QHash<qint64, MessageSummary>> refreshFlags(Client client, QList<qint64> page,
                                                     QHash<qint64, MessageSummary> known);
    Task<QHash<qint64, MessageSummary>> fetchSummaries(Client client, QString mailbox, QList<qint64> missing);
    Task<FetchedBody> fetchBody(Client client, QString mailbox, qint64 uid);
    Task<qint64> lastOffset(Client client, MailboxRef ref, std::optional<QString> query, qint64 pageSize);
    Task<QList<MailLabel>> listedLabels(Client client);
    Task<qint64> unseen(Client client);
    Task<QHash<QString, qint64>> countAll(Client client, QList<MailLabel> labels);
    /// Selects each mailbox of the ids, and lets the body act on its messages. A failure leaves the mailboxes
    /// that were done before as they are.
    Task<> forEachGroup(QList<QString> ids, Client client, GroupBody body);
    Task<> storeFlag(Client client, QList<QString> ids, bool add, QString flag);
    Task<> moveGroups(Client client, QList<QString> ids, Destination destination);
    Task<> moveGroup(Client client, QString mailbox, QList<qint64> uids, Destination destination);
    Task<> appendSentCopy(Client client, OutgoingMessage message);
    Task<> appendDraft(Client client, OutgoingMessage message);
    Task<> deleteGroups(Client client, QList<QString> ids);
    /// Lets a CREATE, RENAME or DELETE come to its end. The list of mailboxes is forgotten, unless it was
    /// needed to learn whether the change was done by the first try.
    Task<> finishChange(Client client, Task<> change, IsDone isDone);
    Task<MailLabel> createMailbox(Client client, QString name);
    Task<MailLabel> renameMailbox(Client client, MailLabel label, QString newName);
    Task<> deleteMailbox(Client client, MailLabel label);
    Task<QString> wireName(Client client, QString path);
    /// Selects the mailbox and makes sure that ids of it still mean the same messages.
    Task<> selectForIDs(Client client, QString mailbox, QList<qint64> uids);

    // Everything that changes the boxes or relies on them loads them first.
    Task<> moveMessages(QList<QString> ids, Destination destination);
    Task<> deleteDraft(QString id);
    Task<> replaceDraft(std::optional<QString> draftID);
    Task<> setFlag(QList<QString> ids, bool add, QString flag, bool MessageSummary::*field);
    Task<> loadBoxes();
    Task<> persistBoxes();

    QHash<qint64, MessageSummary> cachedMessages(const QString& mailbox, qint64 uidValidity);
    void updateCached(const QList<QString>& ids, const std::function<void(MessageSummary&)>& change);
    void removeCached(const QList<QString>& ids);
    void forgetMailbox(const QString& wireName);
    /// Fails where a UID was last handed out under another UIDVALIDITY than that of the box.
    void expectCurrent(const QString& mailbox, const QList<qint64>& uids) const;
    void expectCurrent(const QList<QString>& ids) const;
    /// To be called before the box of the mailbox is replaced by one with the page.
    void noteHandedOut(const QString& mailbox, qint64 uidValidity, const QList<qint64>& page);

    Account m_account;
    ServerSettings m_settings;
    MailAuth m_auth;
    TransportFactory m_factory;
    std::shared_ptr<MailCache> m_cache;

    Client m_client;
    Turnstile m_clientTurn;
    bool m_isSecondTry = false;                        ///< of the body that owns the client
    std::optional<IMAPMailboxes::Listing> m_mailboxes; ///< the last LIST
    QHash<QString, Listing> m_listings;                ///< by "{MailboxRef::id}|{query}"
    IMAPBoxes m_boxes;
    QHash<QString, QSet<qint64>> m_staleUIDs; ///< of ids that views may still hold, by mailbox
    Turnstile m_boxesTurn;
    bool m_boxesLoaded = false;
    bool m_boxesDirty = false;
};

} // namespace Larkhaven
