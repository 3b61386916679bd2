#pragma once

#include "views/richtext/ComposeFormat.h"

#include <QString>

#include <optional>

class QTextDocument;

/// The rich text of a message as HTML, and back. Pure functions; a document may be of any thread. Linear in
/// their input.
///
/// What is written is small and plain, for the mail programs of the last fifteen years: one `div` for each
/// paragraph, lists, quotes and links, and styles only where a text differs from the default. What is read
/// may be hostile: it goes through the sanitizer, and nothing but text, formatting and links comes out of it.
/// Nothing is ever fetched.
namespace Larkhaven::ComposeHTML {

/// The document as an HTML document in which no byte needs a charset other than UTF-8; absent where it has no
/// text.
std::optional<QString> write(const QTextDocument& document);

/// The text as it is sent beside the HTML: a list item has its marker between two tabs, a quoted line begins
/// with "> " for each level.
QString plainText(const QTextDocument& document);

/// From now on `write` and `plainText` write again only the paragraphs of the document that have changed; for
/// a document that is written again and again.
void rememberParagraphs(QTextDocument& document);

/// What of an HTML text a document does not hold.
struct Losses {
    bool images = false; ///< their words stand for them
    bool styles = false; ///< style sheets
    bool tables = false; ///< those that are too large or too deep; their rows are paragraphs
    bool rules = false;  ///< lines across the page
    bool cells = false;  ///< backgrounds, sizes and places of what is in tables

    bool isEmpty() const { return *this == Losses(); }
    bool operator==(const Losses&) const = default;
};

/// Replaces the document by what the HTML shows, and forgets its undo steps.
Losses read(const QString& html, QTextDocument& document, const ComposeFormat::Sizes& sizes);

/// Tables deeper than this, wider, or with more cells in all of a text are read row by row.
inline constexpr std::size_t maximumTableDepth = 3;
inline constexpr int maximumColumns = 64;
inline constexpr int maximumCells = 5'000;
/// Cells that span others beyond these are single ones.
inline constexpr int maximumMerges = 200;
/// The most lines that one paragraph keeps together. Longer ones go on in another.
inline constexpr int maximumLinesOfParagraph = 200;
/// The most items that one list keeps together. Longer ones go on in another.
inline constexpr int maximumItemsOfList = 1'000;
/// Lists deeper than this look like the last level.
inline constexpr int maximumListDepth = 12;
/// The most kinds of named character references that one text may use.
inline constexpr int maximumNames = 300;

} // namespace Larkhaven::ComposeHTML
