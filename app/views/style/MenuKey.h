#pragma once

class QApplication;

namespace Larkhaven {

/// Has Shift+F10 open the menu of what has the keyboard, as the Menu key does, which many keyboards lack. Qt
/// 6.4 knows the Menu key alone on this platform. Once, after the application has been made.
void installMenuKey(QApplication& application);

} // namespace Larkhaven
