#pragma once

#include <QFont>
#include <QString>

namespace Larkhaven {

/// What the last of some lines keeps free, in pixels.
struct LastLineRoom {
    int width = 0;
    bool isAlways = false; ///< also where the text ends on that line
};

/// How a text lies on lines of a width, as a label with word wrap lays it out. Measures are in pixels. Main
/// thread.
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
    /// The text with places to break at where a line ends within a word: a label breaks words nowhere else.
    QString text;

    /// Lays out at most `most` lines; number `most` keeps the room free. A word that is longer than a line is
    /// broken, a letter with its marks never.
    static TextLines of(const QString& text, const QFont& font, int width, int most, LastLineRoom room = {});

    /// How many UTF-16 units have been given to `of` so far: what its work is measured by.
    static qint64 unitsLaidOut();
};

} // namespace Larkhaven
