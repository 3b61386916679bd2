#include "platform/FolderEntries.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFile>

#include <algorithm>
#include <limits>
#include <memory>
#include <string_view>

#ifdef Q_OS_UNIX
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#endif

namespace Larkhaven {

namespace {

constexpr qint64 unreadable = std::numeric_limits<qint64>::min();

} // namespace

#ifdef Q_OS_UNIX

namespace {

constexpr qint64 nanosecondsOfASecond = 1'000'000'000;

/// The times that a file system may tell reach further.
qint64 nanoseconds(const timespec& time)
{
    constexpr qint64 latest = std::numeric_limits<qint64>::max() / nanosecondsOfASecond - 1;
    return std::clamp<qint64>(time.tv_sec, -latest, latest) * nanosecondsOfASecond + time.tv_nsec;
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

} // namespace

QList<FolderEntry> FolderEntry::of(const QString& folder)
{
    QList<FolderEntry> entries;
    const std::unique_ptr<DIR, CloseFolder> open(::opendir(QFile::encodeName(folder).constData()));
    if (!open)
        return entries;
    const QString above = folder + u'/';
    while (const dirent* const entry = ::readdir(open.get())) {
        const std::string_view name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        struct stat status {};
        const QString path = above + QFile::decodeName(entry->d_name);
        if (::fstatat(::dirfd(open.get()), entry->d_name, &status, 0) == 0)
            entries.append({path, status.st_size, nanoseconds(status.st_mtim)});
        else
            entries.append({path, 0, unreadable});
    }
    return entries;
}

#else

QList<FolderEntry> FolderEntry::of(const QString& folder)
{
    constexpr qint64 nanosecondsOfAMillisecond = 1'000'000;
    QList<FolderEntry> entries;
    QDirIterator iterator(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (iterator.hasNext()) {
        iterator.next();
        const QFileInfo info = iterator.fileInfo();
        const QDateTime modified = info.lastModified();
        if (modified.isValid())
            entries.append(
                {info.filePath(), info.size(), modified.toMSecsSinceEpoch() * nanosecondsOfAMillisecond});
        else
            entries.append({info.filePath(), 0, unreadable});
    }
    return entries;
}

#endif

} // namespace Larkhaven
