#include "views/list/MessageTableHeader.h"

#include "views/list/MessageColumns.h"
#include "views/style/Style.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

MessageColumn columnAt(int section)
{
    return allMessageColumns[static_cast<size_t>(section)];
}

std::optional<Symbol> symbolOf(MessageColumn column)
{
    switch (column) {
    case MessageColumn::unread:
        return Symbol::circleFill;
    case MessageColumn::star:
        return Symbol::star;
    case MessageColumn::attachments:
        return Symbol::paperclip;
    default:
        return std::nullopt;
    }
}

/// The direction of the first click on a column.
Qt::SortOrder firstOrder(SortField field)
{
    return field == SortField::date ? Qt::DescendingOrder : Qt::AscendingOrder;
}

} // namespace

MessageTableHeader::MessageTableHeader(AppModel& model, QWidget* parent)
    : QHeaderView(Qt::Horizontal, parent)
    , m_model(model)
{
    setSectionsClickable(true);
    setHighlightSections(false);
    setMouseTracking(true);
    connect(this, &QHeaderView::sectionClicked, this, &MessageTableHeader::sortBy);
    connect(&model, &AppModel::sortOrderChanged, this, [this] { viewport()->update(); });
}

QSize MessageTableHeader::sizeHint() const
{
    return {QHeaderView::sizeHint().width(), Style::shared().scaled(2.1)};
}

void MessageTableHeader::sortBy(int section)
{
    const std::optional<SortField> field = sortFieldOf(columnAt(section));
    if (!field)
        return;
    SortComparator comparator{*field, firstOrder(*field)};
    const QList<SortComparator>& present = m_model.sortOrder();
    if (!present.isEmpty() && present.first().field == *field)
        comparator.order =
            present.first().order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    m_model.setSortOrder({comparator});
}

void MessageTableHeader::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    const MessageColumn column = columnAt(logicalIndex);
    const double ratio = painter->device()->devicePixelRatioF();
    painter->save();
    painter->fillRect(rect, colors.surface);
    painter->fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), colors.hairline);

    const SortComparator sorted = m_model.sortOrder().value(0);
    const bool isSorted = sortFieldOf(column) == sorted.field;
    const QColor color = isSorted ? colors.text : colors.secondary;
    if (const std::optional<Symbol> symbol = symbolOf(column)) {
        const int size = style.scaled(column == MessageColumn::unread ? 0.6 : 1.1);
        QRect place(0, 0, size, size);
        place.moveCenter(rect.center());
        painter->drawPixmap(place, style.pixmap(*symbol, size, color, ratio));
        painter->restore();
        return;
    }

    const QFont font =
        style.font(Style::Type::caption, isSorted ? Style::Weight::semibold : Style::Weight::regular);
    const QString title = columnTitle(column);
    const int arrow = isSorted ? style.scaled(0.9) : 0;
    const QRect content = rect.adjusted(Style::smallPadding, 0, -Style::smallPadding, 0);
    const int titleWidth = QFontMetrics(font).horizontalAdvance(title);
    const bool isRight = column == MessageColumn::date || column == MessageColumn::size;
    const int left = isRight ? content.right() + 1 - titleWidth - arrow : content.left();
    painter->setFont(font);
    painter->setPen(color);
    painter->drawText(QRect(left, content.top(), titleWidth + 1, content.height()), Qt::AlignVCenter, title);
    if (isSorted) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(color, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPointF center(left + titleWidth + arrow * 0.6, rect.center().y() + 0.5);
        const double reach = style.scaled(0.25);
        const double tip = sorted.order == Qt::AscendingOrder ? -reach / 2 : reach / 2;
        painter->drawPolyline(QPolygonF(
            {center + QPointF(-reach, -tip), center + QPointF(0, tip), center + QPointF(reach, -tip)}));
    }
    painter->restore();
}

void MessageTableHeader::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu;
    for (int section = 0; section < count(); ++section) {
        QAction* const action = menu.addAction(columnTitle(columnAt(section)));
        action->setCheckable(true);
        action->setChecked(!isSectionHidden(section));
        // The subject takes what the others leave; without it nothing would fill the row.
        action->setEnabled(columnAt(section) != MessageColumn::subject);
        connect(action, &QAction::toggled, this,
                [this, section](bool isOn) { setColumnVisible(section, isOn); });
    }
    menu.exec(event->globalPos());
}

void MessageTableHeader::setColumnVisible(int section, bool isVisible)
{
    setSectionHidden(section, !isVisible);
    storeColumns();
    Q_EMIT columnsChanged();
}

void MessageTableHeader::storeColumns()
{
    QStringList visible;
    for (int section = 0; section < count(); ++section) {
        if (!isSectionHidden(section))
            visible.append(columnID(columnAt(section)));
    }
    m_model.defaults().set(DefaultsKey::tableColumns, visible.join(u','));
}

void MessageTableHeader::restoreColumns()
{
    const QStringList stored =
        m_model.defaults().text(DefaultsKey::tableColumns).split(u',', Qt::SkipEmptyParts);
    for (int section = 0; section < count(); ++section) {
        const MessageColumn column = columnAt(section);
        const bool isVisible =
            stored.isEmpty() ? isVisibleAtFirst(column) : stored.contains(columnID(column));
        setSectionHidden(section, !isVisible && column != MessageColumn::subject);
    }
    Q_EMIT columnsChanged();
}

} // namespace Larkhaven
