// Interface lookup by type name: an object lists the interfaces it implements, each under the type
// name of a pointer to it, so a caller can reach an interface without the object's own type (and
// without the interface's definition: a pointer type's name needs no complete class).
#pragma once

#include "common/NonCopyable.h"

#include <map>
#include <string>
#include <typeinfo>

namespace Common
{

// The name under which an interface is listed: the type name of a pointer to it.
template <typename Interface>
const char* InterfaceTypeName()
{
    return typeid(Interface*).name();
}

class DynamicCaster : NonCopyable
{
public:
    virtual ~DynamicCaster() = default;
    // The interface listed under `typeName`, or null.
    virtual void* Cast(const char* typeName) const = 0;
};

template <typename Interface>
Interface* DynamicCast(const DynamicCaster& caster)
{
    return static_cast<Interface*>(caster.Cast(InterfaceTypeName<Interface>()));
}

// A cast table. Registering is for construction time; lookups are then safe from any thread.
class DynamicCasterImpl : public virtual DynamicCaster
{
public:
    void* Cast(const char* typeName) const override;

protected:
    // A null name or pointer registers nothing.
    void Register(const char* typeName, void* pointer);

    template <typename Interface>
    void RegisterInterface(Interface* pointer)
    {
        Register(InterfaceTypeName<Interface>(), pointer);
    }

private:
    std::map<std::string, void*, std::less<>> Table;
};

} // namespace Common
