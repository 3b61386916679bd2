#pragma once

#include "domain/LocalizedError.h"
#include "platform/Turnstile.h"
#include "protocols/IMAPClient.h"

#include <memory>
#include <type_traits>

namespace Larkhaven {

/// The one IMAP connection of an account, which is opened on first use and lent to one body at a time.
///
/// A connection that is lost while a body runs is replaced by a new one, unnoticed, and the body runs again
/// from its start, once. Whether it is lost is told by the failure itself, never by its words. A failure to
/// connect and a refusal of the server are passed on as they are.
///
/// Main thread. Whoever waits for `run` keeps the connection alive.
class IMAPConnection {
public:
    using Client = std::shared_ptr<IMAPClient>;

    IMAPConnection(ServerSettings settings, MailAuth auth, TransportFactory factory)
        : m_settings(std::move(settings))
        , m_auth(std::move(auth))
        , m_factory(std::move(factory))
    {}

    /// Runs the body, a coroutine function of a `Client`, when its turn has come, and gives its result. The
    /// body must not keep the client.
    template <typename Body>
    std::invoke_result_t<Body, Client> run(Body body, Turnstile::Order order = Turnstile::Order::next);

    /// Whether the body that owns the client runs for the second time: what it changes may have been changed
    /// by the first, whose answer was lost.
    bool isSecondTry() const { return m_isSecondTry; }

private:
    const ServerSettings m_settings;
    const MailAuth m_auth;
    const TransportFactory m_factory;
    Turnstile m_turn;
    Client m_client;
    bool m_isSecondTry = false;
};

template <typename Body>
std::invoke_result_t<Body, IMAPConnection::Client> IMAPConnection::run(Body body, Turnstile::Order order)
{
    using Result = std::invoke_result_t<Body, Client>;
    const Turnstile::Turn turn = co_await m_turn.enter(order);
    for (bool canRetry = true;; canRetry = false) {
        m_isSecondTry = !canRetry;
        try {
            if (!m_client)
                m_client = co_await IMAPClient::connect(m_settings, m_auth, m_factory);
            if constexpr (std::is_same_v<Result, Task<>>) {
                co_await body(m_client);
                co_return;
            } else {
                auto result = co_await body(m_client);
                co_return result;
            }
        } catch (const LocalizedError& error) {
            // A failed attempt to connect leaves no client, and is not repeated.
            if (!canRetry || !m_client || !error.isConnectionLost())
                throw;
        }
        m_client->close();
        m_client.reset();
    }
}

} // namespace Larkhaven
