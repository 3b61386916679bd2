#include "views/compose/ComposeTextView.h"

#include "model/DraftGate.h"
#include "views/compose/ComposeEditorController.h"
#include "views/richtext/ComposeHTML.h"
#include "views/richtext/QuietDocument.h"
#include "views/style/Style.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QTextBlock>
#include <QTextDocumentFragment>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QKeySequence plainPasteChord(Qt::CTRL | Qt::SHIFT | Qt::Key_V);

QList<QUrl> filesOf(const QMimeData& data)
{
    QList<QUrl> files = data.urls();
    files.removeIf([](const QUrl& url) { return !url.isLocalFile(); });
    return files;
}

bool holdsFiles(const QMimeData& data)
{
    return std::ranges::any_of(data.urls(), [](const QUrl& url) { return url.isLocalFile(); });
}

/// An image that isn't the picture of a text beside it. A table that was copied comes as both.
bool holdsOnlyImage(const QMimeData& data)
{
    return data.hasImage() && !data.hasText();
}

/// A selection, written when somebody asks for it: a display is offered each, and takes few.
class SelectedText final : public QMimeData {
public:
    SelectedText(const QTextDocumentFragment& selection, bool isRich)
        : m_selection(selection)
        , m_isRich(isRich)
    {}

    QStringList formats() const override
    {
        return m_isRich ? QStringList{u"text/plain"_s, u"text/html"_s} : QStringList{u"text/plain"_s};
    }

protected:
    QVariant retrieveData(const QString& type, QMetaType) const override
    {
        if (!formats().contains(type))
            return {};
        QuietDocument selected;
        QTextCursor(&selected).insertFragment(m_selection);
        return type == "text/plain"_L1 ? ComposeHTML::plainText(selected)
                                       : ComposeHTML::write(selected).value_or(QString());
    }

private:
    QTextDocumentFragment m_selection;
    bool m_isRich;
};

} // namespace

ComposeTextView::ComposeTextView(QWidget* parent)
    : QTextEdit(parent)
{
    setDocument(new QuietDocument(this));
    setObjectName("composeText"_L1);
    setAccessibleName(tr("Message"));
    setFrameShape(NoFrame);
    setAcceptDrops(true);
    setAutoFormatting(AutoNone);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_pasteTurn.setSingleShot(true);
    m_pasteTurn.setInterval(0);
    connect(&m_pasteTurn, &QTimer::timeout, this, [this] {
        m_pastePlace.joinPreviousEditBlock();
        insertPiece();
        m_pastePlace.endEditBlock();
        ensureCursorVisible();
    });
}

bool ComposeTextView::isRich() const
{
    return controller && controller->isRichText();
}

// --- Clipboard and drops

bool ComposeTextView::canInsertFromMimeData(const QMimeData* source) const
{
    return source->hasText() || source->hasHtml() || source->hasImage() || holdsFiles(*source);
}

void ComposeTextView::insertFromMimeData(const QMimeData* source)
{
    if (isReadOnly() || offer(*source))
        return;
    const QString html = isRich() && source->hasHtml() ? source->html() : QString();
    if (!html.isEmpty() && html.size() <= longestPastedHTML)
        controller->pasteHTML(html);
    else if (source->hasText())
        insertPastedText(source->text());
    ensureCursorVisible();
}

/// Files and images are no text: what becomes of them is asked. Whether it is.
bool ComposeTextView::offer(const QMimeData& source)
{
    if (!controller)
        return false;
    if (const QList<QUrl> files = filesOf(source); !files.isEmpty() && controller->onPasteFiles) {
        controller->onPasteFiles(files);
        return true;
    }
    if (!holdsOnlyImage(source) || !controller->onPasteImage)
        return false;
    controller->onPasteImage(ComposeFiles::imageOf(source));
    return true;
}

void ComposeTextView::pasteWithoutFormatting()
{
    const QMimeData* const source = QGuiApplication::clipboard()->mimeData();
    if (isReadOnly() || !source || !source->hasText())
        return;
    insertPastedText(source->text());
    ensureCursorVisible();
}

/// All text of the clipboard and of drops passes here.
void ComposeTextView::insertPastedText(const QString& text)
{
    finishPasting();
    endLinkBeforeTyping();
    m_pasted = DraftGate::pasted(text);
    m_pastePlace = textCursor();
    m_pasteFormat = isRich() ? currentCharFormat() : QTextCharFormat();
    m_pastePlace.beginEditBlock();
    m_pastePlace.removeSelectedText();
    insertPiece();
    m_pastePlace.endEditBlock();
}

void ComposeTextView::insertPiece()
{
    qsizetype length = std::min(m_pasted.size(), longestPiece);
    if (length < m_pasted.size()) {
        // At the end of a line, where there is one.
        const qsizetype end = m_pasted.lastIndexOf(u'\n', length - 1);
        length = end > 0 ? end : length - (m_pasted[length - 1].isHighSurrogate() ? 1 : 0);
    }
    m_pastePlace.insertText(m_pasted.first(length), m_pasteFormat);
    m_pasted.remove(0, length);
    if (!m_pasted.isEmpty())
        m_pasteTurn.start();
}

void ComposeTextView::finishPasting()
{
    m_pasteTurn.stop();
    while (!m_pasted.isEmpty()) {
        // All of it is one step that can be undone.
        m_pastePlace.joinPreviousEditBlock();
        insertPiece();
        m_pastePlace.endEditBlock();
    }
    m_pasteTurn.stop();
}

QMimeData* ComposeTextView::createMimeDataFromSelection() const
{
    return new SelectedText(textCursor().selection(), isRich());
}

void ComposeTextView::dragEnterEvent(QDragEnterEvent* event)
{
    if (holdsFiles(*event->mimeData()))
        event->acceptProposedAction();
    else
        QTextEdit::dragEnterEvent(event);
}

void ComposeTextView::dragMoveEvent(QDragMoveEvent* event)
{
    if (holdsFiles(*event->mimeData()))
        event->acceptProposedAction();
    else
        QTextEdit::dragMoveEvent(event);
}

void ComposeTextView::dropEvent(QDropEvent* event)
{
    if (!holdsFiles(*event->mimeData())) {
        QTextEdit::dropEvent(event);
        return;
    }
    // Never a move: the file stays where it is.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (controller && controller->onDropFiles && !isReadOnly())
        controller->onDropFiles(filesOf(*event->mimeData()));
}

// --- Keys

bool ComposeTextView::handleFormatKey(const QKeyEvent& event)
{
    if (QKeySequence(event.keyCombination()) == plainPasteChord) {
        pasteWithoutFormatting();
        return true;
    }
    if (!isRich() || event.modifiers() != Qt::ControlModifier)
        return false;
    switch (event.key()) {
    case Qt::Key_B:
        controller->toggleBold();
        return true;
    case Qt::Key_I:
        controller->toggleItalic();
        return true;
    case Qt::Key_U:
        controller->toggleUnderline();
        return true;
    case Qt::Key_T:
        controller->showFonts();
        return true;
    default:
        return false;
    }
}

void ComposeTextView::endLinkBeforeTyping()
{
    const QTextCursor cursor = textCursor();
    const QString link = ComposeFormat::link(currentCharFormat());
    if (link.isEmpty())
        return;
    QTextCursor next(cursor);
    next.setPosition(cursor.selectionEnd());
    const bool goesOn = !next.atBlockEnd() && next.movePosition(QTextCursor::NextCharacter) &&
                        ComposeFormat::link(next.charFormat()) == link;
    if (goesOn && !cursor.hasSelection())
        return;
    QTextCharFormat format = currentCharFormat();
    ComposeFormat::removeLink(format);
    // With a selection the format of what replaces it can't be told ahead.
    if (!cursor.hasSelection())
        setCurrentCharFormat(format);
}

void ComposeTextView::keyPressEvent(QKeyEvent* event)
{
    if (isReadOnly() || handleFormatKey(*event))
        return;
    if (event->key() == Qt::Key_Backtab) {
        // An editor that takes tabs keeps the keyboard otherwise.
        QAbstractScrollArea::focusNextPrevChild(false);
        return;
    }
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && event->modifiers() == Qt::NoModifier && controller && controller->leaveEmptyListItem())
        return;
    const bool isSpace = event->text() == " "_L1 || event->text() == "\t"_L1;
    const bool isText = !event->text().isEmpty() && event->text().front().isPrint();
    if (isRich() && (isReturn || isSpace))
        controller->detectLink();
    if (isText || isReturn)
        endLinkBeforeTyping();
    QTextEdit::keyPressEvent(event);
}

void ComposeTextView::inputMethodEvent(QInputMethodEvent* event)
{
    if (!event->commitString().isEmpty())
        endLinkBeforeTyping();
    QTextEdit::inputMethodEvent(event);
}

void ComposeTextView::contextMenuEvent(QContextMenuEvent* event)
{
    // The window may close while the menu is open.
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillMenu(*menu);
    if (controller && !isReadOnly())
        controller->spelling().addTo(*menu, cursorForPosition(event->pos()).position());
    menu->popup(event->globalPos());
}

void ComposeTextView::fillMenu(QMenu& menu)
{
    const auto add = [this, &menu](const QString& text, const QKeySequence& chord,
                                   void (ComposeTextView::*act)(), bool isEnabled) {
        QAction* const item = menu.addAction(text);
        item->setShortcut(chord);
        item->setEnabled(isEnabled);
        connect(item, &QAction::triggered, this, act);
    };
    const bool isOpen = !isReadOnly();
    const bool hasSelection = textCursor().hasSelection();
    const QMimeData* const clipboard = QGuiApplication::clipboard()->mimeData();
    add(tr("Undo"), QKeySequence::Undo, &ComposeTextView::undo, isOpen && document()->isUndoAvailable());
    add(tr("Redo"), QKeySequence::Redo, &ComposeTextView::redo, isOpen && document()->isRedoAvailable());
    menu.addSeparator();
    add(tr("Cut"), QKeySequence::Cut, &ComposeTextView::cut, isOpen && hasSelection);
    add(tr("Copy"), QKeySequence::Copy, &ComposeTextView::copy, hasSelection);
    add(tr("Paste"), QKeySequence::Paste, &ComposeTextView::paste, isOpen && canPaste());
    add(tr("Paste Without Formatting"), plainPasteChord, &ComposeTextView::pasteWithoutFormatting,
        isOpen && clipboard && clipboard->hasText());
    menu.addSeparator();
    add(tr("Select All"), QKeySequence::SelectAll, &ComposeTextView::selectAll, !document()->isEmpty());
}

// --- Drawing

void ComposeTextView::paintEvent(QPaintEvent* event)
{
    QTextEdit::paintEvent(event);
    // A bar for each level of quoting, beside the text.
    QPainter painter(viewport());
    painter.setPen(Qt::NoPen);
    painter.setBrush(Style::shared().colors().secondary);
    const QPoint top = QPoint(0, 0);
    for (QTextBlock block = cursorForPosition(top).block(); block.isValid(); block = block.next()) {
        QTextCursor place(block);
        const QRect first = cursorRect(place);
        if (first.top() > viewport()->height())
            break;
        const int level = ComposeFormat::quoteLevel(block.blockFormat());
        if (level == 0)
            continue;
        place.movePosition(QTextCursor::EndOfBlock);
        const QRect last = cursorRect(place);
        const int indent =
            static_cast<int>(block.blockFormat().leftMargin()) / std::max(1, std::min(level, 8));
        for (int bar = 0; bar < std::min(level, 8); ++bar)
            painter.drawRect(QRect(first.left() - indent * (bar + 1) + indent / 2, first.top(), 2,
                                   last.bottom() - first.top() + 1));
    }
}

} // namespace Larkhaven
