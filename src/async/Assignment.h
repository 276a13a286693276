// Async::Detail::Assignment<Future<T>, T>: a function object that stores the value of a future into a T
// at a place it points to, read when it is called. MakeAssignment makes the synchronous action of it, so
// that a chain can move a value that an earlier action produced into the argument of a later one.
#pragma once

#include "async/Future.h"
#include "async/SilentSynchronousActionAdapter.h"

#include <memory>
#include <utility>

namespace Async
{
namespace Detail
{

template <class S, class T>
class Assignment;

template <class T>
class Assignment<Future<T>, T>
{
public:
    // `target` must outlive the calls.
    Assignment(Future<T> source, T& target) : Source(std::move(source)), Target(&target) {}

    void operator()() { *Target = Source.Get(); }

private:
    Future<T> Source;
    T* Target;
};

} // namespace Detail

// A synchronous action that assigns the value of `source` to `target` when it runs.
template <class T>
std::unique_ptr<Action> MakeAssignment(Future<T> source, T& target)
{
    return MakeSynchronousAction(Detail::Assignment<Future<T>, T>(std::move(source), target));
}

} // namespace Async
