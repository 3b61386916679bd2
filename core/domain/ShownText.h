#pragma once

#include <QString>
#include <QStringView>

/// Untrusted text made fit for a place of one line outside the sandbox: a title, a label, a tooltip, a field.
/// Pure functions, callable from any thread.
namespace Larkhaven::ShownText {

/// The most marks that one letter keeps. Vietnamese needs two, biblical Hebrew four, stacked Tibetan six.
inline constexpr int mostMarks = 8;

/// At most the first `length` UTF-16 units of what can be seen of the text, on one line; an ellipsis follows
/// where anything is cut off.
///
/// - Each line end and each other control character (C0, DEL, C1) becomes a space, CR LF a single one.
/// - Characters that turn the direction of the text, and those that aren't seen
/// (Default_Ignorable_Code_Point)
///   go. A joiner stays within an emoji sequence (UTS #51), and where the script needs it: beside a virama,
///   or behind a letter that joins (RFC 5892, appendix A). A variation selector stays behind an emoji, an
///   ideograph or a Mongolian letter.
/// - Of the marks on one letter the first `mostMarks` stay.
/// - Half a surrogate pair and a noncharacter become U+FFFD.
///
/// Looks at no more than 16 units for each that it may give, so that it is linear in `length`.
QString line(QStringView text, qsizetype length);

/// Whether the text holds a control character other than a tab, or one that turns the direction of the text
/// or isn't seen, where `line` would not keep it. The tags of a flag of a region (UTS #51, ED-14a) count as
/// seen with it. Linear.
bool hasHidden(QStringView text);

/// Whether anything in the text can be seen: more than space, controls, marks that stand on nothing, and
/// letters without ink. Linear.
bool hasInk(QStringView text);

/// The text with each stretch of white space, and of letters that are drawn as nothing, as one space.
/// Linear.
QString singleSpaced(const QString& text);

} // namespace Larkhaven::ShownText
