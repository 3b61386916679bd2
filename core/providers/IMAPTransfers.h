#pragma once

#include "providers/IMAPConnection.h"
#include "providers/IMAPMessageID.h"

#include <QSet>

#include <map>
#include <memory>
#include <optional>
#include <tuple>

namespace Larkhaven {

/// What puts messages into mailboxes, in a way that a lost connection neither doubles nor loses any.
///
/// A server without MOVE (RFC 6851) is asked to copy messages and then to delete them. Where the connection
/// is lost before the answer to COPY, nobody knows whether the copies are there; so the next try looks for
/// them among what the target has got since, and copies only what isn't there. What is known of copies is
/// kept until their move has come to its end, so that a try of the user's after a failure looks as well. The
/// same holds for APPEND, whose message is looked for by its Message-ID. One that failed for good is
/// remembered: once a later state of the draft is stored under the same Message-ID, the message of the
/// earlier one goes, if it lies there after all.
///
/// Every operation runs within a body of the connection, which must outlive this. Main thread; whoever waits
/// for an operation keeps this alive.
class IMAPTransfers {
public:
    using Client = IMAPConnection::Client;
    /// What one APPEND has come to; kept over its tries.
    struct Appending {
        QString flags;
        QByteArray message;
        QString messageID; ///< of the message, without angle brackets
        /// Whether the mailbox may hold older messages of this Message-ID.
        bool isRepeatedID = false;
        bool hasBegun = false;
        /// Whether an earlier call for the Message-ID has had no answer: then what lies in the mailbox may be
        /// its text instead of this one.
        bool hasEarlier = false;
        IMAPClient::NextUID next; ///< of the mailbox, before
    };

    /// The most messages of a mailbox, the newest ones, that are looked at to find copies.
    static constexpr qsizetype lookLimit = 10'000;
    /// The most failed appends that are remembered, the latest ones.
    static constexpr qsizetype unansweredLimit = 100;

    explicit IMAPTransfers(const IMAPConnection& connection)
        : m_connection(connection)
    {}

    /// By which a message and its copies are known: size and header fields, by UID.
    using Fingerprints = QHash<qint64, QByteArray>;

    /// Selects the mailbox of the group. Fails with `goneFromServer` where its messages aren't the same ones
    /// any more.
    static Task<> select(Client client, IMAPMessageGroup group);
    /// Moves messages of the mailbox that is selected to another one. Gives where all of them lie now, where
    /// the server told it.
    Task<std::optional<IMAPCopyUID>> move(Client client, IMAPMessageGroup group, QString target);
    /// Of messages of the mailbox that is selected; nothing of those that the server tells too little of.
    Task<Fingerprints> fingerprints(Client client, QList<qint64> uids);
    /// The UIDs of that many of the newest messages of the mailbox that is selected, ascending.
    Task<QList<qint64>> newest(Client client, qsizetype count);
    /// Stores a message. Where its Message-ID is repeated, what earlier calls for it left without an answer
    /// is then deleted, as far as it surely is that; a failure of this isn't told.
    Task<> append(Client client, QString target, std::shared_ptr<Appending> appending);
    /// Whether a message of the Message-ID, given without angle brackets, lies in the mailbox, which is
    /// selected anew, under `first` or a higher UID.
    Task<bool> holds(Client client, QString mailbox, QString messageID, IMAPClient::NextUID first = {});

private:
    /// Copies of messages of one mailbox under one UIDVALIDITY into another one.
    struct Copies {
        QSet<qint64> attempted;   ///< whose COPY was sent
        QSet<qint64> done;        ///< that surely are in the target
        IMAPClient::NextUID next; ///< of the target, before the attempt
    };
    struct Route {
        QString source;
        qint64 uidValidity;
        QString target;

        bool operator<(const Route& other) const
        {
            return std::tie(source, uidValidity, target) <
                   std::tie(other.source, other.uidValidity, other.target);
        }
    };
    /// An APPEND that has had no answer, or a refusal: its message may lie in the mailbox.
    struct Unanswered {
        QString mailbox;
        QString messageID;
        QString identity;         ///< by which its message is known among those of the Message-ID
        IMAPClient::NextUID next; ///< of the mailbox, before
    };

    Task<std::optional<IMAPCopyUID>> moveInOneCommand(Client client, IMAPMessageGroup group, QString target);
    /// Learns which of the attempted copies are in the target, and selects the source again.
    Task<> settle(Client client, Route route);
    /// What lies in the mailbox that is selected under `first` or a higher UID.
    Task<QList<qint64>> uidsFrom(Client client, IMAPClient::NextUID first, QList<IMAPArg> criteria);

    static bool isOf(const Unanswered& unanswered, const QString& mailbox, const QString& messageID)
    {
        return unanswered.mailbox == mailbox && unanswered.messageID == messageID;
    }
    /// Asks what the mailbox is like before the first try.
    Task<> begin(Client client, QString mailbox, std::shared_ptr<Appending> appending);
    void remember(const QString& mailbox, const Appending& appending);
    void forget(const QString& mailbox, const QString& messageID);
    /// The messages of unanswered appends of the Message-ID, in the mailbox, which is selected anew; only
    /// such as can be deleted one by one, and none where this can't be learned.
    Task<QList<qint64>> leftBehind(Client client, QString mailbox, QString messageID);
    Task<QList<qint64>> copiesOf(Client client, QList<Unanswered> unanswered);

    const IMAPConnection& m_connection;
    std::map<Route, Copies> m_copies; ///< of moves that have not come to their end
    QList<Unanswered> m_unanswered;   ///< the oldest first
};

} // namespace Larkhaven
