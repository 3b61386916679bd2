#include "views/compose/ComposeView.h"

#include "format/MessageComposer.h"
#include "platform/Tasks.h"
#include "views/compose/AttachmentStrip.h"
#include "views/compose/ComposeToolbar.h"
#include "views/style/PlainAlert.h"
#include "views/style/Roles.h"

#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

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
    , m_closeState(std::move(closeState))
    , m_desktop(std::move(desktop))
    , m_toolbar(new ComposeToolbar)
    , m_note(new QLabel)
    , m_form(new ComposeForm(draft, model.defaults(), contacts))
    , m_files(new ComposeFileReader(
          m_desktop.readFiles, [this] { return m_form->attachments().total(); }, this))
    , m_isQuitting(hooks.isQuitting)
    , m_session(new ComposeSession(model, draft, isUnsaved, *this, std::move(hooks), this))
{
    setObjectName("compose"_L1);
    build(draft);
    connectParts();
    m_session->begin();
}

ComposeView::~ComposeView()
{
    // They ask this surface.
    delete m_session;
    delete m_files;
}

void ComposeView::build(const ComposeDraft& draft)
{
    m_note->setObjectName("recoveredNote"_L1);
    m_note->setText(
        draft.wasSending
            ? tr("This was being sent when Larkhaven ended. Look in Sent before you send it again.")
            : tr("Recovered after Larkhaven ended unexpectedly."));
    m_note->setVisible(m_model.isRecovered(draft.id));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    layout->addWidget(m_note);
    layout->addWidget(m_form, 1);
    followAccounts();
    m_toolbar->setRichText(draft.isRichText);
    m_toolbar->setShowsBcc(m_form->showsBcc());
    setRole(*m_note, Role::notice);
    m_note->setWordWrap(true);
}

void ComposeView::connectParts()
{
    connect(m_toolbar, &ComposeToolbar::sendRequested, this, &ComposeView::send);
    connect(m_toolbar, &ComposeToolbar::saveRequested, this, &ComposeView::save);
    connect(m_toolbar, &ComposeToolbar::attachRequested, this, &ComposeView::attach);
    connect(m_toolbar, &ComposeToolbar::bccRequested, m_form, &ComposeForm::setShowsBcc);
    connect(m_toolbar, &ComposeToolbar::richTextRequested, m_form, &ComposeForm::setRichText);
    connect(m_form, &ComposeForm::showsBccChanged, this,
            [this] { m_toolbar->setShowsBcc(m_form->showsBcc()); });
    connect(m_form, &ComposeForm::richTextChanged, this,
            [this] { m_toolbar->setRichText(m_form->editor().isRichText()); });
    connect(m_form, &ComposeForm::changed, m_session, &ComposeSession::followChange);
    connect(m_form, &ComposeForm::accountChosen, m_session, &ComposeSession::setAccount);
    connect(m_form, &ComposeForm::subjectChanged, this, &ComposeView::titleChanged);
    connect(&m_model, &AppModel::accountsChanged, this, &ComposeView::followAccounts);
    for (const auto& [chord, step] :
         {std::pair(QKeySequence(Qt::Key_F6), 1), std::pair(QKeySequence(Qt::SHIFT | Qt::Key_F6), -1)})
        connect(new QShortcut(chord, this), &QShortcut::activated, this,
                [this, step = step] { moveFocus(step); });
    m_form->editor().onDropFiles = [this](const QList<QUrl>& files) { addFiles(files); };
    m_form->editor().onPasteFiles = [this](const QList<QUrl>& files) {
        spawn(offerToAttach(ComposeFiles::names(files), [this, files] { addFiles(files); }), dropFailure);
    };
    m_form->editor().onPasteImage = [this](const ComposeFiles::Image& image) {
        const auto add = [this, image] {
            if (!isSending())
                m_files->add(image);
        };
        spawn(offerToAttach(tr("An image"), add), dropFailure);
    };
    connect(m_files, &ComposeFileReader::began, this, [this] { showProgress(tr("Attaching…")); });
    connect(m_files, &ComposeFileReader::found, this, [this](const QList<OutgoingAttachment>& found) {
        m_form->attachments().setAttachments(m_form->attachments().attachments() + found);
    });
    connect(m_files, &ComposeFileReader::finished, this, [this](const QStringList& refused) {
        showProgress({});
        if (!refused.isEmpty())
            showError({tr("Some Files Weren’t Attached"),
                       ComposeFiles::refusal(refused, MessageComposer::maxAttachmentBytes)});
    });
}

void ComposeView::followAccounts()
{
    const bool wasRescued = m_session->rescue();
    m_form->setAccounts(m_model.accounts(), m_session->accountID(), wasRescued);
}

void ComposeView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!std::exchange(m_hasAppeared, true))
        m_form->setInitialFocus();
}

/// Gives the keyboard to the next part of the window, or to the one before.
void ComposeView::moveFocus(int step)
{
    QList<ComposeForm::FocusPart> parts = m_form->focusParts();
    parts.append({m_toolbar, [this] { m_toolbar->takeFocus(Qt::OtherFocusReason); }});
    const QWidget* const focus = QApplication::focusWidget();
    const auto holdsFocus = [focus](const ComposeForm::FocusPart& part) {
        return focus && (part.part == focus || part.part->isAncestorOf(focus));
    };
    const auto now = std::ranges::find_if(parts, holdsFocus) - parts.begin();
    parts[(now + step + parts.size()) % parts.size()].takeFocus();
}

QString ComposeView::title() const
{
    const QString subject = m_form->subject();
    return subject.isEmpty() ? tr("New Message") : subject;
}

// --- What its session asks

ComposeView::TextState ComposeView::textState() const
{
    const ComposeEditorController& editor = m_form->editor();
    return {editor.isModified(), editor.isPasting(), editor.length(), editor.revision()};
}

Task<bool> ComposeView::complete()
{
    const QPointer<ComposeView> self(this);
    const bool areRead = co_await m_files->ended();
    if (!self || !areRead)
        co_return false;
    co_await m_form->editor().pastesEnded();
    co_return !self.isNull();
}

Task<bool> ComposeView::acceptLosses(Delivery delivery)
{
    const ComposeHTML::Losses& losses = m_form->editor().losses();
    if (losses.isEmpty())
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
    const QList<QAbstractButton*> buttons{replace, cancel};
    const qsizetype answer = co_await answerTo(alert, buttons, turn());
    co_return answer == 0;
}

Task<SendAgain::Decision> ComposeView::askToSendAgain(Larkhaven::Outcome<bool> look)
{
    const SendAgain::Decision decision = co_await SendAgain::ask(look, window(), turn());
    co_return decision;
}

void ComposeView::showProgress(const QString& text)
{
    m_toolbar->setProgress(text);
}

void ComposeView::showSending(bool isSending)
{
    QWidget* const focus = QApplication::focusWidget();
    if (isSending)
        m_lastFocus = m_form->isAncestorOf(focus) ? focus : nullptr;
    m_form->setEnabled(!isSending);
    m_toolbar->setCommandsEnabled(!isSending);
    if (!isSending && m_lastFocus)
        m_lastFocus->setFocus();
}

AlertTurn ComposeView::turn() const
{
    return m_isQuitting && m_isQuitting() ? AlertTurn::now : AlertTurn::whenActive;
}

void ComposeView::showError(const Failure& failure)
{
    if (m_alert)
        m_alert->close();
    m_error = failure;
    m_alert = makePlainAlert(failure.title, failure.text, QMessageBox::Ok, window());
    m_alert->setObjectName("composeAlert"_L1);
    connect(m_alert, &QMessageBox::finished, this, [this] { m_error.reset(); });
    if (turn() == AlertTurn::now)
        m_alert->open();
    else
        openWhenActive(*m_alert);
}

// --- Closing

void ComposeView::closeWindow()
{
    m_closeState->finished = true;
    if (m_closeState->window)
        m_closeState->window->close();
}

void ComposeView::noteClosed()
{
    m_session->noteClosed();
    m_files->stop();
}

bool ComposeView::shouldClose()
{
    if (m_closeState->finished || isSending() || !hasUnsavedChanges())
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

Task<> ComposeView::offerToAttach(QString what, std::function<void()> attach)
{
    QMessageBox* const offer =
        makePlainAlert(tr("Do you want to attach what you pasted?"), what, QMessageBox::NoButton, window());
    offer->setObjectName("attachOffer"_L1);
    setAlertSymbol(*offer, Symbol::paperclip);
    QPushButton* const yes = offer->addButton(tr("Attach"), QMessageBox::ActionRole);
    QPushButton* const no = offer->addButton(tr("Cancel"), QMessageBox::ActionRole);
    offer->setDefaultButton(yes);
    offer->setEscapeButton(no);
    const QPointer<ComposeView> self(this);
    const QList<QAbstractButton*> buttons{yes, no};
    const qsizetype answer = co_await answerTo(offer, buttons);
    if (self && answer == 0)
        attach();
}

void ComposeView::addFiles(const QList<QUrl>& files)
{
    if (!isSending())
        m_files->add(files);
}

} // namespace Larkhaven
