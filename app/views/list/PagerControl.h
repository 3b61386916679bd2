#pragma once

#include "model/AppModel.h"

#include <QWidget>

class QLabel;
class QToolButton;

namespace Larkhaven {

/// Tells which rows of the listing are on screen, and leads to the others.
class PagerControl : public QWidget {
    Q_OBJECT

public:
    explicit PagerControl(AppModel& model, QWidget* parent = nullptr);

private:
    void update();

    AppModel& m_model;
    QLabel* m_text;
    QToolButton* m_jump;
    QToolButton* m_back;
    QToolButton* m_forward;
};

} // namespace Larkhaven
