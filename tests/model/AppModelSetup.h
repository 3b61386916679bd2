#pragma once

#include "domain/MailError.h"
#include "model/AccountStore.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/ModelFixture.h"

#include <gtest/gtest.h>

namespace Larkhaven {

inline ServerSettings settings()
{
    ServerSettings settings;
    settings.username = QStringLiteral("ann");
    settings.imapHost = QStringLiteral("imap.example");
    settings.smtpHost = QStringLiteral("smtp.example");
    return settings;
}

/// The connection test speaks to the scripts; whatever connects after it finds nobody.
class AppModelSetup : public testing::Test {
protected:
    explicit AppModelSetup(const QList<Account>& accounts = {ModelFixture::imapAccount()})
        : fixture(accounts)
    {}

    void connectTo(const QList<Script>& scripts)
    {
        server = std::make_unique<ScriptedServer>(scripts);
        fixture.setTransports([this, left = scripts.size()](const QString& host, int port, bool tls) mutable {
            return left-- > 0 ? server->factory()(host, port, tls) : nobody();
        });
    }
    static Task<std::shared_ptr<MailTransport>> nobody()
    {
        throw MailError::protocolError(QStringLiteral("The server closed the connection."));
        co_return std::shared_ptr<MailTransport>();
    }
    /// A server that nobody reaches before the wake-up.
    static Task<std::shared_ptr<MailTransport>> afterwards(std::shared_ptr<Wakeup> wakeup)
    {
        co_await wakeup->wait(std::chrono::milliseconds(-1));
        throw MailError::connectionClosed();
        co_return std::shared_ptr<MailTransport>();
    }
    Task<> save(const QString& email, std::stop_token stop = {})
    {
        return model.saveIMAPAccount(QStringLiteral("Ann"), email, settings(), QStringLiteral("secret"),
                                     stop);
    }
    QStringList storedEmails()
    {
        QStringList emails;
        for (const Account& account : AccountStore::load(fixture.defaults()))
            emails.append(account.email);
        return emails;
    }

    ModelFixture fixture;
    AppModel& model = fixture.model();
    std::unique_ptr<ScriptedServer> server;
};

} // namespace Larkhaven
