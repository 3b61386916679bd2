#include "views/settings/AccountRowDelegate.h"

#include "views/settings/AccountsListModel.h"
#include "views/style/Style.h"

#include <QPainter>

namespace Larkhaven {

void AccountRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const bool isActive =
        option.state.testFlag(QStyle::State_HasFocus) || (option.widget && option.widget->hasFocus());
    const bool isFilled = isSelected && isActive;
    const QRect row = option.rect.adjusted(Style::grid, 1, -Style::grid, -1);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (isSelected || option.state.testFlag(QStyle::State_MouseOver)) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(isFilled ? colors.accent : isSelected ? colors.quietSelected : colors.hover);
        painter->drawRoundedRect(row, Style::radius, Style::radius);
    }
    const QRect content = row.adjusted(Style::smallPadding, Style::grid, -Style::smallPadding, -Style::grid);
    const auto draw = [&](const QFont& font, const QColor& color, const QString& text, int top) {
        painter->setFont(font);
        painter->setPen(color);
        const QFontMetrics metrics(font);
        const QRect line(content.left(), top, content.width(), metrics.height());
        painter->drawText(line, Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine,
                          metrics.elidedText(text, Qt::ElideMiddle, line.width()));
        return line.bottom() + 1;
    };
    const int below = draw(style.font(Style::Type::body), isFilled ? colors.onAccent : colors.text,
                           index.data(Qt::DisplayRole).toString(), content.top());
    draw(style.font(Style::Type::caption), isFilled ? colors.onAccent : colors.secondary,
         index.data(AccountsListModel::detailRole).toString(), below);
    painter->restore();
}

QSize AccountRowDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    const Style& style = Style::shared();
    const int lines = QFontMetrics(style.font(Style::Type::body)).height() +
                      QFontMetrics(style.font(Style::Type::caption)).height();
    return {style.scaled(10), lines + 2 * Style::grid + 2};
}

} // namespace Larkhaven
