#pragma once

#include "safety/ImageLook.h"
#include "safety/SanitizedHTML.h"
#include "safety/SanitizerOptions.h"

#include <QString>

/// The bodies of messages, made harmless, before they become a document. Several may follow each other in
/// one.
namespace Larkhaven::HTMLSanitizer::Bodies {

/// What the bodies of one document have in common.
struct Sum {
    SanitizedHTML result;        ///< its links and counts; the document comes last
    qint64 inlineImageBytes = 0; ///< that are shown
    ImageLookRules rules;        ///< of the style sheets, which hold for all of the document
};

/// With `keepsStyleSheets` off, "style" elements go; "style" attributes stay.
QString ofHTML(const QString& html, const SanitizerOptions& options, Sum& sum, bool keepsStyleSheets);

/// The text as it stands, with its URLs as indirect links.
QString ofText(const QString& text, Sum& sum);

} // namespace Larkhaven::HTMLSanitizer::Bodies
