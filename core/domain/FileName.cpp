#include "domain/FileName.h"

#include "domain/ShownText.h"
#include "domain/Text.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven::FileName {

namespace {

/// How much of a stem or an ending is looked at, in UTF-16 units.
constexpr qsizetype mostLookedAt = 4'096;

/// What is seen of it, without an ellipsis.
QString seen(QStringView text)
{
    text = text.first(std::min(text.size(), mostLookedAt));
    return ShownText::singleSpaced(ShownText::line(text, text.size()));
}

bool isTrimmed(QChar character)
{
    return character == u'.' || Text::isSpace(character);
}

QString withoutStart(QStringView text)
{
    while (!text.isEmpty() && isTrimmed(text.front()))
        text = text.sliced(1);
    return text.toString();
}

QString withoutEnd(QStringView text)
{
    while (!text.isEmpty() && isTrimmed(text.back()))
        text.chop(1);
    return text.toString();
}

/// As many of its user-perceived characters as have room, in bytes of UTF-8.
QString cut(const QString& text, qsizetype room)
{
    qsizetype end = 0;
    Text::CharacterWalk characters(text);
    while (const std::optional<qsizetype> next = characters.next()) {
        room -= QStringView(text).sliced(end, *next - end).toUtf8().size();
        if (room < 0)
            break;
        end = *next;
    }
    return text.first(end);
}

} // namespace

QString shown(const QString& name)
{
    const QStringView whole(name);
    qsizetype dot = whole.lastIndexOf(u'.');
    const bool hasEnding = dot > 0 && whole.size() - dot <= mostLookedAt;
    QString ending = hasEnding ? withoutEnd(seen(whole.sliced(dot))) : QString();
    if (ending.isEmpty() || ending.toUtf8().size() > longestEnding) {
        ending.clear();
        dot = whole.size();
    }
    QString stem = cut(withoutStart(seen(whole.first(dot))), longestName - ending.toUtf8().size());
    if (ending.isEmpty())
        stem = withoutEnd(stem);
    return (stem.isEmpty() ? u"attachment"_s : stem) + ending;
}

QStringView endingOf(QStringView shownName)
{
    const qsizetype dot = shownName.lastIndexOf(u'.');
    const bool hasEnding = dot > 0 && dot + 1 < shownName.size();
    const QStringView ending = hasEnding ? shownName.sliced(dot) : QStringView();
    return ending.toUtf8().size() > longestEnding ? QStringView() : ending;
}

} // namespace Larkhaven::FileName
