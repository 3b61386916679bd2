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

QWidget* ErrorAlert::askersWindow() const
{
    auto* const asker = qobject_cast<QWidget*>(m_model.errorAsker());
    return asker && asker->window()->isVisible() ? asker->window() : &m_mainWindow;
}

QStringList ErrorAlert::hosts() const
{
    QStringList known;
    for (const Account& account : m_model.accounts()) {
        if (account.server)
            known.append({account.server->imapHost, account.server->smtpHost});
    }
    return known;
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
    QWidget* const window = askersWindow();
    if (m_alert) {
        // What belongs to another window follows when this one has been read.
        if (m_alert->parentWidget() != window)
            return;
        m_shown = m_model.errorNumber();
        setPlainText(*m_alert, *message, hosts());
        return;
    }
    if (!window->isActiveWindow()) {
        wait(window);
        return;
    }
    wait(nullptr);
    m_shown = m_model.errorNumber();
    m_alert = makePlainAlert(tr("Something went wrong"), *message, QMessageBox::Ok, window, hosts());
    m_alert->setObjectName("errorAlert"_L1);
    connect(m_alert, &QMessageBox::finished, this, [this] {
        // It is on its way out: the next failure gets an alert of its own.
        m_alert.clear();
        if (m_shown == m_model.errorNumber())
            m_model.clearErrorMessage();
        else
            follow();
    });
    m_alert->open();
}

} // namespace Larkhaven
