#include "views/SavedFile.h"

#include "domain/LocalizedError.h"
#include "domain/Text.h"

#include <QSaveFile>

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

QString name(const QString& suggested)
{
    if (suggested.toUtf8().size() <= longestName)
        return suggested;
    const qsizetype dot = suggested.lastIndexOf(u'.');
    QString ending = dot > 0 ? suggested.sliced(dot) : QString();
    if (ending.toUtf8().size() > longestEnding)
        ending.clear();
    const QStringView stem = QStringView(suggested).chopped(ending.size());
    qsizetype room = longestName - ending.toUtf8().size();
    qsizetype end = 0;
    Text::CharacterWalk characters(stem);
    while (const std::optional<qsizetype> next = characters.next()) {
        room -= stem.sliced(end, *next - end).toUtf8().size();
        if (room < 0)
            break;
        end = *next;
    }
    return stem.first(end).toString() + ending;
}

void write(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw WriteError(file.errorString());
}

} // namespace Larkhaven::SavedFile
