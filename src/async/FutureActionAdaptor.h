// Async::Detail::FutureActionAdaptor<Future<A>>: an action chosen when it runs. Perform evaluates the
// future and performs the action it yields with the given handler; A is a std::unique_ptr or a
// std::shared_ptr of an action, which needs to live only through that Perform. A null action throws
// 0x00F90001 at "Async::Detail::FutureActionAdaptor::Perform", completing nothing.
#pragma once

#include "async/Action.h"
#include "async/Future.h"

#include <memory>
#include <utility>

namespace Async
{
namespace Detail
{

[[noreturn]] void ThrowNullFutureAction();

template <class F>
class FutureActionAdaptor;

template <class A>
class FutureActionAdaptor<Future<A>> final : public Action
{
public:
    explicit FutureActionAdaptor(Future<A> source) : Source(std::move(source)) {}

    std::shared_ptr<Job> Perform(ActionHandler& handler) override
    {
        const A action = Source.Get();
        if (action == nullptr)
        {
            ThrowNullFutureAction();
        }
        return action->Perform(handler);
    }

private:
    Future<A> Source;
};

} // namespace Detail

template <class A>
std::unique_ptr<Action> MakeFutureAction(Future<A> source)
{
    return std::make_unique<Detail::FutureActionAdaptor<Future<A>>>(std::move(source));
}

} // namespace Async
