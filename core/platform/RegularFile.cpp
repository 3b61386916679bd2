#include "platform/RegularFile.h"

#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Larkhaven::RegularFile {

#ifdef Q_OS_UNIX

namespace {

bool openAs(QFile& file, const QString& path, int flags, QIODevice::OpenMode mode)
{
    // What the name stands for may change between a look and the opening, so the look comes after it.
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), flags | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
        file.open(descriptor, mode, QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

} // namespace

bool open(QFile& file, const QString& path)
{
    return openAs(file, path, O_RDONLY, QIODevice::ReadOnly);
}

bool openToAppend(QFile& file, const QString& path)
{
    return openAs(file, path, O_WRONLY | O_APPEND, QIODevice::Append | QIODevice::Unbuffered);
}

#else

namespace {

bool openAs(QFile& file, const QString& path, QIODevice::OpenMode mode)
{
    const QFileInfo info(path);
    file.setFileName(path);
    return info.isFile() && !info.isSymbolicLink() && file.open(mode);
}

} // namespace

bool open(QFile& file, const QString& path)
{
    return openAs(file, path, QIODevice::ReadOnly);
}

bool openToAppend(QFile& file, const QString& path)
{
    return openAs(file, path, QIODevice::Append | QIODevice::Unbuffered);
}

#endif

} // namespace Larkhaven::RegularFile
