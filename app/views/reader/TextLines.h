#pragma once

#include <QFont>
#include <QString>

namespace Larkhaven {

/// How a text lies on lines of a width, as a label with word wrap lays it out. Measures are in pixels.
struct TextLines {
    /// Where a label may break a word.
    static constexpr QChar breakMark{0x200b};

    int count = 0;
    double height = 0;      ///< of all lines
    qsizetype lastFrom = 0; ///< where the last line begins, in UTF-16 units
    qsizetype to = 0;       ///< where it ends; the size of the text where all of it fits
    double lastTop = 0;
    double lastHeight = 0;
    double lastWidth = 0; ///< of what stands on the last line

    /// Lays out at most `most` lines, of which number `most` is shorter by `lastRoom`. A word that is longer
    /// than a line is broken.
    static TextLines of(const QString& text, const QFont& font, int width, int most, int lastRoom = 0);

    /// The text with places to break at where a line ends within a word: a label breaks words nowhere else.
    static QString breakable(const QString& text, const QFont& font, int width, int most);
};

} // namespace Larkhaven
