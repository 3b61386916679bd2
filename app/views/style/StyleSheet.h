#pragma once

#include "views/style/StyleColors.h"

#include <QPalette>
#include <QString>

namespace Larkhaven::StyleSheet {

/// Sizes of texts, in pixels at 100%, and the family of the fixed font.
struct Fonts {
    int caption;
    int body;
    int subhead;
    int title;
    QString fixedFamily;
};

/// The one style sheet of the program: what each kind of control and each `Role` looks like.
QString text(const StyleColors& colors, const Fonts& fonts);
/// What the sheet leaves to the palette, and widgets that paint themselves.
QPalette palette(const StyleColors& colors);

} // namespace Larkhaven::StyleSheet
