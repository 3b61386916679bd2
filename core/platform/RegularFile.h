#pragma once

#include <QFile>
#include <QString>

namespace Larkhaven::RegularFile {

/// Opens an existing file for reading, and nothing but a regular file: no directory, pipe, device or socket,
/// which could block whoever opens or reads it, and no symbolic link as its last component. False where that
/// can't be, and then `file` is closed. Callable from any thread.
bool open(QFile& file, const QString& path);

/// The same for writing: each write goes to the end of the file.
bool openToAppend(QFile& file, const QString& path);

} // namespace Larkhaven::RegularFile
