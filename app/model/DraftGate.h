#pragma once

#include <QString>
#include <QStringView>

/// What may enter a draft. An editor and a field lay out what they are given at once and again with each key,
/// and some texts take them the time of their square: everything that comes from elsewhere (a message, a
/// stored draft, what is pasted, a link) passes here first, and what is left out is said in the text.
///
/// Two things are counted: characters, and the effort of laying them out, in units of one plain letter. Where
/// a line is too long for an editor it is broken, which loses nothing; marks beyond what a letter can carry,
/// and what is behind the bounds of the whole, are left out.
///
/// Pure functions, callable from any thread, linear in their input.
namespace Larkhaven::DraftGate {

inline constexpr qsizetype mostCharacters = 250'000; ///< of a text, in UTF-16 units
inline constexpr qsizetype mostLines = 10'000;
inline constexpr qsizetype mostEffort = 250'000;
inline constexpr qsizetype mostPastedEffort = 200'000; ///< of a document that comes in at once
inline constexpr qsizetype longestLine = 10'000;       ///< in units of effort
inline constexpr qsizetype longestBlock = 50'000;      ///< of a document, in units of effort
inline constexpr qsizetype longestRun = 2'000;         ///< without a space, in UTF-16 units
inline constexpr int mostMarks = 16;                   ///< on one letter
inline constexpr qsizetype mostHTML = 4'000'000;       ///< of a document with its tags, in UTF-16 units
inline constexpr qsizetype mostItems = 2'000;          ///< of all lists of a document
inline constexpr std::size_t mostLevels =
    100;                                  ///< of elements within elements; a sanitizer has bounds as well
inline constexpr int mostTableLevels = 6; ///< of tables within tables
inline constexpr int mostListLevels = 8; ///< of lists within lists, each of which leaves less room for a line
inline constexpr int mostSpan = 100;     ///< of rows or columns that a cell takes
inline constexpr qsizetype longestAttributes = 4'096; ///< of one tag
inline constexpr qsizetype longestStyleSheet = 8'000; ///< of a document
inline constexpr qsizetype mostStyleRules = 100;
inline constexpr qsizetype longestSubject = 2'000;
inline constexpr qsizetype longestName = 200;        ///< of an address
inline constexpr qsizetype mostAddresses = 2'000;    ///< of all fields together
inline constexpr qsizetype mostFieldEffort = 80'000; ///< of all fields of addresses together
inline constexpr qsizetype mostReferences = 1'000;
inline constexpr qsizetype longestReference = 998;

struct Passed {
    QString text;
    bool isCut = false;    ///< something was left out
    bool isBroken = false; ///< a line was broken, or an element lost its form

    bool isWhole() const { return !isCut && !isBroken; }
};

/// A text of many lines, its line ends LF. Where its rest is left out, `rest` follows on a line of its own.
/// Controls become spaces.
Passed text(QStringView text, const QString& rest);

/// A document that the sanitizer has written, of images only their words. Where its rest is left out, `rest`
/// follows as a paragraph.
Passed html(QStringView sanitized, const QString& rest, qsizetype effort = mostEffort);

/// What may be pasted, or dropped, as plain text.
QString pasted(QStringView text);

/// What may be pasted as rich text: a document that the sanitizer has written of it, likewise.
QString pastedHTML(QStringView sanitized);

/// A text for a field of one line, as `ShownText::line` has it.
Passed line(QStringView text, qsizetype length);

/// The effort of laying out the text in units of one plain letter; `unbounded` where it has more marks on a
/// letter than it may, or is beyond the bounds of a whole text.
qsizetype effort(QStringView text);
inline constexpr qsizetype unbounded = mostEffort + 1;

} // namespace Larkhaven::DraftGate
