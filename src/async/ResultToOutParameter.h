// Async::Detail::ResultToOutParameter<F, T, D>: a result processor that, after a successful action,
// assigns what F yields (F is a Future<T> or a callable giving a T, read then) to an output parameter;
// failures pass on untouched and assign nothing. D (the object that F reads from, for example) lives with
// it. WithResultToOutParameter attaches it to an action.
#pragma once

#include "async/ActionAdaptor.h"
#include "async/Future.h"
#include "async/ResultProcessingHandler.h"

#include <memory>
#include <utility>

namespace Async
{
namespace Detail
{

template <class F, class T, class D = NoData>
class ResultToOutParameter
{
public:
    // `target` must outlive the runs.
    ResultToOutParameter(F source, T& target, D data = D())
        : Source(std::move(source)), Target(&target), Data(std::move(data))
    {
    }

    void operator()(Common::Error& out, const Common::Error& result)
    {
        if (result.GetCode() == 0)
        {
            if constexpr (requires { Source.Get(); })
            {
                *Target = Source.Get();
            }
            else
            {
                *Target = Source();
            }
        }
        out = result;
    }

private:
    F Source;
    T* Target;
    [[no_unique_address]] D Data;
};

} // namespace Detail

// `action`, then on its success `target` = what `source` yields.
template <class F, class T>
std::unique_ptr<Action> WithResultToOutParameter(std::shared_ptr<Action> action, F source, T& target)
{
    return WithHandlerProcessing(std::move(action),
                                 Detail::ResultToOutParameter<F, T>(std::move(source), target));
}

} // namespace Async
