#pragma once

class QWidget;

namespace Larkhaven {

/// The commands of the Edit menu, which go to the widget that the keyboard is in: "undo", "redo", "cut",
/// "copy", "paste" and "selectAll". Main thread.
class EditCommands {
public:
    /// Whether the widget, or one around it, has the command.
    static bool knows(QWidget* focused, const char* command);
    /// Whether the command would do anything there now.
    static bool isPossible(QWidget* focused, const char* command);
    /// Sends the command to the widget that the keyboard is in; whether it is known there.
    static bool perform(const char* command);
};

} // namespace Larkhaven
