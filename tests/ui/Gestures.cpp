#include "Gestures.h"

#include "support/WaitUntil.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDrag>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <utility>

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

/// A window that gives its data to whoever drags it out.
class DragSource final : public QWidget {
public:
    explicit DragSource(std::unique_ptr<QMimeData> dragged)
        : QWidget(nullptr, Qt::ToolTip)
        , m_data(std::move(dragged))
    {}

protected:
    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (!m_data || !event->buttons().testFlag(Qt::LeftButton))
            return;
        auto* const drag = new QDrag(this);
        drag->setMimeData(m_data.release());
        drag->exec(Qt::CopyAction);
    }

private:
    std::unique_ptr<QMimeData> m_data;
};

/// What it writes.
QString runXdotool(const QStringList& arguments)
{
    QProcess process;
    process.start(u"xdotool"_s, arguments);
    if (!waitUntil([&process] { return process.state() == QProcess::NotRunning; }) || process.exitCode() != 0)
        throw std::runtime_error("xdotool " + arguments.join(u' ').toStdString());
    return QString::fromLatin1(process.readAllStandardOutput()).trimmed();
}

/// In pixels of the display.
QPoint placeOnDisplay(const QWidget& widget)
{
    return (QPointF(widget.mapToGlobal(widget.rect().center())) * widget.devicePixelRatioF()).toPoint();
}

/// An item as the user sees it: "Reply [Ctrl+R]", "(…)" around what is turned off, "✓" behind what is
/// checked.
QString lineOf(const QAction& action)
{
    if (action.isSeparator())
        return action.text().isEmpty() ? u"-"_s : u"- "_s + action.text();
    QString line = action.text();
    if (!action.shortcuts().isEmpty())
        line += u" [%1]"_s.arg(QKeySequence::listToString(action.shortcuts(), QKeySequence::PortableText));
    if (action.isCheckable() && action.isChecked())
        line += u" ✓"_s;
    if (action.menu())
        line += u" ▸"_s;
    return action.isEnabled() ? line : u"("_s + line + u")"_s;
}

} // namespace

QStringList linesOf(const QMenu& menu)
{
    QStringList lines;
    for (const QAction* const action : menu.actions())
        lines.append(lineOf(*action));
    return lines;
}

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

QString focusedName()
{
    return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : QString();
}

void tabTo(const QString& name, Qt::KeyboardModifiers modifiers)
{
    constexpr int longWay = 60;
    QStringList way{focusedName()};
    while (way.constLast() != name && way.size() <= longWay) {
        pressKey(modifiers ? Qt::Key_Backtab : Qt::Key_Tab, modifiers);
        way.append(focusedName());
    }
    if (way.constLast() != name)
        throw std::runtime_error("no way to " + name.toStdString() + ": " + way.join(u' ').toStdString());
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

QAction& walkTo(QMenu& menu, const QString& title)
{
    for (qsizetype steps = 0; steps <= menu.actions().size() + 1; ++steps) {
        if (menu.activeAction() && plainTitle(menu.activeAction()->text()) == title)
            return *menu.activeAction();
        pressKey(Qt::Key_Down);
    }
    throw std::runtime_error("no item " + title.toStdString());
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

void leftClick(QWidget& widget)
{
    QWidget& top = *widget.window();
    // What a window manager does with a new window may come between the press and the release.
    if (!waitUntil([&top] { return top.windowHandle() && top.windowHandle()->isExposed(); }))
        throw std::runtime_error("the window doesn't appear");
    settle();
    QTest::mouseClick(top.windowHandle(), Qt::LeftButton, {}, widget.mapTo(&top, widget.rect().center()));
}

void clickButton(QWidget& widget, const QString& text)
{
    for (QAbstractButton* const button : widget.findChildren<QAbstractButton*>()) {
        if (button->isVisible() && plainTitle(button->text()) == text) {
            leftClick(*button);
            return;
        }
    }
    throw std::runtime_error("no button " + text.toStdString());
}

void hover(QWidget& widget)
{
    QWidget& top = *widget.window();
    const QPoint place = widget.mapTo(&top, widget.rect().center());
    QTest::mouseMove(top.windowHandle(), place - QPoint(1, 1));
    QTest::mouseMove(top.windowHandle(), place);
}

void turnWheel(const QWidget& widget)
{
    const QPoint place = placeOnDisplay(widget);
    runXdotool({u"mousemove"_s, QString::number(place.x()), QString::number(place.y()), u"click"_s, u"4"_s});
}

void pressOnDisplay(const QWidget& window, const QString& chord)
{
    const QString id = QString::number(window.window()->winId());
    if (!waitUntil([&id] { return runXdotool({u"getwindowfocus"_s}) == id; }))
        throw std::runtime_error("the window doesn't get the keyboard");
    runXdotool({u"key"_s, chord});
}

QMenu* openMenuByKey(const QWidget& window, const QString& chord)
{
    pressOnDisplay(window, chord);
    waitUntil([] { return openedMenu() != nullptr; }, std::chrono::seconds(3));
    return openedMenu();
}

void dragFrom(QWidget& from, const QPoint& start, QWidget& to, const QPoint& end)
{
    QWidget& top = *from.window();
    QWindow& window = *top.windowHandle();
    const QPoint begin = from.mapTo(&top, start);
    const QPoint target = top.mapFromGlobal(to.mapToGlobal(end));
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

void dragOnto(QWidget& to, const QPoint& end, std::unique_ptr<QMimeData> data)
{
    constexpr QSize size(40, 40);
    DragSource source(std::move(data));
    // It lies over whatever is there, but not over the place.
    const QPoint target = to.mapToGlobal(end);
    source.setGeometry({target + QPoint(size.width(), size.height()), size});
    source.show();
    if (!QTest::qWaitForWindowExposed(&source))
        throw std::runtime_error("nothing to drag from");
    dragFrom(source, source.rect().center() - QPoint(10, 0), to, end);
}

} // namespace Larkhaven
