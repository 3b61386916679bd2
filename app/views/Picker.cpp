#include "views/Picker.h"

#include "views/Style.h"

#include <QPainter>

namespace Larkhaven {

namespace {

constexpr int textPadding = 9;
constexpr int arrowSize = 12;

} // namespace

QSize Picker::sizeHint() const
{
    int width = 0;
    for (int index = 0; index < count(); ++index)
        width = std::max(width, fontMetrics().horizontalAdvance(itemText(index)));
    return {width + 3 * textPadding + arrowSize, fontMetrics().height() + 2 * Style::grid + 2};
}

void Picker::paintEvent(QPaintEvent*)
{
    const Style::Colors& colors = Style::shared().colors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hasFocus() ? colors.accent : colors.hairline);
    painter.setBrush(colors.surface);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), Style::radius, Style::radius);
    const QRect text = rect().adjusted(textPadding, 0, -2 * textPadding - arrowSize, 0);
    QColor ink = isEnabled() ? colors.text : colors.secondary;
    painter.setPen(ink);
    painter.drawText(text, Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(currentText(), Qt::ElideMiddle, text.width()));
    const QRect arrow(width() - textPadding - arrowSize, (height() - arrowSize) / 2, arrowSize, arrowSize);
    painter.drawPixmap(
        arrow, Style::shared().pixmap(Symbol::chevronDown, arrowSize, colors.secondary, devicePixelRatioF()));
}

} // namespace Larkhaven
