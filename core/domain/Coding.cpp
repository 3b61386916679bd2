#include "domain/Coding.h"

#include "domain/Text.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <cmath>
#include <limits>

namespace Larkhaven::Coding {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(DecodingError)
};

/// 2001-01-01 00:00:00 UTC, in milliseconds since 1970.
constexpr qint64 referenceDate = 978'307'200'000;

QJsonValue required(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        throw DecodingError(Texts::tr("The stored value “%1” is missing.").arg(key));
    return value;
}

} // namespace

DecodingError unreadable(QAnyStringView key)
{
    return DecodingError(Texts::tr("The stored value “%1” can't be read.").arg(key.toString()));
}

QJsonValue parse(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        throw DecodingError(Texts::tr("The stored data isn't valid JSON."));
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

QJsonObject object(const QJsonValue& value)
{
    if (!value.isObject())
        throw DecodingError(Texts::tr("An object was expected in the stored data."));
    return value.toObject();
}

QJsonArray array(const QJsonValue& value)
{
    if (!value.isArray())
        throw DecodingError(Texts::tr("A list was expected in the stored data."));
    return value.toArray();
}

QString string(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = required(object, key);
    if (!value.isString())
        throw unreadable(key);
    return value.toString();
}

std::optional<QString> optionalString(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    return string(object, key);
}

qint64 integer(const QJsonObject& object, QLatin1StringView key)
{
    constexpr qint64 none = std::numeric_limits<qint64>::min();
    const qint64 number = required(object, key).toInteger(none);
    if (number == none)
        throw unreadable(key);
    return number;
}

bool boolean(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = required(object, key);
    if (!value.isBool())
        throw unreadable(key);
    return value.toBool();
}

QDateTime time(const QJsonObject& object, QLatin1StringView key)
{
    // Seconds: what QDateTime can hold, so that every date that was written is read again.
    constexpr double limit = 9.0e15;
    const QJsonValue value = required(object, key);
    if (!value.isDouble() || std::abs(value.toDouble()) > limit)
        throw unreadable(key);
    return QDateTime::fromMSecsSinceEpoch(referenceDate + std::llround(value.toDouble() * 1000.0), Qt::UTC);
}

QUuid uuid(const QJsonObject& object, QLatin1StringView key)
{
    constexpr qsizetype canonicalLength = 36;
    const QString text = string(object, key);
    const QUuid uuid = QUuid::fromString(text);
    if (text.size() != canonicalLength || text.compare(fromUuid(uuid), Qt::CaseInsensitive) != 0)
        throw unreadable(key);
    return uuid;
}

QJsonObject object(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = required(object, key);
    if (!value.isObject())
        throw unreadable(key);
    return value.toObject();
}

QJsonArray array(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = required(object, key);
    if (!value.isArray())
        throw unreadable(key);
    return value.toArray();
}

QJsonValue fromTime(const QDateTime& time)
{
    return static_cast<double>(time.toMSecsSinceEpoch() - referenceDate) / 1000.0;
}

QString fromUuid(const QUuid& uuid)
{
    return Text::asciiUppered(uuid.toString(QUuid::WithoutBraces));
}

Case enumerationCase(const QJsonValue& value)
{
    const QJsonObject outer = object(value);
    if (outer.size() != 1)
        throw DecodingError(Texts::tr("Invalid number of keys found, expected one."));
    const QJsonObject inner = object(outer.begin().value());
    return {outer.begin().key(), required(inner, QLatin1StringView("_0"))};
}

QJsonObject fromCase(const QString& name, const QJsonValue& payload)
{
    return {{name, QJsonObject{{QStringLiteral("_0"), payload}}}};
}

} // namespace Larkhaven::Coding
