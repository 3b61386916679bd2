#pragma once

#include "providers/IMAPConnection.h"
#include "providers/IMAPMessageID.h"
#include "providers/IMAPTransfers.h"

#include <QSet>

#include <memory>
#include <optional>

namespace Larkhaven {

/// The last move that was made in an account, so that its messages can be put back where they came from.
///
/// Where its messages lie is known from what the server told (COPYUID), or else found by what the originals
/// were known by: size and header fields, a Message-ID among them. That costs a request before the move, and
/// is done where the server has no UIDPLUS (RFC 4315). Whatever isn't surely the message of that move, be it
/// that two are alike, is not found.
///
/// Operations run within a body of the connection. Main thread; whoever waits for one keeps this alive.
class IMAPLastMove {
public:
    using Client = IMAPConnection::Client;
    /// The most messages of a move that is remembered.
    static constexpr qsizetype messageLimit = IMAPCopyUID::messageLimit;
    /// How many messages may have come into the target behind the moved ones for those to be found.
    static constexpr qsizetype newcomerLimit = 100;

    /// A move back that is under way; kept over its tries.
    struct Return {
        struct Step {
            IMAPMessageGroup group; ///< in the target of the move
            QString destination;
        };
        QList<Step> steps;
        bool isConfirmed = false; ///< all were there before the first step
        qsizetype done = 0;       ///< how many of the steps
    };

    IMAPLastMove(const IMAPConnection& connection, IMAPTransfers& transfers)
        : m_connection(connection)
        , m_transfers(transfers)
    {}

    void forget() { m_move.reset(); }
    /// Begins a move of these messages in place of the last one. It counts once it is completed.
    void begin(const QList<QString>& ids);
    void complete();
    /// Moves messages of the mailbox that is selected, as a part of the move.
    Task<> move(Client client, IMAPMessageGroup group, QString target);

    /// Whether the last move was of exactly these, and of any.
    bool isOf(const QList<QString>& ids) const;
    bool isLocated() const;
    /// Whether `locate` has something to look for.
    bool canBeLocated() const;
    /// Looks in the targets for what isn't located.
    Task<> locate(Client client);

    /// What puts these messages back, once: nothing is remembered after it. Null where they aren't those of
    /// the last move, or not located.
    std::shared_ptr<Return> take(const QList<QString>& ids);
    /// Fails with `goneFromServer`, and moves none, where one of them isn't there any more.
    Task<> putBack(Client client, std::shared_ptr<Return> back);

private:
    struct Part {
        IMAPMessageGroup source;
        QString target;
        std::optional<IMAPCopyUID> copies;
        IMAPTransfers::Fingerprints originals; ///< empty where nobody asked
    };
    struct Move {
        QSet<QString> ids;
        QList<Part> parts;
        bool isComplete = false;
    };

    static bool canBeFound(const Part& part);
    /// What the messages are known by, where the server won't tell where they go.
    Task<IMAPTransfers::Fingerprints> fingerprints(Client client, QList<qint64> uids);
    Task<std::optional<IMAPCopyUID>> find(Client client, Part part);
    Task<> confirm(Client client, std::shared_ptr<Return> back);

    const IMAPConnection& m_connection;
    IMAPTransfers& m_transfers;
    std::optional<Move> m_move;
};

} // namespace Larkhaven
