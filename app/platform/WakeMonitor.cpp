#include "app/platform/WakeMonitor.h"

#include "app/platform/BusSignal.h"

#include <QDBusConnection>

using namespace Qt::StringLiterals;

namespace Larkhaven {

WakeMonitor::WakeMonitor(QObject* parent)
    : QObject(parent)
{
    // Where there is no bus, the clock of the refresh loop notices a sleep by itself.
    const BusSignal prepareForSleep{u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                                    u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s};
    prepareForSleep.follow(QDBusConnection::systemBus(), this, SLOT(handlePrepareForSleep(bool)));
}

void WakeMonitor::handlePrepareForSleep(bool isFallingAsleep)
{
    if (!isFallingAsleep)
        Q_EMIT woke();
}

} // namespace Larkhaven
