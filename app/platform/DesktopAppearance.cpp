#include "app/platform/DesktopAppearance.h"

#include "app/platform/BusSignal.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QMetaType>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString service = u"org.freedesktop.portal.Desktop"_s;
const QString path = u"/org/freedesktop/portal/desktop"_s;
const QString interface = u"org.freedesktop.portal.Settings"_s;
const QString nameOfSettings = u"org.freedesktop.appearance"_s;

const QString colorScheme = u"color-scheme"_s;
const QString contrast = u"contrast"_s;
const QString accentColor = u"accent-color"_s;

/// The portal wraps the value of `Read` once more than it says.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

/// A struct of three doubles; a value out of bounds says that there is no colour.
std::optional<DesktopAppearance::Color> colorOf(const QVariant& value)
{
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != "(ddd)"_L1)
        return std::nullopt;
    DesktopAppearance::Color color{};
    argument.beginStructure();
    argument >> color[0] >> color[1] >> color[2];
    argument.endStructure();
    const bool isColor =
        std::ranges::all_of(color, [](double channel) { return channel >= 0 && channel <= 1; });
    return isColor ? std::optional(color) : std::nullopt;
}

} // namespace

DesktopAppearance::DesktopAppearance(QObject* parent)
    : QObject(parent)
{
    // The connection looks the slot's types up by name, and knows this one only once somebody has used it.
    qRegisterMetaType<QDBusVariant>();
    const BusSignal settingChanged{service, path, interface, u"SettingChanged"_s};
    settingChanged.follow(QDBusConnection::sessionBus(), this,
                          SLOT(handleSetting(QString, QString, QDBusVariant)));
    for (const QString& key : {colorScheme, contrast, accentColor})
        ask(key);
}

void DesktopAppearance::ask(const QString& key)
{
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, u"Read"_s);
    question << nameOfSettings << key;
    const QDBusPendingCall answer = QDBusConnection::sessionBus().asyncCall(question);
    m_questions.insert(key, answer);
    connect(new QDBusPendingCallWatcher(answer, this), &QDBusPendingCallWatcher::finished, this,
            [this, key](QDBusPendingCallWatcher* watcher) {
                take(key, *watcher);
                watcher->deleteLater();
            });
}

void DesktopAppearance::takeAnswers()
{
    const QHash<QString, QDBusPendingCall> questions = m_questions;
    for (auto question = questions.cbegin(); question != questions.cend(); ++question) {
        if (question.value().isFinished())
            take(question.key(), question.value());
    }
}

void DesktopAppearance::take(const QString& key, const QDBusPendingCall& answer)
{
    // A change that came meanwhile is newer.
    if (!m_questions.remove(key))
        return;
    const QDBusMessage message = answer.reply();
    if (message.type() == QDBusMessage::ReplyMessage && !message.arguments().isEmpty())
        apply(key, unwrapped(message.arguments().constFirst()));
}

void DesktopAppearance::handleSetting(const QString& name, const QString& key, const QDBusVariant& value)
{
    if (name != nameOfSettings)
        return;
    m_questions.remove(key);
    apply(key, unwrapped(value.variant()));
}

void DesktopAppearance::apply(const QString& key, const QVariant& value)
{
    const Scheme oldScheme = m_scheme;
    const bool oldContrast = m_wantsHighContrast;
    const std::optional<Color> oldAccent = m_accent;
    const uint number = value.toUInt();
    if (key == colorScheme)
        m_scheme = number == 1 ? Scheme::dark : number == 2 ? Scheme::light : Scheme::noPreference;
    else if (key == contrast)
        m_wantsHighContrast = number == 1;
    else if (key == accentColor)
        m_accent = colorOf(value);
    if (m_scheme != oldScheme || m_wantsHighContrast != oldContrast || m_accent != oldAccent)
        Q_EMIT changed();
}

} // namespace Larkhaven
