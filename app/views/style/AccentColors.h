#pragma once

#include <QColor>

/// What makes an accent readable that somebody else has chosen. Pure functions.
namespace Larkhaven::AccentColors {

/// The contrast ratio of WCAG 2, from 1 to 21, of two opaque colours.
double contrast(const QColor& one, const QColor& other);
/// A translucent colour over an opaque one.
QColor over(const QColor& tint, const QColor& ground);

inline constexpr double leastOfTexts = 4.5;
inline constexpr double leastOfControls = 3.0;
/// How opaque the accent is behind rows: under the mouse, and selected.
inline constexpr double hoverTint = 0.10;
inline constexpr double selectionTint = 0.18;

/// What an accent has to be seen with.
struct Grounds {
    QColor window;
    QColor surface;
    QColor text;
    QColor secondary;
    QColor control; ///< the faintest control that stands on a selected row
};

/// Of white and a dark ink the one that is read better on the accent.
QColor onAccent(const QColor& accent);
/// The colour of this hue whose lightness is nearest to the wanted one's, of those that reach the contrast
/// everywhere; `fallback` where none does.
QColor fitting(const QColor& wanted, const Grounds& grounds, const QColor& fallback);

} // namespace Larkhaven::AccentColors
