#include "views/style/WarningCard.h"

#include "views/style/Style.h"

#include <QPainter>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

void WarningCard::applyColors(const QList<QWidget*>& texts, QPushButton& button)
{
    const Style::Colors& colors = Style::shared().colors();
    for (QWidget* const text : texts) {
        QPalette palette = text->palette();
        palette.setColor(QPalette::WindowText, colors.warningText);
        text->setPalette(palette);
    }
    button.setStyleSheet(u"QPushButton { background: transparent; color: %1; border: 1px solid %1; }"
                         "QPushButton:hover { background: %1; color: %2; }"_s.arg(
                             colors.warningText.name(), colors.warningBackground.name()));
    QWidget::update();
}

void WarningCard::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Style::shared().colors().warningBackground);
    painter.drawRoundedRect(rect(), Style::cardRadius, Style::cardRadius);
}

} // namespace Larkhaven
