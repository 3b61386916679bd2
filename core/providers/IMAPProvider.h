#pragma once

#include "domain/MailProvider.h"
#include "providers/ConnectionTrial.h"
#include "providers/IMAPConnection.h"
#include "providers/IMAPCounts.h"
#include "providers/IMAPFolders.h"
#include "providers/IMAPLastMove.h"
#include "providers/IMAPListings.h"
#include "providers/IMAPTransfers.h"
#include "store/MailCache.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace Larkhaven {

/// The mail service of every account that isn't a Google account: what the application asks for, carried out
/// by the account's connection, folders and listings.
///
/// Messages go out over SMTP, on a connection of their own that nothing else waits for, and are copied to the
/// Sent mailbox where the server doesn't do so itself. An operation on the IMAP connection is repeated once
/// where that is lost; the sending of a message never is.
///
/// A message id is an `IMAPMessageID`. Operations fail with "Unknown message." on an id that can't be read,
/// and with "This message is no longer on the server." where the mailbox has another UIDVALIDITY than the id,
/// and touch nothing in it.
///
/// Lives on the main thread. An operation under way keeps the provider alive.
class IMAPProvider final : public MailProvider, public std::enable_shared_from_this<IMAPProvider> {
public:
    /// Connects nothing. `cache` may be null. Fails with `MailError::unsupported` "Missing server settings."
    /// for an account without `server`.
    static std::shared_ptr<IMAPProvider> create(Account account, MailAuth auth,
                                                std::shared_ptr<MailCache> cache, TransportFactory factory);

    /// Proves that both servers take the settings and the credential. A failure of either passes on as it is.
    /// A requested stop, from any thread, ends it at once with `MailError::cancelled`, whatever it waits for,
    /// and closes its connection. `progress` hears which of the servers is asked.
    static Task<> testConnection(ServerSettings settings, MailAuth auth, TransportFactory factory,
                                 std::stop_token stop = {}, ConnectionTrial::Progress progress = {});

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
    bool supportsLabels() const override { return false; }
    Task<MailLabel> createLabel(QString name) override;
    Task<MailLabel> renameLabel(MailLabel label, QString newName) override;
    Task<> deleteLabel(MailLabel label) override;
    Task<> setLabel(MailLabel label, bool applied, QList<QString> ids) override;

private:
    using Client = IMAPConnection::Client;
    using Groups = QList<IMAPMessageGroup>;
    /// Gives a wire name, within a body.
    using Destination = std::function<Task<QString>(Client)>;
    /// Acts on messages of the mailbox that is selected.
    using GroupBody = std::function<Task<>(IMAPMessageGroup group)>;

    IMAPProvider(Account account, MailAuth auth, std::shared_ptr<MailCache> cache, TransportFactory factory);

    /// Runs the body on the connection, and keeps the provider alive meanwhile.
    template <typename Body>
    std::invoke_result_t<Body, Client> withClient(Body body, Turnstile::Order order = Turnstile::Order::next);

    /// The page; as long as its answer is too large, it is asked for in smaller pieces.
    Task<MessagePage> pageInTries(IMAPListings::PageRequest request);

    // Bodies and pieces of bodies: they run while they own the client.
    /// Selects each mailbox, and lets the body act on its messages. A failure leaves the mailboxes that were
    /// done before as they are.
    Task<> forEachGroup(Groups groups, Client client, GroupBody body);
    Task<QByteArray> fetchBody(Client client, IMAPMessageGroup group);
    Task<qint64> unseen(Client client);
    Task<> storeFlag(Client client, Groups groups, bool add, QString flag);
    Task<> moveGroups(Client client, QList<QString> ids, Destination destination);
    Task<> moveGroup(Client client, IMAPMessageGroup group, Destination destination);
    using Appending = std::shared_ptr<IMAPTransfers::Appending>;
    Task<> appendSentCopy(Client client, Appending copy);
    Task<> appendDraft(Client client, Appending draft);
    Task<bool> isInSent(Client client, QString messageID);
    Task<> deleteGroups(Client client, Groups groups);

    Task<> moveMessages(QList<QString> ids, Destination destination);
    Task<> deleteDraft(QString id);
    Task<> replaceDraft(std::optional<QString> draftID);
    Task<> setFlag(QList<QString> ids, bool add, QString flag, bool PackedRow::State::*field);

    const Account m_account;
    const ServerSettings m_settings;
    const MailAuth m_auth;
    const TransportFactory m_factory;
    const std::shared_ptr<MailCache> m_cache;
    IMAPConnection m_connection;
    IMAPFolders m_folders;
    IMAPListings m_listings;
    IMAPTransfers m_transfers;
    IMAPLastMove m_lastMove;
    IMAPCounts m_counts;
};

} // namespace Larkhaven
