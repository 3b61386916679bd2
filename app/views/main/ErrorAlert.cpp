#include "views/main/ErrorAlert.h"

#include "views/style/PlainAlert.h"

#include <QEvent>
#include <QMessageBox>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ErrorAlert::ErrorAlert(AppModel& model, QWidget& mainWindow)
    : QObject(&mainWindow)
    , m_model(model)
    , m_mainWindow(mainWindow)
{
    connect(&model, &AppModel::errorMessageChanged, this, &ErrorAlert::follow);
}

void ErrorAlert::wait(QWidget* window)
{
    if (m_awaited)
        m_awaited->removeEventFilter(this);
    m_awaited = window;
    if (window)
        window->installEventFilter(this);
}

bool ErrorAlert::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_awaited && (event->type() == QEvent::WindowActivate || event->type() == QEvent::Hide))
        QMetaObject::invokeMethod(this, &ErrorAlert::follow, Qt::QueuedConnection);
    return QObject::eventFilter(watched, event);
}

void ErrorAlert::follow()
{
    const std::optional<QString>& message = m_model.errorMessage();
    if (!message) {
        wait(nullptr);
        if (m_alert)
            m_alert->close();
        return;
    }
    if (m_alert) {
        setPlainText(*m_alert, *message);
        return;
    }
    auto* const asker = qobject_cast<QWidget*>(m_model.errorAsker());
    QWidget* const window = asker && asker->window()->isVisible() ? asker->window() : &m_mainWindow;
    if (!window->isActiveWindow()) {
        wait(window);
        return;
    }
    wait(nullptr);
    m_alert = makePlainAlert(tr("Something went wrong"), *message, QMessageBox::Ok, window);
    m_alert->setObjectName("errorAlert"_L1);
    connect(m_alert, &QMessageBox::finished, this, [this] {
        // It is on its way out: the next failure gets an alert of its own.
        m_alert.clear();
        m_model.clearErrorMessage();
    });
    m_alert->open();
}

} // namespace Larkhaven
