#pragma once

#include <QByteArray>
#include <QString>

/// Files that the user saves. From any thread.
namespace Larkhaven::SavedFile {

/// Replaces the file as a whole, or fails with a `LocalizedError` and leaves what was there. The owner may
/// read and write it, and nobody may run it, whatever could be done with a file that was there.
void write(const QString& path, const QByteArray& bytes);

} // namespace Larkhaven::SavedFile
