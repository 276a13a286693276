// Counting through the store: a report of the view with a "Counter" section (added unless present) read
// by a CounterReader. The count is written when the run completes successfully.
#pragma once

#include "async/Action.h"
#include "dml/ViewSpec.h"
#include "runtime/EntryPoint.h"

#include <cstdint>
#include <memory>

namespace Dml
{

class PostOffice;

namespace Detail
{
// The view with counting options: its options cloned (or a new composite) with the counter section.
ViewSpec MakeCountingSpec(const ViewSpec& spec, const Por::Construction::UnitFactory& factory);
} // namespace Detail

// `count` must live until the run completes.
std::shared_ptr<Async::Job> ReadCount(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                      PostOffice& postOffice, const Por::Construction::UnitFactory& factory,
                                      std::uint32_t& count, Async::ActionHandler& handler);

} // namespace Dml
