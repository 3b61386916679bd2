#pragma once

#include "protocols/MailTransport.h"
#include "support/Place.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <stdexcept>
#include <string_view>

namespace Larkhaven {

/// How a scripted server cuts what it says into chunks.
enum class Chunks {
    whole,      ///< everything up to the client's next turn at once
    lines,      ///< each "S:" line, or raw piece, by itself
    byteByByte, ///< the hardest case for whoever reads
};

/// The transcript that a connection must follow, byte for byte.
///
///     S: * OK ready            the server says the line and CRLF
///     C: P1 CAPABILITY         the client must say the line and CRLF
///     S= + \r                  raw bytes without a line end; \r \n \t \\ and \xHH are escapes
///     C= abc\x00
///     C: P4 APPEND x [LITERAL] the client must announce a literal; it is told to go on, and
///                              must say the literal and CRLF
///     [MESSAGE]                the client must say what ends with a line of one dot
///     [STARTTLS]               the client must begin TLS here
///     [CLOSE]                  the server ends the connection
///     [TIMEOUT]                the server says nothing for too long
///     [REFUSED]                there is no server: as the first line only
///     [WITHOUT TLS]            what the server says first is no TLS: as the first line only
///
/// Literals and messages so named are those that no script can know, as they hold random numbers and the
/// present time; they are kept for the test to look at. Blank lines and lines that begin with "#" are
/// skipped, as is the white space that a line begins with.
class Script {
public:
    // A script is written where it is read; `where` is what failures point to.
    Script(std::string_view text, Chunks chunks = Chunks::whole, const Place& where = Place::current());

    /// Adds bytes that are too many to write down.
    Script& server(const QByteArray& bytes) { return add(Turn::server, bytes); }
    Script& client(const QByteArray& bytes) { return add(Turn::client, bytes); }
    /// Adds further lines.
    Script& then(std::string_view text);

private:
    friend class ScriptedTransport;
    enum class Turn {
        client,
        announcement,
        literal,
        message,
        server,
        startTLS,
        close,
        timeOut,
        refuse,
        withoutTLS
    };
    struct Step {
        Turn turn;
        QByteArray bytes;
    };

    Script& add(Turn turn, const QByteArray& bytes);
    void addLine(const QByteArray& line);

    QList<Step> m_steps;
    Chunks m_chunks;
    Place m_where;
};

/// The script of a failed test was left. No `LocalizedError`, so that nothing takes it for a failure of the
/// mail logic.
class ScriptError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

/// An in-memory connection that follows a script. Any byte out of place fails the test and the operation.
///
/// Each operation completes in a later turn of the event loop, as on a network, but without any delay.
class ScriptedTransport final : public MailTransport, public std::enable_shared_from_this<ScriptedTransport> {
public:
    static std::shared_ptr<ScriptedTransport> create(const Script& script);

    Task<> send(QByteArray data) override;
    Task<QByteArray> receive() override;
    Task<> startTLS() override;
    void close() override { m_isClosed = true; }

    /// Fails the test if anything of the script is left.
    void expectUsedUp() const;
    /// Whether the client closed the connection.
    bool isClosed() const { return m_isClosed; }
    /// The literals and messages that were kept, without the line ends and dots that end them.
    const QList<QByteArray>& kept() const { return m_kept; }
    qsizetype sendCount() const { return m_sendCount; }
    qsizetype receiveCount() const { return m_receiveCount; }

private:
    explicit ScriptedTransport(const Script& script)
        : m_script(script)
    {}

    Script::Turn turn() const;
    QByteArray remaining() const;
    void advance(qsizetype count);
    void checkConnected();
    void takeFromClient(QByteArrayView data);
    void takeAnnouncement(QByteArrayView data);
    void takeLiteral(QByteArrayView data);
    void takeMessage(QByteArrayView data);
    void nextStep();
    QByteArray nextChunk();
    [[noreturn]] void leaveScript(const QString& what) const;

    Script m_script;
    qsizetype m_step = 0;
    qsizetype m_offset = 0; ///< within the bytes of the step
    qsizetype m_literalSize = 0;
    QByteArray m_keeping; ///< the part of a literal or message that has come
    QList<QByteArray> m_kept;
    bool m_isClosed = false;
    bool m_isDead = false;
    qsizetype m_sendCount = 0;
    qsizetype m_receiveCount = 0;
};

/// Hands out one scripted connection after the other, and notes what was asked for.
class ScriptedServer {
public:
    struct Opening {
        QString host;
        int port = 0;
        bool implicitTLS = false;

        bool operator==(const Opening&) const = default;
    };

    explicit ScriptedServer(const QList<Script>& scripts, const Place& where = Place::current());
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// The factory must not outlive the server.
    TransportFactory factory();
    const QList<Opening>& openings() const { return m_openings; }
    /// A connection that has been opened, from 0.
    const ScriptedTransport& connection(qsizetype index) const { return *m_connections.at(index); }

    /// Fails the test unless every script was opened and used up.
    void expectUsedUp() const;

private:
    std::shared_ptr<MailTransport> open(const Opening& opening);

    QList<Script> m_scripts;
    Place m_where;
    QList<Opening> m_openings;
    QList<std::shared_ptr<ScriptedTransport>> m_connections;
};

} // namespace Larkhaven
