#include "views/style/NoticeBanner.h"

#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

NoticeBanner::NoticeBanner(const QString& text, const QString& button, QWidget* parent)
    : WarningCard(parent)
    , m_symbol(new QLabel)
    , m_text(new QLabel(text))
    , m_button(new QPushButton(button))
    , m_layout(new QBoxLayout(QBoxLayout::LeftToRight, this))
{
    m_text->setObjectName("noticeText"_L1);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_button->setObjectName("noticeButton"_L1);
    m_button->setAutoDefault(false);
    connect(m_button, &QPushButton::clicked, this, &NoticeBanner::clicked);
    auto* const told = new QHBoxLayout;
    told->setSpacing(Style::padding);
    told->addWidget(m_symbol);
    told->addWidget(m_text, 1);
    m_layout->setContentsMargins(Style::padding, Style::smallPadding, Style::padding, Style::smallPadding);
    m_layout->setSpacing(Style::padding);
    m_layout->addLayout(told, 1);
    m_layout->addWidget(m_button);
    connect(&Style::shared(), &Style::changed, this, &NoticeBanner::applyStyle);
    applyStyle();
}

void NoticeBanner::applyStyle()
{
    const Style& style = Style::shared();
    const int icon = style.scaled(static_cast<double>(Style::largeIcon) / Style::standardTextSize);
    m_symbol->setPixmap(style.pixmap(Symbol::warning, icon, style.colors().warningText, devicePixelRatioF()));
    m_text->setFont(style.font(Style::Type::body, Style::Weight::semibold));
    applyColors({m_text}, *m_button);
}

QSize NoticeBanner::minimumSizeHint() const
{
    return {m_button->minimumSizeHint().width() + 2 * Style::padding,
            WarningCard::minimumSizeHint().height()};
}

void NoticeBanner::resizeEvent(QResizeEvent* event)
{
    WarningCard::resizeEvent(event);
    // The button goes below the text where that would have too little room beside it.
    const bool isNarrow = width() < 3 * m_button->sizeHint().width();
    m_layout->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

} // namespace Larkhaven
