// The conversions of Async::Future<T>: BaseConversionPolicy<T> keeps a T given now, FutureConversionPolicy<T>
// adds a callable that yields the T when it is asked for. A held T that can't be copied (a sole owner such
// as std::unique_ptr) is handed out once; asking again throws 0x00F90001. Not thread-safe for that case;
// otherwise as thread-safe as the T or the callable.
#pragma once

#include "common/Error.h"

#include <concepts>
#include <functional>
#include <type_traits>
#include <utility>
#include <variant>

namespace Async
{
namespace Detail
{

// 0x00F90001 "ASYNC: The operation result is invalid." at "Async::Future::Get": a sole-owner value was
// asked for a second time.
[[noreturn]] void ThrowFutureValueTaken();

} // namespace Detail

template <class T>
class BaseConversionPolicy
{
public:
    using ValueType = T;
    // What yields the value when it is needed.
    using Source = std::function<T()>;

    BaseConversionPolicy(T value) : Held(std::in_place_index<Value>, std::move(value)) {}

    // The value: a copy of the held T, the held sole owner itself (once), or what the source yields now.
    T Get() const requires std::copy_constructible<T>
    {
        if (const T* value = std::get_if<Value>(&Held))
        {
            return *value;
        }
        return std::get<Yield>(Held)();
    }
    T Get() requires(!std::copy_constructible<T>)
    {
        if (T* value = std::get_if<Value>(&Held))
        {
            T taken = std::move(*value);
            Held.template emplace<Taken>();
            return taken;
        }
        if (const Source* source = std::get_if<Yield>(&Held))
        {
            return (*source)();
        }
        Detail::ThrowFutureValueTaken();
    }

protected:
    explicit BaseConversionPolicy(Source source) : Held(std::in_place_index<Yield>, std::move(source)) {}

private:
    enum Alternative
    {
        Value,
        Yield,
        Taken
    };

    std::variant<T, Source, std::monostate> Held;
};

namespace Detail
{

// A callable that yields a T without being one: it is asked at each Get. A captureless lambda returning
// bool converts to bool through its function pointer, so this test comes before the one of conversion.
template <class F, class T>
concept FutureSource =
    !std::same_as<std::remove_cvref_t<F>, T> && std::is_invocable_r_v<T, std::remove_cvref_t<F>&>;

} // namespace Detail

template <class T>
class FutureConversionPolicy : public BaseConversionPolicy<T>
{
public:
    // From anything else that converts to a T, held as the value: a callable that is itself a T (as for
    // T = std::function<bool()>) is a value too.
    template <class U>
    requires(std::is_convertible_v<U, T> && !Detail::FutureSource<U, T> &&
             !std::is_base_of_v<FutureConversionPolicy, std::remove_cvref_t<U>>)
        FutureConversionPolicy(U&& value)
        : BaseConversionPolicy<T>(T(std::forward<U>(value)))
    {
    }

    // From a callable that yields a T, called at each Get, so that it reads what is there by then.
    template <Detail::FutureSource<T> F>
    FutureConversionPolicy(F source)
        : BaseConversionPolicy<T>(typename BaseConversionPolicy<T>::Source(std::move(source)))
    {
    }
};

} // namespace Async
