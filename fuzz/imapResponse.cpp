#include "protocols/IMAPResponse.h"

#include "domain/MailError.h"
#include "protocols/IMAPFetch.h"
#include "protocols/LineReader.h"

#include <QByteArray>
#include <QList>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

// A server may send anything. What is read from it must not depend on how the network cuts it.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Hands out the bytes in chunks of a fixed size, and then tells the end of the stream. It never waits, so
/// that no event loop is needed.
class CannedTransport final : public MailTransport {
public:
    CannedTransport(QByteArray bytes, qsizetype chunkSize)
        : m_bytes(std::move(bytes))
        , m_chunkSize(chunkSize)
    {}

    Task<> send(QByteArray) override { co_return; }
    Task<QByteArray> receive() override
    {
        if (m_position >= m_bytes.size())
            throw MailError::protocolError(QStringLiteral("The server closed the connection."));
        const QByteArray chunk = m_bytes.mid(m_position, m_chunkSize);
        m_position += chunk.size();
        co_return chunk;
    }
    Task<> startTLS() override { co_return; }
    void close() override {}

private:
    QByteArray m_bytes;
    qsizetype m_chunkSize;
    qsizetype m_position = 0;
};

Task<> frameAll(std::shared_ptr<LineReader> reader, std::shared_ptr<QList<QByteArray>> frames)
{
    try {
        for (;;) {
            QByteArray frame;
            for (;;) {
                const QByteArray line = co_await reader->readLine();
                require(!line.contains('\n'));
                frame += line + "\r\n";
                const std::optional<qint64> length = IMAPResponse::literalLength(line);
                if (!length)
                    break;
                const QByteArray block = co_await reader->readBytes(*length);
                require(block.size() == *length);
                frame += block;
            }
            frames->append(frame);
        }
    } catch (const MailError&) {
        // The end of the stream, or a literal that is too large.
    }
}

QList<QByteArray> framesOf(const QByteArray& bytes, qsizetype chunkSize)
{
    const auto frames = std::make_shared<QList<QByteArray>>();
    const auto transport = std::make_shared<CannedTransport>(bytes, chunkSize);
    const Task<> task = frameAll(std::make_shared<LineReader>(transport), frames);
    require(task.isReady());
    return *frames;
}

qsizetype depthOf(const IMAPValue& value)
{
    qsizetype depth = 0;
    if (const std::optional<IMAPValues> list = value.list()) {
        for (const IMAPValue& element : *list)
            depth = std::max(depth, depthOf(element) + 1);
    }
    return depth;
}

void checkResponse(const QByteArray& frame)
{
    const IMAPResponse response = IMAPResponse::parse(frame);
    require(response == IMAPResponse::parse(frame));
    require(response == IMAPResponse::parseCopy(frame));
    require(response.values.size() <= frame.size());
    require(response.kind != IMAPResponse::Kind::continuation || response.values.isEmpty());
    for (const IMAPValue& value : response.values) {
        require(depthOf(value) <= IMAPResponse::depthLimit);
        require(value.text().has_value() == value.data().has_value());
        if (const std::optional<IMAPValues> list = value.list()) {
            const IMAPFetch fetch(*list);
            require(!fetch.body() || !fetch.items.isEmpty());
            require(fetch.hasBody() == fetch.body().has_value());
        }
    }
    response.statusText();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    constexpr qsizetype whole = 0x40000;
    const QList<QByteArray> frames = framesOf(bytes, whole);
    require(frames == framesOf(bytes, 1));
    require(frames == framesOf(bytes, 3));
    for (const QByteArray& frame : frames)
        checkResponse(frame);
    checkResponse(bytes);
    return 0;
}
