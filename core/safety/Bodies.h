#pragma once

#include "safety/DocumentWriter.h"
#include "safety/ImageLook.h"
#include "safety/SanitizedHTML.h"
#include "safety/SanitizerOptions.h"

#include <QString>

/// The bodies of messages, made harmless, before they become a document. Several may follow each other in
/// one.
namespace Larkhaven::HTMLSanitizer::Bodies {

/// What the bodies of one document have in common.
struct Sum {
    DocumentWriter page;         ///< the document as far as it is written
    SanitizedHTML result;        ///< its links and counts; the document comes last
    qint64 inlineImageBytes = 0; ///< that are shown
    ImageLookRules rules;        ///< of the style sheets, which hold for all of the document
};

/// Writes the HTML of a message, made harmless, to the page. With `keepsStyleSheets` off, "style" elements
/// go; "style" attributes stay.
void addHTML(const QString& html, const SanitizerOptions& options, Sum& sum, bool keepsStyleSheets);

/// Writes the text as it stands, with its URLs as indirect links.
void addText(QStringView text, Sum& sum);

} // namespace Larkhaven::HTMLSanitizer::Bodies
