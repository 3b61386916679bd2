#include "views/style/QuietLine.h"

#include "views/style/DisplayText.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"
#include "views/style/SymbolLabel.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

QuietLine::QuietLine(std::optional<Symbol> symbol, const QString& button, QWidget* parent)
    : QWidget(parent)
    , m_text(new QLabel)
    , m_button(new QPushButton(button))
{
    m_text->setTextFormat(Qt::PlainText);
    setRole(*m_text, Role::caption);
    // It is elided, and never widens the window.
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setRole(*m_button, Role::quiet);
    m_button->setAutoDefault(false);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::padding, Style::grid / 2, Style::smallPadding, Style::grid / 2 + 1);
    layout->setSpacing(Style::smallPadding);
    if (symbol)
        layout->addWidget(new SymbolLabel(*symbol, Style::smallIcon));
    layout->addWidget(m_text, 1);
    layout->addWidget(m_button);
    connect(m_button, &QPushButton::clicked, this, &QuietLine::clicked);
    Style::shared().follow(this, [this] { elide(); });
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

} // namespace Larkhaven
