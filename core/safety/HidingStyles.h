#pragma once

#include "safety/CSSValues.h"
#include "safety/StyleRules.h"

#include <QList>
#include <QStringView>

#include <optional>

namespace Larkhaven {

/// What the styles of an element and of those around it mean for the text in it: whether a reader sees it.
/// Pure, callable from any thread.
///
/// NB: no layout. What another element lies over isn't known, and a page is taken to have
/// `CSSValues::pageWidth`.
class Look {
public:
    /// The text in a font below this size isn't read, in CSS pixels.
    static constexpr double smallestFont = 5;
    /// The text in a box below this size that cuts off what is beyond it isn't seen, in CSS pixels.
    static constexpr double smallestBox = 6;
    static constexpr double leastOpacity = 0.15;
    /// What is moved so far to the left or up, and to the right or down, isn't on the page, in CSS pixels.
    static constexpr double farBefore = 800;
    static constexpr double farBehind = 2'000;

    /// What the attributes `bgcolor` and `color` say, which counts less than any style.
    struct Hints {
        std::optional<CSSValues::Color> ground;
        std::optional<CSSValues::Color> ink;
    };

    /// That of an element within one of this look. `tag` is in lower case.
    Look within(QStringView tag, const DeclaredStyle& style, const Hints& hints) const;

    bool isShown() const;
    /// Whether it is hidden with all that it holds, whatever that says of itself.
    bool isGone() const { return m_isGone; }
    bool keepsSpace() const { return m_keepsSpace; }
    /// The lines behind the first one aren't indented.
    void endFirstLine() { m_indent = 0; }

private:
    using Color = CSSValues::Color;
    enum class Box { inside, block, ofTable, none };

    void resolveText(const Look& parent, const DeclaredStyle& style, const Hints& hints);
    void resolveGround(const Look& parent, const DeclaredStyle& style, const Hints& hints);
    void resolveBox(const Look& parent, QStringView tag, const DeclaredStyle& style);
    void resolvePlace(QStringView tag, const DeclaredStyle& style);
    void resolveSize(const DeclaredStyle& style);
    void resolveTransform(const DeclaredStyle& style);
    std::optional<double> lengthOf(const DeclaredStyle& style, StyleProperty property, double whole) const;
    bool isInkSeen() const;
    bool isAway() const;

    bool m_isGone = false;
    bool m_isInvisible = false;
    bool m_isFlexible = false; ///< its children are boxes
    bool m_cutsLines = false;  ///< what is higher than its lines
    bool m_keepsSpace = false;
    Box m_box = Box::block;
    double m_font = 14;
    double m_scale = 1;
    double m_opacity = 1;
    double m_line = 20;     ///< the height of a line
    double m_indent = 0;    ///< that counts for the text
    double m_ownIndent = 0; ///< that blocks within inherit
    double m_right = 0;     ///< how far it is moved
    double m_down = 0;
    Color m_ink{0x20, 0x21, 0x24, 1};
    std::optional<Color> m_fill; ///< in place of the ink
    QList<Color> m_shadows;
    QList<Color> m_ground{Color{255, 255, 255, 1}}; ///< all that it may have; empty for unknown
};

} // namespace Larkhaven
