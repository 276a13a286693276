#include "por/Assign.h"

#include "common/CatalogIds.h"
#include "por/Errors.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/Values.h"
#include "por/Visitor.h"

#include <string>
#include <string_view>
#include <vector>

namespace Por::Util
{
namespace
{

// The property names from the root down to the pair being checked; text only when a check fails.
using Route = std::vector<std::string_view>;

std::string RouteText(const Route& route)
{
    std::string text;
    for (std::string_view name : route)
    {
        text += '.';
        text += name;
    }
    return text;
}

Common::Error AssignError(std::uint32_t code, Common::WideTextId text, const Common::Error& cause)
{
    Common::Error error = MakeError(COMMON_LOCATION("Por::Util::EnsureUnitsCanBeAssigned"), code, text);
    error.SetSubError(cause);
    return error;
}

void CheckTraits(const View::Unit& target, const View::Unit& source, const Route& route)
{
    auto check = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            if (HasTraitWithValue(target, trait.GetName(), trait.GetValue()))
            {
                return false;
            }
            const Common::Error cause =
                route.empty() ? MakeError(COMMON_LOCATION("Por::Util::EnsureUnitsCanBeAssigned"),
                                          ErrorCodes::TraitMissing, Common::Texts::PorTraitNotFound,
                                          {Widen(trait.GetName())})
                              : MakeError(COMMON_LOCATION("Por::Util::EnsureUnitsCanBeAssigned"),
                                          ErrorCodes::TraitMissing, Common::Texts::PorUnitMissingTraitAccess,
                                          {Widen(trait.GetName()), Widen(RouteText(route))});
            throw AssignError(ErrorCodes::AssignTraits, Common::Texts::PorAssignTraits, cause);
        });
    source.GetTraits().ForEach(check);
}

void Check(const View::Unit& target, const View::Unit& source, Route& route)
{
    CheckTraits(target, source, route);
    const ResolvedValue to = Resolve(target);
    const ResolvedValue from = Resolve(source);
    if (to.Kind != from.Kind)
    {
        const Common::Error cause =
            route.empty() ? Detail::MakeTypeMismatchError(to.Kind, from.Kind)
                          : Detail::MakePropertyTypeMismatchError(RouteText(route), to.Kind, from.Kind);
        throw AssignError(ErrorCodes::AssignTypes, Common::Texts::PorAssignTypes, cause);
    }
    if (to.Kind != ValueKind::Composite)
    {
        return; // scalars, complex values and nils fit; arrays are replaced whole
    }
    const auto& targetComposite = to.As<View::CompositeValue>();
    auto each = MakeProcessor<const View::Property>(
        [&](const View::Property& property)
        {
            route.push_back(property.GetName());
            const View::Property* match = targetComposite.Find(property.GetName());
            if (match == nullptr)
            {
                throw AssignError(ErrorCodes::AssignProperties, Common::Texts::PorAssignProperties,
                                  MakeError(COMMON_LOCATION("Por::Util::EnsureUnitsCanBeAssigned"),
                                            ErrorCodes::PropertyMissing, Common::Texts::PorPropertyNotFound,
                                            {Widen(RouteText(route))}));
            }
            Check(match->GetValue(), property.GetValue(), route);
            route.pop_back();
        });
    from.As<View::CompositeValue>().ForEach(each);
}

void Perform(Modification::Unit& target, const View::Unit& source);

template <typename T>
void PerformValue(Modification::ScalarValue<T>& to, const ResolvedValue& from)
{
    to.Set(from.As<View::ScalarValue<T>>().Get());
}

template <typename T>
void PerformValue(Modification::ComplexValue<T>& to, const ResolvedValue& from)
{
    to.Set(from.As<View::ComplexValue<T>>().Get());
}

void PerformValue(Modification::NilValue&, const ResolvedValue&) {}

void PerformValue(Modification::ArrayValue& to, const ResolvedValue& from)
{
    // Copies first: the source may be an element of this very array, and a failed copy leaves it whole.
    const auto& source = from.As<View::ArrayValue>();
    std::vector<UnitPtr> copies;
    copies.reserve(source.Size());
    for (std::size_t i = 0; i < source.Size(); ++i)
    {
        copies.push_back(Copy(source.Get(i), GetUnitFactory()));
    }
    to.Clear();
    auto* owning = dynamic_cast<Construction::ArrayValue*>(&to);
    for (UnitPtr& copy : copies)
    {
        if (owning != nullptr)
        {
            owning->PushBack(std::move(copy));
        }
        else
        {
            to.PushBack(*copy);
        }
    }
}

void PerformValue(Modification::CompositeValue& to, const ResolvedValue& from)
{
    auto each = MakeProcessor<const View::Property>(
        [&](const View::Property& property)
        {
            auto assign = MakeProcessor<Modification::Property>(
                [&](Modification::Property& match) { Perform(match.GetValue(), property.GetValue()); });
            to.Find(property.GetName(), assign);
        });
    from.As<View::CompositeValue>().ForEach(each);
}

// The pair was checked as a whole before, so nothing below is checked again.
void Perform(Modification::Unit& target, const View::Unit& source)
{
    const ResolvedValue from = Resolve(source);
    Write(target, [&](auto& to) { PerformValue(to, from); });
}

} // namespace

void EnsureUnitsCanBeAssigned(const View::Unit& target, const View::Unit& source)
{
    Route route;
    Check(target, source, route);
}

void Assign(Modification::Unit& target, const View::Unit& source)
{
    EnsureUnitsCanBeAssigned(target, source);
    Perform(target, source);
}

} // namespace Por::Util
