// Async::Detail::ResultProcessingHandler<F>: a delegating handler whose ProcessResult is a function object,
// either void(Common::Error& out, const Common::Error& result) or Common::Error(const Common::Error&
// result). WithHandlerProcessing(action, function) is the action that runs `action` with such a handler in
// front of the one it is given, so that the function sees (and may change or throw over) every result.
#pragma once

#include "async/DelegatingActionHandler.h"
#include "async/RawActionWithCustomHandler.h"

#include <memory>
#include <type_traits>
#include <utility>

namespace Async
{
namespace Detail
{

template <class F>
concept ResultProcessor = std::is_invocable_v<F&, Common::Error&, const Common::Error&> ||
    std::is_invocable_r_v<Common::Error, F&, const Common::Error&>;

template <ResultProcessor F>
class ResultProcessingHandler final : public DelegatingActionHandler
{
public:
    ResultProcessingHandler(F function, ActionHandler* next = nullptr)
        : DelegatingActionHandler(next), Function(std::move(function))
    {
    }

protected:
    void ProcessResult(Common::Error& out, const Common::Error& result) override
    {
        if constexpr (std::is_invocable_v<F&, Common::Error&, const Common::Error&>)
        {
            Function(out, result);
        }
        else
        {
            out = Function(result);
        }
    }

private:
    F Function;
};

} // namespace Detail

// `action` with `function` applied to its result; `function` is copied for each run.
template <Detail::ResultProcessor F>
std::unique_ptr<Action> WithHandlerProcessing(std::shared_ptr<Action> action, F function)
{
    return std::make_unique<Detail::RawActionWithCustomHandler>(
        std::move(action),
        [function = std::move(function)](ActionHandler& next) -> std::unique_ptr<ActionHandler>
        { return std::make_unique<Detail::ResultProcessingHandler<F>>(function, &next); });
}

} // namespace Async
