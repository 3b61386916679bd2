#pragma once

#include "safety/HTMLVocabulary.h"

#include <QByteArray>
#include <QByteArrayView>

#include <array>
#include <optional>

/// Reads the pieces of tags out of the bytes of hostile HTML. Pure functions, callable from any thread,
/// linear in what they read.
namespace Larkhaven::HTMLReader {

/// An attribute of a tag, its value raw: entities are not decoded.
struct RawAttribute {
    HTMLVocabulary::Attribute attribute = HTMLVocabulary::noAttribute;
    QByteArrayView value;
};

/// The first attribute of each known name, in the order of the source. Other attributes and repetitions reach
/// no rule, so that a tag with a million attributes takes no more room than this.
class RawAttributes {
public:
    void add(RawAttribute attribute);
    void clear();

    /// The raw value; absent where the tag has no such attribute.
    std::optional<QByteArrayView> value(HTMLVocabulary::Attribute attribute) const;

    auto begin() const { return m_attributes.begin(); }
    auto end() const { return m_attributes.begin() + m_count; }

private:
    std::array<RawAttribute, HTMLVocabulary::attributeCount> m_attributes;
    std::ptrdiff_t m_count = 0;
    quint32 m_known = 0; ///< a bit for each attribute that is among them
    static_assert(HTMLVocabulary::attributeCount <= 32);
};

/// The name of a tag or an attribute in lower case (Unicode), invalid bytes repaired. Those of honest mail
/// are short and of ASCII, and take no memory of their own.
class Name {
public:
    explicit Name(QByteArrayView written);
    Q_DISABLE_COPY_MOVE(Name)

    QByteArrayView view() const { return m_view; }

private:
    std::array<char, 16> m_short;
    QByteArray m_long; ///< where it isn't short and of ASCII
    QByteArrayView m_view;
};

/// Where the content of a raw text element ends, and where the text behind its end tag begins. Without an end
/// tag both are the end of the input.
struct RawTextEnd {
    qsizetype contentEnd = 0;
    qsizetype next = 0;
};

/// Whether the byte at the position is an ASCII letter; false behind the end.
bool isLetterAt(QByteArrayView html, qsizetype position);

/// The end of the tag name that begins at the position.
qsizetype endOfName(QByteArrayView html, qsizetype position);

/// The position behind the next ">", or the end of the input.
qsizetype behindNextBracket(QByteArrayView html, qsizetype position);

/// Reads attributes from behind a tag name into `attributes`. Gives the position behind the tag.
qsizetype readAttributes(QByteArrayView html, qsizetype position, RawAttributes& attributes);

/// Searches the end tag of a raw text element. NB: it is not checked that the name ends where it should, so
/// "</styles>" closes "style". `name` must be ASCII in lower case.
RawTextEnd endOfRawText(QByteArrayView html, qsizetype position, QByteArrayView name);

} // namespace Larkhaven::HTMLReader
