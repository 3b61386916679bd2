#include "safety/HTMLVocabulary.h"

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

constexpr std::array<std::string_view, 27> droppedWithContent{
    "applet", "audio",  "button",  "canvas",   "datalist", "dialog", "embed",  "frame",     "frameset",
    "iframe", "math",   "noembed", "noframes", "noscript", "object", "option", "plaintext", "portal",
    "script", "select", "svg",     "template", "textarea", "title",  "video",  "xml",       "xmp",
};

constexpr std::array<std::string_view, attributeCount> attributes{
    "abbr",  "align",   "alt",   "bgcolor",  "border",  "cellpadding", "cellspacing", "class",
    "color", "colspan", "dir",   "face",     "headers", "height",      "hidden",      "href",
    "lang",  "nowrap",  "open",  "reversed", "rowspan", "scope",       "size",        "span",
    "src",   "start",   "style", "title",    "type",    "valign",      "width",
};

static_assert(std::ranges::is_sorted(allowedTags) && std::ranges::is_sorted(voidTags));
static_assert(std::ranges::is_sorted(phraseTags));
static_assert(std::ranges::is_sorted(droppedWithContent) && std::ranges::is_sorted(attributes));

std::string_view view(QByteArrayView name)
{
    return {name.data(), static_cast<std::size_t>(name.size())};
}

/// Where the names of each letter begin in a sorted table, and behind "z" its end: each tag and each of its
/// attributes is looked up, most of them among a few names.
template <std::size_t size>
constexpr auto startsIn(const std::array<std::string_view, size>& table)
{
    std::array<std::size_t, 27> starts{};
    for (std::size_t letter = 0; letter < starts.size(); ++letter) {
        while (starts[letter] < size && table[starts[letter]].front() < static_cast<char>('a' + letter))
            ++starts[letter];
    }
    return starts;
}

template <const auto& table>
int indexOf(QByteArrayView name)
{
    static constexpr auto starts = startsIn(table);
    if (name.isEmpty() || name[0] < 'a' || name[0] > 'z')
        return -1;
    const auto letter = static_cast<std::size_t>(name[0] - 'a');
    for (std::size_t index = starts[letter]; index < starts[letter + 1]; ++index) {
        if (table[index] == view(name))
            return static_cast<int>(index);
    }
    return -1;
}

/// For each allowed tag whether it is among the names.
template <std::size_t size>
constexpr auto flagsOf(const std::array<std::string_view, size>& names)
{
    std::array<bool, tagCount> flags{};
    for (std::size_t tag = 0; tag < flags.size(); ++tag)
        flags[tag] = std::ranges::binary_search(names, allowedTags[tag]);
    return flags;
}

QByteArrayView bytes(std::string_view name)
{
    return {name.data(), static_cast<qsizetype>(name.size())};
}

} // namespace

Tag allowedTag(QByteArrayView name)
{
    return indexOf<allowedTags>(name);
}

QByteArrayView nameOf(Tag tag)
{
    return bytes(allowedTags[static_cast<std::size_t>(tag)]);
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

bool isDroppedWithContent(QByteArrayView name)
{
    return indexOf<droppedWithContent>(name) >= 0;
}

Attribute knownAttribute(QByteArrayView name)
{
    return indexOf<attributes>(name);
}

QByteArrayView nameOfAttribute(Attribute attribute)
{
    return bytes(attributes[static_cast<std::size_t>(attribute)]);
}

bool isAllowed(Attribute attribute)
{
    const QByteArrayView name = nameOfAttribute(attribute);
    return name != "hidden" && name != "href" && name != "src";
}

} // namespace Larkhaven::HTMLVocabulary
