#pragma once

#include "safety/HTMLVocabulary.h"

#include <QStringView>

#include <array>
#include <optional>

/// Reads the pieces of tags out of hostile HTML. Pure functions, callable from any thread, linear in what
/// they read.
namespace Larkhaven::HTMLReader {

/// An attribute of a tag, its value raw: entities are not decoded.
struct RawAttribute {
    HTMLVocabulary::Attribute attribute = HTMLVocabulary::noAttribute;
    QStringView value = {};
    /// Whether the value has no "&", "<", ">" and quotes: whether it means and is written what it says.
    bool isPlain = true;
};

/// The first attribute of each known name, in the order of the source. Other attributes and repetitions reach
/// no rule, so that a tag with a million attributes takes no more room than this.
class RawAttributes {
public:
    /// Room for one that is read. It is among them once it is added.
    RawAttribute& next() { return m_attributes[static_cast<std::size_t>(m_count)]; }
    /// Adds what stands in that room, if it is the first with a known name.
    void addNext();
    void clear();

    bool has(HTMLVocabulary::Attribute attribute) const { return (m_known & bit(attribute)) != 0; }

    /// The raw value; absent where the tag has no such attribute.
    std::optional<QStringView> value(HTMLVocabulary::Attribute attribute) const;

    auto begin() const { return m_attributes.begin(); }
    auto end() const { return m_attributes.begin() + m_count; }

private:
    static constexpr quint32 bit(HTMLVocabulary::Attribute attribute) { return quint32{1} << attribute; }

    std::array<RawAttribute, HTMLVocabulary::attributeCount + 1> m_attributes;
    std::ptrdiff_t m_count = 0;
    quint32 m_known = 0; ///< a bit for each attribute that is among them
    static_assert(HTMLVocabulary::attributeCount <= 32);
};

/// Where the content of a raw text element ends, and where the text behind its end tag begins. Without an end
/// tag both are the end of the input.
struct RawTextEnd {
    qsizetype contentEnd = 0;
    qsizetype next = 0;
};

/// Whether the character at the position is an ASCII letter; false behind the end.
inline bool isLetterAt(QStringView html, qsizetype position)
{
    if (position >= html.size())
        return false;
    const unsigned lowered = html.utf16()[position] | 0x20U;
    return lowered >= u'a' && lowered <= u'z';
}

/// Reads the tag name that begins at the position, and moves the position to its end.
HTMLVocabulary::Name readName(QStringView html, qsizetype& position);

/// The position behind the next ">", or the end of the input.
qsizetype behindNextBracket(QStringView html, qsizetype position);

/// The position behind the comment that begins at the position, or the end of the input.
qsizetype behindComment(QStringView html, qsizetype position);

/// Reads attributes from behind a tag name into `attributes`. Gives the position behind the tag.
qsizetype readAttributes(QStringView html, qsizetype position, RawAttributes& attributes);

/// Searches the end tag of a raw text element. NB: it is not checked that the name ends where it should, so
/// "</styles>" closes "style". `name` must be ASCII in lower case.
RawTextEnd endOfRawText(QStringView html, qsizetype position, QLatin1StringView name);

} // namespace Larkhaven::HTMLReader
