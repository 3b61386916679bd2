#include "views/reader/TextLink.h"

#include "views/style/Style.h"

#include <QKeyEvent>
#include <QPainter>

namespace Larkhaven {

namespace {

/// Between the text and the ring that shows the focus.
constexpr int gap = 2;

} // namespace

TextLink::TextLink(QWidget* parent)
    : QAbstractButton(parent)
{
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
}

int TextLink::widthOf(const QString& text, const QFontMetrics& metrics)
{
    return metrics.horizontalAdvance(text) + 2 * gap + 1;
}

QSize TextLink::sizeHint() const
{
    return {widthOf(text(), fontMetrics()), fontMetrics().height()};
}

void TextLink::paintEvent(QPaintEvent*)
{
    const Style::Colors& colors = Style::shared().colors();
    QPainter painter(this);
    QFont font = this->font();
    font.setUnderline(underMouse());
    painter.setFont(font);
    painter.setPen(colors.accent);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
    if (!hasFocus())
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colors.accent, Style::ring));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), Style::radius / 2.0, Style::radius / 2.0);
}

void TextLink::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

} // namespace Larkhaven
