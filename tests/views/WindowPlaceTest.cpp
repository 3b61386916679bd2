#include "views/style/WindowPlace.h"

#include "support/QtPrinters.h"

#include <QScreen>
#include <QWidget>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(WindowPlace, NoSideGoesBeyondTheScreenWithItsFrame)
{
    const QRect small(0, 0, 960, 540);
    EXPECT_EQ(WindowPlace::fitted({680, 560}, small), QSize(680, 500));
    EXPECT_EQ(WindowPlace::fitted({2'000, 400}, small), QSize(956, 400));
    EXPECT_EQ(WindowPlace::fitted({680, 500}, small), QSize(680, 500));
    EXPECT_EQ(WindowPlace::fitted({680, 560}, QRect()), QSize(1, 1));
}

TEST(WindowPlace, ASizeIsTextAndBackAndNothingElseIs)
{
    EXPECT_EQ(WindowPlace::text({680, 560}), u"680x560"_s);
    EXPECT_EQ(WindowPlace::size(u"680x560"_s), QSize(680, 560));
    EXPECT_EQ(WindowPlace::size(u"16384x1"_s), QSize(16'384, 1));
    for (const QString& text : {u""_s, u"680"_s, u"680x"_s, u"0x5"_s, u"-1x5"_s, u"680x560x1"_s, u"16385x5"_s,
                                u"5x16385"_s, u"999999x5"_s, u" 680x560"_s})
        EXPECT_FALSE(WindowPlace::size(text).isValid()) << text.toStdString();
}

TEST(WindowPlace, AWindowOpensAsTheUserLeftTheLastOne)
{
    QString kept;
    int writes = 0;
    const WindowPlace::Memory memory{[&] { return kept; },
                                     [&](const QString& size) {
                                         kept = size;
                                         ++writes;
                                     }};
    const auto opened = [&](QSize resized) {
        QWidget window;
        new WindowPlace(window, {300, 200}, {100, 80}, memory);
        const QSize size = window.size();
        window.show();
        if (resized.isValid())
            window.resize(resized);
        window.close();
        return size;
    };
    EXPECT_EQ(opened({}), QSize(300, 200));
    EXPECT_EQ(writes, 0);
    EXPECT_EQ(opened({320, 240}), QSize(300, 200));
    EXPECT_EQ(kept, u"320x240"_s);
    EXPECT_EQ(opened({}), QSize(320, 240));
    EXPECT_EQ(writes, 1);
    kept = u"nonsense"_s;
    EXPECT_EQ(opened({}), QSize(300, 200));
    kept = u"20x20"_s;
    EXPECT_EQ(opened({}), QSize(100, 80));
}

TEST(WindowPlace, ASizeOfALargerScreenFitsThisOne)
{
    QWidget window;
    new WindowPlace(window, {300, 200}, {100, 80}, {[] { return u"9000x9000"_s; }, nullptr});
    const QSize available = window.screen()->availableGeometry().size();
    EXPECT_LT(window.width(), available.width());
    EXPECT_LT(window.height(), available.height());
}

} // namespace
} // namespace Larkhaven
