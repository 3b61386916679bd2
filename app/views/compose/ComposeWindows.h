#pragma once

#include "views/compose/ComposeQuit.h"
#include "views/compose/ComposeWindow.h"

#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>

namespace Larkhaven {

/// All open compose windows. It opens one for what the model's `pendingCompose` asks for, and asks for all of
/// them before the program ends. Main thread.
class ComposeWindows : public QObject {
    Q_OBJECT

public:
    explicit ComposeWindows(AppModel& model, ComposeView::Desktop desktop = ComposeView::systemDesktop(),
                            ContactsService& contacts = ContactsService::shared(), QObject* parent = nullptr);
    ~ComposeWindows() override;

    /// The open windows, the oldest first.
    QList<ComposeWindow*> windows() const;
    ComposeWindow* window(const QUuid& draftID) const;
    /// Whether something would be lost if the program ended now.
    bool holdsQuit() const { return m_quit->isHeld(); }

    /// See `ComposeQuit::confirm`.
    void confirmQuit(QWidget* parent, const std::function<void()>& quit) { m_quit->confirm(parent, quit); }

Q_SIGNALS:
    /// The user has asked for the end of the program in one of the windows.
    void quitRequested();

private:
    void openPending();
    static void showNow(ComposeWindow& window);
    /// Takes the keyboard from no other window.
    static void showLate(ComposeWindow& window);
    ComposeWindow* open(const ComposeDraft& draft);
    ComposeView::Hooks hooks();
    void reopen(const ComposeDraft& draft, const ComposeView::Failure& failure);

    AppModel& m_model;
    ComposeView::Desktop m_desktop;
    ContactsService& m_contacts;
    QList<QPointer<ComposeWindow>> m_windows;
    QHash<QUuid, ComposeView::Failure> m_lateFailures;
    ComposeQuit* m_quit;
};

} // namespace Larkhaven
