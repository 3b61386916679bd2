#include "views/style/EmptyState.h"

#include <QPainter>

namespace Larkhaven {

namespace {

constexpr int textFlags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap;

QFont titleFont()
{
    return Style::shared().font(Style::Type::subhead);
}

QFont explanationFont()
{
    return Style::shared().font(Style::Type::body);
}

} // namespace

EmptyState::Places EmptyState::placesIn(const QRect& place) const
{
    constexpr int symbolSize = Style::emptyStateIcon;
    const int width = qMax(place.width() - 4 * Style::largePadding, 1);
    const QRect most(0, 0, width, place.height());
    const int titleHeight = QFontMetrics(titleFont()).boundingRect(most, textFlags, title).height();
    const int explanationHeight =
        explanation.isEmpty()
            ? 0
            : QFontMetrics(explanationFont()).boundingRect(most, textFlags, explanation).height();
    const int gap = explanation.isEmpty() ? 0 : Style::grid;
    const int height = symbolSize + Style::padding + titleHeight + gap + explanationHeight;

    const int top = place.center().y() - height / 2;
    const int left = place.center().x() - width / 2;
    Places places;
    places.symbol = QRect(place.center().x() - symbolSize / 2, top, symbolSize, symbolSize);
    places.title = QRect(left, top + symbolSize + Style::padding, width, titleHeight);
    places.explanation = QRect(left, places.title.top() + titleHeight + gap, width, explanationHeight);
    return places;
}

void EmptyState::paint(QPainter& painter, const QRect& place, const EmptyState& state)
{
    const Style& style = Style::shared();
    const Places places = state.placesIn(place);
    painter.drawPixmap(places.symbol,
                       style.pixmap(state.symbol, Style::emptyStateIcon, style.colors().secondary,
                                    painter.device()->devicePixelRatioF()));
    // Each text in its own direction: a full stop belongs at the end of its words.
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    painter.setFont(titleFont());
    painter.setPen(style.colors().text);
    painter.drawText(places.title, textFlags, state.title);
    painter.setFont(explanationFont());
    painter.setPen(style.colors().secondary);
    painter.drawText(places.explanation, textFlags, state.explanation);
}

} // namespace Larkhaven
