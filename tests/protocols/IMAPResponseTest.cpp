#include "protocols/IMAPResponse.h"

#include "domain/MailError.h"
#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {

/// Values are shown as the server would have written them.
void PrintTo(const IMAPValue& value, std::ostream* stream)
{
    if (const std::optional<IMAPValues> list = value.list()) {
        *stream << '(';
        for (const IMAPValue& element : *list) {
            PrintTo(element, stream);
            *stream << ' ';
        }
        *stream << ')';
    } else {
        *stream << value.text().value_or(u"NIL"_s).toStdString();
    }
}

namespace {

IMAPValue atom(const QString& text)
{
    return IMAPValue::atom(text);
}
IMAPValue string(const QByteArray& bytes)
{
    return IMAPValue::string(bytes);
}
IMAPValue list(const QList<IMAPValue>& values)
{
    return IMAPValue::list(values);
}

using Values = QList<IMAPValue>;

Values valuesOf(const QByteArray& data)
{
    return IMAPResponse::parse(data).values.toList();
}

/// What stands in the text of the first value's failure.
QString failureOf(const QByteArray& data, int depth = 0)
{
    try {
        IMAPValueReader(data).parseValue(depth);
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), MailError::Kind::protocolError);
        return error.text();
    }
    return u"nothing failed"_s;
}

void expectTooLarge(const QByteArray& data)
{
    try {
        IMAPResponse::parse(data);
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), MailError::Kind::protocolError);
        EXPECT_EQ(error.text(), u"Server response too large.");
    }
}

// --- Tags

TEST(IMAPResponse, TakesABracketedCodeForOneAtom)
{
    EXPECT_EQ(valuesOf("* OK [UIDVALIDITY 1234] Ready\r\n"),
              Values({atom(u"OK"_s), atom(u"[UIDVALIDITY 1234]"_s), atom(u"Ready"_s)}));
}

TEST(IMAPResponse, IsTaggedUntaggedOrAContinuation)
{
    const IMAPResponse tagged = IMAPResponse::parse("P7 OK Done\r\n");
    EXPECT_EQ(tagged.kind, IMAPResponse::Kind::tagged);
    EXPECT_EQ(tagged.tag, u"P7");
    EXPECT_EQ(tagged.values.toList(), Values({atom(u"OK"_s), atom(u"Done"_s)}));
    EXPECT_EQ(IMAPResponse::parse("* BYE\r\n").kind, IMAPResponse::Kind::untagged);
    const IMAPResponse continuation = IMAPResponse::parse("+ OK (go on {3}\r\n");
    EXPECT_EQ(continuation.kind, IMAPResponse::Kind::continuation);
    EXPECT_TRUE(continuation.values.isEmpty());
}

TEST(IMAPResponse, TakesABarePlusLineForAContinuation)
{
    EXPECT_EQ(IMAPResponse::parse("+\r\n").kind, IMAPResponse::Kind::continuation);
    EXPECT_EQ(IMAPResponse::parse("+").kind, IMAPResponse::Kind::continuation);
    EXPECT_EQ(IMAPResponse::parse(" \r\n+ x").kind, IMAPResponse::Kind::continuation);
    EXPECT_EQ(IMAPResponse::parse("+OK\r\n").kind, IMAPResponse::Kind::tagged);
}

TEST(IMAPResponse, OfNothingIsTaggedWithAnEmptyTag)
{
    const IMAPResponse response = IMAPResponse::parse("\r\n");
    EXPECT_EQ(response.kind, IMAPResponse::Kind::tagged);
    EXPECT_EQ(response.tag, u"");
    EXPECT_TRUE(response.values.isEmpty());
}

TEST(IMAPResponse, RepairsATagThatIsNoUTF8)
{
    EXPECT_EQ(IMAPResponse::parse("\xff OK").tag, u"\uFFFD");
}

// --- Values

TEST(IMAPResponse, ReadsASectionWithParenthesesAsOneAtomAndItsLiteralAsAString)
{
    EXPECT_EQ(valuesOf("* 3 FETCH (BODY[HEADER.FIELDS (DATE)] {5}\r\nhello)\r\n"),
              Values({atom(u"3"_s), atom(u"FETCH"_s),
                      list({atom(u"BODY[HEADER.FIELDS (DATE)]"_s), string("hello")})}));
}

TEST(IMAPResponse, ReadsNILInAnyCaseAsNothingUnlessItIsQuoted)
{
    EXPECT_EQ(valuesOf("* nil NiL NIL \"NIL\" NILS {3}\r\nNIL"),
              Values({IMAPValue::nil(), IMAPValue::nil(), IMAPValue::nil(), string("NIL"), atom(u"NILS"_s),
                      string("NIL")}));
}

TEST(IMAPResponse, DropsAStrayClosingParenthesis)
{
    EXPECT_EQ(valuesOf("* OK hello ) there\r\n"),
              Values({atom(u"OK"_s), atom(u"hello"_s), atom(u"there"_s)}));
}

TEST(IMAPResponse, DropsAnUnterminatedList)
{
    EXPECT_EQ(valuesOf("* OK hello (there\r\n"), Values({atom(u"OK"_s), atom(u"hello"_s)}));
}

TEST(IMAPResponse, DropsAnUnterminatedString)
{
    EXPECT_EQ(valuesOf("* OK it is 5\" long\r\n"),
              Values({atom(u"OK"_s), atom(u"it"_s), atom(u"is"_s), atom(u"5\""_s), atom(u"long"_s)}));
    EXPECT_EQ(valuesOf("* OK it \"is\r\n"), Values({atom(u"OK"_s), atom(u"it"_s)}));
    EXPECT_EQ(valuesOf("* OK \"x\\"), Values({atom(u"OK"_s)}));
}

TEST(IMAPResponse, GoesOnOneByteBehindAFailureInsideAList)
{
    // The literal fails at "x", and what follows that byte is read at the top level.
    EXPECT_EQ(valuesOf("* (a {x b c) d\r\n"), Values({atom(u"b"_s), atom(u"c"_s), atom(u"d"_s)}));
}

/// `depth` lists, one in the other, around some text.
QByteArray nested(int depth, const QByteArray& innermost)
{
    return QByteArray(depth, '(') + innermost + QByteArray(depth, ')');
}

TEST(IMAPResponse, ReadsListsThatAre64LevelsDeep)
{
    const Values values = valuesOf("* " + nested(64, "") + " x");
    ASSERT_EQ(values.size(), 2);
    IMAPValue value = values.first();
    int depth = 1;
    for (; !value.list()->isEmpty(); ++depth)
        value = value.list()->first();
    EXPECT_EQ(depth, 64);
}

TEST(IMAPResponse, DropsTheOutermostListWhereAnythingStandsInThe64thLevel)
{
    // "a" is refused at the 64th level; the failure is skipped with that byte, and so is each parenthesis.
    EXPECT_EQ(valuesOf("* " + nested(64, "a") + " x"), Values({atom(u"x"_s)}));
    EXPECT_EQ(valuesOf("* " + nested(64, "ab") + " x"), Values({atom(u"b"_s), atom(u"x"_s)}));
    EXPECT_EQ(valuesOf("* " + nested(65, "") + " x"), Values({atom(u"x"_s)}));
}

TEST(IMAPResponse, ReadsAnAnnouncementWithoutANumberAsAnEmptyString)
{
    EXPECT_EQ(valuesOf("* {} x"), Values({string(""), atom(u"x"_s)}));
    EXPECT_EQ(valuesOf("* {+}\r\nx"), Values({string(""), atom(u"x"_s)}));
}

TEST(IMAPResponse, ReadsANonSynchronisingLiteralLikeAnyOther)
{
    EXPECT_EQ(valuesOf("* {3+}\r\nabc"), Values({string("abc")}));
    EXPECT_EQ(valuesOf("* {3}\r\nabc"), Values({string("abc")}));
}

TEST(IMAPResponse, StepsOverOneLineEndBehindALiteralsLength)
{
    EXPECT_EQ(valuesOf("* {2}ab"), Values({string("ab")}));
    EXPECT_EQ(valuesOf("* {2}\nab"), Values({string("ab")}));
    EXPECT_EQ(valuesOf("* {2}\rab"), Values({string("ab")}));
    EXPECT_EQ(valuesOf("* {2}\r\n\r\n"), Values({string("\r\n")}));
    EXPECT_EQ(valuesOf("* {2}\n\rab"), Values({string("\ra"), atom(u"b"_s)}));
}

TEST(IMAPResponse, TakesTheBackslashesOutOfAQuotedString)
{
    EXPECT_EQ(valuesOf(R"(* "a\"b\\c" "\x")"), Values({string("a\"b\\c"), string("x")}));
}

TEST(IMAPResponse, ReadsLiteralsWithAnyBytes)
{
    const QByteArray bytes("\0\r\n)\xff\"", 6);
    EXPECT_EQ(valuesOf("* ({6}\r\n" + bytes + ')'), Values({list({string(bytes)})}));
}

TEST(IMAPResponse, TakesATabForNoWhiteSpace)
{
    EXPECT_EQ(valuesOf("* a\tb"), Values({atom(u"a\tb"_s)}));
}

TEST(IMAPResponse, EndsAtomsAtParenthesesOutsideOfBracketsOnly)
{
    EXPECT_EQ(valuesOf("* a(b)c"), Values({atom(u"a"_s), list({atom(u"b"_s)}), atom(u"c"_s)}));
    EXPECT_EQ(valuesOf("* a]b] c[d(e [f] g)] h"),
              Values({atom(u"a]b]"_s), atom(u"c[d(e [f] g)]"_s), atom(u"h"_s)}));
    EXPECT_EQ(valuesOf("* OK [open until the end"), Values({atom(u"OK"_s), atom(u"[open until the end"_s)}));
}

TEST(IMAPResponse, RepairsAtomsThatAreNoUTF8)
{
    EXPECT_EQ(valuesOf("* Gr\xC3\xBC\xC3\x9F \xff"), Values({atom(u"Grüß"_s), atom(u"\uFFFD"_s)}));
}

TEST(IMAPResponse, CopiesTheBytesOfABufferThatIsWrittenAnew)
{
    for (const QByteArray data : {"* 1 FETCH (UID 7 ENVELOPE (\"a \\\" b\" NIL ((x y))))", "* SEARCH 1 2",
                                  "* SEARCH", "A1 OK done", "+ more", "*", ""}) {
        QByteArray buffer = data;
        buffer.detach();
        const IMAPResponse copy = IMAPResponse::parseCopy(buffer);
        buffer.fill('#');
        EXPECT_EQ(copy, IMAPResponse::parse(data)) << data.toStdString();
    }
}

TEST(IMAPValueReader, TellsWhyAValueCannotBeRead)
{
    EXPECT_EQ(failureOf("a", 64), u"Server response nested too deeply.");
    EXPECT_EQ(failureOf("a", 63), u"nothing failed");
    EXPECT_EQ(failureOf(""), u"Unexpected end of response.");
    EXPECT_EQ(failureOf("\"x"), u"Unterminated string.");
    EXPECT_EQ(failureOf("(x "), u"Unterminated list.");
    EXPECT_EQ(failureOf("{104857601}"), u"Literal too large.");
    EXPECT_EQ(failureOf("{104857600}\r\nx"), u"Truncated literal.");
    EXPECT_EQ(failureOf("{5"), u"Bad literal.");
    EXPECT_EQ(failureOf("{5x}"), u"Bad literal.");
    EXPECT_EQ(failureOf("{-5}"), u"Bad literal.");
    EXPECT_EQ(failureOf("{5++}"), u"Bad literal.");
    EXPECT_EQ(failureOf("{6}\r\nhello"), u"Truncated literal.");
    EXPECT_EQ(failureOf(")"), u"Unexpected character in response.");
    EXPECT_EQ(failureOf(" x"), u"Unexpected character in response.");
}

TEST(IMAPValueReader, StandsBehindTheDigitThatPassedTheLiteralLimit)
{
    IMAPValueReader reader("{1048576019}");
    EXPECT_FALSE(reader.readValue(0));
    EXPECT_EQ(reader.position(), 10);
}

// --- Readings of a value

TEST(IMAPValue, IsReadAsTextIfItIsAnAtomOrAString)
{
    EXPECT_EQ(atom(u"x"_s).text(), u"x"_s);
    EXPECT_EQ(string("Gr\xC3\xBC\xff").text(), u"Grü\uFFFD"_s);
    EXPECT_EQ(list({}).text(), std::nullopt);
    EXPECT_EQ(IMAPValue::nil().text(), std::nullopt);
}

TEST(IMAPValue, IsReadAsANumberIfAllOfItIsOne)
{
    EXPECT_EQ(atom(u"12"_s).integer(), 12);
    EXPECT_EQ(atom(u"+12"_s).integer(), 12);
    EXPECT_EQ(string("-12").integer(), -12);
    EXPECT_EQ(atom(u"007"_s).integer(), 7);
    EXPECT_EQ(atom(u"9223372036854775807"_s).integer(), std::numeric_limits<qint64>::max());
    EXPECT_EQ(atom(u"-9223372036854775808"_s).integer(), std::numeric_limits<qint64>::min());
    for (const QString& text :
         {u"9223372036854775808"_s, u"-9223372036854775809"_s, u""_s, u"+"_s, u"-"_s, u"--1"_s, u" 1"_s,
          u"1 "_s, u"1.0"_s, u"1,000"_s, u"0x10"_s, u"1e3"_s, u"\u0661"_s, u"１"_s})
        EXPECT_EQ(atom(text).integer(), std::nullopt) << text.toStdString();
    EXPECT_EQ(list({atom(u"1"_s)}).integer(), std::nullopt);
    EXPECT_EQ(IMAPValue::nil().integer(), std::nullopt);
}

TEST(IMAPValue, IsReadAsBytesIfItIsAnAtomOrAString)
{
    EXPECT_EQ(atom(u"ü"_s).data(), "\xC3\xBC");
    EXPECT_EQ(string("\xff").data(), "\xff");
    EXPECT_EQ(valuesOf("* a\xff").first().data(), "a\xEF\xBF\xBD");
    EXPECT_EQ(list({}).data(), std::nullopt);
    EXPECT_EQ(IMAPValue::nil().data(), std::nullopt);
}

TEST(IMAPValue, IsComparedWithKeywordsInASCII)
{
    EXPECT_TRUE(atom(u"ok"_s).isKeyword("OK"_L1));
    EXPECT_TRUE(string("Ok").isKeyword("OK"_L1));
    EXPECT_TRUE(valuesOf(R"(* "\O\k")").first().isKeyword("OK"_L1));
    EXPECT_FALSE(valuesOf(R"(* "O\\")").first().isKeyword("O\\K"_L1));
    EXPECT_FALSE(atom(u"OKAY"_s).isKeyword("OK"_L1));
    EXPECT_FALSE(atom(u"O\u212A"_s).isKeyword("OK"_L1)) << "the Kelvin sign is no k";
    EXPECT_FALSE(string(QByteArray("OK\0", 3)).isKeyword("OK"_L1));
    EXPECT_FALSE(IMAPValue::nil().isKeyword("NIL"_L1));
    EXPECT_FALSE(list({atom(u"OK"_s)}).isKeyword("OK"_L1));
}

TEST(IMAPResponse, JoinsTheTextsBehindTheFirstValueToTheStatusText)
{
    EXPECT_EQ(IMAPResponse::parse("P1 NO [ALERT] Not  now (x) NIL \"quoted text\"").statusText(),
              u"[ALERT] Not now quoted text");
    EXPECT_EQ(IMAPResponse::parse("P1 NO").statusText(), u"");
    EXPECT_EQ(IMAPResponse::parse("P1").statusText(), u"");
}

// --- Announcements of literals

TEST(IMAPResponse, FindsTheAnnouncementOfALiteralAtTheEndOfALine)
{
    EXPECT_EQ(IMAPResponse::literalLength("* 1 FETCH (BODY[] {123}"), 123);
    EXPECT_EQ(IMAPResponse::literalLength("x {123+}"), 123);
    EXPECT_EQ(IMAPResponse::literalLength("* OK free text {12}"), 12);
    EXPECT_EQ(IMAPResponse::literalLength("{0}"), 0);
    EXPECT_EQ(IMAPResponse::literalLength("{5}{7}"), 7);
    EXPECT_EQ(IMAPResponse::literalLength("{9999999999}"), 9'999'999'999);
    EXPECT_EQ(IMAPResponse::literalLength("{0000000007}"), 7);
}

TEST(IMAPResponse, FindsNoAnnouncementInAnythingElse)
{
    for (const QByteArray line : {"", "}", "{", "{}", "{+}", "{12", "{12} ", "{12}x", "{1x}", "{-1}",
                                  "{12++}", "{+12}", "{ 1}", "{99999999990}", "1}", "{1}2}"})
        EXPECT_EQ(IMAPResponse::literalLength(line), std::nullopt) << line.toStdString();
}

// --- Bounds

TEST(IMAPResponse, ReadsAMillionValuesAndRefusesOneMore)
{
    const QByteArray million = "*" + QByteArray(" 1").repeated(IMAPResponse::valueLimit);
    EXPECT_EQ(valuesOf(million).size(), IMAPResponse::valueLimit);
    expectTooLarge(million + " 1");
}

TEST(IMAPResponse, ReadsTheNumbersOfASearchWithoutMakingValuesOfThem)
{
    for (const QByteArray data :
         {"* SEARCH 2 84 4294967295\r\n", "* search  2 84 \r\n 4294967295", "* \"Search\" 2 84 4294967295"}) {
        const IMAPResponse response = IMAPResponse::parse(data);
        EXPECT_EQ(response.values.size(), 1) << data.toStdString();
        EXPECT_EQ(response.numbers, QList<qint64>({2, 84, 4'294'967'295}));
    }
    EXPECT_TRUE(IMAPResponse::parse("* SEARCH\r\n").numbers.isEmpty());
}

TEST(IMAPResponse, ReadsNumbersOfAnyLengthBesideAnyByte)
{
    // A number is read eight digits at once where so many bytes are left, and digit by digit elsewhere.
    for (int digits = 1; digits <= 12; ++digits) {
        const QByteArray number = QByteArray("429496729512").first(digits);
        const bool fits = digits <= 10;
        for (const QByteArray after : {"", " ", "\r\n", " 1", " 12345678", " 4294967295 4294967295"}) {
            const IMAPResponse response = IMAPResponse::parse("* SEARCH " + number + after);
            EXPECT_EQ(response.numbers.isEmpty(), !fits) << number.toStdString() << after.toStdString();
            EXPECT_EQ(response.numbers.value(0), fits ? number.toUInt() : 0);
        }
        for (int byte = 0; byte < 256; ++byte) {
            const char each = static_cast<char>(byte);
            if (each == ' ' || each == '\r' || each == '\n' || (each >= '0' && each <= '9'))
                continue;
            for (const QByteArray after : {"", "1234567 8"}) {
                const QByteArray data = "* SEARCH 5 " + number + each + after;
                EXPECT_TRUE(IMAPResponse::parse(data).numbers.isEmpty()) << data.toStdString();
            }
        }
    }
}

TEST(IMAPResponse, ReadsRunsOfNumbersThatAreEquallyLongAndOthers)
{
    std::mt19937 random(1);
    for (int round = 0; round < 2'000; ++round) {
        QByteArray data = "* SEARCH";
        QList<qint64> expected;
        const int most = static_cast<int>(random() % 12);
        int digits = 1;
        for (int number = 0; number < most; ++number) {
            if (random() % 3 == 0)
                digits = 1 + static_cast<int>(random() % 10);
            quint64 value = 1 + random() % 4;
            for (int digit = 1; digit < digits; ++digit)
                value = value * 10 + random() % (digits == 10 ? 2 : 10);
            expected.append(static_cast<qint64>(value));
            data += random() % 8 == 0 ? "\r\n " : " ";
            data += QByteArray::number(value);
        }
        // Not by QList's own comparison, which hands a null pointer to memcmp where one side has no memory.
        EXPECT_TRUE(std::ranges::equal(IMAPResponse::parse(data).numbers, expected)) << data.toStdString();
        EXPECT_TRUE(IMAPResponse::parse(data + "x").numbers.isEmpty()) << data.toStdString();
    }
}

TEST(IMAPResponse, ReadsASearchThatHoldsMoreThanNumbersLikeAnyOtherResponse)
{
    for (const QByteArray data :
         {"* SEARCH 7 x 3", "* SEARCH 7 4294967296 3", "* SEARCH 7 -1 3", "* SEARCH 7 8( 3",
          "* SEARCH 7 \"8\" 3", "* SEARCH 7\t8 9 3", "A1 SEARCH 7 8 3", "* OK SEARCH 7 3"}) {
        const IMAPResponse response = IMAPResponse::parse(data);
        EXPECT_TRUE(response.numbers.isEmpty()) << data.toStdString();
        EXPECT_GE(response.values.size(), 2) << data.toStdString();
    }
}

TEST(IMAPResponse, DoesNotCountTheWordSearchAmongTheMillionThatItMayHold)
{
    const QByteArray numbers = "* SEARCH" + QByteArray(" 1").repeated(IMAPResponse::valueLimit);
    EXPECT_EQ(IMAPResponse::parse(numbers).numbers.size(), IMAPResponse::valueLimit);
    expectTooLarge(numbers + " 1");
    const QByteArray others = "* SEARCH" + QByteArray(" x").repeated(IMAPResponse::valueLimit);
    EXPECT_EQ(valuesOf(others).size(), IMAPResponse::valueLimit + 1);
    expectTooLarge(others + " x");
    expectTooLarge("* SEARCH )" + QByteArray(" x").repeated(IMAPResponse::valueLimit + 1));
}

TEST(IMAPResponse, BoundsTheValuesAtAllLevelsTogether)
{
    const QByteArray elements = QByteArray("1 ").repeated(IMAPResponse::totalValueLimit - 1);
    EXPECT_EQ(valuesOf("* (" + elements + ')').first().list()->size(), IMAPResponse::totalValueLimit - 1);
    expectTooLarge("* (" + elements + "1)");
    expectTooLarge("* (" + elements + "1 1");
}

TEST(IMAPResponse, TakesTimeInProportionToAHostileResponse)
{
    constexpr qsizetype size = 10'000'000;
    const QByteArray garbage[] = {
        QByteArray(size, ')'),
        QByteArray("{x").repeated(size / 2),
        '"' + QByteArray("\\\"").repeated(size / 2),
        QByteArray(size, '['),
        QByteArray("\\").repeated(size),
        "({" + QByteArray(size, '9'),
        QByteArray(size, '('),
        QByteArray("({").repeated(size / 2),
    };
    for (const QByteArray& bytes : garbage)
        EXPECT_LE(valuesOf("* " + bytes).size(), IMAPResponse::valueLimit);
}

} // namespace
} // namespace Larkhaven
