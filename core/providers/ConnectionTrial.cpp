#include "providers/ConnectionTrial.h"

#include "domain/MailError.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"
#include "protocols/IMAPClient.h"
#include "protocols/SMTPClient.h"

#include <exception>
#include <memory>

namespace Larkhaven::ConnectionTrial {

namespace {

/// What the one who waits and the dialogue with the servers share. The dialogue may outlive the wait.
struct Trial {
    std::shared_ptr<MailTransport> transport; ///< the one in use
    bool isStopped = false;
    bool isDone = false;
    std::exception_ptr failure;
    Wakeup wakeup;
};

Task<std::shared_ptr<MailTransport>> open(std::shared_ptr<Trial> trial, TransportFactory factory,
                                          QString host, int port, bool implicitTLS)
{
    if (trial->isStopped)
        throw MailError::cancelled();
    std::shared_ptr<MailTransport> transport = co_await factory(host, port, implicitTLS);
    if (trial->isStopped) {
        transport->close();
        throw MailError::cancelled();
    }
    trial->transport = transport;
    co_return transport;
}

Task<> talk(ServerSettings settings, MailAuth auth, TransportFactory factory)
{
    const std::shared_ptr<IMAPClient> client = co_await IMAPClient::connect(settings, auth, factory);
    client->close();
    co_await SMTPClient::verify(settings, auth, factory);
}

Task<> talkAndTell(std::shared_ptr<Trial> trial, ServerSettings settings, MailAuth auth,
                   TransportFactory factory)
{
    try {
        co_await talk(settings, auth, factory);
    } catch (...) {
        trial->failure = std::current_exception();
    }
    trial->isDone = true;
    trial->transport.reset();
    trial->wakeup.notify();
}

} // namespace

Task<> run(ServerSettings settings, MailAuth auth, TransportFactory factory, std::stop_token stop)
{
    constexpr std::chrono::milliseconds forever{-1};
    const auto trial = std::make_shared<Trial>();
    // A stop may be requested from any thread.
    const std::stop_callback wake(stop, [trial] {
        QMetaObject::invokeMethod(
            &trial->wakeup, [trial] { trial->wakeup.notify(); }, Qt::QueuedConnection);
    });
    const TransportFactory watched = [trial, factory](const QString& host, int port, bool implicitTLS) {
        return open(trial, factory, host, port, implicitTLS);
    };
    if (!stop.stop_requested())
        spawn(talkAndTell(trial, settings, auth, watched), dropFailure);
    while (!trial->isDone && !stop.stop_requested())
        co_await trial->wakeup.wait(forever);
    if (stop.stop_requested()) {
        trial->isStopped = true;
        if (trial->transport)
            trial->transport->close();
        throw MailError::cancelled();
    }
    if (trial->failure)
        std::rethrow_exception(trial->failure);
}

} // namespace Larkhaven::ConnectionTrial
