#include "format/QuotedPrintable.h"

#include "domain/Text.h"
#include "support/QtPrinters.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using QuotedPrintable::decodeUTF8;

std::optional<QString> plainly(QByteArrayView bytes)
{
    return Text::fromStrictUTF8(QuotedPrintable::decode(bytes, false));
}

TEST(QuotedPrintable, ReadsLettersOfUTF8AtAnyOffset)
{
    for (int before = 0; before < 40; ++before) {
        for (int behind = 0; behind < 40; ++behind) {
            const QByteArray plain(before, 'a');
            const QByteArray rest(behind, 'b');
            const QString expected =
                QString(before, u'a') + u"ä€\U0001F600ö"_s + QString(behind, u'b') + u"="_s;
            EXPECT_EQ(decodeUTF8(plain + "=C3=a4=E2=82=AC=F0=9F=98=80\xc3\xb6" + rest + "=3D"), expected)
                << before << ' ' << behind;
        }
    }
}

TEST(QuotedPrintable, ReadsALetterThatASoftLineBreakOrAnEscapeDivides)
{
    EXPECT_EQ(decodeUTF8("=C3=\r\n=A4"), u"ä"_s);
    EXPECT_EQ(decodeUTF8("=C3=\n=\r\n\xa4"), u"ä"_s);
    EXPECT_EQ(decodeUTF8("\xc3=A4"), u"ä"_s);
    EXPECT_EQ(decodeUTF8("\xe2=82=\n\xac"), u"€"_s);
}

TEST(QuotedPrintable, IsNoTextWhereItsOctetsAreNoUTF8)
{
    for (const QByteArray& bytes : {"=E4"_ba, "\xe4"_ba, "=C3"_ba, "=C3x"_ba, "=C3=3D"_ba, "=C3="_ba,
                                    "=A4"_ba, "=C0=80"_ba, "=C1=81"_ba, "=E0=80=80"_ba, "=ED=A0=80"_ba,
                                    "=F5=80=80=80"_ba, "=F4=90=80=80"_ba, "=FF=FF=FF=FF"_ba, "=C3\r\n=A4"_ba})
        EXPECT_FALSE(decodeUTF8("abc" + bytes)) << bytes.toStdString();
}

TEST(QuotedPrintable, LeavesWhatIsNoEscapeInItsText)
{
    for (const QByteArray& bytes :
         {""_ba, "="_ba, "=="_ba, "=4"_ba, "=ZZ"_ba, "=\r"_ba, "==41"_ba, "=4=41"_ba, "=\r\n"_ba, "a=\nb"_ba})
        EXPECT_EQ(decodeUTF8(bytes), plainly(bytes)) << bytes.toStdString();
}

TEST(QuotedPrintable, KeepsNoRoomForEscapes)
{
    const std::optional<QString> text = decodeUTF8(QByteArray("=D0=B4").repeated(100'000));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->size(), 100'000);
    EXPECT_LT(text->capacity(), 200'000);
}

TEST(QuotedPrintable, GivesTheTextOfItsOctetsForRandomBytes)
{
    constexpr std::array pieces = {
        "=C3=A4",    "=c3=a4",   "=",    "=\r\n",        "=\n",  "\r\n",
        "=E2=82=AC", "\xc3\xa4", "\xe2", "=82",          "\xac", "plain text of some length",
        "a",         "=3D",      "=4",   "=F0=9F=98=80", "_"};
    std::mt19937 random(7);
    int texts = 0;
    for (int round = 0; round < 20'000; ++round) {
        QByteArray bytes;
        for (auto left = random() % 12; left > 0; --left) {
            // Stray octets are rare, so that a good part of the inputs is valid.
            const char* const piece = pieces[random() % pieces.size()];
            bytes += random() % 40 == 0 ? QByteArray(1, static_cast<char>(random())) : QByteArray(piece);
        }
        const std::optional<QString> expected = plainly(bytes);
        texts += expected ? 1 : 0;
        ASSERT_EQ(decodeUTF8(bytes), expected) << bytes.toPercentEncoding().toStdString();
    }
    EXPECT_GT(texts, 1000);
    EXPECT_LT(texts, 19'000);
}

} // namespace
} // namespace Larkhaven
