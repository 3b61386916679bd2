#pragma once

#include "protocols/MailTransport.h"
#include "providers/IMAPProvider.h"

#include <QStringList>

#include <memory>

namespace Larkhaven {

/// A real IMAP server on loopback with a mailbox of its own, and, where it is asked for, a real submission
/// server beside it, stopped with its object.
///
/// The first one of a process decides whom the process trusts: the authority of that server. Failures to run
/// it throw.
class MailServer {
public:
    static constexpr auto address = "mara@larkhaven.example";
    static constexpr auto secondAddress = "theo@larkhaven.example";
    /// Of all accounts.
    static constexpr auto password = "correct horse battery staple";
    enum class Submission { none, postfix };

    /// `options` are those of "mailserver start".
    explicit MailServer(const QStringList& options = {QStringLiteral("--messages"), QStringLiteral("empty")},
                        Submission submission = Submission::none);
    ~MailServer();
    MailServer(const MailServer&) = delete;
    MailServer& operator=(const MailServer&) = delete;

    Account account(ConnectionSecurity security = ConnectionSecurity::tls, const char* user = address) const;
    std::shared_ptr<IMAPProvider> provider(ConnectionSecurity security = ConnectionSecurity::tls,
                                           std::shared_ptr<MailCache> cache = nullptr,
                                           TransportFactory transports = {}) const;
    std::shared_ptr<IMAPProvider> providerOf(const char* user) const;
    std::shared_ptr<IMAPProvider> providerOf(const Account& account, TransportFactory transports = {}) const;
    /// Where the submission server lets nobody have TLS.
    int plainSubmissionPort() const;

    void stop();
    void stopSubmission();
    /// As a crash would.
    void killSubmission();
    /// As a crash would.
    void kill();
    /// Starts what doesn't run, on the same ports.
    void start(const QStringList& options = {});
    void restart(const QStringList& options = {});
    void deliver(const QByteArray& message);
    QByteArray submissionLog() const;
    QByteArray doveadm(const QStringList& arguments);

private:
    QByteArray run(const QStringList& arguments, const QByteArray& input = {}) const;
    int port(const QString& name) const;
    QStringList submissionOption() const;

    QString m_state;
    Submission m_submission;
};

} // namespace Larkhaven
