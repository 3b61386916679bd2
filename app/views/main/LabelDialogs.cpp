#include "views/main/LabelDialogs.h"

#include "domain/Text.h"
#include "views/style/DisplayText.h"
#include "views/style/PlainAlert.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

LabelDialogs::LabelDialogs(AppModel& model, QWidget* window)
    : QObject(window)
    , m_model(model)
    , m_window(window)
{
    connect(&model, &AppModel::labelEditChanged, this, &LabelDialogs::followEdit);
    connect(&model, &AppModel::labelDeletionChanged, this, &LabelDialogs::followDeletion);
}

QString LabelDialogs::noun(const QUuid& accountID) const
{
    const auto account = std::ranges::find(m_model.accounts(), accountID, &Account::id);
    return account == m_model.accounts().end() ? m_model.labelNoun() : AppModel::labelNoun(account->provider);
}

QString LabelDialogs::title(const AppModel::LabelEdit& edit) const
{
    if (const auto* const rename = std::get_if<AppModel::LabelEdit::Rename>(&edit.kind))
        return tr("Rename “%1”").arg(rename->label.name());
    const auto& create = std::get<AppModel::LabelEdit::Create>(edit.kind);
    return create.parent ? tr("New %1 in “%2”").arg(noun(edit.accountID), create.parent->name())
                         : tr("New %1").arg(noun(edit.accountID));
}

QDialog* LabelDialogs::makeSheet(const AppModel::LabelEdit& edit)
{
    const auto* const rename = std::get_if<AppModel::LabelEdit::Rename>(&edit.kind);
    auto* const sheet = new QDialog(m_window);
    sheet->setObjectName("labelSheet"_L1);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setWindowTitle(DisplayText::bounded(title(edit)));
    Style::shared().follow(sheet, [sheet] { sheet->setMinimumWidth(Style::shared().scaled(28)); });

    auto* const heading = new QLabel(DisplayText::bounded(title(edit)));
    heading->setTextFormat(Qt::PlainText);
    heading->setWordWrap(true);
    setRole(*heading, Role::subhead);
    // A field shows what a title would. Left as it is, it stands for the name as the server has it.
    const QString given = rename ? rename->label.name() : QString();
    const QString shown = DisplayText::bounded(given);
    auto* const name = new QLineEdit(shown);
    name->setObjectName("labelName"_L1);
    name->setPlaceholderText(tr("Name"));
    name->setAccessibleName(tr("Name"));
    name->selectAll();
    auto* const hint = new QLabel(tr("Use “/” to nest, e.g. Travel/2026."));
    setRole(*hint, Role::caption);

    auto* const cancel = new QPushButton(tr("Cancel"));
    auto* const apply = new QPushButton(rename ? tr("Rename") : tr("Create"));
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(apply);
    cancel->setAutoDefault(false);
    apply->setObjectName("labelApply"_L1);
    apply->setDefault(true);
    const auto followName = [apply](const QString& text) {
        apply->setEnabled(!Text::trimmedSpaceAndLineEnds(text).isEmpty());
    };
    followName(name->text());
    connect(name, &QLineEdit::textChanged, apply, followName);
    connect(apply, &QPushButton::clicked, sheet, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, sheet, &QDialog::reject);
    connect(sheet, &QDialog::accepted, this, [this, edit, name, given, shown] {
        const QString chosen = name->text() == shown ? given : name->text();
        m_model.start(m_model.applyLabelEdit(edit, chosen), edit.accountID);
    });
    connect(sheet, &QDialog::rejected, this, [this, edit] {
        // A dialog that another has replaced leaves that one alone.
        if (m_model.labelEdit() == edit)
            m_model.clearLabelEdit();
    });

    auto* const layout = new QVBoxLayout(sheet);
    layout->setContentsMargins(Style::largePadding, Style::largePadding, Style::largePadding,
                               Style::largePadding);
    layout->setSpacing(Style::smallPadding);
    layout->addWidget(heading);
    layout->addWidget(name);
    layout->addWidget(hint);
    layout->addSpacing(Style::smallPadding);
    layout->addLayout(buttons);
    return sheet;
}

void LabelDialogs::followEdit()
{
    if (m_sheet)
        m_sheet->close();
    m_sheet.clear();
    if (!m_model.labelEdit())
        return;
    m_sheet = makeSheet(*m_model.labelEdit());
    m_sheet->open();
}

void LabelDialogs::followDeletion()
{
    if (m_question)
        m_question->close();
    m_question.clear();
    const std::optional<AppModel::LabelDeletion>& deletion = m_model.labelDeletion();
    if (!deletion)
        return;
    const auto account = std::ranges::find(m_model.accounts(), deletion->accountID, &Account::id);
    const bool isGoogle = account != m_model.accounts().end() && account->provider == ProviderKind::google;
    const QString text =
        isGoogle
            ? tr("The label is removed from its messages; the messages stay in All Mail. Labels nested "
                 "inside it are kept.")
            : tr("The folder and every message in it are deleted from the server. This can’t be undone.");
    m_question = makePlainAlert(tr("Delete %1 “%2”?").arg(noun(deletion->accountID), deletion->label.name()),
                                text, QMessageBox::Cancel, m_window);
    m_question->setObjectName("labelDeletion"_L1);
    QPushButton* const remove = addDestructiveButton(*m_question, tr("Delete"), QMessageBox::DestructiveRole);
    remove->setObjectName("confirmDeletion"_L1);
    m_question->setDefaultButton(QMessageBox::Cancel);
    connect(m_question, &QMessageBox::finished, this, [this, remove, asked = *deletion, box = m_question] {
        if (box && box->clickedButton() == remove)
            m_model.start(m_model.confirmLabelDeletion(asked), asked.accountID);
        else if (m_model.labelDeletion() == asked)
            m_model.clearLabelDeletion();
    });
    m_question->open();
}

} // namespace Larkhaven
