// Async::Detail::ConsolidatedData groups several objects into one, to be kept alive together (as the D
// of an adaptor or of a LifeCycleCompletion). It only holds them; Get<I>() reaches the I-th.
#pragma once

#include <cstddef>
#include <tuple>
#include <utility>

namespace Async::Detail
{

template <class... Ts>
class ConsolidatedData
{
public:
    explicit ConsolidatedData(Ts... objects) : Objects(std::move(objects)...) {}

    template <std::size_t I>
    auto& Get()
    {
        return std::get<I>(Objects);
    }
    template <std::size_t I>
    const auto& Get() const
    {
        return std::get<I>(Objects);
    }

private:
    std::tuple<Ts...> Objects;
};

template <class... Ts>
ConsolidatedData<Ts...> Consolidate(Ts... objects)
{
    return ConsolidatedData<Ts...>(std::move(objects)...);
}

} // namespace Async::Detail
