#include "safety/OpenElements.h"

#include <algorithm>

namespace Larkhaven::HTMLSanitizer {
using HTMLVocabulary::Tag;

const ImageLook& StyleLooks::of(QStringView style)
{
    static const ImageLook none;
    if (style.isEmpty())
        return none;
    const Known* known = m_known.find(style);
    return known ? known->look : m_known.add({style, ImageLook::ofStyle(style)}).look;
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
    // Most end tags close the innermost.
    if (innermost() == tag)
        return m_elements.size() - 1;
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
