// Actions made from callables: an adaptor is an action whose Perform calls a function object
// std::shared_ptr<Job>(ActionHandler&), the usual way to hand a lambda or a method on as an action. The
// adaptor also keeps a data object alive for as long as it lives. Like any action it needs to outlive
// its Perform only; it is reusable when its function is.
#pragma once

#include "async/Action.h"
#include "async/Job.h"

#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>

namespace Async
{

// The data of an adaptor that needs none.
struct EmptyData
{
};

// A function object that can be an action's Perform.
template <class F>
concept ActionFunction = std::is_invocable_r_v<std::shared_ptr<Job>, F&, ActionHandler&>;

namespace Detail
{

using NoData = EmptyData;

// Perform calls Function(handler); Data is only kept.
template <class F, class D>
class BaseActionAdaptor : public Action
{
public:
    std::shared_ptr<Job> Perform(ActionHandler& handler) override { return Function(handler); }

protected:
    BaseActionAdaptor(F function, D data) : Function(std::move(function)), Data(std::move(data)) {}

    F Function;
    [[no_unique_address]] D Data;
};

// The class of a method std::shared_ptr<Job> (T::*)(ActionHandler&), const or not.
template <class F>
struct MethodObject;
template <class T>
struct MethodObject<std::shared_ptr<Job> (T::*)(ActionHandler&)>
{
    using Type = T;
};
template <class T>
struct MethodObject<std::shared_ptr<Job> (T::*)(ActionHandler&) const>
{
    using Type = const T;
};

// A method with the object it is called on.
template <class F>
class BoundMethod
{
public:
    using Object = typename MethodObject<F>::Type;

    BoundMethod(Object& object, F method) : Target(&object), Called(method) {}

    std::shared_ptr<Job> operator()(ActionHandler& handler) const { return (Target->*Called)(handler); }

private:
    Object* Target;
    F Called;
};

} // namespace Detail

// Owns a copy of the function, and the data.
template <ActionFunction F, class D = EmptyData>
class ActionAdaptor final : public Detail::BaseActionAdaptor<F, D>
{
public:
    explicit ActionAdaptor(F function, D data = D())
        : Detail::BaseActionAdaptor<F, D>(std::move(function), std::move(data))
    {
    }
};

// A method F of an object, which must outlive Perform; no data.
template <class F>
class ActionRefAdaptor final : public Detail::BaseActionAdaptor<Detail::BoundMethod<F>, Detail::NoData>
{
public:
    using Object = typename Detail::BoundMethod<F>::Object;

    ActionRefAdaptor(Object& object, F method)
        : Detail::BaseActionAdaptor<Detail::BoundMethod<F>, Detail::NoData>({object, method}, {})
    {
    }
};

template <ActionFunction F>
std::unique_ptr<Action> MakeAction(F function)
{
    return std::make_unique<ActionAdaptor<F>>(std::move(function));
}

// `data` lives as long as the action.
template <ActionFunction F, class D>
std::unique_ptr<Action> MakeAction(F function, D data)
{
    return std::make_unique<ActionAdaptor<F, D>>(std::move(function), std::move(data));
}

// `method` of `object` as an action: MakeMethodAction(job, &Job::Wait).
template <class T, class F>
requires std::same_as<typename Detail::MethodObject<F>::Type, T> ||
    std::same_as < typename Detail::MethodObject<F>::Type,
const T > std::unique_ptr<Action> MakeMethodAction(T& object, F method)
{
    return std::make_unique<ActionRefAdaptor<F>>(object, method);
}

} // namespace Async
