#include "views/reader/HeaderLabel.h"

#include "views/reader/TextLines.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>

#include <algorithm>

namespace Larkhaven {

HeaderLabel::HeaderLabel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    align();
}

void HeaderLabel::showMarked(const QString& text, const QString& words, qsizetype whole)
{
    m_words = words;
    m_whole = whole;
    // A label lays out anew whatever it is given.
    if (this->text() != text)
        setText(text);
}

void HeaderLabel::align()
{
    setAlignment(Qt::AlignTop | Qt::AlignAbsolute |
                 (layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft));
}

void HeaderLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        align();
}

// --- What leaves it

QString HeaderLabel::selectedWords() const
{
    if (!hasSelectedText())
        return {};
    const QString shown = text();
    const auto isWord = [](QChar unit) {
        return unit != TextLines::breakMark && unit != firstStrongIsolate && unit != popIsolate &&
               unit != leftToRightMark && unit != rightToLeftMark;
    };
    const auto wordsBefore = [&](qsizetype position) {
        return std::ranges::count_if(QStringView(shown).first(std::min(position, shown.size())), isWord);
    };
    const qsizetype start = std::min<qsizetype>(wordsBefore(selectionStart()), m_whole);
    const qsizetype end = wordsBefore(selectionStart() + selectedText().size());
    return m_words.sliced(start, (end > m_whole ? m_words.size() : end) - start);
}

void HeaderLabel::copy()
{
    QGuiApplication::clipboard()->setText(hasSelectedText() ? selectedWords() : everything());
}

/// A label hands what is selected over as it is shown.
void HeaderLabel::cleanSelection()
{
    QClipboard* const clipboard = QGuiApplication::clipboard();
    if (hasSelectedText() && clipboard->supportsSelection())
        clipboard->setText(selectedWords(), QClipboard::Selection);
}

bool HeaderLabel::event(QEvent* event)
{
    // Before a menu of the window takes the keys.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        event->accept();
        return true;
    }
    return QLabel::event(event);
}

void HeaderLabel::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy))
        return copy();
    const QString before = selectedText();
    QLabel::keyPressEvent(event);
    if (selectedText() != before)
        cleanSelection();
}

void HeaderLabel::mouseReleaseEvent(QMouseEvent* event)
{
    QLabel::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton)
        cleanSelection();
}

void HeaderLabel::contextMenuEvent(QContextMenuEvent* event)
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Copy"), this, &HeaderLabel::copy);
    menu->popup(event->globalPos());
}

} // namespace Larkhaven
