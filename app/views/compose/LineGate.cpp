#include "views/compose/LineGate.h"

#include "model/DraftGate.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>

#include <limits>

namespace Larkhaven {

namespace {

/// A field notes each letter that comes in. What it refuses in any case doesn't reach it. In UTF-16 units.
constexpr qsizetype longestText = 1'000'000;

QString clipboardText()
{
    return QGuiApplication::clipboard()->text();
}

/// The text that the event brings into a field at once.
QString textOf(const QEvent& event)
{
    switch (event.type()) {
    case QEvent::KeyPress:
        return static_cast<const QKeyEvent&>(event).matches(QKeySequence::Paste) ? clipboardText()
                                                                                 : QString();
    case QEvent::MouseButtonRelease:
        return static_cast<const QMouseEvent&>(event).button() == Qt::MiddleButton
                   ? QGuiApplication::clipboard()->text(QClipboard::Selection)
                   : QString();
    case QEvent::Drop:
        return static_cast<const QDropEvent&>(event).mimeData()->text();
    default:
        return {};
    }
}

} // namespace

LineGate::LineGate(qsizetype mostEffort, QLineEdit* line)
    : QValidator(line)
    , m_mostEffort(mostEffort)
    , m_line(line)
{
    // A field that cuts its text would lose recipients without a word, and takes the time of the square for
    // it.
    line->setMaxLength(std::numeric_limits<int>::max());
    line->setValidator(this);
    line->installEventFilter(this);
}

bool LineGate::eventFilter(QObject*, QEvent* event)
{
    if (event->type() == QEvent::ContextMenu) {
        showMenu(static_cast<const QContextMenuEvent*>(event)->globalPos());
        return true;
    }
    if (textOf(*event).size() <= longestText)
        return false;
    Q_EMIT refused();
    return true;
}

/// The field's own menu, with a Paste that looks at the clipboard first: what is in it may change while the
/// menu is open.
void LineGate::showMenu(const QPoint& place)
{
    QMenu* const menu = m_line->createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QList<QAction*> actions = menu->actions();
    for (QAction* const action : actions) {
        // Qt 6.4 gives its actions no names; Paste is the one that was connected to it.
        if (disconnect(action, SIGNAL(triggered()), m_line, SLOT(paste())))
            connect(action, &QAction::triggered, this, &LineGate::paste);
    }
    menu->popup(place);
}

void LineGate::paste()
{
    if (clipboardText().size() > longestText)
        Q_EMIT refused();
    else
        m_line->paste();
}

void LineGate::load(const QString& text)
{
    m_isLoading = true;
    m_line->setText(text);
    m_isLoading = false;
}

QValidator::State LineGate::validate(QString& text, int& cursor) const
{
    // Nobody is kept from taking away a part of what is too much.
    const bool isAccepted =
        m_isLoading || text.size() <= m_accepted.size() || DraftGate::effort(text) <= m_mostEffort;
    if (isAccepted) {
        m_accepted = text;
        return Acceptable;
    }
    // To say that it is invalid would have the field undo it letter by letter.
    text = m_accepted;
    cursor = static_cast<int>(text.size());
    Q_EMIT refused();
    return Acceptable;
}

} // namespace Larkhaven
