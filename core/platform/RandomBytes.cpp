#include "platform/RandomBytes.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <sys/random.h>

namespace Larkhaven {

std::optional<QByteArray> randomBytes(qsizetype count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < count) {
        const ssize_t got = getrandom(bytes.data() + filled, static_cast<std::size_t>(count - filled), 0);
        if (got < 0 && errno != EINTR)
            return std::nullopt;
        filled += std::max<ssize_t>(got, 0);
    }
    return bytes;
}

} // namespace Larkhaven
