#include "model/UserDefaults.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

qint64 readInteger(const QVariant& value, bool* isReadable)
{
    return value.toLongLong(isReadable);
}

double readReal(const QVariant& value, bool* isReadable)
{
    return value.toDouble(isReadable);
}

bool readBoolean(const QVariant& value, bool* isReadable)
{
    // An INI file has nothing but texts.
    const QString text = value.toString();
    *isReadable = text == "true"_L1 || text == "false"_L1 || text == "1"_L1 || text == "0"_L1;
    return text == "true"_L1 || text == "1"_L1;
}

QString readText(const QVariant& value, bool* isReadable)
{
    // The file's reader takes a text with a comma that somebody wrote by hand for a list.
    *isReadable = value.canConvert<QString>() || value.canConvert<QStringList>();
    return value.metaType() == QMetaType::fromType<QStringList>() ? value.toStringList().join(u',')
                                                                  : value.toString();
}

QByteArray readData(const QVariant& value, bool* isReadable)
{
    *isReadable = value.canConvert<QByteArray>();
    return value.toByteArray();
}

} // namespace

UserDefaults::UserDefaults(const QString& file, QObject* parent)
    : QObject(parent)
    , m_settings(file, QSettings::IniFormat)
{}

QString UserDefaults::defaultFile()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/larkhaven/larkhaven.ini"_s;
}

void UserDefaults::registerDefaults(const QHash<QString, QVariant>& defaults)
{
    m_registered.insert(defaults);
}

void UserDefaults::registerRule(QLatin1StringView key, const Rule& isValid)
{
    m_rules.insert(key, isValid);
}

template <typename Value>
Value UserDefaults::value(QLatin1StringView key, Value (*read)(const QVariant&, bool*)) const
{
    const Rule isValid = m_rules.value(key);
    for (const QVariant& candidate : {m_settings.value(key), m_registered.value(key)}) {
        bool isReadable = false;
        Value result = candidate.isValid() ? read(candidate, &isReadable) : Value();
        if (isReadable && (!isValid || isValid(QVariant::fromValue(result))))
            return result;
    }
    return Value();
}

qint64 UserDefaults::integer(QLatin1StringView key) const
{
    return value(key, readInteger);
}

double UserDefaults::real(QLatin1StringView key) const
{
    return value(key, readReal);
}

bool UserDefaults::boolean(QLatin1StringView key) const
{
    return value(key, readBoolean);
}

QString UserDefaults::text(QLatin1StringView key) const
{
    return value(key, readText);
}

QByteArray UserDefaults::data(QLatin1StringView key) const
{
    return value(key, readData);
}

void UserDefaults::set(QLatin1StringView key, const QVariant& value)
{
    const bool isChange = m_settings.value(key) != value;
    m_settings.setValue(key, value);
    m_settings.sync();
    if (isChange)
        Q_EMIT changed(key);
}

void registerUserSettings(UserDefaults& defaults)
{
    using namespace DefaultsKey;
    defaults.registerDefaults({
        {refreshMinutes, 5},
        {defaultAccountID, QString()},
        {showPreview, true},
        {gmailShortcuts, true},
        {loadRemoteContent, false},
        {stripTrackingParams, true},
        {warnSuspiciousLinks, true},
        {composeRichText, false},
        {composeFontFamily, QString()},
        {composeFontSize, 13.0},
        {signature, QString()},
        {suggestFromContacts, true},
        {pageSize, 25},
        {showDockBadge, true},
        {accent, u"larkhaven"_s},
        {textSize, 13.0},
        {sidebarWidth, 210},
        {sidebarHidden, false},
    });
    defaults.registerRule(pageSize, [](const QVariant& value) {
        const qint64 rows = value.toLongLong();
        return rows == 25 || rows == 50 || rows == 100;
    });
    defaults.registerRule(composeFontSize, [](const QVariant& value) {
        const double size = value.toDouble();
        return size >= smallestComposeFontSize && size <= largestComposeFontSize;
    });
}

} // namespace Larkhaven
