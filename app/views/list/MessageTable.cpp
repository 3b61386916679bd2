#include "views/list/MessageTable.h"

#include "views/list/DraggedMessages.h"
#include "views/list/MessageActions.h"
#include "views/style/DisplayText.h"
#include "views/style/Style.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr int skeletonRows = 8;
constexpr int animationSteps = 60;
constexpr int animationInterval = 25;

/// Keeps its place where there is nothing to scroll, so that columns don't move when rows come.
class ReservedScrollBar : public QScrollBar {
public:
    ReservedScrollBar()
        : QScrollBar(Qt::Vertical)
    {}

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QPainter(this).fillRect(rect(), Style::shared().colors().surface);
        if (maximum() > minimum())
            QScrollBar::paintEvent(event);
    }
};

} // namespace

MessageTable::MessageTable(AppModel& model, QWidget* parent)
    : QTableView(parent)
    , m_model(model)
    , m_rows(new SortedMessages(model, this))
    , m_delegate(new MessageRowDelegate(model, *m_rows, this))
    , m_header(new MessageTableHeader(model, this))
{
    setObjectName("messageTable"_L1);
    setAccessibleName(tr("Messages"));
    setModel(m_rows);
    setItemDelegate(m_delegate);
    setHorizontalHeader(m_header);
    m_header->show();
    verticalHeader()->hide();
    setShowGrid(false);
    setFrameShape(NoFrame);
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new ReservedScrollBar);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setMouseTracking(true);
    setEditTriggers(NoEditTriggers);
    setDragEnabled(true);

    m_animation.setInterval(animationInterval);
    connect(&m_animation, &QTimer::timeout, this, [this] {
        m_animationStep = (m_animationStep + 1) % animationSteps;
        viewport()->update();
    });
    const auto followLoading = [this] {
        if (m_model.isLoading())
            m_animation.start();
        else
            m_animation.stop();
        describe();
        viewport()->update();
    };
    connect(&model, &AppModel::isLoadingChanged, this, followLoading);
    connect(&model, &AppModel::selectionChanged, this, &MessageTable::takeSelection);
    connect(&model, &AppModel::searchTextChanged, viewport(), qOverload<>(&QWidget::update));
    connect(&model, &AppModel::removing, this, &MessageTable::nameSuccessor);
    connect(m_rows, &SortedMessages::modelAboutToBeReset, this, &MessageTable::keepPlace);
    connect(m_rows, &SortedMessages::modelReset, this, [this] {
        takeSelection();
        returnToPlace();
        describe();
    });
    connect(m_rows, &SortedMessages::rowsRemoved, this, &MessageTable::describe);
    connect(m_rows, &SortedMessages::rowsInserted, this, &MessageTable::describe);
    connect(m_rows, &SortedMessages::layoutChanged, this, &MessageTable::takeSelection);
    connect(&model.defaults(), &UserDefaults::changed, viewport(), qOverload<>(&QWidget::update));
    connect(m_header, &MessageTableHeader::columnsChanged, this, &MessageTable::followColumns);
    connect(&Style::shared(), &Style::changed, this, &MessageTable::applyMetrics);
    m_header->restoreColumns();
    applyMetrics();
    followLoading();
}

void MessageTable::applyMetrics()
{
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(Style::shared().scaled(2.3));
    m_header->applyMetrics();
    viewport()->update();
    m_header->viewport()->update();
}

void MessageTable::followColumns()
{
    int first = 0;
    while (first < m_header->count() - 1 && m_header->isSectionHidden(first))
        ++first;
    m_delegate->setFirstVisibleColumn(first);
    viewport()->update();
}

void MessageTable::fillColumnMenu(QMenu& menu)
{
    m_header->fillMenu(menu);
}

// --- Selection

void MessageTable::takeSelection()
{
    QItemSelection selection;
    for (int row = 0; row < m_rows->rowCount(); ++row) {
        if (m_model.selection().contains(m_rows->row(row).id))
            selection.select(m_rows->index(row, 0), m_rows->index(row, m_rows->columnCount() - 1));
    }
    m_isTakingSelection = true;
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (!selection.isEmpty() && !selection.contains(currentIndex()))
        selectionModel()->setCurrentIndex(selection.first().topLeft(), QItemSelectionModel::NoUpdate);
    else if (selection.isEmpty() && !currentIndex().isValid() && m_currentRow >= 0)
        // Where rows went away the arrow keys go on from their place.
        selectionModel()->setCurrentIndex(m_rows->index(std::min(m_currentRow, m_rows->rowCount() - 1), 0),
                                          QItemSelectionModel::NoUpdate);
    m_isTakingSelection = false;
    viewport()->update();
}

QList<MessageSummary> MessageTable::selectedRows() const
{
    QList<MessageSummary> rows;
    for (int row = 0; row < m_rows->rowCount(); ++row) {
        if (m_model.selection().contains(m_rows->row(row).id))
            rows.append(m_rows->row(row));
    }
    return rows;
}

void MessageTable::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QTableView::selectionChanged(selected, deselected);
    if (m_isTakingSelection)
        return;
    QSet<QString> ids;
    const QModelIndexList rows = selectionModel()->selectedRows();
    for (const QModelIndex& index : rows)
        ids.insert(m_rows->row(index.row()).id);
    m_model.setSelection(ids);
    viewport()->update();
}

void MessageTable::nameSuccessor(const QSet<QString>& removed)
{
    int first = -1;
    int successor = -1;
    for (int row = 0; row < m_rows->rowCount(); ++row) {
        const bool goes = removed.contains(m_rows->row(row).id);
        if (goes && first < 0)
            first = row;
        // The one that moves up, or else the last of those before.
        if (!goes && (first < 0 || successor < first))
            successor = row;
    }
    if (first >= 0 && successor >= 0)
        m_model.setSuccessor(m_rows->row(successor).id);
}

// --- The place in the list

void MessageTable::keepPlace()
{
    m_visibleIDs.clear();
    m_currentRow = currentIndex().row();
    if (verticalScrollBar()->value() == 0)
        return;
    const int first = rowAt(0);
    m_placeOffset = first < 0 ? 0 : rowViewportPosition(first);
    for (int row = first; row >= 0 && row < m_rows->rowCount(); ++row)
        m_visibleIDs.append(m_rows->row(row).id);
}

void MessageTable::returnToPlace()
{
    // New mail moves nothing under the reader's eyes; another page begins at its top.
    executeDelayedItemsLayout();
    const int height = verticalHeader()->defaultSectionSize();
    int distance = 0;
    for (const QString& id : std::as_const(m_visibleIDs)) {
        const int row = m_rows->indexOf(id);
        if (row >= 0) {
            verticalScrollBar()->setValue(row * height - m_placeOffset - distance);
            return;
        }
        distance += height;
    }
    scrollToTop();
}

// --- Opening and hovering

void MessageTable::openRow(const QModelIndex& index)
{
    if (index.isValid())
        MessageActions::open(m_model, m_rows->row(index.row()));
}

void MessageTable::step(int distance)
{
    if (m_rows->rowCount() == 0)
        return;
    int last = -1;
    for (int row = 0; row < m_rows->rowCount(); ++row) {
        if (m_model.selection().contains(m_rows->row(row).id))
            last = row;
    }
    const int next = last < 0 ? 0 : std::clamp(last + distance, 0, m_rows->rowCount() - 1);
    m_model.setSelection({m_rows->row(next).id});
    scrollTo(m_rows->index(next, 0));
}

bool MessageTable::handleShortcut(const QString& key)
{
    const QList<MessageSummary> rows = selectedRows();
    if (key == "j"_L1)
        step(1);
    else if (key == "k"_L1)
        step(-1);
    else if (key == "o"_L1 && rows.size() == 1)
        MessageActions::open(m_model, rows.first());
    else if (key == "e"_L1)
        m_model.archive(rows);
    else if (key == "#"_L1)
        m_model.trash(rows);
    else if (key == "s"_L1)
        m_model.toggleStarred(rows);
    else if (key == "U"_L1)
        m_model.toggleRead(rows);
    else if (key == "c"_L1)
        m_model.newMessage({});
    else
        return key == "o"_L1;
    return true;
}

void MessageTable::contextMenuEvent(QContextMenuEvent* event)
{
    const QModelIndex clicked =
        event->reason() == QContextMenuEvent::Mouse ? indexAt(event->pos()) : currentIndex();
    if (!clicked.isValid())
        return;
    // A row outside the selection is acted on alone, and leaves the selection as it is.
    const MessageSummary& row = m_rows->row(clicked.row());
    const QList<MessageSummary> items = m_model.selection().contains(row.id) ? selectedRows() : QList{row};
    auto* const menu = new QMenu(this);
    menu->setObjectName("messageMenu"_L1);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto showSource = [table = QPointer(this)](const MessageSummary& message) {
        if (table)
            Q_EMIT table->sourceRequested(message);
    };
    new MessageActions(
        m_model, *menu, MessageActions::Place::contextMenu, [items] { return items; }, m_savePanel,
        showSource);
    menu->popup(event->reason() == QContextMenuEvent::Mouse
                    ? event->globalPos()
                    : viewport()->mapToGlobal(visualRect(clicked).bottomLeft()));
}

QPixmap MessageTable::dragPicture(qsizetype count) const
{
    const Style& style = Style::shared();
    const QFont font = style.font(Style::Type::body, Style::Weight::semibold);
    const QString text = tr("%n messages", "that are dragged", static_cast<int>(count));
    const QSize size(QFontMetrics(font).horizontalAdvance(text) + 2 * Style::padding, style.scaled(2.2));
    QPixmap picture(size * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style.colors().accent);
    painter.drawRoundedRect(QRect(QPoint(), size), Style::radius, Style::radius);
    painter.setFont(font);
    painter.setPen(style.colors().onAccent);
    painter.drawText(QRect(QPoint(), size), Qt::AlignCenter, text);
    return picture;
}

void MessageTable::startDrag(Qt::DropActions)
{
    const QList<MessageSummary> rows = selectedRows();
    if (rows.isEmpty())
        return;
    auto* const drag = new QDrag(this);
    drag->setMimeData(new DraggedMessages(rows));
    drag->setPixmap(dragPicture(rows.size()));
    drag->setHotSpot({-Style::padding, -Style::padding});
    drag->exec(Qt::MoveAction);
}

QModelIndex MessageTable::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    // What is gone through are rows: Home and End lead to the first and the last of them, not to a column.
    if (m_rows->rowCount() > 0 && (action == MoveHome || action == MoveEnd))
        return m_rows->index(action == MoveHome ? 0 : m_rows->rowCount() - 1,
                             std::max(currentIndex().column(), 0));
    return QTableView::moveCursor(action, modifiers);
}

void MessageTable::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (selectionModel()->isSelected(currentIndex()))
            openRow(currentIndex());
        return;
    }
    const bool isPlain = (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier;
    if (isPlain && m_model.defaults().boolean(DefaultsKey::gmailShortcuts) && handleShortcut(event->text()))
        return;
    QTableView::keyPressEvent(event);
}

void MessageTable::mousePressEvent(QMouseEvent* event)
{
    // The context menu acts on the row under it, and leaves the selection as it is.
    if (event->button() == Qt::RightButton)
        event->accept();
    else
        QTableView::mousePressEvent(event);
}

void MessageTable::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        openRow(indexAt(event->position().toPoint()));
}

void MessageTable::hover(int row)
{
    if (row == m_delegate->hoveredRow())
        return;
    m_delegate->setHoveredRow(row);
    viewport()->update();
}

void MessageTable::mouseMoveEvent(QMouseEvent* event)
{
    QTableView::mouseMoveEvent(event);
    hover(indexAt(event->position().toPoint()).row());
}

void MessageTable::leaveEvent(QEvent* event)
{
    QTableView::leaveEvent(event);
    hover(-1);
}

// --- Painting

void MessageTable::paintEvent(QPaintEvent* event)
{
    {
        QPainter background(viewport());
        background.fillRect(viewport()->rect(), Style::shared().colors().surface);
    }
    QTableView::paintEvent(event);
    QPainter painter(viewport());
    if (m_rows->rowCount() == 0 && m_model.isLoading())
        paintSkeleton(painter);
    else if (const std::optional<EmptyState> state = emptyState())
        EmptyState::paint(painter, viewport()->rect(), *state);
    paintFocus(painter);
    if (m_model.isLoading())
        paintLoadingLine(painter);
}

void MessageTable::paintFocus(QPainter& painter) const
{
    if (!hasFocus() || !isActiveWindow() || m_rows->rowCount() == 0 || !currentIndex().isValid())
        return;
    const int current = currentIndex().row();
    const QRect row(0, rowViewportPosition(current), viewport()->width(), rowHeight(current) - 1);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Style::shared().colors().accent, Style::ring));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(row).adjusted(1, 1, -1, -1), Style::radius / 2.0, Style::radius / 2.0);
}

void MessageTable::paintLoadingLine(QPainter& painter) const
{
    constexpr int thickness = 2;
    const int width = viewport()->width();
    const int length = width / 4;
    const int start = (width + length) * m_animationStep / animationSteps - length;
    painter.fillRect(QRect(start, 0, length, thickness), Style::shared().colors().accent);
}

void MessageTable::paintSkeleton(QPainter& painter) const
{
    const Style& style = Style::shared();
    const int rowHeight = style.scaled(2.3);
    const int bar = style.scaled(0.7);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style.colors().hairline);
    for (int row = 0; row < skeletonRows; ++row) {
        for (const MessageColumn column :
             {MessageColumn::from, MessageColumn::subject, MessageColumn::date}) {
            const int section = static_cast<int>(column);
            // Bars of different lengths look like texts.
            const double share = 0.5 + 0.1 * ((row * 3 + section) % 5);
            const QRect cell(columnViewportPosition(section), row * rowHeight, columnWidth(section),
                             rowHeight);
            const QRect begun(cell.left() + Style::smallPadding, cell.top() + (rowHeight - bar) / 2,
                              qRound(cell.width() * share) - 2 * Style::smallPadding, bar);
            painter.drawRoundedRect(QStyle::visualRect(layoutDirection(), cell, begun), bar / 2.0, bar / 2.0);
        }
    }
}

/// What is painted in place of rows, for assistive technology.
void MessageTable::describe()
{
    const std::optional<EmptyState> state = emptyState();
    QStringList words;
    if (state)
        words = {state->title, state->explanation};
    words.removeAll(QString());
    setAccessibleDescription(words.join(u". "_s));
}

std::optional<EmptyState> MessageTable::emptyState() const
{
    if (m_rows->rowCount() > 0 || m_model.isLoading() || !m_model.sidebarSelection())
        return std::nullopt;
    const std::optional<QString>& search = m_model.listedQuery();
    if (!m_model.isListingAnswered())
        // Whether there are any only the service can tell.
        return EmptyState{Symbol::warning, tr("Messages Not Loaded"),
                          tr("They show as soon as the mail service answers.")};
    if (!search)
        return EmptyState{Symbol::tray, tr("No Messages"), {}};
    return EmptyState{Symbol::magnifier, tr("No Results for “%1”").arg(DisplayText::bounded(*search, 60)),
                      tr("Check the spelling or try a new search.")};
}

} // namespace Larkhaven
