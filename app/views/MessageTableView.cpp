#include "views/MessageTableView.h"

#include "views/MessageTable.h"
#include "views/PagerControl.h"

#include <QVBoxLayout>

namespace Larkhaven {

MessageTableView::MessageTableView(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_table(new MessageTable(model))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_table, 1);
    layout->addWidget(new PagerControl(model));
    setFocusProxy(m_table);
}

} // namespace Larkhaven
