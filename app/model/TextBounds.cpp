#include "model/TextBounds.h"

#include "domain/Text.h"
#include "model/DraftGate.h"

#include <QChar>

#include <unicode/uchar.h>

namespace Larkhaven {

namespace {

constexpr qsizetype effortOfMark = 6;
constexpr qsizetype effortOfFurtherMark = 12;
constexpr int usualMarks = 2; ///< on one letter
constexpr qsizetype effortOfFormat = 24;
constexpr qsizetype effortOfJoiner = 240;
constexpr qsizetype effortOfJamo = 40; ///< of one that begins a syllable behind another
constexpr qsizetype effortOfUnknown = 250;
constexpr qsizetype effortOfChange = 24;
constexpr qsizetype effortOfChangeWithinEastAsia = 3;
/// For each line that a run fills on screen the engine looks at all of the run: it costs one more unit for
/// each letter when it is so long, and so on.
constexpr qsizetype unitsOfRun = 250;
/// A line that is nearly full is broken at its next space.
constexpr qsizetype nearlyFull = DraftGate::longestLine * 9 / 10;

bool isEastAsian(UScriptCode script)
{
    return script == USCRIPT_HAN || script == USCRIPT_HIRAGANA || script == USCRIPT_KATAKANA ||
           script == USCRIPT_HANGUL || script == USCRIPT_BOPOMOFO;
}

bool isLeadingJamo(char32_t character)
{
    const int type = u_getIntPropertyValue(static_cast<UChar32>(character), UCHAR_HANGUL_SYLLABLE_TYPE);
    return type == U_HST_LEADING_JAMO;
}

bool isMark(char32_t character)
{
    return character >= 0x300 && (U_GET_GC_MASK(static_cast<UChar32>(character)) & U_GC_M_MASK) != 0;
}

/// Whether a line may end behind the character. Few scripts but those of East Asia do without spaces.
bool endsRun(char32_t character)
{
    constexpr char32_t zeroWidthSpace = 0x200b;
    const bool isSpace = character <= 0xffff && character != 0xa0 && character != 0x202f &&
                         Text::isSpace(QChar(static_cast<char16_t>(character)));
    return isSpace || character == zeroWidthSpace ||
           (character >= 0x2e80 &&
            u_hasBinaryProperty(static_cast<UChar32>(character), UCHAR_IDEOGRAPHIC) != 0);
}

} // namespace

void TextBounds::beginParagraph()
{
    m_blockEffort = 0;
    m_lineEffort = 0;
    m_run = 0;
}

bool TextBounds::endLine()
{
    beginParagraph();
    return breakLine();
}

bool TextBounds::breakLine()
{
    m_lineEffort = 0;
    m_run = 0;
    m_marks = 0;
    m_isBreakDue = false;
    return ++m_lines < DraftGate::mostLines;
}

bool TextBounds::spend(qsizetype effort)
{
    m_effort += effort;
    return m_effort <= m_mostEffort;
}

TextBounds::Verdict TextBounds::next(char32_t character)
{
    const bool isOnLetter = isMark(character);
    m_marks = isOnLetter ? m_marks + 1 : 0;
    // A text of marks alone must come to an end as well.
    if (m_marks > DraftGate::mostMarks)
        return ++m_dropped > DraftGate::mostCharacters ? Verdict::end : Verdict::drop;
    const qsizetype units = QChar::requiresSurrogates(character) ? 2 : 1;
    const qsizetype weight = weigh(character) + m_run / unitsOfRun;
    m_characters += units;
    if (m_characters > DraftGate::mostCharacters || !spend(weight))
        return Verdict::end;
    const bool isTooLong = m_lineEffort + weight > DraftGate::longestLine ||
                           m_run + units > DraftGate::longestRun || m_isBreakDue ||
                           m_blockEffort + weight > DraftGate::longestBlock;
    const bool isBroken = isTooLong && !isOnLetter;
    if (isBroken && !endLine())
        return Verdict::end;
    m_lineEffort += weight;
    m_blockEffort += weight;
    const bool isEnd = endsRun(character);
    m_run = isEnd ? 0 : m_run + units;
    m_isBreakDue = isEnd && m_lineEffort > nearlyFull;
    return isBroken ? Verdict::breakBefore : Verdict::keep;
}

qsizetype TextBounds::weigh(char32_t character)
{
    if (character < 0x80 && !m_isRightToLeft && m_script == USCRIPT_LATIN)
        return 1;
    constexpr char32_t joiner = 0x200d;
    if (character == joiner)
        return effortOfJoiner;
    switch (u_charType(static_cast<UChar32>(character))) {
    case U_NON_SPACING_MARK:
    case U_ENCLOSING_MARK:
    case U_COMBINING_SPACING_MARK:
        return m_marks > usualMarks ? effortOfFurtherMark : effortOfMark;
    case U_FORMAT_CHAR:
        return effortOfFormat;
    case U_UNASSIGNED:
    case U_PRIVATE_USE_CHAR:
    case U_SURROGATE:
        return effortOfUnknown;
    default:
        return weighLetter(character);
    }
}

/// A letter costs more where the engine begins a new stretch with it.
qsizetype TextBounds::weighLetter(char32_t character)
{
    const qsizetype units = QChar::requiresSurrogates(character) ? 2 : 1;
    const bool isLeading = isLeadingJamo(character);
    const bool wasLeading = std::exchange(m_isLeadingJamo, isLeading);
    if (isLeading && wasLeading)
        return effortOfJamo;
    const UCharDirection direction = u_charDirection(static_cast<UChar32>(character));
    const bool isNumber = direction == U_EUROPEAN_NUMBER || direction == U_ARABIC_NUMBER;
    if (isNumber) {
        const bool isChange = m_isRightToLeft && !std::exchange(m_isNumber, true);
        return units + (isChange ? effortOfChange : 0);
    }
    UErrorCode status = U_ZERO_ERROR;
    const UScriptCode script = uscript_getScript(static_cast<UChar32>(character), &status);
    if (script == USCRIPT_COMMON || script == USCRIPT_INHERITED)
        return units;
    const bool isRightToLeft = direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC;
    const UScriptCode before = std::exchange(m_script, script);
    const bool wasNumber = std::exchange(m_isNumber, false) && m_isRightToLeft;
    const bool isChange = before != script || wasNumber;
    m_isRightToLeft = isRightToLeft;
    if (!isChange)
        return units;
    const bool isWithinEastAsia = isEastAsian(script) && isEastAsian(before);
    return units + (isWithinEastAsia ? effortOfChangeWithinEastAsia : effortOfChange);
}

} // namespace Larkhaven
