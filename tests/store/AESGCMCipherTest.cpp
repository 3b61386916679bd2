#include "store/AESGCMCipher.h"

#include "domain/MailError.h"
#include "support/QtPrinters.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

AESGCMCipher someCipher()
{
    return AESGCMCipher(QByteArray(32, 'k'));
}

CipherError::Kind failureOf(const AESGCMCipher& cipher, const QByteArray& box)
{
    try {
        cipher.open(box);
    } catch (const CipherError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "the box opened";
    return {};
}

// The test cases for AES-256 without additional data of "The Galois/Counter Mode of Operation" by McGrew and
// Viega, which NIST SP 800-38D stands on.

TEST(AESGCMCipher, OpensTheBoxOfNothingOfTestCase13)
{
    const AESGCMCipher cipher(QByteArray(32, '\0'));
    EXPECT_EQ(cipher.open(QByteArray(12, '\0') + hex("530f8afbc74536b9a963b4f1c4cb738b")), "");
}

TEST(AESGCMCipher, OpensTheBoxOfOneBlockOfTestCase14)
{
    const AESGCMCipher cipher(QByteArray(32, '\0'));
    EXPECT_EQ(cipher.open(QByteArray(12, '\0') + hex("cea7403d4d606b6e074ec5d3baf39d18"
                                                     "d0d1c8a799996bf0265b98b5d48ab919")),
              QByteArray(16, '\0'));
}

TEST(AESGCMCipher, OpensTheBoxOfFourBlocksOfTestCase15)
{
    const AESGCMCipher cipher(hex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308"));
    EXPECT_EQ(cipher.open(hex("cafebabefacedbaddecaf888"
                              "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
                              "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662898015ad"
                              "b094dac5d93471bdec1a502270e3cc6c")),
              hex("d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
                  "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b391aafd255"));
}

TEST(AESGCMCipher, OpensWhatItSealed)
{
    const AESGCMCipher cipher = someCipher();
    for (const QByteArray& plaintext :
         {QByteArray(), QByteArray("x"), QByteArray(16, '\0'), QByteArray(1'000'003, 'y')})
        EXPECT_TRUE(cipher.open(cipher.seal(plaintext)) == plaintext);
}

TEST(AESGCMCipher, SealsIntoANonceTheCiphertextAndATag)
{
    EXPECT_EQ(someCipher().seal("").size(), 28);
    EXPECT_EQ(someCipher().seal("hello").size(), 12 + 5 + 16);
    EXPECT_FALSE(someCipher().seal("hello hello").contains("hello"));
}

TEST(AESGCMCipher, TakesAFreshNonceForEachSeal)
{
    const AESGCMCipher cipher = someCipher();
    QSet<QByteArray> nonces;
    for (int round = 0; round < 1000; ++round)
        nonces.insert(cipher.seal("x").first(12));
    EXPECT_EQ(nonces.size(), 1000);
}

TEST(AESGCMCipher, RefusesABoxThatIsTooShort)
{
    for (qsizetype size = 0; size < 28; ++size)
        EXPECT_EQ(failureOf(someCipher(), QByteArray(size, 'x')), CipherError::Kind::incorrectParameterSize);
    EXPECT_EQ(failureOf(someCipher(), QByteArray(28, 'x')), CipherError::Kind::authenticationFailure);
}

TEST(AESGCMCipher, RefusesABoxInWhichAnyBitWasChanged)
{
    const AESGCMCipher cipher = someCipher();
    const QByteArray box = cipher.seal("hello");
    for (qsizetype index = 0; index < box.size(); ++index) {
        for (int bit = 0; bit < 8; ++bit) {
            QByteArray changed = box;
            changed[index] = static_cast<char>(changed[index] ^ (1 << bit));
            ASSERT_EQ(failureOf(cipher, changed), CipherError::Kind::authenticationFailure);
        }
    }
}

TEST(AESGCMCipher, RefusesABoxThatWasCutOrLengthened)
{
    const AESGCMCipher cipher = someCipher();
    const QByteArray box = cipher.seal("hello");
    EXPECT_EQ(failureOf(cipher, box.chopped(1)), CipherError::Kind::authenticationFailure);
    EXPECT_EQ(failureOf(cipher, box + '\0'), CipherError::Kind::authenticationFailure);
    EXPECT_EQ(failureOf(cipher, box.sliced(1)), CipherError::Kind::authenticationFailure);
}

TEST(AESGCMCipher, RefusesABoxOfAnotherKey)
{
    const QByteArray box = someCipher().seal("hello");
    EXPECT_EQ(failureOf(AESGCMCipher(QByteArray(32, 'o')), box), CipherError::Kind::authenticationFailure);
}

TEST(CipherError, IsToldWithoutAnythingOfTheContents)
{
    EXPECT_EQ(CipherError(CipherError::Kind::incorrectParameterSize).localizedText(),
              u"The stored data is too short.");
    EXPECT_EQ(CipherError(CipherError::Kind::authenticationFailure).localizedText(),
              u"The stored data can't be opened.");
}

} // namespace
} // namespace Larkhaven
