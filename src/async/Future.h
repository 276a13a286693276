// Async::Future<T>: a value read when it is needed, so that an action can be set up now with an argument
// that an earlier action fills in. It holds either a T or a callable yielding one (see
// FutureConversionPolicy); Get() gives the value. FutureOf(place) is the future of what a variable will
// hold when it is read.
#pragma once

#include "async/FutureConversionPolicy.h"

#include <concepts>
#include <utility>

namespace Async
{

template <class T>
class Future : public FutureConversionPolicy<T>
{
public:
    using FutureConversionPolicy<T>::FutureConversionPolicy;

    Future(const Future&) = default;
    Future(Future&&) = default;
    Future& operator=(const Future&) = default;
    Future& operator=(Future&&) = default;
    virtual ~Future() = default;
};

// What `place` holds at each Get, copied. `place` must outlive the future's last Get.
template <std::copy_constructible T>
Future<T> FutureOf(const T& place)
{
    return Future<T>([&place] { return place; });
}

// What `place` holds at each Get, moved out of it (a sole owner is handed on, leaving `place` empty).
template <class T>
requires(!std::copy_constructible<T>) Future<T> FutureOf(T& place)
{
    return Future<T>([&place] { return std::move(place); });
}

} // namespace Async
