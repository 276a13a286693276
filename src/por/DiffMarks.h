// The trait names that make a unit a diff and tell the merge what to do at each node. All are nil marks
// except the state operations, whose trait value is the operand, and the trait diffs, whose value is a
// "FullDiff" composite of "PreviousValue" and "NewValue". Users' own traits must not take these names.
#pragma once

#include <string_view>

namespace Por::DiffMarks
{

// On the root: the unit is a diff; the root of a diff with nothing in it is nil and also "EmptyDiff".
inline constexpr std::string_view PackedDiff = "PackedDiff";
inline constexpr std::string_view EmptyDiff = "EmptyDiff";
// The node replaces the target's value whole; with "FixedTraitedFullCopy" its traits replace the
// target's too, otherwise the target keeps its traits.
inline constexpr std::string_view FullElementCopy = "FullElementCopy";
inline constexpr std::string_view FixedTraitedFullCopy = "FixedTraitedFullCopy";
// The target's value stays; only the node's trait diffs apply.
inline constexpr std::string_view TraitsOnlyDiff = "TraitsOnlyDiff";
// On property values and array elements (and plain trait diffs).
inline constexpr std::string_view Added = "Added";
inline constexpr std::string_view Removed = "Removed";
inline constexpr std::string_view AddOrUpdate = "AddOrUpdate";
// A trait diff: its value is a composite with these two properties.
inline constexpr std::string_view FullDiff = "FullDiff";
inline constexpr std::string_view PreviousValue = "PreviousValue";
inline constexpr std::string_view NewValue = "NewValue";

// State operations on property values: a declaration (nil mark) or an operation with its operand.
inline constexpr std::string_view StateDeclaration = "StateDeclaration";
inline constexpr std::string_view IncrementState = "IncrementState";
inline constexpr std::string_view DecrementState = "DecrementState";
inline constexpr std::string_view BitwiseAndState = "BitwiseAndState";
inline constexpr std::string_view BitwiseOrState = "BitwiseOrState";

} // namespace Por::DiffMarks
