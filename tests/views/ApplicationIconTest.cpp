#include "views/style/ApplicationIcon.h"

#include <QImage>

#include <gtest/gtest.h>

namespace Larkhaven {
namespace {

TEST(ApplicationIcon, IsPartOfTheProgramInEverySize)
{
    for (const int size : {16, 22, 32, 48, 64, 128, 256}) {
        const QImage image = applicationIcon().pixmap(size).toImage();
        ASSERT_EQ(image.size(), QSize(size, size));
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << "its corners are round, at " << size;
        // Its ground, beside the bird: a purple.
        const QColor ground = image.pixelColor(size / 8, size / 2);
        EXPECT_EQ(ground.alpha(), 255) << size;
        EXPECT_NEAR(ground.hslHue(), QColor(0x6A, 0x45, 0xD8).hslHue(), 5) << size;
        EXPECT_GT(image.pixelColor(size / 2, size * 3 / 4).lightness(), 220) << "the envelope, at " << size;
    }
}

} // namespace
} // namespace Larkhaven
