#include "views/reader/ReaderBanner.h"

#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ReaderBanner::ReaderBanner(QWidget* parent)
    : WarningCard(parent)
    , m_shield(new QLabel)
    , m_remote(new QLabel(tr("This message contains remote content.")))
    , m_trackers(new QLabel)
    , m_load(new QPushButton(tr("Load Remote Content")))
    , m_layout(new QBoxLayout(QBoxLayout::LeftToRight, this))
{
    setObjectName("readerBanner"_L1);
    m_shield->setAccessibleName(tr("Held Back"));
    m_remote->setObjectName("bannerRemote"_L1);
    m_trackers->setObjectName("bannerTrackers"_L1);
    m_load->setObjectName("bannerLoad"_L1);
    m_load->setAutoDefault(false);
    m_remote->setWordWrap(true);
    m_trackers->setWordWrap(true);
    m_trackers->setToolTip(tr("Tracking pixels are never loaded, even when remote content is loaded."));
    connect(m_load, &QPushButton::clicked, this, &ReaderBanner::loadRequested);

    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(m_remote);
    texts->addWidget(m_trackers);
    auto* const told = new QHBoxLayout;
    told->setSpacing(Style::padding);
    told->addWidget(m_shield);
    told->addLayout(texts, 1);
    m_layout->setContentsMargins(Style::padding, Style::smallPadding, Style::padding, Style::smallPadding);
    m_layout->setSpacing(Style::padding);
    m_layout->addLayout(told, 1);
    m_layout->addWidget(m_load);
    connect(&Style::shared(), &Style::changed, this, &ReaderBanner::applyStyle);
    applyStyle();
    setState(false, 0);
}

void ReaderBanner::setState(bool offersRemoteContent, int trackers)
{
    m_remote->setVisible(offersRemoteContent);
    m_load->setVisible(offersRemoteContent);
    m_trackers->setVisible(trackers > 0);
    m_trackers->setText(tr("%n tracking images blocked", nullptr, trackers));
    setVisible(offersRemoteContent || trackers > 0);
}

void ReaderBanner::applyStyle()
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    const int icon = style.scaled(static_cast<double>(Style::largeIcon) / Style::standardTextSize);
    m_shield->setPixmap(style.pixmap(Symbol::shield, icon, colors.warningText, devicePixelRatioF()));
    applyColors({m_remote, m_trackers}, *m_load);
    m_remote->setFont(style.font(Style::Type::body, Style::Weight::semibold));
    m_trackers->setFont(style.font(Style::Type::caption));
}

QSize ReaderBanner::minimumSizeHint() const
{
    return {m_load->minimumSizeHint().width() + 2 * Style::padding, WarningCard::minimumSizeHint().height()};
}

void ReaderBanner::resizeEvent(QResizeEvent* event)
{
    WarningCard::resizeEvent(event);
    // The button goes below the texts where they would have too little room beside it.
    const bool isNarrow = width() < 2 * m_load->sizeHint().width();
    m_layout->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

} // namespace Larkhaven
