#pragma once

#include "domain/Message.h"

#include <QList>
#include <QString>

/// What a row takes of header fields that an untrusted sender wrote. Pure functions in time linear in the
/// bounds, callable from any thread.
namespace Larkhaven::SummaryFields {

/// In UTF-16 units: of a field before it is decoded, of the subject, of a snippet, of a name and of an
/// address, all as whole characters; and the number of recipients.
inline constexpr qsizetype fieldLimit = 64 * 1024;
inline constexpr qsizetype subjectLimit = 2000;
inline constexpr qsizetype snippetLimit = 1000;
inline constexpr qsizetype nameLimit = 200;
inline constexpr qsizetype addressLimit = 1000;
inline constexpr qsizetype recipientLimit = 100;

/// At most the first `length` UTF-16 units of the text, and no half of a character.
QString cut(const QString& text, qsizetype length);

/// Of the addresses of a sender that can't be trusted.
inline constexpr qsizetype senderLimit = 10;

/// Sets whom the row is from, by the raw values of all its From fields.
///
/// NB: several addresses in one field count as clear, since a row doesn't know the Sender field. None of
/// their names stands for them (`Sender::shown`).
void setSender(MessageSummary& row, const QList<QString>& from);

/// The first addresses of a field's raw value, of which one that is cut off is left out.
QList<EmailAddress> addresses(const QString& field);

/// The text of a Subject field's raw value.
QString subject(const QString& field);

} // namespace Larkhaven::SummaryFields
