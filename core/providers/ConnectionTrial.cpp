#include "providers/ConnectionTrial.h"

#include "domain/MailError.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"
#include "protocols/IMAPClient.h"
#include "protocols/SMTPClient.h"

#include <QCoreApplication>

#include <exception>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven::ConnectionTrial {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(ConnectionTrial)
};

/// What the one who waits and the dialogue with the servers share. The dialogue may outlive the wait.
struct Trial {
    std::shared_ptr<MailTransport> transport; ///< the one in use
    std::shared_ptr<MailTransport> probe;     ///< the one that tries TLS beside it
    bool isStopped = false;
    bool isDone = false;
    std::exception_ptr failure;
    Wakeup wakeup;

    void end(const std::exception_ptr& reason)
    {
        if (!isDone)
            failure = reason;
        isDone = true;
        close();
        wakeup.notify();
    }
    void close()
    {
        for (const auto& open : {std::exchange(transport, nullptr), std::exchange(probe, nullptr)}) {
            if (open)
                open->close();
        }
    }
};

/// A connection that knows whether the server has said anything.
class Watched final : public MailTransport {
public:
    explicit Watched(std::shared_ptr<MailTransport> transport)
        : m_transport(std::move(transport))
    {}
    Task<> send(QByteArray data) override { return m_transport->send(data); }
    Task<QByteArray> receive() override
    {
        const std::shared_ptr<Wakeup> heard = m_heard;
        QByteArray chunk = co_await m_transport->receive();
        m_hasSpoken = true;
        heard->notify();
        co_return chunk;
    }
    void setReceiveTimeout(std::chrono::milliseconds timeout) override
    {
        m_transport->setReceiveTimeout(timeout);
    }
    Task<> startTLS() override { return m_transport->startTLS(); }
    void close() override
    {
        m_isClosed = true;
        m_transport->close();
        m_heard->notify();
    }

    bool isWaitedFor() const { return !m_hasSpoken && !m_isClosed; }
    std::shared_ptr<Wakeup> heard() const { return m_heard; }

private:
    std::shared_ptr<MailTransport> m_transport;
    std::shared_ptr<Wakeup> m_heard = std::make_shared<Wakeup>();
    bool m_hasSpoken = false;
    bool m_isClosed = false;
};

/// Whether the server greets over TLS on that port.
Task<bool> greetsOverTLS(std::shared_ptr<Trial> trial, TransportFactory factory, QString host, int port)
{
    const std::shared_ptr<MailTransport> transport = co_await factory(host, port, true);
    if (trial->isDone || trial->isStopped) {
        transport->close();
        co_return false;
    }
    trial->probe = transport;
    const QByteArray greeting = co_await transport->receive();
    transport->close();
    const bool hasGreeted = !greeting.isEmpty();
    co_return hasGreeted;
}

/// Waits for the first byte, and asks for TLS where none comes.
Task<> watch(std::shared_ptr<Trial> trial, std::shared_ptr<Watched> transport, TransportFactory factory,
             QString host, int port, std::chrono::milliseconds patience)
{
    const std::shared_ptr<Wakeup> heard = transport->heard();
    co_await heard->wait(patience);
    if (!transport->isWaitedFor() || trial->isStopped)
        co_return;
    const bool isTLS = co_await greetsOverTLS(trial, factory, host, port);
    if (!isTLS || !transport->isWaitedFor())
        co_return;
    trial->end(std::make_exception_ptr(MailError::unsupported(
        Texts::tr("%1 expects SSL/TLS on port %2. Try SSL/TLS.").arg(host, QString::number(port)))));
}

Task<std::shared_ptr<MailTransport>> open(std::shared_ptr<Trial> trial, TransportFactory factory,
                                          QString host, int port, bool implicitTLS,
                                          std::chrono::milliseconds patience)
{
    if (trial->isStopped)
        throw MailError::cancelled();
    const std::shared_ptr<MailTransport> opened = co_await factory(host, port, implicitTLS);
    if (trial->isStopped) {
        opened->close();
        throw MailError::cancelled();
    }
    const auto transport = std::make_shared<Watched>(opened);
    trial->transport = transport;
    if (!implicitTLS)
        spawn(watch(trial, transport, factory, host, port, patience), dropFailure);
    std::shared_ptr<MailTransport> watched = transport;
    co_return watched;
}

Task<> talk(ServerSettings settings, MailAuth auth, TransportFactory factory, Progress progress)
{
    if (progress)
        progress(Server::incoming);
    const std::shared_ptr<IMAPClient> client = co_await IMAPClient::connect(settings, auth, factory);
    client->close();
    if (progress)
        progress(Server::outgoing);
    co_await SMTPClient::verify(settings, auth, factory);
    if (progress)
        progress(std::nullopt);
}

Task<> talkAndTell(std::shared_ptr<Trial> trial, ServerSettings settings, MailAuth auth,
                   TransportFactory factory, Progress progress)
{
    std::exception_ptr failure;
    try {
        co_await talk(settings, auth, factory, progress);
    } catch (...) {
        failure = std::current_exception();
    }
    trial->end(failure);
}

} // namespace

Task<> run(ServerSettings settings, MailAuth auth, TransportFactory factory, std::stop_token stop,
           Progress progress, std::chrono::milliseconds patience)
{
    constexpr std::chrono::milliseconds forever{-1};
    const auto trial = std::make_shared<Trial>();
    // A stop may be requested from any thread.
    const std::stop_callback wake(stop, [trial] {
        QMetaObject::invokeMethod(
            &trial->wakeup, [trial] { trial->wakeup.notify(); }, Qt::QueuedConnection);
    });
    // Nobody hears of a trial that was stopped.
    const Progress told = [trial, progress](std::optional<Server> server) {
        if (progress && !trial->isStopped)
            progress(server);
    };
    const TransportFactory watched = [trial, factory, patience](const QString& host, int port,
                                                                bool implicitTLS) {
        return open(trial, factory, host, port, implicitTLS, patience);
    };
    if (!stop.stop_requested())
        spawn(talkAndTell(trial, settings, auth, watched, told), dropFailure);
    while (!trial->isDone && !stop.stop_requested())
        co_await trial->wakeup.wait(forever);
    if (stop.stop_requested()) {
        trial->isStopped = true;
        trial->close();
        throw MailError::cancelled();
    }
    if (trial->failure)
        std::rethrow_exception(trial->failure);
}

} // namespace Larkhaven::ConnectionTrial
