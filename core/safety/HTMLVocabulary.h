#pragma once

#include <QLatin1StringView>
#include <QStringView>

#include <array>
#include <cstdint>
#include <string_view>

/// The fixed tables of what may stand in the HTML of a message. All names are in lower case. Pure, callable
/// from any thread.
namespace Larkhaven::HTMLVocabulary {

/// The name of a tag or an attribute in lower case (Unicode), as far as one of the tables can hold it: of at
/// most 15 characters of ASCII. All others are the name that is in no table. Two numbers, so that a name is
/// looked up in a few steps.
class Name {
public:
    constexpr Name() = default;
    constexpr explicit Name(std::string_view lowered)
    {
        for (std::size_t index = 0; index < lowered.size(); ++index)
            set(index, static_cast<unsigned char>(lowered[index]));
        set(longest, lowered.size());
    }
    /// As it is written.
    explicit Name(QStringView written);
    /// Of at most eight characters, the first in the lowest byte, in lower case and none of them NUL.
    static constexpr Name ofEight(std::uint64_t lowered, std::size_t size)
    {
        Name name;
        name.m_first = lowered;
        name.set(longest, size);
        return name;
    }

    constexpr bool operator==(const Name&) const = default;

    /// Spreads names over a table of 256 places.
    constexpr std::uint8_t place() const
    {
        constexpr std::uint64_t spread = 0x9E37'79B9'7F4A'7C15;
        return static_cast<std::uint8_t>((m_first * spread ^ m_next) * spread >> 56);
    }

    static constexpr std::size_t longest = 15;

private:
    constexpr void set(std::size_t index, std::uint64_t character)
    {
        if (index < 8)
            m_first |= character << index * 8;
        else
            m_next |= character << (index - 8) * 8;
    }

    std::uint64_t m_first = 0; ///< eight characters, the first in the lowest byte
    std::uint64_t m_next = 0;  ///< seven more, and in the highest byte how many there are
};

/// An allowed tag, as its place in the table; `noTag` for any other.
using Tag = int;
inline constexpr Tag noTag = -1;
inline constexpr int tagCount = 71;

/// Tags that have rules of their own.
inline constexpr Tag linkTag = 0;
inline constexpr Tag imageTag = 38;

Tag allowedTag(const Name& name);
QLatin1StringView nameOf(Tag tag);

/// Whether the tag has no content and no end tag.
bool isVoid(Tag tag);

/// Whether the tag stands within lines of text by itself (HTML, 15.3.4), so that what is before and behind it
/// may be one word.
bool isPhrase(Tag tag);

/// The name, where an element of this name is removed together with its content; empty for any other.
QLatin1StringView droppedWithContent(const Name& name);

/// An attribute that some rule reads: the 28 allowed ones, "hidden", "href" and "src". `noAttribute` for any
/// other.
using Attribute = int;
inline constexpr Attribute noAttribute = -1;
inline constexpr int attributeCount = 31;

/// Attributes that rules of links, images and hidden elements read.
namespace Known {
inline constexpr Attribute classes = 7;
inline constexpr Attribute height = 13;
inline constexpr Attribute hidden = 14;
inline constexpr Attribute href = 15;
inline constexpr Attribute src = 24;
inline constexpr Attribute style = 26;
inline constexpr Attribute title = 27;
inline constexpr Attribute width = 30;
} // namespace Known

Attribute knownAttribute(const Name& name);

/// Whether the attribute is written as it came, its value made safe. "href" and "src" are only written by
/// rules of their own, "hidden" never.
inline bool isAllowed(Attribute attribute)
{
    return attribute != Known::hidden && attribute != Known::href && attribute != Known::src;
}

/// A few characters of the page, in room of a fixed size: to copy all of it is a matter of two instructions.
struct Piece {
    std::array<char16_t, 16> units{};
    std::size_t size = 0;
};

/// How the page has it: "<p", "</p>" and " class=\"".
const Piece& openingOf(Tag tag);
const Piece& closingOf(Tag tag);
const Piece& openingOfAttribute(Attribute attribute);

} // namespace Larkhaven::HTMLVocabulary
