#pragma once

#include <QStyledItemDelegate>

namespace Larkhaven {

/// Paints an account of the settings: its name, and below it its address and service.
class AccountRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace Larkhaven
