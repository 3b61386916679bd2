#include "views/main/TextSizeCommands.h"

#include "views/compose/ComposeEditorController.h"
#include "views/compose/ComposeTextView.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>

#include <algorithm>

namespace Larkhaven {

namespace {

/// The editor of the rich text that the keyboard is in; null where it is elsewhere.
ComposeEditorController* focusedRichText()
{
    auto* const view = qobject_cast<ComposeTextView*>(QApplication::focusWidget());
    const bool isRich = view && !view->isReadOnly() && view->controller && view->controller->isRichText();
    return isRich ? view->controller.data() : nullptr;
}

void step(UserDefaults& defaults, int direction)
{
    const auto& sizes = Style::textSizes;
    const auto place = [&sizes](double size) {
        return std::ranges::find_if(sizes, [size](int step) { return static_cast<double>(step) == size; });
    };
    auto current = place(defaults.real(DefaultsKey::textSize));
    if (current == sizes.end())
        current = place(Style::standardTextSize);
    const auto index = std::clamp<std::ptrdiff_t>(current - sizes.begin() + direction, 0, sizes.size() - 1);
    defaults.set(DefaultsKey::textSize, static_cast<double>(sizes.at(static_cast<size_t>(index))));
}

} // namespace

TextSizeCommands::TextSizeCommands(UserDefaults& defaults, QObject* parent)
    : QObject(parent)
    , m_defaults(defaults)
{
    qApp->installEventFilter(this);
}

void TextSizeCommands::makeBigger(UserDefaults& defaults)
{
    if (ComposeEditorController* const editor = focusedRichText())
        editor->makeBigger();
    else
        step(defaults, +1);
}

void TextSizeCommands::makeSmaller(UserDefaults& defaults)
{
    if (ComposeEditorController* const editor = focusedRichText())
        editor->makeSmaller();
    else
        step(defaults, -1);
}

void TextSizeCommands::makeActualSize(UserDefaults& defaults)
{
    defaults.set(DefaultsKey::textSize, static_cast<double>(Style::standardTextSize));
}

bool TextSizeCommands::eventFilter(QObject* watched, QEvent* event)
{
    // A key comes to its window first. Taken there, it never reaches a field.
    if (event->type() == QEvent::KeyPress && qobject_cast<QWindow*>(watched) &&
        handle(*static_cast<QKeyEvent*>(event)))
        return true;
    return QObject::eventFilter(watched, event);
}

bool TextSizeCommands::handle(const QKeyEvent& event)
{
    if (!event.modifiers().testFlag(Qt::ControlModifier))
        return false;
    switch (event.key()) {
    case Qt::Key_Equal:
    case Qt::Key_Plus:
        makeBigger(m_defaults);
        return true;
    case Qt::Key_Minus:
    case Qt::Key_Underscore:
        makeSmaller(m_defaults);
        return true;
    case Qt::Key_0:
        if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::ControlModifier)
            return false;
        makeActualSize(m_defaults);
        return true;
    default:
        return false;
    }
}

} // namespace Larkhaven
