#pragma once

#include "model/AppModel.h"
#include "platform/Tasks.h"
#include "views/compose/SendAgain.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <optional>
#include <utility>

namespace Larkhaven {

/// One draft that is being written, whatever shows it: what of it is unsaved, its keeping for recovery, and
/// its way out. From the moment that it is made, what its surface shows is the truth.
///
/// Sending and storing go on when the window closes; a failure of them then goes to `Hooks::lateFailure`.
/// Main thread; it knows no widget.
class ComposeSession : public QObject {
    Q_OBJECT

public:
    /// How a message leaves the window.
    enum class Delivery { send, save };
    /// What became of it. `dropped`: the window was closed on purpose before it had begun.
    enum class Outcome { done, failed, dropped };

    /// An alert.
    struct Failure {
        QString title;
        QString text;

        bool operator==(const Failure&) const = default;
    };

    /// Told to whoever owns the window. They may outlive it.
    struct Hooks {
        /// The user has asked for it; files may have to be read first.
        std::function<void(const QUuid& draftID)> deliveryBegan;
        /// Comes once for each that began.
        std::function<void(const QUuid& draftID, Outcome outcome)> deliveryEnded;
        /// The window has closed by now; the draft is kept for recovery.
        std::function<void(const ComposeDraft& draft, const Failure& failure)> lateFailure;
        /// Whether the user has asked for the end of the program, and waits for the window.
        std::function<bool()> isQuitting;
    };

    /// What a session asks of whoever shows it. It outlives the session; its questions end with the careful
    /// answer when the window goes.
    class Surface {
    public:
        struct TextState {
            bool isModified = false; ///< other than at the start
            bool isPasting = false;  ///< some of it is still to come
            int length = 0;          ///< in characters
            int revision = 0;        ///< another one after each change
        };

        virtual ~Surface() = default;
        /// The draft with what the fields hold, its text apart.
        virtual ComposeDraft fields(ComposeDraft draft) const = 0;
        /// The draft with its text.
        virtual ComposeDraft text(ComposeDraft draft) const = 0;
        virtual TextState textState() const = 0;
        virtual bool isReadingFiles() const = 0;
        /// Waits for files and pasted text; whether all of it has come.
        virtual Task<bool> complete() = 0;
        /// Tells what the stored draft loses when it is replaced; whether the user agrees.
        virtual Task<bool> acceptLosses(Delivery delivery) = 0;
        /// What becomes of a text that may have gone out already.
        virtual Task<SendAgain::Decision> askToSendAgain(Larkhaven::Outcome<bool> look) = 0;
        /// Shows what is under way; nothing with an empty text.
        virtual void showProgress(const QString& text) = 0;
        /// While the message is on its way nothing of it changes.
        virtual void showSending(bool isSending) = 0;
        virtual void showFailure(const Failure& failure) = 0;
        /// The message has left, or is given up: the window goes.
        virtual void closeWindow() = 0;
    };

    /// Changes are kept so long after the last one, and while they go on so often.
    static constexpr int keepingDelay = 2'000;
    static constexpr int keepingInterval = 10'000;
    /// Of a longer text every change counts as unsaved; a shorter one is compared, so that what was taken
    /// back is no change. In characters.
    static constexpr int longestCompared = 50'000;

    /// `isUnsaved`: what the draft holds is stored nowhere, even if nothing changes any more.
    ComposeSession(AppModel& model, const ComposeDraft& draft, bool isUnsaved, Surface& surface, Hooks hooks,
                   QObject* parent = nullptr);

    /// The surface shows the draft: from now on anything else is a change.
    void begin();

    const QUuid& id() const { return m_draft.id; }
    const QUuid& accountID() const { return m_draft.accountID; }
    /// Whether it replaces a draft that the server has.
    bool replacesStored() const { return m_draft.draftMessageID.has_value(); }
    /// The draft as it is on screen.
    ComposeDraft draft() const;

    bool hasUnsavedChanges() const;
    bool isSending() const { return m_isSending; }
    /// Whether the message is to leave the window, or on its way.
    bool isDelivering() const { return m_delivery.has_value(); }
    /// The window may close without a question.
    bool isFinished() const { return m_isFinished; }
    bool isClosed() const { return m_isClosed; }

    /// Sends the draft, or stores it, and closes. What still waits for files may become the other.
    void deliver(Delivery delivery);
    /// Closes, and with it goes what the draft holds.
    void discard();

    /// Another account sends it.
    void setAccount(const QUuid& accountID);
    /// Gives the text to one of the accounts there are where its own is gone; whether it had to.
    bool rescue();

    /// Something on the surface is another than before.
    void followChange();
    /// Keeps what is unsaved for recovery, without waiting for a pause.
    void keep();
    /// The window has closed; what is told from now on must not be told to it.
    void noteClosed() { m_isClosed = true; }

private:
    static Task<> runDelivery(QPointer<ComposeSession> session, QPointer<AppModel> model, Hooks hooks);
    static Task<Outcome> delivered(QPointer<ComposeSession> session, QPointer<AppModel> model, Hooks hooks);
    static Task<Outcome> handedOver(QPointer<ComposeSession> session, QPointer<AppModel> model, Hooks hooks,
                                    Delivery delivery);
    static Failure failureOf(Delivery delivery, const std::exception_ptr& error);
    /// Whether the text may leave; absent where it is to leave.
    Task<std::optional<Outcome>> stopped();
    Task<SendAgain::Decision> sendAgainDecided();
    void stopKeeping();
    void failed(const Failure& failure);
    void finish();
    bool hasOtherText() const;

    AppModel& m_model;
    ComposeDraft m_draft;
    Surface& m_surface;
    Hooks m_hooks;
    std::optional<ComposeDraft> m_original; ///< what to compare with for unsaved changes
    /// The last comparison: the revision of the text, and whether it was another than the original.
    mutable std::pair<int, bool> m_compared{-1, false};
    bool m_isUnsaved;
    bool m_isSending = false;
    bool m_isFinished = false;
    bool m_isClosed = false;
    bool m_hasAcceptedLosses = false;
    std::optional<Delivery> m_delivery; ///< the one under way
    QTimer m_keepSoon;
    QTimer m_keepAtLast;
};

} // namespace Larkhaven
