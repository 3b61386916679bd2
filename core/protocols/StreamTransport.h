#pragma once

#include "domain/LocalizedError.h"
#include "platform/Wakeup.h"
#include "protocols/MailTransport.h"

#include <QAbstractSocket>
#include <QDeadlineTimer>
#include <QSslError>

#include <chrono>
#include <memory>

class QSslSocket;

namespace Larkhaven {

/// A failure of the system's network or of TLS, in words for the user.
class StreamError : public LocalizedError {
public:
    enum class Stage {
        opening,    ///< the connection never stood, or its TLS
        withoutTLS, ///< the same, because what the server says is no TLS
        open,       ///< it stood: the failure means that it is lost
    };
    StreamError(QAbstractSocket::SocketError code, QString text, Stage stage = Stage::opening)
        : m_code(code)
        , m_text(std::move(text))
        , m_stage(stage)
    {}
    QAbstractSocket::SocketError code() const { return m_code; }
    QString localizedText() const override { return m_text; }
    bool isConnectionLost() const override { return m_stage == Stage::open; }
    /// What goes wrong with TLS is the server's, and has words of its own.
    bool isUnreachable() const override;
    /// Whether TLS was to begin with the first byte, and the server speaks something else there.
    bool isWithoutTLS() const { return m_stage == Stage::withoutTLS; }

private:
    QAbstractSocket::SocketError m_code;
    QString m_text;
    Stage m_stage;
};

/// A TCP connection with TLS 1.2 at least. Certificates are judged by `TLSTrust`, host name included; a bad
/// one can't be accepted.
///
/// The first failure is told as it is; after it, every `send` and `receive` fails with
/// `MailError::connectionClosed`. An operation keeps the transport alive until it ends.
class StreamTransport final : public MailTransport, public std::enable_shared_from_this<StreamTransport> {
public:
    /// The most that one `receive` gives, and the most that is read ahead of it, in bytes.
    static constexpr qsizetype maximumRead = 0x40000;
    /// `send` writes pieces of at most this many bytes, each with a time-out of its own.
    static constexpr qsizetype maximumWrite = 0x40000;
    /// For every single read and write, however busy the connection is meanwhile; connecting and the
    /// handshake count towards the first.
    static constexpr std::chrono::seconds defaultTimeout{60};

    /// Begins to connect. What goes wrong shows in the first `send` or `receive`.
    static std::shared_ptr<StreamTransport> open(const QString& host, int port, bool implicitTLS,
                                                 std::chrono::milliseconds timeout = defaultTimeout);
    ~StreamTransport() override;

    /// Fails as `MailTransport` tells; a time-out is `MailError::connectionSilent`.
    Task<> send(QByteArray data) override;
    Task<QByteArray> receive() override;
    /// Fails with `MailError::protocolError` "Unexpected data before TLS." if bytes have come that nobody
    /// received: whoever sent them in the clear must not be heard after the upgrade.
    Task<> startTLS() override;
    void setReceiveTimeout(std::chrono::milliseconds timeout) override { m_receiveTimeout = timeout; }
    void close() override;

private:
    StreamTransport(const QString& host, std::chrono::milliseconds timeout);

    void connectToHost(int port, bool implicitTLS);
    bool isReady() const;
    bool isWritten() const;
    void noteOpen();
    void noteFailure(QAbstractSocket::SocketError error);
    void noteWritten();
    bool hasEnded() const;
    bool hasReadableBytes() const;
    Task<> waitForEvent(QDeadlineTimer deadline);
    Task<> write(QByteArray piece);
    void checkAlive();
    [[noreturn]] void failWithSocketError();
    template <typename Error>
    [[noreturn]] void fail(Error error);

    struct DeleteLater {
        void operator()(QSslSocket* socket) const;
    };

    /// The failure of a handshake that no certificate is to blame for.
    StreamError handshakeError() const;

    QString m_host;
    int m_port = 0;
    std::chrono::milliseconds m_timeout;
    std::chrono::milliseconds m_receiveTimeout;
    std::unique_ptr<QSslSocket, DeleteLater> m_socket;
    Wakeup m_wakeup;
    QList<QSslError> m_certificateErrors;
    bool m_wantsTLS = false;
    bool m_beginsWithTLS = false;
    bool m_isOpen = false;         ///< the connection has stood, in TLS where it is wanted
    bool m_hasFailed = false;      ///< of TLS, though the connection below it may stand
    bool m_isFlushed = true;       ///< the system has all that was written
    bool m_hasAuthorities = false; ///< without them nothing begins with TLS, nor goes over to it
    bool m_isDead = false;
};

/// The production factory of transports.
namespace MailTransports {
Task<std::shared_ptr<MailTransport>> open(QString host, int port, bool implicitTLS);
}

} // namespace Larkhaven
