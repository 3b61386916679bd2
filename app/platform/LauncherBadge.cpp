#include "app/platform/LauncherBadge.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace Larkhaven::LauncherBadge {

void show(qint64 count)
{
    QDBusMessage update = QDBusMessage::createSignal(u"/com/tundra42/larkhaven"_s,
                                                     u"com.canonical.Unity.LauncherEntry"_s, u"Update"_s);
    update << u"application://com.tundra42.larkhaven.desktop"_s
           << QVariantMap{{u"count"_s, count}, {u"count-visible"_s, count > 0}};
    QDBusConnection::sessionBus().send(update);
}

} // namespace Larkhaven::LauncherBadge
