#pragma once

#include "model/AppModel.h"
#include "views/style/WarningCard.h"

namespace Larkhaven {

/// Stands above the mailboxes while texts that are being written can't be kept, or kept ones can't be read.
class KeptTextsBanner : public WarningCard {
    Q_OBJECT

public:
    explicit KeptTextsBanner(AppModel& model, QWidget* parent = nullptr);

private:
    void update();

    AppModel& m_model;
};

} // namespace Larkhaven
