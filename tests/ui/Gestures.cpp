#include "Gestures.h"

#include "support/WaitUntil.h"

#include <QApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <chrono>
#include <functional>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QWindow& keyboardWindow()
{
    // For a moment after a window or a menu has closed nobody has it.
    if (!waitUntil([] { return QGuiApplication::focusWindow() != nullptr; }))
        throw std::runtime_error("no window has the keyboard");
    return *QGuiApplication::focusWindow();
}

/// Goes to an item of the menu by the arrow key.
QAction& walkTo(QMenu& menu, const QString& title)
{
    for (qsizetype steps = 0; steps <= menu.actions().size() + 1; ++steps) {
        if (menu.activeAction() && plainTitle(menu.activeAction()->text()) == title)
            return *menu.activeAction();
        pressKey(Qt::Key_Down);
    }
    throw std::runtime_error("no item " + title.toStdString());
}

} // namespace

QString plainTitle(QString title)
{
    constexpr QChar kept(u'\1');
    return title.replace(u"&&"_s, kept).remove(u'&').replace(kept, u'&');
}

void pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(&keyboardWindow(), key, modifiers);
}

void typeText(const QString& text)
{
    for (const QChar letter : text)
        QTest::keyClick(&keyboardWindow(), letter.toLatin1());
}

void pressChord(const QString& chord)
{
    const QKeyCombination key = QKeySequence(chord, QKeySequence::PortableText)[0];
    pressKey(key.key(), key.keyboardModifiers());
}

QMenu* openedMenu()
{
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

QMenu* rightClick(QWidget& widget, const QPoint& place)
{
    QWindow& window = *widget.window()->windowHandle();
    QTest::mouseClick(&window, Qt::RightButton, {}, widget.mapTo(widget.window(), place));
    settle();
    // A busy display takes its time; where there is no menu to open, this is the wait for none.
    waitUntil([] { return openedMenu() != nullptr; }, std::chrono::seconds(3));
    return openedMenu();
}

QMenu* openMenuOfBar(QMainWindow& window, const QString& title)
{
    for (const QAction* const action : window.menuBar()->actions()) {
        if (plainTitle(action->text()) != title)
            continue;
        const QKeySequence mnemonic = QKeySequence::mnemonic(action->text());
        pressKey(mnemonic[0].key(), Qt::AltModifier);
        if (!waitUntil([action] { return action->menu()->isVisible(); }))
            throw std::runtime_error("the menu doesn't open: " + title.toStdString());
        return action->menu();
    }
    throw std::runtime_error("no menu " + title.toStdString());
}

void chooseByKeys(const QStringList& titles)
{
    for (const QString& title : titles) {
        QMenu* const menu = openedMenu();
        if (!menu)
            throw std::runtime_error("no menu is open");
        const QAction& item = walkTo(*menu, title);
        if (!item.isEnabled())
            throw std::runtime_error("turned off: " + title.toStdString());
        // The item goes with its menu where it is chosen.
        const QMenu* const submenu = item.menu();
        pressKey(submenu ? Qt::Key_Right : Qt::Key_Return);
        if (submenu && !waitUntil([submenu] { return openedMenu() == submenu; }))
            throw std::runtime_error("the menu doesn't open: " + title.toStdString());
    }
    settle();
}

void dragFrom(QWidget& from, const QPoint& start, QWidget& to, const QPoint& end)
{
    QWidget& top = *from.window();
    QWindow& window = *top.windowHandle();
    const QPoint begin = from.mapTo(&top, start);
    const QPoint target = to.mapTo(&top, end);
    // A drag has an event loop of its own, in which the later steps come. (A timer that has begun one of them
    // would not come again before its end.)
    const QList<std::function<void()>> steps{
        [&] { QTest::mouseMove(&window, (begin + target) / 2); },
        [&] { QTest::mouseMove(&window, target + QPoint(1, 0)); },
        [&] { QTest::mouseMove(&window, target); },
        [&] { QTest::mouseRelease(&window, Qt::LeftButton, {}, target); },
    };
    int left = static_cast<int>(steps.size());
    for (qsizetype index = 0; index < steps.size(); ++index) {
        QTimer::singleShot(std::chrono::milliseconds(50) * (index + 1), &window, [&, index] {
            steps[index]();
            --left;
        });
    }
    QTest::mousePress(&window, Qt::LeftButton, {}, begin);
    QTest::mouseMove(&window, begin + QPoint(QApplication::startDragDistance() + 5, 5));
    if (!waitUntil([&] { return left == 0; }))
        throw std::runtime_error("the drag didn't end");
}

} // namespace Larkhaven
