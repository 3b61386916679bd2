#include "protocols/IMAPFetch.h"
#include "protocols/IMAPMailboxName.h"
#include "protocols/IMAPResponse.h"
#include "protocols/LineReader.h"
#include "protocols/SMTPClient.h"

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <memory>

// What lies between the bytes of a mail server and the values of its responses.

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr qsizetype mebibyte = 1'048'576;

void countBytes(benchmark::State& state, qsizetype size)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * size);
}

/// All the UIDs of a large mailbox.
QByteArray searchResponse(int count)
{
    QByteArray response = "* SEARCH";
    for (int uid = 1; uid <= count; ++uid)
        response += ' ' + QByteArray::number(100'000 + uid);
    return response + "\r\n";
}

QByteArray header(int uid)
{
    return "Date: Tue, 3 Mar 2026 10:11:12 +0100\r\nFrom: \"Ann Example\" <ann" + QByteArray::number(uid) +
           "@x.example>\r\nTo: Bob <bob@x.example>, carol@x.example\r\n"
           "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?= no. " +
           QByteArray::number(uid) + "\r\nContent-Type: multipart/alternative; boundary=\"b\"\r\n\r\n";
}

QByteArray fetchResponse(int uid, const QByteArray& body)
{
    return "* " + QByteArray::number(uid) + " FETCH (UID " + QByteArray::number(uid) +
           " FLAGS (\\Seen \\Answered) INTERNALDATE \" 3-Mar-2026 10:11:12 +0100\" RFC822.SIZE 12345 "
           "BODY[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)] {" +
           QByteArray::number(body.size()) + "}\r\n" + body + ")\r\n";
}

/// Hands out the bytes in chunks as large as a transport's, without waiting.
class CannedTransport final : public MailTransport {
public:
    explicit CannedTransport(const QByteArray& bytes)
        : m_bytes(bytes)
    {}

    Task<> send(QByteArray) override { co_return; }
    Task<QByteArray> receive() override
    {
        constexpr qsizetype chunkSize = 0x40000;
        const QByteArray chunk = m_bytes.mid(m_position, chunkSize);
        m_position += chunk.size();
        co_return chunk;
    }
    Task<> startTLS() override { co_return; }
    void close() override {}

private:
    QByteArray m_bytes;
    qsizetype m_position = 0;
};

Task<qsizetype> readFrames(LineReader* reader, int count)
{
    qsizetype size = 0;
    for (int frame = 0; frame < count; ++frame) {
        for (;;) {
            const QByteArray line = co_await reader->readLine();
            size += line.size();
            const std::optional<qint64> length = IMAPResponse::literalLength(line);
            if (!length)
                break;
            const QByteArray block = co_await reader->readBytes(*length);
            size += block.size();
        }
    }
    co_return size;
}

void searchOfAHundredThousandUIDs(benchmark::State& state)
{
    const QByteArray response = searchResponse(100'000);
    for ([[maybe_unused]] auto _ : state) {
        const IMAPResponse parsed = IMAPResponse::parse(response);
        qint64 sum = 0;
        for (const IMAPValue& value : parsed.values)
            sum += value.integer().value_or(0);
        benchmark::DoNotOptimize(sum);
    }
    countBytes(state, response.size());
}
BENCHMARK(searchOfAHundredThousandUIDs)->Unit(benchmark::kMillisecond);

void fetchOfAThousandHeaders(benchmark::State& state)
{
    QList<QByteArray> responses;
    qsizetype size = 0;
    for (int uid = 1; uid <= 1000; ++uid) {
        responses.append(fetchResponse(uid, header(uid)));
        size += responses.last().size();
    }
    for ([[maybe_unused]] auto _ : state) {
        for (const QByteArray& response : responses) {
            const IMAPResponse parsed = IMAPResponse::parse(response);
            IMAPFetch fetch(*parsed.values.at(2).list());
            benchmark::DoNotOptimize(fetch);
        }
    }
    countBytes(state, size);
}
BENCHMARK(fetchOfAThousandHeaders)->Unit(benchmark::kMillisecond);

void literalOfTwentyFiveMegabytes(benchmark::State& state)
{
    const QByteArray response = fetchResponse(1, QByteArray(25 * mebibyte, 'x'));
    for ([[maybe_unused]] auto _ : state) {
        const IMAPResponse parsed = IMAPResponse::parse(response);
        benchmark::DoNotOptimize(parsed.values.size());
    }
    countBytes(state, response.size());
}
BENCHMARK(literalOfTwentyFiveMegabytes)->Unit(benchmark::kMillisecond);

void framingOfALiteralOfTwentyFiveMegabytes(benchmark::State& state)
{
    const QByteArray response = fetchResponse(1, QByteArray(25 * mebibyte, 'x'));
    for ([[maybe_unused]] auto _ : state) {
        LineReader reader(std::make_shared<CannedTransport>(response));
        const Task<qsizetype> frames = readFrames(&reader, 1);
        benchmark::DoNotOptimize(frames.isReady());
    }
    countBytes(state, response.size());
}
BENCHMARK(framingOfALiteralOfTwentyFiveMegabytes)->Unit(benchmark::kMillisecond);

void framingOfAThousandHeaders(benchmark::State& state)
{
    QByteArray bytes;
    for (int uid = 1; uid <= 1000; ++uid)
        bytes += fetchResponse(uid, header(uid));
    for ([[maybe_unused]] auto _ : state) {
        LineReader reader(std::make_shared<CannedTransport>(bytes));
        const Task<qsizetype> frames = readFrames(&reader, 1000);
        benchmark::DoNotOptimize(frames.isReady());
    }
    countBytes(state, bytes.size());
}
BENCHMARK(framingOfAThousandHeaders)->Unit(benchmark::kMillisecond);

void hostileParentheses(benchmark::State& state)
{
    const QByteArray response = "* " + QByteArray("(x)((").repeated(mebibyte / 5);
    for ([[maybe_unused]] auto _ : state) {
        const IMAPResponse parsed = IMAPResponse::parse(response);
        benchmark::DoNotOptimize(parsed.values.size());
    }
    countBytes(state, response.size());
}
BENCHMARK(hostileParentheses)->Unit(benchmark::kMillisecond);

void mailboxNames(benchmark::State& state)
{
    const QString name = u"Projekte/Entwürfe/台北 & 日本語"_s;
    for ([[maybe_unused]] auto _ : state) {
        const QString decoded = decodeMailboxName(encodeMailboxName(name));
        benchmark::DoNotOptimize(decoded.size());
    }
}
BENCHMARK(mailboxNames);

void stuffingOfAComposedMessage(benchmark::State& state)
{
    const QByteArray message = QByteArray(76, 'x').append("\r\n").repeated(25 * mebibyte / 78);
    for ([[maybe_unused]] auto _ : state) {
        const QByteArray stuffed = SMTPClient::stuffedMessage(message);
        benchmark::DoNotOptimize(stuffed.size());
    }
    countBytes(state, message.size());
}
BENCHMARK(stuffingOfAComposedMessage)->Unit(benchmark::kMillisecond);

void stuffingOfNothingButDots(benchmark::State& state)
{
    const QByteArray message = QByteArray(".\n").repeated(mebibyte / 2);
    for ([[maybe_unused]] auto _ : state) {
        const QByteArray stuffed = SMTPClient::stuffedMessage(message);
        benchmark::DoNotOptimize(stuffed.size());
    }
    countBytes(state, message.size());
}
BENCHMARK(stuffingOfNothingButDots)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Larkhaven

BENCHMARK_MAIN();
