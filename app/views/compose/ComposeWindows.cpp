#include "views/compose/ComposeWindows.h"

#include <QApplication>

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
    const bool isLate = m_model.pendingOpening() == AppModel::Opening::late;
    m_model.clearPendingCompose();
    const std::optional<ComposeDraft> draft = m_model.takeSeed(*id);
    ComposeWindow* shown = window(*id);
    if (!shown && draft)
        shown = open(*draft);
    if (!shown)
        return;
    if (isLate)
        showLate(*shown);
    else
        showNow(*shown);
    if (m_lateFailures.contains(*id))
        shown->view().showError(m_lateFailures.take(*id));
}

void ComposeWindows::showNow(ComposeWindow& window)
{
    window.setAttribute(Qt::WA_ShowWithoutActivating, false);
    window.show();
    window.raise();
    window.activateWindow();
}

void ComposeWindows::showLate(ComposeWindow& window)
{
    if (window.isVisible()) {
        QApplication::alert(&window);
        return;
    }
    // The user may be typing elsewhere, or in another program.
    window.setAttribute(Qt::WA_ShowWithoutActivating);
    window.show();
    QApplication::alert(&window);
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
    hooks.isQuitting = [self] { return self && self->m_quit->isDeciding(); };
    return hooks;
}

void ComposeWindows::reopen(const ComposeDraft& draft, const ComposeView::Failure& failure)
{
    m_lateFailures.insert(draft.id, failure);
    m_model.openCompose(draft, AppModel::Opening::late);
    // Its account may be gone, and the text be kept nowhere until another one takes it.
    if (ComposeWindow* const opened = window(draft.id))
        opened->view().keep();
}

} // namespace Larkhaven
