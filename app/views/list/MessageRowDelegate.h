#pragma once

#include "views/list/MessageColumns.h"
#include "views/list/MessageTableModel.h"

#include <QStyledItemDelegate>

namespace Larkhaven {

/// Paints the cells of the message table.
class MessageRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    MessageRowDelegate(AppModel& model, const SortedMessages& rows, QObject* parent);

    /// The row under the mouse; -1 for none.
    void setHoveredRow(int row) { m_hoveredRow = row; }
    int hoveredRow() const { return m_hoveredRow; }
    /// The column that carries the edge of a selected row.
    void setFirstVisibleColumn(int column) { m_firstVisibleColumn = column; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

private:
    void paintBackground(QPainter& painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const;
    void paintSymbol(QPainter& painter, const QRect& rect, const MessageSummary& row,
                     MessageColumn column) const;
    void paintSubject(QPainter& painter, Qt::LayoutDirection direction, const QRect& rect,
                      const MessageSummary& row) const;
    void paintText(QPainter& painter, Qt::LayoutDirection direction, const QRect& rect, const QString& text,
                   const MessageSummary& row, MessageColumn column) const;

    AppModel& m_model;
    const SortedMessages& m_rows;
    int m_hoveredRow = -1;
    int m_firstVisibleColumn = 0;
};

} // namespace Larkhaven
