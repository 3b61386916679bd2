#pragma once

#include "protocols/IMAPClient.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"

/// Clients whose server is a script.
namespace Larkhaven::IMAPDialogue {

using namespace Qt::StringLiterals;

inline const QString closedText = u"The server closed the connection."_s;

inline ServerSettings settings(ConnectionSecurity security = ConnectionSecurity::tls)
{
    ServerSettings some;
    some.username = u"ann"_s;
    some.imapHost = u"imap.x.example"_s;
    some.imapPort = security == ConnectionSecurity::tls ? 993 : 143;
    some.imapSecurity = security;
    return some;
}

inline MailAuth secret()
{
    return MailAuth::password(u"secret"_s);
}

/// A client that is ready, and its connection.
struct Connected {
    explicit Connected(std::string_view script, const QByteArray& capabilities = "MOVE UIDPLUS",
                       Chunks chunks = Chunks::whole, const Place& where = Place::current())
        : Connected(signedIn(capabilities, chunks, where).then(script))
    {}
    explicit Connected(const Script& script)
        : server({script})
        , client(await(IMAPClient::connect(settings(), secret(), server.factory())))
    {}
    ~Connected() { server.expectUsedUp(); }
    Connected(const Connected&) = delete;
    Connected& operator=(const Connected&) = delete;

    bool isClosed() const { return server.connection(0).isClosed(); }

    ScriptedServer server;
    std::shared_ptr<IMAPClient> client;
};

inline Task<std::shared_ptr<IMAPClient>> connecting(ScriptedServer& server, MailAuth auth = secret(),
                                                    ConnectionSecurity security = ConnectionSecurity::tls)
{
    return IMAPClient::connect(settings(security), std::move(auth), server.factory());
}

} // namespace Larkhaven::IMAPDialogue
