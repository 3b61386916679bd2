#pragma once

#include <QByteArray>

#include <memory>

namespace Larkhaven {

/// The bytes of a key, in memory that no core dump has and that isn't written to the disk (OpenSSL's secure
/// heap: mlock(2), MADV_DONTDUMP). They are wiped at their end. Any thread.
class SecretBytes {
public:
    /// Bytes that all secrets of the process may have together; further ones lie where others do.
    static constexpr size_t heapSize = 64 * 1024;

    /// Copies the bytes, and wipes the ones that came unless somebody else has them as well.
    explicit SecretBytes(QByteArray bytes);

    const char* data() const { return m_bytes.get(); }
    qsizetype size() const { return m_size; }

private:
    struct Wipe {
        size_t size = 0;
        void operator()(char* bytes) const;
    };

    qsizetype m_size;
    std::unique_ptr<char, Wipe> m_bytes;
};

} // namespace Larkhaven
