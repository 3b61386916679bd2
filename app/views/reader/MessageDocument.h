#pragma once

#include "format/ParsedMessage.h"
#include "safety/SanitizedHTML.h"

/// What the sandbox shows of a message. Pure functions, callable from any thread; linear, but work for a
/// worker.
namespace Larkhaven::MessageDocument {

/// Its HTML where it has any, else its text; forwarded messages within it stand apart, with their sender,
/// subject and date above them.
SanitizedHTML make(const ParsedMessage& message, bool allowRemoteImages);

} // namespace Larkhaven::MessageDocument
