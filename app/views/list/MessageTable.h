#pragma once

#include "model/AppModel.h"
#include "views/list/MessageRowDelegate.h"
#include "views/list/MessageTableHeader.h"
#include "views/list/MessageTableModel.h"
#include "views/style/EmptyState.h"

#include <QTableView>
#include <QTimer>

#include <optional>

namespace Larkhaven {

/// The table of the page on screen: rows with the selection of the application model, placeholders while the
/// first page loads, and what stands in place of rows where there are none.
class MessageTable : public QTableView {
    Q_OBJECT

public:
    explicit MessageTable(AppModel& model, QWidget* parent = nullptr);

    const SortedMessages& rows() const { return *m_rows; }
    /// What stands in place of rows; absent with rows, while a page loads, and without a mailbox.
    std::optional<EmptyState> emptyState() const;
    /// The selected rows, in their order on screen.
    QList<MessageSummary> selectedRows() const;
    /// Asks where a message is to be saved.
    void setSavePanel(AppModel::SavePanel choose) { m_savePanel = std::move(choose); }
    /// Adds an item for each column, which shows and hides it.
    void fillColumnMenu(QMenu& menu);

Q_SIGNALS:
    /// The bytes of the message are asked for.
    void sourceRequested(const MessageSummary& row);

protected:
    void paintEvent(QPaintEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void startDrag(Qt::DropActions actions) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;

private:
    void describe();
    void applyMetrics();
    void followColumns();
    void takeSelection();
    /// Tells the model which row takes the place of those that go.
    void nameSuccessor(const QSet<QString>& removed);
    void keepPlace();
    void returnToPlace();
    void hover(int row);
    void openRow(const QModelIndex& index);
    bool handleShortcut(const QString& key);
    void step(int distance);
    QPixmap dragPicture(qsizetype count) const;
    void paintLoadingLine(QPainter& painter) const;
    void paintSkeleton(QPainter& painter) const;
    /// A ring around the row that the keyboard is at.
    void paintFocus(QPainter& painter) const;

    AppModel& m_model;
    AppModel::SavePanel m_savePanel;
    SortedMessages* m_rows;
    MessageRowDelegate* m_delegate;
    MessageTableHeader* m_header;
    QTimer m_animation;
    int m_animationStep = 0;
    bool m_isTakingSelection = false;
    QStringList m_visibleIDs; ///< of the rows from the first visible one on, before a change; none at the top
    int m_placeOffset = 0;    ///< where the first of them began in the viewport
    int m_currentRow = -1;    ///< where the keyboard was before a change
};

} // namespace Larkhaven
