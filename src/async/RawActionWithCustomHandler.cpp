#include "async/RawActionWithCustomHandler.h"

#include "common/SafeAssert.h"

#include <atomic>
#include <utility>

namespace Async::Detail
{

// Owns the made handler for one run: it keeps itself alive until the run completes, and the Perform that
// threw without completing lets it go instead. Whichever comes first claims it.
class RawActionWithCustomHandler::Holder final : public ActionHandler
{
public:
    explicit Holder(std::unique_ptr<ActionHandler> made) : Made(std::move(made)) {}

    void Start(std::shared_ptr<Holder> self) { Self = std::move(self); }

    void Completed(const Common::Error& result) override
    {
        if (Claimed.exchange(true, std::memory_order_acq_rel))
        {
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Completed() called.");
            return;
        }
        // Freed, with the made handler, once that handler has returned.
        const std::shared_ptr<Holder> self = std::move(Self);
        Made->Completed(result);
    }

    void Abandon()
    {
        if (!Claimed.exchange(true, std::memory_order_acq_rel))
        {
            Self.reset();
        }
    }

private:
    std::unique_ptr<ActionHandler> Made;
    std::shared_ptr<Holder> Self;
    std::atomic<bool> Claimed{false};
};

RawActionWithCustomHandler::RawActionWithCustomHandler(std::shared_ptr<Action> inner, HandlerFactory factory)
    : Inner(std::move(inner)), Factory(std::move(factory))
{
}

std::shared_ptr<Job> RawActionWithCustomHandler::Perform(ActionHandler& handler)
{
    std::unique_ptr<ActionHandler> made = Factory ? Factory(handler) : nullptr;
    if (made == nullptr)
    {
        return Inner->Perform(handler);
    }
    // The local reference keeps the holder alive through Perform, even when the run completes inside it.
    auto holder = std::make_shared<Holder>(std::move(made));
    holder->Start(holder);
    try
    {
        return Inner->Perform(*holder);
    }
    catch (...)
    {
        holder->Abandon();
        throw;
    }
}

} // namespace Async::Detail
