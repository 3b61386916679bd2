#pragma once

#include "model/AppModel.h"

#include <QPointer>
#include <QWidget>

class QMessageBox;

namespace Larkhaven {

/// Shows the failure that the model reports as an alert of the window in which it was asked for, or of the
/// main window where that isn't known or is gone. An alert waits until its window has the keyboard: it never
/// takes it from another one, in which the user may be typing.
class ErrorAlert : public QObject {
    Q_OBJECT

public:
    ErrorAlert(AppModel& model, QWidget& mainWindow);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow();
    void wait(QWidget* window);

    AppModel& m_model;
    QWidget& m_mainWindow;
    QPointer<QWidget> m_awaited; ///< gets the alert when it is activated
    QPointer<QMessageBox> m_alert;
};

} // namespace Larkhaven
