#include "views/list/MessageRowDelegate.h"

#include "views/style/DisplayText.h"
#include "views/style/RowText.h"
#include "views/style/Style.h"

#include <QPainter>

namespace Larkhaven {

namespace {

constexpr int edgeWidth = 3;

/// More than a wide screen shows of a cell. There are many of them, and each is laid out when it is painted.
constexpr qsizetype longestCell = 400;

/// One line of untrusted text, so long as anything of it can be seen.
QString singleLine(const QString& text)
{
    return DisplayText::bounded(text, longestCell).simplified();
}

/// One line of the cell, each script in its own direction: at the side where the row begins, or where it
/// ends.
void drawLine(QPainter& painter, Qt::LayoutDirection direction, const QRect& place, Qt::Alignment alignment,
              const QString& text)
{
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    const Qt::Alignment side = QStyle::visualAlignment(direction, alignment) | Qt::AlignAbsolute;
    painter.drawText(place, static_cast<int>(side | Qt::AlignVCenter) | Qt::TextSingleLine, text);
}

} // namespace

MessageRowDelegate::MessageRowDelegate(AppModel& model, const SortedMessages& rows, QObject* parent)
    : QStyledItemDelegate(parent)
    , m_model(model)
    , m_rows(rows)
{}

void MessageRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const
{
    const MessageSummary& row = m_rows.row(index.row());
    const MessageColumn column = allMessageColumns[static_cast<size_t>(index.column())];
    const QRect content = option.rect.adjusted(Style::smallPadding, 0, -Style::smallPadding, -1);
    painter->save();
    paintBackground(*painter, option, index);
    switch (column) {
    case MessageColumn::unread:
    case MessageColumn::star:
    case MessageColumn::attachments:
        paintSymbol(*painter, option.rect, row, column);
        break;
    case MessageColumn::subject:
        paintSubject(*painter, option.direction, content, row);
        break;
    case MessageColumn::from:
    case MessageColumn::date:
    case MessageColumn::mailbox:
    case MessageColumn::size:
        paintText(*painter, option.direction, content, index.data().toString(), row, column);
        break;
    }
    painter->restore();
}

void MessageRowDelegate::paintBackground(QPainter& painter, const QStyleOptionViewItem& option,
                                         const QModelIndex& index) const
{
    const Style::Colors& colors = Style::shared().colors();
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter.fillRect(option.rect, colors.surface);
    const bool hasKeyboard =
        option.state.testFlag(QStyle::State_Active) && option.widget && option.widget->hasFocus();
    if (isSelected)
        painter.fillRect(option.rect, hasKeyboard ? colors.selected : colors.quietSelected);
    else if (index.row() == m_hoveredRow)
        painter.fillRect(option.rect, colors.hover);
    if (isSelected && index.column() == m_firstVisibleColumn)
        painter.fillRect(
            QStyle::visualRect(option.direction, option.rect,
                               QRect(option.rect.topLeft(), QSize(edgeWidth, option.rect.height()))),
            hasKeyboard ? colors.accent : colors.secondary);
    painter.fillRect(QRect(option.rect.left(), option.rect.bottom(), option.rect.width(), 1),
                     colors.hairline);
}

void MessageRowDelegate::paintSymbol(QPainter& painter, const QRect& rect, const MessageSummary& row,
                                     MessageColumn column) const
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    const double ratio = painter.device()->devicePixelRatioF();
    const auto draw = [&](Symbol symbol, int size, const QColor& color) {
        QRect place(0, 0, size, size);
        place.moveCenter(rect.center());
        painter.drawPixmap(place, style.pixmap(symbol, size, color, ratio));
    };
    if (column == MessageColumn::unread && !row.isRead)
        draw(Symbol::circleFill, style.scaled(0.75), colors.accent);
    else if (column == MessageColumn::star && row.isStarred) {
        draw(Symbol::starFill, style.scaled(1.2), colors.starEdge);
        draw(Symbol::starFill, style.scaled(1.2) - 2, colors.star);
    } else if (column == MessageColumn::attachments && row.hasAttachments)
        draw(Symbol::paperclip, style.scaled(1.2), colors.secondary);
}

void MessageRowDelegate::paintSubject(QPainter& painter, Qt::LayoutDirection direction, const QRect& rect,
                                      const MessageSummary& row) const
{
    const Style& style = Style::shared();
    const QFont font =
        style.font(Style::Type::body, row.isRead ? Style::Weight::regular : Style::Weight::semibold);
    const QFontMetrics metrics(font);
    const QString subject = singleLine(RowText::subject(row));
    painter.setFont(font);
    painter.setPen(row.subject.isEmpty() ? style.colors().secondary : style.colors().text);
    drawLine(painter, direction, rect, Qt::AlignLeft,
             metrics.elidedText(subject, Qt::ElideRight, rect.width()));

    const int subjectWidth = metrics.horizontalAdvance(subject) + style.scaled(0.6);
    const QRect rest = rect.adjusted(subjectWidth, 0, 0, 0);
    const bool hasPreview = m_model.defaults().boolean(DefaultsKey::showPreview) && !row.snippet.isEmpty();
    if (!hasPreview || rest.width() < style.scaled(3))
        return;
    const QFont previewFont = style.font(Style::Type::body);
    painter.setFont(previewFont);
    painter.setPen(style.colors().secondary);
    drawLine(painter, direction, QStyle::visualRect(direction, rect, rest), Qt::AlignLeft,
             QFontMetrics(previewFont).elidedText(singleLine(row.snippet), Qt::ElideRight, rest.width()));
}

void MessageRowDelegate::paintText(QPainter& painter, Qt::LayoutDirection direction, const QRect& rect,
                                   const QString& text, const MessageSummary& row, MessageColumn column) const
{
    const Style& style = Style::shared();
    const bool isSender = column == MessageColumn::from;
    QFont font = style.font(Style::Type::body,
                            isSender && !row.isRead ? Style::Weight::semibold : Style::Weight::regular);
    painter.setFont(font);
    painter.setPen(isSender ? style.colors().text : style.colors().secondary);
    // The end of an address says whose it is.
    const bool isAddress = isSender && row.sender && !row.sender->isTrusted();
    const bool isNumber = column == MessageColumn::size || column == MessageColumn::date;
    drawLine(painter, direction, rect, isNumber ? Qt::AlignRight : Qt::AlignLeft,
             QFontMetrics(font).elidedText(singleLine(text), isAddress ? Qt::ElideLeft : Qt::ElideRight,
                                           rect.width()));
}

} // namespace Larkhaven
