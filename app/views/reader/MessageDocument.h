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

} // namespace Larkhaven::MessageDocument
