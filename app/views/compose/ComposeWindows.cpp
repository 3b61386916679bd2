#include "views/compose/ComposeWindows.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ComposeWindows::ComposeWindows(AppModel& model, ComposeView::Desktop desktop, ContactsService& contacts,
                               QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_desktop(std::move(desktop))
    , m_contacts(contacts)
    , m_quit(new ComposeQuit(
          model, [this] { return windows(); }, this))
{
    connect(&model, &AppModel::pendingComposeChanged, this, &ComposeWindows::openPending);
    openPending();
}

ComposeWindows::~ComposeWindows()
{
    // It asks for the windows.
    delete m_quit;
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
            self->m_quit->deliveryBegan(id);
    };
    hooks.deliveryEnded = [self](const QUuid& id, ComposeView::Outcome outcome) {
        if (self)
            self->m_quit->deliveryEnded(id, outcome);
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
    m_model.openCompose(draft);
    // Its account may be gone, and the text be kept nowhere until another one takes it.
    if (ComposeWindow* const opened = window(draft.id))
        opened->view().keep();
}

} // namespace Larkhaven
