#pragma once

#include <QLayout>

namespace Larkhaven {

/// Puts its items side by side, in the direction of its widget, and goes on in a new line where there is no
/// more room.
class FlowLayout : public QLayout {
public:
    explicit FlowLayout(int spacing, QWidget* parent = nullptr);
    ~FlowLayout() override;

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(m_items.size()); }
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override { return minimumSize(); }
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    /// Gives the height; places the items if `isPlacing`.
    int layOut(const QRect& rect, bool isPlacing) const;

    QList<QLayoutItem*> m_items;
};

} // namespace Larkhaven
