#pragma once

#include <QString>
#include <QStringList>

/// The one way of untrusted text into titles, labels, tooltips, menus and chips. What passes is cut, on one
/// line, without controls, without characters that aren't seen or turn the direction of what stands beside
/// them, and with a bounded number of marks on a letter (`ShownText::line`). Pure functions, linear in the
/// length that they may give.
namespace Larkhaven::DisplayText {

/// The longest untrusted text that a label, a title or an alert is given, in UTF-16 units. Laying out an
/// endless word takes the time of its square, and a display ends the program for a title that is too long.
inline constexpr qsizetype maxLength = 1000;
/// The most lines of an alert.
inline constexpr qsizetype maxLines = 50;

/// The text on one line, cut to `length` with an ellipsis behind it.
QString bounded(const QString& text, qsizetype length = maxLength);

/// The text of an alert: as many lines as it has, up to `maxLines`, and each of them as above; `maxLength`
/// holds for all of them together.
QString lines(const QString& text);

/// A tooltip that shows the text as it stands: no part of it is formatting.
QString toolTip(const QString& text);
/// One with a line for each of the texts.
QString toolTip(const QStringList& lines);

/// The text of a menu item or a button: no part of it marks a key.
QString menuItem(const QString& text);

} // namespace Larkhaven::DisplayText
