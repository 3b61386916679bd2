#pragma once

#include "views/compose/ContactsService.h"

#include <QAbstractListModel>

namespace Larkhaven {

/// The contacts that are offered for one token, as rows. Main thread.
class SuggestionsModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role { nameRole = Qt::UserRole, emailRole, tokenRole };

    using QAbstractListModel::QAbstractListModel;

    /// `token` is what the suggestions were found by.
    void setSuggestions(const QList<ContactSuggestion>& suggestions, const QString& token);
    const QList<ContactSuggestion>& suggestions() const { return m_suggestions; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    QList<ContactSuggestion> m_suggestions;
    QString m_token;
};

} // namespace Larkhaven
