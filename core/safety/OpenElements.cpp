#include "safety/OpenElements.h"

#include <algorithm>
#include <cstring>

namespace Larkhaven::HTMLSanitizer {
namespace {

using HTMLVocabulary::Tag;

/// A number that tells most styles apart, from their length and eight units at their start, middle and end.
std::size_t spread(QStringView style)
{
    constexpr qsizetype step = 4;
    std::uint64_t sum = static_cast<std::uint64_t>(style.size());
    for (const qsizetype start : {qsizetype{0}, style.size() / 2 - step / 2, style.size() - step}) {
        std::uint64_t units = 0;
        const qsizetype from = std::max(start, qsizetype{0});
        const qsizetype count = std::min(step, style.size() - from);
        std::memcpy(&units, style.utf16() + from, static_cast<std::size_t>(count) * sizeof(char16_t));
        constexpr std::uint64_t factor = 0x9E37'79B9'7F4A'7C15;
        sum = (sum ^ units) * factor;
        sum ^= sum >> 32;
    }
    return static_cast<std::size_t>(sum);
}

} // namespace

const ImageLook& StyleLooks::of(QStringView style)
{
    static const ImageLook none;
    if (style.isEmpty())
        return none;
    Known& known = m_known[spread(style) % places];
    const bool isKnown = known.style.size() == style.size() &&
                         std::memcmp(known.style.utf16(), style.utf16(),
                                     static_cast<std::size_t>(style.size()) * sizeof(char16_t)) == 0;
    if (!isKnown)
        known = {style, ImageLook::ofStyle(style)};
    return known.look;
}

void OpenElements::open(const OpenElement& element)
{
    m_elements.push_back(element);
    ++m_counts[static_cast<std::size_t>(element.tag)];
}

Tag OpenElements::close()
{
    const Tag tag = m_elements.back().tag;
    m_elements.pop_back();
    --m_counts[static_cast<std::size_t>(tag)];
    return tag;
}

void OpenElements::closeAll(Tag tag)
{
    std::erase_if(m_elements, [tag](const OpenElement& element) { return element.tag == tag; });
    m_counts[static_cast<std::size_t>(tag)] = 0;
}

std::optional<std::size_t> OpenElements::depthOf(Tag tag) const
{
    if (m_counts[static_cast<std::size_t>(tag)] == 0)
        return std::nullopt;
    const auto found = std::find_if(m_elements.rbegin(), m_elements.rend(),
                                    [tag](const OpenElement& element) { return element.tag == tag; });
    return static_cast<std::size_t>(m_elements.rend() - found) - 1;
}

bool OpenElements::hideContent()
{
    const auto asked = std::find_if(m_elements.rbegin(), m_elements.rend(), [](const OpenElement& element) {
        return element.hidesContent.has_value();
    });
    bool isHidden = asked != m_elements.rend() && *asked->hidesContent;
    for (auto element = asked.base(); element != m_elements.end(); ++element) {
        isHidden = isHidden || element->isHidden ||
                   lookOf(element->tag, element->style, element->classes).hidesContent();
        element->hidesContent = isHidden;
    }
    return isHidden;
}

ImageLook OpenElements::lookOf(Tag tag, QStringView style, QStringView classes)
{
    ImageLook look = m_looks.of(style);
    if (!m_rules.isEmpty())
        look.add(m_rules.of(HTMLVocabulary::nameOf(tag), classes));
    return look;
}

} // namespace Larkhaven::HTMLSanitizer
