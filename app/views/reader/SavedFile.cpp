#include "views/reader/SavedFile.h"

#include "domain/LocalizedError.h"

#include <QSaveFile>

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

void write(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    // A file that is replaced would pass on what it may do.
    const bool isReady =
        file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    if (!isReady || file.write(bytes) != bytes.size() || !file.commit())
        throw WriteError(file.errorString());
}

} // namespace Larkhaven::SavedFile
