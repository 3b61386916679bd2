#pragma once

#include <QString>
#include <QStringList>

/// The text of a message in HTML, for those who quote it.
namespace Larkhaven::VisibleText {

/// What of a document is there to be read.
struct Shown {
    QString text;
    QStringList imageWords; ///< what the images say of themselves, which isn't shown; at most `mostImages`
};

inline constexpr qsizetype mostImages = 500;
inline constexpr qsizetype longestWords = 1'000; ///< of an image, in UTF-16 units with references

/// The text of a document that `HTMLSanitizer` has written, as a reader sees it: blocks on lines of their
/// own, a paragraph set off by an empty line, cells with a tab between them, list items behind a bullet or
/// their number, white space as HTML has it, and references resolved.
///
/// What isn't shown is left out (`Look`): by attributes, `style` attributes and the rules of the document's
/// style sheets (`StyleRules`), and what a closed "details" holds. Where the rules take more than
/// `StyleRules::mostSteps` to find, the text ends there.
///
/// Ends once the text is longer than `limit`, in UTF-16 units. Pure, callable from any thread, linear in its
/// input.
Shown shownOf(const QString& document, qsizetype limit);

/// Its text alone.
QString ofSanitized(const QString& document, qsizetype limit);

/// The text with its character references resolved: those of `HTMLSanitizer::decodeEntities`, and the names
/// of HTML 4 for Latin-1 and for punctuation, spelled exactly.
QString decodedReferences(const QString& text);

} // namespace Larkhaven::VisibleText
