// Dml::Query readers: what an options unit asks for. An absent key reads as its default; a key of
// another kind than the format's throws the type mismatch (0x00FA000A). Pure functions over units.
#pragma once

#include "dml/TenantInfo.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "runtime/EntryPoint.h"

#include <cstdint>

namespace Dml::Query
{

// "LimitOptions"; 0xFFFFFFFF (no limit) when absent. The Spec form also when the options are empty.
std::uint32_t GetLimit(const Por::View::Unit& options);
std::uint32_t GetSpecLimit(const ViewSpec& spec);
// "OffsetOptions"; 0 when absent.
std::uint32_t GetOffset(const Por::View::Unit& options);

bool HasLimit(const Por::View::Unit& options);
bool HasOffset(const Por::View::Unit& options);
bool HasMask(const Por::View::Unit& options);
bool HasSorting(const Por::View::Unit& options);
bool HasCounter(const Por::View::Unit& options);
bool HasTenantInfo(const Por::View::Unit& options);
bool HasEntryPoint(const Por::View::Unit& options);

// A copy of "Mask", or null.
Por::ConstUnitPtr GetMask(const Por::View::Unit& options,
                          const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// True and `out` filled only when "TenantInfo" holds "ID", "ParentID" and "Locator"; otherwise `out`
// stays as it was.
bool GetTenantInfo(const Por::View::Unit& options, TenantInfo& out);
// True and `out` filled when "EntryPoint" is present; its absent fields keep their values. A field of
// another kind throws the failed-to-convert error (0x00FA0018) naming its path, the mismatch as cause.
bool GetEntryPoint(const Por::View::Unit& options, Core::EntryPoint& out);

// The flags; false when absent.
bool IsFullObjectNotifications(const Por::View::Unit& options);
bool IsReentrantNotifications(const Por::View::Unit& options);
bool IsCacheReadDisabled(const Por::View::Unit& options);
bool IsReverseReportOrder(const Por::View::Unit& options);

// True only when the options have a top-level "DmlTimeStamp" bearing "Ascending ". The sort keys in
// "SortingOptions" do not count: the store re-sorts paged reads by this mark alone.
bool IsAscendingByTimeStamp(const Por::View::Unit& options);

} // namespace Dml::Query
