#pragma once

#include "app/platform/BrowserCommand.h"

#include <QLockFile>
#include <QString>

#include <memory>

namespace Larkhaven {

/// A folder that a browser keeps its profile in for one sign-in. Only the user can look into it. Its
/// operations block for the disk; they may be called on any thread, one at a time.
///
/// A lock beside the folder says that a program still uses it: what a crash leaves behind is nobody's, and is
/// removed by `removeLeftovers`.
class BrowserProfile {
public:
    /// Makes the folder below `runtimeFolder`, with settings that keep a browser of the family from
    /// greeting, asking and reporting. Null where that can't be.
    static std::unique_ptr<BrowserProfile> make(const QString& runtimeFolder, BrowserCommand::Family family);
    /// Removes what programs that have ended left below `runtimeFolder`.
    static void removeLeftovers(const QString& runtimeFolder);

    const QString& path() const { return m_path; }
    /// Removes the folder with all that is in it.
    void remove();

private:
    explicit BrowserProfile(const QString& path);

    const QString m_path;
    QLockFile m_lock;
};

} // namespace Larkhaven
