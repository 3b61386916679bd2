#pragma once

class QDialog;

namespace Larkhaven {

/// When an alert comes up.
enum class AlertTurn {
    now,        ///< the user has just asked for what it says
    whenActive, ///< it comes late, when the user may be typing in another window
};

/// Opens the alert once the window that it belongs to has the keyboard, so that it takes it from no other
/// window; until then the desktop is asked to point at that window. The alert has a parent.
void openWhenActive(QDialog& alert);

} // namespace Larkhaven
