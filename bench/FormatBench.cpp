#include "format/AddressParser.h"
#include "format/HeaderParameters.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MailEncoding.h"
#include "format/MessageComposer.h"

#include <QByteArray>
#include <QString>

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>

// The reading of messages, which is what happens between the bytes of a server and a message on the screen,
// and their writing.

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr qsizetype mebibyte = 1'048'576;

/// Bytes without a pattern, the same in every run.
QByteArray noise(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1'664'525U + 1'013'904'223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

QByteArray base64Lines(qsizetype size)
{
    return MailEncoding::encodeBase64Lines(noise(size));
}

/// German prose in quoted-printable, of about that many bytes.
QByteArray quotedPrintable(qsizetype size)
{
    const QByteArray line =
        "Sch=C3=B6ne Gr=C3=BC=C3=9Fe aus K=C3=B6ln, wo es seit drei Tagen reg=\r\nnet.\r\n";
    return line.repeated(size / line.size());
}

void countBytes(benchmark::State& state, qsizetype size)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * size);
}

QByteArray messageWithAttachment(qsizetype attachmentSize)
{
    return "From: a@x.example\r\nSubject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\r\n"
           "Content-Type: multipart/mixed; boundary=outer\r\n\r\n"
           "--outer\r\nContent-Type: multipart/alternative; boundary=inner\r\n\r\n"
           "--inner\r\nContent-Type: text/plain; charset=utf-8\r\n"
           "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
           quotedPrintable(4096) +
           "\r\n--inner\r\nContent-Type: text/html; charset=utf-8\r\n"
           "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
           quotedPrintable(16'384) +
           "\r\n--inner--\r\n\r\n--outer\r\nContent-Type: application/pdf; name=x.pdf\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           base64Lines(attachmentSize) + "\r\n--outer--\r\n";
}

void parseMessageWithAttachment(benchmark::State& state)
{
    const QByteArray message = messageWithAttachment(state.range(0) * mebibyte * 3 / 4);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MIMEParser::parse(message));
    countBytes(state, message.size());
}
BENCHMARK(parseMessageWithAttachment)->Arg(1)->Arg(25)->Unit(benchmark::kMillisecond);

void parseSmallMessage(benchmark::State& state)
{
    const QByteArray message = messageWithAttachment(0);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MIMEParser::parse(message));
    countBytes(state, message.size());
}
BENCHMARK(parseSmallMessage);

void parsePlainMessage(benchmark::State& state)
{
    const QByteArray message = "Content-Type: text/plain; charset=utf-8\r\n\r\n" +
                               QByteArray("Ein Satz für den Test.\r\n").repeated(200'000);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MIMEParser::parse(message));
    countBytes(state, message.size());
}
BENCHMARK(parsePlainMessage)->Unit(benchmark::kMillisecond);

void decodeBase64(benchmark::State& state)
{
    const QByteArray encoded = base64Lines(25 * mebibyte);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::decodeBase64(encoded));
    countBytes(state, encoded.size());
}
BENCHMARK(decodeBase64)->Unit(benchmark::kMillisecond);

void encodeBase64Lines(benchmark::State& state)
{
    const QByteArray bytes = noise(25 * mebibyte);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::encodeBase64Lines(bytes));
    countBytes(state, bytes.size());
}
BENCHMARK(encodeBase64Lines)->Unit(benchmark::kMillisecond);

void base64URLDecode(benchmark::State& state)
{
    const QString encoded = MailEncoding::base64URLEncode(noise(25 * mebibyte));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::base64URLDecode(encoded));
    countBytes(state, encoded.size());
}
BENCHMARK(base64URLDecode)->Unit(benchmark::kMillisecond);

void decodeQuotedPrintable(benchmark::State& state)
{
    const QByteArray encoded = quotedPrintable(mebibyte);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::decodeQuotedPrintable(encoded, false));
    countBytes(state, encoded.size());
}
BENCHMARK(decodeQuotedPrintable)->Unit(benchmark::kMicrosecond);

void decodeHeader(benchmark::State& state)
{
    const QString subject =
        u"Re: =?UTF-8?Q?Gr=C3=BC=C3=9Fe_aus?= =?iso-8859-1?Q?_K=F6ln?= =?koi8-r?B?7cnS?="_s;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::decodeHeader(subject));
}
BENCHMARK(decodeHeader);

void decodeHostileHeader(benchmark::State& state)
{
    const QString subject = u"=?koi8-r?Q?a?="_s.repeated(4'600);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::decodeHeader(subject));
    countBytes(state, subject.size());
}
BENCHMARK(decodeHostileHeader)->Unit(benchmark::kMicrosecond);

void decodePlainHeader(benchmark::State& state)
{
    const QString subject = u"Re: the minutes of our last meeting, and what is left to do"_s;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::decodeHeader(subject));
}
BENCHMARK(decodePlainHeader);

void encodeHeader(benchmark::State& state)
{
    const QString subject = u"Grüße aus Köln: schöne Wünsche für das neue Jahr"_s;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailEncoding::encodeHeader(subject));
}
BENCHMARK(encodeHeader);

void splitHeadersOfAListing(benchmark::State& state)
{
    const QByteArray headers =
        "Date: Tue, 3 Mar 2026 10:11:12 +0100\r\nFrom: Ann Example <ann@mail.example>\r\n"
        "To: \"Doe, Bob\" <bob@mail.example>, carol@mail.example\r\n"
        "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\r\nContent-Type: text/plain\r\n\r\n";
    for ([[maybe_unused]] auto _ : state) {
        const MIMEHeaders fields = MIMEParser::splitHeaders(headers).headers;
        benchmark::DoNotOptimize(fields.date());
        benchmark::DoNotOptimize(fields.from());
        benchmark::DoNotOptimize(fields.to());
        benchmark::DoNotOptimize(fields.subject());
    }
}
BENCHMARK(splitHeadersOfAListing);

void parseAddressList(benchmark::State& state)
{
    const QString list = u"\"Doe, Bob\" <bob@mail.example>, carol@mail.example (Carol), "_s.repeated(500);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(AddressParser::parseList(list));
    countBytes(state, list.size());
}
BENCHMARK(parseAddressList)->Unit(benchmark::kMicrosecond);

void parseDate(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MailDate::parse(u"Tue, 3 Mar 2026 10:11:12 GMT"));
}
BENCHMARK(parseDate);

void parseParameters(benchmark::State& state)
{
    const QString text = u"attachment; filename*0*=utf-8''na%C3%AFve%20; filename*1=name.txt; size=1234"_s;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(HeaderParameters::parse(text));
}
BENCHMARK(parseParameters);

OutgoingMessage outgoingMessage(qsizetype attachmentSize)
{
    OutgoingMessage message;
    message.from = EmailAddress(u"Jürgen Groß"_s, u"juergen@mail.example"_s);
    message.to = {EmailAddress(u"Ann Example"_s, u"ann@mail.example"_s)};
    message.subject = u"Grüße aus Köln"_s;
    message.body = u"Schöne Grüße aus Köln, wo es seit drei Tagen regnet.\n"_s.repeated(80);
    message.htmlBody = u"<p>Schöne Grüße aus Köln, wo es seit drei Tagen regnet.</p>\n"_s.repeated(200);
    if (attachmentSize > 0)
        message.attachments = {{QUuid(), u"Übersicht.pdf"_s, u"application/pdf"_s, noise(attachmentSize)}};
    return message;
}

void composeMessage(benchmark::State& state)
{
    const OutgoingMessage message = outgoingMessage(state.range(0) * mebibyte);
    const QDateTime now(QDate(2026, 3, 3), QTime(10, 11, 12), Qt::UTC);
    qsizetype size = 0;
    for ([[maybe_unused]] auto _ : state) {
        const QByteArray bytes = MessageComposer::build(message, now);
        size = bytes.size();
    }
    countBytes(state, size);
}
BENCHMARK(composeMessage)->Arg(0)->Arg(1)->Arg(25)->Unit(benchmark::kMicrosecond);

void quoteReply(benchmark::State& state)
{
    const QString body = u"> Schöne Grüße aus Köln, wo es seit drei Tagen regnet.\n"_s.repeated(20'000);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MessageComposer::quotedReply(body, u"Ann"_s, u"ann@x"_s, std::nullopt));
    countBytes(state, body.size());
}
BENCHMARK(quoteReply)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace Larkhaven

BENCHMARK_MAIN();
