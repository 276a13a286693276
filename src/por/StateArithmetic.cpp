#include "por/StateArithmetic.h"

#include "common/CatalogIds.h"
#include "por/DiffMarks.h"
#include "por/Errors.h"
#include "por/Visitor.h"

#include <cstdint>
#include <type_traits>

namespace Por::Util
{
namespace
{

// Integers run on their unsigned counterpart, where wrap-around is defined, and convert back (modular
// since C++20); a double uses IEEE addition and subtraction.
template <typename T>
T Calculate(StateOperation operation, T left, T right)
{
    if constexpr (std::is_integral_v<T>)
    {
        using Unsigned = std::make_unsigned_t<T>;
        const Unsigned a = static_cast<Unsigned>(left);
        const Unsigned b = static_cast<Unsigned>(right);
        switch (operation)
        {
        case StateOperation::Increment:
            return static_cast<T>(static_cast<Unsigned>(a + b));
        case StateOperation::Decrement:
            return static_cast<T>(static_cast<Unsigned>(a - b));
        case StateOperation::BitwiseAnd:
            return static_cast<T>(static_cast<Unsigned>(a & b));
        case StateOperation::BitwiseOr:
            return static_cast<T>(static_cast<Unsigned>(a | b));
        }
        return left;
    }
    else
    {
        return operation == StateOperation::Increment ? left + right : left - right;
    }
}

template <typename T>
void Run(StateOperation operation, Modification::Unit& target, const ResolvedValue& operand)
{
    const T right = operand.As<View::ScalarValue<T>>().Get();
    Write(target,
          [&](auto& value)
          {
              using Interface = std::remove_reference_t<decltype(value)>;
              if constexpr (std::is_base_of_v<Modification::ScalarValue<T>, Interface>)
              {
                  value.Set(Calculate<T>(operation, value.Get(), right));
              }
          });
}

} // namespace

std::string_view GetStateTraitName(StateOperation operation)
{
    switch (operation)
    {
    case StateOperation::Increment:
        return DiffMarks::IncrementState;
    case StateOperation::Decrement:
        return DiffMarks::DecrementState;
    case StateOperation::BitwiseAnd:
        return DiffMarks::BitwiseAndState;
    case StateOperation::BitwiseOr:
        return DiffMarks::BitwiseOrState;
    }
    return {};
}

bool IsStateOperationAllowed(StateOperation operation, ValueKind kind)
{
    if (kind >= ValueKind::Byte && kind <= ValueKind::SQWord)
    {
        return true;
    }
    return kind == ValueKind::Double &&
           (operation == StateOperation::Increment || operation == StateOperation::Decrement);
}

void ApplyStateOperation(StateOperation operation, Modification::Unit& target, const View::Unit& operand)
{
    const ValueKind kind = GetValueTypeIndex(target);
    const ResolvedValue right = Resolve(operand);
    if (kind != right.Kind || !IsStateOperationAllowed(operation, kind))
    {
        throw MakeError(COMMON_LOCATION("Por::Util::ApplyStateOperation"), ErrorCodes::MergeFailed,
                        Common::Texts::PorMergeFailed);
    }
    switch (kind)
    {
    case ValueKind::Byte:
        return Run<std::uint8_t>(operation, target, right);
    case ValueKind::SByte:
        return Run<std::int8_t>(operation, target, right);
    case ValueKind::Word:
        return Run<std::uint16_t>(operation, target, right);
    case ValueKind::SWord:
        return Run<std::int16_t>(operation, target, right);
    case ValueKind::DWord:
        return Run<std::uint32_t>(operation, target, right);
    case ValueKind::SDWord:
        return Run<std::int32_t>(operation, target, right);
    case ValueKind::QWord:
        return Run<std::uint64_t>(operation, target, right);
    case ValueKind::SQWord:
        return Run<std::int64_t>(operation, target, right);
    default:
        return Run<double>(operation, target, right);
    }
}

void Increment(Modification::Unit& target, const View::Unit& operand)
{
    ApplyStateOperation(StateOperation::Increment, target, operand);
}

void Decrement(Modification::Unit& target, const View::Unit& operand)
{
    ApplyStateOperation(StateOperation::Decrement, target, operand);
}

void BitwiseAnd(Modification::Unit& target, const View::Unit& operand)
{
    ApplyStateOperation(StateOperation::BitwiseAnd, target, operand);
}

void BitwiseOr(Modification::Unit& target, const View::Unit& operand)
{
    ApplyStateOperation(StateOperation::BitwiseOr, target, operand);
}

} // namespace Por::Util
