#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QObject>
#include <QPalette>
#include <QString>

#include <array>
#include <memory>
#include <optional>

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

/// The looks of the program: one set of tokens for colours, type and measures, which widgets ask for by name.
/// Main thread.
///
/// Everything follows the message text size t, in pixels at 100%.
class Style : public QObject {
    Q_OBJECT

public:
    enum class Scheme { light, dark };

    struct Colors {
        QColor window;
        QColor surface;
        QColor text;
        QColor secondary;
        QColor hairline;
        QColor accent;
        QColor onAccent;
        QColor hover;         ///< accent at 10%
        QColor selected;      ///< accent at 18%
        QColor quietSelected; ///< of a pane without the focus
        QColor warningBackground;
        QColor warningText;
        QColor danger;
        QColor star;
        QColor starEdge; ///< keeps the star visible on light grounds
    };

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
    const Colors& colors() const { return m_colors; }
    /// A measure that is told as a multiple of the text size, on whole pixels.
    int scaled(double multiple) const;
    /// Captions have the size t−2, body t, subheads t+2 and titles t+7.
    QFont font(Type type, Weight weight = Weight::regular) const;
    /// An icon in the given colour; `size` in pixels at 100%.
    QIcon icon(Symbol symbol, const QColor& color) const { return icon(symbol, color, color); }
    /// While it is disabled it is a shade of another colour.
    QIcon icon(Symbol symbol, const QColor& color, const QColor& disabled) const;
    QPixmap pixmap(Symbol symbol, int size, const QColor& color, double pixelRatio) const;

    void setScheme(Scheme scheme);
    /// Black and white take the place of the colours, for those who need high contrast.
    void setHighContrast(bool isHigh);
    /// The desktop's accent in place of Larkhaven Purple; its lightness changes as far as reading needs it.
    void setAccent(const std::optional<QColor>& accent);
    /// A size that isn't among `textSizes` counts as `standardTextSize`.
    void setTextSize(double size);

    /// Gives the looks to the application's palette, fonts and style sheet; to be called once.
    void applyToApplication();

Q_SIGNALS:
    /// Colours or sizes are others than before.
    void changed();

private:
    Style();
    void update();
    Colors schemeColors() const;
    QPalette palette() const;
    QString styleSheet() const;

    Scheme m_scheme = Scheme::light;
    bool m_isHighContrast = false;
    std::optional<QColor> m_accent; ///< the desktop's
    int m_textSize = standardTextSize;
    Colors m_colors;
    bool m_isApplied = false;
};

} // namespace Larkhaven
