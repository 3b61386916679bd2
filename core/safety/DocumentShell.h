#pragma once

#include <QString>

namespace Larkhaven::HTMLSanitizer {

/// The HTML document around a body that is already safe: policy, no referrer, no DNS prefetch, light colours,
/// basic styles.
QString documentAround(const QString& body, bool allowRemoteImages);

} // namespace Larkhaven::HTMLSanitizer
