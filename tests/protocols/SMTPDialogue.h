#pragma once

#include "protocols/SMTPClient.h"
#include "support/ScriptedTransport.h"

/// Pieces of dialogues, and clients whose server is a script.
namespace Larkhaven::SMTPDialogue {

using namespace Qt::StringLiterals;

inline const QString closedText = u"The server closed the connection."_s;
inline const QString stoppedText = u"The server stopped responding."_s;

inline ServerSettings settings(ConnectionSecurity security = ConnectionSecurity::tls)
{
    ServerSettings some;
    some.username = u"ann"_s;
    some.smtpHost = u"smtp.x.example"_s;
    some.smtpPort = security == ConnectionSecurity::tls ? 465 : 587;
    some.smtpSecurity = security;
    return some;
}

inline MailAuth secret()
{
    return MailAuth::password(u"secret"_s);
}

inline constexpr std::string_view greeting = R"(
    S: 220 smtp.x.example ESMTP
    C: EHLO [127.0.0.1]
)";
inline constexpr std::string_view welcome = R"(
    S: 250-smtp.x.example
    S: 250-SIZE 1000000
    S: 250 AUTH LOGIN PLAIN
    C: AUTH PLAIN AGFubgBzZWNyZXQ=
    S: 235 welcome
)";
inline constexpr std::string_view envelope = R"(
    C: MAIL FROM:<ann@x.example>
    S: 250 ok
    C: RCPT TO:<bob@y.example>
    S: 250 ok
)";
inline constexpr std::string_view handover = R"(
    C: DATA
    S: 354 go on
    C: Subject: x
    C: 
    C: Hi
    C: .
    S: 250 taken
)";
inline constexpr std::string_view goodbye = R"(
    C: QUIT
    S: 221 bye
)";

/// A server up to the login, with these lines in answer to EHLO.
inline Script greeted(std::string_view offers, const Place& where = Place::current())
{
    return Script(greeting, Chunks::whole, where).then(offers);
}

/// A server on which "ann" has signed in.
inline Script signedIn(Chunks chunks = Chunks::whole, const Place& where = Place::current())
{
    return Script(greeting, chunks, where).then(welcome);
}

inline const QByteArray& hi()
{
    static const QByteArray bytes = "Subject: x\r\n\r\nHi\r\n";
    return bytes;
}

inline Task<> sending(ScriptedServer& server, const QList<QString>& recipients = {u"bob@y.example"_s},
                      const QByteArray& data = hi(), const QString& from = u"ann@x.example"_s)
{
    return SMTPClient::send(settings(), secret(), server.factory(), from, recipients, data);
}

inline Task<> verifying(ScriptedServer& server, const MailAuth& auth = secret(),
                        ConnectionSecurity security = ConnectionSecurity::tls)
{
    return SMTPClient::verify(settings(security), auth, server.factory());
}

} // namespace Larkhaven::SMTPDialogue
