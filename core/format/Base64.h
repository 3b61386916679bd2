#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QStringView>

/// Base64 (RFC 4648, 4) at the speed of the processor's vectors. Pure functions, callable from any thread;
/// `MailEncoding` says what mail makes of it.
namespace Larkhaven::Base64 {

/// `plain` is what a processor without AVX2 gets. Both give the same bytes.
enum class Path { fastest, plain };

/// What the characters of the alphabet spell; all others are passed over. Empty where 4n + 1 are left.
QByteArray decode(QByteArrayView text, Path path = Path::fastest);

/// What may be written for that many characters: more than what counts.
constexpr qsizetype roomFor(qsizetype characters)
{
    constexpr qsizetype vector = 32;
    return (characters + 3) / 4 * 3 + vector;
}

/// How much of a text was read, and how many octets came of it.
struct Run {
    qsizetype characters;
    qsizetype octets;

    bool operator==(const Run&) const = default;
};

/// Decodes the text up to the first character that isn't of the alphabet, into `output`, which has room for
/// `roomFor` as many characters. 4n + 1 of them give no octets.
Run decodeRun(char* output, QStringView text, Path path = Path::fastest);

/// Lines of 76 characters with CRLF between them (RFC 2045, 6.8).
QByteArray encodeLines(QByteArrayView bytes, Path path = Path::fastest);

} // namespace Larkhaven::Base64
