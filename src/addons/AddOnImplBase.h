// Core::AddOnImplBase: the base of an add-on that offers one interface. On construction the add-on
// enters itself, cast to `Interface`, in its cast table under the type name of `Interface *`, which is
// the only name it answers to; the base keeps the add-on's name and version.
#pragma once

#include "addons/AddonImpl.h"

#include <cstdint>
#include <string>
#include <utility>

namespace Core
{
namespace Detail
{

// The mixin of an add-on that needs none.
struct EmptyBase
{
};

template <typename Interface, typename Base>
struct MakeAddOnImplBase
{
    class Type : public AddonImpl, public Interface, public Base
    {
    protected:
        Type() { RegisterInterface<Interface>(dynamic_cast<Interface*>(this)); }
    };
};

} // namespace Detail

template <typename Interface, typename Base = Detail::EmptyBase>
class AddOnImplBase : public Detail::MakeAddOnImplBase<Interface, Base>::Type
{
public:
    std::string GetName() const override { return Name; }
    std::uint32_t GetVersion() const override { return Version; }

protected:
    AddOnImplBase(std::string name, std::uint32_t version) : Name(std::move(name)), Version(version) {}

private:
    const std::string Name;
    const std::uint32_t Version;
};

} // namespace Core
