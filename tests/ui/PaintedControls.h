#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>
#include <QString>
#include <QWidget>

namespace Larkhaven {

/// A piece of a window that says something: a label, a button, a cell.
struct PaintedControl {
    QString name;
    QRect place; ///< in the coordinates of the window
    bool isText; ///< else a symbol
};

/// The visible and enabled ones of the window that hold a text or a symbol. What the web engine draws, and
/// what is scrolled out of sight, is none of them.
QList<PaintedControl> paintedControls(const QWidget& window);

/// What is seen in a place.
struct Seen {
    QColor ground;   ///< the colour that most of its pixels have
    double contrast; ///< the highest that any of its pixels has with the ground
};
/// `ratio` is that of the picture's pixels to those of `place`.
Seen seenIn(const QImage& picture, const QRect& place, double ratio);

} // namespace Larkhaven
