#include "http/HTTPSession.h"

#include "support/Await.h"
#include "support/Gzip.h"
#include "support/QtPrinters.h"
#include "support/WebServer.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpSocket>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Header = HTTPRequest::Header;

class HTTPSessionTest : public testing::Test {
protected:
    static HTTPRequest get(const QByteArray& path = "/a") { return {"https://api.example" + path}; }

    static HTTPRequest post(const QByteArray& body = "text")
    {
        return {"https://api.example/a", "POST", {{"Content-Type", "text/plain"}}, body};
    }

    static Task<HTTPResponse> perform(const HTTPRequest& request, const std::stop_token& stop = {})
    {
        return HTTPSession::shared().perform(request, stop);
    }

    /// Expects that the request fails so.
    static void expectFailure(Task<HTTPResponse> task, HTTPError::Kind kind, const QString& text,
                              const Place& where = Place::current())
    {
        try {
            await(std::move(task));
            ADD_FAILURE_AT(where.file, where.line) << "nothing failed";
        } catch (const HTTPError& error) {
            EXPECT_EQ(error.kind(), kind) << where.line;
            EXPECT_EQ(error.localizedText(), text) << where.line;
        }
    }

    void expectBroken(const HTTPRequest& request, const Place& where = Place::current())
    {
        expectFailure(perform(request), HTTPError::Kind::broken,
                      u"The connection to api.example broke off."_s, where);
    }

    WebReply reply;
    WebServer server{[this](const WebRequest&) { return reply; }};
};

TEST_F(HTTPSessionTest, SaysNothingOfTheProgramButItsName)
{
    reply.body = "answer";
    const HTTPResponse response = await(perform(get("/a?b=%20c")));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "answer");
    ASSERT_EQ(server.requests().size(), 1);
    const WebRequest& request = server.requests().constFirst();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.target, "/a?b=%20c");
    EXPECT_EQ(request.headers, (QList<Header>{{"host", "api.example"},
                                              {"user-agent", "Larkhaven"},
                                              {"accept", "*/*"},
                                              {"accept-encoding", "gzip"}}));
}

TEST_F(HTTPSessionTest, SendsMethodHeadersAndBodyAsTheyAre)
{
    for (const QByteArray method : {"POST", "PUT", "PATCH"}) {
        HTTPRequest request = post("a\0b"_ba);
        request.method = method;
        request.headers = {
            {"Authorization", "Bearer t"}, {"Accept", "application/json"}, {"Content-Type", "a/b"}};
        await(perform(request));
        const WebRequest sent = server.requests().constLast();
        EXPECT_EQ(sent.method, method);
        EXPECT_EQ(sent.body, "a\0b"_ba);
        EXPECT_EQ(sent.header("authorization"), "Bearer t");
        EXPECT_EQ(sent.header("accept"), "application/json");
        EXPECT_EQ(sent.header("content-type"), "a/b");
        EXPECT_EQ(sent.headers.size(), 7) << "with host, user-agent, accept-encoding and content-length";
    }
}

TEST_F(HTTPSessionTest, SendsNoTypeOfABodyThatIsNotThere)
{
    HTTPRequest request{"https://api.example/a", "POST"};
    await(perform(request));
    EXPECT_EQ(server.requests().constLast().header("content-length"), "0");
    EXPECT_EQ(server.requests().constLast().header("content-type"), std::nullopt);
    request.method = "DELETE";
    await(perform(request));
    EXPECT_EQ(server.requests().constLast().method, "DELETE");
    EXPECT_EQ(server.requests().constLast().header("content-type"), std::nullopt);
}

TEST_F(HTTPSessionTest, SendsALargeBodyWithoutAskingForLeave)
{
    const QByteArray large(5'000'000, 'x');
    await(perform(post(large)));
    EXPECT_EQ(server.requests().constLast().body, large);
    EXPECT_EQ(server.requests().constLast().header("expect"), std::nullopt);
}

TEST_F(HTTPSessionTest, KeepsNoCookies)
{
    reply.headers = {{"Set-Cookie", "a=b; Path=/; Max-Age=1000"}};
    await(perform(get()));
    await(perform(get()));
    EXPECT_EQ(server.requests().constLast().header("cookie"), std::nullopt);
}

TEST_F(HTTPSessionTest, TakesTheSameConnectionForWhatChangesNothing)
{
    await(perform(get()));
    await(perform(get()));
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(HTTPSessionTest, SendsWhatChangesSomethingOnAConnectionOfItsOwn)
{
    await(perform(get()));
    for (const QByteArray method : {"POST", "PUT", "PATCH", "DELETE"}) {
        server.forget();
        await(perform({"https://api.example/a", method}));
        EXPECT_EQ(server.connections(), 1) << method.toStdString();
    }
}

TEST_F(HTTPSessionTest, NeverSendsAPostAgainThatTheServerDroppedAfterReadingIt)
{
    await(perform(get()));
    server.forget();
    reply.end = WebReply::End::drop;
    expectBroken(post());
    EXPECT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.attempts(), 1);
}

TEST_F(HTTPSessionTest, NeverSendsAPostAgainThatTheServerRefusedBeforeReadingIt)
{
    reply = WebReply::bytes("HTTP/1.1 417 Expectation Failed\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(await(perform(post(QByteArray(3'000'000, 'x')))).status, 417);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(HTTPSessionTest, DecodesWhatIsCompressed)
{
    reply.body = zipped("many words, many words");
    reply.headers = {{"Content-Encoding", "gzip"}};
    EXPECT_EQ(await(perform(get())).body, "many words, many words");
    reply.body = "no compressed text";
    expectBroken(get());
}

TEST_F(HTTPSessionTest, GivesWhateverTheServerAnswers)
{
    for (const int status : {204, 304, 401, 404, 500}) {
        reply.status = status;
        EXPECT_EQ(await(perform(get())).status, status);
    }
    reply.status = 301;
    reply.headers = {{"Location", "/b"}};
    const HTTPResponse response = await(perform(get()));
    EXPECT_EQ(response.status, 301);
    EXPECT_EQ(response.location, "https://api.example/b");
    EXPECT_EQ(server.requests().constLast().target, "/a") << "and follows nothing";
}

TEST_F(HTTPSessionTest, GivesTheSchemeOfARedirectAsItIsWritten)
{
    reply.status = 301;
    reply.headers = {{"Location", "HTTPS://api.example/b"}};
    EXPECT_EQ(await(perform(get())).location, "HTTPS://api.example/b");
}

// --- Failures

TEST_F(HTTPSessionTest, FailsWhereAnAnswerIsCut)
{
    for (const QByteArray raw :
         {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf",
          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhal", "HTTP/1.1 200 OK\r\nContent-Le",
          "HTTP/1.1 2", "HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\nHTTP/1.1 200 OK\r\nConten",
          "hello\r\n\r\n", ""}) {
        reply = WebReply::bytes(raw);
        expectBroken(post());
    }
}

TEST_F(HTTPSessionTest, FailsWhereNobodyAnswersForTheTimeOut)
{
    reply.end = WebReply::End::silent;
    HTTPRequest request = post();
    request.timeout = std::chrono::milliseconds(300);
    expectFailure(perform(request), HTTPError::Kind::timedOut, u"api.example stopped responding."_s);
    EXPECT_TRUE(waitUntil([this] { return server.open() == 0; })) << "the connection is closed";
}

/// Takes a little of what comes in every 100 ms, and answers after so many bytes.
class SlowReader : public QObject {
public:
    SlowReader(qsizetype size, qsizetype step)
    {
        QFile key(qEnvironmentVariable("LARKHAVEN_TEST_KEY"));
        EXPECT_TRUE(key.open(QIODevice::ReadOnly));
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificateChain(
            QSslCertificate::fromPath(qEnvironmentVariable("LARKHAVEN_TEST_CERTIFICATE")));
        configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
        m_server.setSslConfiguration(configuration);
        EXPECT_TRUE(m_server.listen(QHostAddress::LocalHost, 8443));
        connect(&m_server, &QTcpServer::pendingConnectionAvailable, this, [this, size, step] {
            QTcpSocket* const socket = m_server.nextPendingConnection();
            socket->setReadBufferSize(step);
            auto* const timer = new QTimer(socket);
            connect(timer, &QTimer::timeout, this, [this, socket, timer, size, step] {
                const QByteArray bytes = socket->read(step);
                if (m_taken == 0)
                    m_head = bytes.indexOf("\r\n\r\n") + 4;
                m_taken += bytes.size();
                // An answer that comes too soon ends the upload.
                if (m_taken < m_head + size)
                    return;
                timer->stop();
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
            });
            timer->start(100);
        });
    }

private:
    QSslServer m_server;
    qsizetype m_taken = 0;
    qsizetype m_head = 0; ///< bytes before the body
};

TEST_F(HTTPSessionTest, WaitsForASlowUploadAsLongAsItGoesOn)
{
    // More than all buffers on the way hold, so that bytes leave all the time.
    constexpr qsizetype size = 48 * 1024 * 1024;
    const SlowReader reader(size, 1024 * 1024);
    HTTPRequest request = post();
    request.url = "https://api.example:8443/";
    request.body = QByteArray(size, 'x');
    request.timeout = std::chrono::milliseconds(2'500);
    EXPECT_EQ(await(perform(request)).body, "ok");
}

TEST(HTTPRequest, HasAHeaderOnceUnderWhateverCase)
{
    HTTPRequest request;
    request.setHeader("Accept", "a");
    request.setHeader("X-Other", "b");
    request.setHeader("ACCEPT", "c");
    EXPECT_EQ(request.headers, (QList<HTTPRequest::Header>{{"Accept", "c"}, {"X-Other", "b"}}));
    request.removeHeader("x-other");
    EXPECT_EQ(request.headers, (QList<HTTPRequest::Header>{{"Accept", "c"}}));
}

TEST_F(HTTPSessionTest, WaitsForASlowAnswerAsLongAsItGoesOn)
{
    reply.body = QByteArray(1000, 'x');
    reply.pieces = 10;
    HTTPRequest request = get();
    request.timeout = std::chrono::milliseconds(500);
    EXPECT_EQ(await(perform(request)).body, reply.body);
}

TEST_F(HTTPSessionTest, EndsASlowAnswerAfterTheTimeForAll)
{
    HTTPSession session({.whole = std::chrono::milliseconds(500)});
    reply.body = QByteArray(1000, 'x');
    reply.pieces = 50;
    expectFailure(session.perform(get(), {}), HTTPError::Kind::timedOut,
                  u"api.example stopped responding."_s);
}

TEST_F(HTTPSessionTest, BoundsAnAnswerAsItIsDecoded)
{
    HTTPSession session({.body = 100'000});
    const QString text = u"The answer of api.example was too large."_s;
    reply.body = QByteArray(100'000, 'x');
    EXPECT_EQ(await(session.perform(get(), {})).body, reply.body);
    reply.body += 'x';
    expectFailure(session.perform(get(), {}), HTTPError::Kind::tooLarge, text);
    reply = WebReply::bytes("HTTP/1.1 200 OK\r\n\r\n" + QByteArray(100'001, 'x'));
    expectFailure(session.perform(get(), {}), HTTPError::Kind::tooLarge, text);
    reply = {200, zipped(QByteArray(100'001, 'x')), {{"Content-Encoding", "gzip"}}};
    EXPECT_LT(reply.body.size(), 1000);
    expectFailure(session.perform(get(), {}), HTTPError::Kind::tooLarge, text);
}

TEST_F(HTTPSessionTest, BoundsTheHeadersOfAnAnswer)
{
    const QString text = u"The answer of api.example was too large."_s;
    QByteArray many = "HTTP/1.1 200 OK\r\n";
    for (int number = 0; number < 20'000; ++number)
        many += "X-Name: " + QByteArray(42, 'x') + "\r\n";
    reply = WebReply::bytes(many + "\r\n");
    expectFailure(perform(get()), HTTPError::Kind::tooLarge, text);
    reply = WebReply::bytes("HTTP/1.1 100 Continue\r\n\r\n"_ba.repeated(20'000));
    expectFailure(perform(get()), HTTPError::Kind::tooLarge, text);
    reply = WebReply::bytes("HTTP/1.1 200 OK\r\nX-Name: " + QByteArray(1'000'000, 'x') + "\r\n\r\n");
    EXPECT_THROW(await(perform(get())), HTTPError);
}

TEST_F(HTTPSessionTest, SendsNothingToAHostWhoseCertificateIsAnothers)
{
    expectFailure(perform({"https://localhost/a"}), HTTPError::Kind::untrusted,
                  u"The identity of localhost couldn’t be verified."_s);
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_EQ(server.attempts(), 1);
}

TEST_F(HTTPSessionTest, FailsWhereThereIsNoHostOrNobodyAtItsPort)
{
    expectFailure(perform({"https://nowhere.example/a"}), HTTPError::Kind::unreachable,
                  u"No connection to nowhere.example could be made."_s);
    expectFailure(perform({"https://api.example:444/a"}), HTTPError::Kind::unreachable,
                  u"No connection to api.example could be made."_s);
}

TEST_F(HTTPSessionTest, AsksNothingOfAURLThatCannotBeRead)
{
    const QString text = u"The address of the service can’t be used."_s;
    for (const QByteArray url : {"", "api.example", "https://", "https:///a", "https://api.example/a b",
                                 "https://api.example/\r\nX: y", "http://api.example/", "ftp://api.example/",
                                 "https://api.example:99999/"})
        expectFailure(perform({url}), HTTPError::Kind::badURL, text);
    EXPECT_EQ(server.attempts(), 0);
}

TEST_F(HTTPSessionTest, SendsNoHeadThatNoServerTakes)
{
    const qsizetype room = HTTPSession::Limits().head - get("/").url.size();
    reply.body = "taken";
    EXPECT_EQ(await(perform(get('/' + QByteArray(room, 'a')))).body, "taken");
    expectFailure(perform(get('/' + QByteArray(room + 1, 'a'))), HTTPError::Kind::badURL,
                  u"The address of the service can’t be used."_s);
    HTTPRequest request = get("/");
    request.headers = {{"X", QByteArray(room, 'b')}};
    expectFailure(perform(request), HTTPError::Kind::badURL, u"The address of the service can’t be used."_s);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(HTTPSessionTest, SendsNoHeaderThatEndsItsLine)
{
    for (const QByteArray value : {"a\r\nX-Evil: 1", "a\nb", "a\rb"}) {
        HTTPRequest request = get();
        request.headers = {{"X", value}};
        expectFailure(perform(request), HTTPError::Kind::badURL,
                      u"The address of the service can’t be used."_s);
    }
    EXPECT_EQ(server.attempts(), 0);
}

TEST_F(HTTPSessionTest, TellsThatNothingWasSentWhereNoConnectionStood)
{
    // It takes connections and says nothing, as a host that hangs.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 8444));
    HTTPRequest request = post();
    request.url = "https://api.example:8444/";
    request.timeout = std::chrono::milliseconds(300);
    expectFailure(perform(request), HTTPError::Kind::unreachable,
                  u"No connection to api.example could be made."_s);
    QObject::connect(&silent, &QTcpServer::newConnection, &silent, [&silent] {
        while (QTcpSocket* const socket = silent.nextPendingConnection())
            socket->abort();
    });
    request.timeout = std::chrono::seconds(10);
    expectFailure(perform(request), HTTPError::Kind::unreachable,
                  u"No connection to api.example could be made."_s);
}

TEST_F(HTTPSessionTest, TakesNoMoreOfABodyThanTheRequestAllows)
{
    reply.body = QByteArray(1000, 'x');
    HTTPRequest request = get();
    request.mostBody = 1000;
    EXPECT_EQ(await(perform(request)).body, reply.body);
    request.mostBody = 999;
    expectFailure(perform(request), HTTPError::Kind::tooLarge, u"The answer of api.example was too large."_s);
}

TEST_F(HTTPSessionTest, EndsWhereItIsStopped)
{
    reply.end = WebReply::End::silent;
    std::stop_source stop;
    Begun<HTTPResponse> begun(perform(post(), stop.get_token()));
    ASSERT_TRUE(waitUntil([this] { return !server.requests().isEmpty(); }));
    stop.request_stop();
    try {
        begun.get();
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), MailError::Kind::cancelled);
    }
    EXPECT_TRUE(waitUntil([this] { return server.open() == 0; }));
    EXPECT_THROW(await(perform(post(), stop.get_token())), MailError);
    EXPECT_EQ(server.requests().size(), 1) << "stopped before it began";
}

TEST_F(HTTPSessionTest, TellsWhetherTheRequestMayHaveArrived)
{
    using Kind = HTTPError::Kind;
    for (const Kind kind : {Kind::badURL, Kind::unreachable, Kind::untrusted})
        EXPECT_FALSE(HTTPError(kind, {}).mayHaveArrived());
    for (const Kind kind : {Kind::timedOut, Kind::tooLarge, Kind::broken})
        EXPECT_TRUE(HTTPError(kind, {}).mayHaveArrived());
}

TEST_F(HTTPSessionTest, RunsManyRequestsAtOnce)
{
    server.setHandler([](const WebRequest& request) { return WebReply{200, request.target}; });
    std::vector<Begun<HTTPResponse>> all;
    for (int number = 0; number < 60; ++number)
        all.emplace_back(perform(get("/" + QByteArray::number(number))));
    for (int number = 0; number < 60; ++number)
        EXPECT_EQ(all[static_cast<std::size_t>(number)].get().body, "/" + QByteArray::number(number));
}

TEST_F(HTTPSessionTest, TakesTheProxyOfTheEnvironment)
{
    qputenv("https_proxy", "http://127.0.0.1:1");
    expectFailure(perform({"https://other.example/a"}), HTTPError::Kind::unreachable,
                  u"No connection to other.example could be made."_s);
    qunsetenv("https_proxy");
    EXPECT_EQ(server.attempts(), 0);
    EXPECT_EQ(await(perform({"https://other.example/a"})).status, 200);
}

} // namespace
} // namespace Larkhaven
