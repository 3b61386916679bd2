#pragma once

namespace Larkhaven {

/// Keeps the drivers of the graphics card out of this process, which draws nothing with them: one lives while
/// the application object is made. The web engine's library asks for an OpenGL context then, whatever draws
/// its pages, and without a card that loads a compiler into the process: 35 MiB and 65 ms.
///
/// X11 (the platform plugin's QT_XCB_GL_INTEGRATION); where the variable is set already, it counts. Programs
/// that are started later don't inherit it. Main thread.
class NoGraphicsDriver {
public:
    NoGraphicsDriver();
    ~NoGraphicsDriver();
    NoGraphicsDriver(const NoGraphicsDriver&) = delete;
    NoGraphicsDriver& operator=(const NoGraphicsDriver&) = delete;

private:
    const bool m_isOurs;
};

} // namespace Larkhaven
