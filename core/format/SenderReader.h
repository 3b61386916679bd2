#pragma once

#include "domain/Sender.h"
#include "format/MIMEHeaders.h"

#include <QList>
#include <QString>
#include <QStringView>

/// Reads whom a message is from (RFC 5322, 3.4 and 3.6.2) as the services that carry mail do: the field is
/// cut into its addresses first, with its comments, quoted strings, groups and obsolete forms, and only the
/// names are decoded afterwards. Total functions without state, callable from any thread, in time linear in
/// their input.
///
///     mailbox = [ phrase ] "<" [ route ] addr-spec ">"  /  words addr-spec words
///     group   = phrase ":" *( mailbox / "," ) ";"
///
/// NB: what follows an address in angle brackets up to the next separator is no part of it; a second pair of
/// brackets there is another address. Comments before the brackets stay in the name, as other programs have
/// it. Quoted strings, comments and brackets that are never closed are ordinary characters.
namespace Larkhaven::SenderReader {

/// Of a field, in UTF-16 units. Of a longer one nothing behind them is read, and it is no clear word.
inline constexpr qsizetype longestField = 64 * 1024;
/// Of all fields together. More of them are no clear word either.
inline constexpr qsizetype mostAddresses = 1'000;

/// Whom the values of all From fields name, and whether they are to be trusted; `sender` are those of the
/// Sender fields. Clear is one From field with one address, or with several and one address in one Sender;
/// that one goes first if it is among them.
Sender read(const QList<QString>& from, const QList<QString>& sender);
Sender read(const MIMEHeaders& headers);

/// Of several addresses that the From field holds, none stands for the others: how many different ones there
/// are.
qsizetype distinctAddresses(const Sender& sender);

/// The address that stands in the Sender field for several in the From field; empty where there aren't
/// several, or where nobody does.
QString senderOfSeveral(const MIMEHeaders& headers);

/// What an address field of another name holds. Always clear, unless it is too long.
Sender readField(const QString& value);

/// Sets the sender of a row that was stored when senders weren't judged: as far as the address says it whose
/// decoded form is kept.
void judgeStored(MessageSummary& row);

/// What is behind the last "@" of an address, for comparing: in small letters, in ASCII where it can be (RFC
/// 5891), without a full stop at its end.
QString domainOf(QStringView address);

} // namespace Larkhaven::SenderReader
