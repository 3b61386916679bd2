#include "safety/UTF8.h"
#include "support/QtPrinters.h"

#include <QList>

#include <array>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

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
