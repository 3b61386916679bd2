#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>

namespace Larkhaven {

/// The images of the program, all of one monochrome set, tinted with a text colour.
enum class Symbol {
    tray,
    star,
    starFill,
    paperplane,
    doc,
    archivebox,
    xmarkBin,
    trash,
    tag,
    folder,
    envelope,
    paperclip,
    circleFill,
    magnifier,
    clear,
    back,
    forward,
    chevronDown,
    chevronRight,
    sidebar,
    shield,
    warning,
    more,
    file,
    pencil,
    reply,
    replyAll,
    forwardMessage,
    plus,
    textFormat,
    textSmaller,
    textSize,
    textLarger,
    paintPalette,
    bold,
    italic,
    underline,
    strikethrough,
    alignLeft,
    alignCenter,
    alignRight,
    listBullet,
    listNumber,
    xmarkCircleFill,
    at,
    gear,
    hand,
    minus,
};
inline constexpr int symbolCount = static_cast<int>(Symbol::minus) + 1;

/// A colour of the style that a symbol is drawn in.
enum class Tone { text, secondary, onAccent };

/// The drawings: those of the Breeze icon theme, and our own where it has none that fits. Main thread.
namespace Symbols {

/// `size` in pixels at 100%.
QPixmap pixmap(Symbol symbol, int size, const QColor& color, double pixelRatio);
/// An icon that is drawn anew each time that it is painted, so that it follows the style. While it is
/// disabled it is a shade of its colour.
QIcon icon(Symbol symbol, Tone tone = Tone::text);

} // namespace Symbols

} // namespace Larkhaven
