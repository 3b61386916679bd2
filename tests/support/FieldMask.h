#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QMap>
#include <QString>

#include <memory>
#include <optional>

namespace Larkhaven {

/// The `fields` of a partial response: names, "a/b", "a(b,c)", "*", and lists of these.
class FieldMask {
public:
    /// Absent where the text is none.
    static std::optional<FieldMask> parse(const QString& text);

    /// What it leaves of an object or of each object of a list.
    QJsonValue applied(const QJsonValue& value) const;
    /// The fields below; empty where all of them are wanted.
    const QMap<QString, FieldMask>& children() const { return m_children; }

private:
    class Reader;

    QMap<QString, FieldMask> m_children;
};

} // namespace Larkhaven
