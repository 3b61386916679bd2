#include "platform/RegularFile.h"

#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Larkhaven::RegularFile {

#ifdef Q_OS_UNIX

bool open(QFile& file, const QString& path)
{
    // What the name stands for may change between a look and the opening, so the look comes after it.
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
        file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

#else

bool open(QFile& file, const QString& path)
{
    const QFileInfo info(path);
    file.setFileName(path);
    return info.isFile() && !info.isSymbolicLink() && file.open(QIODevice::ReadOnly);
}

#endif

} // namespace Larkhaven::RegularFile
