#include "protocols/StreamTransport.h"

#include "LoopbackServer.h"
#include "platform/Tasks.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QScopeGuard>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

const QString closedText = u"The server closed the connection."_s;
const QString silentText = u"The server stopped responding."_s;
const QString host = u"127.0.0.1"_s;

using Transport = std::shared_ptr<StreamTransport>;

/// Long enough never to pass where something happens, short enough not to hang.
constexpr std::chrono::milliseconds patience = 20s;
/// For what never happens.
constexpr std::chrono::milliseconds impatience = 100ms;

Transport openPlain(const LoopbackServer& server, std::chrono::milliseconds timeout = patience)
{
    return StreamTransport::open(host, server.serverPort(), false, timeout);
}

Transport openTLS(const LoopbackServer& server)
{
    return StreamTransport::open(host, server.serverPort(), true, patience);
}

/// Everything until the end of the stream, which must be told as such.
QByteArray receiveAll(const Transport& transport)
{
    QByteArray all;
    try {
        for (;;)
            all += await(transport->receive());
    } catch (const MailError& error) {
        EXPECT_EQ(error.text(), closedText);
    }
    return all;
}

void expectEverythingRefused(const Transport& transport)
{
    expectProtocolError(transport->receive(), closedText);
    expectProtocolError(transport->send("x"), closedText);
    expectProtocolError(transport->startTLS(), closedText);
}

/// The failure of the socket or of TLS that the task ends with.
template <typename T>
std::pair<QAbstractSocket::SocketError, QString> streamErrorOf(Task<T> task)
{
    try {
        await(std::move(task));
    } catch (const StreamError& error) {
        return {error.code(), error.localizedText()};
    } catch (const LocalizedError& error) {
        ADD_FAILURE() << error.localizedText().toStdString();
    }
    return {QAbstractSocket::UnknownSocketError, {}};
}

QByteArray noise(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char& byte : bytes) {
        state = state * 1'664'525U + 1'013'904'223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

constexpr qsizetype mebibyte = 1'048'576;

/// Of bytes that are too many to be shown.
void expectSame(const QByteArray& left, const QByteArray& right)
{
    EXPECT_EQ(left.size(), right.size());
    EXPECT_TRUE(left == right);
}

// --- Authorities, which are read once in a process: the first test finds them unread

TEST(StreamTransport, ConnectsNowhereOnceItIsClosedWhileTheAuthoritiesAreRead)
{
    LoopbackServer server;
    const Transport closed = openTLS(server);
    std::weak_ptr<StreamTransport> gone = openTLS(server);
    EXPECT_TRUE(gone.expired());
    closed->close();
    expectProtocolError(closed->receive(), closedText);
    // The next one waits for the same authorities, and comes behind those.
    const Transport transport = openTLS(server);
    Begun<void> sending(transport->send("hello"));
    server.acceptWithTLS();
    sending.get();
    EXPECT_EQ(server.waitingCount(), 0);
}

// --- Plain

TEST(StreamTransport, SendsAndReceivesBytes)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    peer->write("* OK ready\r\n");
    const QByteArray greeting = await(transport->receive());
    EXPECT_EQ(greeting, "* OK ready\r\n");
    EXPECT_LT(greeting.capacity(), 1024) << "it holds the memory of the largest chunk";
    await(transport->send("P1 CAPABILITY\r\n"));
    EXPECT_TRUE(waitUntil([&] { return peer->bytesAvailable() >= 15; }));
    EXPECT_EQ(peer->readAll(), "P1 CAPABILITY\r\n");
    transport->close();
}

TEST(StreamTransport, SendsBeforeTheConnectionStands)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    await(transport->send("hello"));
    QSslSocket* const peer = server.accept();
    EXPECT_TRUE(waitUntil([&] { return peer->bytesAvailable() >= 5; }));
    transport->close();
}

TEST(StreamTransport, SendsAllOfALargeBlock)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    const QByteArray block = noise(5 * mebibyte + 7);
    Begun<void> sending(transport->send(block));
    QSslSocket* const peer = server.accept();
    QByteArray received;
    EXPECT_TRUE(waitUntil([&] {
        received += peer->readAll();
        return received.size() >= block.size();
    }));
    sending.get();
    expectSame(received, block);
    transport->close();
}

TEST(StreamTransport, SendsNothingForNoBytes)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    await(transport->send(QByteArray()));
    transport->close();
}

TEST(StreamTransport, ReceivesChunksOfABoundedSize)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    const QByteArray block = noise(2 * mebibyte);
    peer->write(block);
    QByteArray received;
    while (received.size() < block.size()) {
        const QByteArray chunk = await(transport->receive());
        EXPECT_FALSE(chunk.isEmpty());
        EXPECT_LE(chunk.size(), StreamTransport::maximumRead);
        received += chunk;
    }
    expectSame(received, block);
    transport->close();
}

TEST(StreamTransport, DeliversBytesThatComeTogetherWithTheEndOfTheStream)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    await(transport->send("x"));
    peer->write("bye");
    peer->disconnectFromHost();
    EXPECT_TRUE(waitUntil([&] { return peer->state() == QAbstractSocket::UnconnectedState; }));
    settle();
    EXPECT_EQ(await(transport->receive()), "bye");
    expectProtocolError(transport->receive(), closedText);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, TellsTheEndOfTheStreamToWhoWaits)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    Begun<QByteArray> receiving(transport->receive());
    settle();
    peer->disconnectFromHost();
    EXPECT_THROW(receiving.get(), MailError);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, LosesNothingOfAMegabyteThatWasSentBeforeTheEnd)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    const QByteArray block = noise(mebibyte);
    peer->write(block);
    peer->disconnectFromHost();
    settle();
    expectSame(receiveAll(transport), block);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, TellsARefusedConnectionOnceAndThenThatItIsClosed)
{
    const Transport transport = StreamTransport::open(host, LoopbackServer::refusedPort(), false, patience);
    const auto [code, text] = streamErrorOf(transport->receive());
    EXPECT_EQ(code, QAbstractSocket::ConnectionRefusedError);
    EXPECT_TRUE(text.startsWith(u"127.0.0.1: "_s)) << text.toStdString();
    EXPECT_FALSE(text.contains(u"closed the connection"_s));
    expectEverythingRefused(transport);
}

TEST(StreamTransport, TellsARefusedConnectionToWhoSends)
{
    const Transport transport = StreamTransport::open(host, LoopbackServer::refusedPort(), true, patience);
    EXPECT_EQ(streamErrorOf(transport->send("x")).first, QAbstractSocket::ConnectionRefusedError);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, ConnectsToNoPortOutsideOfTheirRange)
{
    for (const int port : {-1, 0, 65'536, 65'536 + 993}) {
        const Transport transport = StreamTransport::open(host, port, false, patience);
        expectEverythingRefused(transport);
    }
}

TEST(StreamTransport, TellsThatASilentServerStoppedResponding)
{
    LoopbackServer server;
    const Transport transport = openPlain(server, impatience);
    ASSERT_TRUE(server.accept());
    expectProtocolError(transport->receive(), silentText);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, TellsThatAServerThatReadsNothingStoppedResponding)
{
    LoopbackServer server;
    const Transport transport = openPlain(server, impatience);
    Begun<void> sending(transport->send(QByteArray(64 * mebibyte, 'x')));
    QSslSocket* const peer = server.accept();
    peer->setReadBufferSize(1);
    try {
        sending.get();
        ADD_FAILURE() << "64 MiB went nowhere";
    } catch (const MailError& error) {
        EXPECT_EQ(error.text(), silentText);
    }
    expectEverythingRefused(transport);
}

TEST(StreamTransport, WaitsForAnAnswerAsLongAsItIsToldTo)
{
    LoopbackServer server;
    const Transport transport = openPlain(server, impatience);
    transport->setReceiveTimeout(patience);
    Begun<QByteArray> receiving(transport->receive());
    QSslSocket* const peer = server.accept();
    await(sleepFor(3 * impatience, {}));
    EXPECT_FALSE(receiving.isDone());
    peer->write("late");
    EXPECT_EQ(receiving.get(), "late");
    transport->setReceiveTimeout(impatience);
    expectProtocolError(transport->receive(), silentText);
}

TEST(StreamTransport, GivesEachReadItsOwnTime)
{
    // The time of the connection is not shared: four waits of 100 ms fit into reads of 200 ms.
    LoopbackServer server;
    const Transport transport = openPlain(server, 300ms);
    QSslSocket* const peer = server.accept();
    for (int round = 0; round < 4; ++round) {
        QTimer::singleShot(100ms, peer, [peer] { peer->write("x"); });
        EXPECT_EQ(await(transport->receive()), "x");
    }
    transport->close();
}

TEST(StreamTransport, ReadsNoMoreAheadThanItsBufferTakes)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    constexpr qsizetype flood = 256 * mebibyte;
    peer->write(QByteArray(flood, 'x'));
    // Until the flood stands still: what the system buffers, and what the transport does.
    qint64 left = flood + 1;
    while (peer->bytesToWrite() < left) {
        left = peer->bytesToWrite();
        waitUntil([&] { return peer->bytesToWrite() < left; }, 200ms);
    }
    EXPECT_GT(left, flood - 64 * mebibyte);
    EXPECT_EQ(await(transport->receive()).size(), StreamTransport::maximumRead);
    transport->close();
}

TEST(StreamTransport, FailsAnOperationUnderWayWhenItIsClosed)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    ASSERT_TRUE(server.accept());
    Begun<QByteArray> receiving(transport->receive());
    settle();
    transport->close();
    transport->close();
    try {
        receiving.get();
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_EQ(error.text(), closedText);
    }
    expectEverythingRefused(transport);
}

TEST(StreamTransport, HandsOutNothingOnceItIsClosed)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    peer->write("late");
    EXPECT_TRUE(waitUntil([&] { return peer->bytesToWrite() == 0; }));
    settle();
    transport->close();
    expectEverythingRefused(transport);
    EXPECT_TRUE(waitUntil([&] { return peer->state() == QAbstractSocket::UnconnectedState; }));
}

TEST(StreamTransport, IsKeptAliveByAnOperationUnderWay)
{
    LoopbackServer server;
    Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    const std::weak_ptr<StreamTransport> watched = transport;
    Begun<QByteArray> receiving(transport->receive());
    transport.reset();
    peer->write("x");
    EXPECT_EQ(receiving.get(), "x");
    EXPECT_TRUE(watched.expired());
}

TEST(MailTransports, OpenGivesATransport)
{
    LoopbackServer server;
    const std::shared_ptr<MailTransport> transport =
        await(MailTransports::open(host, server.serverPort(), false));
    server.accept()->write("x");
    EXPECT_EQ(await(transport->receive()), "x");
    transport->close();
}

// --- TLS

TEST(StreamTransport, SpeaksTLSFromTheFirstByte)
{
    LoopbackServer server;
    const Transport transport = openTLS(server);
    Begun<void> sending(transport->send("hello"));
    QSslSocket* const peer = server.acceptWithTLS();
    sending.get();
    EXPECT_TRUE(waitUntil([&] { return peer->bytesAvailable() >= 5; }));
    EXPECT_TRUE(peer->isEncrypted());
    EXPECT_EQ(peer->readAll(), "hello");
    peer->write("world");
    EXPECT_EQ(await(transport->receive()), "world");
    transport->close();
}

TEST(StreamTransport, UpgradesToTLSInPlace)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    peer->write("begin\r\n");
    EXPECT_EQ(await(transport->receive()), "begin\r\n");
    await(transport->startTLS());
    Begun<void> sending(transport->send("secret"));
    peer->startServerEncryption();
    sending.get();
    EXPECT_TRUE(waitUntil([&] { return peer->bytesAvailable() >= 6; }));
    EXPECT_TRUE(peer->isEncrypted());
    EXPECT_EQ(peer->readAll(), "secret");
    peer->write("answer");
    EXPECT_EQ(await(transport->receive()), "answer");
    transport->close();
}

TEST(StreamTransport, RefusesToBeginTLSBehindDataThatNobodyReceived)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    peer->write("begin\r\n");
    EXPECT_EQ(await(transport->receive()), "begin\r\n");
    peer->write("* injected\r\n");
    peer->flush();
    // Whether the socket has fetched it from the system yet or not.
    expectProtocolError(transport->startTLS(), u"Unexpected data before TLS."_s);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, RefusesToBeginTLSBehindDataThatLiesInTheSocket)
{
    LoopbackServer server;
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    peer->write("begin\r\n");
    EXPECT_EQ(await(transport->receive()), "begin\r\n");
    peer->write("* injected\r\n");
    EXPECT_TRUE(waitUntil([&] { return peer->bytesToWrite() == 0; }));
    settle();
    expectProtocolError(transport->startTLS(), u"Unexpected data before TLS."_s);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, NeverHandsOutWhatCameInTheClearInPlaceOfTLS)
{
    LoopbackServer server;
    const Transport implicit = openTLS(server);
    server.accept()->write("* OK I am no TLS server\r\n");
    EXPECT_EQ(streamErrorOf(implicit->receive()).first, QAbstractSocket::SslHandshakeFailedError);
    expectEverythingRefused(implicit);

    const Transport upgraded = openPlain(server);
    QSslSocket* const peer = server.accept();
    peer->write("begin\r\n");
    EXPECT_EQ(await(upgraded->receive()), "begin\r\n");
    await(upgraded->startTLS());
    peer->write("* OK still in the clear\r\n");
    const auto [code, text] = streamErrorOf(upgraded->receive());
    EXPECT_EQ(code, QAbstractSocket::SslHandshakeFailedError);
    EXPECT_EQ(text, u"No secure connection to 127.0.0.1 could be made on port %1."_s.arg(server.serverPort()))
        << "who offers STARTTLS expects no TLS at once";
    expectEverythingRefused(upgraded);
}

TEST(StreamTransport, TellsAServerWithoutTLSByNameAndPort)
{
    for (const char* words :
         {"* OK IMAP4rev1 ready\r\n", "220 mail.example ESMTP\r\n", "HTTP/1.1 400 Bad Request\r\n"}) {
        LoopbackServer server;
        const Transport transport = openTLS(server);
        server.accept()->write(words);
        try {
            await(transport->receive());
            ADD_FAILURE() << words;
        } catch (const StreamError& error) {
            EXPECT_TRUE(error.isWithoutTLS()) << words;
            EXPECT_FALSE(error.isConnectionLost());
            EXPECT_EQ(error.localizedText(),
                      u"127.0.0.1 doesn’t speak SSL/TLS on port %1."_s.arg(server.serverPort()));
        }
    }
}

TEST(StreamTransport, TellsAFailedHandshakeWithoutTheWordsOfItsLibrary)
{
    // An alert: the server speaks TLS, and no version or cipher of ours.
    LoopbackServer server;
    const Transport transport = openTLS(server);
    server.accept()->write(QByteArray::fromHex("15030300020228"));
    try {
        await(transport->receive());
        ADD_FAILURE() << "nothing failed";
    } catch (const StreamError& error) {
        EXPECT_FALSE(error.isWithoutTLS());
        EXPECT_EQ(error.localizedText(),
                  u"No secure connection to 127.0.0.1 could be made on port %1."_s.arg(server.serverPort()));
    }
}

TEST(StreamTransport, CountsTheHandshakeTowardsTheFirstOperation)
{
    LoopbackServer server;
    const Transport transport = StreamTransport::open(host, server.serverPort(), true, impatience);
    ASSERT_TRUE(server.accept());
    expectProtocolError(transport->send("x"), silentText);
    expectEverythingRefused(transport);
}

TEST(StreamTransport, LosesNothingOfAMegabyteThatWasSentOverTLSBeforeTheEnd)
{
    LoopbackServer server;
    const Transport transport = openTLS(server);
    Begun<void> sending(transport->send("x"));
    QSslSocket* const peer = server.acceptWithTLS();
    sending.get();
    // A connection that is closed with unread bytes is reset, and a reset throws away what is on its way.
    EXPECT_TRUE(waitUntil([&] { return peer->bytesAvailable() > 0; }));
    const QByteArray block = noise(mebibyte);
    peer->write(block);
    peer->disconnectFromHost();
    settle();
    expectSame(receiveAll(transport), block);
    expectEverythingRefused(transport);
}

/// A certificate that must be refused, and what the user reads about it.
void expectRefusedCertificate(const QString& certificate, const QString& text)
{
    LoopbackServer server(certificate);
    const Transport transport = openTLS(server);
    Begun<void> sending(transport->send("secret"));
    QSslSocket* const peer = server.acceptWithTLS();
    try {
        sending.get();
        ADD_FAILURE() << "the certificate was accepted";
    } catch (const StreamError& error) {
        EXPECT_EQ(error.code(), QAbstractSocket::SslHandshakeFailedError);
        EXPECT_EQ(error.localizedText(), text);
        EXPECT_FALSE(error.isConnectionLost()) << "there was none yet";
    }
    expectEverythingRefused(transport);
    EXPECT_TRUE(waitUntil([&] { return peer->state() == QAbstractSocket::UnconnectedState; }));
    EXPECT_EQ(peer->readAll(), "");
}

TEST(StreamTransport, RefusesACertificateOfAnUnknownAuthority)
{
    expectRefusedCertificate(
        u"unknown"_s,
        u"The certificate of 127.0.0.1 was issued by an authority that this computer doesn't trust."_s);
}

TEST(StreamTransport, RefusesACertificateThatSignedItself)
{
    expectRefusedCertificate(
        u"selfsigned"_s,
        u"The certificate of 127.0.0.1 was issued by an authority that this computer doesn't trust."_s);
}

TEST(StreamTransport, RefusesAnExpiredCertificate)
{
    expectRefusedCertificate(u"expired"_s, u"The certificate of 127.0.0.1 has expired."_s);
}

TEST(StreamTransport, RefusesACertificateOfAnotherHost)
{
    expectRefusedCertificate(u"otherhost"_s,
                             u"The certificate that 127.0.0.1 presented belongs to another server."_s);
}

TEST(StreamTransport, JudgesTheCertificateAfterAnUpgradeAsWell)
{
    LoopbackServer server(u"otherhost"_s);
    const Transport transport = openPlain(server);
    QSslSocket* const peer = server.accept();
    peer->write("begin\r\n");
    EXPECT_EQ(await(transport->receive()), "begin\r\n");
    await(transport->startTLS());
    peer->startServerEncryption();
    EXPECT_EQ(streamErrorOf(transport->receive()).first, QAbstractSocket::SslHandshakeFailedError);
    expectEverythingRefused(transport);
}

/// A TLS server on a thread of its own that says one thing, and then ends the TLS stream, the connection or
/// neither, or breaks the stream.
class BluntTLSServer {
public:
    enum class Ending { ofTLSOnly, ofTheConnectionOnly, byAnAlert, byABrokenRecord, byPlainBytes };

    BluntTLSServer(int descriptor, const QByteArray& text, Ending ending)
        : m_thread([descriptor, text, ending] { run(descriptor, text, ending); })
    {}

private:
    static void run(int descriptor, const QByteArray& text, Ending ending)
    {
        const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_server_method()),
                                                                        SSL_CTX_free);
        SSL_CTX_use_certificate_chain_file(
            context.get(), LoopbackServer::certificateFile(u"good"_s).toLocal8Bit().constData());
        SSL_CTX_use_PrivateKey_file(
            context.get(), LoopbackServer::keyFile(u"good"_s).toLocal8Bit().constData(), SSL_FILETYPE_PEM);
        const std::unique_ptr<SSL, decltype(&SSL_free)> stream(SSL_new(context.get()), SSL_free);
        SSL_set_fd(stream.get(), descriptor);
        EXPECT_EQ(SSL_accept(stream.get()), 1);
        char byte = 0;
        // Where anything of the client's comes in after the end, or is unread then, the system resets the
        // connection, and with it goes what the client hasn't fetched.
        EXPECT_EQ(SSL_read(stream.get(), &byte, 1), 1);
        EXPECT_EQ(SSL_write(stream.get(), text.constData(), static_cast<int>(text.size())), text.size());
        if (ending == Ending::ofTheConnectionOnly)
            ::shutdown(descriptor, SHUT_WR);
        else
            breakStream(stream.get(), descriptor, ending);
        // Until the client has enough of it.
        while (::read(descriptor, &byte, 1) > 0)
            continue;
    }

    static void breakStream(SSL* stream, int descriptor, Ending ending)
    {
        // The header of 32 bytes of sealed data, and what nobody has sealed.
        const QByteArray brokenRecord = QByteArray::fromHex("1703030020") + QByteArray(32, '?');
        if (ending == Ending::ofTLSOnly) {
            SSL_shutdown(stream);
        } else if (ending == Ending::byAnAlert) {
            // OpenSSL complains of what it takes for the client's in a genuine alert.
            BIO* const received = BIO_new(BIO_s_mem());
            BIO_write(received, brokenRecord.constData(), static_cast<int>(brokenRecord.size()));
            SSL_set0_rbio(stream, received);
            char byte = 0;
            EXPECT_LE(SSL_read(stream, &byte, 1), 0);
        } else {
            const QByteArray bytes =
                ending == Ending::byABrokenRecord ? brokenRecord : "* OK in the clear\r\n";
            EXPECT_EQ(::send(descriptor, bytes.constData(), static_cast<size_t>(bytes.size()), 0),
                      bytes.size());
        }
    }

    std::jthread m_thread;
};

void expectEnding(BluntTLSServer::Ending ending, const QByteArray& text)
{
    LoopbackServer server;
    const Transport transport = openTLS(server);
    Begun<void> sending(transport->send("x"));
    const int descriptor = static_cast<int>(server.acceptDescriptor());
    ASSERT_EQ(::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK), 0);
    {
        const BluntTLSServer blunt(descriptor, text, ending);
        // The server goes on until its client is gone.
        const auto close = qScopeGuard([&] { transport->close(); });
        sending.get();
        expectSame(receiveAll(transport), text);
        expectEverythingRefused(transport);
    }
    ::close(descriptor);
}

/// What the transport is doing when the server breaks the TLS stream.
enum class Doing { receiving, nothing };

void expectLossOfABrokenStream(BluntTLSServer::Ending ending, Doing doing)
{
    LoopbackServer server;
    // A test that waited for the time-out would end by its own.
    const Transport transport = StreamTransport::open(host, server.serverPort(), true, 1h);
    Begun<void> sending(transport->send("x"));
    const int descriptor = static_cast<int>(server.acceptDescriptor());
    ASSERT_EQ(::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK), 0);
    {
        const BluntTLSServer blunt(descriptor, "farewell", ending);
        const auto close = qScopeGuard([&] { transport->close(); });
        sending.get();
        EXPECT_EQ(await(transport->receive()), "farewell");
        if (doing == Doing::nothing)
            settle();
        try {
            await(transport->receive());
            ADD_FAILURE() << "nothing failed";
        } catch (const StreamError& error) {
            EXPECT_TRUE(error.isConnectionLost());
            EXPECT_TRUE(error.localizedText().startsWith(host + u": "_s));
        }
        expectEverythingRefused(transport);
    }
    ::close(descriptor);
}

TEST(StreamTransport, NoticesAnAlertABrokenRecordAndPlainBytesInMidSessionAtOnce)
{
    using enum BluntTLSServer::Ending;
    for (const BluntTLSServer::Ending ending : {byAnAlert, byABrokenRecord, byPlainBytes}) {
        for (const Doing doing : {Doing::receiving, Doing::nothing})
            expectLossOfABrokenStream(ending, doing);
    }
}

TEST(StreamTransport, TellsTheEndOfATLSStreamWhoseConnectionStaysOpen)
{
    expectEnding(BluntTLSServer::Ending::ofTLSOnly, "farewell");
    expectEnding(BluntTLSServer::Ending::ofTLSOnly, noise(mebibyte));
}

TEST(StreamTransport, TellsTheEndOfAConnectionWhoseTLSStreamWasNotEnded)
{
    expectEnding(BluntTLSServer::Ending::ofTheConnectionOnly, "farewell");
    expectEnding(BluntTLSServer::Ending::ofTheConnectionOnly, noise(mebibyte));
}

} // namespace
} // namespace Larkhaven
