#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <optional>

namespace Larkhaven {

namespace InfoKey {
inline constexpr QLatin1StringView bundleIdentifier("LHBundleIdentifier");
inline constexpr QLatin1StringView googleClientID("LHGoogleClientID");
inline constexpr QLatin1StringView microsoftClientID("LHMicrosoftClientID");
} // namespace InfoKey

/// What the program knows of its own build: texts by key, written when it was configured. An immutable value,
/// callable from any thread.
class Info {
public:
    /// Nothing is set.
    Info() = default;
    explicit Info(QMap<QString, QString> values)
        : m_values(std::move(values))
    {}
    /// The texts of a JSON object; other values are left out, and nothing is set in what is no object.
    static Info fromJSON(const QByteArray& json);
    /// That of this program.
    static const Info& ofProgram();

    /// The value as it stands; absent where it is blank or names a build variable that nobody filled in, as
    /// "$(NAME)".
    std::optional<QString> configured(const QString& key) const;
    /// The name of the application in the system.
    QString bundleIdentifier() const;

private:
    QMap<QString, QString> m_values;
};

} // namespace Larkhaven
