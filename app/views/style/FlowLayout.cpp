#include "views/style/FlowLayout.h"

#include <QStyle>
#include <QWidget>

#include <algorithm>

namespace Larkhaven {

FlowLayout::FlowLayout(int spacing, QWidget* parent)
    : QLayout(parent)
{
    setSpacing(spacing);
    setContentsMargins(0, 0, 0, 0);
}

FlowLayout::~FlowLayout()
{
    qDeleteAll(m_items);
}

void FlowLayout::addItem(QLayoutItem* item)
{
    m_items.append(item);
}

QLayoutItem* FlowLayout::itemAt(int index) const
{
    return m_items.value(index);
}

QLayoutItem* FlowLayout::takeAt(int index)
{
    return index >= 0 && index < m_items.size() ? m_items.takeAt(index) : nullptr;
}

int FlowLayout::heightForWidth(int width) const
{
    return layOut(QRect(0, 0, width, 0), false);
}

QSize FlowLayout::minimumSize() const
{
    QSize size;
    for (const QLayoutItem* item : m_items)
        size = size.expandedTo(item->minimumSize());
    return size;
}

void FlowLayout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    layOut(rect, true);
}

int FlowLayout::layOut(const QRect& rect, bool isPlacing) const
{
    int left = rect.left();
    int top = rect.top();
    int lineHeight = 0;
    for (QLayoutItem* item : m_items) {
        const QSize hint = item->sizeHint();
        const QSize size(std::min(hint.width(), rect.width()), hint.height());
        if (left > rect.left() && left + size.width() > rect.right() + 1) {
            left = rect.left();
            top += lineHeight + spacing();
            lineHeight = 0;
        }
        if (isPlacing) {
            item->setGeometry(
                QStyle::visualRect(parentWidget()->layoutDirection(), rect, QRect(QPoint(left, top), size)));
        }
        left += size.width() + spacing();
        lineHeight = std::max(lineHeight, size.height());
    }
    return top + lineHeight - rect.top();
}

} // namespace Larkhaven
