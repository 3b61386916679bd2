#pragma once

#include <QObject>

namespace Larkhaven {

/// Tells when the machine wakes from sleep (`PrepareForSleep(false)` of org.freedesktop.login1). Main thread.
/// Without a system bus it stays silent.
class WakeMonitor : public QObject {
    Q_OBJECT

public:
    explicit WakeMonitor(QObject* parent = nullptr);

Q_SIGNALS:
    void woke();

private Q_SLOTS:
    void handlePrepareForSleep(bool isFallingAsleep);
};

} // namespace Larkhaven
