#pragma once

#include "providers/IMAPProvider.h"
#include "store/AESGCMCipher.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/ScriptedTransport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <memory>
#include <optional>

namespace Larkhaven {

inline Account someAccount()
{
    Account account;
    account.id = QUuid(QStringLiteral("{01234567-89ab-cdef-0123-456789abcdef}"));
    account.provider = ProviderKind::imap;
    account.email = QStringLiteral("ann@x.example");
    ServerSettings settings;
    settings.username = QStringLiteral("ann");
    settings.imapHost = QStringLiteral("imap.x.example");
    settings.smtpHost = QStringLiteral("smtp.x.example");
    account.server = settings;
    return account;
}

/// A provider over scripted connections, with a cache if there is one. Those to the port of its SMTP server
/// have scripts of their own.
struct Providing {
    explicit Providing(const QList<Script>& scripts, const std::shared_ptr<MailCache>& cache = nullptr,
                       const Place& where = Place::current())
        : Providing(scripts, {}, someAccount(), cache, where)
    {}
    Providing(const QList<Script>& scripts, const QList<Script>& smtpScripts,
              const Account& account = someAccount(), const std::shared_ptr<MailCache>& cache = nullptr,
              const Place& where = Place::current())
        : server(scripts, where)
        , smtp(smtpScripts, where)
        , provider(IMAPProvider::create(account, MailAuth::password(QStringLiteral("secret")), cache,
                                        bothServers(server, smtp)))
    {}
    ~Providing()
    {
        server.expectUsedUp();
        smtp.expectUsedUp();
    }
    Providing(const Providing&) = delete;
    Providing& operator=(const Providing&) = delete;

    IMAPProvider* operator->() const { return provider.get(); }

    MessagePage list(const MailboxRef& ref = MailboxRef::system(Mailbox::inbox), qint64 offset = 0,
                     qint64 limit = 50, bool refresh = true,
                     const std::optional<QString>& query = std::nullopt)
    {
        return await(provider->listMessages(ref, query, offset, limit, refresh));
    }

    /// A factory that tells the two servers apart by their ports.
    static TransportFactory bothServers(ScriptedServer& imap, ScriptedServer& smtp)
    {
        return
            [imap = imap.factory(), smtp = smtp.factory()](const QString& host, int port, bool implicitTLS) {
                return (port == 465 || port == 587 ? smtp : imap)(host, port, implicitTLS);
            };
    }

    ScriptedServer server;
    ScriptedServer smtp;
    std::shared_ptr<IMAPProvider> provider;
};

/// One connection on which these lines follow the sign-in.
inline QList<Script> session(std::string_view lines, const QByteArray& capabilities = "MOVE UIDPLUS",
                             const Place& where = Place::current())
{
    return {signedIn(capabilities, Chunks::whole, where).then(lines)};
}

/// A cache below a folder of its own.
class CachedIMAPProvider : public testing::Test {
protected:
    std::shared_ptr<MailCache> cache() const
    {
        return std::make_shared<MailCache>(temporary.path() + QStringLiteral("/cache"),
                                           std::make_shared<AESGCMCipher>(QByteArray(32, 'k')),
                                           1'000'000'000);
    }
    QTemporaryDir temporary;
};

} // namespace Larkhaven
