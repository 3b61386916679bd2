#include "views/settings/AccountsListModel.h"

#include "views/style/DisplayText.h"

#include <QMimeData>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString mimeType = u"application/x-larkhaven-account"_s;

} // namespace

AccountsListModel::AccountsListModel(AppModel& model, QObject* parent)
    : QAbstractListModel(parent)
    , m_model(model)
    , m_accounts(model.accounts())
{
    connect(&model, &AppModel::accountsChanged, this, &AccountsListModel::follow);
}

QString AccountsListModel::providerName(ProviderKind provider)
{
    switch (provider) {
    case ProviderKind::google:
        return tr("Google");
    case ProviderKind::microsoft:
        return tr("Microsoft");
    case ProviderKind::imap:
        return tr("IMAP");
    }
    Q_UNREACHABLE();
}

QString AccountsListModel::name(const QUuid& accountID) const
{
    const QModelIndex index = find(accountID);
    return index.isValid() ? index.data(Qt::DisplayRole).toString() : tr("account");
}

QModelIndex AccountsListModel::find(const QUuid& accountID) const
{
    const auto found = std::ranges::find(m_accounts, accountID, &Account::id);
    return found == m_accounts.end() ? QModelIndex() : index(static_cast<int>(found - m_accounts.begin()));
}

int AccountsListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_accounts.size());
}

QVariant AccountsListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Account& account = m_accounts[index.row()];
    const QString name = DisplayText::bounded(account.title());
    const QString provider = providerName(account.provider);
    const QString detail = account.title() == account.email
                               ? provider
                               : u"%1 · %2"_s.arg(DisplayText::bounded(account.email), provider);
    switch (role) {
    case Qt::DisplayRole:
        return name;
    case detailRole:
        return detail;
    case idRole:
        return account.id;
    case Qt::AccessibleTextRole:
        return u"%1, %2"_s.arg(name, detail);
    case Qt::ToolTipRole:
        return DisplayText::toolTip(u"%1\n%2"_s.arg(name, detail));
    default:
        return {};
    }
}

Qt::ItemFlags AccountsListModel::flags(const QModelIndex& index) const
{
    // Something can be dropped between the rows, not on them.
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled
                           : Qt::ItemIsDropEnabled;
}

bool AccountsListModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                                 const QModelIndex& destinationParent, int destinationChild)
{
    if (count != 1 || sourceRow < 0 || sourceRow >= rowCount() || destinationChild > rowCount() ||
        !beginMoveRows(sourceParent, sourceRow, sourceRow, destinationParent, destinationChild))
        return false;
    m_accounts.move(sourceRow, destinationChild > sourceRow ? destinationChild - 1 : destinationChild);
    endMoveRows();
    m_model.moveAccounts({sourceRow}, destinationChild);
    return true;
}

QStringList AccountsListModel::mimeTypes() const
{
    return {mimeType};
}

QMimeData* AccountsListModel::mimeData(const QModelIndexList& indexes) const
{
    if (indexes.isEmpty())
        return nullptr;
    auto* const data = new QMimeData;
    data->setData(mimeType, {});
    return data;
}

void AccountsListModel::follow()
{
    const QList<Account>& accounts = m_model.accounts();
    if (accounts == m_accounts)
        return;
    const bool isSameOrder = std::ranges::equal(accounts, m_accounts, {}, &Account::id, &Account::id);
    if (isSameOrder) {
        m_accounts = accounts;
        Q_EMIT dataChanged(index(0), index(rowCount() - 1));
        return;
    }
    beginResetModel();
    m_accounts = accounts;
    endResetModel();
}

} // namespace Larkhaven
