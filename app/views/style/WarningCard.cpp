#include "views/style/WarningCard.h"

#include "views/style/Style.h"
#include "views/style/SymbolLabel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Larkhaven {

WarningCard::WarningCard(Symbol symbol, const QString& button, QWidget* parent)
    : QFrame(parent)
    , m_button(new QPushButton(button))
    , m_layout(new QBoxLayout(QBoxLayout::LeftToRight, this))
    , m_texts(new QVBoxLayout)
{
    setRole(*this, Role::warning);
    m_button->setAutoDefault(false);
    connect(m_button, &QPushButton::clicked, this, &WarningCard::clicked);
    m_texts->setSpacing(2);
    auto* const told = new QHBoxLayout;
    told->setSpacing(Style::padding);
    told->addWidget(new SymbolLabel(symbol, Style::largeIcon));
    told->addLayout(m_texts, 1);
    m_layout->setContentsMargins(Style::padding, Style::smallPadding, Style::padding, Style::smallPadding);
    m_layout->setSpacing(Style::padding);
    m_layout->addLayout(told, 1);
    m_layout->addWidget(m_button);
}

QLabel* WarningCard::addText(const QString& text, std::optional<Role> role)
{
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    if (role)
        setRole(*label, *role);
    m_texts->addWidget(label);
    return label;
}

QSize WarningCard::minimumSizeHint() const
{
    return {m_button->minimumSizeHint().width() + 2 * Style::padding, QFrame::minimumSizeHint().height()};
}

void WarningCard::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    const bool isNarrow = width() < 3 * m_button->sizeHint().width();
    m_layout->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

} // namespace Larkhaven
