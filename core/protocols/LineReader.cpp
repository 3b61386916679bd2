#include "protocols/LineReader.h"

#include "protocols/ResponseTooLarge.h"

#include <QCoreApplication>

#include <algorithm>
#include <utility>

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(LineReader)
};

} // namespace

Task<> LineReader::receiveMore(qsizetype expected)
{
    const QByteArray chunk = co_await m_transport->receive();
    m_buffer.remove(0, std::exchange(m_offset, 0));
    if (m_buffer.isEmpty() && chunk.size() >= expected) {
        m_buffer = chunk;
        co_return;
    }
    // Memory that nothing is written to costs nothing. Without it a line of megabytes was moved at each of
    // its doublings, a third of the time of a search of 1,000,000 messages, and a block by what its last
    // chunk holds of what follows.
    const qsizetype size = m_buffer.size() + chunk.size();
    const qsizetype least = expected > 0 ? expected : size > longLine ? lineLimit : 0;
    if (least > 0 && std::max(size, least) > m_buffer.capacity())
        m_buffer.reserve(least + chunkRoom);
    m_buffer.append(chunk);
}

QByteArray LineReader::takeUntil(qsizetype lineFeed)
{
    if (lineFeed - m_offset <= copiedLine) {
        const qsizetype start = std::exchange(m_offset, lineFeed + 1);
        return m_buffer.sliced(start, lineFeed - start);
    }
    // The buffer itself becomes the line; only what came behind it, less than a chunk, is copied.
    QByteArray line = std::exchange(m_buffer, m_buffer.sliced(lineFeed + 1));
    line.truncate(lineFeed);
    line.remove(0, std::exchange(m_offset, 0));
    return line;
}

std::optional<QByteArrayView> LineReader::bufferedLine() const
{
    const qsizetype lineFeed = m_buffer.indexOf('\n', m_offset);
    if (lineFeed < 0)
        return std::nullopt;
    const QByteArrayView line = QByteArrayView(m_buffer).sliced(m_offset, lineFeed - m_offset);
    return line.endsWith('\r') ? line.chopped(1) : line;
}

void LineReader::skipBufferedLine()
{
    m_offset = m_buffer.indexOf('\n', m_offset) + 1;
}

Task<QByteArray> LineReader::readLine()
{
    // Counted from the first unread byte, which moves when the buffer is compacted.
    qsizetype searched = 0;
    for (;;) {
        const qsizetype lineFeed = m_buffer.indexOf('\n', m_offset + searched);
        if (lineFeed >= 0) {
            QByteArray line = takeUntil(lineFeed);
            if (line.endsWith('\r'))
                line.chop(1);
            co_return line;
        }
        searched = m_buffer.size() - m_offset;
        if (searched > lineLimit)
            throw MailError::protocolError(Texts::tr("Server response too long."));
        co_await receiveMore(0);
    }
}

Task<QByteArray> LineReader::readBytes(qsizetype count)
{
    if (count > blockLimit)
        throw ResponseTooLarge(Texts::tr("Server response too large."));
    if (m_buffer.size() - m_offset >= count) {
        const QByteArray block = m_buffer.sliced(m_offset, count);
        m_offset += count;
        co_return block;
    }
    while (m_buffer.size() - m_offset < count)
        co_await receiveMore(count);
    // The buffer itself becomes the block; only what came behind it, less than a chunk, is copied.
    QByteArray rest = m_buffer.sliced(count);
    m_buffer.truncate(count);
    co_return std::exchange(m_buffer, std::move(rest));
}

} // namespace Larkhaven
