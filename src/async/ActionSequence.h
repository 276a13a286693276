// Async::ActionSequence runs its actions one after another, each started when the previous one has
// succeeded; the first failure ends the run with it. The mark 0x00F9000E anywhere in a failure's chain
// ends the sequence with success; a cycle (ActionCycle) also ends with success on 0x00F9000F, which a
// plain sequence passes upward, so the mark rises to the nearest cycle. Synchronous actions run in a loop
// with a flat stack. A sequence may be performed any number of times, also concurrently; Execute is
// thread-safe, and an action added while a run is under way joins that run if it has not passed the end.
#pragma once

#include "async/Action.h"
#include "async/ActionExecutor.h"
#include "common/Error.h"

#include <memory>

namespace Async
{

namespace Detail
{
class SequenceEntries;
} // namespace Detail

class ActionSequence : public Action, public ActionExecutor
{
public:
    ActionSequence();
    ~ActionSequence() override;

    // Runs the actions in order. With no actions `handler` gets success before this returns, and the job
    // is null. Otherwise the job cancels the running action (or the next one, between two); the run keeps
    // itself and its actions alive until `handler` was called. `handler` must live until then.
    std::shared_ptr<Job> Perform(ActionHandler& handler) override;
    // Whether the run starts over at the first action after the last one.
    virtual bool IsCyclic() const { return false; }

    // Appends `action`; a null one fails the run at its place with 0x00F90001 "Pending job is empty".
    // Thread-safe.
    void Execute(std::shared_ptr<Action> action) override;

private:
    // Shared with the runs, so a run outlives the sequence object if it must.
    const std::shared_ptr<Detail::SequenceEntries> Entries;
};

// Ready-made actions that complete at once with one of the two marks: leave the sequence (0x00F9000E),
// leave the cycle (0x00F9000F). Shared, stateless, performable any number of times.
const std::shared_ptr<Action>& SequenceBreakAction();
const std::shared_ptr<Action>& CycleBreakAction();

} // namespace Async
