#include "format/MailDate.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// As ISO 8601 in UTC, or "absent".
QString read(QStringView text)
{
    const std::optional<QDateTime> date = MailDate::parse(text);
    if (!date)
        return u"absent"_s;
    EXPECT_EQ(date->timeSpec(), Qt::UTC);
    return date->toString(Qt::ISODate);
}

QString read(QStringView text, QStringView pattern)
{
    const std::optional<QDateTime> date = MailDate::parse(text, pattern);
    return date ? date->toString(Qt::ISODate) : u"absent"_s;
}

/// Sets the time zone of the process for the length of a test.
class TimeZone {
public:
    explicit TimeZone(const char* name)
        : m_wasSet(qEnvironmentVariableIsSet("TZ"))
        , m_previous(qgetenv("TZ"))
    {
        qputenv("TZ", name);
    }
    ~TimeZone()
    {
        if (m_wasSet)
            qputenv("TZ", m_previous);
        else
            qunsetenv("TZ");
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    bool m_wasSet;
    QByteArray m_previous;
};

TEST(MailDate, PassesOverAComment)
{
    EXPECT_EQ(read(u"Tue, 3 Mar 2026 10:11:12 +0000 (UTC)"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 2026 10:11:12 +0000"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 2026 10:11:12 +0000(x) junk"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"(x) Tue, 3 Mar 2026 10:11:12 +0000"), u"absent"_s);
}

TEST(MailDate, ReadsADoubledSpace)
{
    EXPECT_EQ(read(u"Tue, 3 Mar 2026  10:11:12 +0000"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tue,    3\tMar\u00a02026 10:11:12 \r\n +0000"), u"2026-03-03T10:11:12Z"_s);
}

TEST(MailDate, ReadsADateWithoutWeekdayAndSeconds)
{
    EXPECT_EQ(read(u"3 Mar 2026 10:11 -0500"), u"2026-03-03T15:11:00Z"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 2026 10:11 -0500"), u"2026-03-03T15:11:00Z"_s);
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12 -0500"), u"2026-03-03T15:11:12Z"_s);
}

TEST(MailDate, ReadsATwoDigitYear)
{
    EXPECT_EQ(read(u"Tue, 3 Mar 26 10:11:12 +0000"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 49 10:11:12 +0000"), u"2049-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 50 10:11:12 +0000"), u"1950-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 99 10:11:12 +0000"), u"1999-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 00 10:11:12 +0000"), u"2000-03-03T10:11:12Z"_s);
}

TEST(MailDate, ReadsATwoDigitYearInOneFormOnly)
{
    EXPECT_EQ(read(u"3 Mar 26 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 26 10:11 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 26 10:11:12 GMT"), u"absent"_s);
}

TEST(MailDate, ReadsAYearOfAtLeastFourDigits)
{
    EXPECT_EQ(read(u"Tue, 3 Mar 126 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 6 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 0000 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 02026 10:11:12 +0000"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_NE(MailDate::parse(u"3 Mar 5000000 10:11:12 +0000"), std::nullopt);
    EXPECT_EQ(read(u"3 Mar 5000001 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"3 Mar 99999999999999999999 10:11:12 +0000"), u"absent"_s);
}

TEST(MailDate, ReadsTheNameOfAZone)
{
    EXPECT_EQ(read(u"Tue, 3 Mar 2026 10:11:12 GMT"), u"2026-03-03T10:11:12Z"_s);
    const std::pair<QString, QString> rows[] = {
        {u"UTC"_s, u"10"_s},  {u"UT"_s, u"10"_s},   {u"Z"_s, u"10"_s},   {u"gmt"_s, u"10"_s},
        {u"EST"_s, u"15"_s},  {u"EDT"_s, u"14"_s},  {u"CST"_s, u"16"_s}, {u"CDT"_s, u"15"_s},
        {u"MST"_s, u"17"_s},  {u"MDT"_s, u"16"_s},  {u"PST"_s, u"18"_s}, {u"PDT"_s, u"17"_s},
        {u"AKST"_s, u"19"_s}, {u"AKDT"_s, u"18"_s}, {u"HST"_s, u"20"_s},
    };
    for (const auto& [zone, hour] : rows)
        EXPECT_EQ(read(QString(u"3 Mar 2026 10:11:12 "_s + zone)),
                  QString(u"2026-03-03T"_s + hour + u":11:12Z"_s))
            << zone.toStdString();
}

TEST(MailDate, ReadsNoOtherZoneName)
{
    for (const QString& zone : {u"CET"_s, u"A"_s, u"GMT+1"_s, u"EST5EDT"_s, u"Europe/Berlin"_s, u"HDT"_s})
        EXPECT_EQ(read(QString(u"3 Mar 2026 10:11:12 "_s + zone)), u"absent"_s) << zone.toStdString();
    EXPECT_EQ(read(u"3 Mar 2026 10:11 GMT"), u"absent"_s);
}

TEST(MailDate, ReadsNumericZonesInThreeForms)
{
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12 +0530"), u"2026-03-03T04:41:12Z"_s);
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12 +05:30"), u"2026-03-03T04:41:12Z"_s);
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12 -05"), u"2026-03-03T15:11:12Z"_s);
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12 -0000"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"31 Dec 2025 23:30:00 -0100"), u"2026-01-01T00:30:00Z"_s);
}

TEST(MailDate, RefusesAnyOtherNumericZone)
{
    for (const QString& zone : {u"0100"_s, u"+1"_s, u"+100"_s, u"+01000"_s, u"+01:0"_s, u"+01:"_s, u"+2400"_s,
                                u"+0060"_s, u"+"_s, u"+ 0100"_s, u"\u22120100"_s})
        EXPECT_EQ(read(QString(u"3 Mar 2026 10:11:12 "_s + zone)), u"absent"_s) << zone.toStdString();
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12"), u"absent"_s);
}

TEST(MailDate, ReadsNamesInAnyCaseShortOrLong)
{
    EXPECT_EQ(read(u"TUESDAY, 3 march 2026 10:11:12 +0000"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"tue, 3 SEPTEMBER 2026 10:11:12 +0000"), u"2026-09-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"Tues, 3 Mar 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, 3 Sept 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Di, 3 Mar 2026 10:11:12 +0000"), u"absent"_s);
}

TEST(MailDate, ReadsEveryMonth)
{
    const QStringList names{u"Jan"_s, u"Feb"_s, u"Mar"_s, u"Apr"_s, u"May"_s, u"Jun"_s,
                            u"Jul"_s, u"Aug"_s, u"Sep"_s, u"Oct"_s, u"Nov"_s, u"Dec"_s};
    for (int month = 1; month <= 12; ++month)
        EXPECT_EQ(MailDate::parse(u"1 %1 2026 00:00 +00"_s.arg(names[month - 1]))->date().month(), month);
}

TEST(MailDate, DoesNotCompareTheWeekdayWithTheDate)
{
    EXPECT_EQ(read(u"Sun, 3 Mar 2026 10:11:12 +0000"), u"2026-03-03T10:11:12Z"_s);
}

TEST(MailDate, ReadsNumbersOfOneOrTwoDigits)
{
    EXPECT_EQ(read(u"Tue, 03 Mar 2026 1:2:3 +0000"), u"2026-03-03T01:02:03Z"_s);
    EXPECT_EQ(read(u"Tue, 003 Mar 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, 3 Mar 2026 010:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue, \u0663 Mar 2026 10:11:12 +0000"), u"absent"_s);
}

TEST(MailDate, RefusesWhatCalendarAndClockDoNotHave)
{
    EXPECT_EQ(read(u"31 Feb 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"29 Feb 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"29 Feb 2028 10:11:12 +0000"), u"2028-02-29T10:11:12Z"_s);
    EXPECT_EQ(read(u"0 Mar 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"32 Mar 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"3 Mar 2026 24:00:00 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"3 Mar 2026 23:60:00 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"3 Mar 2026 23:59:60 +0000"), u"absent"_s);
}

TEST(MailDate, HasTheCalendarOfQt)
{
    const QStringList names{u"Jan"_s, u"Feb"_s, u"Mar"_s, u"Apr"_s, u"May"_s, u"Jun"_s,
                            u"Jul"_s, u"Aug"_s, u"Sep"_s, u"Oct"_s, u"Nov"_s, u"Dec"_s};
    const auto readDay = [&names](int year, int month, int day) {
        const QString text = u"%1 %2 %3"_s.arg(day).arg(names[month - 1]).arg(year, 4, 10, QChar(u'0'));
        const std::optional<QDateTime> date = MailDate::parse(text, u"d MMM yyyy");
        return date ? date->date() : QDate();
    };
    for (int year : {0, 1, 4, 100, 400, 1582, 1600, 1700, 1900, 1969, 1970, 1972, 2000, 2100, 2400, 9999,
                     10'000, MailDate::maxYear}) {
        for (int month = 1; month <= 12; ++month) {
            for (int day = 0; day <= 32; ++day)
                ASSERT_EQ(readDay(year, month, day), QDate(year, month, day))
                    << year << ' ' << month << ' ' << day;
        }
    }
}

TEST(MailDate, ReadsDatesOfTheUsualShapeAsThePatternDoes)
{
    std::mt19937 random(7);
    const auto pick = [&random](const QString& text) {
        return static_cast<qsizetype>(random() % static_cast<std::size_t>(text.size()));
    };
    const QString characters = u"0123456789 :,+-TueMarSep\u00e4\u0131"_s;
    const QStringList usual{u"Tue, 03 Mar 2026 10:11:12 +0100"_s, u"sat, 9 SEP 1999 23:59:59 -1130"_s};
    int readCount = 0;
    for (int round = 0; round < 40'000; ++round) {
        QString text = usual[round % 2];
        for (std::size_t change = random() % 3; change > 0; --change)
            text[pick(text)] = characters[pick(characters)];
        const std::optional<QDateTime> expected =
            MailDate::parse(QString(text).replace(u' ', u"  "_s), u"EEE, d MMM yyyy HH:mm:ss Z");
        readCount += expected ? 1 : 0;
        if (expected) {
            ASSERT_EQ(MailDate::parse(text), expected) << text.toStdString();
        } else {
            ASSERT_EQ(MailDate::parse(text), MailDate::parse(QString(text).replace(u' ', u"  "_s)))
                << text.toStdString();
        }
    }
    EXPECT_GT(readCount, 10'000);
}

TEST(MailDate, UsesTheWholeText)
{
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12 +0000 x"), u"absent"_s);
    EXPECT_EQ(read(u"3 Mar 2026 10:11:12 +0000\n"), u"absent"_s);
    EXPECT_EQ(read(u"\t 3 Mar 2026 10:11:12 +0000 \t"), u"2026-03-03T10:11:12Z"_s);
    EXPECT_EQ(read(u"x 3 Mar 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue,3 Mar 2026 10:11:12 +0000"), u"absent"_s);
    EXPECT_EQ(read(u"Tue 3 Mar 2026 10:11:12 +0000"), u"absent"_s);
}

TEST(MailDate, ReadsNoOtherForm)
{
    for (const QString& text : {u"2026-03-03T10:11:12Z"_s, u"Tue Mar  3 10:11:12 2026"_s, u"3/3/2026"_s,
                                u""_s, u"Tue, 3 Mar 2026"_s, u"1772532672"_s})
        EXPECT_EQ(read(text), u"absent"_s) << text.toStdString();
}

TEST(MailDate, ReadsAnotherPattern)
{
    constexpr QStringView pattern = u"d-MMM-yyyy HH:mm:ss Z";
    EXPECT_EQ(read(u"17-Jul-1996 02:44:25 -0700", pattern), u"1996-07-17T09:44:25Z"_s);
    EXPECT_EQ(read(u"7-Jul-1996 02:44:25 -0700", pattern), u"1996-07-07T09:44:25Z"_s);
    EXPECT_EQ(read(u"17-Jul-1996 02:44:25", pattern), u"absent"_s);
    EXPECT_EQ(read(u"17 Jul 1996 02:44:25 -0700", pattern), u"absent"_s);
}

TEST(MailDate, TakesUTCWhereThePatternHasNoZone)
{
    EXPECT_EQ(read(u"3 Mar 2026", u"d MMM yyyy"), u"2026-03-03T00:00:00Z"_s);
}

TEST(MailDate, ReadsNothingByAPatternWithAnUnknownLetter)
{
    EXPECT_EQ(read(u"Q 2026", u"Q yyyy"), u"absent"_s);
}

TEST(MailDate, EndsOnHostileDates)
{
    EXPECT_EQ(read(QString(QString(10'000'000, u' ') + u'x')), u"absent"_s);
    EXPECT_EQ(read(QString(u"Tue,"_s + QString(10'000'000, u' ') + u'x')), u"absent"_s);
    EXPECT_EQ(read(QString(u"3 Mar "_s + QString(10'000'000, u'0') + u"2026 10:11 +0000"_s)),
              u"2026-03-03T10:11:00Z"_s);
    EXPECT_EQ(read(QString(10'000'000, u'T')), u"absent"_s);
    EXPECT_EQ(read(QString(10'000'000, u'(')), u"absent"_s);
}

TEST(MailDate, ReadsOnManyThreadsAtOnce)
{
    constexpr int count = 4;
    std::vector<std::thread> threads;
    threads.reserve(count);
    std::atomic<int> wrong = 0;
    for (int thread = 0; thread < count; ++thread) {
        threads.emplace_back([&wrong] {
            for (int round = 0; round < 2'000; ++round) {
                if (MailDate::parse(u"Tue, 3 Mar 2026 10:11:12 GMT") !=
                    QDateTime(QDate(2026, 3, 3), QTime(10, 11, 12), Qt::UTC))
                    ++wrong;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(MailDate, WritesTheOffsetOfTheLocalTimeZone)
{
    const QDateTime date(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC);
    {
        const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
        EXPECT_EQ(MailDate::format(date), u"Tue, 3 Mar 2026 10:11:12 +0100"_s);
        EXPECT_EQ(MailDate::format(QDateTime(QDate(2026, 7, 13), QTime(23, 0), Qt::UTC)),
                  u"Tue, 14 Jul 2026 01:00:00 +0200"_s);
    }
    {
        const TimeZone zone("NST3:30");
        EXPECT_EQ(MailDate::format(date), u"Tue, 3 Mar 2026 05:41:12 -0330"_s);
    }
    {
        const TimeZone zone("UTC0");
        EXPECT_EQ(MailDate::format(date), u"Tue, 3 Mar 2026 09:11:12 +0000"_s);
    }
}

TEST(MailDate, WritesEnglishInAnyLocale)
{
    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::Arabic));
    const TimeZone zone("UTC0");
    EXPECT_EQ(MailDate::format(QDateTime(QDate(2026, 5, 31), QTime(0, 0), Qt::UTC)),
              u"Sun, 31 May 2026 00:00:00 +0000"_s);
    QLocale::setDefault(previous);
}

TEST(MailDate, WritesWhatItReads)
{
    for (const qint64 seconds : {0LL, 951'782'400LL, 1'772'532'672LL, 4'102'444'799LL}) {
        const QDateTime date = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
        EXPECT_EQ(MailDate::parse(MailDate::format(date)), date);
    }
}

TEST(MailDate, WritesNothingForAnInvalidDate)
{
    EXPECT_EQ(MailDate::format(QDateTime()), u""_s);
}

} // namespace
} // namespace Larkhaven
