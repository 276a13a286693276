#include "async/Condition.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

#include <utility>

namespace Async
{

bool Evaluate(const Condition& condition)
{
    const std::function<bool()> predicate = condition.Get();
    if (!predicate)
    {
        throw Common::Error(COMMON_LOCATION("Async::Evaluate"), ErrorCodes::InvalidResult,
                            Common::GetText(Common::Texts::AsyncInvalidResult));
    }
    return predicate();
}

Condition ConstantCondition(bool value)
{
    return Condition(std::function<bool()>([value] { return value; }));
}

Condition Or(Condition left, Condition right)
{
    return Condition(std::function<bool()>([left = std::move(left), right = std::move(right)]
                                           { return Evaluate(left) || Evaluate(right); }));
}

Condition And(Condition left, Condition right)
{
    return Condition(std::function<bool()>([left = std::move(left), right = std::move(right)]
                                           { return Evaluate(left) && Evaluate(right); }));
}

Condition Not(Condition condition)
{
    return Condition(
        std::function<bool()>([condition = std::move(condition)] { return !Evaluate(condition); }));
}

} // namespace Async
