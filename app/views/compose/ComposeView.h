#pragma once

#include "views/compose/ComposeFileReader.h"
#include "views/compose/ComposeForm.h"
#include "views/compose/ComposeSession.h"
#include "views/compose/ContactsService.h"
#include "views/compose/WindowCloseGuard.h"
#include "views/style/AlertTurn.h"

#include <QPointer>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class QLabel;
class QMessageBox;

namespace Larkhaven {

class ComposeToolbar;

/// What a compose window holds: the form of one draft under its toolbar, and the questions and alerts of its
/// session.
class ComposeView : public QWidget, private ComposeSession::Surface {
    Q_OBJECT

public:
    using Field = ComposeForm::Field;
    using Delivery = ComposeSession::Delivery;
    using Outcome = ComposeSession::Outcome;
    using Failure = ComposeSession::Failure;
    using Hooks = ComposeSession::Hooks;
    /// The answer to whether unsaved changes are to be stored.
    enum class Choice { save, discard, cancel };

    /// What the window asks of the desktop. Tests give their own.
    struct Desktop {
        /// Lets the user choose files, and calls `chosen` with them, or with none.
        std::function<void(QWidget* parent, std::function<void(QList<QUrl>)> chosen)> chooseFiles;
        ComposeFileReader::Read readFiles = ComposeFiles::read;
    };
    static Desktop systemDesktop();

    /// `isUnsaved`: what the draft holds is stored nowhere, even if nothing changes any more.
    ComposeView(AppModel& model, const ComposeDraft& draft, bool isUnsaved,
                std::shared_ptr<ComposeCloseState> closeState, Desktop desktop, ContactsService& contacts,
                Hooks hooks, QWidget* parent = nullptr);
    ~ComposeView() override;

    /// The draft as it is on screen.
    ComposeDraft draft() const { return m_session->draft(); }
    const QUuid& draftID() const { return m_session->id(); }
    /// The subject, or "New Message".
    QString title() const;
    bool isSending() const { return m_session->isSending(); }
    /// Whether the message is to leave the window, or on its way.
    bool isDelivering() const { return m_session->isDelivering(); }
    bool showsBcc() const { return m_form->showsBcc(); }
    bool isChoosingFiles() const { return m_choosingFiles; }
    const std::optional<Failure>& error() const { return m_error; }
    const std::optional<Field>& focus() const { return m_form->focus(); }
    ComposeEditorController& editor() { return m_form->editor(); }

    bool hasUnsavedChanges() const { return m_session->hasUnsavedChanges(); }
    /// Whether the window may close now; where it may not, the user is asked.
    bool shouldClose();

    void send() { m_session->deliver(Delivery::send); }
    /// Stores the draft and closes the window.
    void save() { m_session->deliver(Delivery::save); }
    /// Closes the window, and with it goes what it holds.
    void discard() { m_session->discard(); }
    /// Asks whether to save, in place of an earlier question that is still open. `cancel` where the window
    /// goes.
    Task<Choice> askToSave();
    void carryOut(Choice choice);
    void addFiles(const QList<QUrl>& files);
    void setShowsBcc(bool isShown) { m_form->setShowsBcc(isShown); }
    void showError(const Failure& failure);
    /// The window has closed; what is told from now on must not be told to it.
    void noteClosed();
    /// Keeps what is unsaved for recovery, without waiting for a pause.
    void keep() { m_session->keep(); }

Q_SIGNALS:
    void titleChanged();

protected:
    void showEvent(QShowEvent* event) override;

private:
    /// When an alert of what has just failed, or is asked before it goes on, comes up.
    AlertTurn turn() const;
    ComposeDraft fields(ComposeDraft draft) const override { return m_form->fields(std::move(draft)); }
    ComposeDraft text(ComposeDraft draft) const override { return m_form->text(std::move(draft)); }
    TextState textState() const override;
    bool isReadingFiles() const override { return m_files->isReading(); }
    Task<bool> complete() override;
    Task<bool> acceptLosses(Delivery delivery) override;
    Task<SendAgain::Decision> askToSendAgain(Larkhaven::Outcome<bool> look) override;
    void showProgress(const QString& text) override;
    void showSending(bool isSending) override;
    void showFailure(const Failure& failure) override { showError(failure); }
    void closeWindow() override;

    void build(const ComposeDraft& draft);
    void connectParts();
    void followAccounts();
    void moveFocus(int step);
    void attach();
    Task<> offerToAttach(QString what, std::function<void()> attach);
    Task<> closeIfWanted();

    AppModel& m_model;
    bool m_choosingFiles = false;
    bool m_hasAppeared = false;
    std::shared_ptr<ComposeCloseState> m_closeState;
    std::optional<Failure> m_error;
    Desktop m_desktop;

    ComposeToolbar* m_toolbar;
    QLabel* m_note;
    ComposeForm* m_form;
    ComposeFileReader* m_files;
    std::function<bool()> m_isQuitting;
    ComposeSession* m_session;
    QPointer<QMessageBox> m_sheet;
    QPointer<QMessageBox> m_alert;
    QPointer<QWidget> m_lastFocus;
};

} // namespace Larkhaven
