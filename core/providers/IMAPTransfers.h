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
/// same holds for APPEND, whose message is looked for by its Message-ID.
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
        IMAPClient::NextUID next; ///< of the mailbox, before
    };

    /// The most messages of a mailbox, the newest ones, that are looked at to find copies.
    static constexpr qsizetype lookLimit = 10'000;

    explicit IMAPTransfers(const IMAPConnection& connection)
        : m_connection(connection)
    {}

    /// Moves messages of the mailbox that is selected to another one.
    Task<> move(Client client, IMAPMessageGroup group, QString target);
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
    using Fingerprints = QHash<qint64, QByteArray>;

    Task<> moveInOneCommand(Client client, IMAPMessageGroup group, QString target);
    /// Learns which of the attempted copies are in the target, and selects the source again.
    Task<> settle(Client client, Route route);
    /// By which a message and its copies are known; nothing of those that the server tells too little of.
    Task<Fingerprints> fingerprints(Client client, QList<qint64> uids);
    /// What lies in the mailbox that is selected under `first` or a higher UID.
    Task<QList<qint64>> uidsFrom(Client client, IMAPClient::NextUID first, QList<IMAPArg> criteria);

    const IMAPConnection& m_connection;
    std::map<Route, Copies> m_copies; ///< of moves that have not come to their end
};

} // namespace Larkhaven
