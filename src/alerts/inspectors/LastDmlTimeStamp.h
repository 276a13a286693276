// The persisted mark of the activity failing inspector: one store object of class
// "Tol::History::Plain::Activity::LastDmlTimeStamp" whose "Value" is the "DmlTimeStamp" of the last
// finished activity handled. Its "ID" is a fixed key (a Guid and the class name), so there is one mark
// per store and every write replaces it. The mark only moves forward in the order activities arrive.
#pragma once

#include "dml/SynchronousDataStore.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"

#include <cstdint>
#include <optional>

namespace Alerts::Detail
{

inline constexpr const char* LastDmlTimeStampClassName = "Tol::History::Plain::Activity::LastDmlTimeStamp";

// The mark object holding `value`.
Por::UnitPtr MakeLastDmlTimeStamp(std::int64_t value,
                                  const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// The read of the mark: its class, no options.
Dml::ViewSpec MakeLastDmlTimeStampSpec(const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// The stored mark, or nothing when there is none. Store failures and a "Value" that is missing or not a
// signed 64-bit value throw their Common::Error.
std::optional<std::int64_t> ReadLastDmlTimeStamp(const Dml::SynchronousDataStore& store);

// Stores or replaces the mark with `value`; throws the store's Common::Error.
void WriteLastDmlTimeStamp(const Dml::SynchronousDataStore& store, std::int64_t value);

} // namespace Alerts::Detail
