#include "safety/PlainValue.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/UTF8.h"
#include "support/QtPrinters.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using namespace HTMLSanitizer;

QByteArray writtenAsValue(const QByteArray& bytes)
{
    return escapeHTML(decodeEntities(Text::fromRepairedUTF8(bytes))).toUtf8();
}

QByteArray writtenAsStyle(const QByteArray& bytes)
{
    return escapeHTML(safeStyle(decodeEntities(Text::fromRepairedUTF8(bytes)))).toUtf8();
}

/// Some of what matters to a filter, of letters, and of bytes that are no text.
QByteArray randomValue(std::mt19937& random)
{
    static const std::array<QByteArray, 40> pieces{"position",
                                                   "POSITION",
                                                   "behavior",
                                                   "-moz-binding",
                                                   "javascript",
                                                   "url",
                                                   "expression",
                                                   "image",
                                                   "@import",
                                                   "@font-face",
                                                   ":",
                                                   " ",
                                                   "\t",
                                                   "\n",
                                                   "\x0b",
                                                   "\x7f",
                                                   ";",
                                                   "{",
                                                   "}",
                                                   "(",
                                                   ")",
                                                   "/*",
                                                   "*/",
                                                   "\\",
                                                   "&",
                                                   "&amp;",
                                                   "<",
                                                   ">",
                                                   "\"",
                                                   "'",
                                                   "color",
                                                   "red",
                                                   "fixed",
                                                   "1px",
                                                   "\xC3\xBC",
                                                   "\xC2\xA0",
                                                   "\xE2\x80\x83",
                                                   "\xE2\x84\xAA",
                                                   "\xff",
                                                   "\xC5\xBF"};
    QByteArray value;
    for (auto count = random() % 6; count > 0; --count)
        value += pieces[random() % pieces.size()];
    return value;
}

TEST(PlainValue, IsWhatDecodingAndEscapingLeaveAsItIs)
{
    std::mt19937 random(1);
    int plain = 0;
    for (int round = 0; round < 100'000; ++round) {
        const QByteArray value = randomValue(random);
        if (!isPlainValue(value))
            continue;
        ++plain;
        ASSERT_EQ(writtenAsValue(value), value) << value.toPercentEncoding().toStdString();
    }
    EXPECT_GT(plain, 10'000) << "hardly a value counts as plain";
}

TEST(PlainValue, IsAPlainStyleWhereTheFilterLeavesItAsItIs)
{
    std::mt19937 random(2);
    int plain = 0;
    for (int round = 0; round < 200'000; ++round) {
        const QByteArray style = randomValue(random);
        if (!isPlainValue(style) || !isPlainStyle(style))
            continue;
        ++plain;
        ASSERT_EQ(writtenAsStyle(style), style) << style.toPercentEncoding().toStdString();
    }
    EXPECT_GT(plain, 10'000) << "hardly a style counts as plain";
}

TEST(PlainValue, IsNearlyEveryValueOfHonestMail)
{
    for (const QByteArray value : {"600", "center", "Bild der Woche", "#1a73e8",
                                   "Gr\xC3\xBC\xC3\x9F"
                                   "e",
                                   "_blank"})
        EXPECT_TRUE(isPlainValue(value)) << value.toStdString();
    for (const QByteArray style :
         {"margin:0 auto", "padding:18px 24px;font-family:Helvetica,Arial,sans-serif;color:#333",
          "display:block;border:0", "background-position-x:0"})
        EXPECT_TRUE(isPlainValue(style) && isPlainStyle(style)) << style.toStdString();
}

TEST(PlainValue, KeepsAByteOrderMarkThatBeginsIt)
{
    // A browser takes the mark for a part of the name, so that nothing is hidden.
    SanitizerOptions options;
    const SanitizedHTML shown = sanitize(
        u"<a href='https://evil.example/'>bank<span style='display:none'> z </span>."_s +
            u"<span style='\uFEFFdisplay:none'>example</span></a><img src='https://x.example/a.png' "_s +
            u"width='\uFEFF1' height='100'>"_s,
        options);
    ASSERT_EQ(shown.links.size(), 1);
    EXPECT_TRUE(shown.links[0].readings.contains(u"bank.example"_s))
        << shown.links[0].readings.join(u'|').toStdString();
    EXPECT_EQ(shown.trackers, 0);
}

TEST(EncodedUTF8, IsWhatEachCharacterGives)
{
    const auto plain = [](QStringView text) {
        QByteArray bytes;
        for (const char32_t character : text.toUcs4())
            bytes += QString::fromUcs4(&character, 1).toUtf8();
        return bytes;
    };
    std::mt19937 random(3);
    constexpr std::array<char32_t, 10> edges{0x7F,   0x80,    0x7FF,    0x800,  0xFFFD,
                                             0xFFFF, 0x10000, 0x10FFFF, 0xD7FF, 0xE000};
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (auto count = random() % 70; count > 0; --count) {
            const bool isLetter = random() % 8 != 0;
            const char32_t character =
                isLetter ? static_cast<char32_t>('a' + random() % 26) : edges[random() % edges.size()];
            text += QString::fromUcs4(&character, 1);
        }
        ASSERT_EQ(UTF8::encoded(text), plain(text));
    }
}

TEST(EncodedUTF8, ReplacesHalvesOfPairs)
{
    const QByteArray replaced = "\xEF\xBF\xBD";
    const QString high(QChar(0xD83D));
    const QString low(QChar(0xDE00));
    const QString letters = u"sixteen letters!"_s;
    EXPECT_EQ(UTF8::encoded(high), replaced);
    EXPECT_EQ(UTF8::encoded(low), replaced);
    EXPECT_EQ(UTF8::encoded(low + high), replaced + replaced);
    EXPECT_EQ(UTF8::encoded(high + letters), replaced + letters.toUtf8());
    EXPECT_EQ(UTF8::encoded(letters + high), letters.toUtf8() + replaced);
    EXPECT_EQ(UTF8::encoded(letters.chopped(1) + high + low),
              letters.chopped(1).toUtf8() + "\xF0\x9F\x98\x80");
}

} // namespace
} // namespace Larkhaven
