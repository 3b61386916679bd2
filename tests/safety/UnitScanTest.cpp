#include "safety/UnitScan.h"

#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What eight units at a time find is what one at a time does: for texts of each length, from each place, and
/// units on both sides of each edge.
template <typename Test>
void expectSameAsOneByOne(const QString& units, Test test)
{
    std::mt19937 random(1);
    constexpr qsizetype longest = 80;
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        const auto rarity = 1 + random() % 40;
        for (auto size = random() % longest; size > 0; --size)
            text +=
                random() % rarity == 0 ? units[static_cast<qsizetype>(random() % units.size())] : QChar(u'n');
        const QStringView view(text);
        const char16_t* const end = view.utf16() + view.size();
        const char16_t* const start = view.utf16() + random() % static_cast<std::size_t>(view.size() + 1);
        const char16_t* const expected =
            std::find_if(start, end, [&](char16_t unit) { return test.of(unit); });
        ASSERT_EQ(UnitScan::find(start, end, test) - start, expected - start) << text.toStdString();
        ASSERT_EQ(UnitScan::findFar(start, end, test) - start, expected - start) << text.toStdString();
    }
}

TEST(UnitScan, FindsMarks)
{
    expectSameAsOneByOne(u"<>&;=?\u003c\u013c\u3c00\u803c"_s, UnitScan::IsAnyOf<u'<', u'>', u'&'>{});
    expectSameAsOneByOne(u"<;=\u803c"_s, UnitScan::IsMark{u'<'});
}

TEST(UnitScan, FindsWhatIsOutside)
{
    expectSameAsOneByOne(u" !\"}~\u007f\u0080\u7fff\u8000\u8021\uffff"_s + QChar(0),
                         UnitScan::IsOutside<u'!', u'~'>{});
}

TEST(UnitScan, FindsHalvesOfPairs)
{
    QString units = u"\u07ff\ue000\uffff"_s + QChar(0);
    for (const int unit : {0xd7ff, 0xd800, 0xdbff, 0xdc00, 0xdfff})
        units += QChar(unit);
    expectSameAsOneByOne(units, UnitScan::IsSurrogate{});
}

TEST(SanitizeHTML, ReplacesHalvesOfPairsWhereverTheyStand)
{
    const QString high(QChar(0xd83d));
    const QString low(QChar(0xde00));
    for (qsizetype before = 0; before < 70; ++before) {
        const QString start = u"<p>"_s + QString(before, u'a');
        const auto shown = [&](const QString& text) {
            const QString document = HTMLSanitizer::sanitize(start + text, {}).document;
            return document.sliced(document.indexOf(u"<p>"_s));
        };
        const QString end = u"</p></body></html>"_s;
        EXPECT_EQ(shown(high), start + u"\ufffd"_s + end);
        EXPECT_EQ(shown(low + high), start + u"\ufffd\ufffd"_s + end);
        EXPECT_EQ(shown(high + low + u"b"_s), start + high + low + u"b"_s + end);
        EXPECT_EQ(shown(high + high + low), start + u"\ufffd"_s + high + low + end);
    }
}

} // namespace
} // namespace Larkhaven
