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

} // namespace Larkhaven
