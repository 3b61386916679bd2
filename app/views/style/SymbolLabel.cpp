#include "views/style/SymbolLabel.h"

#include "views/style/Style.h"

#include <QPainter>

namespace Larkhaven {

SymbolLabel::SymbolLabel(Symbol symbol, int size, QWidget* parent)
    : QLabel(parent)
    , m_symbol(symbol)
    , m_size(size)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&Style::shared(), &Style::changed, this, &SymbolLabel::updateGeometry);
}

QSize SymbolLabel::sizeHint() const
{
    const int side = Style::shared().scaled(static_cast<double>(m_size) / Style::standardTextSize);
    return {side, side};
}

void SymbolLabel::paintEvent(QPaintEvent*)
{
    const int side = sizeHint().width();
    const QColor color = palette().color(foregroundRole());
    QPainter(this).drawPixmap((width() - side) / 2, (height() - side) / 2,
                              Symbols::pixmap(m_symbol, side, color, devicePixelRatioF()));
}

} // namespace Larkhaven
