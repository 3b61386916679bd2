#include "views/main/KeptTextsBanner.h"

#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

KeptTextsBanner::KeptTextsBanner(AppModel& model, QWidget* parent)
    : WarningCard(Symbol::warning, tr("Try Again"), parent)
    , m_model(model)
{
    setObjectName("keptTextsBanner"_L1);
    addText(tr("What you write can’t be kept safe at the moment, and what was kept can’t be "
               "opened: your keyring or your disk refuses."));
    button().setObjectName("keptTextsRetry"_L1);
    connect(this, &WarningCard::clicked, this, [this] { m_model.start(m_model.recoverDrafts()); });
    connect(&model, &AppModel::lockedTextsChanged, this, &KeptTextsBanner::update);
    connect(&model, &AppModel::accountsChanged, this, &KeptTextsBanner::update);
    update();
}

void KeptTextsBanner::update()
{
    setVisible(!m_model.accountsWithLockedTexts().isEmpty());
}

} // namespace Larkhaven
