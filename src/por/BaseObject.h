// Por::BaseObject: a typed plain object over a branch of a unit tree. Derived classes keep no data of
// their own: each property is a getter and setter pair over the branch's composite. A property without a
// value stays present with its default value and the trait "Nil", so the object's shape is fixed.
// Uninitialised objects throw 0xfa0001 from every accessor. Copies share the tree; one thread at a time.
#pragma once

#include "por/ErrorHandler.h"
#include "por/Forward.h"
#include "por/PlainObject.h"
#include "por/PorUnit.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "por/serialize/CategoryHolder.h"

#include <string_view>

namespace Por
{

// Makes the value of a property that is absent.
using DefaultValueFunction = UnitPtr (*)(std::string_view name, const Construction::UnitFactory& factory);

// Marks a property that has no value.
inline constexpr std::string_view NilTraitName = "Nil";

// A CategoryHolder, so that a derived class can name itself for polymorphic serialisation.
class BaseObject : public PlainObject, public ::Serialization::CategoryHolder
{
public:
    // Uninitialised.
    BaseObject();
    // Bound to `root`, which is also the branch. A null handler means ThrowingErrorHandler.
    explicit BaseObject(UnitPtr root, const Construction::UnitFactory& factory = GetUnitFactory(),
                        ErrorHandler* handler = nullptr, DefaultValueFunction defaultValue = nullptr);
    // A sub-object: the parent's root, factory, handler and default function, with `branch`, a unit
    // inside that root, as its own.
    BaseObject(const BaseObject& parent, Construction::Unit& branch);
    BaseObject(const BaseObject&) = default;
    BaseObject& operator=(const BaseObject&) = default;

    // A deep copy of the branch.
    UnitPtr Copy(const Construction::UnitFactory& factory) const override;
    // What the stored function makes; without one 0xfa0001 "POR: An internal error has occurred."
    virtual UnitPtr DefaultValue(std::string_view name) const;

    bool IsInitialized() const { return RootUnit != nullptr; }
    // Each throws 0xfa0001 "POR: There was an attempt to access an uninitialized object." when empty.
    const UnitPtr& Root() const;
    Construction::Unit& Branch() const;
    const Construction::UnitFactory& Factory() const;
    ErrorHandler& Handler() const;

    // The property exists and is not marked "Nil".
    bool IsSet(std::string_view name) const;
    // Removes the "Nil" mark of a present property.
    void ClearNil(std::string_view name);
    template <UnitValue T>
    UnitPtr MakeUnit(const T& value) const
    {
        return Factory().Create(value);
    }
    // A deep copy of the branch without the nodes marked "Nil", at any depth.
    UnitPtr ToUnit() const;
    // ToUnit turned into a pattern that matches objects with these values (query by example).
    ConstUnitPtr ToPattern() const;
    // Applies a packed diff to the branch in place, with Util::ApplyDiff and this object's factory; the
    // branch is untouched when it fails.
    void Merge(const View::Unit& diff);

protected:
    // The property's value of exactly the kind of T. A missing property goes to the handler's
    // PropertyNotFound, a value of another kind to PropertyProcessingError. When the handler returns,
    // a missing property reads as the default value (T{} without a default function), a mismatch as T{}.
    template <UnitValue T>
    T Get(std::string_view name) const
    {
        const View::Unit* value = Util::FindPropertyValue(static_cast<const View::Unit&>(Branch()), name);
        if (value == nullptr)
        {
            Handler().PropertyNotFound(name);
            return DefaultFunction != nullptr ? Util::GetValueOr<T>(*DefaultValue(name), T{}) : T{};
        }
        T result{};
        const Common::Error error = Util::TryGetValue<T>(*value, result);
        if (error.GetCode() != 0)
        {
            Handler().PropertyProcessingError(name, error);
        }
        return result;
    }
    // Sets the property to a new unit of the value, which counts as set.
    template <UnitValue T>
    void Set(std::string_view name, const T& value)
    {
        SetUnit(name, MakeUnit(value));
    }
    void Set(std::string_view name, const char16_t* text) { Set(name, String(text)); }
    // Sets the property to `value` (taken over) in one step and clears "Nil" on it and on every unit
    // from the root down to this branch, so a sub-object of a Nil parent shows in ToUnit.
    void SetUnit(std::string_view name, UnitPtr value);
    // Sets the property to `value` marked "Nil": present, but without a value; DefaultValue(name) when
    // no value is given.
    void SetNil(std::string_view name, UnitPtr value);
    void SetNil(std::string_view name) { SetNil(name, DefaultValue(name)); }
    // The property's value on the Construction face; a missing one goes to PropertyNotFound, and null
    // comes back when the handler returns.
    Construction::Unit* GetPropertyUnit(std::string_view name) const;
    // The sub-object of class `Object` over the property's composite; uninitialised when the property
    // is missing and the handler returns.
    template <typename Object>
    Object GetObject(std::string_view name) const
    {
        Construction::Unit* unit = GetPropertyUnit(name);
        return unit != nullptr ? Object(*this, *unit) : Object();
    }

private:
    void ClearNilFromRootToBranch();

    UnitPtr RootUnit;
    Construction::Unit* BranchUnit = nullptr;
    const Construction::UnitFactory* UnitFactory = nullptr;
    ErrorHandler* ErrorHandlerPointer = nullptr;
    DefaultValueFunction DefaultFunction = nullptr;
};

} // namespace Por
