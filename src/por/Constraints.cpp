#include "por/Constraints.h"

#include "por/Errors.h"
#include "por/UnitAccess.h"

namespace Por::Detail
{
namespace
{

UnitPtr ElementUnit(std::uint32_t value, const Construction::UnitFactory& factory)
{
    return factory.CreateDWord(value);
}

UnitPtr ElementUnit(const std::string& value, const Construction::UnitFactory& factory)
{
    return factory.CreateString(Widen(value));
}

std::uint32_t DefaultOf(const std::set<std::uint32_t>&)
{
    return 0;
}

String DefaultOf(const std::set<std::string>&)
{
    return String();
}

} // namespace

template <typename Set>
void ValueInConstraint<Set>::Apply(Por::Unit& node) const
{
    const Construction::UnitFactory& factory = node.GetFactory();
    node.SetDefault(DefaultOf(Values));
    const UnitPtr elements = factory.CreateArray();
    Construction::ArrayValue& array = Util::GetArray(*elements);
    for (const auto& value : Values)
    {
        array.PushBack(ElementUnit(value, factory));
    }
    node.SetTrait(Name, *elements);
}

template class ValueInConstraint<std::set<std::uint32_t>>;
template class ValueInConstraint<std::set<std::string>>;

void Apply(const ConstraintList& constraints, Por::Unit& node)
{
    for (const std::unique_ptr<ValueConstraint>& constraint : constraints)
    {
        constraint->Apply(node);
    }
}

} // namespace Por::Detail
