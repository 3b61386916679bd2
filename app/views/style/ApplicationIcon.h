#pragma once

#include <QIcon>

namespace Larkhaven {

/// The icon of the program, part of it, so that windows have it where nothing is installed. On the main
/// thread, behind the application object.
QIcon applicationIcon();

} // namespace Larkhaven
