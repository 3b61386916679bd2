#pragma once

#include <QKeySequence>
#include <QPoint>
#include <QString>

#include <memory>

class QAction;
class QMainWindow;
class QMenu;
class QMimeData;
class QWidget;

// What a user does with keyboard and mouse. Events come to the window, as a display gives them, and find
// their widget by themselves.

namespace Larkhaven {

/// A title as it is read: without the mark of its mnemonic.
QString plainTitle(QString title);
/// The items of a menu as the user sees them: "Reply [Ctrl+R]", "(…)" around what is turned off, "✓" behind
/// what is checked, "▸" behind what opens, "-" for a line between.
QStringList linesOf(const QMenu& menu);

/// Presses and lets go of a key where the keyboard is.
void pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
/// Types ASCII where the keyboard is.
void typeText(const QString& text);
/// Presses a chord such as "Ctrl+Shift+U".
void pressChord(const QString& chord);

/// The widget that has the keyboard, which is none for a moment after a window has closed.
QWidget& focusedWidget();
/// The name of the widget that has the keyboard; empty for none.
QString focusedName();
/// Presses Tab, or Shift+Tab, until the keyboard is at the widget of the name. Throws where no way leads
/// there.
void tabTo(const QString& name, Qt::KeyboardModifiers modifiers = {});

/// The menu that is open, the innermost of several; null for none.
QMenu* openedMenu();
/// Presses the right button on the place of the widget, and gives the menu that opens; null for none.
QMenu* rightClick(QWidget& widget, const QPoint& place);
/// Opens a menu of the bar by its mnemonic.
QMenu* openMenuOfBar(QMainWindow& window, const QString& title);
/// Goes to an item of the menu by the arrow key. Throws where there is none.
QAction& walkTo(QMenu& menu, const QString& title);
/// Goes to the item of the open menu by arrow keys, through submenus, and chooses it. Throws where there is
/// none or it is turned off.
void chooseByKeys(const QStringList& titles);

/// Has the display press a key for the menu of what has the keyboard in the window ("Menu", "shift+F10"), and
/// gives the menu that opens; null for none.
QMenu* openMenuByKey(const QWidget& window, const QString& chord);
/// Presses the left button in the middle of the widget and lets go.
void leftClick(QWidget& widget);
/// Presses the button that is called so, of those within the widget. Throws where there is none.
void clickButton(QWidget& widget, const QString& text);
/// Rests the mouse on the middle of the widget.
void hover(QWidget& widget);
/// Turns the wheel of the display upwards by one notch, over the middle of the widget.
void turnWheel(const QWidget& widget);

/// Waits until the window manager has given the keyboard to the window, and has the display press a chord, in
/// its own names: "alt+F4". The window manager may take it.
void pressOnDisplay(const QWidget& window, const QString& chord);

/// Presses the left button on a place, moves to another one, which may be in another window, and lets go.
void dragFrom(QWidget& from, const QPoint& start, QWidget& to, const QPoint& end);
/// Drags data out of a window of its own, as from a file manager, over the display's protocol for drags.
void dragOnto(QWidget& to, const QPoint& end, std::unique_ptr<QMimeData> data);

} // namespace Larkhaven
