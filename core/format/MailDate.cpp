#include "format/MailDate.h"

#include "domain/Text.h"

#include <QTimeZone>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>

using namespace Qt::StringLiterals;

namespace Larkhaven::MailDate {

namespace {

/// The forms of a Date field, in the order in which they are tried.
constexpr std::array<QStringView, 7> fieldPatterns = {
    u"EEE, d MMM yyyy HH:mm:ss Z", u"d MMM yyyy HH:mm:ss Z",    u"EEE, d MMM yyyy HH:mm Z",
    u"d MMM yyyy HH:mm Z",         u"EEE, d MMM yy HH:mm:ss Z", u"EEE, d MMM yyyy HH:mm:ss zzz",
    u"d MMM yyyy HH:mm:ss zzz",
};

constexpr std::array<QLatin1StringView, 7> weekdays = {
    "Monday"_L1, "Tuesday"_L1, "Wednesday"_L1, "Thursday"_L1, "Friday"_L1, "Saturday"_L1, "Sunday"_L1,
};

constexpr std::array<QLatin1StringView, 12> months = {
    "January"_L1, "February"_L1, "March"_L1,     "April"_L1,   "May"_L1,      "June"_L1,
    "July"_L1,    "August"_L1,   "September"_L1, "October"_L1, "November"_L1, "December"_L1,
};

/// The short form of the name of a weekday or month has this many letters.
constexpr qsizetype shortName = 3;

/// A two-digit year is one of the hundred from here on.
constexpr int firstTwoDigitYear = 1950;

struct Zone {
    QLatin1StringView name;
    int hours; ///< east of Greenwich
};

constexpr std::array<Zone, 15> zones = {{
    {"GMT"_L1, 0},
    {"UTC"_L1, 0},
    {"UT"_L1, 0},
    {"Z"_L1, 0},
    {"EST"_L1, -5},
    {"EDT"_L1, -4},
    {"CST"_L1, -6},
    {"CDT"_L1, -5},
    {"MST"_L1, -7},
    {"MDT"_L1, -6},
    {"PST"_L1, -8},
    {"PDT"_L1, -7},
    {"AKST"_L1, -9},
    {"AKDT"_L1, -8},
    {"HST"_L1, -10},
}};

constexpr int secondsOfMinute = 60;
constexpr int secondsOfHour = 3'600;

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

bool isASCIILetter(QChar character)
{
    return (character >= u'A' && character <= u'Z') || (character >= u'a' && character <= u'z');
}

/// Whether the short forms of both, which are letters, are the same in any case.
bool beginsAlike(QStringView word, QLatin1StringView name)
{
    constexpr int caseBit = 0x20;
    for (qsizetype index = 0; index < shortName; ++index) {
        if ((word[index].unicode() | caseBit) != (name[index].unicode() | caseBit))
            return false;
    }
    return true;
}

/// What a date is made of.
struct Moment {
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int offset = 0; ///< of the zone, seconds east of Greenwich
};

/// Days from 1 January 1970 to that of the Gregorian calendar; absent where it has no such day. The months
/// are counted from March, so that the leap day ends a year, and the days before a month are a straight line.
std::optional<qint64> daysOf(int year, int month, int day)
{
    constexpr int epoch = 719'468; // 1 January 1970, from 1 March of the year 0
    constexpr std::array<int, 12> lengths = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1 || month < 1 || month > 12 || day < 1)
        return std::nullopt;
    const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    const int length = lengths[static_cast<std::size_t>(month - 1)] + (isLeap && month == 2 ? 1 : 0);
    if (day > length)
        return std::nullopt;
    const int march = month > 2 ? month - 3 : month + 9;
    const int years = month > 2 ? year : year - 1;
    return qint64{365} * years + years / 4 - years / 100 + years / 400 + (153 * march + 2) / 5 + day - 1 -
           epoch;
}

/// Since the beginning of 1970 in UTC; absent where the calendar or the clock has no such date.
std::optional<qint64> secondsOf(const Moment& moment)
{
    const std::optional<qint64> days = daysOf(moment.year, moment.month, moment.day);
    if (!days || moment.hour >= 24 || moment.minute >= 60 || moment.second >= 60)
        return std::nullopt;
    return *days * 24 * secondsOfHour + moment.hour * secondsOfHour + moment.minute * secondsOfMinute +
           moment.second - moment.offset;
}

/// The date in UTC, if there is one.
std::optional<QDateTime> dateOf(std::optional<qint64> seconds)
{
    // A copy that is moved in time takes two thirds of what `fromMSecsSinceEpoch` takes.
    static const QDateTime epoch = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    std::optional<QDateTime> date;
    if (seconds)
        date.emplace(epoch).setMSecsSinceEpoch(*seconds * 1000);
    return date;
}

/// Three letters in any case as one number. No other unit becomes a letter by the bit of its case.
constexpr std::uint64_t letters(char16_t first, char16_t second, char16_t third)
{
    return 0x0020'0020'0020U | std::uint64_t{first} << 32 | std::uint64_t{second} << 16 | third;
}

template <std::size_t count>
constexpr std::array<std::uint64_t, count> shortNames(const std::array<QLatin1StringView, count>& names)
{
    std::array<std::uint64_t, count> firstLetters{};
    for (std::size_t index = 0; index < count; ++index) {
        const char* const name = names[index].data();
        firstLetters[index] =
            letters(static_cast<unsigned char>(name[0]), static_cast<unsigned char>(name[1]),
                    static_cast<unsigned char>(name[2]));
    }
    return firstLetters;
}

/// Reads the first of the patterns where each of its fields stands at its place, as in "Tue, 03 Mar 2026
/// 10:11:12 +0100" and with a day of one digit: all but a few dates of mail are so, and this is four times
/// as fast. Absent for every other text and for what no calendar has: the patterns read those.
std::optional<qint64> readFixed(QStringView text)
{
    constexpr qsizetype length = 31;
    if (text.size() != length && text.size() != length - 1)
        return std::nullopt;
    // Where the day has one digit, all behind it stands one place further to the left.
    const qsizetype shift = length - text.size();
    const char16_t* const units = text.utf16();
    const auto at = [units, shift](qsizetype place) { return units[place - shift]; };
    // What is wrong is collected and looked at once: a branch for each place takes longer.
    unsigned wrong = 0;
    const auto expect = [&](char16_t unit, char16_t expected) { wrong |= unsigned{unit} ^ expected; };
    const auto digit = [&](char16_t unit) {
        const unsigned value = unsigned{unit} - u'0';
        wrong |= value > 9 ? 1 : 0;
        return static_cast<int>(value);
    };
    const auto number = [&](qsizetype place) { return digit(at(place)) * 10 + digit(at(place + 1)); };
    const auto named = [](const auto& names, const char16_t* word) {
        const auto found = std::ranges::find(names, letters(word[0], word[1], word[2]));
        return found == names.end() ? 0 : static_cast<int>(found - names.begin()) + 1;
    };
    static constexpr auto shortWeekdays = shortNames(weekdays);
    static constexpr auto shortMonths = shortNames(months);
    expect(units[3], u',');
    expect(units[4], u' ');
    const int day = shift == 0 ? number(5) : digit(units[5]);
    expect(at(7), u' ');
    expect(at(11), u' ');
    const int year = number(12) * 100 + number(14);
    expect(at(16), u' ');
    const int hour = number(17);
    expect(at(19), u':');
    const int minute = number(20);
    expect(at(22), u':');
    const int second = number(23);
    expect(at(25), u' ');
    const bool isWest = at(26) == u'-';
    expect(at(26), isWest ? u'-' : u'+');
    const int hours = number(27);
    const int minutes = number(29);
    const int month = named(shortMonths, units + 8 - shift);
    if (wrong != 0 || month == 0 || named(shortWeekdays, units) == 0 || hours >= 24 || minutes >= 60)
        return std::nullopt;
    const int offset = hours * secondsOfHour + minutes * secondsOfMinute;
    return secondsOf({year, month, day, hour, minute, second, isWest ? -offset : offset});
}

/// Reads a text by a pattern, field by field; each `read` takes what it reads off `m_rest`.
class Reader {
public:
    explicit Reader(QStringView text)
        : m_rest(text)
    {}

    std::optional<qint64> read(QStringView pattern)
    {
        while (!pattern.isEmpty()) {
            const QChar letter = pattern.front();
            const auto end = std::find_if(pattern.begin(), pattern.end(),
                                          [letter](QChar other) { return other != letter; });
            const qsizetype length = isASCIILetter(letter) ? end - pattern.begin() : 1;
            if (!(isASCIILetter(letter) ? readField(letter, length) : readLiteral(letter)))
                return std::nullopt;
            pattern = pattern.sliced(length);
        }
        if (!m_rest.isEmpty())
            return std::nullopt;
        return secondsOf(m_moment);
    }

private:
    bool readField(QChar letter, qsizetype length)
    {
        switch (letter.unicode()) {
        case u'E':
            return readName(weekdays) > 0;
        case u'd':
            return readNumber(1, 2, m_moment.day);
        case u'M':
            m_moment.month = readName(months);
            return m_moment.month > 0;
        case u'y':
            return length == 2 ? readShortYear() : readNumber(4, m_rest.size(), m_moment.year);
        case u'H':
            return readNumber(1, 2, m_moment.hour);
        case u'm':
            return readNumber(1, 2, m_moment.minute);
        case u's':
            return readNumber(1, 2, m_moment.second);
        case u'Z':
            return readOffset();
        case u'z':
            return readZoneName();
        default:
            return false;
        }
    }

    bool readLiteral(QChar literal)
    {
        if (m_rest.isEmpty())
            return false;
        if (literal != u' ') {
            const bool matches = m_rest.front() == literal;
            m_rest = m_rest.sliced(matches ? 1 : 0);
            return matches;
        }
        const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), [](QChar c) { return c.isSpace(); });
        const qsizetype length = end - m_rest.begin();
        m_rest = m_rest.sliced(length);
        return length > 0;
    }

    /// A number of `minimum` to `maximum` digits. More digits than that are left to what follows.
    bool readNumber(qsizetype minimum, qsizetype maximum, int& number)
    {
        qsizetype length = 0;
        int value = 0;
        for (; length < std::min(maximum, m_rest.size()) && isDigit(m_rest[length]); ++length) {
            value = value * 10 + (m_rest[length].unicode() - u'0');
            if (value > maxYear)
                return false;
        }
        if (length < minimum)
            return false;
        number = value;
        m_rest = m_rest.sliced(length);
        return true;
    }

    bool readShortYear()
    {
        int ofCentury = 0;
        if (!readNumber(2, 2, ofCentury))
            return false;
        const int century = firstTwoDigitYear / 100 * 100;
        m_moment.year = century + ofCentury + (century + ofCentury < firstTwoDigitYear ? 100 : 0);
        return true;
    }

    /// The run of letters at the beginning of the rest.
    QStringView word() const
    {
        const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), isASCIILetter);
        return m_rest.first(end - m_rest.begin());
    }

    /// Which of the names comes next, short or long, counted from 1; 0 if none does.
    int readName(std::span<const QLatin1StringView> names)
    {
        const QStringView candidate = word();
        if (candidate.size() < shortName)
            return 0;
        // No two names begin with the same letters.
        const auto found = std::find_if(names.begin(), names.end(), [candidate](QLatin1StringView name) {
            return beginsAlike(candidate, name);
        });
        const bool isName = found != names.end() && (candidate.size() == shortName ||
                                                     candidate.compare(*found, Qt::CaseInsensitive) == 0);
        if (!isName)
            return 0;
        m_rest = m_rest.sliced(candidate.size());
        return static_cast<int>(found - names.begin()) + 1;
    }

    bool readZoneName()
    {
        const QStringView candidate = word();
        const auto zone = std::find_if(zones.begin(), zones.end(), [candidate](const Zone& row) {
            return candidate.compare(row.name, Qt::CaseInsensitive) == 0;
        });
        if (zone == zones.end())
            return false;
        m_moment.offset = zone->hours * secondsOfHour;
        m_rest = m_rest.sliced(candidate.size());
        return true;
    }

    bool readOffset()
    {
        if (m_rest.isEmpty() || (m_rest.front() != u'+' && m_rest.front() != u'-'))
            return false;
        const int sign = m_rest.front() == u'-' ? -1 : 1;
        m_rest = m_rest.sliced(1);
        int hours = 0;
        int minutes = 0;
        if (!readNumber(2, 2, hours))
            return false;
        const bool hasColon = m_rest.startsWith(u':');
        m_rest = m_rest.sliced(hasColon ? 1 : 0);
        const bool hasMinutes = hasColon || (!m_rest.isEmpty() && isDigit(m_rest.front()));
        if (hasMinutes && !readNumber(2, 2, minutes))
            return false;
        m_moment.offset = sign * (hours * secondsOfHour + minutes * secondsOfMinute);
        return hours < 24 && minutes < 60;
    }

    QStringView m_rest;
    Moment m_moment;
};

std::optional<qint64> secondsIn(QStringView text)
{
    if (const std::optional<qint64> read = readFixed(text))
        return read;
    QStringView date = Text::trimmedSpace(text);
    const qsizetype comment = date.indexOf(u'(');
    if (comment >= 0)
        date = Text::trimmedSpace(date.first(comment));
    if (const std::optional<qint64> read = readFixed(date))
        return read;
    // Doubled spaces need no step of their own: the space of a pattern takes any run.
    for (const QStringView pattern : fieldPatterns) {
        if (const std::optional<qint64> read = Reader(date).read(pattern))
            return read;
    }
    return std::nullopt;
}

} // namespace

std::optional<QDateTime> parse(QStringView text)
{
    return dateOf(secondsIn(text));
}

std::optional<QDateTime> parse(QStringView text, QStringView pattern)
{
    return dateOf(Reader(text).read(pattern));
}

QString format(const QDateTime& date)
{
    if (!date.isValid())
        return QString();
    const QDateTime local = date.toLocalTime();
    const QDate day = local.date();
    const int offset = local.offsetFromUtc();
    const int minutes = std::abs(offset) / secondsOfMinute;
    const auto name = [](QLatin1StringView full) { return QString(full.first(shortName)); };
    return u"%1, %2 %3 %4 %5 %6%7%8"_s.arg(name(weekdays[static_cast<size_t>(day.dayOfWeek() - 1)]))
        .arg(day.day())
        .arg(name(months[static_cast<size_t>(day.month() - 1)]))
        .arg(day.year(), 4, 10, QChar(u'0'))
        .arg(local.time().toString(u"HH:mm:ss"))
        .arg(QChar(offset < 0 ? u'-' : u'+'))
        .arg(minutes / 60, 2, 10, QChar(u'0'))
        .arg(minutes % 60, 2, 10, QChar(u'0'));
}

} // namespace Larkhaven::MailDate
