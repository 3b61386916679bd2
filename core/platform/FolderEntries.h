#pragma once

#include <QList>
#include <QString>

namespace Larkhaven {

/// What lies in a folder, whatever kind it is of.
struct FolderEntry {
    QString path;
    qint64 size = 0; ///< in bytes; 0 where it can't be looked at
    /// When it was last changed, in nanoseconds since 1970; where it can't be looked at, before all others.
    qint64 modified = 0;

    /// All but "." and "..", in no order; empty where the folder can't be read. What a symbolic link leads to
    /// counts, not the link. Any thread.
    ///
    /// By the folder's descriptor, which spares the kernel the way to it for each entry: a third of the time
    /// that `QDirIterator` and `QFileInfo` take.
    static QList<FolderEntry> of(const QString& folder);
};

} // namespace Larkhaven
