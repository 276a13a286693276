// The keys of the options unit of a read and the direction traits of sort keys, spelled as the store
// reads them. "Ascending " ends in a blank, as long as "Descending": the literal is part of the format.
#pragma once

#include <cstdint>
#include <string_view>

namespace Dml::Query::Names
{

inline constexpr std::string_view FullObjectNotifications = "FullObjectNotifications";
inline constexpr std::string_view ReentrantNotifications = "ReentrantNotifications";
inline constexpr std::string_view CacheReadDisabled = "CacheReadDisabled";
inline constexpr std::string_view ReverseReportOrder = "ReverseReportOrder";
inline constexpr std::string_view LimitOptions = "LimitOptions";
inline constexpr std::string_view OffsetOptions = "OffsetOptions";
inline constexpr std::string_view SortingOptions = "SortingOptions";
inline constexpr std::string_view Mask = "Mask";
inline constexpr std::string_view TenantInfo = "TenantInfo";
inline constexpr std::string_view EntryPoint = "EntryPoint";
inline constexpr std::string_view Counter = "Counter";
inline constexpr std::string_view DmlTimeStamp = "DmlTimeStamp";

// Inside "TenantInfo" and "EntryPoint".
inline constexpr std::string_view ID = "ID";
inline constexpr std::string_view ParentID = "ParentID";
inline constexpr std::string_view Locator = "Locator";
inline constexpr std::string_view File = "File";
inline constexpr std::string_view Line = "Line";

// Inside "Counter", and the count in a counter object.
inline constexpr std::string_view CounterObjectTemplate = "CounterObjectTemplate";
inline constexpr std::string_view CounterValue = "CounterValue";

inline constexpr std::string_view Ascending = "Ascending ";
inline constexpr std::string_view Descending = "Descending";

// No limit.
inline constexpr std::uint32_t NoLimit = 0xFFFFFFFF;

} // namespace Dml::Query::Names
