#pragma once

#include <QString>

namespace Larkhaven::DisplayText {

/// The longest text of a stranger that a label, a title or an alert is given, in UTF-16 units. Laying out an
/// endless word takes the time of its square, and a display ends the program for a title that is too long.
inline constexpr qsizetype maxLength = 1000;

/// The text, cut to `length` with an ellipsis behind it.
QString bounded(const QString& text, qsizetype length = maxLength);

/// A tooltip that shows the text as it stands: no part of it is formatting.
QString toolTip(const QString& text);

} // namespace Larkhaven::DisplayText
