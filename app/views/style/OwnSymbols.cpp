#include "views/style/OwnSymbols.h"

#include <QFontDatabase>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::OwnSymbols {

namespace {

/// Only the shape counts: whoever asks for the symbol gives it its colour.
constexpr Qt::GlobalColor ink = Qt::black;

/// A filled circle out of which a cross is cut.
void paintCrossedCircle(QPainter& painter)
{
    painter.setBrush(ink);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QRectF(1, 1, 14, 14));
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setPen(QPen(Qt::black, 1.6, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(5.6, 5.6), QPointF(10.4, 10.4));
    painter.drawLine(QPointF(5.6, 10.4), QPointF(10.4, 5.6));
}

/// Four lines of text, every second one shorter; `shift` tells on which side.
void paintLines(QPainter& painter, double shift)
{
    for (int line = 0; line < 4; ++line) {
        const double left = line % 2 == 0 ? 2 : 2 + shift;
        painter.drawLine(QPointF(left, 3 + line * 3.4),
                         QPointF(left + (line % 2 == 0 ? 12 : 7), 3 + line * 3.4));
    }
}

/// Three items with markers before them.
void paintList(QPainter& painter, bool isNumbered)
{
    QFont digits = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    digits.setPixelSize(5);
    digits.setBold(true);
    painter.setFont(digits);
    for (int item = 0; item < 3; ++item) {
        const double middle = 3.2 + item * 4.8;
        painter.drawLine(QPointF(6.5, middle), QPointF(14, middle));
        if (isNumbered)
            painter.drawText(QRectF(0, middle - 4, 5, 8), Qt::AlignCenter, QString::number(item + 1));
        else
            painter.fillRect(QRectF(2, middle - 1.1, 2.2, 2.2), ink);
    }
}

void paintAt(QPainter& painter)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(15);
    QPainterPath sign;
    sign.addText(0, 0, font, u"@"_s);
    const QRectF bounds = sign.boundingRect();
    const double scale = 13.5 / std::max(bounds.width(), bounds.height());
    painter.translate(8, 8);
    painter.scale(scale, scale);
    painter.translate(-bounds.center());
    painter.fillPath(sign, ink);
}

/// A ring with eight teeth.
void paintGear(QPainter& painter)
{
    painter.translate(8, 8);
    painter.setPen(QPen(ink, 1.4));
    painter.drawEllipse(QPointF(0, 0), 4.4, 4.4);
    painter.drawEllipse(QPointF(0, 0), 1.6, 1.6);
    painter.setPen(QPen(ink, 2, Qt::SolidLine, Qt::FlatCap));
    for (int tooth = 0; tooth < 8; ++tooth) {
        painter.drawLine(QPointF(0, -4.8), QPointF(0, -7.2));
        painter.rotate(45);
    }
}

/// A hand that says "stop". One shape: where two overlap, their edges would show.
void paintHand(QPainter& painter)
{
    QPainterPath fingers;
    for (const QLineF& finger : {QLineF(5.6, 9, 5.6, 3.6), QLineF(8.2, 8, 8.2, 2), QLineF(10.8, 8, 10.8, 3),
                                 QLineF(13.4, 9, 13.4, 5.4)}) {
        fingers.moveTo(finger.p1());
        fingers.lineTo(finger.p2());
    }
    QPainterPathStroker stroker;
    stroker.setWidth(1.9);
    stroker.setCapStyle(Qt::RoundCap);
    QPainterPath palm(QPointF(4.7, 8.6));
    palm.lineTo(14.3, 8.6);
    palm.cubicTo(14.6, 12.4, 13, 14.8, 9.6, 14.8);
    palm.cubicTo(6.8, 14.8, 5, 12.8, 2, 8.4);
    palm.cubicTo(2.8, 7.4, 4, 8.4, 4.7, 9.6);
    palm.closeSubpath();
    painter.fillPath(stroker.createStroke(fingers).united(palm).simplified(), ink);
}

/// A box with a lid and a handle.
void paintArchive(QPainter& painter)
{
    painter.setPen(QPen(ink, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    painter.drawRect(QRectF(1.5, 2.5, 13, 3));
    painter.drawPolyline(QPolygonF({{2.5, 5.5}, {2.5, 13.5}, {13.5, 13.5}, {13.5, 5.5}}));
    painter.fillRect(QRectF(5.5, 8, 5, 1.4), ink);
}

/// An exclamation mark in the middle of the field, whose stroke goes from `top` to `bottom`.
void paintExclamation(QPainter& painter, double top, double bottom)
{
    painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(8, top), QPointF(8, bottom));
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawEllipse(QPointF(8, bottom + 2.6), 0.95, 0.95);
}

/// An arrow back, with a tail that comes from below; a second head for all.
void paintReply(QPainter& painter, bool isToAll)
{
    painter.setPen(QPen(ink, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const double head = isToAll ? 5 : 1.8;
    painter.drawPolyline(QPolygonF({{head + 4, 3}, {head, 7}, {head + 4, 11}}));
    if (isToAll)
        painter.drawPolyline(QPolygonF({{5, 3}, {1, 7}, {5, 11}}));
    QPainterPath tail(QPointF(head, 7));
    tail.lineTo(9.5, 7);
    tail.cubicTo(12.6, 7, 14.4, 9, 14.4, 13);
    painter.drawPath(tail);
}

} // namespace

bool paint(QPainter& painter, Symbol symbol)
{
    painter.setPen(QPen(ink, 1.2));
    switch (symbol) {
    case Symbol::circleFill:
        painter.setBrush(ink);
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QRectF(1, 1, 14, 14));
        return true;
    case Symbol::xmarkCircleFill:
        paintCrossedCircle(painter);
        return true;
    case Symbol::textSize:
        painter.drawPolyline(QPolygonF({{3, 13.5}, {8, 2.5}, {13, 13.5}}));
        painter.drawLine(QPointF(5, 9.5), QPointF(11, 9.5));
        return true;
    case Symbol::paintPalette:
        painter.drawEllipse(QRectF(2, 2, 12, 12));
        painter.setBrush(ink);
        for (const QPointF& dot : {QPointF(4.8, 8.6), QPointF(6.2, 5.2), QPointF(9.8, 4.9), QPointF(11.6, 8)})
            painter.drawEllipse(dot, 0.9, 0.9);
        return true;
    case Symbol::alignLeft:
        paintLines(painter, 0);
        return true;
    case Symbol::alignCenter:
        paintLines(painter, 2.5);
        return true;
    case Symbol::alignRight:
        paintLines(painter, 5);
        return true;
    case Symbol::listBullet:
    case Symbol::listNumber:
        paintList(painter, symbol == Symbol::listNumber);
        return true;
    case Symbol::at:
        paintAt(painter);
        return true;
    case Symbol::gear:
        paintGear(painter);
        return true;
    case Symbol::hand:
        paintHand(painter);
        return true;
    case Symbol::archivebox:
        paintArchive(painter);
        return true;
    case Symbol::xmarkBin:
        painter.drawPolygon(QPolygonF({{5.2, 1.5},
                                       {10.8, 1.5},
                                       {14.5, 5.2},
                                       {14.5, 10.8},
                                       {10.8, 14.5},
                                       {5.2, 14.5},
                                       {1.5, 10.8},
                                       {1.5, 5.2}}));
        paintExclamation(painter, 4.5, 8.7);
        return true;
    case Symbol::warning:
        painter.setPen(QPen(ink, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolygon(QPolygonF({{8, 1.8}, {15, 14.2}, {1, 14.2}}));
        paintExclamation(painter, 6, 9.4);
        return true;
    case Symbol::reply:
        paintReply(painter, false);
        return true;
    case Symbol::replyAll:
        paintReply(painter, true);
        return true;
    case Symbol::forwardMessage:
        painter.translate(16, 0);
        painter.scale(-1, 1);
        paintReply(painter, false);
        return true;
    case Symbol::minus:
        // As thick as the theme's plus, beside which it stands.
        painter.fillRect(QRectF(2, 7, 12, 1), ink);
        return true;
    default:
        return false;
    }
}

} // namespace Larkhaven::OwnSymbols
