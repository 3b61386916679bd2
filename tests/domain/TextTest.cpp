#include "domain/Text.h"

#include "support/QtPrinters.h"

#include <QByteArrayList>

#include <array>
#include <gtest/gtest.h>
#include <random>
#include <unicode/ustring.h>

namespace Larkhaven {
namespace {

TEST(Text, TrimsTabsAndUnicodeSpacesButNoLineEnds)
{
    EXPECT_EQ(Text::trimmedSpace(u"\t\u00a0\u3000 x\n ").toString(), u"x\n");
}

TEST(Text, TrimsLineEndsWhereTheyAreNamed)
{
    EXPECT_EQ(Text::trimmedSpaceAndLineEnds(u"\r\n\u2028 x \u0085\v\f").toString(), u"x");
}

TEST(Text, LowersEachLetterByItself)
{
    EXPECT_EQ(Text::lowered(u"ÄΣΩ Ünïted \U00010400"), u"äσω ünïted \U00010428");
    EXPECT_EQ(Text::lowered(u"K\u212a"), u"kk");
    EXPECT_EQ(Text::lowered(u"İstanbul"), u"İstanbul") << "two characters would stand for the first";
    EXPECT_EQ(Text::lowered(QStringLiteral("a\xd801")), QStringLiteral("a\xd801"));
    const QString endless(4'000'000, QChar(0x130));
    EXPECT_EQ(Text::lowered(endless), endless);
}

TEST(Text, ComparesKeywordsByTheCaseOfASCIILettersAlone)
{
    EXPECT_TRUE(Text::isSameKeyword(u"Content-TYPE", u"content-type"));
    EXPECT_TRUE(Text::isSameKeyword(u"", u""));
    EXPECT_TRUE(Text::isSameKeyword(u"AZ[", u"az["));
    EXPECT_FALSE(Text::isSameKeyword(u"@", u"`")) << "these are no letters";
    EXPECT_FALSE(Text::isSameKeyword(u"[", u"{"));
    EXPECT_FALSE(Text::isSameKeyword(u"k", u"\u212a"));
    EXPECT_FALSE(Text::isSameKeyword(u"ä", u"Ä"));
    EXPECT_FALSE(Text::isSameKeyword(u"a", u"ab"));
}

TEST(Text, FoldsKeywordsWithinASCII)
{
    EXPECT_EQ(Text::asciiLowered(u"@AZ[ Ä\u212a"), u"@az[ Ä\u212a");
    EXPECT_EQ(Text::asciiUppered(u"`az{ ä"), u"`AZ{ ä");
}

TEST(Text, CutsBetweenUserPerceivedCharacters)
{
    const QString family = QStringLiteral("\U0001F469\u200D\U0001F469\u200D\U0001F467");
    EXPECT_EQ(Text::prefix(family + u'x' + family, 2), QString(family + u'x'));
    EXPECT_EQ(Text::prefix(QStringLiteral("e\u0301e\u0301"), 1), u"e\u0301");
    EXPECT_EQ(Text::prefix(QStringLiteral("abc"), 3), u"abc");
    EXPECT_EQ(Text::prefix(QStringLiteral("abc"), 0), u"");
}

TEST(Text, FindsTheEndOfClustersThatAreMuchLongerThanUsual)
{
    const QString tower = u'a' + QString(1000, u'\u0301');
    EXPECT_EQ(Text::prefix(tower + tower + u'b', 1), tower);
    EXPECT_EQ(Text::prefix(tower + tower + u'b', 2), QString(tower + tower));
    // The variation selectors of the supplementary planes are two units long and belong to what is before.
    const QString selected = QStringLiteral("a\U000E0100");
    EXPECT_EQ(Text::prefix(selected.repeated(9), 3), selected.repeated(3));
    EXPECT_EQ(Text::prefix(QStringLiteral("abc"), -1), u"");
}

TEST(Text, CutsNoCharacterOfAnotherScriptBehindIndicLetters)
{
    const QString text = QStringLiteral("\u0BA4\u0BAE\u0BBF\U0001F44D\U0001F3FD\U0001F1E9\U0001F1EAx");
    EXPECT_EQ(Text::prefix(text, 3), text.first(7));
    EXPECT_EQ(Text::prefix(text, 4), text.first(11));
    for (qsizetype count = 1; count < text.size(); ++count)
        EXPECT_TRUE(Text::prefix(text, count).isValidUtf16()) << count;
}

TEST(Text, CutsAHugeTextWithoutLookingAtAllOfIt)
{
    const QString huge(20'000'000, u'x');
    for (int round = 0; round < 1000; ++round)
        ASSERT_EQ(Text::prefix(huge, 300).size(), 300);
}

TEST(Text, RepairsEachMaximalInvalidSequenceOfUTF8WithOneReplacement)
{
    EXPECT_EQ(Text::fromRepairedUTF8("a\xF0\x9F\x98z"), u"a\uFFFDz");
    EXPECT_EQ(Text::fromRepairedUTF8("\xC0\xAF"), u"\uFFFD\uFFFD");
    EXPECT_EQ(Text::fromRepairedUTF8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(Text::fromRepairedUTF8("\xEF\xBB\xBFx"), u"\uFEFFx");
    EXPECT_EQ(Text::fromRepairedUTF8(""), u"");
}

/// ICU's reading of the whole, absent where it refuses it.
std::optional<QString> readByICU(const QByteArray& bytes, UChar32 substitute)
{
    QString text(bytes.size(), Qt::Uninitialized);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(reinterpret_cast<char16_t*>(text.data()), static_cast<int32_t>(text.size()), &length,
                         bytes.constData(), static_cast<int32_t>(bytes.size()), substitute, nullptr, &status);
    text.truncate(length);
    return U_FAILURE(status) ? std::nullopt : std::optional(text);
}

void expectSameAsICU(const QByteArray& bytes)
{
    ASSERT_EQ(Text::fromRepairedUTF8(bytes), readByICU(bytes, QChar::ReplacementCharacter))
        << bytes.toHex().toStdString();
    ASSERT_EQ(Text::fromStrictUTF8(bytes), readByICU(bytes, U_SENTINEL)) << bytes.toHex().toStdString();
}

TEST(Text, ReadsEachShortSequenceOfBytesAsICUDoes)
{
    // The ends of all ranges of UTF-8, and their neighbours.
    constexpr std::array<unsigned char, 26> edges{0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                                                  0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE,
                                                  0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFE, 0xFF};
    for (const unsigned char first : edges) {
        for (const unsigned char second : edges) {
            for (const unsigned char third : edges) {
                for (const unsigned char fourth : edges) {
                    const std::array<unsigned char, 4> bytes{first, second, third, fourth};
                    expectSameAsICU(QByteArray(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
                }
            }
        }
    }
}

TEST(Text, ReadsLongTextsAsICUDoesWhereverTheirCharactersStand)
{
    const QByteArrayList pieces{"a",
                                "plain text of sixteen and more bytes ",
                                "\xC3\xBC",
                                "\xE2\x82\xAC",
                                "\xF0\x9F\x98\x80",
                                "\xEF\xBB\xBF",
                                "\xE2\x82",
                                "\xFF",
                                QByteArray(1, '\0')};
    std::mt19937 random(5);
    for (int round = 0; round < 20'000; ++round) {
        const std::size_t kinds = round % 2 == 0 ? 6 : 9;
        QByteArray bytes;
        for (std::size_t count = random() % 12; count > 0; --count)
            bytes += pieces[static_cast<qsizetype>(random() % kinds)];
        expectSameAsICU(bytes);
    }
}

TEST(Text, RefusesInvalidUTF8WhereItIsReadStrictly)
{
    EXPECT_EQ(Text::fromStrictUTF8("\xC3\xA9"), QStringLiteral("\u00e9"));
    EXPECT_EQ(Text::fromStrictUTF8("\xE9"), std::nullopt);
}

TEST(Text, WritesUTF8OnlyWhereAllOfItIsValid)
{
    const auto written = [](const QByteArray& bytes) -> std::optional<QString> {
        QString text(bytes.size() + 1, u'.');
        auto* const start = reinterpret_cast<char16_t*>(text.data());
        const char16_t* const end = Text::writeStrictUTF8(start, bytes);
        // What is behind the room for it stays.
        EXPECT_EQ(text.back(), u'.');
        return end ? std::optional(text.first(end - start)) : std::nullopt;
    };
    EXPECT_EQ(written({}), QString());
    EXPECT_EQ(written("mehr\xc3"), std::nullopt);
    for (int before = 0; before < 40; ++before) {
        for (int behind = 0; behind < 40; ++behind) {
            const QByteArray bytes = QByteArray(before, 'a') + "\xc3\xab" + QByteArray(behind, 'b');
            ASSERT_EQ(written(bytes), QString(QString(before, u'a') + u'\u00eb' + QString(behind, u'b')));
        }
    }
}

TEST(Text, ChangesTheCaseOfASCIILettersOnly)
{
    EXPECT_EQ(Text::asciiLowered(u"A\u212A\u00C4Z["), u"a\u212A\u00C4z[");
    EXPECT_EQ(Text::asciiUppered(u"a\u017F\u00E4z{"), u"A\u017F\u00E4Z{");
}

} // namespace
} // namespace Larkhaven
