// State arithmetic: the operations a diff can carry in place of a value (add this number, set these
// bits), run on the value the target holds when the diff is merged. Only two values of one kind take
// part, with no widening: integers (byte to sqword) take all four operations and wrap around on
// overflow; double takes increment and decrement; every other pair throws 0xfa000c
// "POR: Failed to merge object update.". Plain functions, no locks.
#pragma once

#include "por/Forward.h"
#include "por/ValueKind.h"

#include <string_view>

namespace Por::Util
{

enum class StateOperation
{
    Increment,
    Decrement,
    BitwiseAnd,
    BitwiseOr,
};

// The trait that carries the operation in a diff: "IncrementState", "DecrementState",
// "BitwiseAndState", "BitwiseOrState"; its value is the operand.
std::string_view GetStateTraitName(StateOperation operation);

// Whether a value of `kind` takes part in the operation at all.
bool IsStateOperationAllowed(StateOperation operation, ValueKind kind);

// target = target op operand, in place, on the kind's own width. A pair of different kinds, or a kind
// the operation does not take, throws 0xfa000c and leaves the target as it was.
void ApplyStateOperation(StateOperation operation, Modification::Unit& target, const View::Unit& operand);
void Increment(Modification::Unit& target, const View::Unit& operand);
void Decrement(Modification::Unit& target, const View::Unit& operand);
void BitwiseAnd(Modification::Unit& target, const View::Unit& operand);
void BitwiseOr(Modification::Unit& target, const View::Unit& operand);

} // namespace Por::Util
