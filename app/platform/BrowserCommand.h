#pragma once

#include "app/platform/DesktopEntry.h"
#include "app/platform/DesktopFolders.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace Larkhaven {

/// How a browser is started in a private window. A value; its functions read which programs are there, and
/// may be called on any thread.
struct BrowserCommand {
    /// What a browser is told on the command line.
    enum class Family {
        firefox,  ///< Firefox and those made of it
        chromium, ///< Chromium and those made of it
        edge,     ///< a Chromium with a word of its own for a private window
        other,    ///< known only by the private-window action of its desktop entry
    };

    Family family = Family::other;
    QStringList start; ///< the program and what stands before our own arguments

    /// The way to a private window of the application; absent where it has none. A known family is one by the
    /// name of its program. In a Flatpak or a Snap it counts as `other`: it can't reach a profile of ours.
    static std::optional<BrowserCommand> of(const DesktopEntry& application, const DesktopFolders& folders);
    /// The way to a private window of the default browser: the first application that the desktop has for
    /// HTTPS and that can open one. Where the desktop knows none, that of BROWSER or "x-www-browser".
    static std::optional<BrowserCommand> ofDefaultBrowser(const DesktopFolders& folders);

    /// Whether it runs on a profile of its own, and so doesn't hand over to a browser that runs already.
    bool usesProfile() const { return family != Family::other; }
    /// The program and its arguments. `profile` is the folder of the profile, where it uses one.
    QStringList line(const QString& url, const QString& profile) const;

    bool operator==(const BrowserCommand&) const = default;
};

} // namespace Larkhaven
