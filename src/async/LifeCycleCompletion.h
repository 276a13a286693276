// Async::Detail::LifeCycleCompletion<T, D>: the deleter of a std::shared_ptr<T> that carries D (a
// sequence, a ConsolidatedData of several objects...), so that what a job or sequence needs lives exactly
// as long as the last strong reference to it. When that reference goes, the object is deleted first (its
// destructor may still use the data), then the data is released, even while weak references remain.
#pragma once

#include <memory>
#include <optional>
#include <utility>

namespace Async::Detail
{

template <class T, class D>
class LifeCycleCompletion
{
public:
    explicit LifeCycleCompletion(D data) : Data(std::in_place, std::move(data)) {}

    void operator()(T* object)
    {
        delete object;
        Data.reset();
    }

    // The data while the object lives; null after it was deleted.
    D* GetData() { return Data ? &*Data : nullptr; }

private:
    std::optional<D> Data;
};

// `object` owned by a shared pointer that keeps `data` until it is deleted.
template <class T, class D>
std::shared_ptr<T> MakeLifeCycleShared(std::unique_ptr<T> object, D data)
{
    // Should the count block fail to come, shared_ptr hands the object to the deleter.
    return std::shared_ptr<T>(object.release(), LifeCycleCompletion<T, D>(std::move(data)));
}

} // namespace Async::Detail
