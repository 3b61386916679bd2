#include "format/Base64.h"

#include "support/QtPrinters.h"

#include <QByteArrayList>

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace Larkhaven {
namespace {

using Base64::Path;

QByteArray randomBytes(std::mt19937& random, qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

/// Decodes character by character.
QByteArray plainReading(const QByteArray& text)
{
    const QByteArray alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    QByteArray bits;
    for (const char character : text) {
        const qsizetype value = alphabet.indexOf(character);
        for (int bit = 5; value >= 0 && bit >= 0; --bit)
            bits += static_cast<char>(value >> bit & 1);
    }
    if (bits.size() % 24 == 6)
        return {};
    QByteArray octets;
    for (qsizetype start = 0; start + 8 <= bits.size(); start += 8) {
        int octet = 0;
        for (qsizetype bit = 0; bit < 8; ++bit)
            octet = octet * 2 + bits[start + bit];
        octets += static_cast<char>(octet);
    }
    return octets;
}

void expectDecoded(const QByteArray& text)
{
    const QByteArray octets = plainReading(text);
    for (const Path path : {Path::fastest, Path::plain})
        ASSERT_EQ(Base64::decode(text, path), octets) << text.toStdString();
}

TEST(Base64, ReadsEachCharacterAtEachPlaceOfABlockAlikeOnBothPaths)
{
    for (qsizetype place = 0; place < 40; ++place) {
        for (int character = 0; character < 256; ++character) {
            QByteArray text = "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNk";
            text[place] = static_cast<char>(character);
            expectDecoded(text);
        }
    }
}

TEST(Base64, ReadsRandomTextsWithStrayCharactersAlikeOnBothPaths)
{
    const QByteArrayList stray{"\r\n", "\n", "=", "==", " ", "\x80", "\xFF", "-_", QByteArray(1, '\0'),
                               "*****"};
    std::mt19937 random(1);
    for (int round = 0; round < 3'000; ++round) {
        QByteArray text = randomBytes(random, static_cast<qsizetype>(random() % 300)).toBase64();
        for (std::size_t count = random() % 8; count > 0; --count) {
            const auto place = static_cast<qsizetype>(random() % static_cast<std::size_t>(text.size() + 1));
            text.insert(place,
                        stray[static_cast<qsizetype>(random() % static_cast<std::size_t>(stray.size()))]);
        }
        expectDecoded(text);
        expectDecoded(text.first(text.size() * 3 / 4));
    }
}

/// Reads the run that the text begins with on both paths, and what stands for it character by character.
void expectRun(const QString& text)
{
    const QByteArray alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto isStray = [&](QChar unit) {
        return unit.unicode() > 0x7f || !alphabet.contains(unit.toLatin1());
    };
    const qsizetype length = std::ranges::find_if(text, isStray) - text.begin();
    const QByteArray expected = plainReading(text.first(length).toLatin1());
    for (const Path path : {Path::fastest, Path::plain}) {
        QByteArray octets(Base64::roomFor(text.size()), Qt::Uninitialized);
        const Base64::Run run = Base64::decodeRun(octets.data(), text, path);
        ASSERT_EQ(run, (Base64::Run{length, expected.size()})) << text.toStdString();
        ASSERT_EQ(octets.first(run.octets), expected) << text.toStdString();
    }
}

TEST(Base64, ReadsARunUpToEachCharacterAtEachPlaceAlikeOnBothPaths)
{
    const QString whole =
        QStringLiteral("QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2d3h5eg");
    for (qsizetype length = 0; length <= whole.size(); ++length)
        expectRun(whole.first(length));
    for (qsizetype place = 0; place < whole.size(); ++place) {
        for (int unit = 0; unit < 0x10000; unit += unit < 0x180 ? 1 : 0xFD) {
            QString text = whole;
            text[place] = QChar(unit);
            expectRun(text);
        }
    }
}

TEST(Base64, WritesTheSameLinesOnBothPathsForEachLength)
{
    std::mt19937 random(2);
    for (qsizetype size = 0; size < 400; ++size) {
        const QByteArray bytes = randomBytes(random, size);
        const QByteArray whole = bytes.toBase64();
        QByteArrayList lines;
        for (qsizetype start = 0; start < whole.size(); start += 76)
            lines.append(whole.mid(start, 76));
        const QByteArray expected = lines.join("\r\n");
        for (const Path path : {Path::fastest, Path::plain}) {
            ASSERT_EQ(Base64::encodeLines(bytes, path), expected) << size;
            ASSERT_EQ(Base64::decode(expected, path), bytes) << size;
        }
    }
}

TEST(Base64, WritesEachPairOfOctetsAlikeOnBothPaths)
{
    for (int first = 0; first < 256; ++first) {
        QByteArray bytes;
        for (int second = 0; second < 256; ++second)
            bytes += QByteArray(1, static_cast<char>(first)) + static_cast<char>(second);
        ASSERT_EQ(Base64::encodeLines(bytes, Path::fastest), Base64::encodeLines(bytes, Path::plain));
        ASSERT_EQ(Base64::encodeLines(bytes).replace("\r\n", ""), bytes.toBase64());
    }
}

} // namespace
} // namespace Larkhaven
