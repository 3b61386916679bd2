#pragma once

#include <QByteArray>

namespace Larkhaven {

/// What makes bytes unreadable before they reach the disk. Immutable; callable from any thread.
class CacheCipher {
public:
    virtual ~CacheCipher() = default;

    /// Both may fail with an error of the cipher.
    virtual QByteArray seal(const QByteArray& plaintext) const = 0;
    virtual QByteArray open(const QByteArray& sealed) const = 0;
};

} // namespace Larkhaven
