#include "views/main/SidebarPane.h"

#include "views/main/SidebarView.h"
#include "views/setup/AddAccountItems.h"
#include "views/style/FlatButton.h"
#include "views/style/Style.h"

#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SidebarPane::SidebarPane(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_sidebar(new SidebarView(model))
    , m_add(new FlatButton(Symbol::plus, tr("Add Account")))
{
    setMinimumWidth(SidebarView::minimumColumnWidth);
    setMaximumWidth(SidebarView::maximumColumnWidth);
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
    connect(&Style::shared(), &Style::changed, this, &SidebarPane::applyStyle);
    applyStyle();
}

void SidebarPane::applyStyle()
{
    const Style& style = Style::shared();
    m_add->setFont(style.font(Style::Type::body));
    QWidget::update();
}

void SidebarPane::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), Style::shared().colors().window);
}

} // namespace Larkhaven
