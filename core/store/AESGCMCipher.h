#pragma once

#include "domain/LocalizedError.h"
#include "platform/SecretBytes.h"
#include "store/CacheCipher.h"

namespace Larkhaven {

/// Why a sealed box can't be opened.
class CipherError : public LocalizedError {
public:
    enum class Kind {
        incorrectParameterSize, ///< shorter than a nonce and a tag
        authenticationFailure,  ///< sealed under another key, or changed since
    };

    explicit CipherError(Kind kind)
        : m_kind(kind)
    {}
    Kind kind() const { return m_kind; }
    QString localizedText() const override;

private:
    Kind m_kind;
};

/// AES-256-GCM (NIST SP 800-38D). A sealed box is the nonce (12 bytes, fresh and random), the ciphertext and
/// the tag (16 bytes), with no additional authenticated data.
class AESGCMCipher final : public CacheCipher {
public:
    static constexpr qsizetype keySize = 32;
    static constexpr qsizetype nonceSize = 12;
    static constexpr qsizetype tagSize = 16;

    /// `key` must be `keySize` bytes long.
    explicit AESGCMCipher(QByteArray key);

    /// Fails with `MailError::protocolError` "Encryption failed.".
    QByteArray seal(const QByteArray& plaintext) const override;
    /// Fails with `CipherError`.
    QByteArray open(const QByteArray& sealed) const override;

private:
    SecretBytes m_key;
};

} // namespace Larkhaven
