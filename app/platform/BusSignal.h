#pragma once

#include <QString>

class QDBusConnection;
class QObject;

namespace Larkhaven {

/// A signal of a service on a bus of D-Bus. Main thread.
struct BusSignal {
    QString service;
    QString path;
    QString interface;
    QString name;

    /// Has the slot, as `SLOT` gives it, take what the signal brings, also from a service that starts later;
    /// whether it will. Without a bus there is nobody to follow; what a bus that is there refuses is a
    /// warning in the log, since nothing on screen would ever show it.
    bool follow(QDBusConnection bus, QObject* receiver, const char* slot) const;
};

} // namespace Larkhaven
