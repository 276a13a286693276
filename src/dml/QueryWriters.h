// Dml::Query writers: each sets one key of an options unit in place. A present key is assigned on the
// face the options have; an absent one is made with the factory and inserted, which needs options with
// the Construction face (0x00FC0001 otherwise). A present key of another kind throws the type mismatch.
// The twins on Por::Unit write the same keys through the handle, making its node a composite first.
#pragma once

#include "dml/CounterOptions.h"
#include "dml/Sorting.h"
#include "dml/TenantInfo.h"
#include "por/Forward.h"
#include "por/PorUnit.h"
#include "por/UnitFactory.h"
#include "runtime/EntryPoint.h"

#include <cstdint>

namespace Dml::Query
{

void SetLimit(Por::Modification::Unit& options, std::uint32_t limit,
              const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// "LimitOptions" first, then "OffsetOptions".
void SetLimitAndOffset(Por::Modification::Unit& options, std::uint32_t limit, std::uint32_t offset,
                       const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// "Mask" becomes a copy of `mask`, replacing an earlier one.
void SetMask(Por::Modification::Unit& options, const Por::View::Unit& mask,
             const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// These set their flag to true.
void SetReverseReportOrder(Por::Modification::Unit& options,
                           const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
void SetFullObjectNotifications(Por::Modification::Unit& options,
                                const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
void SetReentrantNotifications(Por::Modification::Unit& options,
                               const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
void SetCacheReadDisabled(Por::Modification::Unit& options,
                          const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// "EntryPoint": "ID" qword, "File" string, "Line" dword.
void SetEntryPoint(Por::Modification::Unit& options, const Core::EntryPoint& entryPoint,
                   const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// "TenantInfo": the strings "ID", "ParentID", "Locator".
void SetTenantInfo(Por::Modification::Unit& options, const TenantInfo& tenant,
                   const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// Adds the ascending sort key {"DmlTimeStamp": sqword 0}.
void AddAscendingTimeStampOrder(Por::Modification::Unit& options,
                                const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// The latest `limit` objects, handed over oldest first: a descending sort key on "DmlTimeStamp", then
// "LimitOptions", then "ReverseReportOrder".
void SetLastByTimeStamp(Por::Modification::Unit& options, std::uint32_t limit,
                        const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// The twins on the value handle, with the handle's factory.
void SetLimit(Por::Unit options, std::uint32_t limit);
void SetReverseReportOrder(Por::Unit options);
void SetFullObjectNotifications(Por::Unit options);
void SetEntryPoint(Por::Unit options, const Core::EntryPoint& entryPoint);
void SetTenantInfo(Por::Unit options, const TenantInfo& tenant);
void AddAscendingOrder(Por::Unit options, const Por::View::Unit& sortTemplate);
void AddDescendingOrder(Por::Unit options, const Por::View::Unit& sortTemplate);

} // namespace Dml::Query
