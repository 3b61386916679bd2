#include "views/LineGate.h"

#include "model/DraftGate.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>

#include <limits>

namespace Larkhaven {

namespace {

/// A field notes each letter that comes in. What it refuses in any case doesn't reach it. In UTF-16 units.
constexpr qsizetype longestText = 1'000'000;

/// The text that the event brings into a field at once.
QString textOf(const QEvent& event)
{
    switch (event.type()) {
    case QEvent::KeyPress:
        return static_cast<const QKeyEvent&>(event).matches(QKeySequence::Paste)
                   ? QGuiApplication::clipboard()->text()
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
    if (textOf(*event).size() <= longestText)
        return false;
    Q_EMIT refused();
    return true;
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
