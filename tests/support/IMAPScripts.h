#pragma once

#include "support/ScriptedTransport.h"

namespace Larkhaven {

/// The transcript of a connection over TLS on which "ann" has signed in with the password "secret". The next
/// command has the tag P4.
inline Script signedIn(const QByteArray& capabilities = "MOVE UIDPLUS", Chunks chunks = Chunks::whole,
                       const Place& where = Place::current())
{
    Script script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY IMAP4rev1 AUTH=PLAIN
        S: P1 OK done
        C: P2 AUTHENTICATE PLAIN
        S: +
        C: AGFubgBzZWNyZXQ=
        S: P2 OK welcome
        C: P3 CAPABILITY
    )",
                  chunks, where);
    script.server("* CAPABILITY IMAP4rev1 " + capabilities + "\r\n").server("P3 OK done\r\n");
    return script;
}

/// The same up to the password, which is refused.
inline Script refusedSignIn(const Place& where = Place::current())
{
    return Script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY IMAP4rev1 AUTH=PLAIN
        S: P1 OK done
        C: P2 AUTHENTICATE PLAIN
        S: +
        C: AGFubgBzZWNyZXQ=
        S: P2 NO [AUTHENTICATIONFAILED] no
    )",
                  Chunks::whole, where);
}

/// A submission server that takes the same name and password, and is asked for nothing more.
inline Script verifiedSubmission(const Place& where = Place::current())
{
    return Script(R"(
        S: 220 mail.example ready
        C: EHLO [127.0.0.1]
        S: 250-mail.example
        S: 250 AUTH PLAIN
        C: AUTH PLAIN AGFubgBzZWNyZXQ=
        S: 235 ok
        C: QUIT
        S: 221 bye
    )",
                  Chunks::whole, where);
}

} // namespace Larkhaven
