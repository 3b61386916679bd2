#pragma once

#include "protocols/MailAuth.h"
#include "support/ScriptedTransport.h"

namespace Larkhaven {

/// The transcript of a connection on which the user signs in with the token, and is asked for nothing more.
inline Script outlookMailbox(const QString& user, const QString& token, const Place& where = Place::current())
{
    Script script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY IMAP4rev1 AUTH=XOAUTH2
        S: P1 OK done
        C: P2 AUTHENTICATE XOAUTH2
        S: +
    )",
                  Chunks::whole, where);
    script.client(xoauth2Payload(user, token) + "\r\n");
    return script.then(R"(
        S: P2 OK welcome
        C: P3 CAPABILITY
        S: * CAPABILITY IMAP4rev1
        S: P3 OK done
    )");
}

/// The same up to the token, which is refused; and so is one that was renewed.
inline Script outlookRefusal(const Place& where = Place::current())
{
    return Script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY IMAP4rev1 AUTH=XOAUTH2
        S: P1 OK done
        C: P2 AUTHENTICATE XOAUTH2
        S: P2 NO not connected
        C: P3 AUTHENTICATE XOAUTH2
        S: P3 NO not connected
    )",
                  Chunks::whole, where);
}

/// A submission server that the user signs in to with the token.
inline Script outlookSubmission(const QString& user, const QString& token,
                                const Place& where = Place::current())
{
    Script script(R"(
        S: 220 ready
        C: EHLO [127.0.0.1]
        S: 250 STARTTLS
        C: STARTTLS
        S: 220 begin
        [STARTTLS]
        C: EHLO [127.0.0.1]
        S: 250 AUTH XOAUTH2
    )",
                  Chunks::whole, where);
    script.client("AUTH XOAUTH2 " + xoauth2Payload(user, token) + "\r\n");
    return script.then("S: 235 ok\nC: QUIT\nS: 221 bye");
}

} // namespace Larkhaven
