#include "views/style/StyleColors.h"

#include "views/style/AccentColors.h"

namespace Larkhaven {

namespace {

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

/// Fills in what follows from the other colours.
StyleColors derived(StyleColors colors)
{
    const bool isDark = colors.surface.lightnessF() < 0.5;
    colors.hairline = withAlpha(colors.text, 0.10);
    colors.edge = withAlpha(colors.text, 0.22);
    colors.pressedAccent = isDark ? colors.accent.lighter(110) : colors.accent.darker(112);
    colors.hover = withAlpha(colors.accent, AccentColors::hoverTint);
    colors.selected = withAlpha(colors.accent, AccentColors::selectionTint);
    colors.quietSelected = withAlpha(colors.text, 0.10);
    colors.scrollBar = withAlpha(colors.secondary, 0.40);
    return colors;
}

StyleColors lightColors()
{
    StyleColors colors;
    colors.window = 0xF6F5F9;
    colors.surface = 0xFFFFFF;
    colors.text = 0x1E1B26;
    colors.secondary = 0x625D70;
    colors.accent = 0x6A45D8;
    colors.onAccent = 0xFFFFFF;
    colors.warningBackground = 0xFFF4DC;
    colors.warningText = 0x6B4A00;
    colors.danger = 0xC42B3C;
    colors.star = 0xD99A00;
    colors.starEdge = 0xA06D00;
    return derived(colors);
}

StyleColors darkColors()
{
    StyleColors colors;
    colors.window = 0x1B1922;
    colors.surface = 0x24212D;
    colors.text = 0xECEAF2;
    colors.secondary = 0xA7A1B8;
    colors.accent = 0xA68BFF;
    colors.onAccent = 0x1C1430;
    colors.warningBackground = 0x3A3015;
    colors.warningText = 0xFFD98A;
    colors.danger = 0xFF8089;
    colors.star = 0xFFC94D;
    colors.starEdge = colors.star;
    return derived(colors);
}

} // namespace

StyleColors StyleColors::of(Scheme scheme, const std::optional<QColor>& accent)
{
    StyleColors colors = scheme == Scheme::dark ? darkColors() : lightColors();
    if (!accent)
        return colors;
    colors.accent = AccentColors::fitting(
        *accent, {colors.window, colors.surface, colors.text, colors.secondary, colors.starEdge},
        colors.accent);
    colors.onAccent = AccentColors::onAccent(colors.accent);
    return derived(colors);
}

// A palette of the desktop would not do: without a platform theme it is that of the widget style, with less
// contrast than ours.
StyleColors StyleColors::ofHighContrast(Scheme scheme)
{
    const bool isDark = scheme == Scheme::dark;
    const QColor ink(isDark ? 0xFFFFFF : 0x000000);
    const QColor paper(isDark ? 0x000000 : 0xFFFFFF);
    StyleColors colors;
    colors.window = paper;
    colors.surface = paper;
    colors.text = ink;
    colors.secondary = ink;
    colors.accent = isDark ? 0xCFC0FF : 0x3A1A9E;
    colors.onAccent = paper;
    colors.warningBackground = paper;
    colors.warningText = ink;
    colors.danger = isDark ? 0xFFB3B8 : 0x9A0015;
    colors.star = isDark ? 0xFFD76A : 0x7A5200;
    colors.starEdge = colors.star;
    colors = derived(colors);
    colors.hairline = ink;
    colors.edge = ink;
    colors.quietSelected = withAlpha(ink, 0.15);
    colors.scrollBar = ink;
    return colors;
}

QColor StyleColors::disabled(QColor color)
{
    constexpr float opacity = 0.4F;
    color.setAlphaF(color.alphaF() * opacity);
    return color;
}

} // namespace Larkhaven
