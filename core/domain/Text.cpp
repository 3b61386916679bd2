#include "domain/Text.h"

#include <algorithm>
#include <bit>
#include <unicode/ubrk.h>
#include <unicode/ustring.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Larkhaven::Text {

bool isSpace(QChar character)
{
    return character == u' ' || character == u'\t' ||
           (character.unicode() > 0x7f && character.category() == QChar::Separator_Space);
}

bool isLineEnd(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= 0x0a && unit <= 0x0d) || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

namespace {

/// What is visible of ASCII, which no one trims, is told without a call.
template <typename Predicate>
QStringView trimmedWhere(QStringView text, Predicate isTrimmed)
{
    const auto mayGo = [isTrimmed](QChar character) {
        return !(character > u' ' && character < u'\x7f') && isTrimmed(character);
    };
    while (!text.isEmpty() && mayGo(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && mayGo(text.back()))
        text.chop(1);
    return text;
}

} // namespace

QStringView trimmedSpace(QStringView text)
{
    return trimmedWhere(text, isSpace);
}

QStringView trimmedSpaceAndLineEnds(QStringView text)
{
    return trimmedWhere(text, [](QChar character) { return isSpace(character) || isLineEnd(character); });
}

QStringView trimmedBlanks(QStringView text)
{
    return trimmedWhere(text, [](QChar character) { return character == u' '; });
}

namespace {

/// Applies `convert` to each ASCII character.
template <typename Convert>
QString convertedASCII(QStringView text, Convert convert)
{
    QString result = text.toString();
    for (QChar& character : result)
        character = convert(character.unicode());
    return result;
}

} // namespace

QString asciiLowered(QStringView text)
{
    return convertedASCII(text, [](char16_t unit) {
        return QChar(unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit);
    });
}

QString asciiUppered(QStringView text)
{
    return convertedASCII(text, [](char16_t unit) {
        return QChar(unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit);
    });
}

bool isSameKeyword(QStringView left, QStringView right)
{
    const auto small = [](QChar character) {
        const char16_t unit = character.unicode();
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
    };
    return std::ranges::equal(left, right, {}, small, small);
}

QString lowered(QStringView text)
{
    // The lower case of a character takes as many code units as the character: see `QChar::toLower`, which
    // maps one to one.
    QString result(text.size(), Qt::Uninitialized);
    QChar* const output = result.data();
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar unit = text[index];
        const bool isPair =
            unit.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate();
        if (unit.unicode() < 0x80) {
            // What most texts consist of needs no table.
            output[index] = unit >= u'A' && unit <= u'Z' ? QChar(unit.unicode() + 0x20) : unit;
        } else if (isPair) {
            const char32_t low = QChar::toLower(QChar::surrogateToUcs4(unit, text[index + 1]));
            output[index] = QChar(QChar::highSurrogate(low));
            output[++index] = QChar(QChar::lowSurrogate(low));
        } else {
            output[index] = unit.toLower();
        }
    }
    return result;
}

namespace {

#if defined(__SSE2__)
/// Widens 16 bytes; which of them aren't ASCII, a bit for each, the lowest for the first.
unsigned widen(const uchar* input, char16_t* output)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(input));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output + 8), _mm_unpackhi_epi8(bytes, zero));
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}
#endif

/// Widens the ASCII that the bytes begin with. The output has room for a unit for each byte that is left.
void takeASCII(const uchar*& input, const uchar* end, char16_t*& output)
{
#if defined(__SSE2__)
    const uchar* const start = input;
    // All of a vector is written, also what isn't ASCII: the character that comes next is written over it. In
    // German prose this is three times as fast as looking for the end first.
    while (end - input >= 16) {
        const unsigned others = widen(input, output);
        if (others != 0) {
            input += std::countr_zero(others);
            output += std::countr_zero(others);
            return;
        }
        input += 16;
        output += 16;
    }
    while (input != end && end - start >= 8) {
        // The last step is taken back to where it has all of its bytes.
        const std::ptrdiff_t back = std::max<std::ptrdiff_t>(8 - (end - input), 0);
        input -= back;
        output -= back;
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(input));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
        const auto others = static_cast<unsigned>(_mm_movemask_epi8(bytes));
        const int length = others == 0 ? 8 : std::countr_zero(others);
        input += length;
        output += length;
        if (others != 0)
            return;
    }
#endif
    while (input < end && *input < 0x80)
        *output++ = *input++;
}

/// How far a conversion has come.
struct Progress {
    const uchar* input;
    char16_t* output;
};

/// Converts as much as is valid UTF-8 (the Unicode Standard, table 3-7) of the bytes.
///
/// Not ICU, which takes seven times as long for mail: most of it is ASCII.
Progress convertValid(const uchar* input, const uchar* end, char16_t* output)
{
    const auto follows = [](uchar byte) { return (byte & 0xC0) == 0x80; };
    while (input < end) {
        takeASCII(input, end, output);
        // A character beyond ASCII seldom stands alone.
        while (input < end && *input >= 0x80) {
            const uchar lead = *input;
            const qsizetype rest = end - input;
            if (lead >= 0xC2 && lead <= 0xDF && rest >= 2 && follows(input[1])) {
                *output++ = static_cast<char16_t>((lead & 0x1F) << 6 | (input[1] & 0x3F));
                input += 2;
            } else if ((lead & 0xF0) == 0xE0 && rest >= 3 && follows(input[1]) && follows(input[2])) {
                const int unit = (lead & 0x0F) << 12 | (input[1] & 0x3F) << 6 | (input[2] & 0x3F);
                if (unit < 0x800 || (unit >= 0xD800 && unit <= 0xDFFF))
                    return {input, output};
                *output++ = static_cast<char16_t>(unit);
                input += 3;
            } else if (lead >= 0xF0 && lead <= 0xF4 && rest >= 4 && follows(input[1]) && follows(input[2]) &&
                       follows(input[3])) {
                const auto character = static_cast<char32_t>((lead & 0x07) << 18 | (input[1] & 0x3F) << 12 |
                                                             (input[2] & 0x3F) << 6 | (input[3] & 0x3F));
                if (character < 0x10000 || character > QChar::LastValidCodePoint)
                    return {input, output};
                *output++ = QChar::highSurrogate(character);
                *output++ = QChar::lowSurrogate(character);
                input += 4;
            } else {
                return {input, output};
            }
        }
    }
    return {input, output};
}

/// Appends to the text, of which `length` units are in use, what the bytes spell with what is invalid
/// replaced.
void appendRepaired(QString& text, qsizetype& length, QByteArrayView bytes)
{
    int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(reinterpret_cast<char16_t*>(text.data() + length),
                         static_cast<int32_t>(text.size() - length), &written, bytes.data(),
                         static_cast<int32_t>(bytes.size()), QChar::ReplacementCharacter, nullptr, &status);
    length = U_SUCCESS(status) ? length + written : 0;
}

enum class Invalid { refuse, repair };

std::optional<QString> fromUTF8(QByteArrayView bytes, Invalid invalid)
{
    // No sequence of UTF-8 is shorter than what it gives in UTF-16.
    QString text(bytes.size(), Qt::Uninitialized);
    auto* const start = reinterpret_cast<char16_t*>(text.data());
    const auto* const input = reinterpret_cast<const uchar*>(bytes.data());
    const uchar* const end = input + bytes.size();
    const Progress valid = convertValid(input, end, start);
    qsizetype length = valid.output - start;
    if (valid.input != end) {
        if (invalid == Invalid::refuse)
            return std::nullopt;
        appendRepaired(text, length, bytes.last(end - valid.input));
    }
    text.truncate(length);
    return text;
}

} // namespace

QString fromRepairedUTF8(QByteArrayView bytes)
{
    return fromUTF8(bytes, Invalid::repair).value_or(QString());
}

std::optional<QString> fromStrictUTF8(QByteArrayView bytes)
{
    return fromUTF8(bytes, Invalid::refuse);
}

char16_t* writeStrictUTF8(char16_t* output, QByteArrayView bytes)
{
    const auto* const input = reinterpret_cast<const uchar*>(bytes.data());
    const uchar* const end = input + bytes.size();
    const Progress valid = convertValid(input, end, output);
    return valid.input == end ? valid.output : nullptr;
}

void CharacterWalk::Closer::operator()(UBreakIterator* iterator) const
{
    ubrk_close(iterator);
}

CharacterWalk::CharacterWalk(QStringView text)
{
    UErrorCode status = U_ZERO_ERROR;
    m_iterator.reset(ubrk_open(UBRK_CHARACTER, "", text.utf16(), static_cast<int32_t>(text.size()), &status));
    Q_ASSERT(U_SUCCESS(status));
}

std::optional<qsizetype> CharacterWalk::next()
{
    const int32_t end = ubrk_next(m_iterator.get());
    return end == UBRK_DONE ? std::nullopt : std::optional<qsizetype>(end);
}

QString prefix(const QString& text, qsizetype count)
{
    if (count <= 0)
        return {};
    // No character is shorter than one code unit, so a text this short needs no look at its characters.
    if (text.size() <= count)
        return text;
    CharacterWalk walk(text);
    qsizetype end = 0;
    for (qsizetype seen = 0; seen < count && end < text.size(); ++seen)
        end = walk.next().value_or(text.size());
    return text.first(end);
}

} // namespace Larkhaven::Text
