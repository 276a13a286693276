// Async::Journal records actions and runs them in sequence when performed; others can wait for its start
// (GetBegin) and its end (GetEnd), and its parts can be branched, nested and left early (Break). A
// sub-journal breaks like its parent: inside a cyclic journal, its Break yields the cycle mark, which rises
// through the sub-journal and ends the cycle. Fill a journal, then perform it; Execute, GetBegin, GetEnd,
// Cancel and IsFinished are thread-safe. The job that Perform returns carries what the run needs (the
// sequence and the end waiter's handler): keep it until the handler was called, as a JobControl does.
#pragma once

#include "async/ActionExecutor.h"
#include "async/ActionSequence.h"
#include "async/Condition.h"
#include "async/Process.h"
#include "async/WaitCompletionHandler.h"

#include <memory>
#include <mutex>

namespace Async
{

class Journal : public Process, public ActionExecutor
{
public:
    Journal();

    // Tells the begin waiter, runs the sequence and tells the end waiter before `handler`.
    std::shared_ptr<Job> Perform(ActionHandler& handler) override;
    // An action (single-use) that completes when the journal has started, at once if it has.
    virtual std::unique_ptr<Action> GetBegin();
    // An action (single-use) that completes when the journal has ended, at once if it has.
    virtual std::unique_ptr<Action> GetEnd();
    virtual bool IsCyclic() const;

    void Cancel() override;
    bool IsFinished() const override;
    void Execute(std::shared_ptr<Action> action) override;

    // Adds an action that runs `onTrue` or `onFalse` (null: nothing) as `condition` says when it is reached.
    void Branch(Condition condition, std::shared_ptr<Action> onTrue,
                std::shared_ptr<Action> onFalse = nullptr);
    // Adds a nested journal, which breaks like this one, and returns it for filling.
    std::shared_ptr<Journal> SubJournal();
    // An action that ends this journal: the sequence mark 0x00F9000E, or the cycle mark 0x00F9000F for a
    // cyclic journal and the sub-journals of one.
    std::shared_ptr<Action> Break() const { return MakeBreak(); }
    // Adds: `journal` if `condition` holds when reached, otherwise Break (in a cycle: a loop while it holds).
    void If(Condition condition, std::shared_ptr<Journal> journal);

protected:
    Journal(std::shared_ptr<ActionSequence> sequence, std::shared_ptr<Action> breakAction);

    virtual std::shared_ptr<Action> MakeBreak() const { return BreakAction; }

private:
    // Both waiters' logics, made on first need.
    void MakeWaiters();

    const std::shared_ptr<ActionSequence> Sequence;
    const std::shared_ptr<Action> BreakAction;
    mutable std::mutex Lock;
    std::shared_ptr<WaitCompletionHandler::Logic> Begin; // guarded by Lock
    std::shared_ptr<WaitCompletionHandler::Logic> End;   // guarded by Lock
    std::weak_ptr<Job> Running;                          // guarded by Lock
    bool CancelRequested = false;                        // guarded by Lock
};

} // namespace Async
