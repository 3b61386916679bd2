#pragma once

#include <QString>
#include <QStringView>

namespace Larkhaven::HTMLSanitizer {

/// The HTML document before a body that is already safe: policy, no referrer, no DNS prefetch, light colours,
/// basic styles.
const QString& documentHead(bool allowRemoteImages);

/// What stands behind the body.
inline constexpr QStringView documentEnd(u"</body></html>");

/// What `escapeHTML` writes in place of the character; empty where it stays.
QStringView referenceFor(char16_t character);

} // namespace Larkhaven::HTMLSanitizer
