// The asynchronizer drives an open-ended stream of actions: a reader pushes actions into the job in
// read rounds, each consumed action starts at once in the job's barrier, and the job completes when the
// stream has ended and every started action has completed. A round that consumes nothing ends the
// stream, as does any failure. Its three kinds differ in the barrier: a full barrier lets every started
// action run to its end; a lazy one cancels the rest at the first failure; a sequence runs the consumed
// actions one after another, in the order consumed, stopping at the first failure.
//
// The job's result: the first failure of a consumed action; otherwise the failure of reading or
// consuming (0x00F90001 for a null action); otherwise the barrier's (0x00F90002 after a cancel) or
// success. Once a consumed action has failed, or the stream has ended, Consume refuses with 0x00F90005.
// Cancelling the job cancels the read under way and every running action.
#pragma once

#include "async/Action.h"
#include "async/ActionReader.h"

#include <memory>

namespace Async
{

enum class AsynchronizerKind
{
    FullBarrier,
    LazyBarrier,
    Sequence,
};

// An action, performable any number of times, that runs the asynchronizer of `kind` over `reader`; the
// reader is shared with every run. Each run keeps itself alive until its handler was called. Without a
// reader a run completes at once with 0x00F90001 "Pending job is empty".
std::unique_ptr<Action> MakeAsynchronizer(std::shared_ptr<ActionReader> reader, AsynchronizerKind kind);

} // namespace Async
