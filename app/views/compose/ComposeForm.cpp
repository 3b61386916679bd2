#include "views/compose/ComposeForm.h"

#include "model/DraftGate.h"
#include "views/compose/AddressField.h"
#include "views/compose/AttachmentStrip.h"
#include "views/compose/ComposeEditor.h"
#include "views/compose/ComposeNotices.h"
#include "views/compose/ComposeRow.h"
#include "views/compose/FormatBar.h"
#include "views/compose/LineGate.h"
#include "views/style/DisplayText.h"
#include "views/style/Picker.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ComposeForm::ComposeForm(const ComposeDraft& draft, UserDefaults& defaults, ContactsService& contacts,
                         QWidget* parent)
    : QWidget(parent)
    , m_fields(new QWidget)
    , m_accounts(new Picker(Picker::Frame::none))
    , m_from(new ComposeRow(tr("From:"), m_accounts))
    , m_to(new AddressField(tr("To:"), defaults, contacts))
    , m_cc(new AddressField(tr("Cc:"), defaults, contacts))
    , m_bcc(new AddressField(tr("Bcc:"), defaults, contacts))
    , m_subject(new QLineEdit)
    , m_subjectGate(new LineGate(DraftGate::longestLine, m_subject))
    , m_notices(new ComposeNotices(draft.notices))
    , m_attachments(new AttachmentStrip)
{
    setObjectName("form"_L1);
    m_from->setObjectName("from"_L1);
    m_to->setObjectName("to"_L1);
    m_cc->setObjectName("cc"_L1);
    m_bcc->setObjectName("bcc"_L1);
    m_subject->setObjectName("subject"_L1);
    m_editor.setBaseFont(defaults.text(DefaultsKey::composeFontFamily),
                         defaults.real(DefaultsKey::composeFontSize));
    m_formatBar = new FormatBar(m_editor);
    m_text = new ComposeEditor(draft.body, draft.initialHTML, draft.isRichText, m_editor);
    m_attachments->setAttachments(draft.attachments);
    layOut(new ComposeRow(tr("Subject:"), m_subject));
    setShowsBcc(!draft.bcc.isEmpty());
    followRichText();
    setRole(*this, Role::surface);
    Style::shared().follow(this, [this] { m_text->setMinimumHeight(Style::shared().scaled(6)); });
    // A field lays out its text anew each time that it is moved to another parent.
    m_to->setText(draft.to);
    m_cc->setText(draft.cc);
    m_bcc->setText(draft.bcc);
    m_subjectGate->load(draft.subject);
    connectFields();
    m_lastField = &m_to->line();
}

void ComposeForm::layOut(QWidget* subjectRow)
{
    // A window that is too small for large text scrolls.
    auto* const page = new QWidget;
    auto* const rows = new QVBoxLayout(page);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    auto* const fields = new QVBoxLayout(m_fields);
    fields->setContentsMargins(0, 0, 0, 0);
    fields->setSpacing(0);
    for (QWidget* const row : std::initializer_list<QWidget*>{m_from, m_to, m_cc, m_bcc, subjectRow})
        fields->addWidget(row);
    for (QWidget* const row : std::initializer_list<QWidget*>{m_fields, m_notices, m_formatBar})
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
    auto* const form = new QVBoxLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->setSpacing(0);
    form->addWidget(scroll, 1);
    form->addWidget(m_attachments);
}

void ComposeForm::connectFields()
{
    const auto sayRefused = [this] {
        m_notices->add(tr("What was pasted is more than a field takes, and was left out."));
    };
    connect(m_subjectGate, &LineGate::refused, this, sayRefused);
    for (const auto& [field, which] :
         {std::pair(m_to, Field::to), std::pair(m_cc, Field::cc), std::pair(m_bcc, Field::bcc)}) {
        connect(field, &AddressField::refused, this, sayRefused);
        connect(field, &AddressField::textChanged, this, &ComposeForm::changed);
        connect(field, &AddressField::focused, this, [this, which = which] { m_focus = which; });
    }
    connect(qApp, &QApplication::focusChanged, &m_focusWatch, [this](const QWidget*, QWidget* now) {
        if (now && m_fields->isAncestorOf(now))
            m_lastField = now;
    });
    m_subject->installEventFilter(this);
    m_text->textView().installEventFilter(this);
    connect(m_accounts, &QComboBox::activated, this,
            [this] { Q_EMIT accountChosen(m_accounts->currentData().toUuid()); });
    connect(m_subject, &QLineEdit::textChanged, this, [this] {
        Q_EMIT changed();
        Q_EMIT subjectChanged();
    });
    connect(&m_editor, &ComposeEditorController::textChanged, this, &ComposeForm::changed);
    connect(&m_editor, &ComposeEditorController::richTextChanged, this, &ComposeForm::followRichText);
    connect(m_attachments, &AttachmentStrip::attachmentsChanged, this, &ComposeForm::changed);
    connect(&m_editor.spelling(), &ComposeSpelling::languagesChanged, this, &ComposeForm::followLanguages);
    followLanguages();
}

void ComposeForm::followLanguages()
{
    if (const QString missing = m_editor.spelling().takeMissing(); !missing.isEmpty())
        m_notices->add(tr("There is no dictionary for %1, so its spelling isn’t checked.").arg(missing));
}

// --- What it shows

ComposeDraft ComposeForm::fields(ComposeDraft draft) const
{
    draft.to = m_to->text();
    draft.cc = m_cc->text();
    draft.bcc = m_bcc->text();
    draft.subject = m_subject->text();
    draft.isRichText = m_editor.isRichText();
    draft.attachments = m_attachments->attachments();
    return draft;
}

ComposeDraft ComposeForm::text(ComposeDraft draft) const
{
    draft.body = m_editor.text();
    draft.initialHTML = m_editor.html();
    return draft;
}

QString ComposeForm::subject() const
{
    return m_subject->text();
}

void ComposeForm::setAccounts(const QList<Account>& accounts, const QUuid& current, bool isShown)
{
    m_accounts->clear();
    for (const Account& account : accounts) {
        const QString name = account.displayName.value_or(QString());
        m_accounts->addItem(
            DisplayText::bounded(name.isEmpty() ? account.email : u"%1 <%2>"_s.arg(name, account.email)),
            account.id);
    }
    m_accounts->setCurrentIndex(m_accounts->findData(current));
    m_from->setVisible(accounts.size() > 1 || isShown);
}

void ComposeForm::setShowsBcc(bool isShown)
{
    // Recipients that can't be seen must not stay.
    m_showsBcc = isShown || !m_bcc->text().trimmed().isEmpty();
    m_bcc->setVisible(m_showsBcc);
    Q_EMIT showsBccChanged();
}

void ComposeForm::setRichText(bool richText)
{
    m_editor.setRichText(richText);
    followRichText();
}

void ComposeForm::followRichText()
{
    m_formatBar->setVisible(m_editor.isRichText());
    Q_EMIT richTextChanged();
}

// --- The keyboard

void ComposeForm::setInitialFocus()
{
    if (m_to->text().isEmpty())
        m_to->setFocus();
    else if (m_subject->text().isEmpty())
        m_subject->setFocus();
    else
        m_text->setFocus();
}

QList<ComposeForm::FocusPart> ComposeForm::focusParts() const
{
    QList<FocusPart> parts{
        {m_fields, [this] { m_lastField->setFocus(Qt::OtherFocusReason); }},
        {m_text, [this] { m_text->setFocus(Qt::OtherFocusReason); }},
        {m_formatBar, [this] { m_formatBar->takeFocus(Qt::OtherFocusReason); }},
        {m_attachments, [this] { m_attachments->takeFocus(Qt::OtherFocusReason); }},
    };
    parts.removeIf([](const FocusPart& part) { return !part.part->isVisible(); });
    return parts;
}

/// From the last field the keyboard goes to the text: the format bar stands between them, and is a step back.
bool ComposeForm::isStepToText(const QEvent& event) const
{
    if (event.type() != QEvent::KeyPress)
        return false;
    const auto& key = static_cast<const QKeyEvent&>(event);
    return key.key() == Qt::Key_Tab && key.modifiers() == Qt::NoModifier;
}

bool ComposeForm::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_subject && isStepToText(*event)) {
        m_text->setFocus(Qt::TabFocusReason);
        return true;
    }
    if (event->type() == QEvent::FocusIn)
        m_focus = watched == m_subject ? std::optional(Field::subject) : std::nullopt;
    return QWidget::eventFilter(watched, event);
}

} // namespace Larkhaven
