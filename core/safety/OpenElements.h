#pragma once

#include "safety/HTMLVocabulary.h"
#include "safety/ImageLook.h"
#include "safety/Repeats.h"

#include <QStringView>

#include <array>
#include <optional>
#include <vector>

namespace Larkhaven::HTMLSanitizer {

/// What styles say of images (`ImageLook::ofStyle`), remembered for a few.
class StyleLooks {
public:
    /// The style must outlive this.
    const ImageLook& of(QStringView style);

private:
    struct Known {
        QStringView text;
        ImageLook look;
    };

    Repeats::Table<Known> m_known;
};

/// An element whose end tag is to come. Its views must outlive it.
struct OpenElement {
    HTMLVocabulary::Tag tag = HTMLVocabulary::noTag;
    bool isHidden = false; ///< by its attribute
    QStringView style;     ///< as it is written
    QStringView classes;
    std::optional<bool> hidesContent = std::nullopt; ///< it or one around it; absent until somebody asks
};

/// The elements that are open at some place of a page, the outermost first.
class OpenElements {
public:
    /// The rules hold for all of the page, as far as they are known. They must outlive this.
    explicit OpenElements(const ImageLookRules& rules)
        : m_rules(rules)
    {}

    std::size_t size() const { return m_elements.size(); }

    /// `noTag` where none is open.
    HTMLVocabulary::Tag innermost() const
    {
        return m_elements.empty() ? HTMLVocabulary::noTag : m_elements.back().tag;
    }

    void open(const OpenElement& element);

    /// Closes the innermost and gives its tag; one must be open.
    HTMLVocabulary::Tag close();

    /// Forgets all with this tag; those within them stay.
    void closeAll(HTMLVocabulary::Tag tag);

    /// How many are around the innermost with this tag; absent where none is open.
    std::optional<std::size_t> depthOf(HTMLVocabulary::Tag tag) const;

    /// Whether one of them hides what stands here.
    bool hideContent();

    /// What the style and the rules say of an element.
    ImageLook lookOf(HTMLVocabulary::Tag tag, QStringView style, QStringView classes);

private:
    const ImageLookRules& m_rules;
    StyleLooks m_looks;
    std::vector<OpenElement> m_elements;
    std::array<int, HTMLVocabulary::tagCount> m_counts{}; ///< how often each tag is open
};

} // namespace Larkhaven::HTMLSanitizer
