// Async::Detail::RawActionWithCustomHandler performs an inner action with a handler of its own making:
// Perform asks the factory for a handler around the given one and performs the inner action with it. The
// made handler lives until it has been completed (or until the inner Perform threw), so the adaptor
// itself needs to outlive Perform only. Reusable; each Perform makes a new handler.
#pragma once

#include "async/Action.h"

#include <functional>
#include <memory>

namespace Async::Detail
{

class RawActionWithCustomHandler final : public Action
{
public:
    // Makes the handler that passes its result on to `next`; null performs with `next` itself.
    using HandlerFactory = std::function<std::unique_ptr<ActionHandler>(ActionHandler& next)>;

    RawActionWithCustomHandler(std::shared_ptr<Action> inner, HandlerFactory factory);

    // Throws what the factory or the inner Perform throws.
    std::shared_ptr<Job> Perform(ActionHandler& handler) override;

private:
    class Holder;

    std::shared_ptr<Action> Inner;
    HandlerFactory Factory;
};

} // namespace Async::Detail
