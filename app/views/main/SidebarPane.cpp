#include "views/main/SidebarPane.h"

#include "views/main/SidebarView.h"
#include "views/setup/AddAccountItems.h"
#include "views/style/FlatButton.h"
#include "views/style/Style.h"

#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SidebarPane::SidebarPane(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_sidebar(new SidebarView(model))
    , m_add(new FlatButton(Symbol::plus, tr("Add Account")))
{
    Style::shared().follow(this, [this] {
        for (QWidget* const column : std::initializer_list<QWidget*>{this, m_sidebar}) {
            column->setMinimumWidth(narrowest());
            column->setMaximumWidth(shownWidth(SidebarView::maximumColumnWidth));
        }
    });
    m_add->setObjectName("addAccount"_L1);
    m_add->setText(tr("Add Account"));
    m_add->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_add->setPopupMode(QToolButton::InstantPopup);
    auto* const menu = new QMenu(m_add);
    AddAccountItems::fill(*menu, model, [this] { Q_EMIT setupRequested(); });
    m_add->setMenu(menu);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_sidebar, 1);
    auto* const foot = new QHBoxLayout;
    foot->setContentsMargins(Style::smallPadding, Style::grid, Style::smallPadding, Style::grid);
    foot->addWidget(m_add);
    foot->addStretch();
    layout->addLayout(foot);
    connect(m_sidebar, &SidebarView::setupRequested, this, &SidebarPane::setupRequested);
}

int SidebarPane::narrowest()
{
    // Large text leaves the list its room in the smallest window.
    constexpr int most = 240;
    return std::clamp(shownWidth(SidebarView::minimumColumnWidth), SidebarView::minimumColumnWidth, most);
}

int SidebarPane::shownWidth(int width)
{
    return Style::shared().scaled(static_cast<double>(width) / Style::standardTextSize);
}

int SidebarPane::standardWidth(int shown)
{
    const double part = static_cast<double>(Style::standardTextSize) / Style::shared().textSize();
    return std::clamp(static_cast<int>(std::lround(shown * part)), SidebarView::minimumColumnWidth,
                      SidebarView::maximumColumnWidth);
}

void SidebarPane::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), Style::shared().colors().window);
}

} // namespace Larkhaven
