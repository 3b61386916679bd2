#pragma once

#include <QString>
#include <QStringView>

/// Names of files that untrusted senders chose, as they are shown, saved and sent on. Pure functions,
/// callable from any thread, linear in their input.
namespace Larkhaven::FileName {

/// The longest name that file systems take, in bytes of UTF-8.
inline constexpr qsizetype longestName = 255;
/// In bytes of UTF-8, the dot included; a longer ending counts as part of the name.
inline constexpr qsizetype longestEnding = 32;

/// The name as it can be seen (`ShownText`), cut to `longestName` bytes where it is longer. Its ending
/// (".pdf") stays, and no character is cut in two. It never begins with a dot, and ends neither with one nor
/// with a space, which some file systems drop. Each stretch of white space, or of letters without ink, is one
/// space: nothing stands so far behind the rest that it isn't noticed. "attachment" stands where nothing is
/// left before the ending.
///
/// NB: a name that `MIMEParser::safeFilename` gives may still hold what isn't seen.
QString shown(const QString& name);

/// The ending of a name that `shown` has given, its dot included; empty where it has none.
QStringView endingOf(QStringView shownName);

} // namespace Larkhaven::FileName
