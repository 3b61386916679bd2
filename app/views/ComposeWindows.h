#pragma once

#include "views/ComposeWindow.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>

class QMessageBox;

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
    bool holdsQuit() const;

    /// Calls `quit` at once where nothing would be lost. Otherwise it asks about all unsaved messages, and
    /// waits for those on their way; then it calls `quit`, or never, if the user wants to stay. The alerts
    /// stand on `parent`.
    void confirmQuit(QWidget* parent, const std::function<void()>& quit);

Q_SIGNALS:
    /// The user has asked for the end of the program in one of the windows.
    void quitRequested();

private:
    void openPending();
    ComposeWindow* open(const ComposeDraft& draft);
    ComposeView::Hooks hooks();
    void reopen(const ComposeDraft& draft, const ComposeView::Failure& failure);
    QList<ComposeWindow*> unsavedWindows() const;
    void askAboutAll(QWidget* parent, const QList<ComposeWindow*>& unsaved);
    void saveAll(const QList<ComposeWindow*>& unsaved);
    void waitForDeliveries();
    void goOnQuitting();
    void stopQuitting();

    AppModel& m_model;
    ComposeView::Desktop m_desktop;
    ContactsService& m_contacts;
    QList<QPointer<ComposeWindow>> m_windows;
    QSet<QUuid> m_deliveries; ///< drafts that are on their way
    QHash<QUuid, ComposeView::Failure> m_lateFailures;
    std::function<void()> m_quit; ///< what waits for the answers; null while nobody quits
    QPointer<QWidget> m_quitParent;
    int m_saves = 0; ///< begun by quitting, and not yet ended
    QPointer<QMessageBox> m_alert;
};

} // namespace Larkhaven
