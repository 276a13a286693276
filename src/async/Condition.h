// Conditions: Future<std::function<bool()>> values, evaluated when an action runs. They combine into
// conditions that are themselves evaluated late: `a || b` (Or) asks b only if a is false, `a && b` (And) asks
// b only if a is true, `!a` (Not) negates, ConstantCondition(v) is always v. A condition holding an empty
// function evaluates by throwing 0x00F90001.
#pragma once

#include "async/Future.h"

#include <concepts>
#include <functional>
#include <utility>

namespace Async
{

using Condition = Future<std::function<bool()>>;

// The condition's answer now. Throws what the condition throws.
bool Evaluate(const Condition& condition);

Condition ConstantCondition(bool value);
Condition Or(Condition left, Condition right);
Condition And(Condition left, Condition right);
Condition Not(Condition condition);

// The operators take conditions only, so that nothing that merely converts to one (a std::function, a
// lambda) picks them up.
template <std::same_as<Condition> L, std::same_as<Condition> R>
Condition operator||(L left, R right)
{
    return Or(std::move(left), std::move(right));
}
template <std::same_as<Condition> L, std::same_as<Condition> R>
Condition operator&&(L left, R right)
{
    return And(std::move(left), std::move(right));
}
template <std::same_as<Condition> C>
Condition operator!(C condition)
{
    return Not(std::move(condition));
}

} // namespace Async
