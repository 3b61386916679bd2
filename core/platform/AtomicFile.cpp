#include "platform/AtomicFile.h"

#include <QFile>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#else
#include <QSaveFile>
#endif

namespace Larkhaven::AtomicFile {

#ifdef Q_OS_UNIX

namespace {

bool writeAll(int file, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(file, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written > 0)
            bytes = bytes.sliced(written);
        else if (written == 0 || errno != EINTR)
            return false;
    }
    return true;
}

} // namespace

bool write(const QString& path, QByteArrayView bytes, Durability durability)
{
    const QByteArray name = QFile::encodeName(path);
    QByteArray temporary = name + ".XXXXXX";
    const int file = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (file < 0)
        return false;
    const bool isWritten =
        writeAll(file, bytes) && (durability == Durability::none || ::fdatasync(file) == 0);
    // A file system that writes late, as those of the network, reports it here.
    const bool isClosed = ::close(file) == 0;
    if (isWritten && isClosed && ::rename(temporary.constData(), name.constData()) == 0)
        return true;
    ::unlink(temporary.constData());
    return false;
}

#else

bool write(const QString& path, QByteArrayView bytes, Durability)
{
    if (QFile::symLinkTarget(path).size() > 0)
        QFile::remove(path);
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes.data(), bytes.size()) == bytes.size() &&
           file.commit();
}

#endif

} // namespace Larkhaven::AtomicFile
