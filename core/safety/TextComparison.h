#pragma once

#include <QString>
#include <QStringList>

/// Whether the plain text of a message and its HTML as it was on screen say the same.
///
/// Words are compared: runs of letters and digits, whatever their case, their accents and what stands between
/// them. In scripts without blanks each character is a word. A link counts for nothing, and neither does what
/// plain texts put in its place: the URL, its brackets, and the numbers of a list of links.
///
/// Pure, callable from any thread. Takes the time of sorting the words.
namespace Larkhaven::TextComparison {

/// Texts that are longer aren't compared, and neither are those whose letters are more once each stands for
/// itself: they count as different. In UTF-16 units.
inline constexpr qsizetype longestText = 1'000'000;

/// The words of a run that is looked for in the other text; of texts with fewer words single ones are.
inline constexpr std::size_t wordsOfRun = 3;

/// The words in a row that weren't on screen, from which on a text is another one.
inline constexpr int mostUnseenWords = 5;

/// Whether the plain text says something else than what was shown: less than nine tenths of the runs of words
/// of the one that has more of them are in both, or `mostUnseenWords` of the plain text in a row are in no
/// run that was shown. A plain text without words says nothing. `imageWords` are those of the images: where
/// they stand in brackets, as in "[image: Logo]", they aren't missed, but they weren't seen either.
bool saysSomethingElse(const QString& plain, const QString& shown, const QStringList& imageWords = {});

} // namespace Larkhaven::TextComparison
