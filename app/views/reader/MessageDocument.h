#pragma once

#include "format/ParsedMessage.h"
#include "safety/SanitizedHTML.h"

/// What the sandbox shows of a message. Pure functions, callable from any thread; linear, but work for a
/// worker.
namespace Larkhaven::MessageDocument {

/// Its HTML where it has any, else its text; forwarded messages within it stand apart, with their sender,
/// subject and date above them. So does what a plain text forwards below a line of hyphens that says so; no
/// other line of the text is left out for it.
SanitizedHTML make(const ParsedMessage& message, bool allowRemoteImages);

/// Whether `make` writes nothing of the message but its characters.
bool isText(const ParsedMessage& message);

/// The same words as nothing but characters, without what the HTML hides. What is longer than
/// `mostTextCharacters` is cut, and says so at its end.
SanitizedHTML makeText(const ParsedMessage& message);
inline constexpr qsizetype mostTextCharacters = 1'000'000;

} // namespace Larkhaven::MessageDocument
