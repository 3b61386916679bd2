#pragma once

#include <QStyledItemDelegate>

namespace Larkhaven {

/// Paints the rows and headings of the sidebar.
class SidebarDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void setHovered(const QModelIndex& index) { m_hovered = index; }
    const QPersistentModelIndex& hovered() const { return m_hovered; }
    /// Where the line "Sign-in required" begins below the top of a heading.
    static int signInTop();

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    void paintHeading(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintRow(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    /// Gives the width that the pill takes, with the space before it.
    int paintCount(QPainter& painter, const QStyleOptionViewItem& option, const QRect& content, qint64 count,
                   bool isSelected) const;

    QPersistentModelIndex m_hovered;
};

} // namespace Larkhaven
