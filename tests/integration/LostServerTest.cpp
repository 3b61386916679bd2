#include "domain/LocalizedError.h"
#include "integration/MailServer.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

/// Passes everything on, and tells once that so many bytes have come.
class CountingTransport final : public MailTransport {
public:
    CountingTransport(std::shared_ptr<MailTransport> transport, qint64 bytes, std::function<void()> reached)
        : m_transport(std::move(transport))
        , m_left(bytes)
        , m_reached(std::move(reached))
    {}

    Task<> send(QByteArray data) override { return m_transport->send(data); }
    Task<QByteArray> receive() override
    {
        const QByteArray chunk = co_await m_transport->receive();
        const bool wasAbove = m_left > 0;
        m_left -= chunk.size();
        if (wasAbove && m_left <= 0)
            m_reached();
        co_return chunk;
    }
    void setReceiveTimeout(std::chrono::milliseconds timeout) override
    {
        m_transport->setReceiveTimeout(timeout);
    }
    Task<> startTLS() override { return m_transport->startTLS(); }
    void close() override { m_transport->close(); }

private:
    std::shared_ptr<MailTransport> m_transport;
    qint64 m_left;
    std::function<void()> m_reached;
};

Task<std::shared_ptr<MailTransport>> openCounting(QString host, int port, bool implicitTLS, qint64 bytes,
                                                  std::function<void()> reached)
{
    const std::shared_ptr<MailTransport> transport = co_await MailTransports::open(host, port, implicitTLS);
    co_return std::make_shared<CountingTransport>(transport, bytes, reached);
}

TEST(LostServer, ThatDroppedTheConnectionIsReachedAgainWithNoWordToTheUser)
{
    MailServer server;
    server.deliver("Subject: one\r\n\r\nbody\r\n");
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const MessagePage before = await(provider->listMessages(inbox, std::nullopt, 0, 25, true));
    server.restart();
    const MessagePage after = await(provider->listMessages(inbox, std::nullopt, 0, 25, true));
    EXPECT_EQ(before, after);
    server.kill();
    server.start();
    EXPECT_EQ(await(provider->counts({})).value(inbox.id()), 1);
}

TEST(LostServer, KilledInTheMiddleOfAMessageGivesAnErrorAndTheNextTryWorks)
{
    MailServer server;
    // More than the buffers of two sockets hold: the rest dies with the server.
    QByteArray message = "Subject: large\r\n\r\n";
    for (int line = 0; line < 500'000; ++line)
        message += "01234567890123456789012345678901234567890123456789012345678901234567890123456\r\n";
    server.deliver(message);
    bool isKilled = false;
    const auto kill = [&] {
        server.kill();
        isKilled = true;
    };
    const std::shared_ptr<IMAPProvider> provider = server.provider(
        ConnectionSecurity::tls, nullptr, [&kill, &isKilled](const QString& host, int port, bool tls) {
            constexpr qint64 never = std::numeric_limits<qint64>::max();
            return openCounting(host, port, tls, isKilled ? never : 1'000'000, kill);
        });
    const MessagePage page = await(provider->listMessages(inbox, std::nullopt, 0, 25, true));
    ASSERT_EQ(page.messages.size(), 1);
    EXPECT_THROW(await(provider->fetchRaw(page.messages.first().id)), LocalizedError);
    ASSERT_TRUE(isKilled);
    server.start();
    EXPECT_GT(await(provider->fetchRaw(page.messages.first().id)).size(), 35'000'000);
}

} // namespace
} // namespace Larkhaven
