#include "views/list/MessageTableHeader.h"

#include "views/list/MessageColumns.h"
#include "views/style/Style.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cstdlib>
#include <utility>

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
    setStretchLastSection(false);
    connect(this, &QHeaderView::sectionClicked, this, &MessageTableHeader::sortBy);
    connect(this, &QHeaderView::sectionResized, this,
            [this](int section, int, int width) { takeWidth(section, width); });
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
    const QFontMetrics metrics(font);
    const int arrow = isSorted ? style.scaled(0.9) : 0;
    const QRect content = rect.adjusted(Style::smallPadding, 0, -Style::smallPadding, 0);
    const QString title =
        metrics.elidedText(columnTitle(column), Qt::ElideRight, std::max(0, content.width() - arrow));
    const int titleWidth = metrics.horizontalAdvance(title);
    const bool isRight = column == MessageColumn::date || column == MessageColumn::size;
    const int left = isRight ? content.right() + 1 - titleWidth - arrow : content.left();
    painter->setFont(font);
    painter->setPen(color);
    const auto placed = [this, &rect](const QRect& place) {
        return QStyle::visualRect(layoutDirection(), rect, place);
    };
    // From a whole pixel on in both directions: small letters between two pixels lose their contrast.
    painter->drawText(placed({left, content.top(), titleWidth + 1, content.height()}),
                      Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter, title);
    if (isSorted) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(color, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QRect arrowPlace = placed({left + titleWidth, rect.top(), arrow, rect.height()});
        const QPointF center(arrowPlace.left() + arrow * (isRightToLeft() ? 0.4 : 0.6),
                             rect.center().y() + 0.5);
        const double reach = style.scaled(0.25);
        const double tip = sorted.order == Qt::AscendingOrder ? -reach / 2 : reach / 2;
        painter->drawPolyline(QPolygonF(
            {center + QPointF(-reach, -tip), center + QPointF(0, tip), center + QPointF(reach, -tip)}));
    }
    painter->restore();
}

void MessageTableHeader::fillMenu(QMenu& menu)
{
    for (int section = 0; section < count(); ++section) {
        QAction* const action = menu.addAction(columnTitle(columnAt(section)));
        action->setObjectName(u"column-"_s + columnID(columnAt(section)));
        action->setCheckable(true);
        action->setChecked(!isSectionHidden(section));
        // The subject takes what the others leave; without it nothing would fill the row.
        action->setEnabled(columnAt(section) != MessageColumn::subject);
        connect(action, &QAction::toggled, this, [this, section](bool isOn) {
            setSectionHidden(section, !isOn);
            keepColumns();
            fit();
            Q_EMIT columnsChanged();
        });
    }
}

void MessageTableHeader::contextMenuEvent(QContextMenuEvent* event)
{
    auto* const menu = new QMenu(this);
    menu->setObjectName("columnMenu"_L1);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // What is sorted is the page, not the mailbox.
    menu->addAction(tr("A click on a title sorts this page"))->setEnabled(false);
    menu->addSeparator();
    fillMenu(*menu);
    menu->popup(event->globalPos());
}

// --- Widths

int MessageTableHeader::idealWidth(MessageColumn column)
{
    constexpr double standard = Style::standardTextSize;
    const Style& style = Style::shared();
    switch (column) {
    case MessageColumn::unread:
    case MessageColumn::star:
    case MessageColumn::attachments:
        return style.scaled(1.9);
    case MessageColumn::from:
        return style.scaled(300 / standard);
    case MessageColumn::date:
        return style.scaled(140 / standard);
    case MessageColumn::mailbox:
        return style.scaled(220 / standard);
    case MessageColumn::size:
        return style.scaled(110 / standard);
    case MessageColumn::subject:
        break;
    }
    return style.scaled(6);
}

int MessageTableHeader::leastWidth(MessageColumn column)
{
    const Style& style = Style::shared();
    if (column == MessageColumn::subject)
        return style.scaled(12);
    if (column == MessageColumn::date)
        return QFontMetrics(style.font(Style::Type::body)).horizontalAdvance(u"00/00/00"_s) +
               2 * Style::smallPadding;
    return std::min(idealWidth(column), style.scaled(4));
}

void MessageTableHeader::setModes()
{
    for (int section = 0; section < count(); ++section) {
        switch (columnAt(section)) {
        case MessageColumn::unread:
        case MessageColumn::star:
        case MessageColumn::attachments:
            setSectionResizeMode(section, Fixed);
            break;
        case MessageColumn::subject:
            setSectionResizeMode(section, Stretch);
            break;
        default:
            setSectionResizeMode(section, Interactive);
        }
    }
}

void MessageTableHeader::restoreColumns()
{
    const QByteArray stored =
        QByteArray::fromBase64(m_model.defaults().text(DefaultsKey::tableColumns).toLatin1());
    m_isFitting = true;
    m_textSize = Style::shared().textSize();
    for (int section = 0; section < count(); ++section) {
        m_wanted[static_cast<size_t>(section)] = idealWidth(columnAt(section));
        setSectionHidden(section, !isVisibleAtFirst(columnAt(section)));
    }
    if (!stored.isEmpty() && restoreState(stored)) {
        for (int section = 0; section < count(); ++section) {
            const int width = sectionSize(section);
            // A hidden column has no width of its own in there.
            if (width > 0 && columnAt(section) != MessageColumn::subject)
                m_wanted[static_cast<size_t>(section)] = std::min(width, widestColumn);
        }
        setSectionHidden(static_cast<int>(MessageColumn::subject), false);
    }
    setModes();
    setSortIndicatorShown(false);
    m_isFitting = false;
    fit();
    Q_EMIT columnsChanged();
}

void MessageTableHeader::keepColumns()
{
    m_model.defaults().set(DefaultsKey::tableColumns, QString::fromLatin1(saveState().toBase64()));
}

void MessageTableHeader::applyMetrics()
{
    const int textSize = Style::shared().textSize();
    for (size_t section = 0; section < m_wanted.size(); ++section) {
        const bool isFixed = sectionResizeMode(static_cast<int>(section)) == Fixed;
        m_wanted[section] = isFixed ? idealWidth(columnAt(static_cast<int>(section)))
                                    : m_wanted[section] * textSize / m_textSize;
    }
    m_textSize = textSize;
    setMinimumSectionSize(Style::shared().scaled(1.5));
    fit();
}

void MessageTableHeader::fit()
{
    if (count() == 0)
        return;
    m_isFitting = true;
    int missing = leastWidth(MessageColumn::subject) - viewport()->width();
    for (int section = 0; section < count(); ++section) {
        if (!isSectionHidden(section) && columnAt(section) != MessageColumn::subject)
            missing += m_wanted[static_cast<size_t>(section)];
    }
    // In a narrow window they make room for the subject, and take it back in a wide one.
    for (const MessageColumn column :
         {MessageColumn::from, MessageColumn::mailbox, MessageColumn::size, MessageColumn::date,
          MessageColumn::unread, MessageColumn::star, MessageColumn::attachments}) {
        const int section = static_cast<int>(column);
        const int wanted = m_wanted[static_cast<size_t>(section)];
        if (isSectionHidden(section))
            continue;
        const int given = std::clamp(missing, 0, std::max(wanted - leastWidth(column), 0));
        missing -= given;
        resizeSection(section, wanted - given);
    }
    m_isFitting = false;
}

void MessageTableHeader::takeWidth(int section, int width)
{
    if (m_isFitting || columnAt(section) == MessageColumn::subject)
        return;
    m_wanted[static_cast<size_t>(section)] = std::min(width, widestColumn);
    m_isWidthNew = true;
}

void MessageTableHeader::resizeEvent(QResizeEvent* event)
{
    QHeaderView::resizeEvent(event);
    fit();
}

// --- The border between the subject and what follows it, which a stretching section doesn't let be dragged

int MessageTableHeader::draggedBehindSubject(const QPoint& place) const
{
    constexpr int reach = 4;
    const int subject = static_cast<int>(MessageColumn::subject);
    for (int visual = visualIndex(subject) + 1; visual < count(); ++visual) {
        const int section = logicalIndex(visual);
        if (isSectionHidden(section))
            continue;
        const int border = isRightToLeft() ? sectionViewportPosition(section) + sectionSize(section)
                                           : sectionViewportPosition(section);
        return std::abs(place.x() - border) <= reach ? section : -1;
    }
    return -1;
}

void MessageTableHeader::mousePressEvent(QMouseEvent* event)
{
    m_dragged = event->button() == Qt::LeftButton ? draggedBehindSubject(event->position().toPoint()) : -1;
    m_dragStart = event->position().toPoint().x();
    if (m_dragged < 0)
        QHeaderView::mousePressEvent(event);
    else
        m_dragWidth = sectionSize(m_dragged);
}

void MessageTableHeader::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint place = event->position().toPoint();
    if (m_dragged >= 0) {
        const int grown = (m_dragStart - place.x()) * (isRightToLeft() ? -1 : 1);
        const int subject = sectionSize(static_cast<int>(MessageColumn::subject));
        const int most = sectionSize(m_dragged) + subject - leastWidth(MessageColumn::subject);
        const int least = leastWidth(columnAt(m_dragged));
        resizeSection(m_dragged, std::clamp(m_dragWidth + grown, least, std::max(most, least)));
        return;
    }
    QHeaderView::mouseMoveEvent(event);
    if (event->buttons() == Qt::NoButton && draggedBehindSubject(place) >= 0)
        setCursor(Qt::SplitHCursor);
}

void MessageTableHeader::mouseReleaseEvent(QMouseEvent* event)
{
    if (m_dragged < 0)
        QHeaderView::mouseReleaseEvent(event);
    m_dragged = -1;
    if (!std::exchange(m_isWidthNew, false))
        return;
    // A column takes its width from the subject, and never pushes another one out of the window.
    fit();
    for (int section = 0; section < count(); ++section) {
        if (!isSectionHidden(section) && columnAt(section) != MessageColumn::subject)
            m_wanted[static_cast<size_t>(section)] = sectionSize(section);
    }
    keepColumns();
}

} // namespace Larkhaven
