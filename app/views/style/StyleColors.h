#pragma once

#include <QColor>

#include <optional>

namespace Larkhaven {

/// The colours of one look. Each text reaches 4.5:1 on its ground, each symbol and control 3:1.
struct StyleColors {
    enum class Scheme { light, dark };

    QColor window;
    QColor surface;
    QColor text;
    QColor secondary;
    QColor hairline;
    QColor edge; ///< of a control that has nothing else to be seen by
    QColor accent;
    QColor pressedAccent; ///< the accent under the mouse: a little away from what stands on it
    QColor onAccent;
    QColor hover;         ///< accent at 10%
    QColor selected;      ///< accent at 18%
    QColor quietSelected; ///< of a pane without the focus
    QColor scrollBar;     ///< secondary at 40%
    QColor warningBackground;
    QColor warningText;
    QColor danger;
    QColor star;
    QColor starEdge; ///< keeps the star visible on light grounds

    /// The program's own, with the desktop's accent where one is given; its lightness changes as far as
    /// reading needs it.
    static StyleColors of(Scheme scheme, const std::optional<QColor>& accent = std::nullopt);
    /// Black and white, lines that can be seen, and no shade of grey for what is to be read.
    static StyleColors ofHighContrast(Scheme scheme);
    /// A shade of the colour for what can't be used at the moment.
    static QColor disabled(QColor color);
};

} // namespace Larkhaven
