#include "safety/HTMLVocabulary.h"

#include "domain/Text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Larkhaven::HTMLVocabulary {
namespace {

constexpr std::array<std::string_view, tagCount> allowedTags{
    "a",          "abbr",    "address", "article", "aside", "b",     "bdi",     "bdo",        "big",
    "blockquote", "br",      "caption", "center",  "cite",  "code",  "col",     "colgroup",   "dd",
    "del",        "details", "dfn",     "div",     "dl",    "dt",    "em",      "figcaption", "figure",
    "font",       "footer",  "h1",      "h2",      "h3",    "h4",    "h5",      "h6",         "header",
    "hr",         "i",       "img",     "ins",     "kbd",   "li",    "main",    "mark",       "nav",
    "ol",         "p",       "pre",     "q",       "s",     "samp",  "section", "small",      "span",
    "strike",     "strong",  "sub",     "summary", "sup",   "table", "tbody",   "td",         "tfoot",
    "th",         "thead",   "tr",      "tt",      "u",     "ul",    "var",     "wbr",
};

constexpr std::array<std::string_view, 5> voidTags{"br", "col", "hr", "img", "wbr"};

constexpr std::array<std::string_view, 29> phraseTags{
    "a",    "abbr",   "b",      "bdi", "bdo", "big",  "cite", "code", "del",  "dfn",
    "em",   "font",   "i",      "ins", "kbd", "mark", "q",    "s",    "samp", "small",
    "span", "strike", "strong", "sub", "sup", "tt",   "u",    "var",  "wbr",
};

constexpr std::array<std::string_view, 27> dropped{
    "applet", "audio",  "button",  "canvas",   "datalist", "dialog", "embed",  "frame",     "frameset",
    "iframe", "math",   "noembed", "noframes", "noscript", "object", "option", "plaintext", "portal",
    "script", "select", "svg",     "template", "textarea", "title",  "video",  "xml",       "xmp",
};

constexpr std::array<std::string_view, attributeCount> attributeNames{
    "abbr",  "align",   "alt",   "bgcolor",  "border",  "cellpadding", "cellspacing", "class",
    "color", "colspan", "dir",   "face",     "headers", "height",      "hidden",      "href",
    "lang",  "nowrap",  "open",  "reversed", "rowspan", "scope",       "size",        "span",
    "src",   "start",   "style", "title",    "type",    "valign",      "width",
};

static_assert(std::ranges::is_sorted(allowedTags) && std::ranges::is_sorted(voidTags));
static_assert(std::ranges::is_sorted(phraseTags));
static_assert(std::ranges::is_sorted(dropped) && std::ranges::is_sorted(attributeNames));

static_assert(allowedTags[linkTag] == "a" && allowedTags[imageTag] == "img");
static_assert(attributeNames[Known::classes] == "class" && attributeNames[Known::height] == "height");
static_assert(attributeNames[Known::hidden] == "hidden" && attributeNames[Known::href] == "href");
static_assert(attributeNames[Known::src] == "src" && attributeNames[Known::style] == "style");
static_assert(attributeNames[Known::title] == "title" && attributeNames[Known::width] == "width");

/// Where a name stands in a list. A table with room to spare, in which a name is at its place or right behind
/// it: half as long as a search among the names of one letter.
template <std::size_t size>
class NameTable {
public:
    constexpr explicit NameTable(const std::array<std::string_view, size>& names)
    {
        static_assert(size < places / 2);
        for (std::size_t index = 0; index < size; ++index) {
            std::uint8_t place = Name(names[index]).place();
            while (m_names[place] != Name())
                ++place;
            m_names[place] = Name(names[index]);
            m_indices[place] = static_cast<std::int8_t>(index);
        }
    }

    /// -1 for a name that is none of them.
    int indexOf(const Name& name) const
    {
        for (std::uint8_t place = name.place();; ++place) {
            if (m_names[place] == name)
                return m_indices[place];
            if (m_names[place] == Name())
                return -1;
        }
    }

private:
    static constexpr std::size_t places = 256;

    static constexpr std::array<std::int8_t, places> nowhere()
    {
        std::array<std::int8_t, places> indices{};
        indices.fill(-1);
        return indices;
    }

    std::array<Name, places> m_names{};
    std::array<std::int8_t, places> m_indices = nowhere();
};

/// For each allowed tag whether it is among the names.
template <std::size_t size>
constexpr auto flagsOf(const std::array<std::string_view, size>& names)
{
    std::array<bool, tagCount> flags{};
    for (std::size_t tag = 0; tag < flags.size(); ++tag)
        flags[tag] = std::ranges::binary_search(names, allowedTags[tag]);
    return flags;
}

/// Each of the names between two texts.
template <std::size_t size>
constexpr auto piecesOf(const std::array<std::string_view, size>& names, std::string_view before,
                        std::string_view behind)
{
    std::array<Piece, size> pieces;
    for (std::size_t index = 0; index < size; ++index) {
        for (const std::string_view text : {before, names[index], behind}) {
            for (const char character : text)
                pieces[index].units[pieces[index].size++] = static_cast<unsigned char>(character);
        }
    }
    return pieces;
}

QLatin1StringView latin1(std::string_view name)
{
    return {name.data(), static_cast<qsizetype>(name.size())};
}

} // namespace

Name::Name(QStringView written)
{
    const auto size = static_cast<std::size_t>(written.size());
    if (size > longest)
        return;
    char16_t all = 0;
    for (std::size_t index = 0; index < size; ++index) {
        const char16_t unit = written.utf16()[index];
        all |= unit;
        set(index, unit >= u'A' && unit <= u'Z' ? unit + 0x20U : unit);
    }
    set(longest, size);
    if (all < 0x80)
        return;
    // Few letters beyond ASCII have a small one within, as the Kelvin sign has.
    *this = Name();
    const QString lowered = Text::lowered(written);
    if (std::ranges::all_of(lowered, [](QChar character) { return character.unicode() < 0x80; }))
        *this = Name(QStringView(lowered));
}

Tag allowedTag(const Name& name)
{
    static constexpr NameTable table(allowedTags);
    return table.indexOf(name);
}

QLatin1StringView nameOf(Tag tag)
{
    return latin1(allowedTags[static_cast<std::size_t>(tag)]);
}

bool isVoid(Tag tag)
{
    static constexpr auto flags = flagsOf(voidTags);
    return flags[static_cast<std::size_t>(tag)];
}

bool isPhrase(Tag tag)
{
    static constexpr auto flags = flagsOf(phraseTags);
    return flags[static_cast<std::size_t>(tag)];
}

QLatin1StringView droppedWithContent(const Name& name)
{
    static constexpr NameTable table(dropped);
    const int index = table.indexOf(name);
    return index < 0 ? QLatin1StringView() : latin1(dropped[static_cast<std::size_t>(index)]);
}

Attribute knownAttribute(const Name& name)
{
    static constexpr NameTable table(attributeNames);
    return table.indexOf(name);
}

const Piece& openingOf(Tag tag)
{
    static constexpr auto pieces = piecesOf(allowedTags, "<", "");
    return pieces[static_cast<std::size_t>(tag)];
}

const Piece& closingOf(Tag tag)
{
    static constexpr auto pieces = piecesOf(allowedTags, "</", ">");
    return pieces[static_cast<std::size_t>(tag)];
}

const Piece& openingOfAttribute(Attribute attribute)
{
    static constexpr auto pieces = piecesOf(attributeNames, " ", "=\"");
    return pieces[static_cast<std::size_t>(attribute)];
}

} // namespace Larkhaven::HTMLVocabulary
