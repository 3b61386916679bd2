#include "views/style/Style.h"

#include "views/style/AccentColors.h"
#include "views/style/AccessibleParts.h"

#include <QApplication>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>
#include <QStyle>
#include <QStyleFactory>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

/// Of the text that can't be used at the moment, and of its symbols.
constexpr double disabledAlpha = 0.4;

/// The accent under the mouse: a little nearer to the text on the surface, away from what stands on it.
QColor pressed(const Style::Colors& colors)
{
    const bool isDark = colors.surface.lightnessF() < 0.5;
    return isDark ? colors.accent.lighter(110) : colors.accent.darker(112);
}

Style::Colors derived(Style::Colors colors)
{
    colors.hairline = withAlpha(colors.text, 0.10);
    colors.hover = withAlpha(colors.accent, AccentColors::hoverTint);
    colors.selected = withAlpha(colors.accent, AccentColors::selectionTint);
    colors.quietSelected = withAlpha(colors.text, 0.10);
    return colors;
}

Style::Colors lightColors()
{
    Style::Colors colors;
    colors.window = 0xF6F5F9;
    colors.surface = 0xFFFFFF;
    colors.text = 0x1E1B26;
    colors.secondary = 0x625D70;
    colors.accent = 0x6A45D8;
    colors.onAccent = 0xFFFFFF;
    colors.warningBackground = 0xFFF4DC;
    colors.warningText = 0x6B4A00;
    colors.danger = 0xC42B3C;
    colors.star = 0xD99A00;
    colors.starEdge = 0xA06D00;
    return derived(colors);
}

Style::Colors darkColors()
{
    Style::Colors colors;
    colors.window = 0x1B1922;
    colors.surface = 0x24212D;
    colors.text = 0xECEAF2;
    colors.secondary = 0xA7A1B8;
    colors.accent = 0xA68BFF;
    colors.onAccent = 0x1C1430;
    colors.warningBackground = 0x3A3015;
    colors.warningText = 0xFFD98A;
    colors.danger = 0xFF8089;
    colors.star = 0xFFC94D;
    colors.starEdge = colors.star;
    return derived(colors);
}

/// Black and white, lines that can be seen, and no shade of grey for what is to be read. A palette of the
/// desktop would not do: without a platform theme it is that of the widget style, with less contrast than
/// ours.
Style::Colors highContrastColors(Style::Scheme scheme)
{
    const bool isDark = scheme == Style::Scheme::dark;
    const QColor ink(isDark ? 0xFFFFFF : 0x000000);
    const QColor paper(isDark ? 0x000000 : 0xFFFFFF);
    Style::Colors colors;
    colors.window = paper;
    colors.surface = paper;
    colors.text = ink;
    colors.secondary = ink;
    colors.hairline = ink;
    colors.accent = isDark ? 0xCFC0FF : 0x3A1A9E;
    colors.onAccent = paper;
    colors.hover = withAlpha(colors.accent, 0.10);
    colors.selected = withAlpha(colors.accent, 0.18);
    colors.quietSelected = withAlpha(ink, 0.15);
    colors.warningBackground = paper;
    colors.warningText = ink;
    colors.danger = isDark ? 0xFFB3B8 : 0x9A0015;
    colors.star = isDark ? 0xFFD76A : 0x7A5200;
    colors.starEdge = colors.star;
    return colors;
}

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
    case Symbol::archivebox:
        return u"archive-insert"_s;
    case Symbol::xmarkBin:
        return u"mail-mark-junk"_s;
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
    case Symbol::warning:
        return u"dialog-warning-symbolic"_s;
    case Symbol::more:
        return u"overflow-menu"_s;
    case Symbol::file:
        return u"text-x-generic-symbolic"_s;
    case Symbol::pencil:
        return u"mail-message-new"_s;
    case Symbol::reply:
        return u"mail-reply-sender"_s;
    case Symbol::replyAll:
        return u"mail-reply-all"_s;
    case Symbol::forwardMessage:
        return u"mail-forward"_s;
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

/// A filled circle out of which a cross is cut.
void paintCrossedCircle(QPainter& painter, const QColor& color)
{
    painter.setBrush(color);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QRectF(1, 1, 14, 14));
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setPen(QPen(Qt::black, 1.6, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(5.6, 5.6), QPointF(10.4, 10.4));
    painter.drawLine(QPointF(5.6, 10.4), QPointF(10.4, 5.6));
}

/// Four lines of text, every second one shorter; `shift` tells on which side.
void paintLines(QPainter& painter, double shift)
{
    for (int line = 0; line < 4; ++line) {
        const double left = line % 2 == 0 ? 2 : 2 + shift;
        painter.drawLine(QPointF(left, 3 + line * 3.4),
                         QPointF(left + (line % 2 == 0 ? 12 : 7), 3 + line * 3.4));
    }
}

/// Three items with markers before them.
void paintList(QPainter& painter, const QColor& color, bool isNumbered)
{
    QFont digits = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    digits.setPixelSize(5);
    digits.setBold(true);
    painter.setFont(digits);
    for (int item = 0; item < 3; ++item) {
        const double middle = 3.2 + item * 4.8;
        painter.drawLine(QPointF(6.5, middle), QPointF(14, middle));
        if (isNumbered)
            painter.drawText(QRectF(0, middle - 4, 5, 8), Qt::AlignCenter, QString::number(item + 1));
        else
            painter.fillRect(QRectF(2, middle - 1.1, 2.2, 2.2), color);
    }
}

void paintAt(QPainter& painter, const QColor& color)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(15);
    QPainterPath sign;
    sign.addText(0, 0, font, u"@"_s);
    const QRectF bounds = sign.boundingRect();
    const double scale = 13.5 / std::max(bounds.width(), bounds.height());
    painter.translate(8, 8);
    painter.scale(scale, scale);
    painter.translate(-bounds.center());
    painter.fillPath(sign, color);
}

/// A ring with eight teeth.
void paintGear(QPainter& painter, const QColor& color)
{
    painter.translate(8, 8);
    painter.setPen(QPen(color, 1.4));
    painter.drawEllipse(QPointF(0, 0), 4.4, 4.4);
    painter.drawEllipse(QPointF(0, 0), 1.6, 1.6);
    painter.setPen(QPen(color, 2, Qt::SolidLine, Qt::FlatCap));
    for (int tooth = 0; tooth < 8; ++tooth) {
        painter.drawLine(QPointF(0, -4.8), QPointF(0, -7.2));
        painter.rotate(45);
    }
}

/// A hand that says "stop". One shape: where two overlap, their edges would show.
void paintHand(QPainter& painter, const QColor& color)
{
    QPainterPath fingers;
    for (const QLineF& finger : {QLineF(5.6, 9, 5.6, 3.6), QLineF(8.2, 8, 8.2, 2), QLineF(10.8, 8, 10.8, 3),
                                 QLineF(13.4, 9, 13.4, 5.4)}) {
        fingers.moveTo(finger.p1());
        fingers.lineTo(finger.p2());
    }
    QPainterPathStroker stroker;
    stroker.setWidth(1.9);
    stroker.setCapStyle(Qt::RoundCap);
    QPainterPath palm(QPointF(4.7, 8.6));
    palm.lineTo(14.3, 8.6);
    palm.cubicTo(14.6, 12.4, 13, 14.8, 9.6, 14.8);
    palm.cubicTo(6.8, 14.8, 5, 12.8, 2, 8.4);
    palm.cubicTo(2.8, 7.4, 4, 8.4, 4.7, 9.6);
    palm.closeSubpath();
    painter.fillPath(stroker.createStroke(fingers).united(palm).simplified(), color);
}

/// Draws what the icon theme has no fitting image for, on a field of 16 by 16; false where it has one.
bool paintOwn(QPainter& painter, Symbol symbol, const QColor& color)
{
    painter.setPen(QPen(color, 1.2));
    switch (symbol) {
    case Symbol::circleFill:
        painter.setBrush(color);
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QRectF(1, 1, 14, 14));
        return true;
    case Symbol::xmarkCircleFill:
        paintCrossedCircle(painter, color);
        return true;
    case Symbol::textSize:
        painter.drawPolyline(QPolygonF({{3, 13.5}, {8, 2.5}, {13, 13.5}}));
        painter.drawLine(QPointF(5, 9.5), QPointF(11, 9.5));
        return true;
    case Symbol::paintPalette:
        painter.drawEllipse(QRectF(2, 2, 12, 12));
        painter.setBrush(color);
        for (const QPointF& dot : {QPointF(4.8, 8.6), QPointF(6.2, 5.2), QPointF(9.8, 4.9), QPointF(11.6, 8)})
            painter.drawEllipse(dot, 0.9, 0.9);
        return true;
    case Symbol::alignLeft:
        paintLines(painter, 0);
        return true;
    case Symbol::alignCenter:
        paintLines(painter, 2.5);
        return true;
    case Symbol::alignRight:
        paintLines(painter, 5);
        return true;
    case Symbol::listBullet:
    case Symbol::listNumber:
        paintList(painter, color, symbol == Symbol::listNumber);
        return true;
    case Symbol::at:
        paintAt(painter, color);
        return true;
    case Symbol::gear:
        paintGear(painter, color);
        return true;
    case Symbol::hand:
        paintHand(painter, color);
        return true;
    case Symbol::minus:
        // As thick as the theme's plus, beside which it stands.
        painter.fillRect(QRectF(2, 7, 12, 1), color);
        return true;
    default:
        return false;
    }
}

} // namespace

Style::Style()
    : m_colors(lightColors())
{}

Style& Style::shared()
{
    static Style style;
    return style;
}

int Style::scaled(double multiple) const
{
    return static_cast<int>(std::lround(multiple * m_textSize));
}

QFont Style::font(Type type, Weight weight) const
{
    const auto step = [type] {
        switch (type) {
        case Type::caption:
            return -2;
        case Type::body:
            return 0;
        case Type::subhead:
            return 2;
        case Type::title:
            return 7;
        }
        Q_UNREACHABLE();
    };
    const bool isHeading = type == Type::subhead || type == Type::title;
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(m_textSize + step());
    font.setWeight(isHeading || weight == Weight::semibold ? QFont::DemiBold : QFont::Normal);
    return font;
}

QPixmap Style::pixmap(Symbol symbol, int size, const QColor& color, double pixelRatio) const
{
    const int pixels = static_cast<int>(std::lround(size * pixelRatio));
    const QString key =
        u"larkhaven/%1/%2/%3"_s.arg(static_cast<int>(symbol)).arg(pixels).arg(color.rgba(), 0, 16);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = QPixmap(pixels, pixels);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const double unit = pixels / static_cast<double>(smallIcon);
        painter.save();
        painter.scale(unit, unit);
        const bool isOwn = paintOwn(painter, symbol, color);
        painter.restore();
        if (!isOwn) {
            // Of the theme's drawings for several sizes always the same one, as those of one size fit
            // together.
            const int drawn = size >= emptyStateIcon ? 22 : smallIcon;
            const double ratio = std::clamp(std::ceil(static_cast<double>(pixels) / drawn), 1.0, 3.0);
            const QPixmap shape = QIcon::fromTheme(themeName(symbol)).pixmap({drawn, drawn}, ratio);
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawPixmap(pixmap.rect(), shape, shape.rect());
            // Only the shape counts: the colour is ours.
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(pixmap.rect(), color);
        }
        painter.end();
        QPixmapCache::insert(key, pixmap);
    }
    pixmap.setDevicePixelRatio(pixelRatio);
    return pixmap;
}

QIcon Style::icon(Symbol symbol, const QColor& color, const QColor& disabled) const
{
    QIcon icon;
    // Large text has icons beyond the usual sizes.
    const int scaledIcon = std::max(largeIcon, scaled(static_cast<double>(largeIcon) / standardTextSize));
    for (const int size : {smallIcon, largeIcon, scaledIcon}) {
        for (const double ratio : {1.0, 2.0}) {
            icon.addPixmap(pixmap(symbol, size, color, ratio));
            icon.addPixmap(
                pixmap(symbol, size, withAlpha(disabled, disabled.alphaF() * disabledAlpha), ratio),
                QIcon::Disabled);
        }
    }
    return icon;
}

void Style::setScheme(Scheme scheme)
{
    if (std::exchange(m_scheme, scheme) != scheme)
        update();
}

void Style::setHighContrast(bool isHigh)
{
    if (std::exchange(m_isHighContrast, isHigh) != isHigh)
        update();
}

void Style::setAccent(const std::optional<QColor>& accent)
{
    if (std::exchange(m_accent, accent) != accent)
        update();
}

void Style::setTextSize(double size)
{
    const auto isSize = [size](int step) { return size == static_cast<double>(step); };
    const auto found = std::ranges::find_if(textSizes, isSize);
    const int taken = found == textSizes.end() ? standardTextSize : *found;
    if (std::exchange(m_textSize, taken) != taken)
        update();
}

Style::Colors Style::schemeColors() const
{
    Colors colors = m_scheme == Scheme::dark ? darkColors() : lightColors();
    if (!m_accent)
        return colors;
    colors.accent = AccentColors::fitting(
        *m_accent, {colors.window, colors.surface, colors.text, colors.secondary, colors.starEdge},
        colors.accent);
    colors.onAccent = AccentColors::onAccent(colors.accent);
    return derived(colors);
}

void Style::update()
{
    m_colors = m_isHighContrast ? highContrastColors(m_scheme) : schemeColors();
    if (m_isApplied)
        applyToApplication();
    Q_EMIT changed();
}

void Style::applyToApplication()
{
    m_isApplied = true;
    installAccessibleParts();
    // A desktop's own theme may lack images that we need, and mixes styles.
    QIcon::setThemeName(u"breeze"_s);
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QApplication::setPalette(palette());
    QApplication::setFont(font(Type::body));
    QToolTip::setFont(font(Type::caption));
    qApp->setStyleSheet(styleSheet());
}

QPalette Style::palette() const
{
    QPalette palette;
    palette.setColor(QPalette::Window, m_colors.window);
    palette.setColor(QPalette::WindowText, m_colors.text);
    palette.setColor(QPalette::Base, m_colors.surface);
    palette.setColor(QPalette::AlternateBase, m_colors.window);
    palette.setColor(QPalette::Text, m_colors.text);
    palette.setColor(QPalette::Button, m_colors.window);
    palette.setColor(QPalette::ButtonText, m_colors.text);
    palette.setColor(QPalette::BrightText, m_colors.danger);
    palette.setColor(QPalette::Highlight, m_colors.accent);
    palette.setColor(QPalette::HighlightedText, m_colors.onAccent);
    palette.setColor(QPalette::Link, m_colors.accent);
    palette.setColor(QPalette::PlaceholderText, m_colors.secondary);
    palette.setColor(QPalette::ToolTipBase, m_colors.surface);
    palette.setColor(QPalette::ToolTipText, m_colors.text);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, withAlpha(m_colors.text, disabledAlpha));
    return palette;
}

QString Style::styleSheet() const
{
    const auto css = [](const QColor& color) { return color.name(QColor::HexArgb); };
    QString sheet = uR"(
        QToolTip { color: @text; background: @surface; border: 1px solid @hairline; padding: 4px 8px; }
        QToolButton[flat="true"] { border: 2px solid transparent; border-radius: 6px; background: transparent; color: @text; padding: 0 4px; }
        QToolButton[flat="true"]:hover { background: @hover; }
        QToolButton[flat="true"]:pressed, QToolButton[flat="true"]:checked { background: @selected; }
        QToolButton[flat="true"]:disabled { color: @disabled; }
        QToolButton[flat="true"][small="true"] { padding: 0; }
        QToolButton[flat="true"][primary="true"] { background: @accent; color: @onAccent; padding: 0 10px; }
        QToolButton[flat="true"][primary="true"]:hover { background: @pressed; }
        QToolButton[flat="true"][primary="true"]:disabled { background: @selected; color: @disabled; }
        QToolButton[flat="true"]:focus { border-color: @accent; }
        QToolButton[flat="true"][primary="true"]:focus { border-color: @text; }
        QToolButton[flat="true"]::menu-indicator { image: none; }
        QPushButton { border: 1px solid @hairline; border-radius: 6px; background: @surface; color: @text; padding: 5px 14px; }
        QPushButton:hover { background: @hover; }
        QPushButton:default { background: @accent; color: @onAccent; border-color: @accent; }
        QPushButton:focus { border: 2px solid @accent; padding: 4px 13px; }
        QPushButton:default:focus { border-color: @text; }
        QPushButton[role="quiet"] { border: 1px solid transparent; background: transparent; color: @accent; padding: 1px 8px;
                                    font-size: @captionSize; font-weight: 600; }
        QPushButton[role="quiet"]:hover { background: @hover; }
        QPushButton[role="quiet"]:focus { border: 2px solid @accent; padding: 0 7px; }
        QPushButton[destructive="true"] { color: @danger; border-color: @danger; }
        QPushButton:disabled { color: @secondary; border-color: @hairline; background: transparent; }
        QLineEdit { border: 1px solid @hairline; border-radius: 6px; background: @surface; color: @text; padding: 4px 8px;
                    selection-background-color: @accent; selection-color: @onAccent; }
        QLineEdit:focus { border: 2px solid @accent; padding: 3px 7px; }
        QToolButton[disclosure="true"], QToolButton[disclosure="true"]:checked { background: transparent; padding: 0; }
        QSpinBox, QDoubleSpinBox { border: 1px solid @hairline; border-radius: 6px; background: @surface; color: @text;
                              padding: 4px 8px; selection-background-color: @accent; selection-color: @onAccent; }
        QSpinBox:focus, QDoubleSpinBox:focus { border: 2px solid @accent; padding: 3px 7px; }
        QLabel[role="heading"] { font-size: @subheadSize; font-weight: 600; }
        QLabel[role="caption"] { color: @secondary; font-size: @captionSize; }
        QLabel[role="hint"] { color: @secondary; }
        QLineEdit[role="value"] { border: 1px solid transparent; background: transparent; padding: 4px 0; }
        QLineEdit[role="value"]:focus { border: 2px solid @accent; padding: 3px 0; }
        QLineEdit[role="value"][danger="true"] { color: @danger; }
        QPlainTextEdit[role="field"], QListView[role="field"] { border: 1px solid @hairline; border-radius: 6px;
            background: @surface; color: @text; selection-background-color: @accent; selection-color: @onAccent; }
        QPlainTextEdit[role="field"] { padding: 4px; }
        QPlainTextEdit[role="field"]:focus, QListView[role="field"]:focus { border: 2px solid @accent; }
        QPlainTextEdit[role="field"]:focus { padding: 3px; }
        QRadioButton[segment] { border: 1px solid @edge; background: @surface; color: @text; padding: 4px 12px; spacing: 0; }
        QRadioButton[segment]::indicator { width: 0; height: 0; border: none; background: transparent; image: none; }
        QRadioButton[segment="first"] { border-top-left-radius: 6px; border-bottom-left-radius: 6px; }
        QRadioButton[segment="last"] { border-top-right-radius: 6px; border-bottom-right-radius: 6px; }
        QRadioButton[segment="middle"], QRadioButton[segment="last"] { border-left: none; }
        QRadioButton[segment]:hover { background: @hover; }
        QRadioButton[segment]:checked { background: @accent; color: @onAccent; border-color: @accent; }
        QRadioButton[segment]:focus { border: 2px solid @text; padding: 3px 11px; }
        QTabBar[role="panes"]::tab { background: transparent; color: @secondary; border: none;
            border-bottom: 2px solid transparent; padding: 8px 16px; }
        QTabBar[role="panes"]::tab:hover { background: @hover; }
        QTabBar[role="panes"]::tab:selected { color: @text; border-bottom-color: @accent; }
        QTabBar[role="panes"]::tab:selected:focus { background: @selected; }
        QComboBox QAbstractItemView { background: @surface; color: @text; border: 1px solid @hairline;
                                      selection-background-color: @accent; selection-color: @onAccent; }
        QListView[role="suggestions"] { background: @surface; color: @text; border: 1px solid @hairline; padding: 2px; }
        QMenu { background: @surface; color: @text; border: 1px solid @hairline; padding: 4px; }
        QMenu::item { padding: 5px 24px 5px 12px; border-radius: 4px; }
        QMenu::item:selected { background: @accent; color: @onAccent; }
        QMenu::item:disabled { color: @secondary; }
        QMenu::separator { height: 1px; background: @hairline; margin: 4px 8px; }
        QScrollBar:vertical { background: transparent; width: 10px; margin: 0; }
        QScrollBar:horizontal { background: transparent; height: 10px; margin: 0; }
        QScrollBar::handle { background: @scroll; border-radius: 3px; margin: 2px; }
        QScrollBar::handle:vertical { min-height: 32px; }
        QScrollBar::handle:horizontal { min-width: 32px; }
        QScrollBar::handle:hover { background: @secondary; }
        QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
        QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
        QSplitter::handle { background: @hairline; }
        QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
        QMessageBox #qt_msgbox_label { font-weight: 600; }
        QMenuBar { background: @window; color: @text; }
        QMenuBar::item { background: transparent; padding: 4px 8px; border-radius: 4px; }
        QMenuBar::item:selected { background: @hover; }
    )"_s;
    const std::initializer_list<std::pair<QLatin1StringView, QColor>> tokens{
        {"@onAccent"_L1, m_colors.onAccent},
        {"@surface"_L1, m_colors.surface},
        {"@secondary"_L1, m_colors.secondary},
        {"@selected"_L1, m_colors.selected},
        {"@hairline"_L1, m_colors.hairline},
        {"@window"_L1, m_colors.window},
        {"@accent"_L1, m_colors.accent},
        {"@danger"_L1, m_colors.danger},
        {"@hover"_L1, m_colors.hover},
        {"@disabled"_L1, withAlpha(m_colors.text, disabledAlpha)},
        {"@pressed"_L1, pressed(m_colors)},
        {"@edge"_L1, m_isHighContrast ? m_colors.text : withAlpha(m_colors.text, 0.22)},
        {"@scroll"_L1, withAlpha(m_colors.text, 0.22)},
        {"@text"_L1, m_colors.text}};
    for (const auto& [token, color] : tokens)
        sheet.replace(token, css(color));
    for (const auto& [token, type] :
         {std::pair("@subheadSize"_L1, Type::subhead), std::pair("@captionSize"_L1, Type::caption)})
        sheet.replace(token, u"%1px"_s.arg(font(type).pixelSize()));
    return sheet;
}

} // namespace Larkhaven
