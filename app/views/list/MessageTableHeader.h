#pragma once

#include "model/AppModel.h"
#include "views/list/MessageColumns.h"

#include <QHeaderView>

#include <array>

class QMenu;

namespace Larkhaven {

/// The header of the message table: a click sorts, a right click shows and hides columns. Columns trade their
/// width with the subject's, which takes what they leave; in a narrow window they make room for it. What the
/// user has set is kept under "tableColumns", as the state of the view.
class MessageTableHeader : public QHeaderView {
    Q_OBJECT

public:
    explicit MessageTableHeader(AppModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;

    /// Takes the stored customization of columns, or the first one.
    void restoreColumns();
    /// Adds an item for each column, which shows and hides it.
    void fillMenu(QMenu& menu);
    /// Widths and heights follow the text size.
    void applyMetrics();

Q_SIGNALS:
    void columnsChanged();

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void sortBy(int section);
    static int idealWidth(MessageColumn column);
    static int leastWidth(MessageColumn column);
    void setModes();
    /// Gives each column its width, as far as the window has room.
    void fit();
    void takeWidth(int section, int width);
    void keepColumns();
    /// The column behind the subject, if the place is on the border between them; -1 elsewhere.
    int draggedBehindSubject(const QPoint& place) const;

    /// No screen is wider; in pixels.
    static constexpr int widestColumn = 4000;

    AppModel& m_model;
    std::array<int, allMessageColumns.size()> m_wanted{}; ///< as the user has set them
    int m_textSize = 0;                                   ///< for which they are told
    bool m_isFitting = false;
    bool m_isWidthNew = false;
    int m_dragged = -1;
    int m_dragStart = 0;
    int m_dragWidth = 0;
};

} // namespace Larkhaven
