#pragma once

#include "model/AppModel.h"
#include "views/ComposeEditorController.h"
#include "views/ContactsService.h"
#include "views/WindowCloseGuard.h"

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
    };
    static Desktop systemDesktop();

    /// Told to whoever owns the window. They may outlive it.
    struct Hooks {
        std::function<void(const QUuid& draftID)> deliveryBegan;
        std::function<void(const QUuid& draftID, bool hasSucceeded)> deliveryEnded;
        /// The window has closed by now; the draft is kept for recovery.
        std::function<void(const ComposeDraft& draft, const Failure& failure)> lateFailure;
    };

    /// Changes are kept so long after the last one, and while they go on so often.
    static constexpr int keepingDelay = 2'000;
    static constexpr int keepingInterval = 10'000;

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
    bool showsBcc() const { return m_showBcc; }
    bool isChoosingFiles() const { return m_choosingFiles; }
    const std::optional<Failure>& error() const { return m_error; }
    const std::optional<Field>& focus() const { return m_focus; }
    ComposeEditorController& editor() { return m_editor; }

    bool hasUnsavedChanges() const;
    /// Whether the window may close now; where it may not, the user is asked.
    bool shouldClose(QWidget& window);

    void send();
    /// Stores the draft and closes the window; `ended` is called with whether it was stored.
    void save(const std::function<void(bool)>& ended = {});
    /// Closes the window, and with it goes what it holds.
    void discard();
    void addFiles(const QList<QUrl>& files);
    void setShowsBcc(bool isShown);
    void showError(const Failure& failure);
    /// The window has closed; what is told from now on must not be told to it.
    void noteClosed() { m_isClosed = true; }
    /// Asks whether to save; `decided` is called with whether the window closed, or will.
    void askToSave(QWidget& window, const std::function<void(bool)>& decided = {});

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
    void deliver(Delivery delivery, const std::function<void(bool)>& ended);
    static Task<> runDelivery(QPointer<ComposeView> view, QPointer<AppModel> model, ComposeDraft draft,
                              Delivery delivery, Hooks hooks, std::function<void(bool)> ended);
    void finish();
    void setSending(bool sending, const QString& progress);
    void followChange();
    void keep();
    void followRichText();
    void applyStyle();
    void setInitialFocus();

    AppModel& m_model;
    ComposeDraft m_draft;
    std::optional<ComposeDraft> m_original; ///< what to compare with for unsaved changes
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
    std::function<void(bool)> m_afterReading; ///< what waits for the files
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
