#pragma once

#include "safety/HTMLSanitizer.h"

#include <QString>

namespace Larkhaven {

/// What stands between "<body>" and "</body>" of a document.
inline QString bodyOf(const SanitizedHTML& result)
{
    const QString opening = QStringLiteral("</head><body>");
    const QString closing = QStringLiteral("</body></html>");
    const qsizetype start = result.document.indexOf(opening) + opening.size();
    return result.document.sliced(start, result.document.size() - closing.size() - start);
}

/// The body that a message gives with all options off.
inline QString sanitized(const QString& html, const SanitizerOptions& options = {})
{
    return bodyOf(HTMLSanitizer::sanitize(html, options));
}

inline SanitizerOptions withRemoteImages()
{
    SanitizerOptions options;
    options.allowRemoteImages = true;
    return options;
}

inline SanitizerOptions withIndirectLinks()
{
    SanitizerOptions options;
    options.indirectLinks = true;
    return options;
}

} // namespace Larkhaven
