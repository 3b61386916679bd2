#include "views/style/AccentColors.h"

#include <algorithm>
#include <cmath>

namespace Larkhaven::AccentColors {

namespace {

/// The relative luminance of WCAG 2.
double luminance(const QColor& color)
{
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor tinted(QColor accent, double alpha, const QColor& ground)
{
    accent.setAlphaF(static_cast<float>(alpha));
    return over(accent, ground);
}

bool fits(const QColor& accent, const Grounds& grounds)
{
    const QColor hoveredWindow = tinted(accent, hoverTint, grounds.window);
    const QColor hovered = tinted(accent, hoverTint, grounds.surface);
    const QColor selected = tinted(accent, selectionTint, grounds.surface);
    const auto reads = [](const QColor& text, const QColor& ground) {
        return contrast(text, ground) >= leastOfTexts;
    };
    return reads(accent, grounds.window) && reads(accent, grounds.surface) &&
           reads(onAccent(accent), accent) && reads(grounds.text, selected) && reads(grounds.text, hovered) &&
           reads(grounds.text, hoveredWindow) && reads(grounds.secondary, selected) &&
           reads(grounds.secondary, hovered) && contrast(accent, selected) >= leastOfControls &&
           contrast(accent, hovered) >= leastOfControls &&
           contrast(grounds.control, selected) >= leastOfControls;
}

} // namespace

double contrast(const QColor& one, const QColor& other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

QColor over(const QColor& tint, const QColor& ground)
{
    const auto mix = [&tint](float top, float bottom) {
        return top * tint.alphaF() + bottom * (1 - tint.alphaF());
    };
    return QColor::fromRgbF(mix(tint.redF(), ground.redF()), mix(tint.greenF(), ground.greenF()),
                            mix(tint.blueF(), ground.blueF()));
}

QColor onAccent(const QColor& accent)
{
    const QColor ink(0x1C, 0x14, 0x30);
    return contrast(ink, accent) > contrast(Qt::white, accent) ? ink : QColor(Qt::white);
}

QColor fitting(const QColor& wanted, const Grounds& grounds, const QColor& fallback)
{
    constexpr int steps = 200;
    float hue = 0;
    float saturation = 0;
    float lightness = 0;
    wanted.getHslF(&hue, &saturation, &lightness);
    for (int step = 0; step <= steps; ++step) {
        const float distance = static_cast<float>(step) / steps;
        for (const float tried : {lightness - distance, lightness + distance}) {
            if (tried < 0 || tried > 1)
                continue;
            // As it is shown, in whole steps of each channel. A grey has no hue.
            const QColor color = QColor::fromHslF(std::max(hue, 0.0F), saturation, tried).rgb();
            if (fits(color, grounds))
                return color;
        }
    }
    return fallback;
}

} // namespace Larkhaven::AccentColors
