#include "views/reader/SubjectLabel.h"

#include "views/reader/TextLines.h"
#include "views/style/DisplayText.h"

#include <QEvent>
#include <QFontMetrics>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SubjectLabel::SubjectLabel(QWidget* parent)
    : HeaderLabel(parent)
{}

void SubjectLabel::setSubject(const QString& subject)
{
    const QString shown = DisplayText::bounded(subject);
    if (m_subject == shown)
        return;
    m_subject = shown;
    setAccessibleName(shown);
    updateGeometry();
    layOut();
}

int SubjectLabel::textWidth(int width) const
{
    const QMargins margins = contentsMargins();
    return std::max(1, width - margins.left() - margins.right());
}

int SubjectLabel::heightForWidth(int width) const
{
    const QMargins margins = contentsMargins();
    const TextLines lines = TextLines::of(m_subject, font(), textWidth(width), mostLines);
    return static_cast<int>(std::ceil(lines.height)) + margins.top() + margins.bottom();
}

QSize SubjectLabel::sizeHint() const
{
    const int width = QFontMetrics(font()).horizontalAdvance(m_subject);
    return {width, heightForWidth(width)};
}

QSize SubjectLabel::minimumSizeHint() const
{
    const QFontMetrics metrics(font());
    return {metrics.averageCharWidth() * 6, metrics.height()};
}

void SubjectLabel::layOut()
{
    const int width = textWidth(this->width());
    const TextLines lines = TextLines::of(m_subject, font(), width, mostLines);
    const bool isWhole = lines.to >= m_subject.size();
    if (isWhole) {
        showMarked(lines.text, m_subject, m_subject.size());
    } else {
        const QString shown =
            m_subject.first(lines.lastFrom) +
            QFontMetrics(font()).elidedText(m_subject.sliced(lines.lastFrom), Qt::ElideRight, width - 2);
        const auto elided = std::ranges::mismatch(std::as_const(m_subject), shown).in1;
        showMarked(TextLines::of(shown, font(), width, mostLines).text, m_subject,
                   std::distance(m_subject.cbegin(), elided));
    }
    setToolTip(isWhole ? QString() : DisplayText::toolTip(m_subject));
}

void SubjectLabel::resizeEvent(QResizeEvent* event)
{
    HeaderLabel::resizeEvent(event);
    layOut();
}

void SubjectLabel::changeEvent(QEvent* event)
{
    HeaderLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        layOut();
}

} // namespace Larkhaven
