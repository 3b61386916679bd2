#pragma once

#include "domain/Message.h"
#include "format/MIMEHeaders.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

/// Writes outgoing mail (RFC 5322, RFC 2045 to 2047, RFC 2183, RFC 2231), and the texts that a reply or a
/// forward begins with. Total functions without state, callable from any thread, in time linear in their
/// input.
///
/// Whatever comes from a user or from a received message is scrubbed here before it reaches a header line: no
/// value can end its line. All bodies and attachments are base64, so that nothing depends on what they hold.
///
/// Lists of addresses and of references are folded between their entries before column 78 where they can be,
/// and no header line has more than 998 octets (RFC 5322, 2.1.1): what no fold can shorten, an address or an
/// identifier, is left out.
///
/// NB: an address that isn't ASCII is written in UTF-8 as it stands. Every attachment is base64, also one of
/// a type message/* (RFC 2046, 5.2.1 wants none).
namespace Larkhaven::MessageComposer {

/// The largest attachments that a message may be given, in bytes (25 MiB), for those who collect them; the
/// writer itself takes any.
inline constexpr qsizetype maxAttachmentBytes = 26'214'400;

/// The subject with "Re: " before it, or with "Fwd: ", unless it begins so in any case ("Fw:" as well).
QString replySubject(const QString& subject);
QString forwardSubject(const QString& subject);

/// The tail of a reply: two empty lines, "On {date}, {name} <{address}> wrote:", and the lines of the text
/// with "> " before each. The date is written in the user's language and time zone, and is left empty where
/// it is absent; whoever has no address is "someone".
QString quotedReply(const QString& body, const std::optional<QString>& senderName,
                    const std::optional<QString>& senderAddress, const std::optional<QDateTime>& date);

/// The tail of a forward: what the message says of itself, and its text as it stands.
QString forwardBody(const MIMEHeaders& headers, const QString& body);
/// The same with whom it is from in other words than those of the field.
QString forwardBody(const MIMEHeaders& headers, const QString& sender, const QString& receivers,
                    const QString& body);

/// An address for a header field: `"name" <address>`, the name in encoded words where it isn't ASCII, or the
/// address alone where there is no name. The address loses every character that means something between
/// addresses, and may come out empty.
QString formatAddress(const EmailAddress& address);
/// An address for a field that the user edits and `RecipientField` reads: as in a header, but the name as it
/// reads. Whatever the name holds, this one address with this name is what is read again.
QString editableAddress(const EmailAddress& address);
QString formatAddressList(const QList<EmailAddress>& addresses);
/// A Message-ID for mail of the sender (RFC 5322, 3.6.4), without its angle brackets, new at each call. Its
/// domain is the sender's where none is given, "localhost" where there is none.
QString freshMessageID(const QString& sender, const std::optional<QString>& domain = std::nullopt);
/// The same for what is known by `id` already: the same one at each call.
QString lastingMessageID(const QUuid& id, const QString& sender,
                         const std::optional<QString>& domain = std::nullopt);

// What a stored draft keeps of recipients that can't be read (`OutgoingMessage::unread`), as
// `RecipientField::kept` writes it. No message that is sent has such a field.
inline constexpr QLatin1StringView unreadToField("X-Larkhaven-Unread-To");
inline constexpr QLatin1StringView unreadCcField("X-Larkhaven-Unread-Cc");
inline constexpr QLatin1StringView unreadBccField("X-Larkhaven-Unread-Bcc");

/// The message as bytes with CRLF as line ends, under its Message-ID or a fresh one, Bcc included: who must
/// not reveal blind copies passes none. `domain` is that of the Message-ID; without it the sender's, else
/// "localhost".
///
/// One text/plain part; with an HTML body multipart/alternative of the two; with attachments multipart/mixed
/// of that and the attachments in their order.
///
/// Memory: the result is allocated once, in its exact size; next to it no copy of an attachment is made.
QByteArray build(const OutgoingMessage& message, const QDateTime& date,
                 const std::optional<QString>& domain = std::nullopt);

} // namespace Larkhaven::MessageComposer
