#pragma once

#include "model/AppModel.h"

#include <QHeaderView>

namespace Larkhaven {

/// The header of the message table: a click sorts, a right click shows and hides columns.
class MessageTableHeader : public QHeaderView {
    Q_OBJECT

public:
    explicit MessageTableHeader(AppModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;

    /// Takes the stored customization of columns, or the first one.
    void restoreColumns();

Q_SIGNALS:
    void columnsChanged();

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void sortBy(int section);
    void setColumnVisible(int section, bool isVisible);
    void storeColumns();

    AppModel& m_model;
};

} // namespace Larkhaven
