#include "safety/HidingStyles.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace CSSValues;

namespace {

using Property = StyleProperty;

constexpr Color inkOfPage{0x20, 0x21, 0x24, 1};
constexpr double fontOfPage = 14;
constexpr double lineOfFont = 1.2;

constexpr std::array blockTags{
    "address"_L1, "article"_L1, "aside"_L1,   "blockquote"_L1, "body"_L1,       "center"_L1, "dd"_L1,
    "details"_L1, "div"_L1,     "dl"_L1,      "dt"_L1,         "figcaption"_L1, "figure"_L1, "footer"_L1,
    "h1"_L1,      "h2"_L1,      "h3"_L1,      "h4"_L1,         "h5"_L1,         "h6"_L1,     "header"_L1,
    "hr"_L1,      "html"_L1,    "li"_L1,      "main"_L1,       "nav"_L1,        "ol"_L1,     "p"_L1,
    "pre"_L1,     "section"_L1, "summary"_L1, "ul"_L1};
constexpr std::array tableTags{"caption"_L1, "col"_L1,   "colgroup"_L1, "table"_L1, "tbody"_L1,
                               "td"_L1,      "tfoot"_L1, "th"_L1,       "thead"_L1, "tr"_L1};

template <std::size_t size>
bool isOneOf(QStringView name, const std::array<QLatin1StringView, size>& names)
{
    return std::ranges::any_of(names, [&](QLatin1StringView other) { return name == other; });
}

/// Whether the value takes over what the element around it has.
bool isInherited(QStringView value)
{
    return value.isEmpty() || value == "inherit"_L1 || value == "unset"_L1 || value == "revert"_L1;
}

/// Whether the value of a property that isn't inherited means nothing.
bool isNone(QStringView value)
{
    return isInherited(value) || value == "initial"_L1 || value == "none"_L1;
}

std::optional<double> fontSizeOf(QStringView value, double parent)
{
    struct Keyword {
        QLatin1StringView name;
        double size;
    };
    const std::array keywords{Keyword{"xx-small"_L1, 9},         Keyword{"x-small"_L1, 10},
                              Keyword{"small"_L1, 13},           Keyword{"medium"_L1, 16},
                              Keyword{"initial"_L1, 16},         Keyword{"large"_L1, 18},
                              Keyword{"x-large"_L1, 24},         Keyword{"xx-large"_L1, 32},
                              Keyword{"xxx-large"_L1, 48},       Keyword{"smaller"_L1, parent / 1.2},
                              Keyword{"larger"_L1, parent * 1.2}};
    const auto* const known =
        std::ranges::find_if(keywords, [&](const Keyword& one) { return one.name == value; });
    if (known != keywords.end())
        return known->size;
    return length(value, {parent, parent});
}

/// What the functions of a value hold, each by its name.
QList<std::pair<QStringView, QList<QStringView>>> functionsIn(QStringView value)
{
    QList<std::pair<QStringView, QList<QStringView>>> found;
    for (const QStringView piece : pieces(value)) {
        const qsizetype open = piece.indexOf(u'(');
        if (open > 0 && piece.endsWith(u')'))
            found.append({piece.first(open), pieces(piece.sliced(open + 1).chopped(1))});
    }
    return found;
}

/// Whether nothing is left of a box.
bool isClippedAway(QStringView value)
{
    constexpr double least = 2;
    for (const auto& [name, values] : functionsIn(value)) {
        const auto lengthAt = [&](qsizetype index, double whole) {
            return length(values.value(index), {fontOfPage, whole}).value_or(0);
        };
        if (name == "inset"_L1 && !values.isEmpty()) {
            const qsizetype count = std::min<qsizetype>(
                values.indexOf(u"round") < 0 ? values.size() : values.indexOf(u"round"), 4);
            const std::array sides{0, count > 1 ? 1 : 0, count > 2 ? 2 : 0,
                                   count > 3   ? 3
                                   : count > 1 ? 1
                                               : 0};
            const double across = lengthAt(sides[1], pageWidth) + lengthAt(sides[3], pageWidth);
            const double down = lengthAt(sides[0], pageHeight) + lengthAt(sides[2], pageHeight);
            if (across >= pageWidth - least || down >= pageHeight - least)
                return true;
        }
        if ((name == "circle"_L1 || name == "ellipse"_L1) && !values.isEmpty() &&
            length(values[0], {fontOfPage, pageHeight}).value_or(least) < least)
            return true;
        if (name == "polygon"_L1) {
            const bool isPoint = std::ranges::all_of(values, [&](QStringView one) {
                const std::optional<double> place = length(one, {fontOfPage, pageHeight});
                return !place || std::abs(*place) < least;
            });
            if (isPoint)
                return true;
        }
    }
    return false;
}

} // namespace

Look Look::within(QStringView tag, const DeclaredStyle& style, const Hints& hints) const
{
    Look look = *this;
    look.m_keepsSpace = m_keepsSpace || tag == "pre"_L1;
    look.resolveText(*this, style, hints);
    look.resolveGround(*this, style, hints);
    look.resolveBox(*this, tag, style);
    look.resolvePlace(tag, style);
    if (look.m_box == Box::block)
        look.resolveSize(style);
    if (look.m_box != Box::inside && look.m_box != Box::none)
        look.resolveTransform(style);
    return look;
}

bool Look::isShown() const
{
    const bool isFlat = m_cutsLines && m_line < smallestBox;
    return !isFlat && !m_isGone && !m_isInvisible && m_font * m_scale >= smallestFont &&
           m_opacity >= leastOpacity && !isAway() && isInkSeen();
}

bool Look::isAway() const
{
    const double right = m_right + m_indent;
    return right <= -farBefore || m_down <= -farBefore || right >= farBehind || m_down >= farBehind;
}

bool Look::isInkSeen() const
{
    const Color ink = m_fill.value_or(m_ink);
    if (m_ground.isEmpty())
        return ink.alpha >= leastOpacity;
    return std::ranges::any_of(m_ground, [&](const Color& ground) {
        return !isNearlyEqual(ink, ground) || std::ranges::any_of(m_shadows, [&](const Color& shadow) {
            return !isNearlyEqual(shadow, ground);
        });
    });
}

std::optional<double> Look::lengthOf(const DeclaredStyle& style, StyleProperty property, double whole) const
{
    return length(style.value(property), {m_font, whole});
}

void Look::resolveText(const Look& parent, const DeclaredStyle& style, const Hints& hints)
{
    if (const QStringView value = style.value(Property::fontSize); !isInherited(value))
        m_font = fontSizeOf(value, parent.m_font).value_or(parent.m_font);
    if (const QStringView value = style.value(Property::lineHeight); !isInherited(value))
        m_line = number(value) && !value.endsWith(u'%')
                     ? *number(value) * m_font
                     : length(value, {m_font, m_font}).value_or(m_font * lineOfFont);
    if (const QStringView value = style.value(Property::visibility); !isInherited(value))
        m_isInvisible = value == "hidden"_L1 || value == "collapse"_L1;
    const QStringView ink = style.value(Property::color);
    if (!isInherited(ink) && ink != "currentcolor"_L1)
        m_ink = color(ink).value_or(Color());
    else if (ink.isEmpty() && hints.ink)
        m_ink = *hints.ink;
    if (const QStringView value = style.value(Property::textFillColor); !isInherited(value))
        m_fill = color(value);
    if (const QStringView value = style.value(Property::textShadow); !isInherited(value))
        m_shadows = isNone(value) ? QList<Color>() : colorsIn(value);
    if (const QStringView value = style.value(Property::whiteSpace); !isInherited(value))
        m_keepsSpace = value.startsWith("pre"_L1) || value == "break-spaces"_L1;
}

void Look::resolveGround(const Look& parent, const DeclaredStyle& style, const Hints& hints)
{
    const QStringView declared = style.value(Property::backgroundColor);
    Color own = declared == "currentcolor"_L1 ? m_ink : color(declared).value_or(Color{0, 0, 0, 0});
    if (declared.isEmpty() && hints.ground)
        own = *hints.ground;
    const QStringView image = style.value(Property::backgroundImage);
    const bool isPainted = image.contains("-gradient("_L1);
    const QList<Color> painted = isPainted ? colorsIn(image) : QList<Color>();
    if (style.value(Property::backgroundClip) == "text"_L1) {
        // The ground shows in the letters, where these let it through.
        const Color ink = m_fill.value_or(m_ink);
        if (ink.alpha < leastOpacity && (isPainted || own.alpha > 0))
            m_fill = painted.value(0, own);
        return;
    }
    if (own.alpha >= 1)
        m_ground = {own};
    else if (own.alpha > 0)
        std::ranges::transform(parent.m_ground, m_ground.begin(),
                               [&](const Color& below) { return own.over(below); });
    if (!isPainted || m_ground.isEmpty())
        return;
    const Color below = m_ground.first();
    m_ground.clear();
    for (const Color& one : painted)
        m_ground.append(one.over(below));
}

void Look::resolveBox(const Look& parent, QStringView tag, const DeclaredStyle& style)
{
    const QStringView display = style.value(Property::display);
    m_isFlexible = display.endsWith("flex"_L1) || display.endsWith("grid"_L1) || display.endsWith("-box"_L1);
    if (display.startsWith("table"_L1) && display != "table"_L1)
        m_box = Box::ofTable;
    else if (display == "contents"_L1)
        m_box = Box::none;
    else if (display == "table"_L1 || display == "inline-table"_L1)
        m_box = Box::ofTable;
    else if (display == "inline"_L1 || display == "initial"_L1 || display == "unset"_L1)
        m_box = Box::inside;
    else if (display.isEmpty() || display == "inherit"_L1 || display == "revert"_L1 || display == "none"_L1)
        m_box = isOneOf(tag, blockTags) ? Box::block : isOneOf(tag, tableTags) ? Box::ofTable : Box::inside;
    else
        m_box = Box::block;
    const QStringView floating = style.value(Property::floating);
    if (m_box == Box::inside && (parent.m_isFlexible || floating == "left"_L1 || floating == "right"_L1))
        m_box = Box::block;
    m_isGone = parent.m_isGone || display == "none"_L1;
    if (m_box == Box::none)
        return;
    m_opacity = parent.m_opacity * std::clamp(number(style.value(Property::opacity)).value_or(1), 0.0, 1.0);
    for (const auto& [name, values] : functionsIn(style.value(Property::filter))) {
        if (name == "opacity"_L1 && !values.isEmpty())
            m_opacity *= std::clamp(number(values.first()).value_or(1), 0.0, 1.0);
    }
    m_isGone = m_isGone || isClippedAway(style.value(Property::clipPath)) ||
               (m_box == Box::block && style.value(Property::contentVisibility) == "hidden"_L1);
    if (const std::optional<double> zoom = number(style.value(Property::zoom)); zoom && *zoom > 0)
        m_scale = parent.m_scale * *zoom;
}

void Look::resolvePlace(QStringView tag, const DeclaredStyle& style)
{
    if (const QStringView value = style.value(Property::textIndent); !isInherited(value))
        m_ownIndent = length(value, {m_font, pageWidth}).value_or(0);
    if (m_box == Box::block || m_box == Box::ofTable)
        m_indent = m_ownIndent;
    if (m_box == Box::none)
        return;
    if (const QStringView position = style.value(Property::position);
        !isNone(position) && position != "static"_L1) {
        const std::optional<double> left = lengthOf(style, Property::left, pageWidth);
        const std::optional<double> top = lengthOf(style, Property::top, 0);
        m_right += left ? *left : -lengthOf(style, Property::right, pageWidth).value_or(0);
        m_down += top ? *top : -lengthOf(style, Property::bottom, 0).value_or(0);
    }
    const bool isCell = m_box == Box::ofTable && tag != "table"_L1;
    if (!isCell)
        m_right += lengthOf(style, Property::marginLeft, pageWidth).value_or(0);
    if (m_box == Box::block)
        m_down += lengthOf(style, Property::marginTop, pageWidth).value_or(0);
}

void Look::resolveSize(const DeclaredStyle& style)
{
    const auto cuts = [&](StyleProperty property) {
        const QStringView value = style.value(property);
        return !isNone(value) && value != "visible"_L1;
    };
    if (!cuts(Property::overflowX) && !cuts(Property::overflowY))
        return;
    const auto isSmall = [&](StyleProperty property, double whole) {
        const std::optional<double> size = lengthOf(style, property, whole);
        return size && *size < smallestBox;
    };
    // A part of a height that isn't told is no height.
    const auto isLow = [&](StyleProperty property) {
        return !style.value(property).endsWith(u'%') && isSmall(property, 0);
    };
    const bool isNarrow = isSmall(Property::width, pageWidth) || isSmall(Property::maxWidth, pageWidth);
    const bool isFlat = isLow(Property::height) || isLow(Property::maxHeight);
    const bool isWidened = lengthOf(style, Property::minWidth, pageWidth).value_or(0) >= smallestBox;
    const bool isRaised = lengthOf(style, Property::minHeight, 0).value_or(0) >= smallestBox;
    m_cutsLines = m_cutsLines || !lengthOf(style, Property::height, 0);
    m_isGone = m_isGone || (isNarrow && !isWidened) || (isFlat && !isRaised);
}

void Look::resolveTransform(const DeclaredStyle& style)
{
    for (const auto& [name, values] : functionsIn(style.value(Property::transform))) {
        if (values.isEmpty())
            continue;
        const auto lengthAt = [&](qsizetype index, double whole) {
            return length(values.value(index), {m_font, whole}).value_or(0);
        };
        const auto numberAt = [&](qsizetype index) {
            return std::abs(number(values.value(index)).value_or(1));
        };
        if (name == "translate"_L1 || name == "translate3d"_L1 || name == "translatex"_L1)
            m_right += lengthAt(0, pageWidth);
        if (name == "translate"_L1 || name == "translate3d"_L1)
            m_down += lengthAt(1, 0);
        if (name == "translatey"_L1)
            m_down += lengthAt(0, 0);
        if (name == "scalex"_L1 || name == "scaley"_L1)
            m_scale *= numberAt(0);
        if (name == "scale"_L1 || name == "scale3d"_L1)
            m_scale *= std::min(numberAt(0), values.size() > 1 ? numberAt(1) : numberAt(0));
        if (name == "matrix"_L1 && values.size() == 6) {
            m_scale *= std::sqrt(std::abs(number(values[0]).value_or(1) * number(values[3]).value_or(1) -
                                          number(values[1]).value_or(0) * number(values[2]).value_or(0)));
            m_right += number(values[4]).value_or(0);
            m_down += number(values[5]).value_or(0);
        }
        if ((name == "rotatex"_L1 || name == "rotatey"_L1) &&
            (values[0] == "90deg"_L1 || values[0] == ".25turn"_L1 || values[0] == "0.25turn"_L1 ||
             values[0] == "-90deg"_L1 || values[0] == "270deg"_L1))
            m_isGone = true;
    }
}

} // namespace Larkhaven
