#pragma once

#include "model/AppModel.h"

#include <QPointer>
#include <QWidget>

class QLabel;
class QToolButton;

namespace Larkhaven {

/// Tells which rows of the listing are on screen, and leads to the others.
///
/// A button that is turned off while it has the keyboard leaves it with the control, which shows the ring in
/// its place, until it can be used again. Where the user's own step has led to the end, the next button gets
/// it.
class PagerControl : public QWidget {
    Q_OBJECT

public:
    explicit PagerControl(AppModel& model, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
    Task<> go(Task<> (AppModel::*pages)());
    void keepFocus();
    void returnFocus();

    AppModel& m_model;
    QPointer<QWidget> m_focused; ///< the button that the keyboard was at when it was turned off
    bool m_isGoing = false;      ///< to the page that was asked for here
    QLabel* m_text;
    QToolButton* m_jump;
    QToolButton* m_back;
    QToolButton* m_forward;
};

} // namespace Larkhaven
