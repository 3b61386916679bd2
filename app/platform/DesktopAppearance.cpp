#include "app/platform/DesktopAppearance.h"

#include <QDBusConnection>
#include <QDBusMessage>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString& nameOfSettings()
{
    static const QString name = u"org.freedesktop.appearance"_s;
    return name;
}

constexpr auto colorScheme = "color-scheme"_L1;
constexpr auto contrast = "contrast"_L1;

/// The portal wraps the value of `Read` once more than it says.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

DesktopAppearance::DesktopAppearance(QObject* parent)
    : QObject(parent)
{
    QDBusConnection::sessionBus().connect(u"org.freedesktop.portal.Desktop"_s,
                                          u"/org/freedesktop/portal/desktop"_s,
                                          u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s, this,
                                          SLOT(handleSetting(QString, QString, QDBusVariant)));
    read(colorScheme);
    read(contrast);
}

void DesktopAppearance::read(const QString& key)
{
    // The first picture of a window must not wait for a portal that is slow.
    constexpr int timeout = 200;
    QDBusMessage question = QDBusMessage::createMethodCall(u"org.freedesktop.portal.Desktop"_s,
                                                           u"/org/freedesktop/portal/desktop"_s,
                                                           u"org.freedesktop.portal.Settings"_s, u"Read"_s);
    question << nameOfSettings() << key;
    const QDBusMessage answer = QDBusConnection::sessionBus().call(question, QDBus::Block, timeout);
    if (answer.type() == QDBusMessage::ReplyMessage && !answer.arguments().isEmpty())
        apply(key, unwrapped(answer.arguments().constFirst()));
}

void DesktopAppearance::handleSetting(const QString& name, const QString& key, const QDBusVariant& value)
{
    if (name == nameOfSettings())
        apply(key, unwrapped(value.variant()));
}

void DesktopAppearance::apply(const QString& key, const QVariant& value)
{
    const Scheme oldScheme = m_scheme;
    const bool oldContrast = m_wantsHighContrast;
    const uint number = value.toUInt();
    if (key == colorScheme)
        m_scheme = number == 1 ? Scheme::dark : number == 2 ? Scheme::light : Scheme::noPreference;
    else if (key == contrast)
        m_wantsHighContrast = number == 1;
    if (m_scheme != oldScheme || m_wantsHighContrast != oldContrast)
        Q_EMIT changed();
}

} // namespace Larkhaven
