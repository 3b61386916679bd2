#pragma once

#include "model/AppModel.h"
#include "views/style/Style.h"

#include <QTreeView>

class QMenu;
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

    // At the standard text size.
    static constexpr int minimumColumnWidth = 170;
    static constexpr int idealColumnWidth = 210;
    static constexpr int maximumColumnWidth = 280;

    explicit SidebarView(AppModel& model, QWidget* parent = nullptr);

    /// Whether the row is the mailbox on screen.
    bool isShown(const QModelIndex& index) const;

Q_SIGNALS:
    /// The window for setting up an account is asked for.
    void setupRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void rebuild();
    /// Goes back to the heading of an account.
    void returnTo(const QString& accountID);
    void updateCounts();
    void updateHeadings();
    void takeSelection();
    void addRow(QStandardItem* heading, const Account& account, const MailboxRef& ref, Symbol symbol,
                int depth);
    /// Adds the rows above a label that can't be chosen themselves.
    void addParents(QStandardItem* heading, const MailLabel& label, Symbol symbol, QSet<QString>& paths);
    void storeCollapsed();
    QModelIndex indexOf(const SidebarItem& item) const;
    std::optional<SidebarItem> itemOf(const QModelIndex& index) const;
    std::optional<Account> accountOf(const QModelIndex& index) const;
    /// Where a drop of the messages at the place would put them; absent where it would do nothing.
    std::optional<SidebarItem> dropTarget(const QDropEvent& event) const;
    bool isOnSignIn(const QModelIndex& heading, const QPoint& position) const;
    void fillMenu(QMenu& menu, const QModelIndex& index);
    void hover(const QModelIndex& index);

    AppModel& m_model;
    QStandardItemModel* m_items;
    QHash<QString, MailboxRef> m_refs; ///< by account and `MailboxRef::id`
    bool m_isTakingSelection = false;
};

} // namespace Larkhaven
