#include "views/style/QuietLine.h"

#include "views/style/DisplayText.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

QuietLine::QuietLine(std::optional<Symbol> symbol, const QString& button, QWidget* parent)
    : QWidget(parent)
    , m_drawn(symbol)
    , m_symbol(new QLabel)
    , m_text(new QLabel)
    , m_button(new QPushButton(button))
{
    // Shown before it has a parent, it would be a window.
    if (!symbol)
        m_symbol->hide();
    m_text->setTextFormat(Qt::PlainText);
    m_text->setProperty("role", u"caption"_s);
    // It is elided, and never widens the window.
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_button->setProperty("role", u"quiet"_s);
    m_button->setAutoDefault(false);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::padding, Style::grid / 2, Style::smallPadding, Style::grid / 2 + 1);
    layout->setSpacing(Style::smallPadding);
    layout->addWidget(m_symbol);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_button);
    connect(m_button, &QPushButton::clicked, this, &QuietLine::clicked);
    connect(&Style::shared(), &Style::changed, this, &QuietLine::applyStyle);
    applyStyle();
}

void QuietLine::setText(const QString& text)
{
    if (text == m_full)
        return;
    m_full = text;
    m_text->setAccessibleName(text);
    setAccessibleName(text);
    elide();
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void QuietLine::elide()
{
    const QString shown =
        m_text->fontMetrics().elidedText(m_full, Qt::ElideRight, std::max(m_text->width(), 0));
    m_text->setText(shown);
    m_text->setToolTip(shown == m_full ? QString() : DisplayText::toolTip(m_full));
}

void QuietLine::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    elide();
}

void QuietLine::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const Style::Colors& colors = Style::shared().colors();
    painter.fillRect(rect(), colors.window);
    painter.fillRect(QRect(0, height() - 1, width(), 1), colors.hairline);
}

void QuietLine::applyStyle()
{
    const Style& style = Style::shared();
    if (m_drawn) {
        const int size = style.scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
        m_symbol->setPixmap(style.pixmap(*m_drawn, size, style.colors().warningText, devicePixelRatioF()));
    }
    elide();
}

} // namespace Larkhaven
