#include "views/main/EditCommands.h"

#include "views/list/MessageTable.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// What a field of text can do at the moment.
struct TextState {
    bool isEditable = false;
    bool canUndo = false;
    bool canRedo = false;
    bool hasSelection = false;
    bool canCopy = true; ///< a password can't be
    bool canPaste = false;
    bool isEmpty = true;
};

bool isPossibleIn(const TextState& state, QLatin1StringView command)
{
    if (command == "undo"_L1)
        return state.isEditable && state.canUndo;
    if (command == "redo"_L1)
        return state.isEditable && state.canRedo;
    if (command == "cut"_L1)
        return state.isEditable && state.hasSelection && state.canCopy;
    if (command == "copy"_L1)
        return state.hasSelection && state.canCopy;
    if (command == "paste"_L1)
        return state.isEditable && state.canPaste;
    return !state.isEmpty;
}

TextState stateOf(const QLineEdit& field)
{
    const QMimeData* const clipboard = QApplication::clipboard()->mimeData();
    return {!field.isReadOnly(),
            field.isUndoAvailable(),
            field.isRedoAvailable(),
            field.hasSelectedText(),
            field.echoMode() == QLineEdit::Normal,
            clipboard && clipboard->hasText(),
            field.text().isEmpty()};
}

TextState stateOf(const QTextEdit& text)
{
    return {!text.isReadOnly(),
            text.document()->isUndoAvailable(),
            text.document()->isRedoAvailable(),
            text.textCursor().hasSelection(),
            true,
            text.canPaste(),
            text.document()->isEmpty()};
}

/// The widget, or the nearest one around it that knows the command: what has the
/// focus in a message is a widget of the engine.
QWidget* receiver(QWidget* widget, const char* command)
{
    const QByteArray signature = QByteArray(command) + "()";
    while (widget && widget->metaObject()->indexOfMethod(signature.constData()) < 0)
        widget = widget->parentWidget();
    return widget;
}

} // namespace

bool EditCommands::knows(QWidget* focused, const char* command)
{
    return receiver(focused, command) != nullptr;
}

bool EditCommands::isPossible(QWidget* focused, const char* command)
{
    const QLatin1StringView name(command);
    if (const auto* const label = qobject_cast<const QLabel*>(focused); label && label->hasSelectedText())
        return name == "copy"_L1;
    if (const auto* const field = qobject_cast<const QLineEdit*>(focused))
        return isPossibleIn(stateOf(*field), name);
    if (const auto* const text = qobject_cast<const QTextEdit*>(focused))
        return isPossibleIn(stateOf(*text), name);
    const QWidget* const known = receiver(focused, command);
    if (const auto* const table = qobject_cast<const MessageTable*>(known))
        return table->model()->rowCount() > 0;
    // Lists that show one thing at a time have nothing to select.
    const auto* const list = qobject_cast<const QAbstractItemView*>(known);
    return known && (!list || list->selectionMode() == QAbstractItemView::ExtendedSelection);
}

bool EditCommands::perform(const char* command)
{
    QWidget* const focused = QApplication::focusWidget();
    QWidget* const known = receiver(focused, command);
    // Labels have no command, but for those that copy something else than they show.
    const auto* const label = qobject_cast<QLabel*>(focused);
    if (label && known != label && label->hasSelectedText() && QLatin1StringView(command) == "copy"_L1) {
        QApplication::clipboard()->setText(label->selectedText());
        return true;
    }
    return known && QMetaObject::invokeMethod(known, command);
}

} // namespace Larkhaven
