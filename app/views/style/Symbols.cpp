#include "views/style/Symbols.h"

#include "views/style/OwnSymbols.h"
#include "views/style/Style.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The names of the icon theme that stand for our symbols.
QString themeName(Symbol symbol)
{
    switch (symbol) {
    case Symbol::tray:
        return u"mail-folder-inbox"_s;
    case Symbol::star:
        return u"non-starred-symbolic"_s;
    case Symbol::starFill:
        return u"starred-symbolic"_s;
    case Symbol::paperplane:
        return u"document-send"_s;
    case Symbol::doc:
        return u"document-edit"_s;
    case Symbol::trash:
        return u"trash-empty"_s;
    case Symbol::tag:
        return u"tag"_s;
    case Symbol::folder:
        return u"folder-symbolic"_s;
    case Symbol::envelope:
        return u"mail-receive"_s;
    case Symbol::paperclip:
        return u"mail-attachment"_s;
    case Symbol::circleFill:
    case Symbol::xmarkCircleFill:
    case Symbol::textSize:
    case Symbol::paintPalette:
    case Symbol::alignLeft:
    case Symbol::alignCenter:
    case Symbol::alignRight:
    case Symbol::listBullet:
    case Symbol::listNumber:
    case Symbol::at:
    case Symbol::gear:
    case Symbol::hand:
    case Symbol::minus:
    case Symbol::archivebox:
    case Symbol::xmarkBin:
    case Symbol::warning:
    case Symbol::reply:
    case Symbol::replyAll:
    case Symbol::forwardMessage:
        return {};
    case Symbol::magnifier:
        return u"edit-find"_s;
    case Symbol::clear:
        return u"edit-clear"_s;
    case Symbol::back:
        return u"go-previous"_s;
    case Symbol::forward:
        return u"go-next"_s;
    case Symbol::chevronDown:
        return u"go-down"_s;
    case Symbol::chevronRight:
        return u"go-next"_s;
    case Symbol::sidebar:
        return u"sidebar-collapse"_s;
    case Symbol::shield:
        return u"security-high-symbolic"_s;
    case Symbol::more:
        return u"overflow-menu"_s;
    case Symbol::file:
        return u"text-x-generic-symbolic"_s;
    case Symbol::pencil:
        return u"mail-message-new"_s;
    case Symbol::plus:
        return u"list-add"_s;
    case Symbol::textFormat:
        return u"dialog-text-and-font"_s;
    case Symbol::textSmaller:
        return u"format-font-size-less"_s;
    case Symbol::textLarger:
        return u"format-font-size-more"_s;
    case Symbol::bold:
        return u"format-text-bold"_s;
    case Symbol::italic:
        return u"format-text-italic"_s;
    case Symbol::underline:
        return u"format-text-underline"_s;
    case Symbol::strikethrough:
        return u"format-text-strikethrough"_s;
    }
    Q_UNREACHABLE();
}

QColor colorOf(Tone tone, bool isEnabled)
{
    const Style::Colors& colors = Style::shared().colors();
    switch (tone) {
    case Tone::text:
        return isEnabled ? colors.text : StyleColors::disabled(colors.text);
    case Tone::secondary:
        return isEnabled ? colors.secondary : StyleColors::disabled(colors.secondary);
    case Tone::onAccent:
        // What is disabled stands on a tint of the accent, where the colour for the accent isn't seen.
        return isEnabled ? colors.onAccent : StyleColors::disabled(colors.text);
    }
    Q_UNREACHABLE();
}

/// Draws the symbol as the style is at that moment, at whatever size it is asked for.
class SymbolEngine final : public QIconEngine {
public:
    SymbolEngine(Symbol symbol, Tone tone)
        : m_symbol(symbol)
        , m_tone(tone)
    {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const double ratio = painter->device()->devicePixelRatioF();
        painter->drawPixmap(rect, drawn(rect.size(), mode, ratio));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        return drawn(size, mode, 1);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal ratio) override
    {
        // Asked for in pixels of the device; who asked says what they stand for.
        return drawn(size / ratio, mode, ratio);
    }
    QIconEngine* clone() const override { return new SymbolEngine(*this); }

private:
    QPixmap drawn(const QSize& size, QIcon::Mode mode, double ratio) const
    {
        const int side = std::max(1, std::min(size.width(), size.height()));
        return Symbols::pixmap(m_symbol, side, colorOf(m_tone, mode != QIcon::Disabled), ratio);
    }

    Symbol m_symbol;
    Tone m_tone;
};

/// Whether the symbol points along the direction of reading.
bool hasDirection(Symbol symbol)
{
    switch (symbol) {
    case Symbol::back:
    case Symbol::forward:
    case Symbol::chevronRight:
    case Symbol::reply:
    case Symbol::replyAll:
    case Symbol::forwardMessage:
    case Symbol::sidebar:
    case Symbol::paperplane:
        return true;
    default:
        return false;
    }
}

} // namespace

QPixmap Symbols::pixmap(Symbol symbol, int size, const QColor& color, double pixelRatio)
{
    const int pixels = static_cast<int>(std::lround(size * pixelRatio));
    const bool isMirrored = QGuiApplication::isRightToLeft() && hasDirection(symbol);
    const QString key = u"larkhaven/%1/%2/%3/%4"_s.arg(static_cast<int>(symbol))
                            .arg(pixels)
                            .arg(color.rgba(), 0, 16)
                            .arg(isMirrored);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = QPixmap(pixels, pixels);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const double unit = pixels / static_cast<double>(Style::smallIcon);
        painter.save();
        painter.scale(unit, unit);
        const bool isOwn = OwnSymbols::paint(painter, symbol);
        painter.restore();
        if (!isOwn) {
            // Of the theme's drawings for several sizes always the same one, as those of one size fit
            // together.
            const int drawn = size >= Style::emptyStateIcon ? 22 : Style::smallIcon;
            const double ratio = std::clamp(std::ceil(static_cast<double>(pixels) / drawn), 1.0, 3.0);
            const QPixmap shape = QIcon::fromTheme(themeName(symbol)).pixmap({drawn, drawn}, ratio);
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawPixmap(pixmap.rect(), shape, shape.rect());
        }
        // Only the shape counts: the colour is ours.
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), color);
        painter.end();
        if (isMirrored)
            pixmap = pixmap.transformed(QTransform::fromScale(-1, 1));
        QPixmapCache::insert(key, pixmap);
    }
    pixmap.setDevicePixelRatio(pixelRatio);
    return pixmap;
}

QIcon Symbols::icon(Symbol symbol, Tone tone)
{
    return QIcon(new SymbolEngine(symbol, tone));
}

} // namespace Larkhaven
