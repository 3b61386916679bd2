#pragma once

#include <QString>

namespace Larkhaven {

/// The number on the program's icon in docks and task bars that understand
/// `com.canonical.Unity.LauncherEntry`. Main thread.
namespace LauncherBadge {

/// Shows the count; none where it is 0 or less. Without a session bus nothing happens.
void show(qint64 count);

} // namespace LauncherBadge

} // namespace Larkhaven
