#include "por/PatternOperators.h"

#include "common/CatalogIds.h"
#include "por/Compare.h"
#include "por/Errors.h"
#include "por/Match.h"
#include "por/TraitUtil.h"
#include "por/Unit.h"
#include "por/Values.h"
#include "por/Visitor.h"

namespace Por
{
namespace
{

Common::Error StructureMismatch(const Common::ErrorLocation& location)
{
    return MakeError(location, ErrorCodes::PatternFailure, Common::Texts::PorStructureMismatch);
}

// UnitEqual, but without collecting trait lists when neither side has traits: the common case of
// operands and of "Is" values, and the hot path of subscriptions.
bool Equal(const View::Unit& left, const View::Unit& right)
{
    const bool leftTraits = Util::HasTraits(left);
    if (leftTraits != Util::HasTraits(right))
    {
        return false;
    }
    return leftTraits ? UnitEqual(left, right) : UnitValueEqual(left, right);
}

// Util::HasTraitWithValue with the cheaper equality above.
bool HasTraitEqualTo(const View::Unit& unit, std::string_view name, const View::Unit& value)
{
    bool found = false;
    auto check = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            found = Equal(trait.GetValue(), value);
            return found;
        });
    unit.GetTraits().ForEachNamed(name, check);
    return found;
}

template <typename Predicate>
bool AnyElement(const View::ArrayValue& array, Predicate&& predicate)
{
    for (std::size_t i = 0; i < array.Size(); ++i)
    {
        if (predicate(array.Get(i)))
        {
            return true;
        }
    }
    return false;
}

const View::ArrayValue* AsArray(const ResolvedValue& value)
{
    return value.Kind == ValueKind::Array ? &value.As<View::ArrayValue>() : nullptr;
}

const String* AsString(const ResolvedValue& value)
{
    return value.Kind == ValueKind::String ? &value.As<View::ComplexValue<String>>().Get() : nullptr;
}

bool SameKind(const View::Unit& left, const View::Unit& right)
{
    return GetValueTypeIndex(left) == GetValueTypeIndex(right);
}

bool AnyValue(const View::Unit&, const View::Unit&)
{
    return true; // the kind was checked by the match
}

const View::Unit& RangeEnd(const View::Unit& operand, std::string_view name)
{
    const ResolvedValue range = Resolve(operand);
    const View::Property* end =
        range.Kind == ValueKind::Composite ? range.As<View::CompositeValue>().Find(name) : nullptr;
    if (end == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Detail::ValidateBetweenPattern"), ErrorCodes::ElementMissing,
                        Common::Texts::PorElementNotFound, {u"." + Widen(name)});
    }
    return end->GetValue();
}

bool Between(const View::Unit& source, const View::Unit& operand)
{
    const View::Unit& to = RangeEnd(operand, "To");
    const View::Unit& from = RangeEnd(operand, "From");
    const ValueKind kind = GetValueTypeIndex(to);
    if (kind != GetValueTypeIndex(from))
    {
        throw MakeError(COMMON_LOCATION("Por::Detail::ValidateBetweenPattern"), ErrorCodes::PatternFailure,
                        Common::Texts::PorRangeCheckFailed);
    }
    return GetValueTypeIndex(source) == kind && Compare(source, from) != -1 && Compare(source, to) != 1;
}

bool EqualValue(const View::Unit& source, const View::Unit& operand)
{
    return UnitValueEqual(source, operand);
}

bool Greater(const View::Unit& source, const View::Unit& operand)
{
    return SameKind(source, operand) && Compare(source, operand) == 1;
}

bool GreaterEqual(const View::Unit& source, const View::Unit& operand)
{
    return SameKind(source, operand) && Compare(source, operand) != -1;
}

bool Less(const View::Unit& source, const View::Unit& operand)
{
    return SameKind(source, operand) && Compare(source, operand) == -1;
}

bool LessEqual(const View::Unit& source, const View::Unit& operand)
{
    return SameKind(source, operand) && Compare(source, operand) != 1;
}

bool In(const View::Unit& source, const View::Unit& operand)
{
    const View::ArrayValue* array = AsArray(Resolve(operand));
    return array != nullptr &&
           AnyElement(*array, [&](const View::Unit& item) { return Equal(item, source); });
}

bool ValueIn(const View::Unit& source, const View::Unit& operand)
{
    const View::ArrayValue* array = AsArray(Resolve(operand));
    return array != nullptr &&
           AnyElement(*array, [&](const View::Unit& item) { return UnitValueEqual(item, source); });
}

bool IncludedInArray(const View::Unit& source, const View::Unit& operand)
{
    const View::ArrayValue* array = AsArray(Resolve(source));
    return array != nullptr &&
           AnyElement(*array, [&](const View::Unit& item) { return Equal(item, operand); });
}

bool ValueIncludedInArray(const View::Unit& source, const View::Unit& operand)
{
    const View::ArrayValue* array = AsArray(Resolve(source));
    return array != nullptr &&
           AnyElement(*array, [&](const View::Unit& item) { return UnitValueEqual(item, operand); });
}

bool HasIntersection(const View::Unit& source, const View::Unit& operand)
{
    const View::ArrayValue* left = AsArray(Resolve(source));
    const View::ArrayValue* right = AsArray(Resolve(operand));
    if (left == nullptr || right == nullptr)
    {
        throw StructureMismatch(COMMON_LOCATION("Por::Detail::HasIntersectionPattern"));
    }
    return AnyElement(
        *left, [&](const View::Unit& item)
        { return AnyElement(*right, [&](const View::Unit& other) { return UnitValueEqual(item, other); }); });
}

bool Like(const View::Unit& source, const View::Unit& operand)
{
    const String* pattern = AsString(Resolve(operand));
    if (pattern == nullptr)
    {
        throw StructureMismatch(COMMON_LOCATION("Por::Detail::ValidateLikePattern"));
    }
    const ResolvedValue value = Resolve(source);
    if (const String* text = AsString(value))
    {
        return Util::LikeMatch(*text, *pattern);
    }
    const View::ArrayValue* array = AsArray(value);
    if (array == nullptr || !Util::HasTrait(source, "Searchable"))
    {
        return false;
    }
    return AnyElement(*array,
                      [&](const View::Unit& item)
                      {
                          const String* text = AsString(Resolve(item));
                          return text != nullptr && Util::LikeMatch(*text, *pattern);
                      });
}

bool Not(const View::Unit& source, const View::Unit& operand)
{
    return !Match(source, operand);
}

bool Or(const View::Unit& source, const View::Unit& operand)
{
    const View::ArrayValue* array = AsArray(Resolve(operand));
    if (array == nullptr)
    {
        return false;
    }
    return array->IsEmpty() ||
           AnyElement(*array, [&](const View::Unit& item) { return Match(source, item); });
}

bool Is(const View::Unit& source, const View::Unit& operand)
{
    return HasTraitEqualTo(source, "Is", operand);
}

bool PrimaryKey(const View::Unit& source, const View::Unit& operand)
{
    return HasTraitEqualTo(source, "PrimaryKey", operand);
}

bool ForeignKey(const View::Unit& source, const View::Unit& operand)
{
    return HasTraitEqualTo(source, "ForeignKey", operand);
}

bool Source(const View::Unit& source, const View::Unit& operand)
{
    return Util::HasTrait(operand, "AnyValue") ? Util::HasTrait(source, "Source")
                                               : HasTraitEqualTo(source, "Source", operand);
}

bool DirectRelative(const View::Unit& source, const View::Unit& operand)
{
    const String* prefix = AsString(Resolve(operand));
    if (prefix == nullptr)
    {
        throw StructureMismatch(COMMON_LOCATION("Por::Detail::DirectRelativePattern"));
    }
    const String* text = AsString(Resolve(source));
    return text != nullptr && Common::WideStringView(*text).substr(0, prefix->size()) == *prefix;
}

} // namespace

namespace Detail
{

const PatternTable& GetPatternTable()
{
    static const PatternTable table = {
        {"AnyValue", &AnyValue},
        {"Between", &Between},
        {"DirectRelative", &DirectRelative},
        {"EqualValue", &EqualValue},
        {"ForeignKey", &ForeignKey},
        {"Greater", &Greater},
        {"GreaterEqual", &GreaterEqual},
        {"HasIntersection", &HasIntersection},
        {"In", &In},
        {"IncludedInArray", &IncludedInArray},
        {"Is", &Is},
        {"Less", &Less},
        {"LessEqual", &LessEqual},
        {"Like", &Like},
        {"Not", &Not},
        {"Or", &Or},
        {"PrimaryKey", &PrimaryKey},
        {"Source", &Source},
        {"ValueIn", &ValueIn},
        {"ValueIncludedInArray", &ValueIncludedInArray},
    };
    return table;
}

} // namespace Detail

PatternFunction FindPatternByName(std::string_view name) noexcept
{
    const Detail::PatternTable& table = Detail::GetPatternTable();
    const auto found = table.find(name);
    return found != table.end() ? found->second : nullptr;
}

PatternFunction GetPatternByName(std::string_view name)
{
    if (PatternFunction function = FindPatternByName(name))
    {
        return function;
    }
    throw MakeError(COMMON_LOCATION("Por::GetPatternByName"), ErrorCodes::PatternFailure,
                    Common::Texts::PorPatternNotRegistered, {Widen(name)});
}

bool IsTraitTestingPattern(std::string_view name) noexcept
{
    return name == "Is" || name == "PrimaryKey" || name == "ForeignKey" || name == "Source";
}

namespace Util
{

bool LikeMatch(Common::WideStringView text, Common::WideStringView pattern)
{
    if (pattern.empty())
    {
        return true;
    }
    constexpr std::size_t None = Common::WideStringView::npos;
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t backPattern = None;
    std::size_t backText = None;
    while (true)
    {
        if (p == pattern.size())
        {
            // No backtracking from here: "%a" fails on "aba" once "a" has matched its first character.
            return pattern.back() == u'%' || t == text.size();
        }
        if (pattern[p] == u'%')
        {
            backPattern = p;
            backText = t;
            ++p;
        }
        else if (t < text.size() && (pattern[p] == u'_' || pattern[p] == text[t]))
        {
            ++p;
            ++t;
        }
        else if (backPattern == None || backText == text.size())
        {
            return false;
        }
        else
        {
            p = backPattern + 1;
            t = ++backText;
        }
    }
}

} // namespace Util
} // namespace Por
