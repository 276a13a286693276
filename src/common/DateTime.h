// Common::DateTime: an instant (seconds and nanoseconds since 1 January 1970, UTC) together with its
// broken-down calendar in UTC or in local time. Instants from 1 January 1601 up to the start of the year
// 29229672 are representable; anything else is the invalid value, which every operation keeps and
// nearly every operation asserts against ("IsValid()").
#pragma once

#include <compare>
#include <cstdint>
#include <ctime>
#include <limits>

namespace Common
{

// The time base of the calendar fields. The raw field is 32 bits: 1 is UTC, any other value local time.
enum class DateTimeKind : std::int32_t
{
    Local = 0,
    Utc = 1,
};

inline constexpr std::int64_t DateTimeInvalidSeconds = std::numeric_limits<std::int64_t>::min();
// Representable seconds: [DateTimeMinSeconds, DateTimeEndSeconds).
inline constexpr std::int64_t DateTimeMinSeconds = -11644473600; // 1 January 1601
inline constexpr std::int64_t DateTimeEndSeconds = 922337189107200;
// The C run-time's own range, [0, DateTimeCrtEndSeconds); local conversions outside it use a proxy year.
inline constexpr std::int64_t DateTimeCrtEndSeconds = 0x793407000;

struct DateTimeImpl
{
    std::tm Calendar{};                            // in the base that Kind selects
    std::int64_t Seconds = DateTimeInvalidSeconds; // since 1 January 1970, UTC
    std::int32_t Nanoseconds = 0;                  // 0 to 999999999
    std::int32_t Kind = 0;
};

namespace Detail
{
// The fields an adder starts at, from the smallest; the carry chain runs in this order.
enum class DateTimeUnit
{
    Nanoseconds,
    Milliseconds,
    Seconds,
    Minutes,
    Hours,
    Days,
    Months,
    Years,
};
} // namespace Detail

// A value type; distinct values may be used on distinct threads. Local conversions read the process's
// time zone (TZ) as the C library does, daylight saving included.
class DateTime
{
public:
    // The invalid value.
    DateTime() = default;
    // The instant `seconds` since 1970 (UTC). Invalid when `seconds` isn't representable, `nanoseconds`
    // isn't in 0 to 999999999, or the platform can't convert it to local time.
    DateTime(std::int64_t seconds, std::int32_t nanoseconds, DateTimeKind kind);
    // From calendar fields in the base of `kind`: the full year, month 1 to 12, day 1 to 31. Fields
    // outside their ranges carry into the larger ones as mktime does (13 months are a year and a
    // month). Invalid when the instant isn't representable.
    DateTime(DateTimeKind kind, int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
             std::int32_t nanoseconds = 0);
    // From a broken-down time in the base of `kind`; tm_wday and tm_yday are ignored, tm_isdst is read
    // for local time as mktime reads it. Invalid as above.
    static DateTime FromCalendar(const std::tm& calendar, std::int32_t nanoseconds, DateTimeKind kind);
    // The wall time of the installed Common::Clock.
    static DateTime Now(DateTimeKind kind);

    bool IsValid() const { return Impl.Seconds != DateTimeInvalidSeconds; }
    // Inside the range that the C run-time converts by itself.
    bool IsCrtValid() const { return Impl.Seconds >= 0 && Impl.Seconds < DateTimeCrtEndSeconds; }
    bool IsUtc() const { return Impl.Kind == static_cast<std::int32_t>(DateTimeKind::Utc); }
    DateTimeKind GetKind() const { return IsUtc() ? DateTimeKind::Utc : DateTimeKind::Local; }
    const DateTimeImpl& GetImpl() const { return Impl; }

    std::int64_t GetSeconds() const { return Impl.Seconds; }
    std::int32_t GetNanoseconds() const { return Impl.Nanoseconds; }
    std::int32_t GetMilliseconds() const { return Impl.Nanoseconds / 1000000; }
    // The nanoseconds below the millisecond, 0 to 999999.
    std::int32_t GetSubMillisecond() const { return Impl.Nanoseconds % 1000000; }

    // Calendar fields in the value's base. Each asserts "IsValid()"; an invalid value answers from its
    // zeroed calendar.
    const std::tm& GetCalendar() const;
    int GetYear() const;      // the full year, 1601 and later
    int GetMonth() const;     // 1 to 12
    int GetDay() const;       // 1 to 31
    int GetHour() const;      // 0 to 23
    int GetMinute() const;    // 0 to 59
    int GetSecond() const;    // 0 to 59 (60 only in a zone that counts leap seconds)
    int GetDayOfWeek() const; // 0 is Sunday
    int GetDayOfYear() const; // 1 to 366
    bool IsDaylightSaving() const;

    // The same instant in another base. Asserts "IsValid()"; an invalid value stays invalid.
    DateTime ToKind(DateTimeKind kind) const;
    DateTime ToUtc() const { return ToKind(DateTimeKind::Utc); }
    DateTime ToLocal() const { return ToKind(DateTimeKind::Local); }

    // Milliseconds from `rhs` to this value: the seconds apart times 1000 plus the nanoseconds apart
    // divided by 1000000, truncated. Asserts "IsValid() && rhs.IsValid()" and answers 0 if either isn't.
    std::int64_t Difference(const DateTime& rhs) const;
    // -1, 0 or 1 by Seconds, then Nanoseconds; the kind doesn't take part. The invalid value is the
    // smallest.
    int Compare(const DateTime& rhs) const;

    // The adders move the calendar fields of the value's base with carries into the larger fields, then
    // recompute the instant; so in local time, across a daylight-saving change, the elapsed time can
    // differ from the amount, and a day of month that the month lacks runs into the next (31 January
    // plus a month is 3 March, or 2 March in a leap year). Each asserts "IsValid()"; an invalid value,
    // or an amount of 0, is left as it is; a result outside the representable range is invalid.
    DateTime& AddYears(std::int64_t years) { return Add(Detail::DateTimeUnit::Years, years); }
    DateTime& AddMonths(std::int64_t months) { return Add(Detail::DateTimeUnit::Months, months); }
    DateTime& AddDays(std::int64_t days) { return Add(Detail::DateTimeUnit::Days, days); }
    DateTime& AddHours(std::int64_t hours) { return Add(Detail::DateTimeUnit::Hours, hours); }
    DateTime& AddMinutes(std::int64_t minutes) { return Add(Detail::DateTimeUnit::Minutes, minutes); }
    DateTime& AddSeconds(std::int64_t seconds) { return Add(Detail::DateTimeUnit::Seconds, seconds); }
    // Keeps the sub-millisecond part.
    DateTime& AddMilliseconds(std::int64_t milliseconds)
    {
        return Add(Detail::DateTimeUnit::Milliseconds, milliseconds);
    }
    DateTime& AddNanoseconds(std::int64_t nanoseconds)
    {
        return Add(Detail::DateTimeUnit::Nanoseconds, nanoseconds);
    }

    friend bool operator==(const DateTime& lhs, const DateTime& rhs) { return lhs.Compare(rhs) == 0; }
    friend std::strong_ordering operator<=>(const DateTime& lhs, const DateTime& rhs)
    {
        return lhs.Compare(rhs) <=> 0;
    }

private:
    DateTime& Add(Detail::DateTimeUnit unit, std::int64_t amount);
    // Takes `calendar` (any field out of its range) as the new value, or makes the value invalid.
    void SetFromCalendar(std::tm calendar, std::int32_t nanoseconds);
    void MakeInvalid();

    DateTimeImpl Impl;
};

} // namespace Common
