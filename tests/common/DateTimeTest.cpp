#include "common/DateTime.h"

#include "AssertCapture.h"
#include "ScopedEnvironment.h"
#include "common/Clock.h"
#include "common/VirtualClock.h"

#include <gtest/gtest.h>

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
using Strings = std::vector<std::string>;

constexpr std::int64_t Int64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t Int64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t LastSeconds = DateTimeEndSeconds - 1; // 29229671-12-31 23:59:59 UTC
// Central European time as a rule, with no history, so that the C library gives every year the same rule.
constexpr const char* CentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

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
    return value.IsValid() ? Describe(value.GetCalendar()) + " ns " + std::to_string(value.GetNanoseconds())
                           : "invalid";
}

DateTime At(std::int64_t seconds, std::int32_t nanoseconds = 0, DateTimeKind kind = DateTimeKind::Utc)
{
    return DateTime(seconds, nanoseconds, kind);
}

using Adder = DateTime& (DateTime::*)(std::int64_t);
constexpr Adder Years = &DateTime::AddYears, Months = &DateTime::AddMonths, Days = &DateTime::AddDays,
                Hours = &DateTime::AddHours, Minutes = &DateTime::AddMinutes, Seconds = &DateTime::AddSeconds,
                Millis = &DateTime::AddMilliseconds, Nanos = &DateTime::AddNanoseconds;

TEST(DateTimeTest, InvalidValueIsKeptByEveryOperationThatAssertsAgainstIt)
{
    const DateTime invalid;
    EXPECT_EQ(invalid.GetImpl().Seconds, Common::DateTimeInvalidSeconds);
    EXPECT_EQ(invalid.GetImpl().Nanoseconds, 0);
    const std::tm& tm = invalid.GetImpl().Calendar;
    for (int field : {tm.tm_sec, tm.tm_min, tm.tm_hour, tm.tm_mday, tm.tm_mon, tm.tm_year, tm.tm_wday,
                      tm.tm_yday, tm.tm_isdst})
    {
        EXPECT_EQ(field, 0);
    }
    for (const Adder add : {Years, Months, Days, Hours, Minutes, Seconds, Millis, Nanos})
    {
        for (const std::int64_t amount : {0, 1, -1000})
        {
            DateTime value;
            Testing::AssertCapture capture;
            (value.*add)(amount);
            EXPECT_EQ(capture.Expressions(), Strings{"IsValid()"}) << amount;
            EXPECT_EQ(value.GetImpl().Seconds, Common::DateTimeInvalidSeconds);
            EXPECT_EQ(value.GetImpl().Calendar.tm_mday, 0);
        }
    }
    const DateTime valid(0, 0, DateTimeKind::Utc);
    Testing::AssertCapture capture;
    EXPECT_EQ(invalid.GetMonth(), 1);
    EXPECT_FALSE(invalid.ToUtc().IsValid());
    EXPECT_EQ(valid.Difference(invalid), 0);
    EXPECT_EQ(invalid.Difference(valid), 0);
    EXPECT_EQ(capture.Expressions(), (Strings{"IsValid()", "IsValid()", "IsValid() && rhs.IsValid()",
                                              "IsValid() && rhs.IsValid()"}));
}

TEST(DateTimeTest, ExactlyTheRepresentableRangeIsValidAndFieldsCarry)
{
    Testing::AssertCapture capture;
    for (const DateTimeKind kind : {DateTimeKind::Utc, DateTimeKind::Local})
    {
        EXPECT_EQ(At(DateTimeMinSeconds, 0, kind).GetSeconds(), DateTimeMinSeconds);
        EXPECT_EQ(At(LastSeconds, 999999999, kind).GetSeconds(), LastSeconds);
        for (const std::int64_t seconds : {DateTimeMinSeconds - 1, DateTimeEndSeconds, Int64Max, Int64Min})
        {
            EXPECT_FALSE(At(seconds, 0, kind).IsValid()) << seconds;
        }
        EXPECT_FALSE(At(0, -1, kind).IsValid());
        EXPECT_FALSE(At(0, 1000000000, kind).IsValid());
    }
    EXPECT_TRUE(capture.Expressions().empty());

    for (const Fields& f :
         {Fields{1600, 12, 31, 23, 59, 59}, Fields{29229672, 1, 1},
          Fields{std::numeric_limits<int>::min(), 1, 1}, Fields{std::numeric_limits<int>::max(), 12, 31},
          Fields{1970, 1, 1, 0, 0, 0, 1000000000}})
    {
        EXPECT_FALSE(Utc(f).IsValid()) << f.Year;
    }
    EXPECT_EQ(Describe(Utc({2023, 13, 1})), Describe(Utc({2024, 1, 1})));
    EXPECT_EQ(Describe(Utc({2024, 3, 0})), Describe(Utc({2024, 2, 29})));
    EXPECT_EQ(Describe(Utc({2024, 1, 1, -1})), Describe(Utc({2023, 12, 31, 23})));
    EXPECT_EQ(Describe(Utc({2024, 1, 1, 0, 0, 86400 * 366})), Describe(Utc({2025, 1, 1})));
}

// Far years, the epoch and the edges of the C run-time's range and of the representable one, from fields
// and from seconds; local time beyond the C run-time's range goes through proxy years.
TEST(DateTimeTest, CalendarAndSecondsAgreeAtTheEdges)
{
    const Testing::ScopedEnvironment zone("TZ", CentralEurope);
    const struct
    {
        DateTimeKind Kind;
        Fields Calendar;
        std::optional<std::int64_t> Seconds;
        int DayOfWeek;
        int DayOfYear;
        bool CrtValid;
        bool DaylightSaving;
    } cases[] = {
        {DateTimeKind::Utc, {1601, 1, 1}, DateTimeMinSeconds, 1, 1, false, false},
        {DateTimeKind::Utc, {1969, 12, 31, 23, 59, 59}, -1, 3, 365, false, false},
        {DateTimeKind::Utc, {1970, 1, 1}, 0, 4, 1, true, false},
        {DateTimeKind::Utc, {3001, 1, 1, 7, 59, 59}, 32535244799, 4, 1, true, false},
        {DateTimeKind::Utc, {3001, 1, 1, 8}, 32535244800, 4, 1, false, false},
        {DateTimeKind::Utc, {29000, 3, 1}, 852989529600, 6, 60, false, false}, // no leap year
        {DateTimeKind::Utc, {29229671, 12, 31, 23, 59, 59}, LastSeconds, 4, 365, false, false},
        {DateTimeKind::Local, {1601, 1, 1, 1}, DateTimeMinSeconds, 1, 1, false, false},
        {DateTimeKind::Local, {1601, 1, 1, 0, 30}, std::nullopt, 0, 0, false, false},
        {DateTimeKind::Local, {1970, 1, 1, 0, 30}, -1800, 4, 1, false, false}, // before the epoch
        {DateTimeKind::Local, {29000, 7, 1, 14}, 853000113600, 2, 182, false, true},
        {DateTimeKind::Local, {29229672, 1, 1, 0, 59, 59}, LastSeconds, 5, 1, false, false},
        {DateTimeKind::Local, {29229672, 1, 1, 1}, std::nullopt, 0, 0, false, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::Message()
                     << c.Calendar.Year << (c.Kind == DateTimeKind::Utc ? " UTC" : " local"));
        const Fields& f = c.Calendar;
        const DateTime value(c.Kind, f.Year, f.Month, f.Day, f.Hour, f.Minute, f.Second);
        ASSERT_EQ(value.IsValid(), c.Seconds.has_value());
        if (c.Seconds)
        {
            EXPECT_EQ(value.GetSeconds(), *c.Seconds);
            EXPECT_EQ(value.GetDayOfWeek(), c.DayOfWeek);
            EXPECT_EQ(value.GetDayOfYear(), c.DayOfYear);
            EXPECT_EQ(value.IsCrtValid(), c.CrtValid);
            EXPECT_EQ(value.IsDaylightSaving(), c.DaylightSaving);
            const DateTime fromSeconds(*c.Seconds, 0, c.Kind);
            EXPECT_EQ(Describe(fromSeconds), Describe(value));
            EXPECT_EQ(fromSeconds.GetYear(), f.Year);
            EXPECT_EQ(fromSeconds.GetHour(), f.Hour);
        }
    }
}

// Instants over the whole range: daily (drifting through the hours) over the centuries that hold the
// leap rule's exceptions and the edges of the C run-time's range, then coarsely up to the last one.
std::vector<std::int64_t> SampledInstants()
{
    std::vector<std::int64_t> instants{DateTimeMinSeconds, LastSeconds};
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
    return instants;
}

std::tm UtcOf(std::int64_t seconds)
{
    const std::time_t t = seconds;
    std::tm tm{};
    gmtime_r(&t, &tm);
    return tm;
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

// The C library's UTC conversion covers 64-bit time, an independent reference; local time outside the
// C run-time's range goes through proxy years, which must keep the zone's rule.
TEST(DateTimeTest, CalendarsMatchAReferenceOverTheRange)
{
    const Testing::ScopedEnvironment zone("TZ", CentralEurope);
    for (const DateTimeKind kind : {DateTimeKind::Utc, DateTimeKind::Local})
    {
        for (std::int64_t seconds : SampledInstants())
        {
            const std::tm expected = kind == DateTimeKind::Utc ? UtcOf(seconds) : CentralEuropeanOf(seconds);
            const DateTime value(seconds, 0, kind);
            // Stops at the first mismatch.
            ASSERT_EQ(Describe(value.GetCalendar()), Describe(expected)) << seconds;
            ASSERT_EQ(DateTime::FromCalendar(expected, 0, kind).GetSeconds(), seconds) << seconds;
        }
    }
}

// Fields carry with floor carries; day counts beyond 32 bits take the first-of-January path, where in
// UTC a day is exactly 86400 seconds. Past the range, or past a field's 32 bits, the value turns invalid
// without an assertion.
TEST(DateTimeTest, AddersCarryThroughTheCalendar)
{
    constexpr std::int64_t Span = LastSeconds - DateTimeMinSeconds;
    constexpr std::int64_t SpanDays = Span / 86400;
    const DateTime Invalid;
    const struct
    {
        DateTime Start;
        Adder Add;
        std::int64_t Amount;
        DateTime Expected;
    } cases[] = {
        // Midnight and year ends, both ways.
        {Utc({2023, 12, 31, 23, 59, 59}), Seconds, 1, Utc({2024, 1, 1})},
        {Utc({2024, 1, 1}), Seconds, -1, Utc({2023, 12, 31, 23, 59, 59})},
        {Utc({29000, 12, 31, 23, 59, 59}), Seconds, 1, Utc({29001, 1, 1})},
        {Utc({1601, 1, 2}), Days, -1, Utc({1601, 1, 1})},
        // Leap days, and the century years that have one (2000) or not (1900, 2100).
        {Utc({2024, 3, 1}), Seconds, -1, Utc({2024, 2, 29, 23, 59, 59})},
        {Utc({1900, 3, 1}), Minutes, -1, Utc({1900, 2, 28, 23, 59})},
        {Utc({2023, 2, 28}), Days, 1, Utc({2023, 3, 1})},
        {Utc({2000, 2, 28}), Days, 1, Utc({2000, 2, 29})},
        {Utc({2100, 2, 28}), Days, 1, Utc({2100, 3, 1})},
        {Utc({2023, 1, 31, 6}), Days, 30, Utc({2023, 3, 2, 6})},
        {Utc({2024, 3, 1, 0, 30}), Hours, -25, Utc({2024, 2, 28, 23, 30})},
        {Utc({2000, 1, 1}), Hours, 366 * 24, Utc({2001, 1, 1})},
        // Sub-second units carry into the calendar and keep what lies below them.
        {Utc({2023, 12, 31, 23, 59, 59, 999000250}), Millis, 1, Utc({2024, 1, 1, 0, 0, 0, 250})},
        {Utc({2024, 1, 1, 0, 0, 0, 250}), Millis, -1, Utc({2023, 12, 31, 23, 59, 59, 999000250})},
        {Utc({2000, 1, 1}), Nanos, -1, Utc({1999, 12, 31, 23, 59, 59, 999999999})},
        {Utc({2000, 1, 1, 0, 0, 59, 500000000}), Nanos, 1500000000, Utc({2000, 1, 1, 0, 1, 1})},
        // A day that the month lacks runs into the next one.
        {Utc({2023, 1, 31}), Months, 1, Utc({2023, 3, 3})},
        {Utc({2024, 1, 31}), Months, 1, Utc({2024, 3, 2})},
        {Utc({2023, 1, 31}), Months, 12, Utc({2024, 1, 31})},
        {Utc({2023, 1, 31}), Months, -2, Utc({2022, 12, 1})},
        {Utc({2023, 1, 15, 8}), Months, -13, Utc({2021, 12, 15, 8})},
        {Utc({2024, 2, 29}), Years, 1, Utc({2025, 3, 1})},
        {Utc({2024, 2, 29}), Years, 4, Utc({2028, 2, 29})},
        {Utc({2024, 2, 29}), Years, -124, Utc({1900, 3, 1})},
        // Huge amounts.
        {At(953123696), Days, 3000000000, At(953123696 + 3000000000LL * 86400)},
        {At(LastSeconds), Days, -SpanDays, At(LastSeconds - SpanDays * 86400)},
        {At(DateTimeMinSeconds + 5), Days, SpanDays, At(DateTimeMinSeconds + 5 + SpanDays * 86400)},
        {At(DateTimeMinSeconds), Millis, Span * 1000, At(LastSeconds)},
        {At(LastSeconds), Hours, -SpanDays * 24, At(LastSeconds - SpanDays * 86400)},
        {At(DateTimeMinSeconds), Seconds, Span, At(LastSeconds)},
        // Out of the range, or of the fields.
        {At(DateTimeMinSeconds), Seconds, -1, Invalid},
        {At(LastSeconds), Seconds, 1, Invalid},
        {At(LastSeconds), Nanos, 1000000000, Invalid},
        {At(DateTimeMinSeconds), Years, -1, Invalid},
        {At(0), Years, 30000000, Invalid},
        {At(0), Years, std::numeric_limits<int>::max(), Invalid},
        {At(0), Years, Int64Max, Invalid},
        {At(0), Months, Int64Min, Invalid},
        {At(0), Days, Int64Min, Invalid},
        {At(0), Days, Int64Max, Invalid},
        {At(0), Hours, Int64Max, Invalid},
        {At(0), Millis, Int64Max, Invalid},
        {At(DateTimeMinSeconds + 1000), Nanos, Int64Min, Invalid},
    };
    Testing::AssertCapture capture;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(Describe(c.Start) + " + " + std::to_string(c.Amount));
        DateTime value = c.Start;
        (value.*c.Add)(c.Amount);
        EXPECT_EQ(value.GetSeconds(), c.Expected.GetSeconds());
        EXPECT_EQ(Describe(value), Describe(c.Expected));
        // An invalid result has the zeroed calendar and no nanoseconds.
        EXPECT_EQ(value.GetImpl().Calendar.tm_mday, c.Expected.GetImpl().Calendar.tm_mday);
        EXPECT_EQ(value.GetNanoseconds(), c.Expected.GetNanoseconds());
    }
    EXPECT_TRUE(capture.Expressions().empty());
}

// Difference truncates the nanosecond part toward zero; neither it nor Compare minds the kind.
TEST(DateTimeTest, PairsCompareBySecondsThenNanosecondsAndDifferInWholeMilliseconds)
{
    const struct
    {
        DateTime Lhs, Rhs;
        int Order;
        std::int64_t Milliseconds;
    } cases[] = {
        {At(1, 900000000), At(0, 100000000, DateTimeKind::Local), 1, 1800},
        {At(0, 100000000), At(1, 900000000, DateTimeKind::Local), -1, -1800},
        {At(5, 700000), At(5, 200000), 1, 0},
        {At(5, 200000), At(5, 700000), -1, 0},
        {At(5, 1500000), At(5, 0), 1, 1},
        {At(5, 0), At(5, 1500000), -1, -1},
        {At(6, 200000), At(5, 999700000), 1, 1}, // the two parts truncate separately
        {At(1), At(2), -1, -1000},
        {At(2), At(1, 999999999), 1, 1},
        {At(1, 5), At(1, 5, DateTimeKind::Local), 0, 0},
        {At(LastSeconds, 999999999), At(DateTimeMinSeconds), 1,
         (LastSeconds - DateTimeMinSeconds) * 1000 + 999},
    };
    Testing::AssertCapture capture;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(Describe(c.Lhs) + " - " + Describe(c.Rhs));
        EXPECT_EQ(c.Lhs.Difference(c.Rhs), c.Milliseconds);
        EXPECT_EQ(c.Lhs.Compare(c.Rhs), c.Order);
        EXPECT_EQ(c.Lhs == c.Rhs, c.Order == 0);
        EXPECT_EQ(c.Lhs < c.Rhs, c.Order < 0);
    }
    EXPECT_TRUE(capture.Expressions().empty());
    // The invalid value is the smallest.
    EXPECT_EQ(DateTime().Compare(At(DateTimeMinSeconds)), -1);
    EXPECT_EQ(DateTime().Compare(DateTime()), 0);
    EXPECT_EQ(At(7, 123456789).GetMilliseconds(), 123);
    EXPECT_EQ(At(7, 123456789).GetSubMillisecond(), 456789);
}

TEST(DateTimeTest, NowFollowsTheInstalledClock)
{
    Common::VirtualClock clock(0, Common::WallTime{1719835200, 123456789});
    Common::SetClock(&clock);
    const DateTime first = DateTime::Now(DateTimeKind::Utc);
    clock.Advance(3600001);
    const DateTime second = DateTime::Now(DateTimeKind::Utc);
    const DateTime local = DateTime::Now(DateTimeKind::Local);
    Common::SetClock(nullptr);

    EXPECT_EQ(first.GetSeconds(), 1719835200);
    EXPECT_EQ(Describe(first), Describe(Utc({2024, 7, 1, 12, 0, 0, 123456789})));
    EXPECT_EQ(second.Difference(first), 3600001);
    EXPECT_FALSE(local.IsUtc());
    EXPECT_EQ(local, second);
}

// Any kind but UTC is local; conversion keeps the instant, local adders keep the wall clock.
TEST(DateTimeTest, LocalTimeConvertsKeepingTheInstantAndItsAddersMoveTheWallClock)
{
    const Testing::ScopedEnvironment zone("TZ", CentralEurope);
    const DateTime odd(0, 0, static_cast<DateTimeKind>(7));
    EXPECT_FALSE(odd.IsUtc());
    EXPECT_EQ(odd.GetKind(), DateTimeKind::Local);
    EXPECT_EQ(odd.GetHour(), 1);
    const DateTime utc = Utc({2024, 7, 1, 12, 0, 0, 42});
    const DateTime local = utc.ToLocal();
    EXPECT_EQ(local, utc);
    EXPECT_FALSE(local.IsUtc());
    EXPECT_EQ(local.GetHour(), 14);
    EXPECT_TRUE(local.IsDaylightSaving());
    const DateTime back = local.ToUtc();
    EXPECT_TRUE(back.IsUtc());
    EXPECT_EQ(Describe(back), Describe(utc));

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
