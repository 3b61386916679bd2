#include "app/platform/Info.h"

#include "domain/Text.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

/// Linked in by name: nothing else refers to a resource of a static library. (Qt wants it outside
/// namespaces.)
static void initializeInfo()
{
    Q_INIT_RESOURCE(Info);
}

namespace Larkhaven {

Info Info::fromJSON(const QByteArray& json)
{
    QMap<QString, QString> values;
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    for (auto value = object.begin(); value != object.end(); ++value) {
        if (value->isString())
            values.insert(value.key(), value->toString());
    }
    return Info(values);
}

const Info& Info::ofProgram()
{
    static const Info info = [] {
        initializeInfo();
        QFile file(u":/larkhaven/Info.json"_s);
        return file.open(QIODevice::ReadOnly) ? fromJSON(file.readAll()) : Info();
    }();
    return info;
}

std::optional<QString> Info::configured(const QString& key) const
{
    const QString value = m_values.value(key);
    if (Text::trimmedSpace(value).isEmpty() || value.contains("$("_L1))
        return std::nullopt;
    return value;
}

QString Info::bundleIdentifier() const
{
    return configured(InfoKey::bundleIdentifier).value_or(u"com.tundra42.larkhaven"_s);
}

} // namespace Larkhaven
