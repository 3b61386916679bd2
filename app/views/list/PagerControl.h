#pragma once

#include "model/AppModel.h"

#include <QPointer>
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
    void keepFocus();
    void returnFocus();

    AppModel& m_model;
    QPointer<QWidget> m_focused; ///< the button that the keyboard was at when a page began to load
    QLabel* m_text;
    QToolButton* m_jump;
    QToolButton* m_back;
    QToolButton* m_forward;
};

} // namespace Larkhaven
