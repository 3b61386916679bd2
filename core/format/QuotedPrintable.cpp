#include "format/QuotedPrintable.h"

#include "domain/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Larkhaven::QuotedPrintable {

namespace {

constexpr std::int8_t noDigit = -1;
constexpr int noOctet = -1;

constexpr std::array<std::int8_t, 256> makeHexValues()
{
    std::array<std::int8_t, 256> values{};
    values.fill(noDigit);
    for (int digit = 0; digit < 16; ++digit) {
        values[static_cast<std::size_t>("0123456789ABCDEF"[digit])] = static_cast<std::int8_t>(digit);
        values[static_cast<std::size_t>("0123456789abcdef"[digit])] = static_cast<std::int8_t>(digit);
    }
    return values;
}

constexpr std::array<std::int8_t, 256> hexValues = makeHexValues();

/// The value of a hexadecimal digit, negative for any other byte.
int hexValue(char byte)
{
    return hexValues[static_cast<unsigned char>(byte)];
}

/// The octet that an escape stands for, which begins with "="; negative where it is none.
int escapedOctet(const char* input, const char* end)
{
    return end - input > 2 ? hexValue(input[1]) * 16 | hexValue(input[2]) : noOctet;
}

/// The length of the soft line break that `bytes`, the first of which is "=", begin with; 0 where it is none.
qsizetype softBreakLength(QByteArrayView bytes)
{
    if (bytes.size() > 1 && bytes[1] == '\n')
        return 2;
    return bytes.size() > 2 && bytes[1] == '\r' && bytes[2] == '\n' ? 3 : 0;
}

/// Copies what stands before the next "=" and returns how many bytes that are, sixteen at once where the
/// processor can and there is room for them: of prose beyond ASCII, the pieces between two escapes are too
/// short for a search and a copy of their own, which take twice as long. The output never overtakes the
/// input, so that what is copied beyond the "=" is written over.
///
/// NB: the pointers come by value. Through references each is read again behind every byte that is written,
/// which takes twice as long.
qsizetype copyPlain(const char* const input, const char* const end, char* const output)
{
    const qsizetype size = end - input;
    qsizetype index = 0;
#if defined(__SSE2__)
    const __m128i escapes = _mm_set1_epi8('=');
    constexpr qsizetype stride = sizeof(__m128i);
    for (; size - index >= stride; index += stride) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(input + index));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output + index), bytes);
        const int found = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, escapes));
        if (found != 0)
            return index + std::countr_zero(static_cast<unsigned>(found));
    }
#endif
    for (; index < size && input[index] != '='; ++index)
        output[index] = input[index];
    return index;
}

/// Writes at most as many bytes as there are, and returns how many.
qsizetype decodeInto(char* const start, QByteArrayView bytes, bool underscoreAsSpace)
{
    char* output = start;
    const char* input = bytes.data();
    const char* const end = input + bytes.size();
    while (input != end) {
        const qsizetype plain = copyPlain(input, end, output);
        if (underscoreAsSpace)
            std::replace(output, output + plain, '_', ' ');
        input += plain;
        output += plain;
        while (input != end && *input == '=') {
            const int octet = escapedOctet(input, end);
            if (octet >= 0) {
                *output++ = static_cast<char>(octet);
                input += 3;
                continue;
            }
            const qsizetype lineBreak = softBreakLength(QByteArrayView(input, end - input));
            if (lineBreak == 0)
                *output++ = '=';
            input += std::max<qsizetype>(lineBreak, 1);
        }
    }
    return output - start;
}

/// Reads octets one by one, without the soft line breaks between them. Negative at the end.
int nextOctet(const char*& input, const char* end)
{
    while (input != end && *input == '=') {
        const int octet = escapedOctet(input, end);
        if (octet >= 0) {
            input += 3;
            return octet;
        }
        const qsizetype lineBreak = softBreakLength(QByteArrayView(input, end - input));
        input += std::max<qsizetype>(lineBreak, 1);
        if (lineBreak == 0)
            return '=';
    }
    return input != end ? static_cast<unsigned char>(*input++) : noOctet;
}

bool isASCII(char byte)
{
    return static_cast<unsigned char>(byte) < 0x80;
}

/// Like `copyPlain`, up to the next byte beyond ASCII as well, and a unit for each byte.
qsizetype widenPlain(const char* const input, const char* const end, char16_t* const output)
{
    const qsizetype size = end - input;
    qsizetype index = 0;
#if defined(__SSE2__)
    const __m128i escapes = _mm_set1_epi8('=');
    const __m128i zero = _mm_setzero_si128();
    constexpr qsizetype stride = sizeof(__m128i);
    for (; size - index >= stride; index += stride) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(input + index));
        auto* const units = reinterpret_cast<__m128i*>(output + index);
        _mm_storeu_si128(units, _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(units + 1, _mm_unpackhi_epi8(bytes, zero));
        const int found = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(bytes, escapes), bytes));
        if (found != 0)
            return index + std::countr_zero(static_cast<unsigned>(found));
    }
#endif
    for (; index < size && input[index] != '=' && isASCII(input[index]); ++index)
        output[index] = static_cast<char16_t>(input[index]);
    return index;
}

/// The character of two octets that the bytes begin with, each of them escaped ("=C3=A4"); 0 where they
/// don't. Such are most letters of most languages, and a call for each octet takes twice as long.
char16_t escapedPair(const char* input, const char* end)
{
    if (end - input < 6 || input[0] != '=' || input[3] != '=')
        return 0;
    const int lead = hexValue(input[1]) * 16 | hexValue(input[2]);
    const int next = hexValue(input[4]) * 16 | hexValue(input[5]);
    // No digits make a negative number, which is no lead, and as the second octet has its two highest bits
    // set.
    if (lead < 0xC2 || lead > 0xDF || (next & 0xC0) != 0x80)
        return 0;
    return static_cast<char16_t>((lead & 0x1F) << 6 | (next & 0x3F));
}

/// Writes the character of UTF-8 that the octets spell, the first of which is `lead`, and returns where it
/// ends; null where it is none.
char16_t* takeCharacter(int lead, const char*& input, const char* end, char16_t* output)
{
    std::array<char, 4> octets{static_cast<char>(lead)};
    const qsizetype length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    for (qsizetype index = 1; index < length; ++index) {
        const int octet = nextOctet(input, end);
        if (octet < 0)
            return nullptr;
        octets[static_cast<std::size_t>(index)] = static_cast<char>(octet);
    }
    return Text::writeStrictUTF8(output, QByteArrayView(octets.data(), length));
}

} // namespace

QByteArray decode(QByteArrayView bytes, bool underscoreAsSpace)
{
    QByteArray result(bytes.size(), Qt::Uninitialized);
    result.truncate(decodeInto(result.data(), bytes, underscoreAsSpace));
    if (result.size() < result.capacity() / 2)
        result.squeeze();
    return result;
}

std::optional<QString> decodeUTF8(QByteArrayView bytes)
{
    // Neither an escape nor a sequence of UTF-8 is shorter than what comes of it.
    QString text(bytes.size(), Qt::Uninitialized);
    auto* const start = reinterpret_cast<char16_t*>(text.data());
    char16_t* output = start;
    const char* input = bytes.data();
    const char* const end = input + bytes.size();
    while (input != end) {
        const qsizetype plain = widenPlain(input, end, output);
        input += plain;
        output += plain;
        while (input != end && (*input == '=' || !isASCII(*input))) {
            if (const char16_t letter = escapedPair(input, end)) {
                *output++ = letter;
                input += 6;
                continue;
            }
            const int octet = nextOctet(input, end);
            if (octet >= 0x80)
                output = takeCharacter(octet, input, end, output);
            else if (octet >= 0)
                *output++ = static_cast<char16_t>(octet);
            if (!output)
                return std::nullopt;
        }
    }
    text.truncate(output - start);
    if (text.size() < text.capacity() / 2)
        text.squeeze();
    return text;
}

} // namespace Larkhaven::QuotedPrintable
