#include "common/DateTime.h"

#include "common/Clock.h"
#include "common/SafeAssert.h"

#include <ctime>
#include <optional>
#include <type_traits>

namespace Common
{
namespace
{

static_assert(std::is_same_v<std::int32_t, int>, "the nanoseconds and the calendar fields step alike");

constexpr std::int64_t SecondsPerDay = 86400;
constexpr std::int64_t DaysPer400Years = 146097;
// 400 Gregorian years are exactly 20871 weeks: a year that many cycles away has the same leap years, so
// its day of year and day of week need no correction.
constexpr std::int64_t SecondsPer400Years = DaysPer400Years * SecondsPerDay;
constexpr std::int64_t TmYearBase = 1900;
// Time zone offsets stay well below this, so a wall time outside the range widened by it can't be
// representable.
constexpr std::int64_t ZoneMargin = 2 * SecondsPerDay;
constexpr int MaxInt = std::numeric_limits<int>::max();
constexpr int MinInt = std::numeric_limits<int>::min();

std::int64_t FloorDiv(std::int64_t value, std::int64_t divisor)
{
    const std::int64_t quotient = value / divisor;
    return (value % divisor != 0 && (value < 0) != (divisor < 0)) ? quotient - 1 : quotient;
}

std::int64_t FloorMod(std::int64_t value, std::int64_t divisor)
{
    const std::int64_t rest = value % divisor;
    return (rest != 0 && (rest < 0) != (divisor < 0)) ? rest + divisor : rest;
}

bool FitsInt(std::int64_t value)
{
    return value >= MinInt && value <= MaxInt;
}

bool IsRepresentable(std::int64_t seconds)
{
    return seconds >= DateTimeMinSeconds && seconds < DateTimeEndSeconds;
}

// Days from 1 January 1970 to a date of the proleptic Gregorian calendar (month 1 to 12, day 1 to 31).
// Counting years from 1 March puts the leap day last, so a year's day offsets follow one formula.
std::int64_t DaysFromCivil(std::int64_t year, std::int64_t month, std::int64_t day)
{
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = FloorDiv(year, 400);
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * DaysPer400Years + dayOfEra - 719468;
}

struct CivilDate
{
    std::int64_t Year;
    int Month; // 1 to 12
    int Day;
};

CivilDate CivilFromDays(std::int64_t days)
{
    days += 719468;
    const std::int64_t era = FloorDiv(days, DaysPer400Years);
    const std::int64_t dayOfEra = days - era * DaysPer400Years;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    const int month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

// The fields as seconds of a UTC clock; any field may be out of its range. Exact for every int field.
std::int64_t UtcSecondsOf(const std::tm& calendar)
{
    const std::int64_t year = calendar.tm_year + TmYearBase + FloorDiv(calendar.tm_mon, 12);
    const std::int64_t days =
        DaysFromCivil(year, FloorMod(calendar.tm_mon, 12) + 1, 1) + calendar.tm_mday - 1;
    return days * SecondsPerDay + calendar.tm_hour * std::int64_t{3600} + calendar.tm_min * std::int64_t{60} +
           calendar.tm_sec;
}

// For seconds whose year fits the calendar (any representable instant, widened by ZoneMargin).
std::tm UtcCalendarOf(std::int64_t seconds)
{
    const std::int64_t days = FloorDiv(seconds, SecondsPerDay);
    const std::int64_t secondOfDay = seconds - days * SecondsPerDay;
    const CivilDate date = CivilFromDays(days);
    std::tm calendar{};
    calendar.tm_year = static_cast<int>(date.Year - TmYearBase);
    calendar.tm_mon = date.Month - 1;
    calendar.tm_mday = date.Day;
    calendar.tm_hour = static_cast<int>(secondOfDay / 3600);
    calendar.tm_min = static_cast<int>(secondOfDay / 60 % 60);
    calendar.tm_sec = static_cast<int>(secondOfDay % 60);
    calendar.tm_wday = static_cast<int>(FloorMod(days + 4, 7)); // 1 January 1970 was a Thursday
    calendar.tm_yday = static_cast<int>(days - DaysFromCivil(date.Year, 1, 1));
    return calendar;
}

// The C run-time converts local time only inside its own range. Years up to 70 (1970) move up from the
// base 70 and years after 1100 (3000) down from the base 1100, by whole 400-year cycles, so that the
// proxy year and its neighbours in any time zone lie inside that range. Answers the cycles to add.
std::int64_t ProxyCycles(std::int64_t tmYear)
{
    if (tmYear <= 70)
    {
        return (70 - tmYear) / 400 + 1;
    }
    if (tmYear > 1100)
    {
        return -((tmYear - 1101) / 400 + 1);
    }
    return 0;
}

bool LocalCalendarOf(std::int64_t seconds, std::tm& calendar)
{
    const std::int64_t cycles = ProxyCycles(UtcCalendarOf(seconds).tm_year);
    const auto proxy = static_cast<std::time_t>(seconds + cycles * SecondsPer400Years);
    // localtime_r needn't read TZ again by itself; mktime does, and both must agree.
    tzset();
    if (localtime_r(&proxy, &calendar) == nullptr)
    {
        return false;
    }
    calendar.tm_year = static_cast<int>(calendar.tm_year - cycles * 400);
    return true;
}

std::optional<std::int64_t> LocalSecondsOf(std::tm& calendar)
{
    // Normalise first, so that the proxy is chosen by the year the fields actually land in.
    const std::int64_t wall = UtcSecondsOf(calendar);
    if (wall < DateTimeMinSeconds - ZoneMargin || wall >= DateTimeEndSeconds + ZoneMargin)
    {
        return std::nullopt;
    }
    std::tm proxy = UtcCalendarOf(wall);
    const std::int64_t cycles = ProxyCycles(proxy.tm_year);
    proxy.tm_year = static_cast<int>(proxy.tm_year + cycles * 400);
    proxy.tm_isdst = calendar.tm_isdst;
    const std::time_t seconds = mktime(&proxy);
    // Proxy years lie after 1970 in every zone, so -1 can only be the failure.
    if (seconds == -1)
    {
        return std::nullopt;
    }
    proxy.tm_year = static_cast<int>(proxy.tm_year - cycles * 400);
    calendar = proxy;
    return seconds - cycles * SecondsPer400Years;
}

bool CalendarOf(std::int64_t seconds, bool utc, std::tm& calendar)
{
    if (utc)
    {
        calendar = UtcCalendarOf(seconds);
        return true;
    }
    return LocalCalendarOf(seconds, calendar);
}

// Normalises `calendar` in place and answers its instant, or nothing when it isn't representable.
std::optional<std::int64_t> SecondsOf(std::tm& calendar, bool utc)
{
    std::optional<std::int64_t> seconds;
    if (utc)
    {
        seconds = UtcSecondsOf(calendar);
        if (IsRepresentable(*seconds))
        {
            calendar = UtcCalendarOf(*seconds);
        }
    }
    else
    {
        seconds = LocalSecondsOf(calendar);
    }
    if (!seconds || !IsRepresentable(*seconds))
    {
        return std::nullopt;
    }
    return seconds;
}

// One step of the carry chain: the field takes the sum into [0, modulus) and the floor carry goes back
// for the next larger field. Splitting the amount first keeps every sum inside 64 bits.
std::int64_t Step(int& field, std::int64_t amount, int modulus)
{
    const std::int64_t sum = field + FloorMod(amount, modulus);
    field = static_cast<int>(FloorMod(sum, modulus));
    return FloorDiv(amount, modulus) + FloorDiv(sum, modulus);
}

std::int64_t StepMilliseconds(std::int32_t& nanoseconds, std::int64_t amount)
{
    int milliseconds = nanoseconds / 1000000;
    const std::int64_t carry = Step(milliseconds, amount, 1000);
    nanoseconds = milliseconds * 1000000 + nanoseconds % 1000000;
    return carry;
}

bool AddYearsToCalendar(std::tm& calendar, std::int64_t years)
{
    // Checked against the bounds before adding, as `years` may be anything.
    if (years > std::int64_t{MaxInt} - calendar.tm_year || years < std::int64_t{MinInt} - calendar.tm_year)
    {
        return false;
    }
    calendar.tm_year = static_cast<int>(calendar.tm_year + years);
    return true;
}

// Restates the date as a day of January of the same year: day of month = day of year + 1.
bool ToFirstOfJanuaryForm(std::tm& tm)
{
    SAFE_ASSERT_TEXT(tm.tm_mon >= 0 && tm.tm_mon < 12, "tm.tm_mon >= 0 && tm.tm_mon < 12");
    if (!AddYearsToCalendar(tm, FloorDiv(tm.tm_mon, 12)))
    {
        return false;
    }
    const std::int64_t year = tm.tm_year + TmYearBase;
    const std::int64_t dayOfYear =
        DaysFromCivil(year, FloorMod(tm.tm_mon, 12) + 1, 1) - DaysFromCivil(year, 1, 1) + tm.tm_mday - 1;
    if (!FitsInt(dayOfYear + 1))
    {
        return false;
    }
    tm.tm_mon = 0;
    tm.tm_yday = static_cast<int>(dayOfYear);
    tm.tm_mday = tm.tm_yday + 1;
    return true;
}

// Whole 400-year cycles go into the year, so the remaining day of January stays small.
bool AddDaysToFirstOfJanuary(std::tm& crtTm, std::int64_t days)
{
    SAFE_ASSERT_TEXT(!crtTm.tm_mon && crtTm.tm_mday == crtTm.tm_yday + 1,
                     "!crtTm.tm_mon && crtTm.tm_mday == crtTm.tm_yday + 1");
    if (crtTm.tm_mon != 0 || crtTm.tm_mday != crtTm.tm_yday + 1 || crtTm.tm_yday < 0)
    {
        return false;
    }
    // Far beyond any representable date either way; the bound keeps the sum inside 64 bits.
    constexpr std::int64_t FarDays = std::int64_t{1} << 60;
    if (days > FarDays || days < -FarDays)
    {
        return false;
    }
    const std::int64_t total = crtTm.tm_yday + days;
    if (!AddYearsToCalendar(crtTm, FloorDiv(total, DaysPer400Years) * 400))
    {
        return false;
    }
    crtTm.tm_yday = static_cast<int>(FloorMod(total, DaysPer400Years));
    crtTm.tm_mday = crtTm.tm_yday + 1;
    return true;
}

bool AddDaysToCalendar(std::tm& calendar, std::int64_t days)
{
    if (days <= std::int64_t{MaxInt} - calendar.tm_mday && days >= std::int64_t{MinInt} - calendar.tm_mday)
    {
        calendar.tm_mday = static_cast<int>(calendar.tm_mday + days);
        return true;
    }
    return ToFirstOfJanuaryForm(calendar) && AddDaysToFirstOfJanuary(calendar, days);
}

// Adds `amount` of `unit` with carries up the chain; false when a field overflows its 32 bits.
bool AddToFields(std::tm& calendar, std::int32_t& nanoseconds, Detail::DateTimeUnit unit, std::int64_t amount)
{
    using Unit = Detail::DateTimeUnit;
    std::int64_t carry = amount;
    if (unit == Unit::Nanoseconds)
    {
        carry = Step(nanoseconds, carry, 1000000000);
    }
    else if (unit == Unit::Milliseconds)
    {
        carry = StepMilliseconds(nanoseconds, carry);
    }
    if (unit <= Unit::Seconds)
    {
        carry = Step(calendar.tm_sec, carry, 60);
    }
    if (unit <= Unit::Minutes)
    {
        carry = Step(calendar.tm_min, carry, 60);
    }
    if (unit <= Unit::Hours)
    {
        carry = Step(calendar.tm_hour, carry, 24);
    }
    if (unit <= Unit::Days)
    {
        return AddDaysToCalendar(calendar, carry);
    }
    if (unit == Unit::Months)
    {
        carry = Step(calendar.tm_mon, carry, 12);
    }
    return AddYearsToCalendar(calendar, carry);
}

} // namespace

DateTime::DateTime(std::int64_t seconds, std::int32_t nanoseconds, DateTimeKind kind)
{
    Impl.Kind = static_cast<std::int32_t>(kind);
    if (!IsRepresentable(seconds) || nanoseconds < 0 || nanoseconds > 999999999 ||
        !CalendarOf(seconds, IsUtc(), Impl.Calendar))
    {
        MakeInvalid();
        return;
    }
    Impl.Seconds = seconds;
    Impl.Nanoseconds = nanoseconds;
}

DateTime::DateTime(DateTimeKind kind, int year, int month, int day, int hour, int minute, int second,
                   std::int32_t nanoseconds)
{
    Impl.Kind = static_cast<std::int32_t>(kind);
    std::tm calendar{};
    calendar.tm_mon = month - 1;
    calendar.tm_mday = day;
    calendar.tm_hour = hour;
    calendar.tm_min = minute;
    calendar.tm_sec = second;
    calendar.tm_isdst = -1;
    if (FitsInt(year - TmYearBase))
    {
        calendar.tm_year = static_cast<int>(year - TmYearBase);
        SetFromCalendar(calendar, nanoseconds);
    }
}

DateTime DateTime::FromCalendar(const std::tm& calendar, std::int32_t nanoseconds, DateTimeKind kind)
{
    DateTime value;
    value.Impl.Kind = static_cast<std::int32_t>(kind);
    value.SetFromCalendar(calendar, nanoseconds);
    return value;
}

DateTime DateTime::Now(DateTimeKind kind)
{
    const WallTime now = GetWallTime();
    return DateTime(now.Seconds, now.Nanoseconds, kind);
}

const std::tm& DateTime::GetCalendar() const
{
    SAFE_ASSERT_TEXT(IsValid(), "IsValid()");
    return Impl.Calendar;
}

int DateTime::GetYear() const
{
    return static_cast<int>(GetCalendar().tm_year + TmYearBase);
}

int DateTime::GetMonth() const
{
    return GetCalendar().tm_mon + 1;
}

int DateTime::GetDay() const
{
    return GetCalendar().tm_mday;
}

int DateTime::GetHour() const
{
    return GetCalendar().tm_hour;
}

int DateTime::GetMinute() const
{
    return GetCalendar().tm_min;
}

int DateTime::GetSecond() const
{
    return GetCalendar().tm_sec;
}

int DateTime::GetDayOfWeek() const
{
    return GetCalendar().tm_wday;
}

int DateTime::GetDayOfYear() const
{
    return GetCalendar().tm_yday + 1;
}

bool DateTime::IsDaylightSaving() const
{
    return GetCalendar().tm_isdst > 0;
}

DateTime DateTime::ToKind(DateTimeKind kind) const
{
    SAFE_ASSERT_TEXT(IsValid(), "IsValid()");
    if (!IsValid())
    {
        DateTime invalid;
        invalid.Impl.Kind = static_cast<std::int32_t>(kind);
        return invalid;
    }
    return DateTime(Impl.Seconds, Impl.Nanoseconds, kind);
}

std::int64_t DateTime::Difference(const DateTime& rhs) const
{
    SAFE_ASSERT_TEXT(IsValid() && rhs.IsValid(), "IsValid() && rhs.IsValid()");
    if (!IsValid() || !rhs.IsValid())
    {
        return 0;
    }
    return (Impl.Seconds - rhs.Impl.Seconds) * 1000 + (Impl.Nanoseconds - rhs.Impl.Nanoseconds) / 1000000;
}

int DateTime::Compare(const DateTime& rhs) const
{
    if (Impl.Seconds != rhs.Impl.Seconds)
    {
        return Impl.Seconds < rhs.Impl.Seconds ? -1 : 1;
    }
    if (Impl.Nanoseconds != rhs.Impl.Nanoseconds)
    {
        return Impl.Nanoseconds < rhs.Impl.Nanoseconds ? -1 : 1;
    }
    return 0;
}

DateTime& DateTime::Add(Detail::DateTimeUnit unit, std::int64_t amount)
{
    SAFE_ASSERT_TEXT(IsValid(), "IsValid()");
    if (!IsValid() || amount == 0)
    {
        return *this;
    }
    std::tm calendar = Impl.Calendar;
    std::int32_t nanoseconds = Impl.Nanoseconds;
    if (!AddToFields(calendar, nanoseconds, unit, amount))
    {
        MakeInvalid();
        return *this;
    }
    calendar.tm_wday = -1;
    calendar.tm_yday = -1;
    // The zone decides daylight saving for the new wall time.
    calendar.tm_isdst = -1;
    SetFromCalendar(calendar, nanoseconds);
    return *this;
}

void DateTime::SetFromCalendar(std::tm calendar, std::int32_t nanoseconds)
{
    const std::optional<std::int64_t> seconds = SecondsOf(calendar, IsUtc());
    if (!seconds || nanoseconds < 0 || nanoseconds > 999999999)
    {
        MakeInvalid();
        return;
    }
    Impl.Calendar = calendar;
    Impl.Seconds = *seconds;
    Impl.Nanoseconds = nanoseconds;
}

void DateTime::MakeInvalid()
{
    Impl.Calendar = std::tm{};
    Impl.Seconds = DateTimeInvalidSeconds;
    Impl.Nanoseconds = 0;
}

} // namespace Common
