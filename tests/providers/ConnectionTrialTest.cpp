#include "providers/ConnectionTrial.h"

#include "Providing.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What connections of a server do that falls silent.
struct Silence {
    int imapSends = 0; ///< that it takes before it falls silent
    QList<int> ports;  ///< of the connections that were asked for
    int closed = 0;
    std::shared_ptr<Wakeup> opening = std::make_shared<Wakeup>();
};

/// Hands out what a script says, and then nothing until it is closed.
class FallingSilent final : public MailTransport {
public:
    FallingSilent(QList<QByteArray> answers, std::shared_ptr<Silence> silence)
        : m_answers(std::move(answers))
        , m_silence(std::move(silence))
    {}
    Task<> send(QByteArray) override { co_return; }
    Task<QByteArray> receive() override
    {
        while (m_answers.isEmpty() && !m_isClosed)
            co_await m_wakeup.wait(std::chrono::milliseconds(-1));
        if (m_isClosed)
            throw MailError::connectionClosed();
        QByteArray answer = m_answers.takeFirst();
        co_return answer;
    }
    Task<> startTLS() override { co_return; }
    void close() override
    {
        if (!std::exchange(m_isClosed, true))
            ++m_silence->closed;
        m_wakeup.notify();
    }

private:
    QList<QByteArray> m_answers;
    std::shared_ptr<Silence> m_silence;
    bool m_isClosed = false;
    Wakeup m_wakeup;
};

const QList<QByteArray>& imapAnswers()
{
    static const QList<QByteArray> answers{"* OK\r\n", "P1 OK\r\n", "P2 OK\r\n", "P3 OK\r\n"};
    return answers;
}

Task<std::shared_ptr<MailTransport>> open(std::shared_ptr<Silence> silence, int port, bool waits)
{
    silence->ports.append(port);
    if (waits)
        co_await silence->opening->wait(std::chrono::milliseconds(-1));
    const QList<QByteArray> answers =
        port == 465 ? QList<QByteArray>{"220 hello\r\n"} : imapAnswers().first(silence->imapSends);
    co_return std::make_shared<FallingSilent>(answers, silence);
}

TransportFactory factoryOf(const std::shared_ptr<Silence>& silence, int waitingPort = 0)
{
    return [silence, waitingPort](const QString&, int port, bool) {
        return open(silence, port, port == waitingPort);
    };
}

Begun<void> trial(const TransportFactory& factory, const std::stop_source& source)
{
    return Begun<void>(IMAPProvider::testConnection(*someAccount().server, MailAuth::password(u"secret"_s),
                                                    factory, source.get_token()));
}

void expectCancelled(Begun<void>& running)
{
    try {
        running.get();
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), MailError::Kind::cancelled);
    }
}

TEST(ConnectionTrial, EndsAtOnceWhereverItIsStopped)
{
    // After so many answers of the IMAP server it waits for the next; after all of them for SMTP.
    for (int answered = 0; answered <= imapAnswers().size(); ++answered) {
        const auto silence = std::make_shared<Silence>();
        silence->imapSends = answered;
        std::stop_source source;
        Begun<void> running = trial(factoryOf(silence), source);
        settle();
        EXPECT_FALSE(running.isDone());
        source.request_stop();
        expectCancelled(running);
        settle();
        EXPECT_EQ(silence->closed, silence->ports.size()) << answered;
        EXPECT_EQ(silence->ports.size(), answered < imapAnswers().size() ? 1 : 2);
    }
}

TEST(ConnectionTrial, EndsAtOnceWhileAConnectionIsBeingOpenedAndClosesItWhenItIsThere)
{
    for (const int waitingPort : {993, 465}) {
        const auto silence = std::make_shared<Silence>();
        silence->imapSends = 4;
        std::stop_source source;
        Begun<void> running = trial(factoryOf(silence, waitingPort), source);
        settle();
        source.request_stop();
        expectCancelled(running);
        silence->opening->notify();
        settle();
        EXPECT_EQ(silence->closed, silence->ports.size());
        EXPECT_EQ(silence->ports.last(), waitingPort) << "nothing is opened after the stop";
    }
}

TEST(ConnectionTrial, OpensNothingWhereItIsStoppedBeforeItBegins)
{
    const auto silence = std::make_shared<Silence>();
    std::stop_source source;
    source.request_stop();
    Begun<void> running = trial(factoryOf(silence), source);
    expectCancelled(running);
    settle();
    EXPECT_TRUE(silence->ports.isEmpty());
}

TEST(ConnectionTrial, IsStoppedFromAnyThread)
{
    const auto silence = std::make_shared<Silence>();
    std::stop_source source;
    Begun<void> running = trial(factoryOf(silence), source);
    std::jthread([&source] { source.request_stop(); }).join();
    expectCancelled(running);
    settle();
}

TEST(ConnectionTrial, MayBeStoppedAfterItsEnd)
{
    ScriptedServer imap({signedIn()});
    ScriptedServer smtp({verifiedSubmission()});
    std::stop_source source;
    Begun<void> running = trial(Providing::bothServers(imap, smtp), source);
    running.get();
    source.request_stop();
    settle();
    imap.expectUsedUp();
    smtp.expectUsedUp();
}

} // namespace
} // namespace Larkhaven
