#include "safety/ImageLook.h"

#include "domain/Text.h"
#include "safety/Fragments.h"
#include "safety/StyleMeasure.h"
#include "safety/UnitScan.h"

#include <QVarLengthArray>

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

/// A text in small letters of ASCII, in place where it is short.
class LoweredText {
public:
    explicit LoweredText(QStringView text)
        : m_units(text.size())
    {
        std::ranges::transform(text, m_units.begin(),
                               [](QChar character) { return Fragments::asciiLowered(character.unicode()); });
    }
    QStringView view() const { return {m_units.data(), m_units.size()}; }

private:
    QVarLengthArray<char16_t, 64> m_units;
};

/// Views of texts in lower case.
struct Declaration {
    QStringView name;  ///< without a vendor's prefix
    QStringView value; ///< without "!important"
};

bool isSame(QStringView text, QLatin1StringView word)
{
    return text.size() == word.size() && Fragments::startsWith(text, word);
}

template <typename... Words>
bool isOneOf(QStringView text, Words... words)
{
    return (isSame(text, words) || ...);
}

/// The text without white space at both ends, which seldom has any.
QStringView trimmed(QStringView text)
{
    const auto isVisible = [](QChar character) { return character > u' ' && character < u'\u007f'; };
    return !text.isEmpty() && isVisible(text.front()) && isVisible(text.back()) ? text : text.trimmed();
}

/// What the names of declarations begin with that decide anything here: of most no more is read.
constexpr std::array decisive{"display"_L1,    "visibility"_L1,  "content-visibility"_L1,
                              "opacity"_L1,    "zoom"_L1,        "filter"_L1,
                              "clip"_L1,       "transform"_L1,   "scale"_L1,
                              "translate"_L1,  "left"_L1,        "right"_L1,
                              "top"_L1,        "bottom"_L1,      "inset"_L1,
                              "margin"_L1,     "text-indent"_L1, "width"_L1,
                              "max-"_L1,       "inline-size"_L1, "height"_L1,
                              "block-size"_L1, "overflow"_L1};

/// The name of a declaration without a vendor's prefix.
QStringView withoutVendor(QStringView name)
{
    if (!name.startsWith(u'-') || name.startsWith("--"_L1))
        return name;
    const qsizetype end = name.indexOf(u'-', 1);
    return end < 0 ? QStringView() : name.sliced(end + 1);
}

bool isFaint(QStringView value)
{
    const std::optional<double> opacity = StyleMeasure::pixels(value);
    return opacity && (value.endsWith(u'%') ? *opacity / 100 : *opacity) <= faintest;
}

/// The arguments of a function in a value; absent where it isn't there.
std::optional<QStringView> argumentsOf(QStringView value, QLatin1StringView function)
{
    const qsizetype start = value.indexOf(function);
    if (start < 0)
        return std::nullopt;
    const QStringView arguments = value.sliced(start + function.size());
    const qsizetype end = arguments.indexOf(u')');
    return end < 0 ? arguments : arguments.first(end);
}

bool isFarAway(const QList<double>& lengths)
{
    return std::ranges::any_of(lengths, [](double length) { return std::abs(length) >= farAway; });
}

/// Whether a clip leaves nothing: no shape of any width, or of any size.
bool clipsAll(QStringView value)
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

bool isTransformedAway(QStringView value)
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
    const QStringView name = declaration.name;
    if (isOneOf(name, "left"_L1, "right"_L1, "top"_L1, "bottom"_L1) || name.startsWith("inset"_L1))
        return isFarAway(StyleMeasure::allPixels(declaration.value));
    // No length is far below zero without a sign.
    if (!UnitScan::holds<u'-'>(declaration.value) ||
        (!name.startsWith("margin"_L1) && !isSame(name, "text-indent"_L1)))
        return false;
    const QList<double> lengths = StyleMeasure::allPixels(declaration.value);
    return std::ranges::any_of(lengths, [](double length) { return length <= -farAway; });
}

/// Whether the declaration hides whatever it applies to, at any size.
bool hidesAll(const Declaration& declaration)
{
    const QStringView name = declaration.name;
    const QStringView value = declaration.value;
    if (isSame(name, "display"_L1))
        return isSame(value, "none"_L1);
    if (isSame(name, "visibility"_L1))
        return isOneOf(value, "hidden"_L1, "collapse"_L1);
    if (isSame(name, "content-visibility"_L1))
        return isSame(value, "hidden"_L1);
    if (isOneOf(name, "opacity"_L1, "zoom"_L1))
        return isFaint(value);
    if (isSame(name, "filter"_L1)) {
        const auto opacity = argumentsOf(value, "opacity("_L1);
        return opacity && isFaint(opacity->trimmed());
    }
    if (isOneOf(name, "clip"_L1, "clip-path"_L1))
        return clipsAll(value);
    if (isSame(name, "transform"_L1))
        return isTransformedAway(value);
    if (isSame(name, "scale"_L1))
        return isTransformedAway(QString("scale("_L1 + value.toString()));
    if (isSame(name, "translate"_L1))
        return isTransformedAway(QString("translate("_L1 + value.toString()));
    return isMovedAway(declaration);
}

bool isWidth(QStringView name)
{
    return isOneOf(name, "width"_L1, "max-width"_L1, "inline-size"_L1, "max-inline-size"_L1);
}

bool isHeight(QStringView name)
{
    return isOneOf(name, "height"_L1, "max-height"_L1, "block-size"_L1, "max-block-size"_L1);
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

bool isSelectorCharacter(QChar character)
{
    return character == u'-' || character == u'_' || character.isLetterOrNumber();
}

} // namespace

ImageLook ImageLook::ofStyle(QStringView declarations)
{
    ImageLook look;
    for (qsizetype start = 0; start < declarations.size();) {
        const qsizetype end = UnitScan::firstOf<u';'>(declarations, start);
        const QStringView piece = declarations.sliced(start, end - start);
        start = end + 1;
        const qsizetype colon = UnitScan::firstOf<u':'>(piece);
        const QStringView name = withoutVendor(trimmed(piece.first(colon)));
        if (colon < piece.size() && Fragments::startsWithAny<decisive>(name)) {
            const QStringView value = piece.sliced(colon + 1);
            look.addDeclaration(name, trimmed(value.first(UnitScan::firstOf<u'!'>(value))));
        }
    }
    return look;
}

void ImageLook::addDeclaration(QStringView name, QStringView value)
{
    const LoweredText loweredName(name);
    const LoweredText loweredValue(value);
    const Declaration declaration{loweredName.view(), loweredValue.view()};
    if (declaration.name.startsWith("margin"_L1)) {
        // The most frequent of them.
        hides = hides || isMovedAway(declaration);
        return;
    }
    const bool isOfWidth = isWidth(declaration.name);
    const bool isSize = isOfWidth || isHeight(declaration.name);
    const bool isDisplay = isSame(declaration.name, "display"_L1);
    const bool isUnknown =
        (isSize || isDisplay ||
         isOneOf(declaration.name, "visibility"_L1, "opacity"_L1, "transform"_L1, "clip-path"_L1)) &&
        declaration.value.contains("var("_L1);
    hides = hides || isUnknown || hidesAll(declaration);
    if (isDisplay && isSame(declaration.value, "contents"_L1))
        isReplacedByContent = true;
    if (declaration.name.startsWith("overflow"_L1) &&
        (declaration.value.startsWith("hidden"_L1) || declaration.value.startsWith("clip"_L1)))
        cutsOverflow = true;
    if (const auto length = isSize ? StyleMeasure::pixels(declaration.value) : std::nullopt) {
        double& extent = isOfWidth ? width : height;
        extent = std::min(extent, *length);
    }
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
