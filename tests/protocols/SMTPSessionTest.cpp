#include "SMTPDialogue.h"
#include "protocols/SMTPClient.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"

#include <array>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace SMTPDialogue;

namespace {

// --- Commands and replies

constexpr std::array ok{250};

/// A session on a connection of its own.
struct Talking {
    explicit Talking(const Script& script)
        : transport(ScriptedTransport::create(script))
        , session(transport)
    {}
    ~Talking() { transport->expectUsedUp(); }
    Talking(const Talking&) = delete;
    Talking& operator=(const Talking&) = delete;

    std::shared_ptr<ScriptedTransport> transport;
    SMTPClient::Session session;
};

TEST(SMTPSession, RefusesACommandWithALineEndAndSendsNothingOfIt)
{
    Talking talking(Script(""));
    for (const QString& text : {u"MAIL FROM:<a@x>\r\nDATA"_s, u"x\n"_s, u"x\r"_s, u"\n"_s})
        expectProtocolError(talking.session.command(text, ok), u"Invalid SMTP command."_s);
    EXPECT_EQ(talking.transport->sendCount(), 0);
}

TEST(SMTPSession, SendsACommandInOneWriteAndGivesTheLinesOfItsReply)
{
    Talking talking(Script("C: NOOP ä\nS: 250-a\nS: 250 b"));
    EXPECT_EQ(await(talking.session.command(u"NOOP ä"_s, ok)), QList<QString>({u"a"_s, u"b"_s}));
    EXPECT_EQ(talking.transport->sendCount(), 1);
}

TEST(SMTPSession, EndsAReplyAtALineOfTheCodeAlone)
{
    Talking talking(Script("S: 250\nS: 250-a\nS: 250"));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {QString()}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {u"a"_s, QString()}}));
}

TEST(SMTPSession, TakesTheCodeOfTheLastLineAndWhatFollowsTheFourthCharacter)
{
    Talking talking(Script("S: 250-a\nS: 251-\nS: 552 b c\nS: 250+d\nS: 250-\nS: 250 \nS: 000 e"));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{552, {u"a"_s, u""_s, u"b c"_s}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {u"d"_s}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {u""_s, u""_s}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{0, {u"e"_s}}));
}

TEST(SMTPSession, RepairsTextThatIsNoUTF8)
{
    Talking talking(Script("S= 250 \\xFF\\xC3\\xA4\\r\\n"));
    EXPECT_EQ(await(talking.session.readReply()).lines, QList<QString>({u"\uFFFDä"_s}));
}

TEST(SMTPSession, RefusesALineThatDoesNotBeginWithThreeDigits)
{
    for (const std::string_view line :
         {"S: ", "S: 2", "S: 25", "S: 25x ok", "S: -25 ok", "S: +25 ok", "S:  250 ok", "S: 2 50", "S: x250",
          "S: \u0662\u0665\u0660 ok", "S: 250-a\nS: b", "S= \\xFF\\xFF\\xFF\\r\\n"}) {
        Talking talking((Script(line)));
        expectProtocolError(talking.session.readReply(), u"Unexpected SMTP reply."_s);
    }
}

TEST(SMTPSession, TakesAReplyOf999LinesAndRefusesOneMore)
{
    Talking most(Script("").server(QByteArray("250-x\r\n").repeated(998) + "250 x\r\n"));
    EXPECT_EQ(await(most.session.readReply()).lines.size(), 999);
    Talking more(Script("").server(QByteArray("250-x\r\n").repeated(999) + "250 x\r\n"));
    expectProtocolError(more.session.readReply(), u"SMTP reply too long."_s);
}

TEST(SMTPSession, TakesALineAsLongAsALineMayBeAndRefusesAReplyThatHoldsMore)
{
    const QByteArray longest = "250-" + QByteArray(SMTPClient::replySizeLimit - 7, 'x');
    Talking most(Script("").server(longest + "\r\n250\r\n"));
    EXPECT_EQ(await(most.session.readReply()).lines.value(0).size(), SMTPClient::replySizeLimit - 7);
    Talking more(Script("").server(longest + "\r\n250 \r\n"));
    expectProtocolError(more.session.readReply(), u"SMTP reply too long."_s);
}

TEST(SMTPSession, RefusesALineThatNeverEnds)
{
    Talking talking(Script("").server(QByteArray(LineReader::lineLimit + 1, '2')));
    expectProtocolError(talking.session.readReply(), u"Server response too long."_s);
}

TEST(SMTPSession, ReadsALineOfVeryManyMechanisms)
{
    ScriptedServer server({Script(greeting)
                               .server("250 AUTH" + QByteArray(" X").repeated(4'000'000) + " PLAIN\r\n")
                               .then("C: AUTH PLAIN AGFubgBzZWNyZXQ=\nS: 235 ok")
                               .then(goodbye)});
    await(verifying(server));
    server.expectUsedUp();
}

// --- Stuffing

TEST(SMTPStuffing, EndsAMessageThatHasNoLineEnd)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("a"), "a\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r\n"), "a\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\n"), "a\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r"), "a\r\r\n.\r\n");
}

TEST(SMTPStuffing, EndsAnEmptyMessage)
{
    EXPECT_EQ(SMTPClient::stuffedMessage(""), "\r\n.\r\n");
}

TEST(SMTPStuffing, DoublesADotAtTheBeginningOfALine)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("."), "..\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r\n.\r\nb"), "a\r\n..\r\nb\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\n.\nb"), "a\r\n..\r\nb\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("..a\r\n..\r\n"), "...a\r\n...\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a.\r\n a.b"), "a.\r\n a.b\r\n.\r\n");
}

TEST(SMTPStuffing, LeavesACarriageReturnAloneAsItIs)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r.\rb\r\n"), "a\r.\rb\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("\r\r\n\r"), "\r\r\n\r\r\n.\r\n");
}

TEST(SMTPStuffing, SendsABareLineFeedAsALineEnd)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("\n\n.\n"), "\r\n\r\n..\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\n\r\nb"), "a\r\n\r\nb\r\n.\r\n");
}

TEST(SMTPStuffing, LetsNoMessageEndBeforeItsEnd)
{
    // Every text of up to six of these letters.
    constexpr std::string_view letters("\r\n.a");
    constexpr int longest = 6;
    QList<QByteArray> texts{QByteArray()};
    for (qsizetype index = 0; index < texts.size(); ++index) {
        const QByteArray text = texts[index];
        const QByteArray sent = SMTPClient::stuffedMessage(text);
        EXPECT_EQ(("\r\n" + sent).indexOf("\r\n.\r\n"), sent.size() - 3)
            << text.toPercentEncoding().toStdString();
        EXPECT_TRUE(sent.endsWith("\r\n.\r\n"));
        EXPECT_EQ(sent.count('\n'), sent.count("\r\n"));
        // What the server makes of it is the message with line ends of the network.
        QByteArray received = "\r\n" + sent.chopped(3);
        received = received.replace("\r\n.", "\r\n").sliced(2);
        QByteArray expected = QByteArray(text).replace("\r\n", "\n").replace('\n', "\r\n");
        if (!expected.endsWith("\r\n"))
            expected += "\r\n";
        EXPECT_EQ(received, expected) << text.toPercentEncoding().toStdString();
        if (text.size() < longest) {
            for (const char letter : letters)
                texts.append(text + letter);
        }
    }
    EXPECT_EQ(texts.size(), 5461);
}

TEST(SMTPStuffing, MakesOneCopyOfAMessageThatNeedsNoStuffing)
{
    const QByteArray message = QByteArray(76, 'x').append("\r\n").repeated(100'000);
    const QByteArray sent = SMTPClient::stuffedMessage(message);
    EXPECT_EQ(sent.size(), message.size() + 3);
    EXPECT_EQ(sent.capacity(), message.size() + 64);
}

TEST(SMTPStuffing, TakesThirtyMegabytesOfTheWorst)
{
    EXPECT_EQ(SMTPClient::stuffedMessage(QByteArray(10'000'000, '\n')).size(), 20'000'003);
    EXPECT_EQ(SMTPClient::stuffedMessage(QByteArray(".\n").repeated(5'000'000)).size(), 20'000'003);
    EXPECT_EQ(SMTPClient::stuffedMessage(QByteArray(10'000'000, '\r')).size(), 10'000'005);
}

} // namespace
} // namespace Larkhaven
