// Por::ItemProcessor: the callback of every enumeration of the model. Process returns true to stop.
// The model never hands out iterators over its own storage (composite iterators excepted).
#pragma once

#include <type_traits>
#include <utility>

namespace Por
{

template <typename T>
class ItemProcessor
{
public:
    virtual ~ItemProcessor() = default;
    // True stops the enumeration.
    virtual bool Process(T& item) = 0;
};

// An ItemProcessor over a callable; a callable returning void never stops.
template <typename T, typename Function>
class FunctionProcessor final : public ItemProcessor<T>
{
public:
    explicit FunctionProcessor(Function function) : Call(std::move(function)) {}
    bool Process(T& item) override
    {
        if constexpr (std::is_void_v<decltype(Call(item))>)
        {
            Call(item);
            return false;
        }
        else
        {
            return Call(item);
        }
    }

private:
    Function Call;
};

// MakeProcessor<const View::Property>([&](const View::Property& property) { ... }).
template <typename T, typename Function>
FunctionProcessor<T, Function> MakeProcessor(Function function)
{
    return FunctionProcessor<T, Function>(std::move(function));
}

} // namespace Por
