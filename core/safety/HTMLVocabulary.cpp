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

template <std::size_t size>
int indexOf(const std::array<std::string_view, size>& table, QByteArrayView name)
{
    const auto found = std::ranges::lower_bound(table, view(name));
    return found != table.end() && *found == view(name) ? static_cast<int>(found - table.begin()) : -1;
}

QByteArrayView bytes(std::string_view name)
{
    return {name.data(), static_cast<qsizetype>(name.size())};
}

} // namespace

Tag allowedTag(QByteArrayView name)
{
    return indexOf(allowedTags, name);
}

QByteArrayView nameOf(Tag tag)
{
    return bytes(allowedTags[static_cast<std::size_t>(tag)]);
}

bool isVoid(Tag tag)
{
    return indexOf(voidTags, nameOf(tag)) >= 0;
}

bool isPhrase(Tag tag)
{
    return indexOf(phraseTags, nameOf(tag)) >= 0;
}

bool isDroppedWithContent(QByteArrayView name)
{
    return indexOf(droppedWithContent, name) >= 0;
}

Attribute knownAttribute(QByteArrayView name)
{
    return indexOf(attributes, name);
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
