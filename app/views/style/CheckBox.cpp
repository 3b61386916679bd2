#include "views/style/CheckBox.h"

#include "views/style/Style.h"

#include <QPainter>

namespace Larkhaven {

namespace {

/// Around the box, where the keyboard's ring stands.
constexpr int ringSpace = 3;
constexpr double boxPerText = 1.15;
constexpr int boxRadius = 4;
constexpr int textGap = 5;

} // namespace

CheckBox::CheckBox(const QString& text, QWidget* parent)
    : QCheckBox(text, parent)
{
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
}

QRect CheckBox::box() const
{
    const int side = Style::shared().scaled(boxPerText);
    const QRect place(ringSpace, (height() - side) / 2, side, side);
    return layoutDirection() == Qt::RightToLeft ? QRect(width() - place.right() - 1, place.top(), side, side)
                                                : place;
}

QSize CheckBox::sizeHint() const
{
    const int side = Style::shared().scaled(boxPerText) + 2 * ringSpace;
    const QSize text = fontMetrics().size(Qt::TextShowMnemonic, this->text());
    return {side + textGap + text.width() + 1, std::max(side, text.height())};
}

bool CheckBox::hitButton(const QPoint& point) const
{
    return rect().contains(point);
}

void CheckBox::paintEvent(QPaintEvent*)
{
    const Style::Colors& colors = Style::shared().colors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF edge = QRectF(box()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(isChecked() && isEnabled() ? colors.accent : colors.secondary);
    painter.setBrush(isChecked()    ? isEnabled() ? colors.accent : colors.secondary
                     : underMouse() ? colors.hover
                                    : colors.surface);
    painter.drawRoundedRect(edge, boxRadius, boxRadius);
    if (isChecked()) {
        const double unit = edge.width() / 16;
        painter.setPen(QPen(colors.onAccent, 2 * unit, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPointF corner = edge.topLeft();
        painter.drawPolyline(QPolygonF({corner + QPointF(3.8, 8.4) * unit, corner + QPointF(6.8, 11.4) * unit,
                                        corner + QPointF(12.4, 5) * unit}));
    }
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(colors.accent, 2));
        painter.drawRoundedRect(edge.adjusted(-2.5, -2.5, 2.5, 2.5), boxRadius + 2, boxRadius + 2);
    }
    const int side = box().width() + 2 * ringSpace + textGap;
    const QRect place = layoutDirection() == Qt::RightToLeft ? rect().adjusted(0, 0, -side, 0)
                                                             : rect().adjusted(side, 0, 0, 0);
    painter.setPen(isEnabled() ? colors.text : colors.secondary);
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine | Qt::TextShowMnemonic,
                     text());
}

} // namespace Larkhaven
