#pragma once

#include "protocols/MailTransport.h"
#include "providers/IMAPProvider.h"

#include <QStringList>

#include <memory>

namespace Larkhaven {

/// A real IMAP server on loopback with a mailbox of its own, stopped with its object.
///
/// The first one of a process decides whom the process trusts: the authority of that server. Failures to run
/// it throw.
class MailServer {
public:
    static constexpr auto address = "mara@larkhaven.example";

    /// `options` are those of "mailserver start".
    explicit MailServer(const QStringList& options = {QStringLiteral("--messages"), QStringLiteral("empty")});
    ~MailServer();
    MailServer(const MailServer&) = delete;
    MailServer& operator=(const MailServer&) = delete;

    Account account(ConnectionSecurity security = ConnectionSecurity::tls) const;
    std::shared_ptr<IMAPProvider> provider(ConnectionSecurity security = ConnectionSecurity::tls,
                                           std::shared_ptr<MailCache> cache = nullptr,
                                           TransportFactory transports = {}) const;

    void stop();
    /// As a crash would.
    void kill();
    /// On the same ports.
    void start(const QStringList& options = {});
    void restart(const QStringList& options = {});
    void deliver(const QByteArray& message);
    void doveadm(const QStringList& arguments);

private:
    QByteArray run(const QStringList& arguments, const QByteArray& input = {}) const;
    int port(const QString& name) const;

    QString m_state;
};

} // namespace Larkhaven
