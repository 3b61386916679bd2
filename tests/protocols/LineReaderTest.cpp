#include "protocols/LineReader.h"

#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString closedText = u"The server closed the connection."_s;
constexpr qsizetype mebibyte = 1'048'576;

/// A reader over what a server says.
struct Reading {
    explicit Reading(const Script& script)
        : transport(ScriptedTransport::create(script))
        , reader(transport)
    {}

    QByteArray line() { return await(reader.readLine()); }
    QByteArray bytes(qsizetype count) { return await(reader.readBytes(count)); }

    std::shared_ptr<ScriptedTransport> transport;
    LineReader reader;
};

/// The server says these chunks, one for each `receive`.
Script chunks(const QByteArrayList& parts)
{
    Script script("", Chunks::lines);
    for (const QByteArray& part : parts)
        script.server(part);
    return script;
}

TEST(LineReader, YieldsTheLinesOfOneChunkOneByOneWithNoFurtherReceive)
{
    Reading reading(chunks({"one\r\ntwo\r\nthree\r\n"}));
    EXPECT_EQ(reading.line(), "one");
    EXPECT_EQ(reading.line(), "two");
    EXPECT_TRUE(reading.reader.hasBufferedBytes());
    EXPECT_EQ(reading.line(), "three");
    EXPECT_EQ(reading.transport->receiveCount(), 1);
    EXPECT_FALSE(reading.reader.hasBufferedBytes());
}

TEST(LineReader, YieldsALineThatIsSplitBetweenCRAndLFWithoutTheCR)
{
    Reading reading(chunks({"one\r", "\ntwo\r\n"}));
    EXPECT_EQ(reading.line(), "one");
    EXPECT_EQ(reading.line(), "two");
}

TEST(LineReader, YieldsALineThatEndsInLFAloneWhole)
{
    Reading reading(chunks({"one\ntwo\n"}));
    EXPECT_EQ(reading.line(), "one");
    EXPECT_EQ(reading.line(), "two");
}

TEST(LineReader, YieldsAnEmptyLineAsEmptyDataAndNotAsAFailure)
{
    Reading reading(chunks({"\r\n\n\r\n"}));
    EXPECT_EQ(reading.line(), "");
    EXPECT_EQ(reading.line(), "");
    EXPECT_EQ(reading.line(), "");
}

TEST(LineReader, EndsNoLineAtACarriageReturnAlone)
{
    Reading reading(chunks({"a\rb\r\r\nc\r", "d\n"}));
    EXPECT_EQ(reading.line(), "a\rb\r");
    EXPECT_EQ(reading.line(), "c\rd");
}

TEST(LineReader, YieldsTheSameByteByByte)
{
    const QByteArray text = "one\r\n\r\nt\rwo\n12345three\r\n";
    Reading reading(Script("", Chunks::byteByByte).server(text));
    EXPECT_EQ(reading.line(), "one");
    EXPECT_EQ(reading.line(), "");
    EXPECT_EQ(reading.line(), "t\rwo");
    EXPECT_EQ(reading.bytes(5), "12345");
    EXPECT_EQ(reading.line(), "three");
    EXPECT_EQ(reading.transport->receiveCount(), text.size());
}

TEST(LineReader, KeepsWhatCameBeforeAndBehindALongLine)
{
    const QByteArray longLine(mebibyte, 'x');
    Reading reading(chunks({"one\r\n" + longLine + "\r\ntwo\r\n12345th", "ree\r\n" + longLine + "\n"}));
    EXPECT_EQ(reading.line(), "one");
    EXPECT_EQ(reading.line(), longLine);
    EXPECT_EQ(reading.line(), "two");
    EXPECT_EQ(reading.bytes(5), "12345");
    EXPECT_EQ(reading.line(), "three");
    EXPECT_EQ(reading.line(), longLine);
    EXPECT_FALSE(reading.reader.hasBufferedBytes());
}

TEST(LineReader, AsksForMoreAtExactlyTheLineLimit)
{
    const QByteArray atLimit(LineReader::lineLimit, 'x');
    Reading reading(chunks({atLimit, "\r\n"}));
    EXPECT_EQ(reading.line(), atLimit);
    EXPECT_EQ(reading.transport->receiveCount(), 2);
}

TEST(LineReader, RefusesALineOnePastTheLimit)
{
    Reading reading(chunks({QByteArray(LineReader::lineLimit + 1, 'x'), "\r\n"}));
    expectProtocolError(reading.reader.readLine(), u"Server response too long."_s);
    EXPECT_EQ(reading.transport->receiveCount(), 1);
    EXPECT_TRUE(reading.reader.hasBufferedBytes()) << "the buffer stays as it was";
}

TEST(LineReader, AcceptsALineFeedThatArrivesWithMoreThanTheLimit)
{
    const QByteArray line(LineReader::lineLimit + 5, 'x');
    Reading reading(chunks({line + "\r\n"}));
    EXPECT_EQ(reading.line(), line);
}

TEST(LineReader, CountsOnlyWhatWasNotHandedOutTowardsTheLimit)
{
    const QByteArray first(10 * mebibyte, 'a');
    const QByteArray second(10 * mebibyte, 'b');
    Reading reading(chunks({first + "\r\n" + second, "\r\n"}));
    EXPECT_EQ(reading.line(), first);
    EXPECT_EQ(reading.line(), second);
}

TEST(LineReader, ReadsNothingForNoBytes)
{
    Reading reading(Script(""));
    EXPECT_EQ(reading.bytes(0), "");
    EXPECT_EQ(reading.transport->receiveCount(), 0);
}

TEST(LineReader, RefusesABlockPastTheLimitWithoutTouchingTheTransport)
{
    Reading reading(Script(""));
    expectProtocolError(reading.reader.readBytes(104'857'601), u"Server response too large."_s);
    EXPECT_EQ(reading.transport->receiveCount(), 0);
    EXPECT_EQ(reading.transport->sendCount(), 0);
}

TEST(LineReader, BeginsToReadABlockOfExactlyTheLimit)
{
    Reading reading(Script("[CLOSE]"));
    expectProtocolError(reading.reader.readBytes(104'857'600), closedText);
    EXPECT_EQ(reading.transport->receiveCount(), 1);
}

TEST(LineReader, ReadsBlocksAcrossChunksAndLeavesTheRest)
{
    Reading reading(chunks({"ab", "cdef\r\n", "gh"}));
    EXPECT_EQ(reading.bytes(3), "abc");
    EXPECT_EQ(reading.bytes(1), "d");
    EXPECT_EQ(reading.line(), "ef");
    EXPECT_EQ(reading.bytes(2), "gh");
    EXPECT_FALSE(reading.reader.hasBufferedBytes());
}

TEST(LineReader, ReadsABlockThatHoldsLineEndsAndZeros)
{
    const QByteArray block("\r\n\0\n\xff{", 6);
    Reading reading(chunks({"{6}\r\n" + block + "rest\r\n"}));
    EXPECT_EQ(reading.line(), "{6}");
    EXPECT_EQ(reading.bytes(6), block);
    EXPECT_EQ(reading.line(), "rest");
}

TEST(LineReader, KeepsItsBufferWhenAReceiveFails)
{
    Reading reading(Script("S= half a line\n[CLOSE]", Chunks::lines));
    expectProtocolError(reading.reader.readLine(), closedText);
    EXPECT_TRUE(reading.reader.hasBufferedBytes());
    EXPECT_EQ(reading.bytes(4), "half");
    expectProtocolError(reading.reader.readBytes(100), closedText);
    EXPECT_EQ(reading.bytes(7), " a line");
}

TEST(LineReader, SharesItsTransportWithWhoWrites)
{
    Reading reading(Script("C: hello\nS: world"));
    await(reading.reader.transport().send("hello\r\n"));
    EXPECT_EQ(reading.line(), "world");
    reading.transport->expectUsedUp();
}

TEST(LineReader, LooksAtEachByteOfALongLineOnce)
{
    // 16 MB in chunks of 1 KiB: searched anew for each of them, it would be 130 GB.
    const QByteArray part(1024, 'x');
    Script script("", Chunks::lines);
    for (qsizetype size = 0; size + part.size() <= LineReader::lineLimit; size += part.size())
        script.server(part);
    script.server("\r\n");
    Reading reading(script);
    EXPECT_EQ(reading.line().size(), LineReader::lineLimit / 1024 * 1024);
}

TEST(LineReader, HandsOutManyShortLinesOfALargeChunkWithoutMovingTheRestEachTime)
{
    constexpr int count = 2'000'000;
    Reading reading(chunks({QByteArray("abc\r\n").repeated(count)}));
    const auto readAll = [](LineReader* reader) -> Task<int> {
        int lines = 0;
        while (lines == 0 || reader->hasBufferedBytes()) {
            const QByteArray line = co_await reader->readLine();
            lines += line == "abc" ? 1 : 0;
        }
        co_return lines;
    };
    EXPECT_EQ(await(readAll(&reading.reader)), count);
}

} // namespace
} // namespace Larkhaven
