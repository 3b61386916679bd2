#pragma once

#include <QByteArray>

#include <optional>

namespace Larkhaven {

/// `count` bytes from the kernel's random source, fit for keys; absent if it can't give them. From any
/// thread.
std::optional<QByteArray> randomBytes(qsizetype count);

} // namespace Larkhaven
