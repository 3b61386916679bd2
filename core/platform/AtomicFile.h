#pragma once

#include <QByteArrayView>
#include <QString>

namespace Larkhaven::AtomicFile {

/// Whether the bytes are on the disk before they take the name.
enum class Durability {
    none,   ///< after a power failure the file may be empty or cut; a killed program leaves it whole
    synced, ///< after a power failure it is the old file or the new one
};

/// Writes a file for the owner alone, which takes the place of what has the name, be it a link, by a rename
/// (rename(2)): who reads finds the old bytes or the new ones. False where it failed; then what had the name
/// stays, and no other file is left. Callable from any thread.
///
/// In place of `QSaveFile`, which took 65 µs more for each file of 60 kB.
bool write(const QString& path, QByteArrayView bytes, Durability durability);

} // namespace Larkhaven::AtomicFile
