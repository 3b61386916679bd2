#include "domain/Text.h"

#include <algorithm>
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
    QString result;
    result.reserve(text.size());
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar unit = text[index];
        const bool isPair =
            unit.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate();
        if (isPair)
            result += QChar::fromUcs4(QChar::toLower(QChar::surrogateToUcs4(unit, text[++index])));
        else
            result += unit.toLower();
    }
    return result;
}

namespace {

/// `substitute` is what stands for an invalid sequence, or U_SENTINEL to refuse it.
std::optional<QString> fromUTF8(QByteArrayView bytes, UChar32 substitute)
{
    // No sequence of UTF-8 is shorter than what it gives in UTF-16.
    QString text(bytes.size(), Qt::Uninitialized);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(reinterpret_cast<char16_t*>(text.data()), static_cast<int32_t>(text.size()), &length,
                         bytes.data(), static_cast<int32_t>(bytes.size()), substitute, nullptr, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    text.truncate(length);
    return text;
}

} // namespace

QString fromRepairedUTF8(QByteArrayView bytes)
{
    return fromUTF8(bytes, QChar::ReplacementCharacter).value_or(QString());
}

std::optional<QString> fromStrictUTF8(QByteArrayView bytes)
{
    return fromUTF8(bytes, U_SENTINEL);
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
