#include "domain/Text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <unicode/ubrk.h>
#include <unicode/ustring.h>

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

template <typename Predicate>
QStringView trimmedWhere(QStringView text, Predicate isTrimmed)
{
    while (!text.isEmpty() && isTrimmed(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isTrimmed(text.back()))
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

/// The compiler makes vectors of it as long as neither side can be the other one.
template <qsizetype count>
void widen(const uchar* __restrict input, char16_t* __restrict output)
{
    for (qsizetype index = 0; index < count; ++index)
        output[index] = input[index];
}

/// Takes the next `count` bytes where all of them are ASCII.
template <qsizetype count>
bool takeASCII(const uchar*& input, const uchar* end, char16_t*& output)
{
    constexpr quint64 highBits = 0x8080808080808080;
    if (end - input < count)
        return false;
    std::array<quint64, count / sizeof(quint64)> words;
    std::memcpy(words.data(), input, count);
    quint64 all = 0;
    for (const quint64 word : words)
        all |= word;
    if (all & highBits)
        return false;
    widen<count>(input, output);
    input += count;
    output += count;
    return true;
}

/// Reads as much as is valid UTF-8 (the Unicode Standard, table 3-7) of the bytes, and moves both pointers
/// behind it.
///
/// Not ICU, which takes seven times as long for mail: most of it is ASCII, of which sixteen bytes are looked
/// at and widened at once.
void convertValid(const uchar*& input, const uchar* end, char16_t*& output)
{
    const auto follows = [](uchar byte) { return (byte & 0xC0) == 0x80; };
    while (input < end) {
        while (takeASCII<32>(input, end, output)) {
        }
        takeASCII<16>(input, end, output);
        takeASCII<8>(input, end, output);
        while (input < end && *input < 0x80)
            *output++ = *input++;
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
                    return;
                *output++ = static_cast<char16_t>(unit);
                input += 3;
            } else if (lead >= 0xF0 && lead <= 0xF4 && rest >= 4 && follows(input[1]) && follows(input[2]) &&
                       follows(input[3])) {
                const auto character = static_cast<char32_t>((lead & 0x07) << 18 | (input[1] & 0x3F) << 12 |
                                                             (input[2] & 0x3F) << 6 | (input[3] & 0x3F));
                if (character < 0x10000 || character > QChar::LastValidCodePoint)
                    return;
                *output++ = QChar::highSurrogate(character);
                *output++ = QChar::lowSurrogate(character);
                input += 4;
            } else {
                return;
            }
        }
    }
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
    char16_t* output = start;
    const auto* input = reinterpret_cast<const uchar*>(bytes.data());
    const uchar* const end = input + bytes.size();
    convertValid(input, end, output);
    qsizetype length = output - start;
    if (input != end) {
        if (invalid == Invalid::refuse)
            return std::nullopt;
        appendRepaired(text, length, bytes.last(end - input));
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
