#include "format/MIMEParser.h"
#include "integration/Mailboxes.h"
#include "integration/SubmissionTest.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr qsizetype mebibyte = 1024 * 1024;
constexpr qsizetype attachmentSize = 25 * mebibyte;

OutgoingMessage largeMessage(qsizetype size)
{
    OutgoingMessage message;
    message.from = EmailAddress(u"Mara"_s, QString::fromLatin1(MailServer::address));
    message.to = {EmailAddress(std::nullopt, QString::fromLatin1(MailServer::secondAddress))};
    message.subject = u"large"_s;
    message.body = u"See attached."_s;
    QByteArray data(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char& byte : data) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    message.attachments = {{QUuid::createUuid(), u"noise.bin"_s, u"application/octet-stream"_s, data}};
    return message;
}

/// The largest amount of memory that the process has held since `forgetPeak`, in bytes.
qsizetype peakMemory()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).simplified().split(' ').first().toLongLong() * 1024;
    }
    return 0;
}

bool forgetPeak()
{
    QFile references(u"/proc/self/clear_refs"_s);
    return references.open(QIODevice::WriteOnly) && references.write("5") == 1;
}

class LargeSending : public SubmissionTest {
protected:
    void SetUp() override { start(); }
};

TEST_F(LargeSending, OfAFullAttachmentLetsTheEventLoopGoOnAndNeedsFewCopies)
{
    const std::shared_ptr<IMAPProvider> provider = server().providerOf(MailServer::address);
    const OutgoingMessage message = largeMessage(attachmentSize);
    ASSERT_TRUE(forgetPeak());
    const qsizetype before = peakMemory();
    ASSERT_GT(before, 0);
    int beats = 0;
    qint64 longestPause = 0;
    QElapsedTimer sinceBeat;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout, [&] {
        ++beats;
        longestPause = std::max(longestPause, sinceBeat.restart());
    });
    heart.start(10);
    sinceBeat.start();
    await(provider->send(message));
    const qsizetype growth = peakMemory() - before;
    RecordProperty("beats", beats);
    RecordProperty("longestPauseInMilliseconds", std::to_string(longestPause));
    RecordProperty("peakGrowthInMebibytes", std::to_string(growth / mebibyte));
    EXPECT_GT(beats, 10);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // Sanitizers keep memory that is free.
    EXPECT_LT(growth, 6 * attachmentSize);
#endif

    const ParsedMessage arrived = MIMEParser::parse(
        Mailboxes::onlyMessage(*server().providerOf(MailServer::secondAddress), Mailbox::inbox));
    ASSERT_EQ(arrived.attachments.size(), 1);
    EXPECT_EQ(arrived.attachments.first().filename, u"noise.bin");
    EXPECT_TRUE(arrived.attachments.first().data == message.attachments.first().data);
    const ParsedMessage copy = MIMEParser::parse(Mailboxes::onlyMessage(*provider, Mailbox::sent));
    ASSERT_EQ(copy.attachments.size(), 1);
    EXPECT_TRUE(copy.attachments.first().data == message.attachments.first().data);
}

/// Sends the first half of what is large, does something, and sends the rest.
class InterruptedTransport final : public MailTransport {
public:
    InterruptedTransport(std::shared_ptr<MailTransport> transport, std::function<void()> interrupt)
        : m_transport(std::move(transport))
        , m_interrupt(std::move(interrupt))
    {}

    Task<> send(QByteArray data) override
    {
        if (data.size() < mebibyte) {
            co_await m_transport->send(data);
            co_return;
        }
        const qsizetype half = data.size() / 2;
        co_await m_transport->send(data.left(half));
        m_interrupt();
        co_await m_transport->send(data.mid(half));
    }
    Task<QByteArray> receive() override { return m_transport->receive(); }
    Task<> startTLS() override { return m_transport->startTLS(); }
    void close() override { m_transport->close(); }

private:
    std::shared_ptr<MailTransport> m_transport;
    std::function<void()> m_interrupt;
};

Task<std::shared_ptr<MailTransport>> openInterrupted(QString host, int port, bool implicitTLS,
                                                     std::function<void()> interrupt)
{
    const std::shared_ptr<MailTransport> transport = co_await MailTransports::open(host, port, implicitTLS);
    co_return std::make_shared<InterruptedTransport>(transport, interrupt);
}

TEST_F(LargeSending, ToAServerThatDiesInTheMiddleFailsAndTheNextTrySendsTheMessageOnce)
{
    const OutgoingMessage message = largeMessage(8 * mebibyte);
    const std::shared_ptr<IMAPProvider> other = server().providerOf(MailServer::address);
    await(other->saveDraft(message));
    const QString draft = Mailboxes::list(*other, Mailbox::drafts).messages.first().id;
    const Account account = server().account();
    bool isKilled = false;
    const auto kill = [&] {
        if (!isKilled)
            server().killSubmission();
        isKilled = true;
    };
    const int smtpPort = account.server->smtpPort;
    const std::shared_ptr<IMAPProvider> provider =
        server().providerOf(account, [&kill, smtpPort](const QString& host, int port, bool tls) {
            return port == smtpPort ? openInterrupted(host, port, tls, kill)
                                    : MailTransports::open(host, port, tls);
        });

    expectProtocolError(provider->send(message, draft), u"The server closed the connection."_s);
    ASSERT_TRUE(isKilled);
    EXPECT_TRUE(Mailboxes::list(*provider, Mailbox::sent).messages.isEmpty());
    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::drafts).messages.size(), 1);

    server().start();
    await(provider->send(message, draft));
    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::sent).messages.size(), 1);
    EXPECT_TRUE(Mailboxes::list(*provider, Mailbox::drafts).messages.isEmpty());
    const std::shared_ptr<IMAPProvider> receiver = server().providerOf(MailServer::secondAddress);
    const ParsedMessage arrived = MIMEParser::parse(Mailboxes::onlyMessage(*receiver, Mailbox::inbox));
    ASSERT_EQ(arrived.attachments.size(), 1);
    EXPECT_TRUE(arrived.attachments.first().data == message.attachments.first().data);
}

} // namespace
} // namespace Larkhaven
