#pragma once

#include <QString>
#include <QStringView>

#include <optional>

/// Where the constructs of an address field end in which separators are ordinary characters. Pure functions,
/// callable from any thread, linear in the text. A search that finds nothing has read to the end: where one
/// has failed, no search of its kind that begins behind it can succeed.
namespace Larkhaven::AddressConstructs {

/// The position behind the quoted string that begins at `start` (RFC 5322, 3.2.4); absent where it isn't
/// closed.
std::optional<qsizetype> endOfQuotedString(QStringView text, qsizetype start);

/// The position behind the comment that begins at `start`, with those in it (RFC 5322, 3.2.2); absent where
/// it isn't closed.
std::optional<qsizetype> endOfComment(QStringView text, qsizetype start);

/// What stands between the first and the last character of a construct, quoted pairs undone (RFC 5322,
/// 3.2.1).
QString contentOf(QStringView construct);

} // namespace Larkhaven::AddressConstructs
