#include "common/DateTime.h"

#include "common/Clock.h"
#include "common/SafeAssert.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace
{

using Common::DateTime;
using Common::DateTimeEndSeconds;
using Common::DateTimeKind;
using Common::DateTimeMinSeconds;

constexpr std::int64_t Int64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t Int64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t LastSeconds = DateTimeEndSeconds - 1; // 29229671-12-31 23:59:59 UTC

// Collects the safe-assert reports while alive; the hook is a plain function, so the list is global.
std::vector<std::string> Reports;

class AssertCapture
{
public:
    AssertCapture() : Flags(Common::GetSafeAssertFlags())
    {
        Reports.clear();
        Common::SetSafeAssertFlags(Common::SafeAssertEvent);
        Common::SetSafeAssertEventHook([](int, int, int, const char* text) { Reports.emplace_back(text); });
    }
    ~AssertCapture()
    {
        Common::SetSafeAssertEventHook(nullptr);
        Common::SetSafeAssertFlags(Flags);
    }
    AssertCapture(const AssertCapture&) = delete;
    AssertCapture& operator=(const AssertCapture&) = delete;

    static bool Reported(const std::string& expression)
    {
        for (const std::string& text : Reports)
        {
            if (text.rfind("Assertion failed: " + expression + ", file ", 0) == 0)
            {
                return true;
            }
        }
        return false;
    }

private:
    std::uint32_t Flags;
};

struct Fields
{
    int Year;
    int Month;
    int Day;
    int Hour = 0;
    int Minute = 0;
    int Second = 0;
    std::int32_t Nanoseconds = 0;
};

DateTime Utc(const Fields& f)
{
    return DateTime(DateTimeKind::Utc, f.Year, f.Month, f.Day, f.Hour, f.Minute, f.Second, f.Nanoseconds);
}

// Every calendar field, including the derived ones, so that stale fields show.
std::string Describe(const std::tm& tm)
{
    char text[96];
    std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d wday %d yday %d dst %d", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, tm.tm_wday, tm.tm_yday,
                  tm.tm_isdst > 0);
    return text;
}

std::string Describe(const DateTime& value)
{
    if (!value.IsValid())
    {
        return "invalid";
    }
    return Describe(value.GetCalendar()) + " ns " + std::to_string(value.GetNanoseconds());
}

// Central European time as a rule, with no history, so that the C library gives every year the same rule.
class LocalZone
{
public:
    explicit LocalZone(const char* zone)
    {
        if (const char* old = std::getenv("TZ"))
        {
            Saved = old;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~LocalZone()
    {
        if (Saved)
        {
            setenv("TZ", Saved->c_str(), 1);
        }
        else
        {
            unsetenv("TZ");
        }
        tzset();
    }
    LocalZone(const LocalZone&) = delete;
    LocalZone& operator=(const LocalZone&) = delete;

private:
    std::optional<std::string> Saved;
};

constexpr const char* CentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

using Adder = DateTime& (DateTime::*)(std::int64_t);

struct NamedAdder
{
    const char* Name;
    Adder Add;
};

const NamedAdder AllAdders[] = {
    {"AddYears", &DateTime::AddYears},
    {"AddMonths", &DateTime::AddMonths},
    {"AddDays", &DateTime::AddDays},
    {"AddHours", &DateTime::AddHours},
    {"AddMinutes", &DateTime::AddMinutes},
    {"AddSeconds", &DateTime::AddSeconds},
    {"AddMilliseconds", &DateTime::AddMilliseconds},
    {"AddNanoseconds", &DateTime::AddNanoseconds},
};

TEST(DateTimeTest, DefaultIsTheInvalidValue)
{
    const DateTime value;
    const Common::DateTimeImpl& impl = value.GetImpl();
    EXPECT_FALSE(value.IsValid());
    EXPECT_EQ(impl.Seconds, static_cast<std::int64_t>(0x8000000000000000));
    EXPECT_EQ(impl.Nanoseconds, 0);
    const std::tm& tm = impl.Calendar;
    for (int field : {tm.tm_sec, tm.tm_min, tm.tm_hour, tm.tm_mday, tm.tm_mon, tm.tm_year, tm.tm_wday,
                      tm.tm_yday, tm.tm_isdst})
    {
        EXPECT_EQ(field, 0);
    }
}

TEST(DateTimeTest, AddingToTheInvalidValueAssertsAndKeepsItInvalid)
{
    for (const NamedAdder& adder : AllAdders)
    {
        for (std::int64_t amount : {std::int64_t{0}, std::int64_t{1}, std::int64_t{-1000}})
        {
            SCOPED_TRACE(std::string(adder.Name) + " " + std::to_string(amount));
            DateTime value;
            {
                AssertCapture capture;
                (value.*adder.Add)(amount);
                EXPECT_TRUE(AssertCapture::Reported("IsValid()"));
            }
            EXPECT_FALSE(value.IsValid());
            EXPECT_EQ(value.GetImpl().Seconds, Common::DateTimeInvalidSeconds);
            EXPECT_EQ(value.GetImpl().Calendar.tm_mday, 0);
        }
    }
}

TEST(DateTimeTest, InvalidValueAssertsInCalendarAccessorsAndConversions)
{
    const DateTime value;
    AssertCapture capture;
    EXPECT_EQ(value.GetMonth(), 1);
    EXPECT_TRUE(AssertCapture::Reported("IsValid()"));
    Reports.clear();
    EXPECT_FALSE(value.ToUtc().IsValid());
    EXPECT_TRUE(AssertCapture::Reported("IsValid()"));
}

TEST(DateTimeTest, ConstructionAcceptsExactlyTheRepresentableRange)
{
    struct Case
    {
        std::int64_t Seconds;
        std::int32_t Nanoseconds;
        bool Valid;
    };
    const Case cases[] = {
        {DateTimeMinSeconds - 1, 0, false},
        {DateTimeMinSeconds, 0, true},
        {LastSeconds, 999999999, true},
        {DateTimeEndSeconds, 0, false},
        {Int64Max, 0, false},
        {Int64Min, 0, false},
        {0, -1, false},
        {0, 1000000000, false},
    };
    AssertCapture capture;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::to_string(c.Seconds) + "." + std::to_string(c.Nanoseconds));
        for (DateTimeKind kind : {DateTimeKind::Utc, DateTimeKind::Local})
        {
            const DateTime value(c.Seconds, c.Nanoseconds, kind);
            EXPECT_EQ(value.IsValid(), c.Valid);
            EXPECT_EQ(value.GetSeconds(), c.Valid ? c.Seconds : Common::DateTimeInvalidSeconds);
        }
    }
    EXPECT_TRUE(Reports.empty());
}

TEST(DateTimeTest, CalendarOutsideTheRangeIsInvalid)
{
    const Fields outside[] = {
        {1600, 12, 31, 23, 59, 59},
        {29229672, 1, 1},
        {std::numeric_limits<int>::min(), 1, 1},
        {std::numeric_limits<int>::max(), 12, 31},
        {1970, 1, 1, 0, 0, 0, 1000000000},
    };
    for (const Fields& f : outside)
    {
        SCOPED_TRACE(f.Year);
        EXPECT_FALSE(Utc(f).IsValid());
    }
}

TEST(DateTimeTest, CalendarFieldsOutOfTheirRangesCarry)
{
    EXPECT_EQ(Describe(Utc({2023, 13, 1})), Describe(Utc({2024, 1, 1})));
    EXPECT_EQ(Describe(Utc({2024, 3, 0})), Describe(Utc({2024, 2, 29})));
    EXPECT_EQ(Describe(Utc({2024, 1, 1, -1})), Describe(Utc({2023, 12, 31, 23})));
    EXPECT_EQ(Describe(Utc({2024, 1, 1, 0, 0, 86400 * 366})), Describe(Utc({2025, 1, 1})));
}

// Years across the whole range, inside and outside the C run-time's own range.
TEST(DateTimeTest, UtcCalendarAndSecondsAgreeAcrossTheRange)
{
    struct Case
    {
        Fields Calendar;
        std::int64_t Seconds;
        int DayOfWeek;
        int DayOfYear;
        bool CrtValid;
    };
    const Case cases[] = {
        {{1601, 1, 1}, -11644473600, 1, 1, false},
        {{1900, 3, 1}, -2203891200, 4, 60, false},
        {{1969, 12, 31, 23, 59, 59}, -1, 3, 365, false},
        {{1970, 1, 1}, 0, 4, 1, true},
        {{2000, 2, 29}, 951782400, 2, 60, true},
        {{2038, 1, 19, 3, 14, 8}, 2147483648, 2, 19, true},
        {{2100, 3, 1}, 4107542400, 1, 60, true},
        {{3000, 12, 31, 23, 59, 59}, 32535215999, 3, 365, true},
        {{3001, 1, 1, 7, 59, 59}, 32535244799, 4, 1, true},
        {{3001, 1, 1, 8}, 32535244800, 4, 1, false},
        {{29000, 2, 28}, 852989443200, 5, 59, false},
        {{29000, 3, 1}, 852989529600, 6, 60, false},
        {{29229671, 12, 31, 23, 59, 59}, LastSeconds, 4, 365, false},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.Seconds);
        const DateTime fromCalendar = Utc(c.Calendar);
        EXPECT_EQ(fromCalendar.GetSeconds(), c.Seconds);
        EXPECT_EQ(fromCalendar.GetDayOfWeek(), c.DayOfWeek);
        EXPECT_EQ(fromCalendar.GetDayOfYear(), c.DayOfYear);
        EXPECT_EQ(fromCalendar.IsCrtValid(), c.CrtValid);
        const DateTime fromSeconds(c.Seconds, 0, DateTimeKind::Utc);
        EXPECT_EQ(Describe(fromSeconds), Describe(fromCalendar));
        EXPECT_EQ(fromSeconds.GetYear(), c.Calendar.Year);
        EXPECT_EQ(fromSeconds.GetHour(), c.Calendar.Hour);
    }
}

// Instants over the whole range: daily (drifting through the hours) over the centuries that hold the
// leap rule's exceptions and the edges of the C run-time's range, then coarsely up to the last one.
std::vector<std::int64_t> SampledInstants()
{
    std::vector<std::int64_t> instants;
    for (std::int64_t seconds = DateTimeMinSeconds; seconds < 40000000000; seconds += 86400 * 3 + 3607)
    {
        instants.push_back(seconds);
    }
    for (std::int64_t seconds = DateTimeMinSeconds; seconds < DateTimeEndSeconds; seconds += 9999999967)
    {
        instants.push_back(seconds);
    }
    for (std::int64_t edge : {std::int64_t{0}, Common::DateTimeCrtEndSeconds})
    {
        for (std::int64_t seconds = edge - 2 * 86400; seconds < edge + 2 * 86400; seconds += 1799)
        {
            instants.push_back(seconds);
        }
    }
    instants.push_back(DateTimeMinSeconds);
    instants.push_back(LastSeconds);
    return instants;
}

std::tm UtcOf(std::int64_t seconds)
{
    const std::time_t t = seconds;
    std::tm tm{};
    gmtime_r(&t, &tm);
    return tm;
}

// Checks the calendar of every sampled instant and its way back; stops at the first mismatch.
template <typename Reference>
void ExpectCalendarsLike(DateTimeKind kind, Reference reference)
{
    for (std::int64_t seconds : SampledInstants())
    {
        const std::tm expected = reference(seconds);
        const DateTime value(seconds, 0, kind);
        ASSERT_EQ(Describe(value.GetCalendar()), Describe(expected)) << seconds;
        ASSERT_EQ(DateTime::FromCalendar(expected, 0, kind).GetSeconds(), seconds) << seconds;
    }
}

// The C library's UTC conversion covers 64-bit time; it is the independent reference here.
TEST(DateTimeTest, UtcCalendarMatchesTheCLibraryOverTheRange)
{
    ExpectCalendarsLike(DateTimeKind::Utc, UtcOf);
}

TEST(DateTimeTest, AddersCarryThroughTheCalendar)
{
    struct Case
    {
        const char* Name;
        Fields Start;
        Adder Add;
        std::int64_t Amount;
        Fields Expected;
    };
    const Case cases[] = {
        {"MinusSecondAtMidnight", {2024, 5, 10}, &DateTime::AddSeconds, -1, {2024, 5, 9, 23, 59, 59}},
        {"SecondIntoNewYear", {2023, 12, 31, 23, 59, 59}, &DateTime::AddSeconds, 1, {2024, 1, 1}},
        {"MinusSecondIntoOldYear", {2024, 1, 1}, &DateTime::AddSeconds, -1, {2023, 12, 31, 23, 59, 59}},
        {"MinusSecondIntoLeapDay", {2024, 3, 1}, &DateTime::AddSeconds, -1, {2024, 2, 29, 23, 59, 59}},
        {"MinusSecondNoLeapDay", {2023, 3, 1}, &DateTime::AddSeconds, -1, {2023, 2, 28, 23, 59, 59}},
        {"MinusMinuteCentury1900", {1900, 3, 1}, &DateTime::AddMinutes, -1, {1900, 2, 28, 23, 59}},
        {"MinusMinuteCentury2000", {2000, 3, 1}, &DateTime::AddMinutes, -1, {2000, 2, 29, 23, 59}},
        {"DayIntoLeapDay", {2024, 2, 28}, &DateTime::AddDays, 1, {2024, 2, 29}},
        {"DayPastFebruary2023", {2023, 2, 28}, &DateTime::AddDays, 1, {2023, 3, 1}},
        {"DayPastFebruary1900", {1900, 2, 28}, &DateTime::AddDays, 1, {1900, 3, 1}},
        {"DayIntoLeapDay2000", {2000, 2, 28}, &DateTime::AddDays, 1, {2000, 2, 29}},
        {"DayPastFebruary2100", {2100, 2, 28}, &DateTime::AddDays, 1, {2100, 3, 1}},
        {"DaysAcrossMonthEnds", {2023, 1, 31, 6}, &DateTime::AddDays, 30, {2023, 3, 2, 6}},
        {"MinusDayIntoOldYear", {2001, 1, 1}, &DateTime::AddDays, -1, {2000, 12, 31}},
        {"MinusHoursAcrossMonth", {2024, 3, 1, 0, 30}, &DateTime::AddHours, -25, {2024, 2, 28, 23, 30}},
        {"LeapYearOfHours", {2000, 1, 1}, &DateTime::AddHours, 366 * 24, {2001, 1, 1}},
        {"MillisecondKeepsSubMillisecond",
         {2023, 12, 31, 23, 59, 59, 999000250},
         &DateTime::AddMilliseconds,
         1,
         {2024, 1, 1, 0, 0, 0, 250}},
        {"MinusMillisecondKeepsSubMillisecond",
         {2024, 1, 1, 0, 0, 0, 250},
         &DateTime::AddMilliseconds,
         -1,
         {2023, 12, 31, 23, 59, 59, 999000250}},
        {"YearOfMilliseconds", {2024, 1, 1}, &DateTime::AddMilliseconds, -86400000LL * 365, {2023, 1, 1}},
        {"MinusNanosecond",
         {2000, 1, 1},
         &DateTime::AddNanoseconds,
         -1,
         {1999, 12, 31, 23, 59, 59, 999999999}},
        {"NanosecondsIntoMinutes",
         {2000, 1, 1, 0, 0, 59, 500000000},
         &DateTime::AddNanoseconds,
         1500000000,
         {2000, 1, 1, 0, 1, 1}},
        {"MonthFromJanuary31", {2023, 1, 31}, &DateTime::AddMonths, 1, {2023, 3, 3}},
        {"MonthFromJanuary31InLeapYear", {2024, 1, 31}, &DateTime::AddMonths, 1, {2024, 3, 2}},
        {"ThreeMonthsFromJanuary31", {2023, 1, 31}, &DateTime::AddMonths, 3, {2023, 5, 1}},
        {"TwelveMonthsFromJanuary31", {2023, 1, 31}, &DateTime::AddMonths, 12, {2024, 1, 31}},
        {"MinusTwoMonthsFromJanuary31", {2023, 1, 31}, &DateTime::AddMonths, -2, {2022, 12, 1}},
        {"MinusThirteenMonths", {2023, 1, 15, 8}, &DateTime::AddMonths, -13, {2021, 12, 15, 8}},
        {"YearFromLeapDay", {2024, 2, 29}, &DateTime::AddYears, 1, {2025, 3, 1}},
        {"FourYearsFromLeapDay", {2024, 2, 29}, &DateTime::AddYears, 4, {2028, 2, 29}},
        {"CenturyFromLeapDay2000", {2000, 2, 29}, &DateTime::AddYears, 100, {2100, 3, 1}},
        {"BackToCentury1900", {2024, 2, 29}, &DateTime::AddYears, -124, {1900, 3, 1}},
        {"SecondIntoYear29001", {29000, 12, 31, 23, 59, 59}, &DateTime::AddSeconds, 1, {29001, 1, 1}},
        {"MinusDayBeforeFirstYear", {1601, 1, 2}, &DateTime::AddDays, -1, {1601, 1, 1}},
    };
    AssertCapture capture;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.Name);
        DateTime value = Utc(c.Start);
        ASSERT_TRUE(value.IsValid());
        (value.*c.Add)(c.Amount);
        const DateTime expected = Utc(c.Expected);
        EXPECT_EQ(Describe(value), Describe(expected));
        EXPECT_EQ(value.GetSeconds(), expected.GetSeconds());
    }
    EXPECT_TRUE(Reports.empty());
}

// Day counts beyond 32 bits take the first-of-January path; in UTC a day is exactly 86400 seconds.
TEST(DateTimeTest, HugeAmountsMatchPlainSecondArithmetic)
{
    struct Case
    {
        const char* Name;
        std::int64_t StartSeconds;
        Adder Add;
        std::int64_t Amount;
        std::int64_t ExpectedSeconds;
    };
    constexpr std::int64_t DaysAcrossRange = (LastSeconds - DateTimeMinSeconds) / 86400;
    const Case cases[] = {
        {"ThreeBillionDays", 953123696, &DateTime::AddDays, 3000000000, 953123696 + 3000000000LL * 86400},
        {"DownToTheFirstDay", LastSeconds, &DateTime::AddDays, -DaysAcrossRange,
         LastSeconds - DaysAcrossRange * 86400},
        {"UpFromTheFirstDay", DateTimeMinSeconds + 5, &DateTime::AddDays, DaysAcrossRange,
         DateTimeMinSeconds + 5 + DaysAcrossRange * 86400},
        {"MillisecondsAcrossRange", DateTimeMinSeconds, &DateTime::AddMilliseconds,
         (LastSeconds - DateTimeMinSeconds) * 1000, LastSeconds},
        {"HoursAcrossRange", LastSeconds, &DateTime::AddHours, -DaysAcrossRange * 24,
         LastSeconds - DaysAcrossRange * 86400},
        {"SecondsAcrossRange", DateTimeMinSeconds, &DateTime::AddSeconds, LastSeconds - DateTimeMinSeconds,
         LastSeconds},
    };
    AssertCapture capture;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.Name);
        DateTime value(c.StartSeconds, 0, DateTimeKind::Utc);
        (value.*c.Add)(c.Amount);
        const DateTime expected(c.ExpectedSeconds, 0, DateTimeKind::Utc);
        EXPECT_EQ(value.GetSeconds(), c.ExpectedSeconds);
        EXPECT_EQ(Describe(value), Describe(expected));
    }
    EXPECT_TRUE(Reports.empty());
}

TEST(DateTimeTest, AddingPastTheRangeOrOverflowingAFieldMakesTheValueInvalid)
{
    struct Case
    {
        const char* Name;
        std::int64_t StartSeconds;
        Adder Add;
        std::int64_t Amount;
    };
    const Case cases[] = {
        {"SecondBeforeFirst", DateTimeMinSeconds, &DateTime::AddSeconds, -1},
        {"SecondAfterLast", LastSeconds, &DateTime::AddSeconds, 1},
        {"NanosecondAfterLast", LastSeconds, &DateTime::AddNanoseconds, 1000000000},
        {"YearBeforeFirst", DateTimeMinSeconds, &DateTime::AddYears, -1},
        {"YearsPastTheRangeInsideTheField", 0, &DateTime::AddYears, 30000000},
        {"YearsOverflowingTheField", 0, &DateTime::AddYears, std::numeric_limits<int>::max()},
        {"MostYears", 0, &DateTime::AddYears, Int64Max},
        {"FewestMonths", 0, &DateTime::AddMonths, Int64Min},
        {"FewestDays", 0, &DateTime::AddDays, Int64Min},
        {"MostDays", 0, &DateTime::AddDays, Int64Max},
        {"MostHours", 0, &DateTime::AddHours, Int64Max},
        {"MostMilliseconds", 0, &DateTime::AddMilliseconds, Int64Max},
        {"FewestNanoseconds", DateTimeMinSeconds + 1000, &DateTime::AddNanoseconds, Int64Min},
    };
    AssertCapture capture;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.Name);
        DateTime value(c.StartSeconds, 0, DateTimeKind::Utc);
        (value.*c.Add)(c.Amount);
        EXPECT_FALSE(value.IsValid());
        EXPECT_EQ(value.GetImpl().Calendar.tm_mday, 0);
        EXPECT_EQ(value.GetNanoseconds(), 0);
    }
    EXPECT_TRUE(Reports.empty());
}

TEST(DateTimeTest, DifferenceTruncatesTheNanosecondPartTowardZero)
{
    struct Case
    {
        std::int64_t Seconds;
        std::int32_t Nanoseconds;
        std::int64_t RhsSeconds;
        std::int32_t RhsNanoseconds;
        std::int64_t Milliseconds;
    };
    const Case cases[] = {
        {1, 900000000, 0, 100000000, 1800},
        {0, 100000000, 1, 900000000, -1800},
        {5, 700000, 5, 200000, 0},
        {5, 200000, 5, 700000, 0},
        {5, 1500000, 5, 0, 1},
        {5, 0, 5, 1500000, -1},
        // The two parts truncate separately.
        {6, 200000, 5, 999700000, 1},
        {LastSeconds, 999999999, DateTimeMinSeconds, 0, (LastSeconds - DateTimeMinSeconds) * 1000 + 999},
    };
    AssertCapture capture;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::to_string(c.Seconds) + " " + std::to_string(c.RhsSeconds));
        const DateTime lhs(c.Seconds, c.Nanoseconds, DateTimeKind::Utc);
        const DateTime rhs(c.RhsSeconds, c.RhsNanoseconds, DateTimeKind::Local);
        EXPECT_EQ(lhs.Difference(rhs), c.Milliseconds);
    }
    EXPECT_TRUE(Reports.empty());
}

TEST(DateTimeTest, DifferenceWithAnInvalidValueAsserts)
{
    const DateTime valid(0, 0, DateTimeKind::Utc);
    AssertCapture capture;
    EXPECT_EQ(valid.Difference(DateTime()), 0);
    EXPECT_TRUE(AssertCapture::Reported("IsValid() && rhs.IsValid()"));
    Reports.clear();
    EXPECT_EQ(DateTime().Difference(valid), 0);
    EXPECT_TRUE(AssertCapture::Reported("IsValid() && rhs.IsValid()"));
}

TEST(DateTimeTest, CompareOrdersBySecondsThenNanosecondsIgnoringKind)
{
    struct Case
    {
        DateTime Lhs;
        DateTime Rhs;
        int Expected;
    };
    const Case cases[] = {
        {DateTime(1, 0, DateTimeKind::Utc), DateTime(2, 0, DateTimeKind::Utc), -1},
        {DateTime(2, 0, DateTimeKind::Utc), DateTime(1, 999999999, DateTimeKind::Utc), 1},
        {DateTime(1, 5, DateTimeKind::Utc), DateTime(1, 6, DateTimeKind::Utc), -1},
        {DateTime(1, 6, DateTimeKind::Utc), DateTime(1, 5, DateTimeKind::Utc), 1},
        {DateTime(1, 5, DateTimeKind::Utc), DateTime(1, 5, DateTimeKind::Local), 0},
        {DateTime(), DateTime(DateTimeMinSeconds, 0, DateTimeKind::Utc), -1},
        {DateTime(), DateTime(), 0},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(c.Lhs.Compare(c.Rhs), c.Expected);
        EXPECT_EQ(c.Lhs == c.Rhs, c.Expected == 0);
        EXPECT_EQ(c.Lhs < c.Rhs, c.Expected < 0);
    }
}

TEST(DateTimeTest, MillisecondsAndTheSubMillisecondPartSplitTheNanoseconds)
{
    const DateTime value(7, 123456789, DateTimeKind::Utc);
    EXPECT_EQ(value.GetMilliseconds(), 123);
    EXPECT_EQ(value.GetSubMillisecond(), 456789);
}

class FakeClock final : public Common::Clock
{
public:
    std::uint32_t GetTickCount() override { return 0; }
    Common::WallTime GetWallTime() override { return Wall; }

    Common::WallTime Wall;
};

TEST(DateTimeTest, NowFollowsTheInstalledClock)
{
    FakeClock clock;
    clock.Wall = {1719835200, 123456789};
    Common::SetClock(&clock);
    const DateTime first = DateTime::Now(DateTimeKind::Utc);
    clock.Wall = {1719835200 + 3600, 5};
    const DateTime second = DateTime::Now(DateTimeKind::Utc);
    const DateTime local = DateTime::Now(DateTimeKind::Local);
    Common::SetClock(nullptr);

    EXPECT_EQ(first.GetSeconds(), 1719835200);
    EXPECT_EQ(first.GetNanoseconds(), 123456789);
    EXPECT_EQ(Describe(first), Describe(Utc({2024, 7, 1, 12, 0, 0, 123456789})));
    EXPECT_EQ(second.Difference(first), 3600000 - 123);
    EXPECT_FALSE(local.IsUtc());
    EXPECT_EQ(local, second);
}

TEST(DateTimeTest, AnyKindButOneIsLocal)
{
    LocalZone zone(CentralEurope);
    const DateTime value(0, 0, static_cast<DateTimeKind>(7));
    EXPECT_FALSE(value.IsUtc());
    EXPECT_EQ(value.GetKind(), DateTimeKind::Local);
    EXPECT_EQ(value.GetHour(), 1);
}

// Central European time worked out by hand: summer time from 01:00 UTC on the last Sunday of March to
// 01:00 UTC on the last Sunday of October. (The C library's own local time applies a zone's rule only
// to some years, so it can't be the reference outside them.)
std::tm CentralEuropeanOf(std::int64_t seconds)
{
    auto lastSundayAtOne = [](int tmYear, int tmMonth)
    {
        std::tm last{};
        last.tm_year = tmYear;
        last.tm_mon = tmMonth;
        last.tm_mday = 31;
        last.tm_hour = 1;
        const std::int64_t lastDay = timegm(&last);
        return lastDay - last.tm_wday * std::int64_t{86400};
    };
    const int tmYear = UtcOf(seconds).tm_year;
    const bool summer = seconds >= lastSundayAtOne(tmYear, 2) && seconds < lastSundayAtOne(tmYear, 9);
    std::tm local = UtcOf(seconds + (summer ? 7200 : 3600));
    local.tm_isdst = summer ? 1 : 0;
    return local;
}

// Local time outside the C run-time's range goes through proxy years, which must keep the zone's rule.
TEST(DateTimeTest, LocalCalendarFollowsTheZoneOverTheRange)
{
    LocalZone zone(CentralEurope);
    ExpectCalendarsLike(DateTimeKind::Local, CentralEuropeanOf);
}

TEST(DateTimeTest, LocalTimeAtTheEdgesOfTheRange)
{
    LocalZone zone(CentralEurope);
    struct Case
    {
        const char* Name;
        Fields Local;
        std::optional<std::int64_t> Seconds;
        bool DaylightSaving;
    };
    const Case cases[] = {
        {"FirstInstant", {1601, 1, 1, 1}, DateTimeMinSeconds, false},
        {"BeforeTheFirstInstant", {1601, 1, 1, 0, 30}, std::nullopt, false},
        {"LocalNewYear1970BeforeTheEpoch", {1970, 1, 1, 0, 30}, -1800, false},
        {"Summer29000", {29000, 7, 1, 14}, 853000113600, true},
        {"LastInstant", {29229672, 1, 1, 0, 59, 59}, LastSeconds, false},
        {"AfterTheLastInstant", {29229672, 1, 1, 1}, std::nullopt, false},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.Name);
        const Fields& f = c.Local;
        const DateTime local(DateTimeKind::Local, f.Year, f.Month, f.Day, f.Hour, f.Minute, f.Second);
        ASSERT_EQ(local.IsValid(), c.Seconds.has_value());
        if (!c.Seconds)
        {
            continue;
        }
        EXPECT_EQ(local.GetSeconds(), *c.Seconds);
        EXPECT_EQ(local.IsDaylightSaving(), c.DaylightSaving);
        EXPECT_EQ(Describe(DateTime(*c.Seconds, 0, DateTimeKind::Local)), Describe(local));
    }
}

TEST(DateTimeTest, ConversionKeepsTheInstantAndMovesTheCalendar)
{
    LocalZone zone(CentralEurope);
    const DateTime utc = Utc({2024, 7, 1, 12, 0, 0, 42});
    const DateTime local = utc.ToLocal();
    EXPECT_EQ(local, utc);
    EXPECT_FALSE(local.IsUtc());
    EXPECT_EQ(local.GetHour(), 14);
    EXPECT_TRUE(local.IsDaylightSaving());
    const DateTime back = local.ToUtc();
    EXPECT_TRUE(back.IsUtc());
    EXPECT_EQ(Describe(back), Describe(utc));
}

TEST(DateTimeTest, LocalAddersMoveTheWallClock)
{
    LocalZone zone(CentralEurope);
    // Into summer time a calendar day is 23 hours long.
    DateTime day(DateTimeKind::Local, 2024, 3, 30, 12);
    const DateTime before = day;
    day.AddDays(1);
    EXPECT_EQ(day.GetHour(), 12);
    EXPECT_TRUE(day.IsDaylightSaving());
    EXPECT_EQ(day.Difference(before), 23 * 3600000);

    // Far beyond 32-bit day counts, the wall clock lands where UTC arithmetic on the same fields does.
    DateTime far(DateTimeKind::Local, 2024, 7, 1, 12);
    far.AddDays(3000000000);
    DateTime wall = Utc({2024, 7, 1, 12});
    wall.AddDays(3000000000);
    const DateTime expected(DateTimeKind::Local, wall.GetYear(), wall.GetMonth(), wall.GetDay(), 12);
    ASSERT_TRUE(far.IsValid());
    EXPECT_EQ(Describe(far), Describe(expected));
    EXPECT_EQ(far.GetSeconds(), expected.GetSeconds());
}

} // namespace
