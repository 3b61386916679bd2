#pragma once

#include "Providing.h"

namespace Larkhaven {

inline const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);
inline const MailboxRef starred = MailboxRef::system(Mailbox::starred);
inline const QString goneText = QStringLiteral("This message is no longer on the server.");

inline QStringList idsOf(const MessagePage& page)
{
    QStringList ids;
    for (const MessageSummary& summary : page.messages)
        ids.append(summary.id);
    return ids;
}

/// The first listing of an Inbox with the messages 3 and 5, from the tag P4 on.
inline constexpr std::string_view firstListing = R"(
    C: P4 SELECT "INBOX"
    S: * OK [UIDVALIDITY 7] ok
    S: P4 OK
    C: P5 UID SEARCH ALL
    S: * SEARCH 3 5
    S: P5 OK
    C: P6 UID FETCH 3,5 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
    S: * 1 FETCH (UID 3 FLAGS (\Seen) INTERNALDATE " 3-Mar-2026 10:11:12 +0100" RFC822.SIZE 300 BODY[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)] {16}
    S: Subject: three
    S: )
    S: * 2 FETCH (UID 5 FLAGS (\FLAGGED) RFC822.SIZE 500 BODY[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)] {15}
    S: Subject: five
    S: )
    S: P6 OK
)";

inline Script listedOnce(std::string_view further = {}, const Place& where = Place::current())
{
    return signedIn("MOVE UIDPLUS", Chunks::whole, where).then(firstListing).then(further);
}

} // namespace Larkhaven
