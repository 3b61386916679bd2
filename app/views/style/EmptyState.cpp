#include "views/style/EmptyState.h"

#include <QPainter>

namespace Larkhaven {

void EmptyState::paint(QPainter& painter, const QRect& place, const EmptyState& state)
{
    constexpr int symbolSize = Style::emptyStateIcon;
    constexpr int textFlags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap;
    const Style& style = Style::shared();
    const QFont titleFont = style.font(Style::Type::subhead);
    const QFont bodyFont = style.font(Style::Type::body);
    const QRect width(0, 0, qMax(place.width() - 4 * Style::largePadding, 1), place.height());
    const QRect title = QFontMetrics(titleFont).boundingRect(width, textFlags, state.title);
    const QRect body = QFontMetrics(bodyFont).boundingRect(width, textFlags, state.explanation);
    const int bodyHeight = state.explanation.isEmpty() ? 0 : Style::grid + body.height();
    const int height = symbolSize + Style::padding + title.height() + bodyHeight;

    int top = place.center().y() - height / 2;
    const QRect symbolPlace(place.center().x() - symbolSize / 2, top, symbolSize, symbolSize);
    painter.drawPixmap(symbolPlace, style.pixmap(state.symbol, symbolSize, style.colors().secondary,
                                                 painter.device()->devicePixelRatioF()));
    top += symbolSize + Style::padding;
    const int left = place.center().x() - width.width() / 2;
    painter.setFont(titleFont);
    painter.setPen(style.colors().text);
    painter.drawText(QRect(left, top, width.width(), title.height()), textFlags, state.title);
    top += title.height() + Style::grid;
    painter.setFont(bodyFont);
    painter.setPen(style.colors().secondary);
    painter.drawText(QRect(left, top, width.width(), body.height()), textFlags, state.explanation);
}

} // namespace Larkhaven
