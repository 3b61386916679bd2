#pragma once

#include <QDBusAbstractAdaptor>
#include <QStringList>
#include <QVariant>

namespace Larkhaven {

class SingleInstance;

/// The program as the desktop starts it over the session bus (Desktop Entry Specification 1.5, "D-Bus
/// Activation"): whatever is asked for becomes the arguments of a later start. What comes is from any program
/// of the session, and untrusted.
class ActivatableApplication : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ActivatableApplication(SingleInstance& instance);

public Q_SLOTS:
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& urls, const QVariantMap& platformData);
    /// The desktop entry names no actions: whatever is asked for shows the program.
    void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData);

private:
    SingleInstance& m_instance;
};

} // namespace Larkhaven
