#include "app/platform/WakeMonitor.h"

#include <QDBusConnection>

using namespace Qt::StringLiterals;

namespace Larkhaven {

WakeMonitor::WakeMonitor(QObject* parent)
    : QObject(parent)
{
    // Where there is no bus, the clock of the refresh loop notices a sleep by itself.
    QDBusConnection::systemBus().connect(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                                         u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s, this,
                                         SLOT(handlePrepareForSleep(bool)));
}

void WakeMonitor::handlePrepareForSleep(bool isFallingAsleep)
{
    if (!isFallingAsleep)
        Q_EMIT woke();
}

} // namespace Larkhaven
