// Async::Detail::SilentSynchronousActionAdapter<F, D>: a synchronous action whose Execute calls F and
// succeeds (or gives F's Common::Error, for an F that returns one); whatever F throws is described by
// SynchronousAction::Perform. D is kept alive with the action. MakeSynchronousAction makes one.
#pragma once

#include "async/ActionAdaptor.h"
#include "async/SynchronousAction.h"

#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>

namespace Async
{
namespace Detail
{

template <class F, class D = NoData>
requires std::invocable<F&>
class SilentSynchronousActionAdapter final : public SynchronousAction
{
public:
    explicit SilentSynchronousActionAdapter(F function, D data = D())
        : Function(std::move(function)), Data(std::move(data))
    {
    }

protected:
    Common::Error Execute() override
    {
        if constexpr (std::is_convertible_v<std::invoke_result_t<F&>, Common::Error>)
        {
            return Function();
        }
        else
        {
            Function();
            return Common::Success;
        }
    }

private:
    F Function;
    [[no_unique_address]] D Data;
};

} // namespace Detail

template <std::invocable F>
std::unique_ptr<Action> MakeSynchronousAction(F function)
{
    return std::make_unique<Detail::SilentSynchronousActionAdapter<F>>(std::move(function));
}

// `data` lives as long as the action.
template <std::invocable F, class D>
std::unique_ptr<Action> MakeSynchronousAction(F function, D data)
{
    return std::make_unique<Detail::SilentSynchronousActionAdapter<F, D>>(std::move(function),
                                                                          std::move(data));
}

} // namespace Async
