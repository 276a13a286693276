// UpdateBuilder: writes a diff by hand, one change at a time, for partial updates that no comparison
// made: counters declared and changed by state operations, properties added or removed, elements added
// to the front of or removed from arrays, without copying the rest of the object. Paths name properties
// (".a.b", Path.h); levels on the way become plain composites of the diff, which merge into the target's
// composites. One thread at a time.
#pragma once

#include "common/WideString.h"
#include "por/Forward.h"
#include "por/StateArithmetic.h"
#include "por/UnitFactory.h"

#include <type_traits>

namespace Por
{

class UpdateBuilder
{
public:
    explicit UpdateBuilder(const Construction::UnitFactory& factory = GetUnitFactory());

    // Every operation copies the given units, sets them at `path` (replacing what an earlier call put
    // there), and throws 0xfa0001 for a malformed path or one that runs through a non-composite.

    // The value at `path` becomes `unit` (marked "StateDeclaration"), whether the property exists or not.
    UpdateBuilder& Declare(Common::WideStringView path, const View::Unit& unit);
    // The value at `path` becomes the target's value op `operand`, computed at merge time (see
    // StateArithmetic.h); a missing property is set to the operand. The node carries exactly the one
    // operation trait: a declaration beside it would take precedence and overwrite.
    UpdateBuilder& Apply(Util::StateOperation operation, Common::WideStringView path,
                         const View::Unit& operand);
    UpdateBuilder& Increment(Common::WideStringView path, const View::Unit& operand);
    UpdateBuilder& Decrement(Common::WideStringView path, const View::Unit& operand);
    UpdateBuilder& BitwiseAnd(Common::WideStringView path, const View::Unit& operand);
    UpdateBuilder& BitwiseOr(Common::WideStringView path, const View::Unit& operand);
    // The same with an operand of the kind of T ("byte" for std::uint8_t, ..., "double").
    template <typename T>
    requires std::is_arithmetic_v<T> UpdateBuilder& Increment(Common::WideStringView path, T operand)
    {
        return Apply(Util::StateOperation::Increment, path, *Units.Create(operand));
    }
    template <typename T>
    requires std::is_arithmetic_v<T> UpdateBuilder& Decrement(Common::WideStringView path, T operand)
    {
        return Apply(Util::StateOperation::Decrement, path, *Units.Create(operand));
    }
    template <typename T>
    requires std::is_integral_v<T> UpdateBuilder& BitwiseAnd(Common::WideStringView path, T operand)
    {
        return Apply(Util::StateOperation::BitwiseAnd, path, *Units.Create(operand));
    }
    template <typename T>
    requires std::is_integral_v<T> UpdateBuilder& BitwiseOr(Common::WideStringView path, T operand)
    {
        return Apply(Util::StateOperation::BitwiseOr, path, *Units.Create(operand));
    }

    // The property at `path` is set to `unit` (marked "Added"): added, or replaced when it exists.
    UpdateBuilder& Add(Common::WideStringView path, const View::Unit& unit);
    // The property at `path` is removed (nil marked "Removed"); a missing one is no failure.
    UpdateBuilder& Remove(Common::WideStringView path);

    // Arrays take elements only in front: the merge puts added elements before the target's. Both calls
    // make the value at `arrayPath` an array diff, or add to the one an earlier call made; the array
    // must exist in the target (an array diff for a missing property adds nothing).
    // `element` goes before the target's elements and before those of earlier AddFront calls.
    UpdateBuilder& AddFront(Common::WideStringView arrayPath, const View::Unit& element);
    // Every element of the target equal to `element` by value (its traits aside) is removed.
    UpdateBuilder& RemoveElement(Common::WideStringView arrayPath, const View::Unit& element);

    // The diff, marked "PackedDiff"; the empty diff when nothing was asked. The builder starts afresh.
    UnitPtr Result();

private:
    void Put(Common::WideStringView path, const View::Unit& unit);
    Construction::ArrayValue& ArrayDiffAt(Common::WideStringView path);

    const Construction::UnitFactory& Units;
    UnitPtr Root;
    bool Changed = false;
};

} // namespace Por
