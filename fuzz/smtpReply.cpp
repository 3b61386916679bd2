#include "domain/MailError.h"
#include "protocols/SMTPClient.h"

#include <QByteArray>
#include <QList>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

// A submission server may say anything at any time. What is read from it must not depend on how the network
// cuts it, and nothing but the commands of a dialogue may come out of it: no credential in the clear, and no
// message before the server asks for it.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Says the bytes in chunks of a fixed size, whatever the client says, and then tells the end of the stream.
/// It never waits, so that no event loop is needed.
class CannedTransport final : public MailTransport {
public:
    CannedTransport(QByteArray bytes, qsizetype chunkSize)
        : m_bytes(std::move(bytes))
        , m_chunkSize(chunkSize)
    {}

    Task<> send(QByteArray data) override
    {
        require(!isClosed);
        sent.append(data);
        co_return;
    }
    Task<QByteArray> receive() override
    {
        require(!isClosed);
        if (m_position >= m_bytes.size())
            throw MailError::protocolError(QStringLiteral("The server closed the connection."));
        const QByteArray chunk = m_bytes.mid(m_position, m_chunkSize);
        m_position += chunk.size();
        co_return chunk;
    }
    Task<> startTLS() override
    {
        sentInTheClear = sent.size();
        co_return;
    }
    void close() override { isClosed = true; }

    QList<QByteArray> sent;
    qsizetype sentInTheClear = 0;
    bool isClosed = false;

private:
    QByteArray m_bytes;
    qsizetype m_chunkSize;
    qsizetype m_position = 0;
};

Task<> readReplies(std::shared_ptr<SMTPClient::Session> session,
                   std::shared_ptr<QList<SMTPClient::Reply>> replies)
{
    try {
        for (;;) {
            const SMTPClient::Reply reply = co_await session->readReply();
            require(reply.code >= 0 && reply.code <= 999);
            require(!reply.lines.isEmpty() && reply.lines.size() <= SMTPClient::replyLineLimit);
            replies->append(reply);
        }
    } catch (const MailError&) {
        // The end of the stream, or no reply.
    }
}

QList<SMTPClient::Reply> repliesOf(const QByteArray& bytes, qsizetype chunkSize)
{
    const auto replies = std::make_shared<QList<SMTPClient::Reply>>();
    const auto transport = std::make_shared<CannedTransport>(bytes, chunkSize);
    const Task<> task = readReplies(std::make_shared<SMTPClient::Session>(transport), replies);
    require(task.isReady());
    return *replies;
}

const QByteArray message = "Subject: x\r\n\r\n.\r\n";
const QByteArray stuffed = "Subject: x\r\n\r\n..\r\n.\r\n";

/// The commands of a dialogue in the order in which they may come; each at most once but for the greeting.
const QList<QByteArray> commands{"EHLO [127.0.0.1]\r\n",
                                 "STARTTLS\r\n",
                                 "EHLO [127.0.0.1]\r\n",
                                 "AUTH PLAIN AGFubgBzZWNyZXQ=\r\n",
                                 "AUTH LOGIN\r\n",
                                 "YW5u\r\n",
                                 "c2VjcmV0\r\n",
                                 "MAIL FROM:<ann@x>\r\n",
                                 "RCPT TO:<bob@y>\r\n",
                                 "DATA\r\n",
                                 stuffed,
                                 "QUIT\r\n"};

Task<> attempt(ConnectionSecurity security, std::shared_ptr<CannedTransport> transport)
{
    ServerSettings settings;
    settings.username = QStringLiteral("ann");
    settings.smtpHost = QStringLiteral("x");
    settings.smtpSecurity = security;
    const TransportFactory factory = [transport](const QString&, int, bool) {
        return [](std::shared_ptr<MailTransport> opened) -> Task<std::shared_ptr<MailTransport>> {
            co_return opened;
        }(transport);
    };
    const QList<QString> recipients(1, QStringLiteral("bob@y"));
    try {
        co_await SMTPClient::send(settings, MailAuth::password(QStringLiteral("secret")), factory,
                                  QStringLiteral("ann@x"), recipients, message);
        require(transport->sent.contains(stuffed));
    } catch (const MailError&) {
        // Whatever the server said.
    }
}

void talk(const QByteArray& bytes, ConnectionSecurity security)
{
    const auto transport = std::make_shared<CannedTransport>(bytes, bytes.size() % 7 + 1);
    const Task<> task = attempt(security, transport);
    require(task.isReady());
    require(transport->isClosed);
    qsizetype next = 0;
    for (const QByteArray& said : std::as_const(transport->sent)) {
        next = commands.indexOf(said, next) + 1;
        require(next > 0);
    }
    require(transport->sentInTheClear <= 2);
    if (security == ConnectionSecurity::startTLS && transport->sentInTheClear == 0)
        require(transport->sent.size() <= 2);
}

void checkStuffing(const QByteArray& bytes)
{
    const QByteArray sent = SMTPClient::stuffedMessage(bytes);
    require(sent.endsWith(".\r\n") && ("\r\n" + sent).indexOf("\r\n.\r\n") == sent.size() - 3);
    QByteArray received = "\r\n" + sent.chopped(3);
    received.replace("\r\n.", "\r\n");
    QByteArray expected = bytes;
    expected.replace("\r\n", "\n").replace('\n', "\r\n");
    if (!expected.endsWith("\r\n"))
        expected += "\r\n";
    require(received.sliced(2) == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    constexpr qsizetype whole = 0x40000;
    const QList<SMTPClient::Reply> replies = repliesOf(bytes, whole);
    require(replies == repliesOf(bytes, 1));
    require(replies == repliesOf(bytes, 3));
    talk(bytes, ConnectionSecurity::tls);
    talk(bytes, ConnectionSecurity::startTLS);
    checkStuffing(bytes);
    return 0;
}
