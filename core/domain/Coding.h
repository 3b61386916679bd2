#pragma once

#include "domain/LocalizedError.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QUuid>

#include <optional>

namespace Larkhaven {

/// A JSON text that does not hold what its reader expects.
class DecodingError : public LocalizedError {
public:
    explicit DecodingError(QString text)
        : m_text(std::move(text))
    {}
    QString localizedText() const override { return m_text; }

private:
    QString m_text;
};

/// The stored JSON form of values: keys are field names, an absent optional is left out, a time point is the
/// number of seconds since 2001-01-01 00:00:00 UTC with a fraction, an identity is its upper-case text
/// without braces.
///
/// Each reader fails with `DecodingError` where the key is missing (`optional…`: where it is there) and of
/// another type.
namespace Coding {

/// The failure of a reader whose value under the key is none that it knows.
DecodingError unreadable(QAnyStringView key);

/// Parses a whole JSON text. Fails with `DecodingError` if it isn't JSON.
QJsonValue parse(const QByteArray& json);

QJsonObject object(const QJsonValue& value);
QJsonArray array(const QJsonValue& value);

QString string(const QJsonObject& object, QLatin1StringView key);
std::optional<QString> optionalString(const QJsonObject& object, QLatin1StringView key);
qint64 integer(const QJsonObject& object, QLatin1StringView key);
bool boolean(const QJsonObject& object, QLatin1StringView key);
QDateTime time(const QJsonObject& object, QLatin1StringView key);
QUuid uuid(const QJsonObject& object, QLatin1StringView key);
QJsonObject object(const QJsonObject& object, QLatin1StringView key);
QJsonArray array(const QJsonObject& object, QLatin1StringView key);

QJsonValue fromTime(const QDateTime& time);
QString fromUuid(const QUuid& uuid);

/// The one member of an object that stands for an enumeration case with a payload, such as
/// {"password":{"_0":"x"}}.
struct Case {
    QString name;
    QJsonValue payload; ///< what stands under "_0"
};
/// Fails with "Invalid number of keys found, expected one." if the object hasn't exactly one key.
Case enumerationCase(const QJsonValue& value);
QJsonObject fromCase(const QString& name, const QJsonValue& payload);

} // namespace Coding

} // namespace Larkhaven
