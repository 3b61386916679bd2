#pragma once

class QWidget;

namespace Larkhaven {

/// What a widget is for. How it looks for that, the one style sheet says: whoever gives a role needs no
/// colour and no font, and nothing to do when they change.
enum class Role {
    // Texts. Those without a role are body text.
    secondary,
    caption, ///< small, in secondary
    strong,  ///< semibold
    subhead,
    title,
    code, ///< in the fixed font
    // Grounds.
    surface, ///< of what is read and written, in place of the window's
    warning, ///< a rounded card in the warning colours, and all that stands on it
    notice,  ///< the same as a band from edge to edge
    // Controls.
    danger,      ///< what can't be taken back, or is wrong
    quiet,       ///< a button that is a word in the accent
    field,       ///< a frame around a text or a list
    value,       ///< a text to be read and copied, with the frame of a field only under the keyboard
    dangerValue, ///< such a text about something wrong
    row,         ///< a field without a frame, whose row shows the keyboard
    panes,       ///< the tabs of a window
    suggestions, ///< a list under its field
};

/// Gives the widget its role, at any time.
void setRole(QWidget& widget, Role role);

} // namespace Larkhaven
