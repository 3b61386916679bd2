#pragma once

#include <QKeySequence>
#include <QPoint>
#include <QString>

class QMainWindow;
class QMenu;
class QWidget;

// What a user does with keyboard and mouse. Events come to the window, as a display gives them, and find
// their widget by themselves.

namespace Larkhaven {

/// A title as it is read: without the mark of its mnemonic.
QString plainTitle(QString title);

/// Presses and lets go of a key where the keyboard is.
void pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
/// Types ASCII where the keyboard is.
void typeText(const QString& text);
/// Presses a chord such as "Ctrl+Shift+U".
void pressChord(const QString& chord);

/// The menu that is open, the innermost of several; null for none.
QMenu* openedMenu();
/// Presses the right button on the place of the widget, and gives the menu that opens; null for none.
QMenu* rightClick(QWidget& widget, const QPoint& place);
/// Opens a menu of the bar by its mnemonic.
QMenu* openMenuOfBar(QMainWindow& window, const QString& title);
/// Goes to the item of the open menu by arrow keys, through submenus, and chooses it. Throws where there is
/// none or it is turned off.
void chooseByKeys(const QStringList& titles);

/// Presses the left button on a place, moves to another one and lets go.
void dragFrom(QWidget& from, const QPoint& start, QWidget& to, const QPoint& end);

} // namespace Larkhaven
