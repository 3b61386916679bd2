#pragma once

#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QHash>
#include <QObject>

#include <array>
#include <optional>

namespace Larkhaven {

/// What the desktop says of its looks (XDG Settings portal, `org.freedesktop.appearance`). Main thread.
/// Without a portal it has no opinion.
///
/// The questions go out when it is made, and nobody waits for the answers: what comes late is a change.
class DesktopAppearance : public QObject {
    Q_OBJECT

public:
    enum class Scheme { noPreference, dark, light };
    /// sRGB, each channel from 0 to 1.
    using Color = std::array<double, 3>;

    explicit DesktopAppearance(QObject* parent = nullptr);

    Scheme scheme() const { return m_scheme; }
    bool wantsHighContrast() const { return m_wantsHighContrast; }
    /// Absent where the desktop has none of its own.
    const std::optional<Color>& accent() const { return m_accent; }

    /// Takes the answers that are there by now, for a first picture in the right colours. Never waits.
    void takeAnswers();

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void handleSetting(const QString& name, const QString& key, const QDBusVariant& value);

private:
    void ask(const QString& key);
    void take(const QString& key, const QDBusPendingCall& answer);
    void apply(const QString& key, const QVariant& value);

    QHash<QString, QDBusPendingCall> m_questions; ///< that aren't answered yet, by key
    Scheme m_scheme = Scheme::noPreference;
    bool m_wantsHighContrast = false;
    std::optional<Color> m_accent;
};

} // namespace Larkhaven
