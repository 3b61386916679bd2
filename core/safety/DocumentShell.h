#pragma once

#include <QString>

namespace Larkhaven::HTMLSanitizer {

/// The HTML document around a body that is already safe: policy, no referrer, no DNS prefetch, light colours,
/// basic styles.
QString documentAround(const QString& body, bool allowRemoteImages);

/// What `escapeHTML` writes in place of the character; empty where it stays.
QLatin1StringView referenceFor(char16_t character);

} // namespace Larkhaven::HTMLSanitizer
