#pragma once

/// Whether the web engine gives the text of its pages to assistive technology. Main thread.
namespace Larkhaven::EngineAccessibility {

/// Whether accessibility is on: as the desktop's session bus says (IsEnabled or ScreenReaderEnabled of
/// org.a11y.Status), or where Qt's QT_LINUX_ACCESSIBILITY_ALWAYS_ON is set. A bus that doesn't answer within
/// a quarter of a second counts as off.
bool isWanted();

/// Turns the engine's accessibility on where it is wanted: it costs time and memory with each page. To be
/// called before the engine starts, which takes no later word; only the first call does anything.
void decide();

} // namespace Larkhaven::EngineAccessibility
