#include "protocols/StreamTransport.h"

#include "domain/MailError.h"
#include "platform/TLSTrust.h"

#include <QCoreApplication>
#include <QNetworkProxy>
#include <QSslSocket>

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(StreamTransport)
};

/// How OpenSSL numbers its failures to read a record where none was sent: a wrong version, a length beyond
/// bounds, and what looks like HTTP. Their words depend on its version.
constexpr std::array<QLatin1StringView, 3> noRecord{"0A00010B"_L1, "0A0000C6"_L1, "0A00009C"_L1};

bool isOfTLS(QAbstractSocket::SocketError error)
{
    constexpr std::array ofTLS{QAbstractSocket::SslHandshakeFailedError, QAbstractSocket::SslInternalError,
                               QAbstractSocket::SslInvalidUserDataError};
    return std::ranges::find(ofTLS, error) != ofTLS.end();
}

} // namespace

void StreamTransport::DeleteLater::operator()(QSslSocket* socket) const
{
    socket->disconnect();
    socket->abort();
    // It may be what is calling us.
    socket->deleteLater();
}

StreamTransport::StreamTransport(const QString& host, std::chrono::milliseconds timeout)
    : m_host(host)
    , m_timeout(timeout)
    , m_receiveTimeout(timeout)
    , m_socket(new QSslSocket)
{}

StreamTransport::~StreamTransport() = default;

std::shared_ptr<StreamTransport> StreamTransport::open(const QString& host, int port, bool implicitTLS,
                                                       std::chrono::milliseconds timeout)
{
    std::shared_ptr<StreamTransport> transport(new StreamTransport(host, timeout));
    transport->connectToHost(port, implicitTLS);
    return transport;
}

void StreamTransport::connectToHost(int port, bool implicitTLS)
{
    QSslSocket* const socket = m_socket.get();
    const auto wake = [this] { m_wakeup.notify(); };
    // Noted when it happens: whoever is woken may come too late to see it.
    QObject::connect(socket, &QSslSocket::connected, &m_wakeup, [this] { noteOpen(); });
    QObject::connect(socket, &QSslSocket::encrypted, &m_wakeup, [this] { noteOpen(); });
    QObject::connect(socket, &QSslSocket::bytesWritten, &m_wakeup, [this] { noteWritten(); });
    QObject::connect(socket, &QSslSocket::encryptedBytesWritten, &m_wakeup, [this] { noteWritten(); });
    QObject::connect(socket, &QSslSocket::errorOccurred, &m_wakeup,
                     [this](QAbstractSocket::SocketError error) { noteFailure(error); });
    QObject::connect(socket, &QSslSocket::readyRead, &m_wakeup, wake);
    QObject::connect(socket, &QSslSocket::disconnected, &m_wakeup, wake);
    QObject::connect(socket, &QSslSocket::sslErrors, &m_wakeup,
                     [this](const QList<QSslError>& errors) { m_certificateErrors = errors; });

    socket->setProxy(QNetworkProxy::NoProxy);
    socket->setPeerVerifyName(m_host);
    // What a server sends faster than it is read stays in the network.
    socket->setReadBufferSize(maximumRead);
    m_wantsTLS = implicitTLS;
    m_beginsWithTLS = implicitTLS;
    m_port = port;
    if (port < 1 || port > std::numeric_limits<quint16>::max()) {
        m_isDead = true;
        return;
    }
    if (!implicitTLS)
        socket->connectToHost(m_host, static_cast<quint16>(port));
    const auto use = [this](const QSslConfiguration& configuration) {
        m_hasAuthorities = true;
        if (m_isDead)
            return;
        m_socket->setSslConfiguration(configuration);
        if (m_beginsWithTLS)
            m_socket->connectToHostEncrypted(m_host, static_cast<quint16>(m_port), m_host);
        m_wakeup.notify();
    };
    TLSTrust::configure(&m_wakeup, use);
}

bool StreamTransport::isReady() const
{
    return m_socket->state() == QAbstractSocket::ConnectedState && (!m_wantsTLS || m_socket->isEncrypted());
}

bool StreamTransport::isWritten() const
{
    return m_socket->bytesToWrite() == 0 && m_socket->encryptedBytesToWrite() == 0;
}

void StreamTransport::noteOpen()
{
    m_isOpen = m_isOpen || isReady();
    m_wakeup.notify();
}

void StreamTransport::noteWritten()
{
    m_isFlushed = isWritten();
    m_wakeup.notify();
}

bool StreamError::isUnreachable() const
{
    return !isOfTLS(m_code);
}

void StreamTransport::noteFailure(QAbstractSocket::SocketError error)
{
    // After an alert or a broken record the socket stays connected, and nothing ever comes of it.
    m_hasFailed = m_hasFailed || isOfTLS(error);
    m_wakeup.notify();
}

template <typename Error>
void StreamTransport::fail(Error error)
{
    close();
    throw error;
}

void StreamTransport::failWithSocketError()
{
    const QAbstractSocket::SocketError code = m_socket->error();
    if (code == QAbstractSocket::RemoteHostClosedError)
        fail(MailError::connectionClosed());
    if (code == QAbstractSocket::SslHandshakeFailedError && m_certificateErrors.isEmpty() && !m_isOpen)
        fail(handshakeError());
    const QString text = m_certificateErrors.isEmpty()
                             ? QStringLiteral("%1: %2").arg(m_host, m_socket->errorString())
                             : TLSTrust::refusalText(m_host, m_certificateErrors);
    fail(StreamError(code, text, m_isOpen ? StreamError::Stage::open : StreamError::Stage::opening));
}

StreamError StreamTransport::handshakeError() const
{
    const QString reason = m_socket->errorString();
    const bool isNoRecord = std::ranges::any_of(
        noRecord, [&reason](QLatin1StringView number) { return reason.contains(number); });
    constexpr auto code = QAbstractSocket::SslHandshakeFailedError;
    if (m_beginsWithTLS && isNoRecord)
        return {code, Texts::tr("%1 doesn’t speak SSL/TLS on port %2.").arg(m_host, QString::number(m_port)),
                StreamError::Stage::withoutTLS};
    return {code, Texts::tr("No secure connection to %1 could be made on port %2.")
                      .arg(m_host, QString::number(m_port))};
}

bool StreamTransport::hasEnded() const
{
    if (m_beginsWithTLS && !m_hasAuthorities)
        return false;
    // The server may have ended the TLS stream alone, and keep the connection below it.
    return m_hasFailed || m_socket->state() == QAbstractSocket::UnconnectedState ||
           m_socket->error() == QAbstractSocket::RemoteHostClosedError;
}

bool StreamTransport::hasReadableBytes() const
{
    // Once TLS is wanted, nothing that came in the clear is handed out.
    const bool isTrusted = !m_wantsTLS || m_socket->mode() != QSslSocket::UnencryptedMode;
    return !m_isDead && isTrusted && m_socket->bytesAvailable() > 0;
}

void StreamTransport::checkAlive()
{
    if (m_isDead)
        throw MailError::connectionClosed();
    if (!hasEnded())
        return;
    if (m_socket->error() != QAbstractSocket::UnknownSocketError)
        failWithSocketError();
    fail(MailError::connectionClosed());
}

Task<> StreamTransport::waitForEvent(QDeadlineTimer deadline)
{
    // A server that keeps the connection busy with nothing doesn't put the end of the time off.
    bool isOver = deadline.hasExpired();
    if (!isOver) {
        const auto remaining =
            std::chrono::ceil<std::chrono::milliseconds>(deadline.remainingTimeAsDuration());
        const Wakeup::Outcome outcome = co_await m_wakeup.wait(remaining);
        isOver = outcome == Wakeup::Outcome::timedOut;
    }
    if (isOver && !m_isDead)
        fail(MailError::connectionSilent());
}

Task<> StreamTransport::send(QByteArray data)
{
    const auto self = shared_from_this();
    for (qsizetype written = 0; written < data.size(); written += maximumWrite)
        co_await write(data.sliced(written, std::min(maximumWrite, data.size() - written)));
}

Task<> StreamTransport::write(QByteArray piece)
{
    const QDeadlineTimer deadline(m_timeout);
    checkAlive();
    while (!isReady()) {
        co_await waitForEvent(deadline);
        checkAlive();
    }
    m_isFlushed = false;
    if (m_socket->write(piece) != piece.size())
        fail(MailError::connectionClosed());
    m_isFlushed = m_isFlushed || isWritten();
    while (!m_isFlushed) {
        co_await waitForEvent(deadline);
        // A server may take everything, answer, and be gone before we look: that is no failure to write.
        if (!m_isFlushed)
            checkAlive();
    }
}

Task<QByteArray> StreamTransport::receive()
{
    const auto self = shared_from_this();
    const QDeadlineTimer deadline(m_receiveTimeout);
    for (;;) {
        // What came before the end of the stream is handed out before its end is told.
        if (hasReadableBytes())
            break;
        checkAlive();
        co_await waitForEvent(deadline);
    }
    // No more than there is: the chunk would hold the memory of all that was asked for.
    QByteArray chunk = m_socket->read(std::min<qint64>(maximumRead, m_socket->bytesAvailable()));
    co_return chunk;
}

Task<> StreamTransport::startTLS()
{
    const auto self = shared_from_this();
    const QDeadlineTimer deadline(m_timeout);
    checkAlive();
    while (!isReady() || !m_hasAuthorities) {
        co_await waitForEvent(deadline);
        checkAlive();
    }
    // What the system has received and the socket has not fetched yet counts as well.
    m_socket->waitForReadyRead(0);
    if (hasReadableBytes())
        fail(MailError::protocolError(Texts::tr("Unexpected data before TLS.")));
    checkAlive();
    m_wantsTLS = true;
    m_isOpen = false;
    m_socket->startClientEncryption();
}

void StreamTransport::close()
{
    m_isDead = true;
    m_socket->disconnect(&m_wakeup);
    m_socket->abort();
    m_wakeup.notify();
}

Task<std::shared_ptr<MailTransport>> MailTransports::open(QString host, int port, bool implicitTLS)
{
    co_return StreamTransport::open(host, port, implicitTLS);
}

} // namespace Larkhaven
