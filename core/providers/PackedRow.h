#pragma once

#include "domain/Message.h"

#include <QByteArray>
#include <QString>
#include <QUuid>

namespace Larkhaven {

/// A `MessageSummary` in few bytes, as it is kept in memory and on disk: a mailbox of 20,000 takes some ten
/// megabytes, of which only the rows of a page are ever unpacked. What a message is and what is done with it
/// are apart, since the second alone changes.
struct PackedRow {
    /// What is done with a message.
    struct State {
        bool isRead = false;
        bool isStarred = false;
        bool isUnconfirmed = false; ///< the labels are to be read anew; of a service with labels alone
        QString mailbox;            ///< `MessageSummary::mailbox`
        QList<QString> labelIDs;

        static State of(const MessageSummary& summary, bool isUnconfirmed);
        QByteArray packed() const;
    };

    QByteArray content;
    QByteArray state;

    /// Without the ids of the message and of the account.
    static PackedRow of(const MessageSummary& summary, bool isUnconfirmed = false);

    /// Whether the bytes are those of a row; for others the rest fails with `DecodingError`.
    bool isWhole() const;
    MessageSummary summary(const QString& id, const QUuid& accountID) const;
    State unpackedState() const;
    /// In milliseconds since 1970, for the order of rows alone.
    qint64 date() const;

    bool operator==(const PackedRow&) const = default;
};

} // namespace Larkhaven
