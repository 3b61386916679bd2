#include "safety/ImageLook.h"

#include "domain/Text.h"
#include "safety/StyleMeasure.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Farther from its place than this nothing is on the page any more.
constexpr double farAway = 1000;
/// So faint that nobody sees it.
constexpr double faintest = 0.05;
/// An image that is smaller one way, or smaller than the second both ways, isn't there to be seen. In pixels.
constexpr double smallestEdge = 2;
constexpr double smallestArea = 4;

struct Declaration {
    QString name;  ///< in lower case, without a vendor's prefix
    QString value; ///< in lower case, without "!important"
};

Declaration declarationIn(QStringView piece, qsizetype colon)
{
    QString name = Text::asciiLowered(piece.first(colon).trimmed());
    if (name.startsWith(u'-') && !name.startsWith("--"_L1))
        name = name.section(u'-', 2);
    const QStringView value = piece.sliced(colon + 1);
    const qsizetype mark = value.indexOf(u'!');
    return {name, Text::asciiLowered((mark < 0 ? value : value.first(mark)).trimmed())};
}

bool isFaint(QStringView value)
{
    const std::optional<double> opacity = StyleMeasure::pixels(value);
    return opacity && (value.endsWith(u'%') ? *opacity / 100 : *opacity) <= faintest;
}

/// The arguments of a function in a value; absent where it isn't there.
std::optional<QStringView> argumentsOf(const QString& value, QLatin1StringView function)
{
    const qsizetype start = value.indexOf(function);
    if (start < 0)
        return std::nullopt;
    const QStringView arguments = QStringView(value).sliced(start + function.size());
    const qsizetype end = arguments.indexOf(u')');
    return end < 0 ? arguments : arguments.first(end);
}

bool isFarAway(const QList<double>& lengths)
{
    return std::ranges::any_of(lengths, [](double length) { return std::abs(length) >= farAway; });
}

/// Whether a clip leaves nothing: no shape of any width, or of any size.
bool clipsAll(const QString& value)
{
    if (const auto inset = argumentsOf(value, "inset("_L1)) {
        constexpr double half = 50;
        const QList<double> lengths = StyleMeasure::allPixels(*inset);
        return !lengths.isEmpty() && lengths[0] >= half && inset->contains(u'%');
    }
    for (const QLatin1StringView round : {"circle("_L1, "ellipse("_L1}) {
        if (const auto arguments = argumentsOf(value, round)) {
            const QList<double> lengths = StyleMeasure::allPixels(*arguments);
            return !lengths.isEmpty() && lengths[0] < 2;
        }
    }
    for (const QLatin1StringView straight : {"rect("_L1, "polygon("_L1}) {
        if (const auto arguments = argumentsOf(value, straight)) {
            const QList<double> lengths = StyleMeasure::allPixels(*arguments);
            return !lengths.isEmpty() &&
                   std::ranges::all_of(lengths, [&](double length) { return length == lengths[0]; });
        }
    }
    return false;
}

bool isTransformedAway(const QString& value)
{
    if (const auto scale = argumentsOf(value, "scale"_L1)) {
        const QList<double> factors = StyleMeasure::allPixels(*scale);
        if (std::ranges::any_of(factors, [](double factor) { return std::abs(factor) <= faintest; }))
            return true;
    }
    const auto translation = argumentsOf(value, "translate"_L1);
    return translation && isFarAway(StyleMeasure::allPixels(*translation));
}

bool isMovedAway(const Declaration& declaration)
{
    const QString& name = declaration.name;
    if (name == "left"_L1 || name == "right"_L1 || name == "top"_L1 || name == "bottom"_L1 ||
        name.startsWith("inset"_L1))
        return isFarAway(StyleMeasure::allPixels(declaration.value));
    if (!name.startsWith("margin"_L1) && name != "text-indent"_L1)
        return false;
    const QList<double> lengths = StyleMeasure::allPixels(declaration.value);
    return std::ranges::any_of(lengths, [](double length) { return length <= -farAway; });
}

/// Whether the declaration hides whatever it applies to, at any size.
bool hidesAll(const Declaration& declaration)
{
    const QString& name = declaration.name;
    const QString& value = declaration.value;
    if (name == "display"_L1)
        return value == "none"_L1;
    if (name == "visibility"_L1)
        return value == "hidden"_L1 || value == "collapse"_L1;
    if (name == "content-visibility"_L1)
        return value == "hidden"_L1;
    if (name == "opacity"_L1 || name == "zoom"_L1)
        return isFaint(value);
    if (name == "filter"_L1) {
        const auto opacity = argumentsOf(value, "opacity("_L1);
        return opacity && isFaint(opacity->trimmed());
    }
    if (name == "clip"_L1 || name == "clip-path"_L1)
        return clipsAll(value);
    if (name == "transform"_L1)
        return isTransformedAway(value);
    if (name == "scale"_L1)
        return isTransformedAway("scale("_L1 + value);
    if (name == "translate"_L1)
        return isTransformedAway("translate("_L1 + value);
    return isMovedAway(declaration);
}

bool isWidth(const QString& name)
{
    return name == "width"_L1 || name == "max-width"_L1 || name == "inline-size"_L1 ||
           name == "max-inline-size"_L1;
}

bool isHeight(const QString& name)
{
    return name == "height"_L1 || name == "max-height"_L1 || name == "block-size"_L1 ||
           name == "max-block-size"_L1;
}

/// The number that an attribute begins with, whatever follows it; a length as in a style as well.
std::optional<double> dimension(QStringView attribute)
{
    attribute = attribute.trimmed();
    if (attribute.startsWith(u'+'))
        attribute = attribute.sliced(1);
    const auto isOfNumber = [](QChar character) {
        return (character >= u'0' && character <= u'9') || character == u'.';
    };
    const auto end = std::ranges::find_if_not(attribute, isOfNumber);
    if (end == attribute.begin())
        return StyleMeasure::pixels(attribute);
    return StyleMeasure::pixels(attribute.first(end - attribute.begin()));
}

/// Whether a declaration is one of those that most styles consist of, and that hide no image.
bool isOfText(QStringView declaration)
{
    constexpr std::array names{"font"_L1, "color"_L1, "padding"_L1, "border"_L1, "background"_L1, "line-"_L1};
    return std::ranges::any_of(names, [&](QLatin1StringView name) { return declaration.startsWith(name); });
}

bool isSelectorCharacter(QChar character)
{
    return character == u'-' || character == u'_' || character.isLetterOrNumber();
}

} // namespace

ImageLook ImageLook::ofStyle(QStringView declarations)
{
    ImageLook look;
    for (const QStringView piece : declarations.tokenize(u';')) {
        const qsizetype colon = piece.indexOf(u':');
        if (colon < 0 || isOfText(piece.trimmed()))
            continue;
        const Declaration declaration = declarationIn(piece, colon);
        const QString& name = declaration.name;
        const bool isSize = isWidth(name) || isHeight(name);
        const bool isUnknown = (isSize || name == "display"_L1 || name == "visibility"_L1 ||
                                name == "opacity"_L1 || name == "transform"_L1 || name == "clip-path"_L1) &&
                               declaration.value.contains("var("_L1);
        look.hides = look.hides || isUnknown || hidesAll(declaration);
        if (name == "display"_L1 && declaration.value == "contents"_L1)
            look.isReplacedByContent = true;
        if (name.startsWith("overflow"_L1) &&
            (declaration.value.startsWith("hidden"_L1) || declaration.value.startsWith("clip"_L1)))
            look.cutsOverflow = true;
        if (const auto length = isSize ? StyleMeasure::pixels(declaration.value) : std::nullopt) {
            double& extent = isWidth(name) ? look.width : look.height;
            extent = std::min(extent, *length);
        }
    }
    return look;
}

ImageLook ImageLook::ofAttributes(QStringView width, QStringView height)
{
    ImageLook look;
    look.width = dimension(width).value_or(look.width);
    look.height = dimension(height).value_or(look.height);
    return look;
}

void ImageLook::add(const ImageLook& other)
{
    hides = hides || other.hides;
    cutsOverflow = cutsOverflow || other.cutsOverflow;
    isReplacedByContent = isReplacedByContent || other.isReplacedByContent;
    width = std::min(width, other.width);
    height = std::min(height, other.height);
}

bool ImageLook::hidesImage() const
{
    return hides || isReplacedByContent || width < smallestEdge || height < smallestEdge ||
           (width < smallestArea && height < smallestArea);
}

bool ImageLook::hidesContent() const
{
    return hides || (cutsOverflow && (width < smallestEdge || height < smallestEdge));
}

bool ImageLookRules::addSheet(QStringView css)
{
    bool addsAny = false;
    qsizetype start = 0;
    while (start < css.size()) {
        const qsizetype open = css.indexOf(u'{', start);
        if (open < 0)
            break;
        // Statements such as "@charset" end before the selectors.
        QStringView selectors = css.sliced(start, open - start);
        selectors = selectors.sliced(selectors.lastIndexOf(u';') + 1).trimmed();
        qsizetype end = open + 1;
        for (int depth = 1; end < css.size() && depth > 0; ++end)
            depth += css[end] == u'{' ? 1 : css[end] == u'}' ? -1 : 0;
        if (!selectors.startsWith(u'@'))
            addsAny |= addRule(selectors, css.sliced(open + 1, end - open - 1));
        start = end;
    }
    return addsAny;
}

bool ImageLookRules::addRule(QStringView selectors, QStringView declarations)
{
    if (declarations.endsWith(u'}'))
        declarations.chop(1);
    const ImageLook look = ImageLook::ofStyle(declarations);
    if (!look.hidesImage() && !look.cutsOverflow && look.width >= smallestArea && look.height >= smallestArea)
        return false;
    bool addsAny = false;
    for (const QStringView selector : selectors.tokenize(u',')) {
        const QStringView simple = selector.trimmed();
        const bool isSimple =
            !simple.isEmpty() && simple.count(u'.') <= 1 && std::ranges::all_of(simple, [](QChar character) {
                return character == u'.' || isSelectorCharacter(character);
            });
        if (!isSimple)
            continue;
        addsAny = true;
        m_isFull = m_isFull || m_looks.size() >= mostRules;
        if (m_isFull)
            break;
        const qsizetype dot = simple.indexOf(u'.');
        QString known = Text::asciiLowered(dot < 0 ? simple : simple.first(dot));
        if (dot >= 0)
            known += simple.sliced(dot);
        m_looks[known].add(look);
    }
    return addsAny;
}

ImageLook ImageLookRules::of(QLatin1StringView tag, QStringView classes) const
{
    ImageLook look;
    look.hides = m_isFull;
    if (m_looks.isEmpty() || m_isFull)
        return look;
    const QString name = tag;
    look.add(m_looks.value(name));
    const QString spaced = classes.toString().simplified();
    for (const QStringView each : spaced.tokenize(u' ', Qt::SkipEmptyParts)) {
        const QString selector = u'.' + each.toString();
        look.add(m_looks.value(selector));
        look.add(m_looks.value(name + selector));
    }
    return look;
}

} // namespace Larkhaven
