#pragma once

#include <QList>
#include <QStringView>

#include <optional>

/// The lengths of style values in CSS pixels. Pure functions, callable from any thread, linear in the text.
namespace Larkhaven::StyleMeasure {

/// The length that the value is, or that `calc()`, `min()`, `max()` or `clamp()` give. A number without a
/// unit counts as pixels, and each percentage that stands alone as one, so that "1%" is as little as "1px"; a
/// percentage in a function is taken of 1000 pixels. Absent where it isn't known, as with "auto".
std::optional<double> pixels(QStringView value);

/// The lengths in a value of several, whatever separates them; at most `mostLengths`.
QList<double> allPixels(QStringView value);

inline constexpr qsizetype mostLengths = 16;

/// Functions deeper than this aren't read.
inline constexpr int deepestFunction = 16;

} // namespace Larkhaven::StyleMeasure
