// Async::OneStepJob: a job that runs one action through its own JobControl and hands the processed
// result to the handler it was started with. Start once; Cancel is thread-safe and may come at any time
// (also before Start, cancelling the run in advance). The job must be kept alive until its handler was
// called, and does not touch itself afterwards, so the handler may release it.
#pragma once

#include "async/Action.h"
#include "async/Job.h"
#include "async/JobControl.h"
#include "common/Error.h"

#include <memory>

namespace Async
{

class OneStepJob : public BaseJob, public ActionHandler
{
public:
    // OnStart, then runs GetAction() with this job as handler and as the describer of failures. `handler`
    // must live until it is called.
    void Start(ActionHandler& handler);
    // JobControl::Cancel of the run.
    void Cancel() override;
    // The action's result: OnCompleted, then the handler.
    void Completed(const Common::Error& result) override;

    // An action (single-use) whose Perform starts `job` with its handler and returns it.
    static std::unique_ptr<Action> MakeStartAction(std::shared_ptr<OneStepJob> job);

protected:
    // The action to run; it must live through its Perform.
    virtual Action& GetAction() = 0;
    virtual void OnStart() {}
    // The default passes a failure on and asks OnSucceeded for the result of a success.
    virtual void OnCompleted(Common::Error& out, const Common::Error& result);
    // The default keeps the success.
    virtual void OnSucceeded(Common::Error& out);

private:
    JobControl Control;
    ActionHandler* Handler = nullptr;
};

} // namespace Async
