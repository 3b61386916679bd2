#include "app/platform/ProcessPrivacy.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Larkhaven::ProcessPrivacy {

namespace {

constexpr mode_t ownerAlone = 077;
constexpr const char* dumpFilter = "/proc/self/coredump_filter";

/// What the process was started with.
struct Inherited {
    bool isKnown = false;
    mode_t mask = 0;
    rlimit core{};
    std::array<char, 16> filter{};
    ssize_t filterSize = 0;
};
Inherited inherited;

void writeFilter(std::string_view mask) noexcept
{
    const int file = ::open(dumpFilter, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    // Kernels without core dumps have no such file, and nothing to keep out of one.
    [[maybe_unused]] const ssize_t written = ::write(file, mask.data(), mask.size());
    ::close(file);
}

} // namespace

void begin()
{
    if (std::exchange(inherited.isKnown, true))
        return;
    inherited.mask = ::umask(ownerAlone);
    ::getrlimit(RLIMIT_CORE, &inherited.core);
    // The hard limit stays, so that it can be given back.
    const rlimit none{0, inherited.core.rlim_max};
    ::setrlimit(RLIMIT_CORE, &none);
    QFile filter{QString::fromLatin1(dumpFilter)};
    if (filter.open(QIODevice::ReadOnly)) {
        // The kernel gives hexadecimal digits, and takes them behind "0x".
        const QByteArray mask = "0x" + filter.readAll().trimmed();
        inherited.filterSize = std::min<ssize_t>(mask.size(), inherited.filter.size());
        std::copy_n(mask.constData(), inherited.filterSize, inherited.filter.begin());
    }
    writeFilter("0");
}

void giveBack() noexcept
{
    if (!inherited.isKnown)
        return;
    ::umask(inherited.mask);
    ::setrlimit(RLIMIT_CORE, &inherited.core);
    if (inherited.filterSize > 0)
        writeFilter({inherited.filter.data(), static_cast<size_t>(inherited.filterSize)});
}

void close(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists() || info.ownerId() != ::geteuid() || info.isSymLink())
        return;
    auto mode = QFile::ReadOwner | QFile::WriteOwner;
    if (info.isDir())
        mode |= QFile::ExeOwner;
    QFile::setPermissions(path, mode);
}

UsersMask::UsersMask()
    : m_ours(::umask(ownerAlone))
{
    ::umask(inherited.isKnown ? inherited.mask : m_ours);
}

UsersMask::~UsersMask()
{
    ::umask(m_ours);
}

} // namespace Larkhaven::ProcessPrivacy
