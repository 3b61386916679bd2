#include "platform/SecretBytes.h"

#include <algorithm>
#include <new>
#include <openssl/crypto.h>

namespace Larkhaven {

namespace {

char* allocated(size_t size)
{
    // Once in the process; the smallest piece that is given out is a key.
    constexpr size_t smallest = 32;
    static const int isReady = CRYPTO_secure_malloc_init(SecretBytes::heapSize, smallest);
    void* const bytes = isReady != 0 ? OPENSSL_secure_malloc(size) : nullptr;
    return static_cast<char*>(bytes ? bytes : OPENSSL_malloc(size));
}

} // namespace

SecretBytes::SecretBytes(QByteArray bytes)
    : m_size(bytes.size())
    , m_bytes(allocated(static_cast<size_t>(std::max<qsizetype>(m_size, 1))),
              Wipe{static_cast<size_t>(m_size)})
{
    if (!m_bytes)
        throw std::bad_alloc();
    std::copy_n(bytes.constData(), m_size, m_bytes.get());
    if (bytes.isDetached())
        OPENSSL_cleanse(bytes.data(), static_cast<size_t>(m_size));
}

void SecretBytes::Wipe::operator()(char* bytes) const
{
    if (CRYPTO_secure_allocated(bytes) == 1) {
        OPENSSL_secure_clear_free(bytes, size);
    } else {
        OPENSSL_clear_free(bytes, size);
    }
}

} // namespace Larkhaven
