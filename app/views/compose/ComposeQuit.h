#pragma once

#include "platform/Wakeup.h"
#include "views/compose/ComposeWindow.h"

#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>
#include <memory>

namespace Larkhaven {

/// The one place that decides about the end of the program while texts are being written: from question to
/// answer it is one coroutine. Main thread.
class ComposeQuit : public QObject {
    Q_OBJECT

public:
    /// `windows` gives the open windows, the oldest first.
    ComposeQuit(AppModel& model, std::function<QList<ComposeWindow*>()> windows, QObject* parent = nullptr);
    ~ComposeQuit() override;

    // What is on its way, also after its window has closed.
    void deliveryBegan(const QUuid& draftID);
    void deliveryEnded(const QUuid& draftID, ComposeSession::Outcome outcome);

    /// Whether the user has asked for the end of the program and waits for it.
    bool isDeciding() const { return m_isDeciding; }
    /// Whether something would be lost if the program ended now.
    bool isHeld() const;

    /// Calls `quit` at once where nothing would be lost. Otherwise it asks about all unsaved messages, and
    /// waits for those on their way; then it calls `quit`, or never, if the user wants to stay or something
    /// failed. The alerts stand on `parent`. While that is being decided, a second call only raises them.
    void confirm(QWidget* parent, const std::function<void()>& quit);

private:
    using Choice = ComposeView::Choice;

    QList<QPointer<ComposeWindow>> unsavedWindows() const;
    Task<> decideQuit(QPointer<QWidget> parent, std::function<void()> quit);
    Task<bool> mayQuit(QPointer<QWidget> parent);
    Task<Choice> ask(QPointer<QWidget> parent, QList<QPointer<ComposeWindow>> unsaved);
    Task<Choice> askAboutAll(QPointer<QWidget> parent, qsizetype count);
    Task<bool> deliveriesEnded(QPointer<QWidget> parent);
    Task<> keptAtLast();

    AppModel& m_model;
    std::function<QList<ComposeWindow*>()> m_windows;
    QSet<QUuid> m_deliveries;                                       ///< drafts that are on their way
    bool m_isDeciding = false;                                      ///< about quitting
    bool m_hasFailed = false;                                       ///< a delivery, since then
    QPointer<QWidget> m_asking;                                     ///< what stands in the way of the end
    std::shared_ptr<Wakeup> m_changed = std::make_shared<Wakeup>(); ///< notified with the end of a delivery
};

} // namespace Larkhaven
