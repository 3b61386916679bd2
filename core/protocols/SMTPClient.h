#pragma once

#include "domain/Account.h"
#include "protocols/LineReader.h"
#include "protocols/MailAuth.h"
#include "protocols/MailTransport.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <chrono>
#include <memory>
#include <span>

/// Hands messages to a submission server (RFC 6409, RFC 5321): one connection for each message, opened,
/// secured, signed in, used and closed within one call. No queue, no pipelining, no repetition.
///
/// Failures close the connection at once:
///   `protocolError`  the server refused a step ("The mail server said: {code} {text}"), or broke the
///                    protocol; or the connection failed, in the words of `MailTransport`
///   `notSignedIn`    the server refused the credential
///   `unsupported`    the server offers no STARTTLS or no way to sign in that fits, or an address is none or
///                    is beyond what the server takes
/// A failure after the end of the message was sent, for which no refusal came, is a `MailError` that
/// `mayHaveBeenSent`.
///
/// Main thread. A call shares nothing with any other.
namespace Larkhaven::SMTPClient {

/// The most lines of one reply.
inline constexpr qsizetype replyLineLimit = 999;
/// The most that the lines of one reply hold together, in bytes: as much as a single line may hold. RFC 5321,
/// 4.5.3.1.5 knows lines of 512.
inline constexpr qsizetype replySizeLimit = LineReader::lineLimit;
/// How much of a server's text reaches the user, in user-perceived characters.
inline constexpr qsizetype errorTextLimit = 300;
/// Messages above this size in bytes are stuffed on a worker.
inline constexpr qsizetype workerThreshold = 64 * 1024;

/// How long the answer to the end of a message is waited for (RFC 5321, 4.5.3.2.6).
inline constexpr std::chrono::minutes acceptanceTimeout{10};
/// How long any other answer is waited for.
inline constexpr std::chrono::minutes answerTimeout{1};

/// Sends a finished message from an address to others. What must not be revealed to the recipients is not in
/// `data`. Once the server has taken the message the call succeeds, whatever happens to the connection.
///
/// An address beyond ASCII needs a server with SMTPUTF8 (RFC 6531); before any address is told to one
/// without it, the call fails with `MailError::unsupported` that names the first such address.
Task<> send(ServerSettings settings, MailAuth auth, TransportFactory factory, QString from,
            QList<QString> recipients, QByteArray data);

/// Proves that the settings and the credential work: all of `send` but the message.
Task<> verify(ServerSettings settings, MailAuth auth, TransportFactory factory);

/// The address itself, if it can stand in a command: exactly one "@" with something before and behind it, and
/// neither white space, halves of surrogate pairs nor any of `<>,;"()[]\`. Otherwise fails with
/// `MailError::unsupported`.
QString validateAddress(const QString& address);

/// The bytes that follow DATA (RFC 5321, 4.5.2): each line feed behind a carriage return, a dot before each
/// line that begins with one, and the line that ends the message. A carriage return alone stays as it is.
QByteArray stuffedMessage(QByteArrayView data);

/// A reply (RFC 5321, 4.2): the code of its last line, and all lines without their first four characters.
struct Reply {
    int code = 0;
    QList<QString> lines;

    bool operator==(const Reply&) const = default;
};

/// The dialogue on one connection. Used by one task at a time; whoever waits for an operation keeps it alive.
class Session {
public:
    /// Codes of replies. What they are viewed in must outlive the operation.
    using Codes = std::span<const int>;

    explicit Session(std::shared_ptr<MailTransport> transport)
        : m_reader(std::move(transport))
    {}

    /// Sends a line and gives the lines of the reply. Fails with `MailError::protocolError` "Invalid SMTP
    /// command." for a text with a line end in it, which sends nothing; and as `expect` does.
    Task<QList<QString>> command(QString text, Codes expected);
    /// Reads a reply and gives its lines. Fails with `MailError::protocolError` "The mail server said: {code}
    /// {text}" where its code is none of the expected ones.
    Task<QList<QString>> expect(Codes expected);
    /// Fails with `MailError::protocolError` "Unexpected SMTP reply." or "SMTP reply too long.", and as
    /// `MailTransport::receive` does.
    Task<Reply> readReply();

    /// Reads the greeting, secures the connection and signs in.
    Task<> open(ServerSettings settings, MailAuth auth);
    /// Hands over a message.
    Task<> submit(QString from, QList<QString> recipients, QByteArray data);
    /// Says goodbye; a failure of that is dropped.
    Task<> quit();

private:
    Task<> greet();
    Task<> expectAcceptance();
    bool offers(QLatin1StringView keyword) const;
    QString senderParameters(const QList<QString>& addresses, const QByteArray& data) const;
    Task<> upgradeToTLS(QString host);
    Task<> signIn(ServerSettings settings, QString password, QString mechanisms);
    Task<> signInWithToken(ServerSettings settings, std::shared_ptr<TokenSource> manager, QString mechanisms);
    Task<int> tryToken(QByteArray payload);

    LineReader m_reader;
    QList<QString> m_offers; ///< the lines of the last EHLO
};

} // namespace Larkhaven::SMTPClient
