#pragma once

#include <QByteArray>
#include <QHash>
#include <QLatin1StringView>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QVariant>

#include <functional>

namespace Larkhaven {

/// The keys of the user settings, spelled as they are stored.
namespace DefaultsKey {
using namespace Qt::StringLiterals;
inline constexpr auto accounts = "accounts.v2"_L1;
inline constexpr auto refreshMinutes = "refreshMinutes"_L1;
inline constexpr auto defaultAccountID = "defaultAccountID"_L1;
inline constexpr auto showPreview = "showPreview"_L1;
inline constexpr auto gmailShortcuts = "gmailShortcuts"_L1;
inline constexpr auto loadRemoteContent = "loadRemoteContent"_L1;
inline constexpr auto stripTrackingParams = "stripTrackingParams"_L1;
inline constexpr auto warnSuspiciousLinks = "warnSuspiciousLinks"_L1;
inline constexpr auto composeRichText = "composeRichText"_L1;
inline constexpr auto composeFontFamily = "composeFontFamily"_L1;
inline constexpr auto composeFontSize = "composeFontSize"_L1;
inline constexpr auto signature = "signature"_L1;
inline constexpr auto suggestFromContacts = "suggestFromContacts"_L1;
inline constexpr auto pageSize = "pageSize"_L1;
inline constexpr auto showDockBadge = "showDockBadge"_L1;
inline constexpr auto accent = "accent"_L1;
inline constexpr auto textSize = "textSize"_L1;
inline constexpr auto collapsedAccounts = "collapsedAccounts"_L1;
inline constexpr auto tableColumns = "tableColumns"_L1;
inline constexpr auto mainWindowSize = "mainWindowSize"_L1;
inline constexpr auto sidebarWidth = "sidebarWidth"_L1;
inline constexpr auto sidebarHidden = "sidebarHidden"_L1;
inline constexpr auto mailboxOnScreen = "mailboxOnScreen"_L1;
inline constexpr auto composeWindowSize = "composeWindowSize"_L1;
} // namespace DefaultsKey

/// The sizes that a message may be written in, in points.
inline constexpr double smallestComposeFontSize = 8;
inline constexpr double largestComposeFontSize = 72;

/// What the program remembers of the user's choices: an INI file with a layer of registered defaults below
/// it. A file that can't be read counts as empty. Main thread.
class UserDefaults : public QObject {
    Q_OBJECT

public:
    /// `file` is the path of the INI file, which need not exist.
    explicit UserDefaults(const QString& file, QObject* parent = nullptr);

    /// "larkhaven/larkhaven.ini" below XDG_CONFIG_HOME.
    static QString defaultFile();

    /// Adds to the values that are read where nothing is stored.
    void registerDefaults(const QHash<QString, QVariant>& defaults);
    /// Says which stored values of a key count. One that doesn't is read as if nothing were stored.
    using Rule = std::function<bool(const QVariant& value)>;
    void registerRule(QLatin1StringView key, const Rule& isValid);

    /// These give the registered default, or the type's empty value, where nothing is stored, where it can't
    /// be read as the type, or where it breaks the key's rule.
    qint64 integer(QLatin1StringView key) const;
    double real(QLatin1StringView key) const;
    bool boolean(QLatin1StringView key) const;
    QString text(QLatin1StringView key) const;
    QByteArray data(QLatin1StringView key) const;

    /// Stores the value and writes the file.
    void set(QLatin1StringView key, const QVariant& value);

Q_SIGNALS:
    /// The value under the key is another than before.
    void changed(const QString& key);

private:
    template <typename Value>
    Value value(QLatin1StringView key, Value (*read)(const QVariant&, bool*)) const;

    QSettings m_settings;
    QHash<QString, QVariant> m_registered;
    QHash<QString, Rule> m_rules;
};

/// The defaults of all user settings; registered before anything reads them.
void registerUserSettings(UserDefaults& defaults);

} // namespace Larkhaven
