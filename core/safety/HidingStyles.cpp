#include "safety/HidingStyles.h"

#include "domain/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Whether the value is a number of nothing, with a unit or without.
bool isZero(QStringView value)
{
    qsizetype digits = 0;
    bool isSeen = false;
    while (digits < value.size() && (value[digits].isDigit() || value[digits] == u'.')) {
        if (value[digits] != u'0' && value[digits] != u'.')
            return false;
        isSeen = isSeen || value[digits] == u'0';
        ++digits;
    }
    return isSeen;
}

/// The value in lower case, without "!important" and white space around it.
QString plainValue(QStringView value)
{
    const qsizetype mark = value.indexOf(u'!');
    return Text::asciiLowered((mark < 0 ? value : value.first(mark)).trimmed());
}

bool isSelectorCharacter(QChar character)
{
    return character == u'-' || character == u'_' || character.isLetterOrNumber();
}

} // namespace

HidingDeclarations HidingDeclarations::read(QStringView declarations)
{
    HidingDeclarations result;
    bool hasNoHeight = false;
    bool cutsOverflow = false;
    for (const QStringView declaration : declarations.tokenize(u';')) {
        const qsizetype colon = declaration.indexOf(u':');
        if (colon < 0)
            continue;
        const QString name = Text::asciiLowered(declaration.first(colon).trimmed());
        const QString value = plainValue(declaration.sliced(colon + 1));
        if (name == "display"_L1)
            result.hides = value == "none"_L1;
        else if (name == "opacity"_L1 && isZero(value))
            result.hides = true;
        else if (name == "visibility"_L1)
            result.isInvisible = value == "hidden"_L1 || value == "collapse"_L1;
        else if (name == "font-size"_L1)
            result.hasNoSize = isZero(value);
        else if (name == "color"_L1)
            result.hasNoColor = value == "transparent"_L1;
        else if (name == "height"_L1 || name == "max-height"_L1)
            hasNoHeight = hasNoHeight || isZero(value);
        else if (name == "overflow"_L1)
            cutsOverflow = value == "hidden"_L1;
    }
    result.hides = result.hides || (hasNoHeight && cutsOverflow);
    return result;
}

void HidingRules::addSheet(QStringView css)
{
    qsizetype start = 0;
    while (start < css.size()) {
        const qsizetype open = css.indexOf(u'{', start);
        if (open < 0)
            return;
        const QStringView selectors = css.sliced(start, open - start).trimmed();
        qsizetype end = open + 1;
        for (int depth = 1; end < css.size() && depth > 0; ++end)
            depth += css[end] == u'{' ? 1 : css[end] == u'}' ? -1 : 0;
        if (!selectors.startsWith(u'@'))
            addRule(selectors, css.sliced(open + 1, end - open - 1));
        start = end;
    }
}

void HidingRules::addRule(QStringView selectors, QStringView declarations)
{
    if (declarations.endsWith(u'}'))
        declarations.chop(1);
    const HidingDeclarations read = HidingDeclarations::read(declarations);
    const bool hides = read.hides || read.isInvisible.value_or(false) || read.hasNoSize.value_or(false);
    if (!hides)
        return;
    for (const QStringView selector : selectors.tokenize(u',')) {
        const QStringView simple = selector.trimmed();
        const bool isSimple =
            !simple.isEmpty() && simple.count(u'.') <= 1 && std::ranges::all_of(simple, [](QChar character) {
                return character == u'.' || isSelectorCharacter(character);
            });
        if (!isSimple || m_selectors.size() >= mostRules)
            continue;
        const qsizetype dot = simple.indexOf(u'.');
        const QStringView tag = dot < 0 ? simple : simple.first(dot);
        QString known = Text::asciiLowered(tag);
        if (dot >= 0)
            known += simple.sliced(dot);
        m_selectors.insert(known);
    }
}

bool HidingRules::hide(QStringView tag, QStringView classes) const
{
    if (m_selectors.isEmpty())
        return false;
    if (m_selectors.contains(tag.toString()))
        return true;
    const QString spaced = classes.toString().simplified();
    return std::ranges::any_of(spaced.tokenize(u' ', Qt::SkipEmptyParts), [&](QStringView name) {
        return m_selectors.contains(u'.' + name.toString()) ||
               m_selectors.contains(tag.toString() + u'.' + name.toString());
    });
}

} // namespace Larkhaven
