#pragma once

#include <QString>

/// The text of a message that is HTML alone, for those who quote it.
namespace Larkhaven::VisibleText {

/// The text of a document that `HTMLSanitizer::sanitize` has written, as a reader sees it: blocks on lines of
/// their own, a paragraph set off by an empty line, cells with a tab between them, list items behind a bullet
/// or their number, white space as HTML has it, and references resolved.
///
/// What isn't shown is left out: elements that a `style` attribute or a simple rule of the document's own
/// style sheets (a tag, a class, or both) hides by `display`, `visibility`, `opacity`, a height of nothing, a
/// font of no size or ink without colour. NB: no cascade; rules with other selectors and those within "@"
/// rules count for nothing.
///
/// Ends once the text is longer than `limit`, in UTF-16 units. Pure, callable from any thread, linear in its
/// input.
QString ofSanitized(const QString& document, qsizetype limit);

/// The text with its character references resolved: those of `HTMLSanitizer::decodeEntities`, and the names
/// of HTML 4 for Latin-1 and for punctuation, spelled exactly.
QString decodedReferences(const QString& text);

} // namespace Larkhaven::VisibleText
