#include "safety/StyleMeasure.h"

#include "domain/Text.h"
#include "safety/Fragments.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven::StyleMeasure {
namespace {

struct Unit {
    QLatin1StringView name;
    double pixels;
};

/// Those of fonts for one of 16 pixels, those of the window for 1000.
constexpr std::array units{
    Unit{""_L1, 1},    Unit{"px"_L1, 1},      Unit{"em"_L1, 16},        Unit{"rem"_L1, 16},
    Unit{"ex"_L1, 8},  Unit{"ch"_L1, 8},      Unit{"pt"_L1, 96.0 / 72}, Unit{"pc"_L1, 16},
    Unit{"in"_L1, 96}, Unit{"cm"_L1, 37.795}, Unit{"mm"_L1, 3.7795},    Unit{"q"_L1, 0.9449},
    Unit{"vw"_L1, 10}, Unit{"vh"_L1, 10},     Unit{"vmin"_L1, 10},      Unit{"vmax"_L1, 10},
};

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

bool isLetter(QChar character)
{
    const char16_t unit = character.unicode() | 0x20U;
    return unit >= u'a' && unit <= u'z';
}

/// The number, where the text is one of a few digits alone, as most lengths of styles and images have; absent
/// for any other text. Exact: it is less than 2^53.
std::optional<double> fewDigits(QStringView text)
{
    constexpr qsizetype most = 15;
    if (text.isEmpty() || text.size() > most || !std::ranges::all_of(text, isDigit))
        return std::nullopt;
    qint64 number = 0;
    for (const QChar digit : text)
        number = number * 10 + (digit.unicode() - u'0');
    return static_cast<double>(number);
}

/// Reads a value from its front. Each function fails by giving nothing, and then so do all around it.
class Reader {
public:
    Reader(QStringView text, double percent)
        : m_rest(text)
        , m_percent(percent)
    {}

    QStringView rest() const { return m_rest; }

    void skipSpace() { m_rest = m_rest.trimmed(); }

    std::optional<double> number()
    {
        qsizetype end = !m_rest.isEmpty() && (m_rest[0] == u'-' || m_rest[0] == u'+') ? 1 : 0;
        const qsizetype firstDigit = end;
        end = behindDigits(end);
        if (end < m_rest.size() && m_rest[end] == u'.')
            end = behindDigits(end + 1);
        if (end == firstDigit || m_rest.sliced(firstDigit, end - firstDigit) == u'.')
            return std::nullopt;
        if (const qsizetype exponent = behindExponent(end); exponent > end)
            end = exponent;
        const QStringView digits = m_rest.first(end);
        m_rest = m_rest.sliced(end);
        if (const std::optional<double> few = fewDigits(digits))
            return few;
        bool isRead = false;
        const double value = digits.toDouble(&isRead);
        return isRead ? std::optional(value) : std::nullopt;
    }

    std::optional<double> length()
    {
        const std::optional<double> value = number();
        if (!value)
            return std::nullopt;
        if (m_rest.startsWith(u'%')) {
            m_rest = m_rest.sliced(1);
            return *value * m_percent;
        }
        qsizetype end = 0;
        while (end < m_rest.size() && isLetter(m_rest[end]))
            ++end;
        const QStringView name = m_rest.first(end);
        const auto unit = std::ranges::find_if(units, [&](const Unit& known) {
            return name.size() == known.name.size() && Fragments::startsWith(name, known.name);
        });
        if (unit == units.end())
            return std::nullopt;
        m_rest = m_rest.sliced(end);
        return *value * unit->pixels;
    }

    /// sum = product *( ( "+" / "-" ) product )
    std::optional<double> sum(int depth)
    {
        std::optional<double> total = product(depth);
        for (skipSpace(); total && (m_rest.startsWith(u'+') || m_rest.startsWith(u'-')); skipSpace()) {
            const double sign = m_rest.front() == u'+' ? 1 : -1;
            m_rest = m_rest.sliced(1);
            const std::optional<double> next = product(depth);
            total = next ? std::optional(*total + sign * *next) : std::nullopt;
        }
        return total;
    }

private:
    qsizetype behindDigits(qsizetype position) const
    {
        while (position < m_rest.size() && isDigit(m_rest[position]))
            ++position;
        return position;
    }

    /// The end of an exponent that begins here; the position itself where none does, as before "em".
    qsizetype behindExponent(qsizetype position) const
    {
        if (position >= m_rest.size() || (m_rest[position] != u'e' && m_rest[position] != u'E'))
            return position;
        qsizetype digits = position + 1;
        if (digits < m_rest.size() && (m_rest[digits] == u'-' || m_rest[digits] == u'+'))
            ++digits;
        const qsizetype end = behindDigits(digits);
        return end > digits ? end : position;
    }

    /// product = value *( ( "*" / "/" ) value )
    std::optional<double> product(int depth)
    {
        std::optional<double> total = value(depth);
        for (skipSpace(); total && (m_rest.startsWith(u'*') || m_rest.startsWith(u'/')); skipSpace()) {
            const bool multiplies = m_rest.front() == u'*';
            m_rest = m_rest.sliced(1);
            const std::optional<double> next = value(depth);
            total = next ? std::optional(multiplies ? *total * *next : *total / *next) : std::nullopt;
        }
        return total;
    }

    /// value = length / [ name ] "(" sum *( "," sum ) ")"
    std::optional<double> value(int depth)
    {
        skipSpace();
        qsizetype end = 0;
        while (end < m_rest.size() && (isLetter(m_rest[end]) || m_rest[end] == u'-'))
            ++end;
        if (end == m_rest.size() || m_rest[end] != u'(')
            return length();
        if (depth >= deepestFunction)
            return std::nullopt;
        const QString name = Text::asciiLowered(m_rest.first(end));
        QList<double> arguments;
        do {
            m_rest = m_rest.sliced(arguments.isEmpty() ? end + 1 : 1);
            const std::optional<double> argument = sum(depth + 1);
            if (!argument || arguments.size() >= mostLengths)
                return std::nullopt;
            arguments += *argument;
        } while (m_rest.startsWith(u','));
        // What isn't closed ends with the style.
        if (m_rest.startsWith(u')'))
            m_rest = m_rest.sliced(1);
        return result(name, arguments);
    }

    static std::optional<double> result(const QString& name, const QList<double>& arguments)
    {
        if (name == "min"_L1)
            return *std::ranges::min_element(arguments);
        if (name == "max"_L1)
            return *std::ranges::max_element(arguments);
        if (name == "clamp"_L1 && arguments.size() == 3)
            return std::max(arguments[0], std::min(arguments[1], arguments[2]));
        const bool isSum = name.isEmpty() || name == "calc"_L1 || name == "-webkit-calc"_L1;
        return isSum && arguments.size() == 1 ? std::optional(arguments[0]) : std::nullopt;
    }

    QStringView m_rest;
    double m_percent; ///< the pixels of one
};

} // namespace

std::optional<double> pixels(QStringView value)
{
    constexpr double percentAlone = 1;
    constexpr double percentInFunction = 10;
    value = value.trimmed();
    if (const std::optional<double> few = fewDigits(value))
        return few;
    Reader reader(value, value.contains(u'(') ? percentInFunction : percentAlone);
    const std::optional<double> result = reader.sum(0);
    return result && std::isfinite(*result) ? result : std::nullopt;
}

QList<double> allPixels(QStringView value)
{
    QList<double> lengths;
    Reader reader(value, 1);
    while (!reader.rest().isEmpty() && lengths.size() < mostLengths) {
        const QStringView before = reader.rest();
        const bool mayBegin = isDigit(before[0]) || "+-."_L1.contains(before[0]);
        if (const std::optional<double> length = mayBegin ? reader.length() : std::nullopt)
            lengths += *length;
        if (reader.rest().size() == before.size())
            reader = Reader(before.sliced(1), 1);
    }
    return lengths;
}

} // namespace Larkhaven::StyleMeasure
