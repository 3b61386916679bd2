#pragma once

#include "domain/Account.h"
#include "domain/Mailbox.h"
#include "domain/Message.h"

#include <QByteArray>
#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

template <typename T = void>
using Task = QCoro::Task<T>;

/// The one interface through which the application reaches a mail service; one object per account implements
/// it.
///
/// Lives on the main thread. Several operations may be in flight at once; an implementation serialises what
/// it must by itself. Failures are `MailError` values or errors of the layers below:
///   notSignedIn    no usable token or password is left
///   authFailed     the service refused the credential
///   rateLimited    the service told the client to slow down
///   cancelled      the operation was abandoned on purpose
///   http           the REST service answered with an error status
///   protocolError  the IMAP or SMTP exchange broke the protocol or was refused
///   unsupported    the service can't do this for this account; the text is shown as it stands
///
/// `ids` is always a list of `MessageSummary::id` values from this provider.
///
/// Lifetime: an operation keeps its provider alive until it ends.
class MailProvider {
public:
    MailProvider() = default;
    virtual ~MailProvider() = default;
    MailProvider(const MailProvider&) = delete;
    MailProvider& operator=(const MailProvider&) = delete;

    /// The account as it was when the provider was built.
    virtual const Account& account() const = 0;

    /// The slice of the listing of `ref` that starts at `offset` (a multiple of `limit`, counted from the
    /// newest message) and holds at most `limit` rows, newest first. `query` is trimmed search text; "from:"
    /// and an address works on every service. With `refresh` false the answer may come from what is already
    /// known, otherwise the service is asked.
    virtual Task<MessagePage> listMessages(MailboxRef ref, std::optional<QString> query, qint64 offset,
                                           qint64 limit, bool refresh) = 0;
    /// The offset of the last page of the same listing; 0 when it is empty or `pageSize` is below 1.
    virtual Task<qint64> lastPageOffset(MailboxRef ref, std::optional<QString> query, qint64 pageSize) = 0;
    /// The user's labels or folders, with their full path. System mailboxes aren't among them.
    virtual Task<QList<MailLabel>> listLabels() = 0;
    /// The complete RFC 5322 message, through the cache: a second call needs no network.
    virtual Task<QByteArray> fetchRaw(QString id) = 0;
    /// The conversation identifier to put on a reply, where the service has one.
    virtual Task<std::optional<QString>> threadID(QString id) = 0;

    virtual Task<> setRead(bool read, QList<QString> ids) = 0;
    virtual Task<> setStarred(bool starred, QList<QString> ids) = 0;

    // These take the messages out of their present mailbox.
    virtual Task<> archive(QList<QString> ids) = 0;
    virtual Task<> trash(QList<QString> ids) = 0;
    virtual Task<> moveToInbox(QList<QString> ids) = 0;
    virtual Task<> markSpam(QList<QString> ids) = 0;
    virtual Task<> moveToLabel(QList<QString> ids, MailLabel label) = 0;

    /// Whether all of what the last of the operations above has moved, which were the messages of `ids`, can
    /// be put back where it was. May ask the service; what can't be learned counts as no.
    virtual Task<bool> canPutBack(QList<QString> ids);
    /// Puts them back, in which they may get other ids. Fails with `unsupported` where `canPutBack` didn't
    /// say that it can.
    virtual Task<> putBack(QList<QString> ids);

    /// Submits the message, blind copies included, which no recipient sees. The draft `draftID`, if there is
    /// one, is replaced by the sent message. The message goes out under its `messageID`, or a fresh one, and
    /// so does the copy of it in the Sent mailbox. Whatever fails after the service has taken the message is
    /// not told: a failure means that the user may try again, after a look for the message (`wasSent`) where
    /// the failure is a `MailError` that `mayHaveBeenSent`.
    virtual Task<> send(OutgoingMessage message, std::optional<QString> draftID) = 0;
    /// Whether a message of this Message-ID, given without angle brackets, lies in the Sent mailbox; false
    /// where there is no such mailbox. That it lies there proves that it was sent, that it doesn't proves
    /// nothing: the copy may be missing, or on its way. What can't be learned is thrown, never taken for
    /// absence.
    virtual Task<bool> wasSent(QString messageID) = 0;
    /// Stores the message as a draft, replacing the draft `draftID` if one is given. Whoever saves a draft
    /// again after a failure gives it the same `messageID`: what the failed save may have stored is then
    /// replaced too.
    virtual Task<> saveDraft(OutgoingMessage message, std::optional<QString> draftID) = 0;

    /// Number of unread messages in the Inbox.
    virtual Task<qint64> inboxUnreadCount() = 0;
    /// The counts that the sidebar shows, keyed by `MailboxRef::id`: those system mailboxes that have counts,
    /// and `labels`.
    virtual Task<QHash<QString, qint64>> counts(QList<MailLabel> labels) = 0;

    /// Whether a message can carry several labels at once.
    virtual bool supportsLabels() const = 0;
    /// Makes the label or folder `name`, in which "/" nests. Fails with "Please enter a name." on an empty
    /// name.
    virtual Task<MailLabel> createLabel(QString name) = 0;
    /// Gives `label` the new full path `newName` and returns it as it now is. Fails like `createLabel` on an
    /// empty name.
    virtual Task<MailLabel> renameLabel(MailLabel label, QString newName) = 0;
    /// Deletes the label or folder. On IMAP, what it holds goes with it.
    virtual Task<> deleteLabel(MailLabel label) = 0;
    /// Adds or removes `label` on messages, where `supportsLabels`.
    virtual Task<> setLabel(MailLabel label, bool applied, QList<QString> ids) = 0;

    /// Moves messages to a role or label. Fails with "Messages can't be moved to {name}." for the roles that
    /// take none.
    Task<> move(QList<QString> ids, const MailboxRef& target);
    Task<> send(OutgoingMessage message) { return send(std::move(message), std::nullopt); }
    Task<> saveDraft(OutgoingMessage message) { return saveDraft(std::move(message), std::nullopt); }
};

} // namespace Larkhaven
