#include "safety/UTF8.h"

#include "domain/Text.h"

#include <algorithm>

namespace Larkhaven::UTF8 {

namespace {

/// Writes the units as bytes where all of them are ASCII; the compiler makes vectors of both loops.
template <qsizetype count>
bool narrow(const char16_t* __restrict units, char* __restrict bytes)
{
    char16_t all = 0;
    for (qsizetype index = 0; index < count; ++index)
        all |= units[index];
    if (all >= 0x80)
        return false;
    for (qsizetype index = 0; index < count; ++index)
        bytes[index] = static_cast<char>(units[index]);
    return true;
}

char* write(char32_t character, char* output)
{
    const auto tail = [character](int shift) {
        return static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        *output++ = static_cast<char>(character);
    } else if (character < 0x800) {
        *output++ = static_cast<char>(0xC0 | character >> 6);
        *output++ = tail(0);
    } else if (character < 0x10000) {
        *output++ = static_cast<char>(0xE0 | character >> 12);
        *output++ = tail(6);
        *output++ = tail(0);
    } else {
        *output++ = static_cast<char>(0xF0 | character >> 18);
        *output++ = tail(12);
        *output++ = tail(6);
        *output++ = tail(0);
    }
    return output;
}

} // namespace

QByteArray encoded(QStringView text)
{
    // A code unit of UTF-16 takes at most three bytes of UTF-8.
    QByteArray bytes(text.size() * 3, Qt::Uninitialized);
    char* output = bytes.data();
    const char16_t* input = text.utf16();
    const char16_t* const end = input + text.size();
    // Not ICU, which takes four times as long for mail: most of it is ASCII, of which 16 units are taken at
    // once.
    constexpr qsizetype step = 16;
    while (input < end) {
        if (end - input >= step && narrow<step>(input, output)) {
            input += step;
            output += step;
            continue;
        }
        const char16_t* const stepEnd = input + std::min<qsizetype>(step, end - input);
        while (input < stepEnd) {
            char32_t character = *input++;
            if (QChar::isHighSurrogate(character) && input < end && QChar::isLowSurrogate(*input))
                character = QChar::surrogateToUcs4(static_cast<char16_t>(character), *input++);
            else if (QChar::isSurrogate(character))
                character = QChar::ReplacementCharacter;
            output = write(character, output);
        }
    }
    bytes.truncate(output - bytes.constData());
    return bytes;
}

bool isHexDigit(char16_t unit)
{
    return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'f') || (unit >= u'A' && unit <= u'F');
}

unsigned hexValue(char16_t digit)
{
    return digit <= u'9' ? digit - u'0' : (digit | 0x20U) - u'a' + 10U;
}

bool isPercentEncodedAt(QStringView text, qsizetype position)
{
    return text[position] == u'%' && position + 2 < text.size() && isHexDigit(text[position + 1].unicode()) &&
           isHexDigit(text[position + 2].unicode());
}

std::optional<QString> percentDecoded(QStringView text)
{
    const QByteArray source = encoded(text);
    QByteArray bytes;
    bytes.reserve(source.size());
    for (qsizetype i = 0; i < source.size(); ++i) {
        if (source[i] != '%') {
            bytes += source[i];
            continue;
        }
        if (i + 2 >= source.size() || !isHexDigit(static_cast<uchar>(source[i + 1])) ||
            !isHexDigit(static_cast<uchar>(source[i + 2])))
            return std::nullopt;
        const unsigned value =
            hexValue(static_cast<uchar>(source[i + 1])) * 16 + hexValue(static_cast<uchar>(source[i + 2]));
        bytes += static_cast<char>(value);
        i += 2;
    }
    return Text::fromStrictUTF8(bytes);
}

} // namespace Larkhaven::UTF8
