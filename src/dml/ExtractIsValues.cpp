#include "dml/ExtractIsValues.h"

#include "por/Values.h"
#include "por/Visitor.h"

namespace Dml::Operation::Impl
{

bool ExtractIsValues::Process(const Por::View::Trait& trait)
{
    const Por::ResolvedValue value = Por::Resolve(trait.GetValue());
    if (value.Kind == Por::ValueKind::String)
    {
        Values.insert(value.As<Por::View::ComplexValue<Por::String>>().Get());
    }
    return false;
}

void ExtractIsValues::Extract(const Por::View::Unit& unit, std::string_view name)
{
    unit.GetTraits().ForEachNamed(name, *this);
}

} // namespace Dml::Operation::Impl
