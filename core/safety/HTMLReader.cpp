#include "safety/HTMLReader.h"

#include "safety/UnitScan.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace Larkhaven::HTMLReader {
namespace {

/// What a character may do within a tag, as bits.
enum Role : unsigned char {
    space = 1,
    slash = 2,
    bracket = 4, ///< ">"
    equals = 8,
};

constexpr auto roles = [] {
    std::array<unsigned char, 0x80> table{};
    for (const char character : std::string_view("\t\n\f\r "))
        table[static_cast<unsigned char>(character)] = space;
    table['/'] = slash;
    table['>'] = bracket;
    table['='] = equals;
    return table;
}();

bool hasRole(char16_t unit, unsigned role)
{
    return unit < roles.size() && (roles[unit] & role) != 0;
}

/// The first position from this one on whose character has one of the roles, or the end.
qsizetype nextWith(unsigned role, QStringView html, qsizetype position)
{
    const char16_t* const units = html.utf16();
    while (position < html.size() && !hasRole(units[position], role))
        ++position;
    return position;
}

/// The first position from this one on whose character has none of the roles, or the end.
qsizetype behindAll(unsigned role, QStringView html, qsizetype position)
{
    const char16_t* const units = html.utf16();
    while (position < html.size() && hasRole(units[position], role))
        ++position;
    return position;
}

char16_t lowered(QChar character)
{
    const char16_t unit = character.unicode();
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

qsizetype endOfAttributeName(QStringView html, qsizetype position)
{
    for (;; ++position) {
        position = nextWith(space | slash | bracket | equals, html, position);
        const bool isPlainSlash = position < html.size() && html[position] == u'/' &&
                                  (position + 1 == html.size() || html[position + 1] != u'>');
        if (!isPlainSlash)
            return position;
    }
}

/// The small letter of each character that stands for itself in a name; 0 for what may end one.
template <unsigned ends>
constexpr auto letters = [] {
    std::array<unsigned char, 0x80> table{};
    for (std::size_t character = 1; character < table.size(); ++character) {
        const bool isCapital = character >= 'A' && character <= 'Z';
        if ((roles[character] & ends) == 0)
            table[character] = static_cast<unsigned char>(isCapital ? character + 0x20 : character);
    }
    return table;
}();

/// Reads a name of at most eight characters of ASCII, as nearly all are, while looking for its end: half the
/// time. False for any other, and the position stays.
template <unsigned ends>
bool readShortName(QStringView html, qsizetype& position, HTMLVocabulary::Name& name)
{
    constexpr qsizetype longest = 8;
    const char16_t* const units = html.utf16() + position;
    const qsizetype most = std::min(longest, html.size() - position - 1);
    std::uint64_t lowered = 0;
    qsizetype size = 0;
    for (; size < most; ++size) {
        const std::uint64_t letter = units[size] < 0x80 ? letters<ends>[units[size]] : 0;
        if (letter == 0)
            break;
        lowered |= letter << size * 8;
    }
    // A slash within the name of an attribute may be a part of it.
    const unsigned surelyEnds = ends & equals ? ends & ~unsigned{slash} : ends;
    if (!hasRole(units[size], surelyEnds))
        return false;
    position += size;
    name = HTMLVocabulary::Name::ofEight(lowered, static_cast<std::size_t>(size));
    return true;
}

/// Reads the name that begins at the position, which is in the text, and moves the position behind it.
HTMLVocabulary::Name readAttributeName(QStringView html, qsizetype& position)
{
    HTMLVocabulary::Name name;
    if (readShortName<space | slash | bracket | equals>(html, position, name))
        return name;
    const qsizetype start = position;
    position = endOfAttributeName(html, position);
    return HTMLVocabulary::Name(html.sliced(start, position - start));
}

/// Reads the value that begins at the position into the attribute, and moves the position behind it.
void readValue(QStringView html, qsizetype& position, RawAttribute& attribute)
{
    const auto nextMark = [](QStringView text) {
        return UnitScan::firstOf<u'"', u'\'', u'&', u'<', u'>'>(text);
    };
    if (position < html.size() && (html[position] == u'"' || html[position] == u'\'')) {
        const QChar quote = html[position];
        const QStringView rest = html.sliced(position + 1);
        qsizetype end = nextMark(rest);
        attribute.isPlain = end == rest.size() || rest[end] == quote;
        if (!attribute.isPlain)
            end = UnitScan::firstMark(rest, quote.unicode(), end);
        attribute.value = rest.first(end);
        position = std::min(position + end + 2, html.size());
        return;
    }
    const qsizetype start = position;
    position = nextWith(space | bracket, html, position);
    attribute.value = html.sliced(start, position - start);
    attribute.isPlain = nextMark(attribute.value) == attribute.value.size();
}

} // namespace

void RawAttributes::addNext()
{
    const HTMLVocabulary::Attribute attribute = next().attribute;
    if (attribute == HTMLVocabulary::noAttribute || has(attribute))
        return;
    m_known |= bit(attribute);
    ++m_count;
}

void RawAttributes::clear()
{
    m_count = 0;
    m_known = 0;
}

std::optional<QStringView> RawAttributes::value(HTMLVocabulary::Attribute attribute) const
{
    if (!has(attribute))
        return std::nullopt;
    const auto found =
        std::find_if(begin(), end(), [=](const RawAttribute& raw) { return raw.attribute == attribute; });
    return found->value;
}

HTMLVocabulary::Name readName(QStringView html, qsizetype& position)
{
    HTMLVocabulary::Name name;
    if (position < html.size() && readShortName<space | slash | bracket>(html, position, name))
        return name;
    const qsizetype start = position;
    position = nextWith(space | slash | bracket, html, position);
    return HTMLVocabulary::Name(html.sliced(start, position - start));
}

qsizetype behindNextBracket(QStringView html, qsizetype position)
{
    const qsizetype end = UnitScan::firstOf<u'>'>(html, position);
    return end == html.size() ? end : end + 1;
}

qsizetype behindComment(QStringView html, qsizetype position)
{
    // From behind "<!--", a ">" with two hyphens before it.
    const qsizetype content = position + 4;
    for (qsizetype end = content + 2; end < html.size(); ++end) {
        end = UnitScan::firstOf<u'>'>(html, end);
        if (end < html.size() && html[end - 1] == u'-' && html[end - 2] == u'-')
            return end + 1;
    }
    return html.size();
}

qsizetype readAttributes(QStringView html, qsizetype position, RawAttributes& attributes)
{
    while (true) {
        position = behindAll(space | slash, html, position);
        if (position >= html.size())
            return position;
        if (html[position] == u'>')
            return position + 1;
        const HTMLVocabulary::Name name = readAttributeName(html, position);
        position = behindAll(space, html, position);
        RawAttribute& attribute = attributes.next();
        attribute = {HTMLVocabulary::knownAttribute(name)};
        if (position < html.size() && html[position] == u'=') {
            position = behindAll(space, html, position + 1);
            readValue(html, position, attribute);
        }
        attributes.addNext();
    }
}

RawTextEnd endOfRawText(QStringView html, qsizetype position, QLatin1StringView name)
{
    for (qsizetype start = UnitScan::firstOf<u'<'>(html, position); start + 2 + name.size() <= html.size();
         start = UnitScan::firstOf<u'<'>(html, start + 1)) {
        const QStringView behind = html.sliced(start + 2);
        const auto matches = [](char expected, QChar character) {
            return lowered(character) == static_cast<uchar>(expected);
        };
        if (html[start + 1] == u'/' && std::equal(name.begin(), name.end(), behind.begin(), matches))
            return {start, behindNextBracket(html, start + 2 + name.size())};
    }
    return {html.size(), html.size()};
}

} // namespace Larkhaven::HTMLReader
