#pragma once

#include "domain/Message.h"

#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>

/// What the Gmail API tells of a message, as a row (reference of the Gmail API v1, `users.messages`). Pure
/// functions; what is missing or of another type leaves its field as it is empty.
namespace Larkhaven::GmailMessage {

/// The most labels of a message that are read. An account can have 10,000.
inline constexpr qsizetype mostLabels = 20'000;

namespace SystemLabel {
inline constexpr QLatin1StringView inbox("INBOX");
inline constexpr QLatin1StringView starred("STARRED");
inline constexpr QLatin1StringView sent("SENT");
inline constexpr QLatin1StringView draft("DRAFT");
inline constexpr QLatin1StringView spam("SPAM");
inline constexpr QLatin1StringView trash("TRASH");
inline constexpr QLatin1StringView unread("UNREAD");
} // namespace SystemLabel

/// What the ids of user labels begin with.
inline constexpr QLatin1StringView userLabelPrefix("Label_");

/// The row of a message in the form "metadata".
MessageSummary summary(const QJsonObject& message, const QUuid& accountID);

/// The texts of a list; whatever else is in it is passed over.
QList<QString> strings(const QJsonValue& list);

/// Gives the row these labels, and what follows from them.
void setLabels(MessageSummary& summary, QList<QString> labelIDs);

/// Where a message with these labels lies: the name of a system mailbox, or the ids of its user labels joined
/// by ",", or "All Mail".
QString mailboxText(const QList<QString>& labelIDs);

/// The ids of user labels in a mailbox text; none where it is a name.
QStringList labelsIn(const QString& mailboxText);

} // namespace Larkhaven::GmailMessage
