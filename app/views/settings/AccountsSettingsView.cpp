#include "views/settings/AccountsSettingsView.h"

#include "domain/PlatformWords.h"
#include "views/settings/AccountForm.h"
#include "views/settings/AccountRowDelegate.h"
#include "views/settings/AccountsListModel.h"
#include "views/setup/AddAccountItems.h"
#include "views/style/FlatButton.h"
#include "views/style/PlainAlert.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

AccountsSettingsView::AccountsSettingsView(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_accounts(new AccountsListModel(model, this))
    , m_list(new QListView)
    , m_add(new FlatButton(Symbol::plus, tr("Add Account")))
    , m_remove(new FlatButton(Symbol::minus, tr("Remove Account")))
    , m_detail(new QStackedWidget(this))
    , m_hint(new QLabel)
    , m_formArea(new QScrollArea(m_detail))
    , m_form(new AccountForm(model, m_formArea->viewport()))
{
    setObjectName("accountsSettings"_L1);
    m_hint->setObjectName("accountsHint"_L1);
    setRole(*m_hint, Role::secondary);
    m_hint->setAlignment(Qt::AlignCenter);
    m_hint->setWordWrap(true);
    m_formArea->setFrameShape(QFrame::NoFrame);
    m_formArea->setWidgetResizable(true);
    m_formArea->setFocusPolicy(Qt::NoFocus);
    m_formArea->setWidget(m_form);
    m_detail->addWidget(m_hint);
    m_detail->addWidget(m_formArea);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::largePadding, Style::largePadding, 0, Style::largePadding);
    layout->setSpacing(0);
    layout->addWidget(makeSide());
    layout->addWidget(m_detail, 1);
    connect(m_form, &AccountForm::setupRequested, this, &AccountsSettingsView::setupRequested);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &AccountsSettingsView::followSelection);
    connect(m_accounts, &QAbstractItemModel::modelReset, this, &AccountsSettingsView::followList);
    Style::shared().follow(this, [this] {
        m_list->setFixedWidth(Style::shared().scaled(17));
        m_list->doItemsLayout();
    });
    followSelection();
}

QWidget* AccountsSettingsView::makeSide()
{
    m_list->setObjectName("accountsList"_L1);
    m_list->setAccessibleName(tr("Accounts"));
    setRole(*m_list, Role::field);
    m_list->setModel(m_accounts);
    m_list->setItemDelegate(new AccountRowDelegate(m_list));
    m_list->setMouseTracking(true);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setDragDropMode(QAbstractItemView::InternalMove);
    m_list->setDefaultDropAction(Qt::MoveAction);
    m_list->setDropIndicatorShown(true);
    m_list->setContextMenuPolicy(Qt::ActionsContextMenu);
    addMoving(tr("Move Up"), Qt::ALT | Qt::Key_Up, -1);
    addMoving(tr("Move Down"), Qt::ALT | Qt::Key_Down, 1);

    m_add->setObjectName("accountsAdd"_L1);
    m_add->setPopupMode(QToolButton::InstantPopup);
    m_add->setFocusPolicy(Qt::StrongFocus);
    auto* const menu = new QMenu(m_add);
    AddAccountItems::fillShort(*menu, m_model, [this] { Q_EMIT setupRequested(); });
    m_add->setMenu(menu);
    m_remove->setObjectName("accountsRemove"_L1);
    m_remove->setFocusPolicy(Qt::StrongFocus);
    connect(m_remove, &QToolButton::clicked, this, &AccountsSettingsView::askToRemove);

    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(Style::grid);
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    buttons->addStretch();
    auto* const side = new QWidget;
    auto* const layout = new QVBoxLayout(side);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Style::grid);
    layout->addWidget(m_list, 1);
    layout->addLayout(buttons);
    return side;
}

void AccountsSettingsView::addMoving(const QString& text, const QKeySequence& keys, int step)
{
    auto* const action = new QAction(text, m_list);
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WidgetShortcut);
    connect(action, &QAction::triggered, this, [this, step] { move(step); });
    m_list->addAction(action);
}

void AccountsSettingsView::move(int step)
{
    const QModelIndex index = m_list->currentIndex();
    if (!index.isValid())
        return;
    // Told as the place before which it goes.
    const int destination = step < 0 ? index.row() - 1 : index.row() + 2;
    if (destination >= 0)
        m_accounts->moveRow({}, index.row(), {}, destination);
}

std::optional<QUuid> AccountsSettingsView::selected() const
{
    const QModelIndexList indexes = m_list->selectionModel()->selectedIndexes();
    return indexes.isEmpty() ? std::nullopt
                             : std::optional(indexes.first().data(AccountsListModel::idRole).toUuid());
}

void AccountsSettingsView::select(const QUuid& accountID)
{
    const QModelIndex index = m_accounts->find(accountID);
    if (index.isValid())
        m_list->setCurrentIndex(index);
}

void AccountsSettingsView::followList()
{
    // The list has forgotten what was selected.
    if (m_selected)
        select(*m_selected);
    followSelection();
    if (m_question && !m_accounts->find(m_askedAbout).isValid())
        m_question->reject();
}

void AccountsSettingsView::followSelection()
{
    m_selected = selected();
    m_remove->setEnabled(m_selected && !m_model.isRemoving(*m_selected));
    m_hint->setText(m_model.accounts().isEmpty() ? tr("Click + to add an account.")
                                                 : tr("Select an account."));
    if (m_selected)
        m_form->setAccount(*m_selected);
    m_detail->setCurrentWidget(m_selected ? static_cast<QWidget*>(m_formArea) : m_hint);
}

void AccountsSettingsView::askToRemove()
{
    if (!m_selected)
        return;
    m_askedAbout = *m_selected;
    m_question = makePlainAlert(tr("Remove %1?").arg(m_accounts->name(m_askedAbout)),
                                PlatformWords::text(PlatformWords::Text::accountRemoval), QMessageBox::Cancel,
                                window());
    m_question->setObjectName("removeQuestion"_L1);
    QPushButton* const confirm =
        addDestructiveButton(*m_question, tr("Remove"), QMessageBox::DestructiveRole);
    confirm->setObjectName("confirmRemove"_L1);
    m_question->setDefaultButton(QMessageBox::Cancel);
    connect(m_question, &QMessageBox::finished, this,
            [this, confirm, accountID = m_askedAbout, question = m_question.data()] {
                if (question->clickedButton() != confirm)
                    return;
                m_model.start(m_model.removeAccount(accountID));
                followSelection();
            });
    m_question->open();
}

} // namespace Larkhaven
