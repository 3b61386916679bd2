#include "views/compose/ComposeQuit.h"

#include "platform/Tasks.h"
#include "views/style/PlainAlert.h"

#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

Task<> notifyAfter(Task<> task, std::shared_ptr<Wakeup> end)
{
    co_await task;
    end->notify();
}

} // namespace

ComposeQuit::ComposeQuit(AppModel& model, std::function<QList<ComposeWindow*>()> windows, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_windows(std::move(windows))
{}

ComposeQuit::~ComposeQuit()
{
    m_changed->notify();
}

void ComposeQuit::deliveryBegan(const QUuid& draftID)
{
    m_deliveries.insert(draftID);
}

void ComposeQuit::deliveryEnded(const QUuid& draftID, ComposeSession::Outcome outcome)
{
    m_deliveries.remove(draftID);
    m_hasFailed |= outcome == ComposeSession::Outcome::failed;
    m_changed->notify();
}

QList<QPointer<ComposeWindow>> ComposeQuit::unsavedWindows() const
{
    QList<QPointer<ComposeWindow>> unsaved;
    for (ComposeWindow* const window : m_windows()) {
        if (!window->view().isDelivering() && window->view().hasUnsavedChanges())
            unsaved.append(window);
    }
    return unsaved;
}

bool ComposeQuit::isHeld() const
{
    return !m_deliveries.isEmpty() || !unsavedWindows().isEmpty();
}

void ComposeQuit::confirm(QWidget* parent, const std::function<void()>& quit)
{
    if (!std::exchange(m_isDeciding, true)) {
        spawn(decideQuit(parent, quit), dropFailure);
    } else if (m_asking) {
        m_asking->raise();
        m_asking->activateWindow();
    }
}

Task<> ComposeQuit::decideQuit(QPointer<QWidget> parent, std::function<void()> quit)
{
    const QPointer<ComposeQuit> self(this);
    m_hasFailed = false;
    const bool isApproved = co_await mayQuit(parent);
    if (!self)
        co_return;
    m_isDeciding = false;
    if (isApproved)
        quit();
}

Task<bool> ComposeQuit::mayQuit(QPointer<QWidget> parent)
{
    const QPointer<ComposeQuit> self(this);
    // Texts may be begun, or changed, while others are on their way.
    while (isHeld()) {
        const QList<QPointer<ComposeWindow>> unsaved = unsavedWindows();
        if (unsaved.isEmpty()) {
            const bool isSettled = co_await deliveriesEnded(parent);
            if (!self || !isSettled)
                co_return false;
            if (m_deliveries.isEmpty())
                continue;
            // What is still on its way is kept, and comes back when the program starts again.
            co_await keptAtLast();
            co_return true;
        }
        const Choice choice = co_await ask(parent, unsaved);
        if (!self || choice == Choice::cancel)
            co_return false;
        for (const QPointer<ComposeWindow>& window : unsaved) {
            if (window)
                window->view().carryOut(choice);
        }
        if (m_hasFailed)
            co_return false;
    }
    co_return true;
}

/// Waits until all is kept that can be. A keyring that asks the user doesn't hold up quitting for long.
Task<> ComposeQuit::keptAtLast()
{
    constexpr std::chrono::seconds patience(3);
    const auto end = std::make_shared<Wakeup>();
    spawn(notifyAfter(m_model.settleKeptTexts(), end), dropFailure);
    co_await end->wait(patience);
}

Task<ComposeQuit::Choice> ComposeQuit::ask(QPointer<QWidget> parent, QList<QPointer<ComposeWindow>> unsaved)
{
    if (unsaved.size() > 1) {
        const Choice choice = co_await askAboutAll(parent, unsaved.size());
        co_return choice;
    }
    ComposeWindow* const window = unsaved.constFirst();
    window->show();
    window->raise();
    window->activateWindow();
    m_asking = window;
    const Choice choice = co_await window->view().askToSave();
    co_return choice;
}

Task<ComposeQuit::Choice> ComposeQuit::askAboutAll(QPointer<QWidget> parent, qsizetype count)
{
    QMessageBox* const alert = makePlainAlert(
        tr("You have %1 messages with unsaved changes. Do you want to save them as drafts?").arg(count),
        tr("If you don't save, your changes will be lost."), QMessageBox::NoButton, parent);
    alert->setObjectName("quitAlert"_L1);
    QPushButton* const save = alert->addButton(tr("Save All"), QMessageBox::ActionRole);
    QPushButton* const discard = addDestructiveButton(*alert, tr("Discard All"), QMessageBox::ActionRole);
    QPushButton* const cancel = alert->addButton(tr("Cancel"), QMessageBox::ActionRole);
    alert->setDefaultButton(save);
    alert->setEscapeButton(cancel);
    m_asking = alert;
    const QList<QAbstractButton*> buttons{save, discard, cancel};
    const qsizetype answer = co_await answerTo(alert, buttons);
    co_return answer == 0 ? Choice::save : answer == 1 ? Choice::discard : Choice::cancel;
}

/// Waits until all deliveries have ended; false where one failed, or where the user wants to stay. True with
/// some still under way where the user insists.
Task<bool> ComposeQuit::deliveriesEnded(QPointer<QWidget> parent)
{
    // What takes no time to store needs no alert.
    constexpr std::chrono::milliseconds patience(300);
    const QPointer<ComposeQuit> self(this);
    const std::shared_ptr<Wakeup> changed = m_changed;
    const auto isWaiting = [self] { return self && !self->m_hasFailed && !self->m_deliveries.isEmpty(); };
    auto outcome = Wakeup::Outcome::notified;
    while (isWaiting() && outcome == Wakeup::Outcome::notified)
        outcome = co_await changed->wait(patience);
    if (!isWaiting())
        co_return self && !m_hasFailed;
    const QPointer<QMessageBox> alert =
        makePlainAlert(tr("Messages are still on their way."),
                       m_model.accountsWithLockedTexts().isEmpty()
                           ? tr("Larkhaven quits as soon as they have been sent or saved.")
                           : tr("Larkhaven quits as soon as they have been sent or saved. What you write "
                                "can’t be kept at the moment: "
                                "quitting now may lose them."),
                       QMessageBox::NoButton, parent);
    alert->setObjectName("deliveryAlert"_L1);
    QPushButton* const insist = addDestructiveButton(*alert, tr("Quit Anyway"), QMessageBox::ActionRole);
    QPushButton* const cancel = alert->addButton(tr("Cancel"), QMessageBox::ActionRole);
    alert->setDefaultButton(cancel);
    alert->setEscapeButton(cancel);
    m_asking = alert;
    bool hasInsisted = false;
    bool isAnswered = false;
    const auto take = [&, box = alert.data()] {
        hasInsisted = box->clickedButton() == insist;
        isAnswered = true;
        changed->notify();
    };
    QObject lifetime; // of what the connections refer to
    connect(alert, &QMessageBox::finished, &lifetime, take);
    connect(alert, &QObject::destroyed, changed.get(), [end = changed.get()] { end->notify(); });
    alert->open();
    while (isWaiting() && alert && !isAnswered)
        co_await changed->wait(std::chrono::milliseconds(-1));
    // The last message may have gone out since the user wanted to stay.
    const bool isCancelled = isAnswered ? !hasInsisted : isWaiting();
    if (alert)
        alert->close();
    co_return self && !m_hasFailed && !isCancelled;
}

} // namespace Larkhaven
