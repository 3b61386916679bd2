#include "views/AttachmentChip.h"

#include "views/RowText.h"
#include "views/Style.h"

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
    , m_filename(filename)
    , m_size(RowText::size(size))
    , m_icon(fileIcon(filename, mimeType))
{
    QString mnemonicFree = u"%1 (%2)"_s.arg(filename, m_size);
    setText(mnemonicFree.replace(u'&', u"&&"_s));
    setAccessibleName(u"%1 (%2)"_s.arg(filename, m_size));
    setToolTip(tr("Save %1").arg(filename).toHtmlEscaped());
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    connect(&Style::shared(), &Style::changed, this, [this] { updateGeometry(); });
}

int AttachmentChip::iconSize() const
{
    return Style::shared().scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
}

int AttachmentChip::nameWidth() const
{
    const Style& style = Style::shared();
    return std::min(QFontMetrics(style.font(Style::Type::body)).horizontalAdvance(m_filename) + 2,
                    style.scaled(20));
}

QSize AttachmentChip::sizeHint() const
{
    const Style& style = Style::shared();
    const int sizeWidth = QFontMetrics(style.font(Style::Type::caption)).horizontalAdvance(m_size);
    const int width = Style::smallPadding + iconSize() + 6 + nameWidth() + 6 + sizeWidth + Style::padding;
    return {width, style.scaled(2.2)};
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

    int left = Style::smallPadding;
    m_icon.paint(&painter, QRect(left, (height() - iconSize()) / 2, iconSize(), iconSize()));
    left += iconSize() + 6;
    painter.setFont(style.font(Style::Type::body));
    painter.setPen(colors.text);
    const QRect name(left, 0, nameWidth(), height());
    painter.drawText(name, Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(m_filename, Qt::ElideMiddle, name.width()));
    left += name.width() + 6;
    painter.setFont(style.font(Style::Type::caption));
    painter.setPen(colors.secondary);
    painter.drawText(QRect(left, 0, width() - left, height()), Qt::AlignVCenter | Qt::TextSingleLine, m_size);
}

} // namespace Larkhaven
