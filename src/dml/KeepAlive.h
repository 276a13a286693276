// Dml::Detail::PerformKeepingAlive: starts a store call with a handler that owns `data` until the call
// has completed, so a reader or unit handed to the store by reference outlives every use the store
// makes of it, whichever thread completes and whether or not the call returned a job.
#pragma once

#include "async/Action.h"

#include <memory>
#include <utility>

namespace Dml::Detail
{

class KeepAliveHandler final : public Async::ActionHandler
{
public:
    KeepAliveHandler(std::shared_ptr<const void> data, Async::ActionHandler& next)
        : Data(std::move(data)), Next(next)
    {
    }

    // Passes the result on, then frees this handler and, after it, the data.
    void Completed(const Common::Error& result) override;

private:
    std::shared_ptr<const void> Data;
    Async::ActionHandler& Next;
};

// `start(keepAliveHandler)` must complete that handler exactly once unless it throws.
template <class Start>
std::shared_ptr<Async::Job> PerformKeepingAlive(std::shared_ptr<const void> data,
                                                Async::ActionHandler& handler, Start&& start)
{
    auto keeper = std::make_unique<KeepAliveHandler>(std::move(data), handler);
    std::shared_ptr<Async::Job> job = std::forward<Start>(start)(*keeper);
    keeper.release(); // owned by the call from here: it frees itself when completed
    return job;
}

} // namespace Dml::Detail
