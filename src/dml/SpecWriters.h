// Dml::Query writers on a ViewSpec, copy-on-write: each returns a copy of the view whose options are a
// clone (or a new composite when the view has none) with one key written; the given view and the units
// it shares stay as they were. Options of another kind than composite throw the type mismatch
// (0x00FA000A) with composite expected.
#pragma once

#include "dml/TenantInfo.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "runtime/EntryPoint.h"

#include <cstdint>

namespace Dml::Query
{

ViewSpec WithLimit(const ViewSpec& spec, std::uint32_t limit,
                   const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithMask(const ViewSpec& spec, const Por::View::Unit& mask,
                  const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithTenantInfo(const ViewSpec& spec, const TenantInfo& tenant,
                        const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithEntryPoint(const ViewSpec& spec, const Core::EntryPoint& entryPoint,
                        const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithAscendingOrder(const ViewSpec& spec, const Por::View::Unit& sortTemplate,
                            const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithDescendingOrder(const ViewSpec& spec, const Por::View::Unit& sortTemplate,
                             const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithAscendingTimeStampOrder(const ViewSpec& spec,
                                     const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithFullObjectNotifications(const ViewSpec& spec,
                                     const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithReentrantNotifications(const ViewSpec& spec,
                                    const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithCacheReadDisabled(const ViewSpec& spec,
                               const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
ViewSpec WithCounter(const ViewSpec& spec,
                     const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// `options` itself unless "FullObjectNotifications" is true; then a clone without that key.
Por::ConstUnitPtr
WithoutFullObjectNotifications(const Por::ConstUnitPtr& options,
                               const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

} // namespace Dml::Query
