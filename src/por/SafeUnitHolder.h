// View::SafeUnitHolder: a shared owner of a finished, immutable unit that may be empty. Reading through
// an empty holder throws 0xfa001f (an error without text), so callers need no null checks of their own.
#pragma once

#include "por/Forward.h"

#include <utility>

namespace Por::View
{

class SafeUnitHolder
{
public:
    SafeUnitHolder() = default;
    explicit SafeUnitHolder(ConstUnitPtr unit) : Held(std::move(unit)) {}

    bool IsEmpty() const { return Held == nullptr; }
    explicit operator bool() const { return Held != nullptr; }

    // Throws 0xfa001f when empty.
    void Validate() const;
    // The unit; throws 0xfa001f when empty.
    const Unit& Get() const;
    const Unit& operator*() const { return Get(); }
    const Unit* operator->() const { return &Get(); }
    // The owning pointer, null when empty.
    const ConstUnitPtr& GetPointer() const { return Held; }

    void Reset(ConstUnitPtr unit = nullptr) { Held = std::move(unit); }

private:
    ConstUnitPtr Held;
};

} // namespace Por::View
