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

/// Absent where the calendar or the clock has no such date.
std::optional<QDateTime> inUTC(const Moment& moment)
{
    const QDate date(moment.year, moment.month, moment.day);
    if (!date.isValid() || !QTime::isValid(moment.hour, moment.minute, moment.second))
        return std::nullopt;
    constexpr qint64 firstDay = 2'440'588; // 1 January 1970
    const qint64 days = date.toJulianDay() - firstDay;
    const qint64 seconds = days * 24 * secondsOfHour + moment.hour * secondsOfHour +
                           moment.minute * secondsOfMinute + moment.second - moment.offset;
    return QDateTime::fromMSecsSinceEpoch(seconds * 1000, Qt::UTC);
}

/// Three letters in any case as one number.
constexpr std::uint32_t letters(char first, char second, char third)
{
    return 0x202020U | static_cast<unsigned char>(first) << 16 | static_cast<unsigned char>(second) << 8 |
           static_cast<unsigned char>(third);
}

template <std::size_t count>
constexpr std::array<std::uint32_t, count> shortNames(const std::array<QLatin1StringView, count>& names)
{
    std::array<std::uint32_t, count> firstLetters{};
    for (std::size_t index = 0; index < count; ++index)
        firstLetters[index] = letters(names[index].data()[0], names[index].data()[1], names[index].data()[2]);
    return firstLetters;
}

/// Reads the first of the patterns where each of its fields stands at its place, as in "Tue, 03 Mar 2026
/// 10:11:12 +0100" and with a day of one digit: all but a few dates of mail are so, and this is twice
/// as fast. Absent for every other text and for what no calendar has: the patterns read those.
std::optional<QDateTime> parseFixed(QStringView text)
{
    constexpr qsizetype length = 31;
    constexpr qsizetype dayPlace = 5;
    if (text.size() != length && text.size() != length - 1)
        return std::nullopt;
    std::array<char, length> characters;
    char* output = characters.data();
    for (qsizetype index = 0; index < text.size(); ++index) {
        if (index == dayPlace && text.size() < length)
            *output++ = '0';
        const char16_t unit = text[index].unicode();
        *output++ = unit < 0x80 ? static_cast<char>(unit) : '\0';
    }
    const auto at = [&characters](std::size_t place) { return characters[place]; };
    const auto named = [&](std::size_t place, const auto& names) {
        const auto found = std::ranges::find(names, letters(at(place), at(place + 1), at(place + 2)));
        return found == names.end() ? 0 : static_cast<int>(found - names.begin()) + 1;
    };
    bool isRead = at(3) == ',' && at(4) == ' ' && at(7) == ' ' && at(11) == ' ' && at(16) == ' ' &&
                  at(19) == ':' && at(22) == ':' && at(25) == ' ' && (at(26) == '+' || at(26) == '-');
    const auto number = [&](std::size_t place) {
        const int tens = at(place) - '0';
        const int ones = at(place + 1) - '0';
        isRead = isRead && tens >= 0 && tens <= 9 && ones >= 0 && ones <= 9;
        return tens * 10 + ones;
    };
    static constexpr auto shortWeekdays = shortNames(weekdays);
    static constexpr auto shortMonths = shortNames(months);
    Moment moment{number(12) * 100 + number(14),
                  named(8, shortMonths),
                  number(5),
                  number(17),
                  number(20),
                  number(23),
                  0};
    const int hours = number(27);
    const int minutes = number(29);
    if (!isRead || moment.month == 0 || named(0, shortWeekdays) == 0 || hours >= 24 || minutes >= 60)
        return std::nullopt;
    moment.offset = (at(26) == '-' ? -1 : 1) * (hours * secondsOfHour + minutes * secondsOfMinute);
    return inUTC(moment);
}

/// Reads a text by a pattern, field by field; each `read` takes what it reads off `m_rest`.
class Reader {
public:
    explicit Reader(QStringView text)
        : m_rest(text)
    {}

    std::optional<QDateTime> read(QStringView pattern)
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
        return inUTC(m_moment);
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

} // namespace

std::optional<QDateTime> parse(QStringView text)
{
    QStringView date = Text::trimmedSpace(text);
    const qsizetype comment = date.indexOf(u'(');
    if (comment >= 0)
        date = Text::trimmedSpace(date.first(comment));
    if (std::optional<QDateTime> read = parseFixed(date))
        return read;
    // Doubled spaces need no step of their own: the space of a pattern takes any run.
    for (const QStringView pattern : fieldPatterns) {
        if (std::optional<QDateTime> read = parse(date, pattern))
            return read;
    }
    return std::nullopt;
}

std::optional<QDateTime> parse(QStringView text, QStringView pattern)
{
    return Reader(text).read(pattern);
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
