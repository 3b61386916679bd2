#pragma once

#include "domain/MailError.h"
#include "protocols/MailTransport.h"

#include <QByteArray>

#include <algorithm>

namespace Larkhaven::Bench {

/// Hands out what a server says in chunks of one size, whatever it is told, and never waits.
class Canned final : public MailTransport {
public:
    /// As much as a transport gives at once.
    static constexpr qsizetype usualChunk = 256 * 1024;

    explicit Canned(QByteArray bytes, qsizetype chunk = usualChunk)
        : m_bytes(std::move(bytes))
        , m_chunk(chunk)
    {}

    Task<> send(QByteArray) override { co_return; }
    Task<QByteArray> receive() override
    {
        if (m_position >= m_bytes.size())
            throw MailError::connectionClosed();
        const QByteArray chunk = m_bytes.mid(m_position, m_chunk);
        m_position += chunk.size();
        co_return chunk;
    }
    Task<> startTLS() override { co_return; }
    void close() override { m_position = m_bytes.size(); }

private:
    QByteArray m_bytes;
    qsizetype m_chunk;
    qsizetype m_position = 0;
};

} // namespace Larkhaven::Bench
