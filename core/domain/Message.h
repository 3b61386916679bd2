#pragma once

#include "domain/EmailAddress.h"
#include "domain/Sender.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

namespace Larkhaven {

/// One row of a listing.
struct MessageSummary {
    QString id; ///< the provider's message identifier, by which the row is known
    QUuid accountID;
    std::optional<EmailAddress> from;
    QList<EmailAddress> to;
    QString subject; ///< decoded
    QString snippet; ///< preview text
    QDateTime date;  ///< UTC
    bool isRead = false;
    bool isStarred = false;
    bool hasAttachments = false;
    qint64 size = 0; ///< bytes
    QString mailbox; ///< display text of where the message lies
    QList<QString> labelIDs;
    /// Where the From fields hold something else than `from`, or can't be trusted; absent where `from` is
    /// what they say.
    std::optional<Sender> sender;

    /// `sender`, or else `from`.
    Sender realSender() const;

    /// Fails with `DecodingError`.
    static MessageSummary fromJSON(const QJsonObject& object);
    QJsonObject toJSON() const;

    bool operator==(const MessageSummary&) const = default;
};
size_t qHash(const MessageSummary& summary, size_t seed = 0);

/// A slice of a listing, newest first.
struct MessagePage {
    QList<MessageSummary> messages;
    bool hasMore = false;        ///< a further page exists
    std::optional<qint64> total; ///< messages in the whole listing, absent when the service doesn't know

    bool operator==(const MessagePage&) const = default;
};

/// A file that goes out with a message.
struct OutgoingAttachment {
    QUuid id;
    QString filename;
    QString mimeType;
    QByteArray data;

    bool operator==(const OutgoingAttachment&) const = default;
};
size_t qHash(const OutgoingAttachment& attachment, size_t seed = 0);

/// What stands in the fields of recipients and names nobody, as it was typed.
struct UnreadRecipients {
    QString to;
    QString cc;
    QString bcc;

    bool operator==(const UnreadRecipients&) const = default;
};

/// A message to be sent or stored as a draft.
struct OutgoingMessage {
    EmailAddress from;
    QList<EmailAddress> to;
    QList<EmailAddress> cc;
    QList<EmailAddress> bcc;
    QString subject;
    QString body; ///< the plain text
    std::optional<QString> htmlBody;
    QList<OutgoingAttachment> attachments;
    std::optional<QString> inReplyTo;
    QList<QString> references;
    std::optional<QString> threadID;
    UnreadRecipients unread; ///< of a draft alone: nothing of it is ever sent
    /// The Message-ID without its angle brackets, under which a message that is sent again is known as the
    /// same; absent: it gets a fresh one.
    std::optional<QString> messageID;

    bool operator==(const OutgoingMessage&) const = default;
};

} // namespace Larkhaven
