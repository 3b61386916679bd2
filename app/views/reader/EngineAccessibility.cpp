#include "views/reader/EngineAccessibility.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include <chrono>

using namespace Qt::StringLiterals;

namespace Larkhaven::EngineAccessibility {

bool isWanted()
{
    if (!qEnvironmentVariableIsEmpty("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"))
        return true;
    constexpr std::chrono::milliseconds patience{250};
    QDBusMessage question = QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                                                           u"org.freedesktop.DBus.Properties"_s, u"GetAll"_s);
    question.setArguments({u"org.a11y.Status"_s});
    // Where it doesn't run, nobody needs it.
    question.setAutoStartService(false);
    const QDBusMessage answer =
        QDBusConnection::sessionBus().call(question, QDBus::Block, static_cast<int>(patience.count()));
    const QVariantMap status = qdbus_cast<QVariantMap>(answer.arguments().value(0));
    return status.value(u"IsEnabled"_s).toBool() || status.value(u"ScreenReaderEnabled"_s).toBool();
}

void decide()
{
    static const bool isOn = isWanted();
    constexpr const char* variable = "QTWEBENGINE_CHROMIUM_FLAGS";
    constexpr const char* flag = "--force-renderer-accessibility";
    const QByteArray flags = qgetenv(variable);
    if (isOn && !flags.contains(flag))
        qputenv(variable, flags + ' ' + flag);
}

} // namespace Larkhaven::EngineAccessibility
