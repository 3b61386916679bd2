#pragma once

#include "model/AppModel.h"
#include "views/style/WarningCard.h"

class QLabel;
class QPushButton;

namespace Larkhaven {

/// Stands above the mailboxes while texts that are being written can't be kept, or kept ones can't be read.
class KeptTextsBanner : public WarningCard {
    Q_OBJECT

public:
    explicit KeptTextsBanner(AppModel& model, QWidget* parent = nullptr);

private:
    void update();
    void applyStyle();

    AppModel& m_model;
    QLabel* m_symbol;
    QLabel* m_text;
    QPushButton* m_button;
};

} // namespace Larkhaven
