#include "views/style/MenuKey.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QWindow>

namespace Larkhaven {

namespace {

class MenuKey final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress || !watched->isWindowType())
            return false;
        const auto* const key = static_cast<QKeyEvent*>(event);
        const bool isMenuKey = key->key() == Qt::Key_F10 && key->modifiers() == Qt::ShiftModifier;
        // An open menu has the keyboard itself.
        if (!isMenuKey || key->isAutoRepeat() || QApplication::activePopupWidget())
            return false;
        // The window finds the widget and the place in it, as it does for the Menu key.
        QContextMenuEvent menu(QContextMenuEvent::Keyboard, QPoint(), QPoint());
        QCoreApplication::sendEvent(watched, &menu);
        return true;
    }
};

} // namespace

void installMenuKey(QApplication& application)
{
    application.installEventFilter(new MenuKey(&application));
}

} // namespace Larkhaven
