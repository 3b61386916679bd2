#include "views/reader/SavedFile.h"

#include "domain/LocalizedError.h"
#include "domain/ShownText.h"
#include "domain/Text.h"

#include <QSaveFile>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven::SavedFile {

namespace {

/// The system's own words for what went wrong.
class WriteError final : public LocalizedError {
public:
    explicit WriteError(QString text)
        : m_text(std::move(text))
    {}
    QString localizedText() const override { return m_text; }

private:
    QString m_text;
};

} // namespace

namespace {

/// How much of a stem or an ending is looked at, in UTF-16 units.
constexpr qsizetype mostLookedAt = 4'096;

/// What is seen of it, without an ellipsis.
QString seen(QStringView text)
{
    text = text.first(std::min(text.size(), mostLookedAt));
    return ShownText::line(text, text.size());
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

QString name(const QString& suggested)
{
    qsizetype dot = suggested.lastIndexOf(u'.');
    const bool hasEnding = dot > 0 && suggested.size() - dot <= mostLookedAt;
    QString ending = hasEnding ? withoutEnd(seen(QStringView(suggested).sliced(dot))) : QString();
    if (ending.isEmpty() || ending.toUtf8().size() > longestEnding) {
        ending.clear();
        dot = suggested.size();
    }
    QString stem =
        cut(withoutStart(seen(QStringView(suggested).first(dot))), longestName - ending.toUtf8().size());
    if (ending.isEmpty())
        stem = withoutEnd(stem);
    return (stem.isEmpty() ? u"attachment"_s : stem) + ending;
}

void write(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw WriteError(file.errorString());
}

} // namespace Larkhaven::SavedFile
