#pragma once

#include <QDBusVariant>
#include <QObject>

namespace Larkhaven {

/// What the desktop says of its looks (XDG Settings portal, `org.freedesktop.appearance`). Main thread.
/// Without a portal it has no opinion.
class DesktopAppearance : public QObject {
    Q_OBJECT

public:
    enum class Scheme { noPreference, dark, light };

    explicit DesktopAppearance(QObject* parent = nullptr);

    Scheme scheme() const { return m_scheme; }
    bool wantsHighContrast() const { return m_wantsHighContrast; }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void handleSetting(const QString& name, const QString& key, const QDBusVariant& value);

private:
    void read(const QString& key);
    void apply(const QString& key, const QVariant& value);

    Scheme m_scheme = Scheme::noPreference;
    bool m_wantsHighContrast = false;
};

} // namespace Larkhaven
