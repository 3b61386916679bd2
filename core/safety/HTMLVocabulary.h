#pragma once

#include <QByteArrayView>

/// The fixed tables of what may stand in the HTML of a message. All names are in lower case. Pure, callable
/// from any thread.
namespace Larkhaven::HTMLVocabulary {

/// An allowed tag, as its place in the table; `noTag` for any other.
using Tag = int;
inline constexpr Tag noTag = -1;
inline constexpr int tagCount = 71;

Tag allowedTag(QByteArrayView name);
QByteArrayView nameOf(Tag tag);

/// Whether the tag has no content and no end tag.
bool isVoid(Tag tag);

/// Whether the tag stands within lines of text by itself (HTML, 15.3.4), so that what is before and behind it
/// may be one word.
bool isPhrase(Tag tag);

/// Whether an element of this name is removed together with its content.
bool isDroppedWithContent(QByteArrayView name);

/// An attribute that some rule reads: the 28 allowed ones, "hidden", "href" and "src". `noAttribute` for any
/// other.
using Attribute = int;
inline constexpr Attribute noAttribute = -1;
inline constexpr int attributeCount = 31;

Attribute knownAttribute(QByteArrayView name);
QByteArrayView nameOfAttribute(Attribute attribute);

/// Whether the attribute is written as it came, its value made safe. "href" and "src" are only written by
/// rules of their own, "hidden" never.
bool isAllowed(Attribute attribute);

} // namespace Larkhaven::HTMLVocabulary
