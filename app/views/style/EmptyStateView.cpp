#include "views/style/EmptyStateView.h"

#include <QPainter>

namespace Larkhaven {

EmptyStateView::EmptyStateView(QWidget* parent)
    : QWidget(parent)
{
    connect(&Style::shared(), &Style::changed, this, qOverload<>(&QWidget::update));
}

void EmptyStateView::setState(const EmptyState& state)
{
    m_state = state;
    setAccessibleName(state.title);
    setAccessibleDescription(state.explanation);
    update();
}

void EmptyStateView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Style::shared().colors().surface);
    EmptyState::paint(painter, rect(), m_state);
}

} // namespace Larkhaven
