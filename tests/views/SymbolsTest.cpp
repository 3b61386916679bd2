#include "views/style/Symbols.h"

#include "views/style/Style.h"

#include <QImage>

#include <algorithm>
#include <gtest/gtest.h>

namespace Larkhaven {
namespace {

int strongestAlpha(const QImage& image)
{
    int alpha = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            alpha = std::max(alpha, image.pixelColor(x, y).alpha());
    }
    return alpha;
}

TEST(Symbols, AreAllAsFaintAsTheirColour)
{
    Style::shared().applyToApplication();
    QColor faint(Qt::black);
    faint.setAlpha(102);
    constexpr int size = 64;
    for (int symbol = 0; symbol <= static_cast<int>(Symbol::minus); ++symbol) {
        const QImage image = Symbols::pixmap(static_cast<Symbol>(symbol), size, faint, 1).toImage();
        EXPECT_NEAR(strongestAlpha(image), faint.alpha(), 2) << symbol;
    }
}

} // namespace
} // namespace Larkhaven
