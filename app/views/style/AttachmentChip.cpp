#include "views/style/AttachmentChip.h"

#include "domain/FileName.h"
#include "views/style/DisplayText.h"
#include "views/style/RowText.h"
#include "views/style/Style.h"

#include <QMimeDatabase>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The icon theme's image for a type; of the one for its family where there is none.
QIcon fileIcon(const QString& mimeType)
{
    const QMimeType type = QMimeDatabase().mimeTypeForName(mimeType);
    return QIcon::fromTheme(type.iconName(),
                            QIcon::fromTheme(type.genericIconName(), QIcon::fromTheme(u"text-x-generic"_s)));
}

} // namespace

AttachmentChip::AttachmentChip(const QString& filename, const QString& type, qint64 size, QWidget* parent)
    : QAbstractButton(parent)
    , m_filename(FileName::shown(filename))
    , m_size(RowText::size(size))
    , m_icon(fileIcon(type))
{
    setText(DisplayText::menuItem(u"%1 (%2)"_s.arg(m_filename, m_size)));
    setAccessibleName(DisplayText::bounded(u"%1 (%2)"_s.arg(m_filename, m_size)));
    setHelp(m_filename, {});
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(&Style::shared(), &Style::changed, this, [this] { updateGeometry(); });
}

void AttachmentChip::setHelp(const QString& help, const QString& warning)
{
    setToolTip(DisplayText::toolTip(warning.isEmpty() ? QStringList{help} : QStringList{help, warning}));
    setAccessibleDescription(warning);
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

QString AttachmentChip::fitting(const QString& name, const QFontMetrics& metrics, int width)
{
    constexpr QChar isolate(0x2068);
    constexpr QChar endOfIsolate(0x2069);
    const QString ending = FileName::endingOf(name).toString();
    const QString stem = name.chopped(ending.size());
    const int room = std::max(0, width - metrics.horizontalAdvance(ending));
    // In the order of the whole name, letters from right to left would move the ending to its beginning.
    return isolate + metrics.elidedText(stem, Qt::ElideMiddle, room) + endOfIsolate + ending;
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
    painter.setLayoutDirection(Qt::LeftToRight);
    int left = Style::smallPadding;
    m_icon.paint(&painter, placed({left, (height() - iconSize()) / 2, iconSize(), iconSize()}));
    left += iconSize() + 6;
    painter.setFont(style.font(Style::Type::body));
    painter.setPen(colors.text);
    const QRect name(left, 0, width() - widthWithoutName(), height());
    painter.drawText(placed(name), flags, fitting(m_filename, painter.fontMetrics(), name.width()));
    left += name.width() + 6;
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    painter.setFont(style.font(Style::Type::caption));
    painter.setPen(colors.secondary);
    painter.drawText(placed({left, 0, width() - left, height()}), flags, m_size);
}

} // namespace Larkhaven
