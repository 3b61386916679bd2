#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>

#include <optional>

/// The dates of mail (RFC 5322, 3.3 and 4.3): reads the forms that mail in the wild carries and writes the
/// one that is right.
///
/// Functions without state: reading keeps nothing between calls, so it needs no lock and is callable from any
/// thread, as is writing. Neither depends on the user's language.
namespace Larkhaven::MailDate {

/// The date of a Date field, in UTC; absent where it is in none of these forms:
///
///     [day-name ","] day month year hour ":" minute [":" second] zone
///
/// with a four-digit year; with a two-digit year after a day name, seconds and a numeric zone; with a zone by
/// name where there are seconds. Whatever follows a "(" is a comment. See the other `parse` for how strictly
/// they are read.
std::optional<QDateTime> parse(QStringView text);

/// The date that `text` spells as a whole in `pattern`, in UTC; absent where it doesn't.
///
/// The letters are those of the Unicode date patterns (UTS #35, part 4), as far as mail needs them:
///
///   EEE           name of a weekday, which is not compared with the date
///   d, HH, mm, ss one or two digits
///   MMM           name of a month
///   yyyy          at least four digits, at most `maxYear`
///   yy            two digits, 1950 to 2049
///   Z             +hhmm, +hh:mm or +hh, with "+" or "-"
///   zzz           GMT, UTC, UT, Z, EST, EDT, CST, CDT, MST, MDT, PST, PDT, AKST, AKDT or HST
///   a space       any run of white space
///
/// Anything else stands for itself. Names are English, in any case; weekdays and months are written short or
/// long. A date or time that the calendar and the clock don't have (31 February, hour 24, second 60) is
/// refused. UTC where there is no zone.
std::optional<QDateTime> parse(QStringView text, QStringView pattern);

inline constexpr int maxYear = 5'000'000;

/// The date as a Date field has it, in the time zone of the machine: "Tue, 3 Mar 2026 10:11:12 +0100". Empty
/// for an invalid date.
QString format(const QDateTime& date);

} // namespace Larkhaven::MailDate
