#include "model/DraftGate.h"

#include "domain/ShownText.h"
#include "domain/Text.h"
#include "model/TextBounds.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::DraftGate {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(DraftGate)
};

/// The character at the position, which moves behind it. What would be no character of a document (half a
/// surrogate pair, a noncharacter, or the place of an object) is U+FFFD.
char32_t takeCharacter(QStringView text, qsizetype& position)
{
    const QChar unit = text[position++];
    char32_t character = unit.unicode();
    if (unit.isSurrogate()) {
        const bool isPair =
            unit.isHighSurrogate() && position < text.size() && text[position].isLowSurrogate();
        character = isPair ? QChar::surrogateToUcs4(unit, text[position++]) : char16_t(0xfffd);
    }
    const bool isNone =
        character == 0xfffc || (character >= 0xfdd0 && character <= 0xfdef) || (character & 0xfffe) == 0xfffe;
    return isNone ? U'\xfffd' : character;
}

bool isControl(char32_t character)
{
    return (character < 0x20 && character != U'\t') || (character >= 0x7f && character < 0xa0);
}

/// How many marks stand on letters; variation selectors are none of them.
qsizetype marksIn(QStringView text)
{
    return std::ranges::count_if(text, [](QChar unit) {
        const bool isSelector = unit.unicode() >= 0xfe00 && unit.unicode() <= 0xfe0f;
        return unit.isMark() && !isSelector;
    });
}

bool endsLine(char32_t character)
{
    return character <= 0xffff && Text::isLineEnd(QChar(static_cast<char16_t>(character)));
}

} // namespace

Passed text(QStringView text, const QString& rest)
{
    Passed passed;
    passed.text.reserve(std::min(text.size(), mostCharacters));
    TextBounds bounds(mostEffort);
    bool hasDropped = false;
    bool hasEnded = false;
    for (qsizetype position = 0; position < text.size() && !hasEnded;) {
        const bool isPairOfEnds =
            text[position] == u'\r' && position + 1 < text.size() && text[position + 1] == u'\n';
        position += isPairOfEnds ? 1 : 0;
        char32_t character = takeCharacter(text, position);
        if (endsLine(character)) {
            hasEnded = !bounds.endLine();
            if (!hasEnded)
                passed.text += u'\n';
            continue;
        }
        character = isControl(character) ? U' ' : character;
        const TextBounds::Verdict verdict = bounds.next(character);
        hasEnded = verdict == TextBounds::Verdict::end;
        hasDropped = hasDropped || verdict == TextBounds::Verdict::drop;
        if (verdict == TextBounds::Verdict::breakBefore) {
            passed.text += u'\n';
            passed.isBroken = true;
        }
        if (verdict == TextBounds::Verdict::keep || verdict == TextBounds::Verdict::breakBefore)
            passed.text += QChar::fromUcs4(character);
    }
    if (hasDropped)
        passed.text += u'\n' + Texts::tr("[Marks beyond what a letter can carry are left out.]");
    if (hasEnded)
        passed.text += u'\n' + rest;
    passed.isCut = hasDropped || hasEnded;
    return passed;
}

QString pasted(QStringView text)
{
    return DraftGate::text(text, Texts::tr("[The rest of what was pasted is left out.]")).text;
}

QString pastedHTML(QStringView sanitized)
{
    return html(sanitized, Texts::tr("[The rest of what was pasted is left out.]"), mostPastedEffort).text;
}

Passed line(QStringView text, qsizetype length)
{
    const QString shown = ShownText::line(text, length);
    const bool isEndCut = shown.endsWith(u'…') && (!text.endsWith(u'…') || shown.size() > length);
    return {shown, isEndCut || marksIn(text) > marksIn(shown)};
}

qsizetype effort(QStringView text)
{
    TextBounds bounds(mostEffort);
    for (qsizetype position = 0; position < text.size();) {
        const TextBounds::Verdict verdict = bounds.next(takeCharacter(text, position));
        if (verdict == TextBounds::Verdict::end || verdict == TextBounds::Verdict::drop)
            return unbounded;
    }
    return bounds.effort();
}

} // namespace Larkhaven::DraftGate
