#include "views/list/MessageTableModel.h"

#include "views/style/DisplayText.h"
#include "views/style/RowText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

MessageTableModel::MessageTableModel(AppModel& model, QObject* parent)
    : QAbstractTableModel(parent)
    , m_model(model)
    , m_rows(model.messages())
{
    connect(&model, &AppModel::messagesChanged, this, &MessageTableModel::takeRows);
    connect(&model, &AppModel::sortOrderChanged, this,
            [this] { Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount() - 1); });
}

void MessageTableModel::takeRows()
{
    const QList<MessageSummary>& rows = m_model.messages();
    const bool areSameMessages =
        std::ranges::equal(rows, m_rows, {}, &MessageSummary::id, &MessageSummary::id);
    if (areSameMessages) {
        // The view keeps its place and its selection.
        m_rows = rows;
        if (!m_rows.isEmpty())
            Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
        return;
    }
    beginResetModel();
    m_rows = rows;
    endResetModel();
}

int MessageTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int MessageTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(allMessageColumns.size());
}

QString MessageTableModel::text(int index, MessageColumn column) const
{
    const MessageSummary& message = m_rows[index];
    switch (column) {
    case MessageColumn::unread:
        return message.isRead ? QString() : tr("Unread");
    case MessageColumn::star:
        return message.isStarred ? tr("Starred") : QString();
    case MessageColumn::attachments:
        return message.hasAttachments ? tr("Has attachments") : QString();
    case MessageColumn::from:
        return m_model.sidebarSelection()
                   ? RowText::sender(message, m_model.sidebarSelection()->ref, m_model.selectedAccount())
                   : QString();
    case MessageColumn::subject:
        return RowText::subject(message);
    case MessageColumn::date:
        return RowText::date(message.date, QDateTime::currentDateTime());
    case MessageColumn::mailbox:
        return message.mailbox;
    case MessageColumn::size:
        return RowText::size(message.size);
    }
    Q_UNREACHABLE();
}

QString MessageTableModel::toolTip(int index, MessageColumn column) const
{
    switch (column) {
    case MessageColumn::unread:
    case MessageColumn::star:
    case MessageColumn::attachments:
        return text(index, column);
    case MessageColumn::from:
        return m_rows[index].realSender().addressText();
    case MessageColumn::date:
        return QLocale().toString(m_rows[index].date.toLocalTime(), QLocale::LongFormat);
    case MessageColumn::subject:
    case MessageColumn::mailbox:
    case MessageColumn::size:
        return {};
    }
    Q_UNREACHABLE();
}

QVariant MessageTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const MessageColumn column = allMessageColumns[static_cast<size_t>(index.column())];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return DisplayText::bounded(text(index.row(), column));
    case Qt::ToolTipRole:
        // Plain text, whatever an untrusted sender wrote into it.
        return DisplayText::toolTip(toolTip(index.row(), column));
    default:
        return {};
    }
}

QVariant MessageTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    const MessageColumn column = allMessageColumns[static_cast<size_t>(section)];
    if (role == Qt::AccessibleTextRole)
        return spokenTitle(column);
    return role == Qt::DisplayRole || role == Qt::ToolTipRole ? QVariant(columnTitle(column)) : QVariant();
}

QString MessageTableModel::spokenTitle(MessageColumn column) const
{
    const SortComparator sorted = m_model.sortOrder().value(0);
    if (sortFieldOf(column) != sorted.field)
        return columnTitle(column);
    //: the title of a column; read aloud
    return (sorted.order == Qt::AscendingOrder ? tr("%1, sorted, ascending") : tr("%1, sorted, descending"))
        .arg(columnTitle(column));
}

Qt::ItemFlags MessageTableModel::flags(const QModelIndex& index) const
{
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    return index.isValid() ? flags | Qt::ItemIsDragEnabled : flags;
}

SortedMessages::SortedMessages(AppModel& model, QObject* parent)
    : QSortFilterProxyModel(parent)
    , m_model(model)
{
    setSourceModel(new MessageTableModel(model, this));
    connect(&model, &AppModel::sortOrderChanged, this, &SortedMessages::invalidate);
    // The direction is part of the comparison: an ascending sort by it keeps equal rows in their order either
    // way.
    sort(0, Qt::AscendingOrder);
}

const MessageTableModel& SortedMessages::source() const
{
    return *static_cast<const MessageTableModel*>(sourceModel());
}

const MessageSummary& SortedMessages::row(int row) const
{
    return source().row(mapToSource(index(row, 0)).row());
}

int SortedMessages::indexOf(const QString& id) const
{
    for (int row = 0; row < rowCount(); ++row) {
        if (this->row(row).id == id)
            return row;
    }
    return -1;
}

bool SortedMessages::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    for (const SortComparator& comparator : m_model.sortOrder()) {
        // What the column shows is what it is sorted by: in Sent that is whom a message went to.
        const auto sender = [this](const QModelIndex& index) {
            return source().text(index.row(), MessageColumn::from);
        };
        const int order =
            comparator.field == SortField::from
                ? compareTexts(sender(left), sender(right))
                : compare(source().row(left.row()), source().row(right.row()), comparator.field);
        if (order != 0)
            return comparator.order == Qt::AscendingOrder ? order < 0 : order > 0;
    }
    return false;
}

} // namespace Larkhaven
