#pragma once

#include "model/AppModel.h"
#include "views/Style.h"

#include <QTreeView>

class QStandardItem;
class QStandardItemModel;

namespace Larkhaven {

/// The accounts with their mailboxes and labels, one section for each account.
class SidebarView : public QTreeView {
    Q_OBJECT

public:
    /// Data of an item, beside its text.
    enum Role {
        AccountRole = Qt::UserRole + 1, ///< text of the account's identity
        RefRole,                        ///< `MailboxRef::id`; absent for a heading
        SymbolRole,                     ///< `Symbol`
        DepthRole,                      ///< levels of indentation of a label
        CountRole,                      ///< unread messages; 0 for none
        NeedsSignInRole,                ///< of a heading
    };

    static constexpr int minimumColumnWidth = 170;
    static constexpr int idealColumnWidth = 210;
    static constexpr int maximumColumnWidth = 280;

    explicit SidebarView(AppModel& model, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    void rebuild();
    void updateCounts();
    void updateHeadings();
    void takeSelection();
    void applyStyle();
    void addRow(QStandardItem* heading, const Account& account, const MailboxRef& ref, Symbol symbol,
                int depth);
    void toggle(const QModelIndex& heading);
    void storeCollapsed();
    QModelIndex indexOf(const SidebarItem& item) const;

    AppModel& m_model;
    QStandardItemModel* m_items;
    QHash<QString, MailboxRef> m_refs; ///< by account and `MailboxRef::id`
    bool m_isTakingSelection = false;
};

} // namespace Larkhaven
