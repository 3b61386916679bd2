#pragma once

#include "model/AppModel.h"
#include "views/list/MessageColumns.h"

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>

namespace Larkhaven {

/// The rows of the page on screen as a table. What cells show beyond their text is painted by
/// `MessageRowDelegate`, which asks for the row itself.
class MessageTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    explicit MessageTableModel(AppModel& model, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    /// Rows can be dragged.
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    const MessageSummary& row(int index) const { return m_rows[index]; }
    QString text(int row, MessageColumn column) const;

private:
    void takeRows();
    QString toolTip(int row, MessageColumn column) const;
    /// What is sorted by is drawn as an arrow, and read aloud in words.
    QString spokenTitle(MessageColumn column) const;

    AppModel& m_model;
    QList<MessageSummary> m_rows;
};

/// The same rows in the sort order of the application model.
class SortedMessages : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit SortedMessages(AppModel& model, QObject* parent = nullptr);

    const MessageSummary& row(int index) const;
    /// The row of a message; -1 if it isn't listed.
    int indexOf(const QString& id) const;

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    const MessageTableModel& source() const;

    AppModel& m_model;
};

} // namespace Larkhaven
