#pragma once

#include "model/AppModel.h"
#include "platform/Wakeup.h"
#include "views/compose/ComposeEditorController.h"
#include "views/compose/ComposeFiles.h"
#include "views/compose/ContactsService.h"
#include "views/compose/SendAgain.h"
#include "views/compose/WindowCloseGuard.h"

#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class QComboBox;
class QLabel;
class QLineEdit;
class QMessageBox;

namespace Larkhaven {

class AddressField;
class AttachmentStrip;
class ComposeEditor;
class ComposeRow;
class ComposeToolbar;
class FormatBar;

/// What a compose window holds: the form of one draft. From the moment that it is made, its own copy of the
/// draft is the truth.
///
/// Sending and storing go on when the window closes; a failure of them then goes to `Hooks::lateFailure`.
/// Changes are kept for recovery while they are made.
class ComposeView : public QWidget {
    Q_OBJECT

public:
    enum class Field { to, cc, bcc, subject };
    /// How a message leaves the window.
    enum class Delivery { send, save };
    /// What became of it. `dropped`: the window was closed on purpose before it had begun.
    enum class Outcome { done, failed, dropped };
    /// The answer to whether unsaved changes are to be stored.
    enum class Choice { save, discard, cancel };

    /// An alert.
    struct Failure {
        QString title;
        QString text;

        bool operator==(const Failure&) const = default;
    };

    /// What the window asks of the desktop. Tests give their own.
    struct Desktop {
        /// Lets the user choose files, and calls `chosen` with them, or with none.
        std::function<void(QWidget* parent, std::function<void(QList<QUrl>)> chosen)> chooseFiles;
        /// Reads files, on a worker.
        std::function<ComposeFiles::Files(QList<QUrl> files, qint64 total, qint64 limit)> readFiles =
            ComposeFiles::read;
    };
    static Desktop systemDesktop();

    /// Told to whoever owns the window. They may outlive it.
    struct Hooks {
        /// The user has asked for it; files may have to be read first.
        std::function<void(const QUuid& draftID)> deliveryBegan;
        /// Comes once for each that began.
        std::function<void(const QUuid& draftID, Outcome outcome)> deliveryEnded;
        /// The window has closed by now; the draft is kept for recovery.
        std::function<void(const ComposeDraft& draft, const Failure& failure)> lateFailure;
    };

    /// Changes are kept so long after the last one, and while they go on so often.
    static constexpr int keepingDelay = 2'000;
    static constexpr int keepingInterval = 10'000;
    /// Of a longer text every change counts as unsaved; a shorter one is compared, so that what was taken
    /// back is no change. In characters.
    static constexpr int longestCompared = 50'000;

    /// `isUnsaved`: what the draft holds is stored nowhere, even if nothing changes any more.
    ComposeView(AppModel& model, const ComposeDraft& draft, bool isUnsaved,
                std::shared_ptr<ComposeCloseState> closeState, Desktop desktop, ContactsService& contacts,
                Hooks hooks, QWidget* parent = nullptr);
    ~ComposeView() override;

    /// The draft as it is on screen.
    ComposeDraft draft() const;
    const QUuid& draftID() const { return m_draft.id; }
    /// The subject, or "New Message".
    QString title() const;
    bool isSending() const { return m_sending; }
    /// Whether the message is to leave the window, or on its way.
    bool isDelivering() const { return m_delivery.has_value(); }
    bool showsBcc() const { return m_showBcc; }
    bool isChoosingFiles() const { return m_choosingFiles; }
    const std::optional<Failure>& error() const { return m_error; }
    const std::optional<Field>& focus() const { return m_focus; }
    ComposeEditorController& editor() { return m_editor; }

    bool hasUnsavedChanges() const;
    /// Whether the window may close now; where it may not, the user is asked.
    bool shouldClose();

    void send();
    /// Stores the draft and closes the window.
    void save();
    /// Closes the window, and with it goes what it holds.
    void discard();
    /// Asks whether to save, in place of an earlier question that is still open. `cancel` where the window
    /// goes.
    Task<Choice> askToSave();
    void carryOut(Choice choice);
    void addFiles(const QList<QUrl>& files);
    void setShowsBcc(bool isShown);
    void showError(const Failure& failure);
    /// The window has closed; what is told from now on must not be told to it.
    void noteClosed();
    /// Keeps what is unsaved for recovery, without waiting for a pause.
    void keep();

Q_SIGNALS:
    void titleChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void buildForm(const ComposeDraft& draft);
    void connectForm();
    void fillAccounts();
    void attach();
    Task<> readFiles(QList<QUrl> files);
    Task<> closeIfWanted();
    void deliver(Delivery delivery);
    static Task<> runDelivery(QPointer<ComposeView> view, QPointer<AppModel> model, Hooks hooks, QUuid id);
    static Task<Outcome> delivered(QPointer<ComposeView> view, QPointer<AppModel> model, Hooks hooks);
    Task<bool> filesRead();
    Task<bool> lossesAccepted(Delivery delivery);
    Task<SendAgain::Decision> sendAgainDecided();
    void failed(const Failure& failure);
    void finish();
    void setSending(bool sending, const QString& progress);
    void followChange();
    ComposeDraft fields() const;
    void followRichText();
    bool hasOtherText() const;
    void applyStyle();
    void setInitialFocus();

    AppModel& m_model;
    ComposeDraft m_draft;
    std::optional<ComposeDraft> m_original; ///< what to compare with for unsaved changes
    /// The last comparison: the revision of the text, and whether it was another than the original.
    mutable std::pair<int, bool> m_compared{-1, false};
    bool m_isUnsaved;
    bool m_showBcc = false;
    bool m_sending = false;
    bool m_choosingFiles = false;
    bool m_hasAppeared = false;
    bool m_isClosed = false;
    std::shared_ptr<ComposeCloseState> m_closeState;
    std::optional<Failure> m_error;
    std::optional<Field> m_focus;
    Desktop m_desktop;
    ContactsService& m_contacts;
    Hooks m_hooks;
    ComposeEditorController m_editor;
    QList<QList<QUrl>> m_waitingFiles; ///< what is added while other files are read
    bool m_isReading = false;
    bool m_hasAcceptedLosses = false;
    bool m_wasFileRefused = false; ///< while the last files were read
    std::shared_ptr<Wakeup>
        m_filesEnd; ///< tells a delivery that waits for files of their end, or the window's
    std::optional<Delivery> m_delivery; ///< the one under way
    QTimer m_keepSoon;
    QTimer m_keepAtLast;

    ComposeToolbar* m_toolbar = nullptr;
    QLabel* m_note = nullptr;
    QWidget* m_form = nullptr;
    QComboBox* m_accounts = nullptr;
    ComposeRow* m_from = nullptr;
    AddressField* m_to = nullptr;
    AddressField* m_cc = nullptr;
    AddressField* m_bcc = nullptr;
    QLineEdit* m_subject = nullptr;
    FormatBar* m_formatBar = nullptr;
    ComposeEditor* m_text = nullptr;
    AttachmentStrip* m_attachments = nullptr;
    QPointer<QMessageBox> m_sheet;
    QPointer<QMessageBox> m_alert;
    QPointer<QWidget> m_lastFocus;
};

} // namespace Larkhaven
