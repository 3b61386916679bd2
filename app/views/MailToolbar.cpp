#include "views/MailToolbar.h"

#include "views/FlatButton.h"
#include "views/SearchField.h"
#include "views/Style.h"

#include <QHBoxLayout>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

MailToolbar::MailToolbar(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_search(new SearchField(model))
{
    setObjectName("toolbar"_L1);
    auto* const sidebar = new FlatButton(Symbol::sidebar, tr("Show or Hide Sidebar"));
    sidebar->setObjectName("toggleSidebar"_L1);
    auto* const getMail = new FlatButton(Symbol::envelope, tr("Get New Mail (%1)").arg(u"Ctrl+Shift+N"_s));
    getMail->setObjectName("getMail"_L1);
    getMail->setShortcut(QKeySequence(u"Ctrl+Shift+N"_s));
    connect(sidebar, &QToolButton::clicked, this, &MailToolbar::sidebarToggled);
    connect(getMail, &QToolButton::clicked, this, [&model] { model.start(model.refresh()); });

    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::smallPadding, 6, Style::padding, 7);
    layout->setSpacing(Style::grid);
    layout->addWidget(sidebar);
    layout->addSpacing(Style::largePadding - Style::grid);
    layout->addWidget(getMail);
    layout->addStretch();
    layout->addWidget(m_search);
}

void MailToolbar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), Style::shared().colors().hairline);
}

} // namespace Larkhaven
