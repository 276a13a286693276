// Serialization::ContainerIterator walks the items of a container being read: Next steps to the next
// item, which the reader then reads under any name ("item" by convention). ValueIterator<T> is the one
// implementation, over a vector of values: the units of an array for a reader, or objects over them.
#pragma once

#include "common/NonCopyable.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Serialization
{

class ContainerIterator : Common::NonCopyable
{
public:
    virtual ~ContainerIterator() = default;
    virtual bool HasNext() const = 0;
    // Steps to the next item; out of contract when HasNext is false.
    virtual void Next() = 0;
    virtual std::size_t Size() const = 0;
};

template <typename T>
class ValueIterator final : public ContainerIterator
{
public:
    ValueIterator() = default;
    explicit ValueIterator(std::vector<T> values) : Values(std::move(values)) {}
    ValueIterator(ValueIterator&& other) noexcept
        : Values(std::move(other.Values)), Position(std::exchange(other.Position, 0))
    {
    }

    bool HasNext() const override { return Position < Values.size(); }
    // One step past the last item leaves no current item.
    void Next() override { Position += Position <= Values.size() ? 1 : 0; }
    std::size_t Size() const override { return Values.size(); }

    // The item Next stepped to; null before the first Next and past the end.
    const T* Current() const
    {
        return Position == 0 || Position > Values.size() ? nullptr : &Values[Position - 1];
    }
    // The index of the item Next stepped to (0 before the first Next).
    std::size_t Index() const { return Position == 0 ? 0 : Position - 1; }
    const std::vector<T>& GetValues() const { return Values; }

private:
    std::vector<T> Values;
    std::size_t Position = 0;
};

} // namespace Serialization
