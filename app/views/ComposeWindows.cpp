#include "views/ComposeWindows.h"

#include "views/PlainAlert.h"
#include "views/Style.h"

#include <QPushButton>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ComposeWindows::ComposeWindows(AppModel& model, ComposeView::Desktop desktop, ContactsService& contacts,
                               QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_desktop(std::move(desktop))
    , m_contacts(contacts)
{
    connect(&model, &AppModel::pendingComposeChanged, this, &ComposeWindows::openPending);
    openPending();
}

ComposeWindows::~ComposeWindows()
{
    for (ComposeWindow* const window : windows())
        delete window;
}

QList<ComposeWindow*> ComposeWindows::windows() const
{
    QList<ComposeWindow*> open;
    for (const QPointer<ComposeWindow>& window : m_windows) {
        if (window)
            open.append(window);
    }
    return open;
}

ComposeWindow* ComposeWindows::window(const QUuid& draftID) const
{
    const QList<ComposeWindow*> open = windows();
    const auto found = std::ranges::find_if(
        open, [&draftID](const ComposeWindow* window) { return window->view().draftID() == draftID; });
    return found == open.end() ? nullptr : *found;
}

void ComposeWindows::openPending()
{
    const std::optional<QUuid> id = m_model.pendingCompose();
    if (!id)
        return;
    m_model.clearPendingCompose();
    const std::optional<ComposeDraft> draft = m_model.takeSeed(*id);
    ComposeWindow* shown = window(*id);
    if (!shown && draft)
        shown = open(*draft);
    if (!shown)
        return;
    shown->show();
    shown->raise();
    shown->activateWindow();
    if (m_lateFailures.contains(*id))
        shown->view().showError(m_lateFailures.take(*id));
}

ComposeWindow* ComposeWindows::open(const ComposeDraft& draft)
{
    const bool isUnsaved = m_model.isRecovered(draft.id) || m_lateFailures.contains(draft.id);
    auto* const window = new ComposeWindow(m_model, draft, isUnsaved, m_desktop, m_contacts, hooks());
    connect(window, &ComposeWindow::quitRequested, this, &ComposeWindows::quitRequested);
    connect(window, &ComposeWindow::closed, this, [this, window] { m_windows.removeAll(window); });
    m_windows.append(window);
    return window;
}

ComposeView::Hooks ComposeWindows::hooks()
{
    const QPointer<ComposeWindows> self(this);
    ComposeView::Hooks hooks;
    hooks.deliveryBegan = [self](const QUuid& id) {
        if (self)
            self->m_deliveries.insert(id);
    };
    hooks.deliveryEnded = [self](const QUuid& id, bool hasSucceeded) {
        if (!self)
            return;
        self->m_deliveries.remove(id);
        if (hasSucceeded)
            self->goOnQuitting();
        else
            self->stopQuitting();
    };
    hooks.lateFailure = [self](const ComposeDraft& draft, const ComposeView::Failure& failure) {
        if (self)
            self->reopen(draft, failure);
    };
    return hooks;
}

void ComposeWindows::reopen(const ComposeDraft& draft, const ComposeView::Failure& failure)
{
    m_lateFailures.insert(draft.id, failure);
    ComposeDraft failed = draft;
    failed.wasSending = false;
    m_model.openCompose(failed);
}

// --- Quitting

QList<ComposeWindow*> ComposeWindows::unsavedWindows() const
{
    QList<ComposeWindow*> unsaved;
    for (ComposeWindow* const window : windows()) {
        if (!window->view().isSending() && window->view().hasUnsavedChanges())
            unsaved.append(window);
    }
    return unsaved;
}

bool ComposeWindows::holdsQuit() const
{
    return !m_deliveries.isEmpty() || !unsavedWindows().isEmpty();
}

void ComposeWindows::confirmQuit(QWidget* parent, const std::function<void()>& quit)
{
    if (m_alert) {
        m_alert->raise();
        return;
    }
    m_quit = quit;
    m_quitParent = parent;
    const QList<ComposeWindow*> unsaved = unsavedWindows();
    if (unsaved.isEmpty()) {
        goOnQuitting();
        return;
    }
    if (unsaved.size() > 1) {
        askAboutAll(parent, unsaved);
        return;
    }
    ComposeWindow* const window = unsaved.constFirst();
    window->show();
    window->raise();
    window->activateWindow();
    const QPointer<ComposeWindows> self(this);
    window->view().askToSave(*window, [self](bool isDecided) {
        if (self && isDecided)
            self->goOnQuitting();
        else if (self)
            self->stopQuitting();
    });
}

void ComposeWindows::askAboutAll(QWidget* parent, const QList<ComposeWindow*>& unsaved)
{
    QList<QPointer<ComposeWindow>> asked;
    for (ComposeWindow* const window : unsaved)
        asked.append(window);
    m_alert =
        makePlainAlert(tr("You have %1 messages with unsaved changes. Do you want to save them as drafts?")
                           .arg(unsaved.size()),
                       tr("If you don't save, your changes will be lost."), QMessageBox::NoButton, parent);
    m_alert->setObjectName("quitAlert"_L1);
    QPushButton* const save = m_alert->addButton(tr("Save All"), QMessageBox::ActionRole);
    QPushButton* const discard = addDestructiveButton(*m_alert, tr("Discard All"), QMessageBox::ActionRole);
    QPushButton* const cancel = m_alert->addButton(tr("Cancel"), QMessageBox::ActionRole);
    m_alert->setDefaultButton(save);
    m_alert->setEscapeButton(cancel);
    connect(m_alert, &QMessageBox::finished, this, [this, alert = m_alert.data(), save, discard, asked] {
        m_alert.clear();
        QList<ComposeWindow*> open;
        for (const QPointer<ComposeWindow>& window : asked) {
            if (window)
                open.append(window);
        }
        if (alert->clickedButton() == save) {
            saveAll(open);
        } else if (alert->clickedButton() == discard) {
            for (ComposeWindow* const window : open)
                window->view().discard();
            goOnQuitting();
        } else {
            stopQuitting();
        }
    });
    m_alert->open();
}

/// What can't be saved keeps its window, with the reason, and the program goes on.
void ComposeWindows::saveAll(const QList<ComposeWindow*>& unsaved)
{
    const QPointer<ComposeWindows> self(this);
    m_saves += static_cast<int>(unsaved.size());
    for (ComposeWindow* const window : unsaved) {
        window->view().save([self](bool isSaved) {
            if (!self)
                return;
            --self->m_saves;
            if (isSaved)
                self->goOnQuitting();
            else
                self->stopQuitting();
        });
    }
    goOnQuitting();
}

void ComposeWindows::goOnQuitting()
{
    if (!m_quit)
        return;
    if (!m_deliveries.isEmpty() || m_saves > 0) {
        if (!m_alert)
            waitForDeliveries();
        return;
    }
    const std::function<void()> quit = std::exchange(m_quit, nullptr);
    if (m_alert)
        m_alert->close();
    // Texts may have been begun, or changed, while the others were on their way.
    if (unsavedWindows().isEmpty())
        quit();
    else
        confirmQuit(m_quitParent, quit);
}

void ComposeWindows::waitForDeliveries()
{
    m_alert = makePlainAlert(tr("Messages are still on their way."),
                             tr("Larkhaven quits as soon as they have been sent or saved."),
                             QMessageBox::NoButton, m_quitParent);
    m_alert->setObjectName("deliveryAlert"_L1);
    QPushButton* const insist = addDestructiveButton(*m_alert, tr("Quit Anyway"), QMessageBox::ActionRole);
    QPushButton* const cancel = m_alert->addButton(tr("Cancel"), QMessageBox::ActionRole);
    m_alert->setDefaultButton(cancel);
    m_alert->setEscapeButton(cancel);
    connect(m_alert, &QMessageBox::finished, this, [this, alert = m_alert.data(), insist, cancel] {
        m_alert.clear();
        if (alert->clickedButton() == cancel) {
            m_quit = nullptr;
        } else if (alert->clickedButton() == insist && m_quit) {
            // What was on its way is kept, and comes back when the program starts again.
            const std::function<void()> quit = std::exchange(m_quit, nullptr);
            quit();
        }
    });
    m_alert->open();
}

void ComposeWindows::stopQuitting()
{
    m_quit = nullptr;
    if (m_alert && m_alert->objectName() == "deliveryAlert"_L1)
        m_alert->close();
}

} // namespace Larkhaven
