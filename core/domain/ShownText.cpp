#include "domain/ShownText.h"

#include "domain/Text.h"

#include <unicode/uchar.h>
#include <unicode/uscript.h>

namespace Larkhaven::ShownText {

namespace {

constexpr char32_t zeroWidthNonJoiner = 0x200c;
constexpr char32_t zeroWidthJoiner = 0x200d;
constexpr char32_t keycap = 0x20e3;
constexpr char32_t replacement = QChar::ReplacementCharacter;
/// How many units are looked at for each that may be given.
constexpr qsizetype reach = 16;

/// The code point at the position; half a pair gives U+FFFD.
char32_t codePointAt(QStringView text, qsizetype position)
{
    const QChar unit = text[position];
    if (!unit.isSurrogate())
        return unit.unicode();
    const bool isPair =
        unit.isHighSurrogate() && position + 1 < text.size() && text[position + 1].isLowSurrogate();
    return isPair ? QChar::surrogateToUcs4(unit, text[position + 1]) : replacement;
}

qsizetype lengthOf(char32_t character)
{
    return QChar::requiresSurrogates(character) ? 2 : 1;
}

bool isIn(char32_t character, UProperty property)
{
    return u_hasBinaryProperty(static_cast<UChar32>(character), property) != 0;
}

UScriptCode scriptOf(char32_t character)
{
    UErrorCode status = U_ZERO_ERROR;
    return uscript_getScript(static_cast<UChar32>(character), &status);
}

bool isMark(char32_t character)
{
    return (U_GET_GC_MASK(static_cast<UChar32>(character)) & U_GC_M_MASK) != 0;
}

bool isVirama(char32_t character)
{
    return u_getCombiningClass(static_cast<UChar32>(character)) == 9;
}

bool isVariationSelector(char32_t character)
{
    return isIn(character, UCHAR_VARIATION_SELECTOR);
}

/// Interlinear annotations are seen no more than what is ignorable by definition.
bool isInvisible(char32_t character)
{
    return isIn(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) ||
           (character >= 0xfff9 && character <= 0xfffb);
}

bool isControl(char32_t character)
{
    return u_charType(static_cast<UChar32>(character)) == U_CONTROL_CHAR;
}

bool isTag(char32_t character)
{
    return character >= 0xe0020 && character <= 0xe007f;
}

/// Letters and symbols that are drawn as nothing, though no property says so.
bool isBlank(char32_t character)
{
    constexpr char32_t emptyBraille = 0x2800;
    constexpr char32_t emptyNotehead = 0x1d159;
    // Egyptian joiners and blanks, and the spaces of SignWriting.
    const bool isEgyptian = character >= 0x13430 && character <= 0x13442 && character != 0x13440;
    const bool isSigned = character == 0x1da7f || character == 0x1da80;
    return character == emptyBraille || character == emptyNotehead || isEgyptian || isSigned;
}

bool isSpace(char32_t character)
{
    return u_isUWhiteSpace(static_cast<UChar32>(character)) != 0;
}

bool joins(char32_t letter)
{
    const int type = u_getIntPropertyValue(static_cast<UChar32>(letter), UCHAR_JOINING_TYPE);
    return type == U_JT_DUAL_JOINING || type == U_JT_LEFT_JOINING || type == U_JT_RIGHT_JOINING;
}

/// Goes over a text once and keeps what can be seen of it.
class Line {
public:
    Line(QStringView text, qsizetype length)
        : m_text(text)
        , m_length(length)
    {}

    QString shown()
    {
        const qsizetype end = std::min(m_text.size(), reach * m_length + reach);
        qsizetype position = 0;
        while (position < end && !m_isFull) {
            const char32_t character = codePointAt(m_text, position);
            position += lengthOf(character);
            m_next = position < m_text.size() ? codePointAt(m_text, position) : U'\0';
            take(character);
        }
        if (m_isFull || position < m_text.size())
            m_shown += u'…';
        return m_shown;
    }

    /// Whether anything that is hidden was left out of what was shown.
    bool hasHidden() const { return m_hasHidden; }

private:
    void take(char32_t character)
    {
        if (character <= 0xffff && Text::isLineEnd(QChar(static_cast<char16_t>(character)))) {
            m_hasHidden = true;
            const bool isHalfOfEnd = character == U'\r' && m_next == U'\n';
            return isHalfOfEnd ? void() : keep(U' ');
        }
        if (isControl(character)) {
            m_hasHidden = m_hasHidden || character != U'\t';
            return keep(U' ');
        }
        if (U_IS_UNICODE_NONCHAR(static_cast<UChar32>(character)))
            return keep(replacement);
        if (isVariationSelector(character))
            return isVariationNeeded() ? add(character) : hide();
        if (character == zeroWidthJoiner || character == zeroWidthNonJoiner)
            return isJoinerNeeded(character) ? add(character) : hide();
        if (isInvisible(character))
            return isTag(character) && belongsToFlag() ? void() : hide();
        if (!isMark(character))
            return keep(character);
        if (m_marks < mostMarks) {
            ++m_marks;
            add(character);
        }
    }

    /// Adds a character that others may stand upon.
    void keep(char32_t character)
    {
        m_marks = 0;
        m_tags = 0;
        add(character);
        m_letter = character;
    }

    void add(char32_t character)
    {
        m_isFull = m_isFull || m_shown.size() + lengthOf(character) > m_length;
        if (m_isFull)
            return;
        m_shown += QChar::fromUcs4(character);
        m_last = character;
    }

    void hide() { m_hasHidden = true; }

    /// Whether a tag may follow: behind a black flag, and not too many.
    bool belongsToFlag()
    {
        constexpr char32_t blackFlag = 0x1f3f4;
        constexpr int mostTags = 7;
        return m_last == blackFlag && ++m_tags <= mostTags;
    }

    bool isVariationNeeded() const
    {
        if (m_last != m_letter)
            return false;
        // A digit is an emoji only within a keycap.
        if (isIn(m_letter, UCHAR_EMOJI))
            return m_letter > 0x7f || m_next == keycap;
        return isIn(m_letter, UCHAR_IDEOGRAPHIC) || scriptOf(m_letter) == USCRIPT_MONGOLIAN;
    }

    bool isJoinerNeeded(char32_t joiner) const
    {
        if (m_last == zeroWidthJoiner || m_last == zeroWidthNonJoiner)
            return false;
        const bool isEmoji =
            isIn(m_letter, UCHAR_EXTENDED_PICTOGRAPHIC) || isIn(m_letter, UCHAR_EMOJI_MODIFIER);
        if (joiner == zeroWidthJoiner && isEmoji && isIn(m_next, UCHAR_EXTENDED_PICTOGRAPHIC))
            return true;
        const bool isOneScript = scriptOf(m_letter) == scriptOf(m_next) || isMark(m_next);
        return isOneScript && (isVirama(m_last) || isVirama(m_next) || joins(m_letter));
    }

    QStringView m_text;
    qsizetype m_length;
    QString m_shown;
    char32_t m_letter = 0; ///< the last character that is no mark
    char32_t m_last = 0;   ///< the last character that was kept
    char32_t m_next = 0;   ///< what follows the one that is looked at; 0 at the end
    int m_marks = 0;       ///< on the last letter
    int m_tags = 0;        ///< behind the last letter
    bool m_isFull = false;
    bool m_hasHidden = false;
};

} // namespace

QString line(QStringView text, qsizetype length)
{
    return Line(text, length).shown();
}

bool hasHidden(QStringView text)
{
    Line line(text, text.size());
    line.shown();
    return line.hasHidden();
}

bool hasInk(QStringView text)
{
    for (qsizetype position = 0; position < text.size();) {
        const char32_t character = codePointAt(text, position);
        position += lengthOf(character);
        if (!isSpace(character) && !isControl(character) && !isMark(character) && !isInvisible(character) &&
            !isBlank(character))
            return true;
    }
    return false;
}

QString singleSpaced(const QString& text)
{
    QString spaced;
    spaced.reserve(text.size());
    bool isBehindSpace = false;
    for (qsizetype position = 0; position < text.size();) {
        const char32_t character = codePointAt(text, position);
        position += lengthOf(character);
        const bool isEmpty = isSpace(character) || isBlank(character);
        if (!isEmpty)
            spaced += QChar::fromUcs4(character);
        else if (!isBehindSpace)
            spaced += u' ';
        isBehindSpace = isEmpty;
    }
    return spaced;
}

} // namespace Larkhaven::ShownText
