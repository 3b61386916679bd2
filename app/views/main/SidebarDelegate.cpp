#include "views/main/SidebarDelegate.h"

#include "views/main/SidebarView.h"
#include "views/style/Style.h"

#include <QLocale>
#include <QPainter>
#include <QTreeView>

namespace Larkhaven {

namespace {

constexpr int indentation = 14;

bool isHeading(const QModelIndex& index)
{
    return !index.parent().isValid();
}

bool hasKeyboard(const QStyleOptionViewItem& option)
{
    return option.state.testFlag(QStyle::State_Active) && option.widget && option.widget->hasFocus();
}

/// A place within the row, told from its left, where it stands in the direction of the option.
QRect placed(const QStyleOptionViewItem& option, const QRect& place)
{
    return QStyle::visualRect(option.direction, option.rect, place);
}

/// One line at the side of the place where a row begins, each script in its own direction.
void drawLine(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place, const QString& text)
{
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    const Qt::Alignment side = QStyle::visualAlignment(option.direction, Qt::AlignLeft) | Qt::AlignAbsolute;
    painter.drawText(placed(option, place), static_cast<int>(side | Qt::AlignVCenter) | Qt::TextSingleLine,
                     text);
}

/// A ring around the row that the keyboard is at.
void paintFocus(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place)
{
    if (!hasKeyboard(option) || !option.state.testFlag(QStyle::State_HasFocus))
        return;
    const bool isOnAccent = option.state.testFlag(QStyle::State_Selected);
    const Style::Colors& colors = Style::shared().colors();
    painter.setPen(QPen(isOnAccent ? colors.text : colors.accent, Style::ring));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(place).adjusted(1, 1, -1, -1), Style::radius, Style::radius);
}

} // namespace

int SidebarDelegate::signInTop()
{
    return Style::shared().scaled(2.0);
}

QSize SidebarDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const
{
    const Style& style = Style::shared();
    if (!isHeading(index))
        return {SidebarView::minimumColumnWidth, style.scaled(2.2)};
    const bool needsSignIn = index.data(SidebarView::NeedsSignInRole).toBool();
    return {SidebarView::minimumColumnWidth, style.scaled(needsSignIn ? 3.6 : 2.4)};
}

void SidebarDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (isHeading(index))
        paintHeading(*painter, option, index);
    else
        paintRow(*painter, option, index);
    painter->restore();
}

void SidebarDelegate::paintHeading(QPainter& painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const
{
    const Style& style = Style::shared();
    const auto* const tree = qobject_cast<const QTreeView*>(option.widget);
    const bool isFolded = tree && !tree->isExpanded(index);
    const QRect content = option.rect.adjusted(Style::padding, 0, -Style::padding, 0);
    const QRect titleLine = content.adjusted(0, style.scaled(0.7), 0, 0);
    paintFocus(painter, option, option.rect.adjusted(Style::grid, style.scaled(0.6), -Style::grid, -1));
    const int lineHeight = style.scaled(1.4);
    const QFont font = style.font(Style::Type::caption, Style::Weight::semibold);

    int arrowWidth = 0;
    if (m_hovered == index || isFolded || option.state.testFlag(QStyle::State_HasFocus)) {
        arrowWidth = style.scaled(1.2);
        const Symbol symbol = isFolded ? Symbol::chevronRight : Symbol::chevronDown;
        const QRect place(content.right() - arrowWidth + 1, titleLine.top() + (lineHeight - arrowWidth) / 2,
                          arrowWidth, arrowWidth);
        painter.drawPixmap(placed(option, place), style.pixmap(symbol, arrowWidth, style.colors().secondary,
                                                               painter.device()->devicePixelRatioF()));
    }
    painter.setFont(font);
    painter.setPen(style.colors().secondary);
    const QRect title(titleLine.left(), titleLine.top(), titleLine.width() - arrowWidth, lineHeight);
    drawLine(painter, option, title,
             QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideMiddle, title.width()));
    if (index.data(SidebarView::NeedsSignInRole).toBool()) {
        painter.setFont(style.font(Style::Type::caption));
        painter.setPen(style.colors().danger);
        drawLine(painter, option, title.translated(0, signInTop() - style.scaled(0.7)),
                 SidebarView::tr("Sign-in required"));
    }
}

int SidebarDelegate::paintCount(QPainter& painter, const QStyleOptionViewItem& option, const QRect& content,
                                qint64 count, bool isSelected) const
{
    if (count <= 0)
        return 0;
    const Style& style = Style::shared();
    const QFont font = style.font(Style::Type::caption, Style::Weight::semibold);
    const QString text = QLocale().toString(count);
    const int height = style.scaled(1.35);
    const int width = std::max(QFontMetrics(font).horizontalAdvance(text) + style.scaled(0.9), height);
    QRect pill(0, 0, width, height);
    pill.moveCenter(content.center());
    pill.moveRight(content.right());
    pill = placed(option, pill);
    QColor fill = isSelected ? style.colors().onAccent : style.colors().text;
    fill.setAlphaF(isSelected ? 0.22F : 0.08F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(pill, height / 2.0, height / 2.0);
    painter.setFont(font);
    painter.setPen(isSelected ? style.colors().onAccent : style.colors().secondary);
    painter.drawText(pill, Qt::AlignCenter, text);
    return width + Style::smallPadding;
}

void SidebarDelegate::paintRow(QPainter& painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    const auto* const sidebar = qobject_cast<const SidebarView*>(option.widget);
    const bool isShown = sidebar && sidebar->isShown(index);
    // A pane that the keyboard isn't in shows its selection quietly.
    const bool isSelected = isShown && hasKeyboard(option);
    const QRect fill = option.rect.adjusted(Style::smallPadding, 1, -Style::smallPadding, -1);
    painter.setPen(Qt::NoPen);
    if (isShown || m_hovered == index) {
        painter.setBrush(isSelected ? colors.accent : isShown ? colors.quietSelected : colors.hover);
        painter.drawRoundedRect(fill, Style::radius, Style::radius);
    }
    paintFocus(painter, option, fill);

    const int depth = index.data(SidebarView::DepthRole).toInt();
    // A deep tree keeps room for its names.
    const int indent = std::min(depth * indentation, fill.width() / 3);
    QRect content = fill.adjusted(Style::smallPadding + indent, 0, -Style::smallPadding, 0);
    content.setRight(content.right() - paintCount(painter, option, content,
                                                  index.data(SidebarView::CountRole).toLongLong(),
                                                  isSelected));

    const int icon = style.scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
    const QRect iconPlace(content.left(), content.center().y() - icon / 2 + 1, icon, icon);
    const auto symbol = static_cast<Symbol>(index.data(SidebarView::SymbolRole).toInt());
    painter.drawPixmap(placed(option, iconPlace),
                       style.pixmap(symbol, icon, isSelected ? colors.onAccent : colors.secondary,
                                    painter.device()->devicePixelRatioF()));

    const QFont font = style.font(Style::Type::body);
    const QRect name = content.adjusted(icon + Style::smallPadding, 0, 0, 0);
    painter.setFont(font);
    const bool isEnabled = index.flags().testFlag(Qt::ItemIsEnabled);
    painter.setPen(isSelected ? colors.onAccent : isEnabled ? colors.text : colors.secondary);
    drawLine(painter, option, name,
             QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, name.width()));
}

} // namespace Larkhaven
