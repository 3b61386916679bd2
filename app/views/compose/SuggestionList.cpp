#include "views/compose/SuggestionList.h"

#include "views/compose/SuggestionsModel.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QPainter>
#include <QStyledItemDelegate>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr double rowHeight = 2.3;

/// Draws a text with its matched letters semibold; gives the width that it took.
int drawMatched(QPainter& painter, const QRect& rect, const QString& text, const QString& query,
                const QColor& color)
{
    const Style& style = Style::shared();
    const QFont font = style.font(Style::Type::body);
    const qsizetype match = SuggestionList::matchIn(text, query);
    QTextCharFormat semibold;
    semibold.setFontWeight(QFont::DemiBold);
    QTextLayout layout(text, font);
    layout.setCacheEnabled(true);
    if (match >= 0)
        layout.setFormats({{static_cast<int>(match), static_cast<int>(query.size()), semibold}});
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    layout.endLayout();
    if (!line.isValid())
        return 0;
    painter.save();
    painter.setClipRect(rect);
    painter.setPen(color);
    layout.draw(&painter, QPointF(rect.left(), rect.top() + (rect.height() - line.height()) / 2));
    painter.restore();
    return static_cast<int>(line.naturalTextWidth()) + 1;
}

/// A name in body and its address in secondary.
class SuggestionDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        return {1, Style::shared().scaled(rowHeight)};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const Style::Colors& colors = Style::shared().colors();
        const bool isHighlighted = option.state.testFlag(QStyle::State_Selected);
        if (isHighlighted) {
            painter->save();
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(Qt::NoPen);
            painter->setBrush(colors.accent);
            painter->drawRoundedRect(option.rect, Style::grid, Style::grid);
            painter->restore();
        }
        const QString query = index.data(SuggestionsModel::tokenRole).toString();
        const QString name = index.data(SuggestionsModel::nameRole).toString();
        QRect rect = option.rect.adjusted(Style::smallPadding, 0, -Style::smallPadding, 0);
        if (!name.isEmpty())
            rect.setLeft(
                rect.left() +
                drawMatched(*painter, rect, name, query, isHighlighted ? colors.onAccent : colors.text) +
                Style::smallPadding);
        drawMatched(*painter, rect, index.data(SuggestionsModel::emailRole).toString(), query,
                    isHighlighted ? colors.onAccent : colors.secondary);
    }
};

} // namespace

SuggestionList::SuggestionList()
{
    setObjectName("suggestions"_L1);
    setRole(*this, Role::suggestions);
    setAccessibleName(tr("Suggestions"));
    setMouseTracking(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setUniformItemSizes(true);
    connect(this, &QListView::entered, this, &SuggestionList::setCurrentIndex);
}

void SuggestionList::drawRows()
{
    setItemDelegate(new SuggestionDelegate(this));
}

int SuggestionList::preferredWidth()
{
    return Style::shared().scaled(32);
}

qsizetype SuggestionList::matchIn(const QString& text, const QString& query)
{
    if (query.isEmpty())
        return -1;
    qsizetype start = 0;
    while (start >= 0 && start < text.size()) {
        if (QStringView(text).sliced(start).startsWith(query, Qt::CaseInsensitive))
            return start;
        const qsizetype space = text.indexOf(u' ', start);
        start = space < 0 ? -1 : space + 1;
    }
    return -1;
}

} // namespace Larkhaven
