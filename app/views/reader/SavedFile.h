#pragma once

#include <QByteArray>
#include <QString>

/// Files that the user saves. Pure but for the file; from any thread.
namespace Larkhaven::SavedFile {

/// The longest name that file systems take, in bytes of UTF-8.
inline constexpr qsizetype longestName = 255;
/// In bytes of UTF-8, the dot included; a longer ending counts as part of the name.
inline constexpr qsizetype longestEnding = 32;

/// The name as it can be seen (`ShownText`), cut to `longestName` bytes where it is longer. Its ending
/// (".pdf") stays, and no character is cut in two. It never begins with a dot; "attachment" stands where
/// nothing is left before the ending. Linear.
///
/// NB: a name that `MIMEParser::safeFilename` gives may still hold what isn't seen.
QString name(const QString& suggested);

/// Replaces the file as a whole, or fails with a `LocalizedError` and leaves what was there.
void write(const QString& path, const QByteArray& bytes);

} // namespace Larkhaven::SavedFile
