#include "format/MailEncoding.h"

#include "support/QtPrinters.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using MailEncoding::decodeBase64;
using MailEncoding::decodeHeader;
using MailEncoding::decodeText;
using MailEncoding::encodeHeader;

QByteArray quotedPrintable(QByteArrayView bytes)
{
    return MailEncoding::decodeQuotedPrintable(bytes, false);
}

// Base64

TEST(DecodeBase64, ReadsWithAndWithoutPaddingAndLineEnds)
{
    EXPECT_EQ(decodeBase64("aGk=\r\n"), "hi");
    EXPECT_EQ(decodeBase64("aGk"), "hi");
    EXPECT_EQ(decodeBase64("aGkh"), "hi!");
    EXPECT_EQ(decodeBase64("aA=="), "h");
}

TEST(DecodeBase64, GivesNothingForALengthThatCannotBe)
{
    EXPECT_EQ(decodeBase64("a"), "");
    EXPECT_EQ(decodeBase64("aGkha"), "");
}

TEST(DecodeBase64, GivesNothingForNothing)
{
    EXPECT_EQ(decodeBase64(""), "");
    EXPECT_EQ(decodeBase64("====\r\n!"), "");
}

TEST(DecodeBase64, PassesOverWhateverIsNotOfTheAlphabet)
{
    EXPECT_EQ(decodeBase64("a*G\x80k\r\nh-_="), "hi!");
    EXPECT_EQ(decodeBase64("aA==aA=="), decodeBase64("aAaA"));
    EXPECT_EQ(decodeBase64("+/+/"), "\xfb\xff\xbf");
}

TEST(DecodeBase64, ReadsEveryPositionOfAStrayByte)
{
    const QByteArray text = "The quick brown fox";
    const QByteArray encoded = text.toBase64();
    for (qsizetype position = 0; position <= encoded.size(); ++position)
        EXPECT_EQ(decodeBase64(QByteArray(encoded).insert(position, "\r\n")), text) << position;
}

TEST(DecodeBase64, ReadsEveryByteValue)
{
    QByteArray bytes;
    for (int value = 0; value < 256; ++value)
        bytes += static_cast<char>(value);
    EXPECT_EQ(decodeBase64(bytes.toBase64()), bytes);
}

TEST(DecodeBase64, KeepsNoRoomForBytesThatItPassedOver)
{
    const QByteArray decoded = decodeBase64(QByteArray(1'000'000, '*') + "aGk=");
    EXPECT_EQ(decoded, "hi");
    EXPECT_LT(decoded.capacity(), 1000);
}

// Quoted-printable

TEST(DecodeQuotedPrintable, ReadsHexadecimalDigitsInBothCases)
{
    EXPECT_EQ(quotedPrintable("=3d=3D"), "==");
    EXPECT_EQ(quotedPrintable("=C3=a9"), "\xc3\xa9");
    EXPECT_EQ(quotedPrintable("=00"), QByteArray(1, '\0'));
}

TEST(DecodeQuotedPrintable, LeavesWhatIsNoEscape)
{
    EXPECT_EQ(quotedPrintable("=ZZ"), "=ZZ");
    EXPECT_EQ(quotedPrintable("="), "=");
    EXPECT_EQ(quotedPrintable("a="), "a=");
    EXPECT_EQ(quotedPrintable("=4"), "=4");
    EXPECT_EQ(quotedPrintable("=4G"), "=4G");
    EXPECT_EQ(quotedPrintable("=\r"), "=\r");
    EXPECT_EQ(quotedPrintable("=\rx"), "=\rx");
}

TEST(DecodeQuotedPrintable, ReadsEscapesAtAnyOffset)
{
    for (int before = 0; before < 40; ++before) {
        for (int behind = 0; behind < 40; ++behind) {
            const QByteArray plain(before, 'a');
            const QByteArray rest(behind, 'b');
            EXPECT_EQ(MailEncoding::decodeQuotedPrintable(plain + "=C3=a4" + rest + "=\r\n_=3D=", false),
                      plain + "\xc3\xa4" + rest + "_==")
                << before << ' ' << behind;
        }
    }
}

TEST(DecodeQuotedPrintable, DropsSoftLineBreaksAnywhere)
{
    EXPECT_EQ(quotedPrintable("=\r\n"), "");
    EXPECT_EQ(quotedPrintable("=\n"), "");
    EXPECT_EQ(quotedPrintable("a=\r\nb=\nc=\r\n"), "abc");
    EXPECT_EQ(quotedPrintable("abc=\n"), "abc");
}

TEST(DecodeQuotedPrintable, ReadsTheBytesBehindALiteralEqualsSignAgain)
{
    EXPECT_EQ(quotedPrintable("==41"), "=A");
    EXPECT_EQ(quotedPrintable("=4=41"), "=4A");
    EXPECT_EQ(quotedPrintable("==\n"), "=");
}

TEST(DecodeQuotedPrintable, LeavesTheUnderscoreUnlessItIsASpace)
{
    EXPECT_EQ(MailEncoding::decodeQuotedPrintable("a_b", false), "a_b");
    EXPECT_EQ(MailEncoding::decodeQuotedPrintable("a_b=5F_", true), "a b_ ");
}

TEST(DecodeQuotedPrintable, KeepsWhiteSpaceAtTheEndOfALine)
{
    EXPECT_EQ(quotedPrintable("a \t\r\nb"), "a \t\r\nb");
}

// Content-Transfer-Encoding

TEST(DecodeTransfer, KnowsTwoEncodingsInAnyCaseAndWithSpace)
{
    EXPECT_EQ(MailEncoding::decodeTransfer("aGk=", u" \tBASE64 "_s), "hi");
    EXPECT_EQ(MailEncoding::decodeTransfer("=41_", u"Quoted-Printable"_s), "A_");
}

TEST(DecodeTransfer, LeavesBytesOfAnyOtherEncoding)
{
    for (const QString& name : {u"7bit"_s, u"8bit"_s, u"binary"_s, u"base64;"_s, u"base64\n"_s, u""_s})
        EXPECT_EQ(MailEncoding::decodeTransfer("aGk=", name), "aGk=") << name.toStdString();
    EXPECT_EQ(MailEncoding::decodeTransfer("aGk=", std::nullopt), "aGk=");
}

TEST(DecodeTransfer, GivesBytesOfItsOwn)
{
    QByteArray bytes = "abc";
    const QByteArray decoded = MailEncoding::decodeTransfer(bytes, std::nullopt);
    bytes.fill('x');
    EXPECT_EQ(decoded, "abc");
}

TEST(EncodeBase64Lines, CutsLinesOf76CharactersAndEndsWithoutALineEnd)
{
    EXPECT_EQ(MailEncoding::encodeBase64Lines(""), "");
    EXPECT_EQ(MailEncoding::encodeBase64Lines("hi"), "aGk=");
    EXPECT_EQ(MailEncoding::encodeBase64Lines(QByteArray(57, '\0')), QByteArray(76, 'A'));
    EXPECT_EQ(MailEncoding::encodeBase64Lines(QByteArray(58, '\0')), QByteArray(76, 'A') + "\r\nAA==");
    EXPECT_EQ(MailEncoding::encodeBase64Lines(QByteArray(114, '\0')),
              QByteArray(76, 'A') + "\r\n" + QByteArray(76, 'A'));
}

// Charsets

TEST(CharsetEncoding, KnowsTheCommonNames)
{
    const std::pair<QString, TextEncoding::Charset> rows[] = {
        {u"utf-8"_s, TextEncoding::utf8},
        {u"utf8"_s, TextEncoding::utf8},
        {u"us-ascii"_s, TextEncoding::utf8},
        {u"ascii"_s, TextEncoding::utf8},
        {u"iso-8859-1"_s, TextEncoding::isoLatin1},
        {u"latin1"_s, TextEncoding::isoLatin1},
        {u"iso-8859-2"_s, TextEncoding::isoLatin2},
        {u"latin2"_s, TextEncoding::isoLatin2},
        {u"windows-1252"_s, TextEncoding::windowsCP1252},
        {u"cp1252"_s, TextEncoding::windowsCP1252},
        {u"windows-1250"_s, TextEncoding::windowsCP1250},
        {u"cp1250"_s, TextEncoding::windowsCP1250},
        {u"windows-1251"_s, TextEncoding::windowsCP1251},
        {u"cp1251"_s, TextEncoding::windowsCP1251},
        {u"windows-1253"_s, TextEncoding::windowsCP1253},
        {u"windows-1254"_s, TextEncoding::windowsCP1254},
        {u"utf-16"_s, TextEncoding::utf16},
        {u"utf-16le"_s, TextEncoding::utf16LittleEndian},
        {u"utf-16be"_s, TextEncoding::utf16BigEndian},
        {u"iso-2022-jp"_s, TextEncoding::iso2022JP},
        {u"shift_jis"_s, TextEncoding::shiftJIS},
        {u"shift-jis"_s, TextEncoding::shiftJIS},
        {u"sjis"_s, TextEncoding::shiftJIS},
        {u"euc-jp"_s, TextEncoding::japaneseEUC},
    };
    for (const auto& [name, charset] : rows) {
        EXPECT_EQ(MailEncoding::charsetEncoding(name), TextEncoding(charset)) << name.toStdString();
        EXPECT_EQ(MailEncoding::charsetEncoding(u" \""_s + name.toUpper() + u"\" "_s), TextEncoding(charset))
            << name.toStdString();
    }
}

TEST(CharsetEncoding, IsUTF8WhereTheNameIsAbsentEmptyOrUnknown)
{
    const TextEncoding utf8;
    EXPECT_EQ(MailEncoding::charsetEncoding(std::nullopt), utf8);
    EXPECT_EQ(MailEncoding::charsetEncoding(u""_s), utf8);
    EXPECT_EQ(MailEncoding::charsetEncoding(u" \"\" "_s), utf8);
    EXPECT_EQ(MailEncoding::charsetEncoding(u"no-such-charset"_s), utf8);
}

TEST(CharsetEncoding, TrimsSpacesAndQuotesOnly)
{
    EXPECT_EQ(MailEncoding::charsetEncoding(u"latin1"_s), TextEncoding(TextEncoding::isoLatin1));
    EXPECT_EQ(MailEncoding::charsetEncoding(u"\tlatin1"_s), TextEncoding());
    EXPECT_EQ(MailEncoding::charsetEncoding(u"latin1\n"_s), TextEncoding());
}

TEST(CharsetEncoding, FindsTheRestInTheRegistry)
{
    EXPECT_EQ(MailEncoding::charsetEncoding(u"koi8-r"_s).charset, TextEncoding::registered);
    EXPECT_EQ(MailEncoding::charsetEncoding(u"iso-8859-7"_s).charset, TextEncoding::registered);
}

TEST(DecodeText, FallsBackFromASCIIToUTF8ToWindows1252)
{
    EXPECT_EQ(decodeText("\xc3\xa9", u"us-ascii"_s), u"é"_s);
    EXPECT_EQ(decodeText("\xe9", u"us-ascii"_s), u"é"_s);
}

TEST(DecodeText, TriesUTF8ForBytesThatTheDeclaredCharsetRefuses)
{
    EXPECT_EQ(decodeText("\xc3\xa9", u"shift_jis"_s), u"ﾃｩ"_s);
    EXPECT_EQ(decodeText("\xe2\x82\xac", u"iso-2022-jp"_s), u"€"_s);
    EXPECT_EQ(decodeText("\xe9 \x80", u"iso-2022-jp"_s), u"é €"_s);
}

TEST(DecodeText, RepairsWhatNoCharsetReads)
{
    EXPECT_EQ(decodeText("a\x81\x8dz", std::nullopt), u"a\ufffd\ufffdz"_s);
    EXPECT_EQ(decodeText("\x81 \xe2\x82", u"windows-1252"_s), u"\ufffd \ufffd"_s);
}

TEST(DecodeText, ReadsAnUnknownCharsetAsUTF8AndThenAsWindows1252)
{
    EXPECT_EQ(decodeText("\xc3\xa9", u"x-unknown"_s), u"é"_s);
    EXPECT_EQ(decodeText("\xe9\x80", u"x-unknown"_s), u"é€"_s);
}

// Encoded words

TEST(DecodeHeader, DropsTheSpaceBetweenTwoWordsAndReadsUnderscoresAsSpaces)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a_b?= =?utf-8?Q?c?="_s), u"a bc"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?= \t\r\n =?utf-8?Q?b?="_s), u"ab"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?==?utf-8?Q?b?="_s), u"ab"_s);
}

TEST(DecodeHeader, KeepsTextBetweenTwoWords)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?= x =?utf-8?Q?b?="_s), u"a x b"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?=\u00a0=?utf-8?Q?b?="_s), u"a\u00a0b"_s);
}

TEST(DecodeHeader, KeepsSpaceBeforeTheFirstWordAndBehindTheLast)
{
    EXPECT_EQ(decodeHeader(u"  =?utf-8?Q?a?=  "_s), u"  a  "_s);
}

TEST(DecodeHeader, CutsTheLanguageOffTheCharset)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8*en?B?aGk=?="_s), u"hi"_s);
    EXPECT_EQ(decodeHeader(u"=?*en?B?aGk=?="_s), u"hi"_s);
    EXPECT_EQ(decodeHeader(u"=?iso-8859-2*pl?Q?=B1?="_s), u"\u0105"_s);
}

TEST(DecodeHeader, MatchesTheEncodingInEitherCase)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?q?hi?="_s), u"hi"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?b?aGk=?="_s), u"hi"_s);
}

TEST(DecodeHeader, LeavesAWordOfAnotherEncodingAsItStands)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?X?hi?= tail"_s), u"=?utf-8?X?hi?= tail"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?X?hi?= =?utf-8?Q?b?="_s), u"=?utf-8?X?hi?= b"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8??hi?= tail"_s), u"=?utf-8??hi?= tail"_s);
}

TEST(DecodeHeader, LosesTheSpaceBetweenAWordAndOneOfAnotherEncoding)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?= =?utf-8?X?hi?="_s), u"a=?utf-8?X?hi?="_s);
}

TEST(DecodeHeader, LeavesEverythingFromTheFirstMalformedWordOn)
{
    EXPECT_EQ(decodeHeader(u"before =?utf-8?B?"_s), u"before =?utf-8?B?"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8 =?utf-8"_s), u"=?utf-8 =?utf-8"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?= =?utf-8?Q"_s), u"a =?utf-8?Q"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?= x =?utf-8?Q"_s), u"a x =?utf-8?Q"_s);
    // Its charset and encoding run over into the next word, so that it is none of the two known.
    EXPECT_EQ(decodeHeader(u"=? =?utf-8?Q?a?="_s), u"=? =?utf-8?Q?a?="_s);
}

TEST(DecodeHeader, LeavesTextWithoutWords)
{
    EXPECT_EQ(decodeHeader(u"plain ?= text"_s), u"plain ?= text"_s);
    EXPECT_EQ(decodeHeader(u""_s), u""_s);
}

TEST(DecodeHeader, ReadsAnUnknownCharsetAsUTF8AndThenAsWindows1252)
{
    EXPECT_EQ(decodeHeader(u"=?x-unknown?Q?=C3=A9?="_s), u"é"_s);
    EXPECT_EQ(decodeHeader(u"=?x-unknown?Q?=E9?="_s), u"é"_s);
    EXPECT_EQ(decodeHeader(u"=??Q?=C3=A9?="_s), u"é"_s);
}

TEST(DecodeHeader, ReadsWordsInTheirCharset)
{
    EXPECT_EQ(decodeHeader(u"=?ISO-8859-1?Q?Andr=E9?= <a@x>"_s), u"André <a@x>"_s);
    EXPECT_EQ(decodeHeader(u"=?koi8-r?B?7cnS?="_s), u"Мир"_s);
    EXPECT_EQ(decodeHeader(u"=?iso-2022-jp?B?GyRCRnxLXBsoQg==?="_s), u"日本"_s);
}

TEST(DecodeHeader, ConvertsEachWordByItself)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?=C3?= =?utf-8?Q?=A9?="_s), u"Ã©"_s);
}

TEST(DecodeHeader, TakesNothingFromABase64PayloadThatCannotBeRead)
{
    EXPECT_EQ(decodeHeader(u"x =?utf-8?B?a?= y"_s), u"x  y"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?B?\?="_s), u""_s);
}

TEST(DecodeHeader, ReadsRawTextWithinAWordAsUTF8)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?é_b?="_s), u"é b"_s);
}

TEST(DecodeHeader, ReadsWordsOfAnyLengthWhereverTheyStand)
{
    const auto quoted = [](const QByteArray& bytes) {
        QString text;
        for (const char byte : bytes)
            text += byte == ' ' ? u"_"_s
                                : (byte & 0x80 ? u"="_s + QString::fromLatin1(QByteArray(1, byte).toHex())
                                               : QString(QLatin1Char(byte)));
        return text;
    };
    for (qsizetype length = 0; length < 300; length += length < 80 ? 1 : 17) {
        QString text(length, u'x');
        for (qsizetype place = length / 3; place < length; place += 11)
            text[place] = place % 2 == 0 ? QChar(0xfc) : QChar(u' ');
        const QString utf8 = QString::fromLatin1(text.toUtf8().toBase64());
        const QString latin1 = QString::fromLatin1(text.toLatin1().toBase64());
        for (qsizetype before = 0; before < 20; ++before) {
            const QString front = QString(before, u'-');
            for (const QString& word :
                 {u"=?UTF-8?B?"_s + utf8, u"=?utf8?b?"_s + utf8, u"=?ISO-8859-1?B?"_s + latin1,
                  u"=?Utf-8?Q?"_s + quoted(text.toUtf8()), u"=?us-ascii*de?q?"_s + quoted(text.toUtf8()),
                  u"=?iso-8859-1?Q?"_s + quoted(text.toLatin1())}) {
                ASSERT_EQ(decodeHeader(front + word + u"?="_s), front + text) << word.toStdString();
                ASSERT_EQ(decodeHeader(front + word + u"?= "_s + word + u"?=-"_s), front + text + text + u'-')
                    << word.toStdString();
            }
        }
    }
}

TEST(DecodeHeader, ReadsWhatIsNotPlainInAWord)
{
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a?b_?=c"_s), u"a?b c"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?a=3Fb=4x=?= c"_s), u"a?b=4x= c"_s);
    EXPECT_EQ(decodeHeader(u"=?iso-8859-1?Q?=4x=E4=x4?="_s), u"=4x\u00e4=x4"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?=C3=BC=\r\n=C3?="_s), u"\u00c3\u00bc\u00c3"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?B?Y WJ\r\nj\u0100?=d"_s), u"abcd"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?B?Y=WJ=j?=d"_s), u"abcd"_s);
    EXPECT_EQ(decodeHeader(u"=?utf-8?Q?"_s + u"=D0=B6"_s.repeated(200) + u"?="_s), u"\u0436"_s.repeated(200));
    EXPECT_EQ(decodeHeader(u"=?utg-8?Q?=E9?="_s), u"\u00e9"_s);
    EXPECT_EQ(decodeHeader(u"=?atf-8?Q?=E9?= =?iso-9?Q?=C3=BC?="_s), u"\u00e9\u00fc"_s);
}

TEST(DecodeHeader, ReadsAHeaderOfTheLargestSizeWhole)
{
    const QString word = u"=?utf-8?Q?a?="_s;
    const QString padding(MailEncoding::maxHeaderBytes - word.size(), u'x');
    EXPECT_EQ(decodeHeader(padding + word), QString(padding + u'a'));
}

TEST(DecodeHeader, CutsALongerHeaderAfterItsCharacters)
{
    const QString word = u"=?utf-8?Q?a?="_s;
    const QString padding(MailEncoding::maxHeaderBytes - word.size(), u'x');
    EXPECT_EQ(decodeHeader(padding + u'x' + word), QString(padding + u"x=?utf-8?Q?a?"_s));
    EXPECT_EQ(decodeHeader(word + QString(MailEncoding::maxHeaderBytes, u'x')),
              QString(u'a' + QString(MailEncoding::maxHeaderCharacters - word.size(), u'x')));
}

TEST(DecodeHeader, CountsCharactersAndNotBytesWhereItCuts)
{
    const QString word = u"=?utf-8?Q?a?="_s;
    // Three bytes each, so that there are more bytes than allowed and fewer characters.
    const QString text(30'000, QChar(0x65e5));
    EXPECT_EQ(decodeHeader(text + word), QString(text + u'a'));
    const QString accented = u"e\u0301"_s.repeated(MailEncoding::maxHeaderCharacters);
    EXPECT_EQ(decodeHeader(accented + word), accented);
}

TEST(DecodeHeader, LeavesALongHeaderWithoutWordsWhole)
{
    const QString text(MailEncoding::maxHeaderBytes + 10, u'x');
    EXPECT_EQ(decodeHeader(text), text);
}

TEST(DecodeHeader, EndsOnHostileHeaders)
{
    EXPECT_FALSE(decodeHeader(u"=?"_s.repeated(5'000'000)).isEmpty());
    EXPECT_FALSE(decodeHeader(u"=?a?X?"_s.repeated(2'000'000)).isEmpty());
    EXPECT_FALSE(decodeHeader(u"=?utf-8?Q?a"_s.repeated(1'000'000)).isEmpty());
    EXPECT_EQ(decodeHeader(u"=?koi8-r?Q?a?= "_s.repeated(4'000)), QString(QString(4'000, u'a') + u' '));
    // One character of ten million code units.
    EXPECT_FALSE(decodeHeader(u"=?utf-8?Q?a?="_s + QString(10'000'000, QChar(0x301))).isEmpty());
}

TEST(EncodeHeader, LeavesASCIIUnchanged)
{
    EXPECT_EQ(encodeHeader(u"plain =?utf-8?Q?x?= text"_s), u"plain =?utf-8?Q?x?= text"_s);
    EXPECT_EQ(encodeHeader(u""_s), u""_s);
    EXPECT_EQ(encodeHeader(QString(500, u'a')), QString(500, u'a'));
}

TEST(EncodeHeader, WritesOneWordForAShortText)
{
    EXPECT_EQ(encodeHeader(u"é"_s), u"=?UTF-8?B?w6k=?="_s);
}

TEST(EncodeHeader, PutsAtMost33BytesIntoAWord)
{
    const QString text = u"é"_s + QString(31, u'a');
    EXPECT_EQ(encodeHeader(text),
              QString(u"=?UTF-8?B?"_s + QLatin1StringView(text.toUtf8().toBase64()) + u"?="_s));
    EXPECT_EQ(encodeHeader(text + u'b'),
              QString(u"=?UTF-8?B?"_s + QLatin1StringView(text.toUtf8().toBase64()) +
                      u"?=\r\n =?UTF-8?B?Yg==?="_s));
}

TEST(EncodeHeader, NeverSplitsASurrogatePairBehindIndicLetters)
{
    for (int padding = 0; padding < 12; ++padding) {
        const QString text =
            QString(padding, u'a') +
            u"\u0928\u092E\u0938\u094D\u0924\u0947 \U0001F468\u200D\U0001F469 "_s.repeated(5);
        EXPECT_EQ(decodeHeader(encodeHeader(text)), text);
    }
}

TEST(EncodeHeader, NeverSplitsAUserPerceivedCharacter)
{
    const QString accented = u"e\u0301"_s;
    const QString thumb = u"\U0001F44D\U0001F3FD"_s; // with a skin tone
    for (const QString& character : {accented, thumb}) {
        for (int padding = 0; padding < 12; ++padding) {
            const QString encoded = encodeHeader(QString(padding, u'a') + character.repeated(20));
            const QStringList words = encoded.split(u"\r\n "_s);
            ASSERT_GT(words.size(), 1);
            for (const QString& word : words) {
                QString text = decodeHeader(word);
                text.remove(u'a');
                EXPECT_EQ(text.size() % character.size(), 0) << word.toStdString();
                EXPECT_TRUE(text.startsWith(character)) << word.toStdString();
            }
        }
    }
}

TEST(EncodeHeader, WritesAnEmptyWordBeforeACharacterThatIsTooLongForOne)
{
    const QString character = u"e"_s + QString(20, QChar(0x301));
    const QString word = u"=?UTF-8?B?"_s + QLatin1StringView(character.toUtf8().toBase64()) + u"?="_s;
    EXPECT_EQ(encodeHeader(character), QString(u"=?UTF-8?B?\?=\r\n "_s + word));
    EXPECT_EQ(encodeHeader(u"a"_s + character), QString(u"=?UTF-8?B?YQ==?=\r\n "_s + word));
    EXPECT_EQ(encodeHeader(character + u'a'),
              QString(u"=?UTF-8?B?\?=\r\n "_s + word + u"\r\n =?UTF-8?B?YQ==?="_s));
}

TEST(EncodeHeader, IsUndoneByDecoding)
{
    for (const QString& text : {u"Grüße aus Köln: schöne Wünsche für das neue Jahr und darüber hinaus"_s,
                                u"日本語の件名はとても長いので折り返す必要があります"_s, u" é "_s})
        EXPECT_EQ(decodeHeader(encodeHeader(text)), text);
}

TEST(EncodeHeader, EndsOnALongText)
{
    EXPECT_GT(encodeHeader(u"é"_s.repeated(2'000'000)).size(), 2'000'000);
    EXPECT_GT(encodeHeader(u"e"_s + QString(5'000'000, QChar(0x301))).size(), 5'000'000);
}

// Base64url

TEST(Base64URL, ReadsWithAndWithoutPadding)
{
    EXPECT_EQ(MailEncoding::base64URLDecode(u"aGk"_s), QByteArray("hi"));
    EXPECT_EQ(MailEncoding::base64URLDecode(u"aGk="_s), QByteArray("hi"));
    EXPECT_EQ(MailEncoding::base64URLDecode(u"aA="_s), QByteArray("h"));
    EXPECT_EQ(MailEncoding::base64URLDecode(u"aA"_s), QByteArray("h"));
    EXPECT_EQ(MailEncoding::base64URLDecode(u""_s), QByteArray(""));
}

TEST(Base64URL, TakesBothAlphabets)
{
    EXPECT_EQ(MailEncoding::base64URLDecode(u"-_-_"_s), QByteArray("\xfb\xff\xbf"));
    EXPECT_EQ(MailEncoding::base64URLDecode(u"+/-_"_s), QByteArray("\xfb\xff\xbf"));
}

TEST(Base64URL, RefusesWhateverElseIsInIt)
{
    for (const QString& text : {u"a"_s, u"aGk*"_s, u"aGk\n"_s, u"aG k"_s, u"aGk=="_s, u"===="_s, u"="_s,
                                u"a==="_s, u"aGk=aGk="_s, u"aGké"_s, u"aGk日"_s})
        EXPECT_EQ(MailEncoding::base64URLDecode(text), std::nullopt) << text.toStdString();
}

TEST(Base64URL, WritesWithoutPadding)
{
    EXPECT_EQ(MailEncoding::base64URLEncode("\xfb\xff\xbf"), u"-_-_"_s);
    EXPECT_EQ(MailEncoding::base64URLEncode("hi"), u"aGk"_s);
    EXPECT_EQ(MailEncoding::base64URLEncode(""), u""_s);
}

TEST(HeaderSafe, ReplacesEachControlCharacterOfASCIIByASpace)
{
    EXPECT_EQ(MailEncoding::headerSafe(u"a\r\nBcc: x\ty\u007f\u0001"_s), u"a  Bcc: x y  "_s);
    EXPECT_EQ(MailEncoding::headerSafe(QString(QChar(0))), u" "_s);
    EXPECT_EQ(MailEncoding::headerSafe(u"é\u0085\u2028 ~"_s), u"é\u0085\u2028 ~"_s);
}

} // namespace
} // namespace Larkhaven
