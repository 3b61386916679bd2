#pragma once

#include "protocols/MailTransport.h"

#include <QByteArray>
#include <QByteArrayView>

#include <memory>
#include <optional>

namespace Larkhaven {

/// Turns the chunks of a transport into lines and blocks of exact length. Used by one task at a time, on the
/// main thread; whoever waits for an operation keeps the reader alive.
class LineReader {
public:
    /// The most that may be buffered while no line feed is there, in bytes.
    static constexpr qsizetype lineLimit = 0xffffff;
    /// The largest block that `readBytes` accepts, in bytes (100 MiB).
    static constexpr qsizetype blockLimit = 0x6400000;

    explicit LineReader(std::shared_ptr<MailTransport> transport)
        : m_transport(std::move(transport))
    {}

    /// The transport that is read from; writes go straight to it.
    MailTransport& transport() const { return *m_transport; }

    /// Whether bytes have been received and not been handed out yet.
    bool hasBufferedBytes() const { return m_offset < m_buffer.size(); }

    /// The next line without its end, where all of it has been received; it is still the next one then, and
    /// the view lives until the next call. What need not wait costs no coroutine: a listing has a response
    /// for each message.
    std::optional<QByteArrayView> bufferedLine() const;
    /// Takes the line that `bufferedLine` returned.
    void skipBufferedLine();

    /// The bytes of one line without its end, which is LF or CRLF. Fails with `MailError::protocolError`
    /// "Server response too long." past `lineLimit`, and as `MailTransport::receive` does; then the buffer is
    /// as it was.
    Task<QByteArray> readLine();

    /// Exactly `count` bytes. Fails at once with `MailError::protocolError` "Server response too large." past
    /// `blockLimit`, and as `MailTransport::receive` does.
    Task<QByteArray> readBytes(qsizetype count);

private:
    /// The longest line, in bytes, that is copied out of the buffer.
    static constexpr qsizetype copiedLine = 64 * 1024;
    /// A line that is longer, in bytes, gets the memory of the longest at once.
    static constexpr qsizetype longLine = 1024 * 1024;

    /// The unread bytes before the line feed at the position, which is taken with them.
    QByteArray takeUntil(qsizetype lineFeed);
    /// What the last chunk may hold besides, in bytes.
    static constexpr qsizetype chunkRoom = 0x40000;

    /// Adds a chunk to the buffer. `expected` is how many unread bytes the buffer will hold in the end, as
    /// far as known.
    Task<> receiveMore(qsizetype expected);

    std::shared_ptr<MailTransport> m_transport;
    QByteArray m_buffer;
    qsizetype m_offset = 0; ///< of the first byte that wasn't handed out
};

} // namespace Larkhaven
