#include "support/ScriptedTransport.h"

#include "domain/MailError.h"
#include "protocols/StreamTransport.h"

#include <QCoreApplication>

#include <algorithm>
#include <coroutine>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Lets a coroutine go on from the event loop.
struct NextTurn {
    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> waiter) const
    {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [waiter] { waiter.resume(); }, Qt::QueuedConnection);
    }
    void await_resume() const {}
};

std::string shown(QByteArrayView bytes)
{
    constexpr qsizetype most = 400;
    QByteArray text = bytes.first(std::min(most, bytes.size())).toByteArray();
    text.replace('\\', "\\\\").replace('\r', "\\r").replace('\n', "\\n").replace('\0', "\\x00");
    return '"' + text.toStdString() + (bytes.size() > most ? "…\"" : "\"");
}

QByteArray unescaped(const QByteArray& text)
{
    QByteArray bytes;
    for (qsizetype index = 0; index < text.size(); ++index) {
        if (text[index] != '\\') {
            bytes += text[index];
            continue;
        }
        switch (text.at(++index)) {
        case 'r':
            bytes += '\r';
            break;
        case 'n':
            bytes += '\n';
            break;
        case 't':
            bytes += '\t';
            break;
        case 'x':
            bytes += QByteArray::fromHex(text.sliced(index + 1, 2));
            index += 2;
            break;
        default:
            bytes += text[index];
        }
    }
    return bytes;
}

} // namespace

Script::Script(std::string_view text, Chunks chunks, const Place& where)
    : m_chunks(chunks)
    , m_where(where)
{
    then(text);
}

Script& Script::then(std::string_view text)
{
    const QList<QByteArray> lines = QByteArray(text.data(), static_cast<qsizetype>(text.size())).split('\n');
    for (const QByteArray& line : lines)
        addLine(line);
    return *this;
}

void Script::addLine(const QByteArray& indented)
{
    // Only what the line begins with is cut: blanks at its end are part of the transcript.
    qsizetype start = 0;
    while (start < indented.size() && (indented[start] == ' ' || indented[start] == '\t'))
        ++start;
    const QByteArray line = indented.sliced(start);
    if (line.isEmpty() || line.startsWith('#'))
        return;
    constexpr qsizetype markSize = 3;
    const QByteArray bytes = line.sliced(std::min(markSize, line.size()));
    constexpr QByteArrayView literalMark("[LITERAL]");
    if (line.startsWith("C: ") && line.endsWith(literalMark))
        add(Turn::announcement, bytes.chopped(literalMark.size()))
            .add(Turn::server, "+ go on\r\n")
            .add(Turn::literal, {});
    else if (line.startsWith("C: "))
        add(Turn::client, bytes + "\r\n");
    else if (line.startsWith("S: "))
        add(Turn::server, bytes + "\r\n");
    else if (line.startsWith("C= "))
        add(Turn::client, unescaped(bytes));
    else if (line.startsWith("S= "))
        add(Turn::server, unescaped(bytes));
    else if (line == "[MESSAGE]")
        add(Turn::message, {});
    else if (line == "[STARTTLS]")
        add(Turn::startTLS, {});
    else if (line == "[CLOSE]")
        add(Turn::close, {});
    else if (line == "[TIMEOUT]")
        add(Turn::timeOut, {});
    else if (line == "[REFUSED]" && m_steps.isEmpty())
        add(Turn::refuse, {});
    else if (line == "[WITHOUT TLS]" && m_steps.isEmpty())
        add(Turn::withoutTLS, {});
    else
        throw ScriptError("no line of a script: " + line.toStdString());
}

Script& Script::add(Turn turn, const QByteArray& bytes)
{
    m_steps.append({turn, bytes});
    return *this;
}

std::shared_ptr<ScriptedTransport> ScriptedTransport::create(const Script& script)
{
    return std::shared_ptr<ScriptedTransport>(new ScriptedTransport(script));
}

Script::Turn ScriptedTransport::turn() const
{
    // Behind its end the script waits for the client in vain.
    return m_step < m_script.m_steps.size() ? m_script.m_steps[m_step].turn : Script::Turn::client;
}

QByteArray ScriptedTransport::remaining() const
{
    return m_step < m_script.m_steps.size() ? m_script.m_steps[m_step].bytes.sliced(m_offset) : QByteArray();
}

void ScriptedTransport::advance(qsizetype count)
{
    m_offset += count;
    if (m_offset == m_script.m_steps[m_step].bytes.size())
        nextStep();
}

void ScriptedTransport::nextStep()
{
    ++m_step;
    m_offset = 0;
}

void ScriptedTransport::leaveScript(const QString& what) const
{
    ADD_FAILURE_AT(m_script.m_where.file, m_script.m_where.line)
        << "step " << m_step + 1 << " of the script: " << what.toStdString();
    throw ScriptError(what.toStdString());
}

void ScriptedTransport::checkConnected()
{
    if (m_isClosed || m_isDead)
        throw MailError::connectionClosed();
    const Script::Turn now = turn();
    if (now != Script::Turn::close && now != Script::Turn::refuse && now != Script::Turn::withoutTLS)
        return;
    m_isDead = true;
    advance(0);
    if (now == Script::Turn::refuse)
        throw StreamError(QAbstractSocket::ConnectionRefusedError, u"Connection refused"_s);
    if (now == Script::Turn::withoutTLS)
        throw StreamError(QAbstractSocket::SslHandshakeFailedError, u"There is no TLS here."_s,
                          StreamError::Stage::withoutTLS);
    throw MailError::connectionClosed();
}

Task<> ScriptedTransport::send(QByteArray data)
{
    const auto self = shared_from_this();
    ++m_sendCount;
    co_await NextTurn();
    checkConnected();
    takeFromClient(data);
}

void ScriptedTransport::takeFromClient(QByteArrayView data)
{
    switch (turn()) {
    case Script::Turn::announcement:
        return takeAnnouncement(data);
    case Script::Turn::literal:
        return takeLiteral(data);
    case Script::Turn::message:
        return takeMessage(data);
    default:
        break;
    }
    while (!data.isEmpty()) {
        // The connection may end within what the client says.
        checkConnected();
        const QByteArray expected = remaining();
        if (turn() != Script::Turn::client || expected.isEmpty())
            leaveScript(QString::fromStdString("the client says " + shown(data) +
                                               " where it isn't its turn; next is " + shown(expected)));
        const qsizetype count = std::min(data.size(), expected.size());
        if (data.first(count) != QByteArrayView(expected).first(count))
            leaveScript(
                QString::fromStdString("the client says " + shown(data) + " in place of " + shown(expected)));
        advance(count);
        data = data.sliced(count);
    }
}

void ScriptedTransport::takeAnnouncement(QByteArrayView data)
{
    const QByteArray expected = remaining();
    QByteArray size = data.toByteArray();
    const bool isAnnouncement = size.startsWith(expected + '{') && size.endsWith("}\r\n");
    bool isNumber = false;
    if (isAnnouncement) {
        size.chop(3);
        m_literalSize = size.sliced(expected.size() + 1).toLongLong(&isNumber);
    }
    if (!isNumber)
        leaveScript(QString::fromStdString("the client says " + shown(data) +
                                           " in place of a literal behind " + shown(expected)));
    nextStep();
}

void ScriptedTransport::takeLiteral(QByteArrayView data)
{
    m_keeping += data;
    if (m_keeping.size() < m_literalSize + 2)
        return;
    if (m_keeping.size() > m_literalSize + 2 || !m_keeping.endsWith("\r\n"))
        leaveScript(u"the client says more or less than the literal that it announced"_s);
    m_kept.append(std::exchange(m_keeping, {}).chopped(2));
    nextStep();
}

void ScriptedTransport::takeMessage(QByteArrayView data)
{
    constexpr QByteArrayView end("\r\n.\r\n");
    m_keeping += data;
    const qsizetype found = m_keeping.indexOf(end);
    if (found < 0)
        return;
    if (found + end.size() < m_keeping.size())
        leaveScript(u"the client goes on behind the end of its message"_s);
    m_kept.append(std::exchange(m_keeping, {}).chopped(3));
    nextStep();
}

Task<QByteArray> ScriptedTransport::receive()
{
    const auto self = shared_from_this();
    ++m_receiveCount;
    co_await NextTurn();
    checkConnected();
    if (turn() == Script::Turn::timeOut) {
        advance(0);
        m_isDead = true;
        throw MailError::connectionSilent();
    }
    if (turn() != Script::Turn::server)
        leaveScript(QString::fromStdString("the client waits, and ought to say " + shown(remaining())));
    co_return nextChunk();
}

QByteArray ScriptedTransport::nextChunk()
{
    QByteArray chunk;
    switch (m_script.m_chunks) {
    case Chunks::byteByByte:
        chunk = remaining().first(1);
        advance(1);
        break;
    case Chunks::lines:
        chunk = remaining();
        advance(chunk.size());
        break;
    case Chunks::whole:
        while (turn() == Script::Turn::server) {
            const QByteArray piece = remaining();
            advance(piece.size());
            chunk += piece;
        }
    }
    return chunk;
}

Task<> ScriptedTransport::startTLS()
{
    const auto self = shared_from_this();
    co_await NextTurn();
    checkConnected();
    if (turn() != Script::Turn::startTLS || m_step >= m_script.m_steps.size())
        leaveScript(u"the client begins TLS where it isn't its turn"_s);
    advance(0);
}

void ScriptedTransport::expectUsedUp() const
{
    if (m_step < m_script.m_steps.size())
        ADD_FAILURE_AT(m_script.m_where.file, m_script.m_where.line)
            << "the script was left at step " << m_step + 1 << ": " << shown(remaining());
}

ScriptedServer::ScriptedServer(const QList<Script>& scripts, const Place& where)
    : m_scripts(scripts)
    , m_where(where)
{}

TransportFactory ScriptedServer::factory()
{
    return [this](QString host, int port, bool implicitTLS) {
        return [](ScriptedServer* server, Opening opening) -> Task<std::shared_ptr<MailTransport>> {
            co_await NextTurn();
            co_return server->open(opening);
        }(this, {std::move(host), port, implicitTLS});
    };
}

std::shared_ptr<MailTransport> ScriptedServer::open(const Opening& opening)
{
    m_openings.append(opening);
    if (m_connections.size() == m_scripts.size()) {
        ADD_FAILURE_AT(m_where.file, m_where.line) << "one connection more than there are scripts";
        throw ScriptError("no script for the connection");
    }
    m_connections.append(ScriptedTransport::create(m_scripts[m_connections.size()]));
    return m_connections.last();
}

void ScriptedServer::expectUsedUp() const
{
    if (m_connections.size() < m_scripts.size())
        ADD_FAILURE_AT(m_where.file, m_where.line)
            << m_connections.size() << " of " << m_scripts.size() << " scripts were opened";
    for (const auto& connection : m_connections)
        connection->expectUsedUp();
}

} // namespace Larkhaven
