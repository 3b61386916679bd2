#pragma once

#include <QByteArrayView>
#include <QString>

/// The bytes of a message as text that can be shown. Pure, total, from any thread, linear.
namespace Larkhaven::SourceText {

/// In bytes, for the whole and for a line; what is longer is left out (a line goes on in the next one).
inline constexpr qsizetype mostBytes = 1'000'000;
inline constexpr qsizetype longestLine = 1'000;
inline constexpr qsizetype mostLines = 20'000;

/// Lines as they came, read as UTF-8. Each code point that isn't seen, has no meaning of its own
/// (private, unassigned), stands upon another, or changes the direction of a line is shown as U+FFFD, and
/// each control below U+0020 but the tab as its picture. A last line says that the rest is left out, where it
/// is.
QString shown(QByteArrayView raw);

} // namespace Larkhaven::SourceText
