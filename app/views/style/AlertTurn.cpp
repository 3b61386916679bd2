#include "views/style/AlertTurn.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>

namespace Larkhaven {

namespace {

/// Waits for the window of an alert, as long as there is the alert.
class Waiting final : public QObject {
public:
    explicit Waiting(QDialog& alert)
        : QObject(&alert)
        , m_alert(alert)
    {
        alert.parentWidget()->window()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::WindowActivate) {
            watched->removeEventFilter(this);
            // Within the event the window isn't the active one yet.
            QMetaObject::invokeMethod(&m_alert, &QDialog::open, Qt::QueuedConnection);
            deleteLater();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QDialog& m_alert;
};

} // namespace

void openWhenActive(QDialog& alert)
{
    QWidget* const window = alert.parentWidget()->window();
    if (window->isActiveWindow()) {
        alert.open();
        return;
    }
    new Waiting(alert);
    QApplication::alert(window);
}

} // namespace Larkhaven
