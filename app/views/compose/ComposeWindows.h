#pragma once

#include "views/compose/ComposeWindow.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>

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
    bool holdsQuit() const;

    /// Calls `quit` at once where nothing would be lost. Otherwise it asks about all unsaved messages, and
    /// waits for those on their way; then it calls `quit`, or never, if the user wants to stay or something
    /// failed. The alerts stand on `parent`. While that is being decided, a second call only raises them.
    void confirmQuit(QWidget* parent, const std::function<void()>& quit);

Q_SIGNALS:
    /// The user has asked for the end of the program in one of the windows.
    void quitRequested();

private:
    void openPending();
    ComposeWindow* open(const ComposeDraft& draft);
    ComposeView::Hooks hooks();
    void reopen(const ComposeDraft& draft, const ComposeView::Failure& failure);
    using Choice = ComposeView::Choice;

    QList<QPointer<ComposeWindow>> unsavedWindows() const;
    Task<> decideQuit(QPointer<QWidget> parent, std::function<void()> quit);
    Task<bool> mayQuit(QPointer<QWidget> parent);
    Task<Choice> ask(QPointer<QWidget> parent, QList<QPointer<ComposeWindow>> unsaved);
    Task<Choice> askAboutAll(QPointer<QWidget> parent, qsizetype count);
    Task<bool> deliveriesEnded(QPointer<QWidget> parent);
    Task<> keptAtLast();

    AppModel& m_model;
    ComposeView::Desktop m_desktop;
    ContactsService& m_contacts;
    QList<QPointer<ComposeWindow>> m_windows;
    QSet<QUuid> m_deliveries; ///< drafts that are on their way
    QHash<QUuid, ComposeView::Failure> m_lateFailures;
    bool m_isDeciding = false;  ///< about quitting
    bool m_hasFailed = false;   ///< a delivery, since then
    QPointer<QWidget> m_asking; ///< what stands in the way of the end
    std::shared_ptr<Wakeup> m_deliveriesChanged;
};

} // namespace Larkhaven
