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
    , m_sandbox(addText(
          tr("Only the text is shown: the sandbox that would hold this message is off on this system."),
          Role::strong))
{
    setObjectName("readerBanner"_L1);
    m_remote->setObjectName("bannerRemote"_L1);
    m_trackers->setObjectName("bannerTrackers"_L1);
    m_refused->setObjectName("bannerRefused"_L1);
    m_sandbox->setObjectName("bannerSandbox"_L1);
    m_sandbox->setToolTip(tr("It needs user namespaces, and a start without options that turn it off."));
    m_refused->setToolTip(
        tr("Images are loaded from the public internet alone, and within bounds of size and time."));
    button().setObjectName("bannerLoad"_L1);
    m_trackers->setToolTip(tr("Tracking pixels are never loaded, even when remote content is loaded."));
    connect(this, &WarningCard::clicked, this, &ReaderBanner::loadRequested);
    setState({});
}

void ReaderBanner::setState(const State& state)
{
    m_remote->setVisible(state.offersRemoteContent);
    button().setVisible(state.offersRemoteContent);
    m_trackers->setVisible(state.trackers > 0);
    m_trackers->setText(tr("%n tracking images blocked", nullptr, state.trackers));
    m_refused->setVisible(state.refused > 0);
    m_refused->setText(tr("%n images could not be loaded safely.", nullptr, state.refused));
    m_sandbox->setVisible(state.lacksSandbox);
    setVisible(state.offersRemoteContent || state.trackers > 0 || state.refused > 0 || state.lacksSandbox);
}

} // namespace Larkhaven
