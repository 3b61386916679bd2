#include "providers/ConnectionTrial.h"

#include "Providing.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

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

// --- Which server, and which security

constexpr std::chrono::milliseconds impatience{5};

ServerSettings withStartTLS()
{
    ServerSettings settings = *someAccount().server;
    settings.imapPort = 993;
    settings.imapSecurity = ConnectionSecurity::startTLS;
    settings.smtpPort = 587;
    settings.smtpSecurity = ConnectionSecurity::startTLS;
    return settings;
}

/// A server on whose connections without TLS nobody says anything.
struct SilentWithoutTLS {
    explicit SilentWithoutTLS(const QList<Script>& scripts)
        : server(scripts)
    {}
    TransportFactory factory()
    {
        return [this, overTLS = server.factory()](const QString& host, int port, bool implicitTLS) {
            return implicitTLS ? overTLS(host, port, true) : open(silence, port, false);
        };
    }

    ScriptedServer server; ///< over TLS
    std::shared_ptr<Silence> silence = std::make_shared<Silence>();
};

TEST(ConnectionTrial, TriesTLSWhereAServerForStartTLSSaysNothingAndNamesTheRightSecurity)
{
    SilentWithoutTLS server({Script("S: * OK ready")});
    expectUnsupported(ConnectionTrial::run(withStartTLS(), MailAuth::password(u"secret"_s), server.factory(),
                                           {}, {}, impatience),
                      u"imap.x.example expects SSL/TLS on port 993. Try SSL/TLS."_s);
    settle();
    server.server.expectUsedUp();
    EXPECT_EQ(server.server.openings(), QList<ScriptedServer::Opening>({{u"imap.x.example"_s, 993, true}}));
    EXPECT_TRUE(server.server.connection(0).isClosed());
    EXPECT_EQ(server.server.connection(0).sendCount(), 0) << "no name and no password";
    EXPECT_EQ(server.silence->closed, 1);
}

TEST(ConnectionTrial, TriesTLSOnTheOutgoingServerAsWell)
{
    SilentWithoutTLS server({signedIn(), Script("S: 220 ready")});
    ServerSettings settings = withStartTLS();
    settings.imapSecurity = ConnectionSecurity::tls;
    expectUnsupported(
        ConnectionTrial::run(settings, MailAuth::password(u"secret"_s), server.factory(), {}, {}, impatience),
        u"smtp.x.example expects SSL/TLS on port 587. Try SSL/TLS."_s);
    server.server.expectUsedUp();
    EXPECT_EQ(server.silence->ports, QList<int>({587}));
}

TEST(ConnectionTrial, GoesOnWaitingWhereTheSecondConnectionFails)
{
    for (const char* end : {"[WITHOUT TLS]", "[REFUSED]", "[CLOSE]"}) {
        SilentWithoutTLS server({Script(end)});
        std::stop_source source;
        Begun<void> running(ConnectionTrial::run(withStartTLS(), MailAuth::password(u"secret"_s),
                                                 server.factory(), source.get_token(), {}, impatience));
        EXPECT_TRUE(waitUntil([&server] { return !server.server.openings().isEmpty(); }));
        settle();
        EXPECT_FALSE(running.isDone()) << end;
        EXPECT_EQ(server.silence->closed, 0) << end;
        source.request_stop();
        expectCancelled(running);
        settle();
        EXPECT_EQ(server.silence->closed, 1) << end;
    }
}

TEST(ConnectionTrial, TriesNothingBesideAServerThatSpeaks)
{
    ScriptedServer imap({Script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        [CLOSE]
    )")});
    ScriptedServer smtp({});
    Begun<void> running(ConnectionTrial::run(withStartTLS(), MailAuth::password(u"secret"_s),
                                             Providing::bothServers(imap, smtp), {}, {}));
    EXPECT_THROW(running.get(), MailError);
    settle();
    imap.expectUsedUp();
    EXPECT_EQ(imap.openings(), QList<ScriptedServer::Opening>({{u"imap.x.example"_s, 993, false}}));
}

TEST(ConnectionTrial, ClosesBothConnectionsWhereItIsStopped)
{
    const auto silence = std::make_shared<Silence>();
    std::stop_source source;
    Begun<void> running(ConnectionTrial::run(withStartTLS(), MailAuth::password(u"secret"_s),
                                             factoryOf(silence), source.get_token(), {}, impatience));
    EXPECT_TRUE(waitUntil([&silence] { return silence->ports.size() == 2; }));
    settle();
    source.request_stop();
    expectCancelled(running);
    settle();
    EXPECT_EQ(silence->closed, 2);
}

TEST(ConnectionTrial, TellsWhichServerIsAsked)
{
    using enum ConnectionTrial::Server;
    using Heard = QList<std::optional<ConnectionTrial::Server>>;
    const auto heardOf = [](const Script& imapScript, const Script& smtpScript) {
        ScriptedServer imap({imapScript});
        ScriptedServer smtp({smtpScript});
        Heard heard;
        const auto note = [&heard](std::optional<ConnectionTrial::Server> server) { heard.append(server); };
        Begun<void> running(IMAPProvider::testConnection(*someAccount().server,
                                                         MailAuth::password(u"secret"_s),
                                                         Providing::bothServers(imap, smtp), {}, note));
        EXPECT_TRUE(waitUntil([&running] { return running.isDone(); }));
        return heard;
    };
    EXPECT_EQ(heardOf(signedIn(), verifiedSubmission()), Heard({incoming, outgoing, std::nullopt}));
    EXPECT_EQ(heardOf(signedIn(), Script("[CLOSE]")), Heard({incoming, outgoing}));
    EXPECT_EQ(heardOf(refusedSignIn(), verifiedSubmission()), Heard({incoming}))
        << "the failure is about the last";
}

} // namespace
} // namespace Larkhaven
