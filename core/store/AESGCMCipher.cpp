#include "store/AESGCMCipher.h"

#include "domain/MailError.h"
#include "platform/RandomBytes.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <memory>
#include <openssl/evp.h>
#include <optional>

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(CipherError)
};

struct ContextFree {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextFree>;

/// Looking the algorithm up takes longer than sealing a kilobyte. NB: a context with the key in it isn't
/// kept: its memory is one that dumps hold.
const EVP_CIPHER* algorithm()
{
    static const EVP_CIPHER* const fetched = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
    return fetched;
}

unsigned char* bytes(char* data)
{
    return reinterpret_cast<unsigned char*>(data);
}
const unsigned char* bytes(const char* data)
{
    return reinterpret_cast<const unsigned char*>(data);
}

/// Runs `update` over the input in pieces that its `int` lengths can tell; GCM gives as many bytes as it
/// takes.
template <typename Update>
bool updateAll(Update update, EVP_CIPHER_CTX* context, char* out, const char* in, qsizetype size)
{
    constexpr qsizetype pieceSize = qsizetype{1} << 30;
    for (qsizetype done = 0; done < size;) {
        const int piece = static_cast<int>(std::min(pieceSize, size - done));
        int written = 0;
        if (update(context, bytes(out + done), &written, bytes(in + done), piece) != 1 || written != piece)
            return false;
        done += piece;
    }
    return true;
}

std::optional<QByteArray> sealed(const SecretBytes& key, const QByteArray& nonce, const QByteArray& plaintext)
{
    const Context context(EVP_CIPHER_CTX_new());
    QByteArray box(AESGCMCipher::nonceSize + plaintext.size() + AESGCMCipher::tagSize, Qt::Uninitialized);
    std::copy(nonce.begin(), nonce.end(), box.begin());
    char* const ciphertext = box.data() + AESGCMCipher::nonceSize;
    char* const tag = ciphertext + plaintext.size();
    int written = 0;
    const bool done =
        context &&
        EVP_EncryptInit_ex2(context.get(), algorithm(), bytes(key.data()), bytes(nonce.data()), nullptr) ==
            1 &&
        updateAll(EVP_EncryptUpdate, context.get(), ciphertext, plaintext.data(), plaintext.size()) &&
        EVP_EncryptFinal_ex(context.get(), bytes(tag), &written) == 1 &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, AESGCMCipher::tagSize, tag) == 1;
    return done ? std::optional(box) : std::nullopt;
}

} // namespace

QString CipherError::localizedText() const
{
    return m_kind == Kind::incorrectParameterSize ? Texts::tr("The stored data is too short.")
                                                  : Texts::tr("The stored data can't be opened.");
}

AESGCMCipher::AESGCMCipher(QByteArray key)
    : m_key(std::move(key))
{
    Q_ASSERT(m_key.size() == keySize);
}

QByteArray AESGCMCipher::seal(const QByteArray& plaintext) const
{
    const std::optional<QByteArray> nonce = randomBytes(nonceSize);
    const std::optional<QByteArray> box = nonce ? sealed(m_key, *nonce, plaintext) : std::nullopt;
    if (!box)
        throw MailError::protocolError(Texts::tr("Encryption failed."));
    return *box;
}

QByteArray AESGCMCipher::open(const QByteArray& box) const
{
    if (box.size() < nonceSize + tagSize)
        throw CipherError(CipherError::Kind::incorrectParameterSize);
    const Context context(EVP_CIPHER_CTX_new());
    QByteArray plaintext(box.size() - nonceSize - tagSize, Qt::Uninitialized);
    const char* const ciphertext = box.data() + nonceSize;
    std::array<char, tagSize> tag{};
    std::copy_n(box.end() - tagSize, tagSize, tag.begin());
    int written = 0;
    // What was decrypted leaves this function only once the tag has proved it.
    const bool done =
        context &&
        EVP_DecryptInit_ex2(context.get(), algorithm(), bytes(m_key.data()), bytes(box.data()), nullptr) ==
            1 &&
        updateAll(EVP_DecryptUpdate, context.get(), plaintext.data(), ciphertext, plaintext.size()) &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, tagSize, tag.data()) == 1 &&
        EVP_DecryptFinal_ex(context.get(), bytes(tag.data()), &written) == 1;
    if (!done)
        throw CipherError(CipherError::Kind::authenticationFailure);
    return plaintext;
}

} // namespace Larkhaven
