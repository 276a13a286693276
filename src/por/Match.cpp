#include "por/Match.h"

#include "por/Compare.h"
#include "por/PatternOperators.h"
#include "por/TraitUtil.h"
#include "por/Unit.h"
#include "por/Values.h"
#include "por/Visitor.h"

namespace Por
{
namespace
{

// Runs the operators of `pattern` in trait order; false at the first one that fails. `count` tells
// whether there were any.
bool RunOperators(const View::Unit& source, const View::Unit& pattern, std::size_t& count)
{
    bool failed = false;
    auto apply = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            ++count;
            failed = !GetPatternByName(trait.GetName())(source, trait.GetValue());
            return failed;
        });
    pattern.GetTraits().ForEach(apply);
    return !failed;
}

bool MatchProperties(const View::CompositeValue& source, const View::CompositeValue& pattern)
{
    bool matched = true;
    auto each = MakeProcessor<const View::Property>(
        [&](const View::Property& wanted)
        {
            const View::Property* present = source.Find(wanted.GetName());
            matched = present != nullptr && Match(present->GetValue(), wanted.GetValue());
            return !matched;
        });
    pattern.ForEach(each);
    return matched;
}

} // namespace

bool Match(const View::Unit& source, const View::Unit& pattern)
{
    const ResolvedValue wanted = Resolve(pattern);
    if (wanted.Kind == ValueKind::Nil && !Util::HasTraits(pattern))
    {
        return true;
    }
    const ResolvedValue actual = Resolve(source);
    if (actual.Kind != wanted.Kind)
    {
        return false; // before the operators: a string node never matches a number
    }
    std::size_t operators = 0;
    if (!RunOperators(source, pattern, operators))
    {
        return false;
    }
    if (wanted.Kind == ValueKind::Composite)
    {
        return MatchProperties(actual.As<View::CompositeValue>(), wanted.As<View::CompositeValue>());
    }
    return operators != 0 || UnitValueEqual(source, pattern);
}

bool Match(const ConstUnitPtr& source, const ConstUnitPtr& pattern)
{
    if (source == nullptr || pattern == nullptr)
    {
        return source == pattern;
    }
    return Match(*source, *pattern);
}

} // namespace Por
