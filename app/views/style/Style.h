#pragma once

#include "views/style/StyleColors.h"
#include "views/style/Symbols.h"

#include <QFont>
#include <QObject>

#include <array>
#include <optional>

namespace Larkhaven {

/// The looks of the program: one set of tokens for colours, type and measures. Main thread.
///
/// Widgets get theirs from one style sheet by the `Role` that they are given; what paints itself asks for
/// tokens each time that it paints. So only measures have to be taken anew when the style changes (`follow`).
/// Everything follows the message text size t, in pixels at 100%.
class Style : public QObject {
    Q_OBJECT

public:
    using Scheme = StyleColors::Scheme;
    using Colors = StyleColors;

    enum class Type { caption, body, subhead, title };
    enum class Weight { regular, semibold };

    // Measures in pixels at 100%.
    static constexpr int grid = 4;
    static constexpr int smallPadding = 8;
    static constexpr int padding = 12;
    static constexpr int largePadding = 16;
    static constexpr int radius = 6;
    static constexpr int ring = 2; ///< around what has the focus
    static constexpr int cardRadius = 10;
    static constexpr int smallIcon = 16;
    static constexpr int largeIcon = 20;
    static constexpr int emptyStateIcon = 48;

    static constexpr std::array textSizes{10, 11, 12, 13, 14, 15, 16, 18, 20, 22, 24, 28};
    static constexpr int standardTextSize = 13;

    /// The accent of a desktop that has none of its own.
    static constexpr QColor desktopBlue{0x35, 0x84, 0xE4};

    /// The one style of the process.
    static Style& shared();

    Scheme scheme() const { return m_scheme; }
    int textSize() const { return m_textSize; }
    const StyleColors& colors() const { return m_colors; }
    /// A measure that is told as a multiple of the text size, on whole pixels.
    int scaled(double multiple) const;
    /// Captions have the size t−2, body t, subheads t+2 and titles t+7.
    QFont font(Type type, Weight weight = Weight::regular) const;
    QPixmap pixmap(Symbol symbol, int size, const QColor& color, double pixelRatio) const
    {
        return Symbols::pixmap(symbol, size, color, pixelRatio);
    }

    void setScheme(Scheme scheme);
    /// Black and white take the place of the colours, for those who need high contrast.
    void setHighContrast(bool isHigh);
    /// The desktop's accent in place of Larkhaven Purple; its lightness changes as far as reading needs it.
    void setAccent(const std::optional<QColor>& accent);
    /// A size that isn't among `textSizes` counts as `standardTextSize`.
    void setTextSize(double size);

    /// Takes a widget's measures: now, and at each change of the style as long as it lives.
    template <typename Widget, typename Measure>
    void follow(Widget* widget, Measure measure)
    {
        connect(this, &Style::changed, widget, measure);
        measure();
    }

    /// Gives the looks to the application's palette, fonts and style sheet; to be called once.
    void applyToApplication();

Q_SIGNALS:
    /// Colours or sizes are others than before.
    void changed();

private:
    Style();
    int size(Type type) const;
    void update();
    void give();

    Scheme m_scheme = Scheme::light;
    bool m_isHighContrast = false;
    std::optional<QColor> m_accent; ///< the desktop's
    int m_textSize = standardTextSize;
    Colors m_colors;
    bool m_isApplied = false;
};

} // namespace Larkhaven
