#pragma once

#include <QList>
#include <QStringView>

#include <optional>

/// The values of styles as far as they decide whether text is seen (CSS Values 4, CSS Color 4). All functions
/// are pure, callable from any thread, and linear in their input. Values are given in lower case, without
/// white space around them.
namespace Larkhaven::CSSValues {

/// In sRGB: 0 to 255, the alpha 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    /// What is seen of it on an opaque ground.
    Color over(const Color& ground) const;
    bool operator==(const Color&) const = default;
};

/// Names, "#" with 3, 4, 6 or 8 digits, rgb(), rgba(), hsl(), hsla(), hwb() and "transparent"; absent for
/// anything else.
std::optional<Color> color(QStringView value);

/// The color of a `bgcolor` or `color` attribute: whatever it holds is read as one (HTML, "rules for parsing
/// a legacy color value"); absent for nothing and for "transparent".
std::optional<Color> legacyColor(QStringView value);

/// Of colors that a value holds no more are looked at.
inline constexpr qsizetype mostColors = 16;

/// The colors within a value of several pieces, as of a gradient or a shadow.
QList<Color> colorsIn(QStringView value);

/// Whether a text in the ink is as good as unseen on the ground: no channel is further from the other than by
/// a sixth of its range.
bool isNearlyEqual(const Color& ink, const Color& ground);

/// What relative lengths refer to, in CSS pixels.
struct Measure {
    double font = 14; ///< the size of the font
    double whole = 0; ///< 100%
};

/// The widths and heights that a page is taken to have, in CSS pixels.
inline constexpr double pageWidth = 800;
inline constexpr double pageHeight = 600;

/// A length or a percentage in CSS pixels; zero needs no unit. Of functions those that hold nothing but sums,
/// min(), max() or clamp() of lengths. Absent for anything else.
std::optional<double> length(QStringView value, const Measure& measure);

/// A number or a percentage, 100% being 1; absent for anything else.
std::optional<double> number(QStringView value);

/// The pieces of a value between white space, commas and slashes; what stands in brackets is one piece with
/// what is before it.
QList<QStringView> pieces(QStringView value);

/// What stands between the brackets of a function of the name; absent where the value is another.
std::optional<QStringView> argumentsOf(QStringView value, QLatin1StringView name);

/// Where the next of the marks stands outside of quotes and brackets; the end of the text where none does.
/// Braces are brackets too, but for those that are marks.
qsizetype endBefore(QStringView text, qsizetype start, QStringView marks);

} // namespace Larkhaven::CSSValues
