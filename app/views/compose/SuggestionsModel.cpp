#include "views/compose/SuggestionsModel.h"

#include "views/style/DisplayText.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

void SuggestionsModel::setSuggestions(const QList<ContactSuggestion>& suggestions, const QString& token)
{
    beginResetModel();
    m_suggestions = suggestions;
    m_token = token;
    endResetModel();
}

int SuggestionsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_suggestions.size());
}

QVariant SuggestionsModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const ContactSuggestion& suggestion = m_suggestions[index.row()];
    switch (role) {
    case nameRole:
        return DisplayText::bounded(suggestion.name);
    case emailRole:
        return DisplayText::bounded(suggestion.email);
    case tokenRole:
        return m_token;
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return DisplayText::bounded(u"%1 %2"_s.arg(suggestion.name, suggestion.email).trimmed());
    default:
        return {};
    }
}

} // namespace Larkhaven
