// Dml::Details::null_deleter: the deleter of a shared pointer that owns nothing. A caller's reference to a
// reader becomes a shared pointer with it, so that all readers travel alike; the caller must keep the
// reader alive for as long as the feed or read that uses it runs.
#pragma once

#include <memory>

namespace Dml::Details
{

struct null_deleter
{
    template <class T>
    void operator()(T*) const noexcept
    {
    }
};

// A shared pointer to `object` that keeps nothing alive.
template <class T>
std::shared_ptr<T> Unowned(T& object)
{
    return std::shared_ptr<T>(&object, null_deleter());
}

} // namespace Dml::Details
