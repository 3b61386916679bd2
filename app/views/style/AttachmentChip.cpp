#include "views/style/AttachmentChip.h"

#include "views/style/DisplayText.h"
#include "views/style/RowText.h"
#include "views/style/Style.h"

#include <QMimeDatabase>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The icon theme's image for a kind of file; of the one for its family where there is none.
QIcon fileIcon(const QString& filename, const QString& mimeType)
{
    const QMimeDatabase database;
    QMimeType type = database.mimeTypeForName(mimeType);
    if (!type.isValid() || type.isDefault())
        type = database.mimeTypeForFile(filename, QMimeDatabase::MatchExtension);
    return QIcon::fromTheme(type.iconName(),
                            QIcon::fromTheme(type.genericIconName(), QIcon::fromTheme(u"text-x-generic"_s)));
}

} // namespace

AttachmentChip::AttachmentChip(const QString& filename, const QString& mimeType, qint64 size, QWidget* parent)
    : QAbstractButton(parent)
    , m_filename(DisplayText::bounded(filename))
    , m_size(RowText::size(size))
    , m_icon(fileIcon(filename, mimeType))
{
    setText(DisplayText::menuItem(u"%1 (%2)"_s.arg(m_filename, m_size)));
    setAccessibleName(DisplayText::bounded(u"%1 (%2)"_s.arg(m_filename, m_size)));
    setToolTip(DisplayText::toolTip(tr("Save %1").arg(filename)));
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(&Style::shared(), &Style::changed, this, [this] { updateGeometry(); });
}

void AttachmentChip::setTrailingRoom(int room)
{
    m_trailingRoom = room;
    updateGeometry();
}

int AttachmentChip::iconSize() const
{
    return Style::shared().scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
}

int AttachmentChip::widthWithoutName() const
{
    const QFontMetrics caption(Style::shared().font(Style::Type::caption));
    return Style::smallPadding + iconSize() + 6 + 6 + caption.horizontalAdvance(m_size) + Style::padding +
           m_trailingRoom;
}

QSize AttachmentChip::sizeHint() const
{
    const Style& style = Style::shared();
    const int nameWidth = QFontMetrics(style.font(Style::Type::body)).horizontalAdvance(m_filename) + 2;
    return {widthWithoutName() + std::min(nameWidth, style.scaled(20)), style.scaled(2.2)};
}

QSize AttachmentChip::minimumSizeHint() const
{
    const QSize hint = sizeHint();
    return {std::min(hint.width(), widthWithoutName() + Style::shared().scaled(3)), hint.height()};
}

void AttachmentChip::paintEvent(QPaintEvent*)
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(hasFocus() ? colors.accent : colors.hairline, 1));
    painter.setBrush(isDown() ? colors.selected : underMouse() ? colors.hover : colors.surface);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), Style::radius, Style::radius);

    const auto placed = [this](const QRect& place) {
        return QStyle::visualRect(layoutDirection(), rect(), place);
    };
    const Qt::Alignment begin = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) | Qt::AlignAbsolute;
    const int flags = static_cast<int>(begin | Qt::AlignVCenter) | Qt::TextSingleLine;
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    int left = Style::smallPadding;
    m_icon.paint(&painter, placed({left, (height() - iconSize()) / 2, iconSize(), iconSize()}));
    left += iconSize() + 6;
    painter.setFont(style.font(Style::Type::body));
    painter.setPen(colors.text);
    const QRect name(left, 0, width() - widthWithoutName(), height());
    painter.drawText(placed(name), flags,
                     painter.fontMetrics().elidedText(m_filename, Qt::ElideMiddle, name.width()));
    left += name.width() + 6;
    painter.setFont(style.font(Style::Type::caption));
    painter.setPen(colors.secondary);
    painter.drawText(placed({left, 0, width() - left, height()}), flags, m_size);
}

} // namespace Larkhaven
