#pragma once

#include "model/AppModel.h"

#include <QPointer>
#include <QWidget>

class QMessageBox;

namespace Larkhaven {

/// Shows the failure that the model reports as an alert of the window in which it was asked for, or of the
/// main window where that isn't known or is gone. An alert waits until its window has the keyboard: it never
/// takes it from another one, in which the user may be typing. The failure of another window waits until the
/// alert of this one is gone.
class ErrorAlert : public QObject {
    Q_OBJECT

public:
    ErrorAlert(AppModel& model, QWidget& mainWindow);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow();
    void wait(QWidget* window);
    QWidget* askersWindow() const;
    /// Of the user's accounts: what fails is about one of them.
    QStringList hosts() const;

    AppModel& m_model;
    QWidget& m_mainWindow;
    QPointer<QWidget> m_awaited; ///< gets the alert when it is activated
    QPointer<QMessageBox> m_alert;
    quint64 m_shown = 0; ///< the number of the failure in the alert
};

} // namespace Larkhaven
