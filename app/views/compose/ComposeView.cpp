#include "views/compose/ComposeView.h"

#include "domain/LocalizedError.h"
#include "format/MessageComposer.h"
#include "model/DraftGate.h"
#include "platform/Tasks.h"
#include "views/compose/AddressField.h"
#include "views/compose/AttachmentStrip.h"
#include "views/compose/ComposeEditor.h"
#include "views/compose/ComposeFiles.h"
#include "views/compose/ComposeNotices.h"
#include "views/compose/ComposeRow.h"
#include "views/compose/ComposeToolbar.h"
#include "views/compose/FormatBar.h"
#include "views/compose/LineGate.h"
#include "views/compose/SendAgain.h"
#include "views/style/DisplayText.h"
#include "views/style/Picker.h"
#include "views/style/PlainAlert.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QList<QUuid> idsOf(const QList<OutgoingAttachment>& attachments)
{
    QList<QUuid> ids;
    for (const OutgoingAttachment& attachment : attachments)
        ids.append(attachment.id);
    return ids;
}

} // namespace

ComposeView::Desktop ComposeView::systemDesktop()
{
    Desktop desktop;
    desktop.chooseFiles = [](QWidget* parent, std::function<void(QList<QUrl>)> chosen) {
        auto* const panel = new QFileDialog(parent);
        panel->setAttribute(Qt::WA_DeleteOnClose);
        panel->setFileMode(QFileDialog::ExistingFiles);
        QObject::connect(panel, &QFileDialog::finished, parent,
                         [panel, chosen = std::move(chosen)](int result) {
                             chosen(result == QDialog::Accepted ? panel->selectedUrls() : QList<QUrl>());
                         });
        panel->open();
    };
    return desktop;
}

ComposeView::ComposeView(AppModel& model, const ComposeDraft& draft, bool isUnsaved,
                         std::shared_ptr<ComposeCloseState> closeState, Desktop desktop,
                         ContactsService& contacts, Hooks hooks, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_draft(draft)
    , m_isUnsaved(isUnsaved)
    , m_showBcc(!draft.bcc.isEmpty())
    , m_closeState(std::move(closeState))
    , m_desktop(std::move(desktop))
    , m_contacts(contacts)
    , m_hooks(std::move(hooks))
    , m_filesEnd(std::make_shared<Wakeup>())
{
    setObjectName("compose"_L1);
    buildForm(draft);
    connectForm();
    // A long text is never compared.
    m_original = m_editor.length() > longestCompared ? fields() : this->draft();
    if (m_isUnsaved)
        followChange();
}

ComposeView::~ComposeView()
{
    m_filesEnd->notify();
}

void ComposeView::noteClosed()
{
    m_isClosed = true;
    m_filesEnd->notify();
}

// --- The form

void ComposeView::buildForm(const ComposeDraft& draft)
{
    UserDefaults& defaults = m_model.defaults();
    m_editor.setBaseFont(defaults.text(DefaultsKey::composeFontFamily),
                         defaults.real(DefaultsKey::composeFontSize));
    m_toolbar = new ComposeToolbar;
    m_note = new QLabel(
        draft.wasSending
            ? tr("This was being sent when Larkhaven ended. Look in Sent before you send it again.")
            : tr("Recovered after Larkhaven ended unexpectedly."));
    m_note->setObjectName("recoveredNote"_L1);
    if (!m_model.isRecovered(draft.id))
        m_note->hide();
    m_form = new QWidget;
    m_form->setObjectName("form"_L1);
    m_accounts = new Picker(Picker::Frame::none);
    m_from = new ComposeRow(tr("From:"), m_accounts);
    m_to = new AddressField(tr("To:"), defaults, m_contacts);
    m_cc = new AddressField(tr("Cc:"), defaults, m_contacts);
    m_bcc = new AddressField(tr("Bcc:"), defaults, m_contacts);
    m_subject = new QLineEdit;
    auto* const subjectGate = new LineGate(DraftGate::longestLine, m_subject);
    auto* const subjectRow = new ComposeRow(tr("Subject:"), m_subject);
    m_from->setObjectName("from"_L1);
    m_to->setObjectName("to"_L1);
    m_cc->setObjectName("cc"_L1);
    m_bcc->setObjectName("bcc"_L1);
    m_subject->setObjectName("subject"_L1);
    auto* const notices = new ComposeNotices(draft.notices);
    const auto sayRefused = [notices] {
        notices->add(tr("What was pasted is more than a field takes, and was left out."));
    };
    connect(subjectGate, &LineGate::refused, this, sayRefused);
    for (const AddressField* const field : {m_to, m_cc, m_bcc})
        connect(field, &AddressField::refused, this, sayRefused);
    m_formatBar = new FormatBar(m_editor);
    m_text = new ComposeEditor(draft.body, draft.initialHTML, draft.isRichText, m_editor);
    m_attachments = new AttachmentStrip;
    m_attachments->setAttachments(draft.attachments);

    // A window that is too small for large text scrolls.
    auto* const page = new QWidget;
    auto* const rows = new QVBoxLayout(page);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    for (QWidget* const row :
         std::initializer_list<QWidget*>{m_from, m_to, m_cc, m_bcc, subjectRow, notices, m_formatBar})
        rows->addWidget(row);
    rows->addWidget(m_text, 1);
    auto* const scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(page);
    scroll->viewport()->setAutoFillBackground(false);
    page->setAutoFillBackground(false);
    auto* const form = new QVBoxLayout(m_form);
    form->setContentsMargins(0, 0, 0, 0);
    form->setSpacing(0);
    form->addWidget(scroll, 1);
    form->addWidget(m_attachments);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    layout->addWidget(m_note);
    layout->addWidget(m_form, 1);
    fillAccounts();
    setShowsBcc(m_showBcc);
    followRichText();
    connect(&Style::shared(), &Style::changed, this, &ComposeView::applyStyle);
    applyStyle();
    // A field lays out its text anew each time that it is moved to another parent.
    m_to->setText(draft.to);
    m_cc->setText(draft.cc);
    m_bcc->setText(draft.bcc);
    subjectGate->load(draft.subject);
}

void ComposeView::connectForm()
{
    connect(m_toolbar, &ComposeToolbar::sendRequested, this, &ComposeView::send);
    connect(m_toolbar, &ComposeToolbar::attachRequested, this, &ComposeView::attach);
    connect(m_toolbar, &ComposeToolbar::bccRequested, this, &ComposeView::setShowsBcc);
    connect(m_toolbar, &ComposeToolbar::richTextRequested, this, [this](bool richText) {
        m_editor.setRichText(richText);
        followRichText();
    });
    connect(&m_model, &AppModel::accountsChanged, this, &ComposeView::fillAccounts);
    connect(m_accounts, &QComboBox::activated, this, [this] {
        m_draft.accountID = m_accounts->currentData().toUuid();
        followChange();
    });
    for (const AddressField* const field : {m_to, m_cc, m_bcc})
        connect(field, &AddressField::textChanged, this, &ComposeView::followChange);
    connect(m_to, &AddressField::focused, this, [this] { m_focus = Field::to; });
    connect(m_cc, &AddressField::focused, this, [this] { m_focus = Field::cc; });
    connect(m_bcc, &AddressField::focused, this, [this] { m_focus = Field::bcc; });
    m_subject->installEventFilter(this);
    m_text->textView().installEventFilter(this);
    connect(m_subject, &QLineEdit::textChanged, this, [this] {
        followChange();
        Q_EMIT titleChanged();
    });
    connect(&m_editor, &ComposeEditorController::textChanged, this, &ComposeView::followChange);
    connect(&m_editor, &ComposeEditorController::richTextChanged, this, &ComposeView::followRichText);
    connect(m_attachments, &AttachmentStrip::attachmentsChanged, this, &ComposeView::followChange);
    m_editor.onDropFiles = [this](const QList<QUrl>& files) { addFiles(files); };
    m_keepSoon.setSingleShot(true);
    m_keepAtLast.setSingleShot(true);
    connect(&m_keepSoon, &QTimer::timeout, this, &ComposeView::keep);
    connect(&m_keepAtLast, &QTimer::timeout, this, &ComposeView::keep);
}

void ComposeView::fillAccounts()
{
    m_accounts->clear();
    for (const Account& account : m_model.accounts()) {
        const QString name = account.displayName.value_or(QString());
        m_accounts->addItem(
            DisplayText::bounded(name.isEmpty() ? account.email : u"%1 <%2>"_s.arg(name, account.email)),
            account.id);
    }
    const bool isLost = m_accounts->findData(m_draft.accountID) < 0 && m_accounts->count() > 0;
    if (isLost) {
        // The account is gone, and the text must be able to leave by another.
        m_draft.accountID = m_model.accounts().first().id;
        m_isUnsaved = true;
        if (m_original)
            followChange();
    }
    m_accounts->setCurrentIndex(m_accounts->findData(m_draft.accountID));
    m_from->setVisible(m_model.accounts().size() > 1 || isLost);
}

void ComposeView::setInitialFocus()
{
    if (m_to->text().isEmpty())
        m_to->setFocus();
    else if (m_subject->text().isEmpty())
        m_subject->setFocus();
    else
        m_text->setFocus();
}

void ComposeView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!std::exchange(m_hasAppeared, true))
        setInitialFocus();
}

void ComposeView::followRichText()
{
    m_toolbar->setRichText(m_editor.isRichText());
    m_formatBar->setVisible(m_editor.isRichText());
}

void ComposeView::setShowsBcc(bool isShown)
{
    // Recipients that can't be seen must not stay.
    m_showBcc = isShown || !m_bcc->text().trimmed().isEmpty();
    m_bcc->setVisible(m_showBcc);
    m_toolbar->setShowsBcc(m_showBcc);
}

bool ComposeView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn)
        m_focus = watched == m_subject ? std::optional(Field::subject) : std::nullopt;
    return QWidget::eventFilter(watched, event);
}

void ComposeView::applyStyle()
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    QPalette surface = m_form->palette();
    surface.setColor(QPalette::Window, colors.surface);
    m_form->setPalette(surface);
    m_form->setAutoFillBackground(true);
    QPalette note = m_note->palette();
    note.setColor(QPalette::Window, colors.warningBackground);
    note.setColor(QPalette::WindowText, colors.warningText);
    m_note->setPalette(note);
    m_note->setAutoFillBackground(true);
    m_note->setFont(style.font(Style::Type::body));
    m_note->setContentsMargins(Style::largePadding, Style::smallPadding, Style::largePadding,
                               Style::smallPadding);
    m_note->setWordWrap(true);
    m_text->setMinimumHeight(style.scaled(6));
}

// --- The draft

ComposeDraft ComposeView::draft() const
{
    ComposeDraft draft = fields();
    draft.body = m_editor.text();
    draft.initialHTML = m_editor.html();
    return draft;
}

/// The draft without its text.
ComposeDraft ComposeView::fields() const
{
    ComposeDraft draft = m_draft;
    draft.to = m_to->text();
    draft.cc = m_cc->text();
    draft.bcc = m_bcc->text();
    draft.subject = m_subject->text();
    draft.isRichText = m_editor.isRichText();
    draft.attachments = m_attachments->attachments();
    return draft;
}

QString ComposeView::title() const
{
    return m_subject->text().isEmpty() ? tr("New Message") : m_subject->text();
}

bool ComposeView::hasUnsavedChanges() const
{
    if (!m_original)
        return false;
    return m_isUnsaved || m_isReading || m_to->text() != m_original->to || m_cc->text() != m_original->cc ||
           m_bcc->text() != m_original->bcc || m_subject->text() != m_original->subject || hasOtherText() ||
           idsOf(m_attachments->attachments()) != idsOf(m_original->attachments);
}

/// Whether the text, or how it looks, is another than the original.
bool ComposeView::hasOtherText() const
{
    if (!m_editor.isModified() || m_editor.isPasting() || m_editor.length() > longestCompared)
        return m_editor.isModified();
    if (m_compared.first != m_editor.revision())
        m_compared = {m_editor.revision(),
                      m_editor.text() != m_original->body || m_editor.html() != m_original->initialHTML};
    return m_compared.second;
}

void ComposeView::followChange()
{
    m_keepSoon.start(keepingDelay);
    if (!m_keepAtLast.isActive())
        m_keepAtLast.start(keepingInterval);
}

void ComposeView::keep()
{
    m_keepSoon.stop();
    m_keepAtLast.stop();
    if (!m_closeState->finished && hasUnsavedChanges())
        m_model.keepForRecovery(draft());
}

// --- Sending and saving

void ComposeView::send()
{
    deliver(Delivery::send);
}

void ComposeView::save()
{
    deliver(Delivery::save);
}

void ComposeView::deliver(Delivery delivery)
{
    if (m_sending || m_closeState->finished)
        return;
    // What still waits for files may become the other.
    if (std::exchange(m_delivery, delivery))
        return;
    if (m_hooks.deliveryBegan)
        m_hooks.deliveryBegan(draftID());
    spawn(runDelivery(this, &m_model, m_hooks, draftID()), dropFailure);
}

Task<> ComposeView::runDelivery(QPointer<ComposeView> view, QPointer<AppModel> model, Hooks hooks, QUuid id)
{
    const Outcome outcome = co_await delivered(view, model, hooks);
    if (view)
        view->m_delivery.reset();
    if (hooks.deliveryEnded)
        hooks.deliveryEnded(id, outcome);
}

/// Whether all files that were to be attached are; a message doesn't go out without one.
Task<bool> ComposeView::filesRead()
{
    const QPointer<ComposeView> self(this);
    const std::shared_ptr<Wakeup> end = m_filesEnd;
    const bool hasWaited = m_isReading;
    while (self && !m_isClosed && m_isReading)
        co_await end->wait(std::chrono::milliseconds(-1));
    co_return self && !m_isClosed && !(hasWaited && m_wasFileRefused);
}

/// Tells what a stored draft loses before it is replaced; false where the user would rather keep it.
Task<bool> ComposeView::lossesAccepted(Delivery delivery)
{
    const ComposeHTML::Losses& losses = m_editor.losses();
    if (!m_draft.draftMessageID || losses.isEmpty() || m_hasAcceptedLosses)
        co_return true;
    QStringList lost;
    if (losses.images)
        lost.append(tr("images"));
    if (losses.styles)
        lost.append(tr("style sheets"));
    if (losses.tables)
        lost.append(tr("large tables"));
    if (losses.cells)
        lost.append(tr("the look of table cells"));
    if (losses.rules)
        lost.append(tr("horizontal lines"));
    QMessageBox* const alert =
        makePlainAlert(tr("Not all of this draft can be kept."),
                       tr("The stored draft holds %1, which will be lost when it is replaced.")
                           .arg(QLocale().createSeparatedList(lost)),
                       QMessageBox::NoButton, window());
    alert->setObjectName("lossAlert"_L1);
    QPushButton* const replace = addDestructiveButton(
        *alert, delivery == Delivery::send ? tr("Send Anyway") : tr("Save Anyway"), QMessageBox::ActionRole);
    QPushButton* const cancel = alert->addButton(tr("Cancel"), QMessageBox::ActionRole);
    alert->setDefaultButton(cancel);
    alert->setEscapeButton(cancel);
    const QPointer<ComposeView> self(this);
    const QList<QAbstractButton*> buttons{replace, cancel};
    const qsizetype answer = co_await answerTo(alert, buttons);
    if (self)
        m_hasAcceptedLosses = answer == 0;
    co_return answer == 0;
}

/// What becomes of a text that may have gone out already.
Task<SendAgain::Decision> ComposeView::sendAgainDecided()
{
    const QPointer<ComposeView> self(this);
    const ComposeDraft written = draft();
    if (!written.wasSending || !written.attempt)
        co_return SendAgain::Decision::send;
    m_toolbar->setProgress(tr("Looking in Sent…"));
    const Larkhaven::Outcome<bool> look = co_await settled(m_model.wasSent(written));
    if (!self || m_isClosed)
        co_return SendAgain::Decision::stay;
    m_toolbar->setProgress({});
    const SendAgain::Decision decision = co_await SendAgain::ask(look, window());
    co_return decision;
}

Task<ComposeView::Outcome> ComposeView::delivered(QPointer<ComposeView> view, QPointer<AppModel> model,
                                                  Hooks hooks)
{
    const bool isComplete = co_await view->filesRead();
    if (!view || view->m_isClosed)
        co_return Outcome::dropped;
    if (!isComplete)
        co_return Outcome::failed;
    co_await view->m_editor.pastesEnded();
    if (!view || view->m_isClosed)
        co_return Outcome::dropped;
    const Delivery delivery = *view->m_delivery;
    const bool isAccepted = co_await view->lossesAccepted(delivery);
    if (!view || view->m_isClosed)
        co_return Outcome::dropped;
    if (!isAccepted)
        co_return Outcome::failed;
    if (delivery == Delivery::send) {
        const SendAgain::Decision decision = co_await view->sendAgainDecided();
        if (!view || view->m_isClosed)
            co_return Outcome::dropped;
        if (decision == SendAgain::Decision::stay)
            co_return Outcome::failed;
        if (decision == SendAgain::Decision::close) {
            model->closeCompose(view->draftID());
            view->finish();
            co_return Outcome::done;
        }
        view->m_draft.attempt = SendAgain::attempt(*model, view->draft());
    }
    ComposeDraft draft = view->draft();
    const bool wasSending = draft.wasSending;
    // It may end with the process.
    draft.wasSending = wasSending || delivery == Delivery::send;
    view->m_draft.wasSending = draft.wasSending;
    view->m_keepSoon.stop();
    view->m_keepAtLast.stop();
    model->keepForRecovery(draft);
    view->setSending(true, delivery == Delivery::send ? tr("Sending…") : tr("Saving…"));
    std::exception_ptr error;
    try {
        if (delivery == Delivery::send)
            co_await model->send(draft);
        else
            co_await model->saveDraft(draft);
    } catch (...) {
        error = std::current_exception();
    }
    if (!model)
        co_return Outcome::dropped;
    if (!error) {
        model->closeCompose(draft.id);
        if (view && !view->m_isClosed)
            view->finish();
        co_return Outcome::done;
    }
    const QString title = delivery == Delivery::send ? tr("Message Not Sent") : tr("Draft Not Saved");
    Failure failure{title, localizedText(error)};
    draft.wasSending = wasSending;
    if (delivery == Delivery::send && SendAgain::mayHaveGoneOut(error)) {
        draft.wasSending = true;
        failure = {tr("Message May Have Been Sent"),
                   tr("%1 The text is kept. Before it goes out again, Larkhaven looks for it in Sent.")
                       .arg(localizedText(error))};
    }
    if (view && !view->m_isClosed) {
        view->m_draft.wasSending = draft.wasSending;
        view->failed(failure);
    } else {
        model->keepForRecovery(draft);
        if (hooks.lateFailure)
            hooks.lateFailure(draft, failure);
    }
    co_return Outcome::failed;
}

void ComposeView::failed(const Failure& failure)
{
    setSending(false, {});
    // What is kept must not say any more that it was being sent. The account may be another one by now.
    m_model.keepForRecovery(draft());
    showError(failure);
}

void ComposeView::finish()
{
    m_closeState->finished = true;
    if (m_closeState->window)
        m_closeState->window->close();
}

void ComposeView::discard()
{
    m_closeState->finished = true;
    m_keepSoon.stop();
    m_keepAtLast.stop();
    if (m_closeState->window)
        m_closeState->window->close();
}

void ComposeView::setSending(bool sending, const QString& progress)
{
    if (sending)
        m_lastFocus =
            m_form->isAncestorOf(QApplication::focusWidget()) ? QApplication::focusWidget() : nullptr;
    m_sending = sending;
    m_form->setEnabled(!sending);
    m_toolbar->setCommandsEnabled(!sending);
    m_toolbar->setProgress(progress);
    if (!sending && m_lastFocus)
        m_lastFocus->setFocus();
}

void ComposeView::showError(const Failure& failure)
{
    if (m_alert)
        m_alert->close();
    m_error = failure;
    m_alert = makePlainAlert(failure.title, failure.text, QMessageBox::Ok, window());
    m_alert->setObjectName("composeAlert"_L1);
    connect(m_alert, &QMessageBox::finished, this, [this] { m_error.reset(); });
    m_alert->open();
}

// --- Closing

bool ComposeView::shouldClose()
{
    if (m_closeState->finished || m_sending || !hasUnsavedChanges())
        return true;
    spawn(closeIfWanted(), dropFailure);
    return false;
}

Task<> ComposeView::closeIfWanted()
{
    const QPointer<ComposeView> self(this);
    const Choice choice = co_await askToSave();
    if (self)
        carryOut(choice);
}

Task<ComposeView::Choice> ComposeView::askToSave()
{
    if (m_sheet)
        m_sheet->reject();
    m_sheet =
        makePlainAlert(tr("Do you want to save this message as a draft?"),
                       tr("If you don't save, your changes will be lost."), QMessageBox::NoButton, window());
    m_sheet->setObjectName("saveSheet"_L1);
    // Buttons of one role stand in the order in which they are added, whatever the desktop's own order is.
    QPushButton* const save = m_sheet->addButton(tr("Save"), QMessageBox::ActionRole);
    QPushButton* const discard = addDestructiveButton(*m_sheet, tr("Don't Save"), QMessageBox::ActionRole);
    QPushButton* const cancel = m_sheet->addButton(tr("Cancel"), QMessageBox::ActionRole);
    m_sheet->setDefaultButton(save);
    m_sheet->setEscapeButton(cancel);
    const QList<QAbstractButton*> buttons{save, discard, cancel};
    const qsizetype answer = co_await answerTo(m_sheet, buttons);
    co_return answer == 0 ? Choice::save : answer == 1 ? Choice::discard : Choice::cancel;
}

void ComposeView::carryOut(Choice choice)
{
    if (choice == Choice::save)
        save();
    else if (choice == Choice::discard)
        discard();
}

// --- Files

void ComposeView::attach()
{
    if (std::exchange(m_choosingFiles, true))
        return;
    const QPointer<ComposeView> self(this);
    m_desktop.chooseFiles(window(), [self](const QList<QUrl>& files) {
        if (!self)
            return;
        self->m_choosingFiles = false;
        self->addFiles(files);
    });
}

void ComposeView::addFiles(const QList<QUrl>& files)
{
    if (files.isEmpty() || m_sending)
        return;
    m_waitingFiles.append(files);
    if (!m_isReading)
        spawn(readFiles(m_waitingFiles.takeFirst()), dropFailure);
}

/// Reads one list of files after the other, so that each knows the total of those before it.
Task<> ComposeView::readFiles(QList<QUrl> files)
{
    const QPointer<ComposeView> self(this);
    m_isReading = true;
    m_toolbar->setProgress(tr("Attaching…"));
    QStringList refused;
    while (true) {
        const qint64 total = m_attachments->total();
        const auto work = [read = m_desktop.readFiles, files, total] {
            return read(files, total, MessageComposer::maxAttachmentBytes);
        };
        const ComposeFiles::Files added = co_await runOnWorker(work);
        if (!self)
            co_return;
        if (!added.attachments.isEmpty())
            m_attachments->setAttachments(m_attachments->attachments() + added.attachments);
        refused += added.refused;
        if (m_waitingFiles.isEmpty())
            break;
        files = m_waitingFiles.takeFirst();
    }
    m_isReading = false;
    m_toolbar->setProgress({});
    if (!refused.isEmpty())
        showError({tr("Some Files Weren’t Attached"),
                   ComposeFiles::refusal(refused, MessageComposer::maxAttachmentBytes)});
    m_wasFileRefused = !refused.isEmpty();
    m_filesEnd->notify();
}

} // namespace Larkhaven
