// Dml::Details::DualActionHandler tells two handlers of one completion, the first before the second, each
// with its own copy of the result (the first may end what the second's result refers to). Both are
// borrowed until the completion.
#pragma once

#include "async/Action.h"

namespace Dml::Details
{

class DualActionHandler final : public Async::ActionHandler
{
public:
    DualActionHandler(Async::ActionHandler& first, Async::ActionHandler& second)
        : First(first), Second(second)
    {
    }

    void Completed(const Common::Error& result) override;

private:
    Async::ActionHandler& First;
    Async::ActionHandler& Second;
};

} // namespace Dml::Details
