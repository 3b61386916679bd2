#include "views/list/MessageTableView.h"

#include "views/list/CheckStrips.h"
#include "views/list/MessageTable.h"
#include "views/list/PagerControl.h"
#include "views/list/SearchLine.h"
#include "views/list/SignInBanner.h"
#include "views/list/UndoLine.h"
#include "views/style/Style.h"

#include <QFocusEvent>
#include <QVBoxLayout>

namespace Larkhaven {

MessageTableView::MessageTableView(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_table(new MessageTable(model))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* const banner = new SignInBanner(model);
    auto* const bannerLine = new QVBoxLayout;
    bannerLine->addWidget(banner);
    const auto makeRoom = [bannerLine, banner] {
        const int gap = banner->isHidden() ? 0 : Style::smallPadding;
        bannerLine->setContentsMargins(Style::padding, gap, Style::padding, gap);
    };
    makeRoom();
    for (const auto signal :
         {&AppModel::needsReauthChanged, &AppModel::sidebarSelectionChanged, &AppModel::accountsChanged})
        connect(&model, signal, banner, makeRoom);
    layout->addLayout(bannerLine);
    layout->addWidget(new CheckStrips(model));
    layout->addWidget(new SearchLine(model));
    layout->addWidget(m_table, 1);
    layout->addWidget(new UndoLine(model));
    connect(banner, &SignInBanner::setupRequested, this, &MessageTableView::setupRequested);
    layout->addWidget(new PagerControl(model));
}

void MessageTableView::focusInEvent(QFocusEvent* event)
{
    m_table->setFocus(event->reason());
}

} // namespace Larkhaven
