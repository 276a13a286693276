// Util::ConstDataAccessor and Util::DataAccessor: cursors into a unit tree made of a borrowed root and a
// path. Indexing makes a longer path and nothing is resolved until use, so a cursor may name a node that
// is not there; reading one throws 0xfa0020 (View face) or 0xfa0016 (Construction face). The root must
// outlive the cursor.
#pragma once

#include "common/WideString.h"
#include "por/Forward.h"
#include "por/UnitAccess.h"

#include <cstddef>
#include <string_view>

namespace Por::Util
{

class ConstDataAccessor
{
public:
    // Without a root: never valid.
    ConstDataAccessor() = default;
    explicit ConstDataAccessor(const View::Unit* root, Common::WideString path = {});

    // A property (the name is escaped into the path), an array element, a trait.
    ConstDataAccessor operator[](std::string_view name) const;
    ConstDataAccessor operator[](std::size_t index) const;
    ConstDataAccessor Trait(std::string_view name) const;

    const View::Unit* GetRoot() const { return Root; }
    const Common::WideString& GetPath() const { return Path; }

    // The node at the path; null without a root or when a step is missing (also a missing trait or an
    // index past the end). A malformed path or an ambiguous trait throws.
    const View::Unit* Find() const;
    bool IsValid() const { return Find() != nullptr; }
    // Throws 0xfa0020 "POR: Element '{0}' cannot be found." with the path; with a root present it
    // first traces the path and the printed tree.
    void EnsureUnitIsValid() const;
    const View::Unit& Get() const;
    // The value of exactly the kind of T (0xfa000a on another kind).
    template <typename T>
    T As() const
    {
        return GetValue<T>(Get());
    }

    // Equal when both are invalid, or both valid with UnitEqual nodes.
    friend bool operator==(const ConstDataAccessor& left, const ConstDataAccessor& right);

private:
    const View::Unit* Root = nullptr;
    Common::WideString Path;
};

class DataAccessor
{
public:
    DataAccessor() = default;
    explicit DataAccessor(Construction::Unit* root, Common::WideString path = {});

    DataAccessor operator[](std::string_view name) const;
    DataAccessor operator[](std::size_t index) const;
    DataAccessor Trait(std::string_view name) const;

    Construction::Unit* GetRoot() const { return Root; }
    const Common::WideString& GetPath() const { return Path; }

    // As ConstDataAccessor::Find, on the Construction face.
    Construction::Unit* Find() const;
    bool IsValid() const { return Find() != nullptr; }
    // Throws 0xfa0016 "POR: The array element cannot be found."
    void EnsureUnitIsValid() const;
    Construction::Unit& Get() const;
    template <typename T>
    T As() const
    {
        return GetValue<T>(Get());
    }

    operator ConstDataAccessor() const { return ConstDataAccessor(Root, Path); }

    friend bool operator==(const DataAccessor& left, const DataAccessor& right)
    {
        return ConstDataAccessor(left) == ConstDataAccessor(right);
    }

private:
    Construction::Unit* Root = nullptr;
    Common::WideString Path;
};

} // namespace Por::Util
