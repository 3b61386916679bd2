#include "views/reader/ReaderBanner.h"

#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ReaderBanner::ReaderBanner(QWidget* parent)
    : WarningCard(Symbol::shield, tr("Load Remote Content"), parent)
    , m_remote(addText(tr("This message contains remote content."), Role::strong))
    , m_trackers(addText({}, Role::caption))
    , m_refused(addText({}, Role::caption))
{
    setObjectName("readerBanner"_L1);
    m_remote->setObjectName("bannerRemote"_L1);
    m_trackers->setObjectName("bannerTrackers"_L1);
    m_refused->setObjectName("bannerRefused"_L1);
    m_refused->setToolTip(
        tr("Images are loaded from the public internet alone, and within bounds of size and time."));
    button().setObjectName("bannerLoad"_L1);
    m_trackers->setToolTip(tr("Tracking pixels are never loaded, even when remote content is loaded."));
    connect(this, &WarningCard::clicked, this, &ReaderBanner::loadRequested);
    setState(false, 0, 0);
}

void ReaderBanner::setState(bool offersRemoteContent, int trackers, int refused)
{
    m_remote->setVisible(offersRemoteContent);
    button().setVisible(offersRemoteContent);
    m_trackers->setVisible(trackers > 0);
    m_trackers->setText(tr("%n tracking images blocked", nullptr, trackers));
    m_refused->setVisible(refused > 0);
    m_refused->setText(tr("%n images could not be loaded safely.", nullptr, refused));
    setVisible(offersRemoteContent || trackers > 0 || refused > 0);
}

} // namespace Larkhaven
