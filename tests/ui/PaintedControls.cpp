#include "PaintedControls.h"

#include "support/Contrast.h"
#include "views/list/MessageColumns.h"
#include "views/list/MessageTable.h"
#include "views/reader/SecureMessageView.h"
#include "views/style/EmptyStateView.h"
#include "views/style/SymbolLabel.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QHash>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTabBar>
#include <QTextEdit>
#include <QToolButton>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Collects what is in sight.
class Collector {
public:
    explicit Collector(const QWidget& window)
        : m_window(window)
    {}

    void add(const QWidget& widget, const QRect& within, const QString& text, bool isText)
    {
        // What a scroll area cuts off can't be seen.
        QRect place = within & widget.visibleRegion().boundingRect();
        if (place.height() < within.height() / 2 || place.width() < 4)
            return;
        place.moveTopLeft(widget.mapTo(&m_window, place.topLeft()));
        const QString name = widget.objectName().isEmpty()
                                 ? QString::fromLatin1(widget.metaObject()->className())
                                 : widget.objectName();
        controls.append({u"%1 “%2”"_s.arg(name, text.left(40)), place & m_window.rect(), isText});
    }
    void addRows(const QAbstractItemView& view)
    {
        const QAbstractItemModel* const model = view.model();
        const QWidget& viewport = *view.viewport();
        for (int y = 2; y < viewport.height(); y += 8) {
            for (int column = 0; model && column < model->columnCount(view.rootIndex()); ++column) {
                const QModelIndex at = view.indexAt({viewport.width() / 2, y});
                const QModelIndex index = at.isValid() ? at.siblingAtColumn(column) : at;
                const QString text = index.data().toString();
                const bool isSeen = !m_rows.contains(index) && index.isValid() && !text.isEmpty();
                if (!isSeen || !index.flags().testFlag(Qt::ItemIsEnabled))
                    continue;
                m_rows.append(index);
                const auto kind = static_cast<MessageColumn>(column);
                const bool isSymbol = qobject_cast<const MessageTable*>(&view) &&
                                      (kind == MessageColumn::unread || kind == MessageColumn::star ||
                                       kind == MessageColumn::attachments);
                add(viewport, view.visualRect(index).adjusted(0, 0, 0, -1), text, !isSymbol);
            }
        }
    }

    void addEmptyState(const QWidget& widget, const EmptyState& state)
    {
        const EmptyState::Places places = state.placesIn(widget.rect());
        add(widget, places.symbol, u"symbol"_s, false);
        add(widget, places.title, state.title, true);
        if (!state.explanation.isEmpty())
            add(widget, places.explanation, state.explanation, true);
    }
    template <typename Bar>
    void addActions(const Bar& bar)
    {
        for (QAction* const action : bar.actions()) {
            if (action->isVisible() && action->isEnabled() && !action->isSeparator())
                add(bar, bar.actionGeometry(action), action->text(), true);
        }
    }

    QList<PaintedControl> controls;

private:
    const QWidget& m_window;
    QList<QModelIndex> m_rows;
};

bool showsText(const QAbstractButton& button)
{
    const auto* const tool = qobject_cast<const QToolButton*>(&button);
    return !button.text().isEmpty() && !(tool && tool->toolButtonStyle() == Qt::ToolButtonIconOnly);
}

void addControl(Collector& found, const QWidget& widget)
{
    const QRect all = widget.rect();
    if (const auto* const label = qobject_cast<const QLabel*>(&widget)) {
        if (!label->text().isEmpty() || qobject_cast<const SymbolLabel*>(label))
            found.add(widget, all, label->text(), !label->text().isEmpty());
    } else if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
        if (!button->text().isEmpty() || !button->icon().isNull())
            found.add(widget, all, button->text() + button->toolTip(), showsText(*button));
    } else if (const auto* const line = qobject_cast<const QLineEdit*>(&widget)) {
        if (!line->text().isEmpty() || !line->placeholderText().isEmpty())
            found.add(widget, all, line->text() + line->placeholderText(), true);
    } else if (const auto* const picker = qobject_cast<const QComboBox*>(&widget)) {
        found.add(widget, all, picker->currentText(), true);
    } else if (const auto* const text = qobject_cast<const QTextEdit*>(&widget)) {
        found.add(*text->viewport(), text->viewport()->rect(), text->toPlainText(), true);
    } else if (const auto* const plain = qobject_cast<const QPlainTextEdit*>(&widget)) {
        if (!plain->document()->isEmpty())
            found.add(*plain->viewport(), plain->viewport()->rect(), plain->toPlainText(), true);
    } else if (const auto* const tabs = qobject_cast<const QTabBar*>(&widget)) {
        for (int index = 0; index < tabs->count(); ++index)
            found.add(widget, tabs->tabRect(index), tabs->tabText(index), true);
    } else if (const auto* const bar = qobject_cast<const QMenuBar*>(&widget)) {
        found.addActions(*bar);
    } else if (const auto* const menu = qobject_cast<const QMenu*>(&widget)) {
        found.addActions(*menu);
    } else if (const auto* const empty = qobject_cast<const EmptyStateView*>(&widget)) {
        found.addEmptyState(*empty, empty->state());
    } else if (const auto* const header = qobject_cast<const QHeaderView*>(&widget)) {
        const bool isTable = qobject_cast<const MessageTable*>(header->parentWidget()) != nullptr;
        for (int section = 0; section < header->count(); ++section) {
            const QString title = header->model()->headerData(section, header->orientation()).toString();
            if (!header->isSectionHidden(section) && !title.isEmpty())
                found.add(*header->viewport(),
                          {header->sectionViewportPosition(section), 0, header->sectionSize(section),
                           header->height()},
                          title, section > static_cast<int>(MessageColumn::attachments) || !isTable);
        }
    } else if (const auto* const view = qobject_cast<const QAbstractItemView*>(&widget)) {
        found.addRows(*view);
        const auto* const table = qobject_cast<const MessageTable*>(view);
        if (table && table->emptyState())
            found.addEmptyState(*table->viewport(), *table->emptyState());
    }
}

bool isOfEngine(const QWidget& widget)
{
    for (const QWidget* around = &widget; around; around = around->parentWidget()) {
        if (qobject_cast<const SecureMessageView*>(around))
            return true;
    }
    return false;
}

} // namespace

QList<PaintedControl> paintedControls(const QWidget& window)
{
    Collector found(window);
    addControl(found, window);
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        const bool isField = qobject_cast<const QAbstractSpinBox*>(widget->parentWidget()) != nullptr;
        if (widget->isVisible() && widget->isEnabled() && widget->window() == &window && !isField &&
            !isOfEngine(*widget))
            addControl(found, *widget);
    }
    return found.controls;
}

Seen seenIn(const QImage& picture, const QRect& place, double ratio)
{
    const QRect pixels =
        QRectF(QPointF(place.topLeft()) * ratio, QSizeF(place.size()) * ratio).toRect() & picture.rect();
    QHash<QRgb, int> counts;
    for (int y = pixels.top(); y <= pixels.bottom(); ++y) {
        for (int x = pixels.left(); x <= pixels.right(); ++x)
            ++counts[picture.pixel(x, y)];
    }
    if (counts.isEmpty())
        return {QColor(), 0};
    const auto ground = std::max_element(counts.keyValueBegin(), counts.keyValueEnd(),
                                         [](const auto& a, const auto& b) { return a.second < b.second; });
    double best = 1;
    for (auto count = counts.keyBegin(); count != counts.keyEnd(); ++count)
        best = std::max(best, contrast(QColor(*count), QColor(ground->first)));
    return {QColor(ground->first), best};
}

} // namespace Larkhaven
