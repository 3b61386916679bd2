#include "views/style/NoticeBanner.h"

#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

NoticeBanner::NoticeBanner(const QString& text, const QString& button, QWidget* parent)
    : WarningCard(Symbol::warning, button, parent)
{
    addText(text, Role::strong)->setObjectName("noticeText"_L1);
    this->button().setObjectName("noticeButton"_L1);
}

} // namespace Larkhaven
