#pragma once

#include "app/platform/DesktopEntry.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace Larkhaven {

/// Where a desktop keeps its settings and applications (XDG Base Directory Specification), and what they say
/// about which application opens what (MIME Applications Specification 1.0). A value; reading blocks for the
/// disk, and may be done on any thread.
struct DesktopFolders {
    QStringList config;       ///< the user's own first
    QStringList data;         ///< likewise
    QStringList desktops;     ///< the names of the running desktop, in lower case, the most specific first
    QStringList searchPath;   ///< for programs
    QString preferredBrowser; ///< what the variable BROWSER names; empty for nothing

    /// What the environment of this process says.
    static DesktopFolders ofEnvironment();

    /// The applications that the user or the system has chosen for the type, the preferred one first; where
    /// nobody has, those that say of themselves that they open it. At most `mostApplications`.
    QList<DesktopEntry> applications(const QString& type) const;
    /// The file of a program that can be started; empty where there is none.
    QString program(const QString& name) const;

    static constexpr qsizetype mostApplications = 20;
    /// The largest list of applications that is read, in bytes.
    static constexpr qint64 largestList = 4'194'304;

private:
    std::optional<DesktopEntry> entry(const QString& id) const;
};

} // namespace Larkhaven
