#include "async/OneStepJob.h"

namespace Async
{
namespace
{

class StartAction final : public Action
{
public:
    explicit StartAction(std::shared_ptr<OneStepJob> job) : Started(std::move(job)) {}

    std::shared_ptr<Job> Perform(ActionHandler& handler) override
    {
        Started->Start(handler);
        return Started;
    }

private:
    const std::shared_ptr<OneStepJob> Started;
};

} // namespace

std::unique_ptr<Action> OneStepJob::MakeStartAction(std::shared_ptr<OneStepJob> job)
{
    return std::make_unique<StartAction>(std::move(job));
}

void OneStepJob::Start(ActionHandler& handler)
{
    Handler = &handler;
    OnStart();
    Control.Run(GetAction(), *this, this);
}

void OneStepJob::Cancel()
{
    Control.Cancel();
}

void OneStepJob::Completed(const Common::Error& result)
{
    Common::Error out;
    OnCompleted(out, result);
    // The handler may release this job: nothing of it is touched afterwards.
    Handler->Completed(out);
}

void OneStepJob::OnCompleted(Common::Error& out, const Common::Error& result)
{
    if (result.GetCode() != 0)
    {
        out = result;
        return;
    }
    OnSucceeded(out);
}

void OneStepJob::OnSucceeded(Common::Error& out)
{
    out = Common::Success;
}

} // namespace Async
