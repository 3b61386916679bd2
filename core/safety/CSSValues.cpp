#include "safety/CSSValues.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven::CSSValues {

namespace {

struct Named {
    QLatin1StringView name;
    quint32 value; ///< 0xRRGGBB
};

/// CSS Color 4, 6.1; and of the system's colors (6.2) those that are white on a light page. In the order of
/// the names.
constexpr std::array namedColors = std::to_array<Named>({{"aliceblue"_L1, 0xf0f8ff},
                                                         {"antiquewhite"_L1, 0xfaebd7},
                                                         {"aqua"_L1, 0x00ffff},
                                                         {"aquamarine"_L1, 0x7fffd4},
                                                         {"azure"_L1, 0xf0ffff},
                                                         {"beige"_L1, 0xf5f5dc},
                                                         {"bisque"_L1, 0xffe4c4},
                                                         {"black"_L1, 0x000000},
                                                         {"blanchedalmond"_L1, 0xffebcd},
                                                         {"blue"_L1, 0x0000ff},
                                                         {"blueviolet"_L1, 0x8a2be2},
                                                         {"brown"_L1, 0xa52a2a},
                                                         {"burlywood"_L1, 0xdeb887},
                                                         {"cadetblue"_L1, 0x5f9ea0},
                                                         {"canvas"_L1, 0xffffff},
                                                         {"chartreuse"_L1, 0x7fff00},
                                                         {"chocolate"_L1, 0xd2691e},
                                                         {"coral"_L1, 0xff7f50},
                                                         {"cornflowerblue"_L1, 0x6495ed},
                                                         {"cornsilk"_L1, 0xfff8dc},
                                                         {"crimson"_L1, 0xdc143c},
                                                         {"cyan"_L1, 0x00ffff},
                                                         {"darkblue"_L1, 0x00008b},
                                                         {"darkcyan"_L1, 0x008b8b},
                                                         {"darkgoldenrod"_L1, 0xb8860b},
                                                         {"darkgray"_L1, 0xa9a9a9},
                                                         {"darkgreen"_L1, 0x006400},
                                                         {"darkgrey"_L1, 0xa9a9a9},
                                                         {"darkkhaki"_L1, 0xbdb76b},
                                                         {"darkmagenta"_L1, 0x8b008b},
                                                         {"darkolivegreen"_L1, 0x556b2f},
                                                         {"darkorange"_L1, 0xff8c00},
                                                         {"darkorchid"_L1, 0x9932cc},
                                                         {"darkred"_L1, 0x8b0000},
                                                         {"darksalmon"_L1, 0xe9967a},
                                                         {"darkseagreen"_L1, 0x8fbc8f},
                                                         {"darkslateblue"_L1, 0x483d8b},
                                                         {"darkslategray"_L1, 0x2f4f4f},
                                                         {"darkslategrey"_L1, 0x2f4f4f},
                                                         {"darkturquoise"_L1, 0x00ced1},
                                                         {"darkviolet"_L1, 0x9400d3},
                                                         {"deeppink"_L1, 0xff1493},
                                                         {"deepskyblue"_L1, 0x00bfff},
                                                         {"dimgray"_L1, 0x696969},
                                                         {"dimgrey"_L1, 0x696969},
                                                         {"dodgerblue"_L1, 0x1e90ff},
                                                         {"field"_L1, 0xffffff},
                                                         {"firebrick"_L1, 0xb22222},
                                                         {"floralwhite"_L1, 0xfffaf0},
                                                         {"forestgreen"_L1, 0x228b22},
                                                         {"fuchsia"_L1, 0xff00ff},
                                                         {"gainsboro"_L1, 0xdcdcdc},
                                                         {"ghostwhite"_L1, 0xf8f8ff},
                                                         {"gold"_L1, 0xffd700},
                                                         {"goldenrod"_L1, 0xdaa520},
                                                         {"gray"_L1, 0x808080},
                                                         {"green"_L1, 0x008000},
                                                         {"greenyellow"_L1, 0xadff2f},
                                                         {"grey"_L1, 0x808080},
                                                         {"honeydew"_L1, 0xf0fff0},
                                                         {"hotpink"_L1, 0xff69b4},
                                                         {"indianred"_L1, 0xcd5c5c},
                                                         {"indigo"_L1, 0x4b0082},
                                                         {"ivory"_L1, 0xfffff0},
                                                         {"khaki"_L1, 0xf0e68c},
                                                         {"lavender"_L1, 0xe6e6fa},
                                                         {"lavenderblush"_L1, 0xfff0f5},
                                                         {"lawngreen"_L1, 0x7cfc00},
                                                         {"lemonchiffon"_L1, 0xfffacd},
                                                         {"lightblue"_L1, 0xadd8e6},
                                                         {"lightcoral"_L1, 0xf08080},
                                                         {"lightcyan"_L1, 0xe0ffff},
                                                         {"lightgoldenrodyellow"_L1, 0xfafad2},
                                                         {"lightgray"_L1, 0xd3d3d3},
                                                         {"lightgreen"_L1, 0x90ee90},
                                                         {"lightgrey"_L1, 0xd3d3d3},
                                                         {"lightpink"_L1, 0xffb6c1},
                                                         {"lightsalmon"_L1, 0xffa07a},
                                                         {"lightseagreen"_L1, 0x20b2aa},
                                                         {"lightskyblue"_L1, 0x87cefa},
                                                         {"lightslategray"_L1, 0x778899},
                                                         {"lightslategrey"_L1, 0x778899},
                                                         {"lightsteelblue"_L1, 0xb0c4de},
                                                         {"lightyellow"_L1, 0xffffe0},
                                                         {"lime"_L1, 0x00ff00},
                                                         {"limegreen"_L1, 0x32cd32},
                                                         {"linen"_L1, 0xfaf0e6},
                                                         {"magenta"_L1, 0xff00ff},
                                                         {"maroon"_L1, 0x800000},
                                                         {"mediumaquamarine"_L1, 0x66cdaa},
                                                         {"mediumblue"_L1, 0x0000cd},
                                                         {"mediumorchid"_L1, 0xba55d3},
                                                         {"mediumpurple"_L1, 0x9370db},
                                                         {"mediumseagreen"_L1, 0x3cb371},
                                                         {"mediumslateblue"_L1, 0x7b68ee},
                                                         {"mediumspringgreen"_L1, 0x00fa9a},
                                                         {"mediumturquoise"_L1, 0x48d1cc},
                                                         {"mediumvioletred"_L1, 0xc71585},
                                                         {"midnightblue"_L1, 0x191970},
                                                         {"mintcream"_L1, 0xf5fffa},
                                                         {"mistyrose"_L1, 0xffe4e1},
                                                         {"moccasin"_L1, 0xffe4b5},
                                                         {"navajowhite"_L1, 0xffdead},
                                                         {"navy"_L1, 0x000080},
                                                         {"oldlace"_L1, 0xfdf5e6},
                                                         {"olive"_L1, 0x808000},
                                                         {"olivedrab"_L1, 0x6b8e23},
                                                         {"orange"_L1, 0xffa500},
                                                         {"orangered"_L1, 0xff4500},
                                                         {"orchid"_L1, 0xda70d6},
                                                         {"palegoldenrod"_L1, 0xeee8aa},
                                                         {"palegreen"_L1, 0x98fb98},
                                                         {"paleturquoise"_L1, 0xafeeee},
                                                         {"palevioletred"_L1, 0xdb7093},
                                                         {"papayawhip"_L1, 0xffefd5},
                                                         {"peachpuff"_L1, 0xffdab9},
                                                         {"peru"_L1, 0xcd853f},
                                                         {"pink"_L1, 0xffc0cb},
                                                         {"plum"_L1, 0xdda0dd},
                                                         {"powderblue"_L1, 0xb0e0e6},
                                                         {"purple"_L1, 0x800080},
                                                         {"rebeccapurple"_L1, 0x663399},
                                                         {"red"_L1, 0xff0000},
                                                         {"rosybrown"_L1, 0xbc8f8f},
                                                         {"royalblue"_L1, 0x4169e1},
                                                         {"saddlebrown"_L1, 0x8b4513},
                                                         {"salmon"_L1, 0xfa8072},
                                                         {"sandybrown"_L1, 0xf4a460},
                                                         {"seagreen"_L1, 0x2e8b57},
                                                         {"seashell"_L1, 0xfff5ee},
                                                         {"sienna"_L1, 0xa0522d},
                                                         {"silver"_L1, 0xc0c0c0},
                                                         {"skyblue"_L1, 0x87ceeb},
                                                         {"slateblue"_L1, 0x6a5acd},
                                                         {"slategray"_L1, 0x708090},
                                                         {"slategrey"_L1, 0x708090},
                                                         {"snow"_L1, 0xfffafa},
                                                         {"springgreen"_L1, 0x00ff7f},
                                                         {"steelblue"_L1, 0x4682b4},
                                                         {"tan"_L1, 0xd2b48c},
                                                         {"teal"_L1, 0x008080},
                                                         {"thistle"_L1, 0xd8bfd8},
                                                         {"tomato"_L1, 0xff6347},
                                                         {"turquoise"_L1, 0x40e0d0},
                                                         {"violet"_L1, 0xee82ee},
                                                         {"wheat"_L1, 0xf5deb3},
                                                         {"white"_L1, 0xffffff},
                                                         {"whitesmoke"_L1, 0xf5f5f5},
                                                         {"window"_L1, 0xffffff},
                                                         {"yellow"_L1, 0xffff00},
                                                         {"yellowgreen"_L1, 0x9acd32}});
static_assert(namedColors.size() == 148 + 3);

Color ofNumber(quint32 value)
{
    return {double(value >> 16 & 0xff), double(value >> 8 & 0xff), double(value & 0xff), 1};
}

std::optional<Color> named(QStringView value)
{
    const auto* const found =
        std::lower_bound(namedColors.begin(), namedColors.end(), value,
                         [](const Named& one, QStringView wanted) { return one.name < wanted; });
    if (found == namedColors.end() || found->name != value)
        return std::nullopt;
    return ofNumber(found->value);
}

int digit(QChar character)
{
    const char16_t unit = character.unicode();
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    return unit >= u'a' && unit <= u'f' ? unit - u'a' + 10 : -1;
}

std::optional<Color> ofDigits(QStringView digits)
{
    if (!std::ranges::all_of(digits, [](QChar character) { return digit(character) >= 0; }))
        return std::nullopt;
    const bool isShort = digits.size() == 3 || digits.size() == 4;
    if (!isShort && digits.size() != 6 && digits.size() != 8)
        return std::nullopt;
    const qsizetype width = isShort ? 1 : 2;
    const auto channel = [&](qsizetype index) {
        const int first = digit(digits[index * width]);
        return double(first * 16 + (isShort ? first : digit(digits[index * width + 1])));
    };
    const bool hasAlpha = digits.size() / width == 4;
    return Color{channel(0), channel(1), channel(2), hasAlpha ? channel(3) / 255 : 1};
}

/// The number at the start of the text, and what is behind it.
std::optional<std::pair<double, QStringView>> leadingNumber(QStringView text)
{
    constexpr qsizetype longest = 40;
    qsizetype end = text.startsWith(u'-') || text.startsWith(u'+') ? 1 : 0;
    while (end < text.size() && end < longest && (digit(text[end]) >= 0 && digit(text[end]) < 10))
        ++end;
    if (end < text.size() && text[end] == u'.') {
        ++end;
        while (end < text.size() && end < longest && digit(text[end]) >= 0 && digit(text[end]) < 10)
            ++end;
    }
    const bool hasExponent = end + 1 < text.size() && text[end] == u'e' &&
                             (text[end + 1].isDigit() ||
                              (text[end + 1] == u'-' && end + 2 < text.size() && text[end + 2].isDigit()));
    if (hasExponent) {
        end += 2;
        while (end < text.size() && end < longest && digit(text[end]) >= 0 && digit(text[end]) < 10)
            ++end;
    }
    QStringView written = text.first(end);
    if (written.startsWith(u'+'))
        written = written.sliced(1);
    bool isNumber = false;
    const double value = written.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value))
        return std::nullopt;
    return std::pair(value, text.sliced(end));
}

/// The part of a turn.
std::optional<double> hue(QStringView value)
{
    const auto read = leadingNumber(value);
    if (!read)
        return std::nullopt;
    const double whole = read->second == "turn"_L1   ? 1
                         : read->second == "rad"_L1  ? 6.283185307179586
                         : read->second == "grad"_L1 ? 400
                                                     : 360;
    return read->first / whole - std::floor(read->first / whole);
}

/// One channel of a hue, 0 to 1.
double channelOfHue(double position)
{
    position -= std::floor(position);
    return std::clamp(std::abs(position * 6 - 3) - 1, 0.0, 1.0);
}

Color ofHue(double turn)
{
    return {channelOfHue(turn) * 255, channelOfHue(turn - 1.0 / 3) * 255, channelOfHue(turn - 2.0 / 3) * 255,
            1};
}

Color mapped(const Color& color, double factor, double summand)
{
    const auto map = [&](double channel) { return std::clamp(channel * factor + summand, 0.0, 255.0); };
    return {map(color.red), map(color.green), map(color.blue), color.alpha};
}

std::optional<Color> ofRGB(const QList<QStringView>& values)
{
    std::array<double, 3> channels{};
    for (qsizetype index = 0; index < 3; ++index) {
        const auto read = leadingNumber(values[index]);
        if (!read)
            return std::nullopt;
        channels[static_cast<std::size_t>(index)] =
            std::clamp(read->second == u"%" ? read->first * 2.55 : read->first, 0.0, 255.0);
    }
    return Color{channels[0], channels[1], channels[2], 1};
}

std::optional<Color> ofHueAndParts(const QList<QStringView>& values, bool isHSL)
{
    const std::optional<double> turn = hue(values[0]);
    const std::optional<double> second = number(values[1]);
    const std::optional<double> third = number(values[2]);
    if (!turn || !second || !third)
        return std::nullopt;
    const double first = std::clamp(*second, 0.0, 1.0);
    const double last = std::clamp(*third, 0.0, 1.0);
    if (isHSL) {
        const double chroma = (1 - std::abs(2 * last - 1)) * first;
        return mapped(ofHue(*turn), chroma, (last - chroma / 2) * 255);
    }
    if (first + last >= 1)
        return mapped({}, 0, first / (first + last) * 255);
    return mapped(ofHue(*turn), 1 - first - last, first * 255);
}

std::optional<Color> ofFunction(QStringView value)
{
    for (const QLatin1StringView name : {"rgb"_L1, "rgba"_L1, "hsl"_L1, "hsla"_L1, "hwb"_L1}) {
        const std::optional<QStringView> arguments = argumentsOf(value, name);
        if (!arguments)
            continue;
        const QList<QStringView> values = pieces(*arguments);
        if (values.size() != 3 && values.size() != 4)
            return std::nullopt;
        std::optional<Color> color =
            name.startsWith("rgb"_L1) ? ofRGB(values) : ofHueAndParts(values, name.startsWith("hsl"_L1));
        if (color && values.size() == 4)
            color->alpha = std::clamp(number(values[3]).value_or(1), 0.0, 1.0);
        return color;
    }
    return std::nullopt;
}

std::optional<double> pixelsOf(QStringView unit, const Measure& measure)
{
    struct Unit {
        QLatin1StringView name;
        double pixels;
    };
    const std::array units{Unit{"px"_L1, 1},
                           Unit{"pt"_L1, 96.0 / 72},
                           Unit{"pc"_L1, 16},
                           Unit{"in"_L1, 96},
                           Unit{"cm"_L1, 96 / 2.54},
                           Unit{"mm"_L1, 96 / 25.4},
                           Unit{"q"_L1, 96 / 101.6},
                           Unit{"em"_L1, measure.font},
                           Unit{"rem"_L1, 16},
                           Unit{"ex"_L1, measure.font / 2},
                           Unit{"ch"_L1, measure.font / 2},
                           Unit{"%"_L1, measure.whole / 100},
                           Unit{"vw"_L1, pageWidth / 100},
                           Unit{"vh"_L1, pageHeight / 100},
                           Unit{"vmin"_L1, pageHeight / 100},
                           Unit{"vmax"_L1, pageWidth / 100}};
    const auto* const found = std::ranges::find_if(units, [&](const Unit& one) { return one.name == unit; });
    return found == units.end() ? std::nullopt : std::optional(found->pixels);
}

std::optional<double> simpleLength(QStringView value, const Measure& measure)
{
    const auto read = leadingNumber(value);
    if (!read)
        return std::nullopt;
    if (read->second.isEmpty())
        return read->first == 0 ? std::optional(0.0) : std::nullopt;
    const std::optional<double> pixels = pixelsOf(read->second, measure);
    return pixels ? std::optional(read->first * *pixels) : std::nullopt;
}

/// A sum of lengths, the signs between blanks.
std::optional<double> sum(QStringView value, const Measure& measure)
{
    double total = 0;
    double sign = 1;
    bool expectsLength = true;
    for (const QStringView piece : value.tokenize(u' ', Qt::SkipEmptyParts)) {
        if (!expectsLength && piece != u"+" && piece != u"-")
            return std::nullopt;
        if (expectsLength) {
            const std::optional<double> term = simpleLength(piece, measure);
            if (!term)
                return std::nullopt;
            total += sign * *term;
        } else {
            sign = piece == u"-" ? -1 : 1;
        }
        expectsLength = !expectsLength;
    }
    return expectsLength ? std::nullopt : std::optional(total);
}

} // namespace

Color Color::over(const Color& ground) const
{
    const auto mixed = [this](double ink, double below) { return alpha * ink + (1 - alpha) * below; };
    return {mixed(red, ground.red), mixed(green, ground.green), mixed(blue, ground.blue), 1};
}

std::optional<Color> color(QStringView value)
{
    if (value.startsWith(u'#'))
        return ofDigits(value.sliced(1));
    if (value == "transparent"_L1)
        return Color{0, 0, 0, 0};
    if (value.endsWith(u')'))
        return ofFunction(value);
    return named(value);
}

std::optional<Color> legacyColor(QStringView value)
{
    constexpr qsizetype longest = 128;
    if (value.isEmpty() || value == "transparent"_L1)
        return std::nullopt;
    if (const std::optional<Color> known = named(value))
        return known;
    if (value.size() == 4 && value.startsWith(u'#')) {
        if (const std::optional<Color> known = ofDigits(value.sliced(1)))
            return known;
    }
    QString digits;
    for (const QChar character : value.first(std::min(value.size(), longest)))
        digits += digit(character) < 0 ? u'0' : character;
    if (value.startsWith(u'#'))
        digits.remove(0, 1);
    while (digits.isEmpty() || digits.size() % 3 != 0)
        digits += u'0';
    // Each third is a channel, of which the two digits count that no channel begins with zeros before.
    const qsizetype third = digits.size() / 3;
    std::array<QStringView, 3> channels;
    for (qsizetype index = 0; index < 3; ++index) {
        const QStringView whole = QStringView(digits).sliced(index * third, third);
        channels[static_cast<std::size_t>(index)] = whole.last(std::min<qsizetype>(third, 8));
    }
    const auto beginsWithZero = [](QStringView channel) { return channel.startsWith(u'0'); };
    while (channels[0].size() > 2 && std::ranges::all_of(channels, beginsWithZero)) {
        for (QStringView& channel : channels)
            channel = channel.sliced(1);
    }
    const auto valueOf = [](QStringView channel) {
        return double(channel.first(std::min<qsizetype>(channel.size(), 2)).toInt(nullptr, 16));
    };
    return Color{valueOf(channels[0]), valueOf(channels[1]), valueOf(channels[2]), 1};
}

QList<Color> colorsIn(QStringView value)
{
    QList<Color> found;
    const auto add = [&found](QStringView piece) {
        const std::optional<Color> known = found.size() < mostColors ? color(piece) : std::nullopt;
        if (known)
            found.append(*known);
        return known.has_value();
    };
    for (const QStringView piece : pieces(value)) {
        const qsizetype open = piece.indexOf(u'(');
        if (add(piece) || open < 0 || !piece.first(open).endsWith("-gradient"_L1))
            continue;
        for (const QStringView stop : pieces(piece.sliced(open + 1).chopped(piece.endsWith(u')') ? 1 : 0)))
            add(stop);
    }
    return found;
}

bool isNearlyEqual(const Color& ink, const Color& ground)
{
    constexpr double least = 40;
    const Color seen = ink.over(ground);
    return std::abs(seen.red - ground.red) < least && std::abs(seen.green - ground.green) < least &&
           std::abs(seen.blue - ground.blue) < least;
}

std::optional<double> length(QStringView value, const Measure& measure)
{
    if (!value.endsWith(u')'))
        return simpleLength(value, measure);
    if (const std::optional<QStringView> terms = argumentsOf(value, "calc"_L1))
        return sum(*terms, measure);
    for (const QLatin1StringView name : {"min"_L1, "max"_L1, "clamp"_L1}) {
        const std::optional<QStringView> arguments = argumentsOf(value, name);
        if (!arguments)
            continue;
        QList<double> lengths;
        for (const QStringView argument : arguments->tokenize(u',')) {
            const std::optional<double> one = sum(argument.trimmed(), measure);
            if (!one)
                return std::nullopt;
            lengths.append(*one);
        }
        if (name == "clamp"_L1 && lengths.size() != 3)
            return std::nullopt;
        return name == "clamp"_L1 ? std::max(lengths[0], std::min(lengths[1], lengths[2]))
               : name == "min"_L1 ? std::ranges::min(lengths)
                                  : std::ranges::max(lengths);
    }
    return std::nullopt;
}

std::optional<double> number(QStringView value)
{
    const auto read = leadingNumber(value);
    if (!read || (!read->second.isEmpty() && read->second != u"%"))
        return std::nullopt;
    return read->second.isEmpty() ? read->first : read->first / 100;
}

QList<QStringView> pieces(QStringView value)
{
    QList<QStringView> found;
    int depth = 0;
    qsizetype start = 0;
    for (qsizetype position = 0; position <= value.size(); ++position) {
        const QChar character = position < value.size() ? value[position] : QChar(u' ');
        const bool isEnd = position == value.size();
        depth += character == u'(' ? 1 : character == u')' ? -1 : 0;
        const bool separates =
            isEnd || (depth <= 0 && (character.isSpace() || character == u',' || character == u'/'));
        if (!separates)
            continue;
        if (position > start)
            found.append(value.sliced(start, position - start));
        start = position + 1;
    }
    return found;
}

std::optional<QStringView> argumentsOf(QStringView value, QLatin1StringView name)
{
    if (value.size() < name.size() + 2 || !value.startsWith(name) || value[name.size()] != u'(' ||
        !value.endsWith(u')'))
        return std::nullopt;
    return value.sliced(name.size() + 1).chopped(1).trimmed();
}

qsizetype endBefore(QStringView text, qsizetype start, QStringView marks)
{
    int depth = 0;
    QChar quote;
    for (qsizetype position = start; position < text.size(); ++position) {
        const QChar character = text[position];
        if (!quote.isNull()) {
            // A string ends with its line (CSS Syntax 3, 4.3.5).
            if (character == quote || character == u'\n')
                quote = {};
            continue;
        }
        if (depth == 0 && marks.contains(character))
            return position;
        if (character == u'"' || character == u'\'')
            quote = character;
        else if (character == u'(' || character == u'[' || character == u'{')
            ++depth;
        else if ((character == u')' || character == u']' || character == u'}') && depth > 0)
            --depth;
    }
    return text.size();
}

} // namespace Larkhaven::CSSValues
