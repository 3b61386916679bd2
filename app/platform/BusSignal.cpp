#include "app/platform/BusSignal.h"

#include <QDBusConnection>
#include <QLoggingCategory>

namespace Larkhaven {

namespace {

Q_LOGGING_CATEGORY(desktopLog, "larkhaven.desktop")

} // namespace

bool BusSignal::follow(QDBusConnection bus, QObject* receiver, const char* slot) const
{
    if (!bus.isConnected())
        return false;
    const bool isFollowed = bus.connect(service, path, interface, name, receiver, slot);
    if (!isFollowed)
        qCWarning(desktopLog).noquote() << "The signal" << name << "of" << interface << "can't be followed";
    return isFollowed;
}

} // namespace Larkhaven
