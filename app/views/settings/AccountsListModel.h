#pragma once

#include "model/AppModel.h"

#include <QAbstractListModel>

namespace Larkhaven {

/// The accounts as the settings list them, in the user's order, which moving a row changes.
///
/// What is dragged carries nothing: only the list itself knows what moves.
class AccountsListModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role { idRole = Qt::UserRole, detailRole };

    explicit AccountsListModel(AppModel& model, QObject* parent = nullptr);

    /// "Google", "Microsoft" or "IMAP".
    static QString providerName(ProviderKind provider);
    /// The account's name; the word "account" where there is no such account.
    QString name(const QUuid& accountID) const;
    /// Not valid where there is no such account.
    QModelIndex find(const QUuid& accountID) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                  const QModelIndex& destinationParent, int destinationChild) override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

private:
    void follow();

    AppModel& m_model;
    QList<Account> m_accounts;
};

} // namespace Larkhaven
