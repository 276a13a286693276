#include "por/Path.h"

#include "common/CatalogIds.h"
#include "common/Utf8.h"
#include "por/Errors.h"
#include "por/PathWalkers.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitAccumulator.h"
#include "por/Visitor.h"

#include <charconv>
#include <string>

namespace Por
{
namespace Util
{
namespace
{

constexpr char16_t PropertySeparator = u'.';
constexpr char16_t TraitSeparator = u'^';

std::string Narrow(Common::WideStringView text)
{
    std::string narrow;
    Common::WideToUtf8(narrow, text.data(), text.size());
    return narrow;
}

void ReplaceAll(Common::WideString& text, Common::WideStringView from, Common::WideStringView to)
{
    for (std::size_t at = text.find(from); at != Common::WideString::npos;
         at = text.find(from, at + to.size()))
    {
        text.replace(at, from.size(), to);
    }
}

Common::Error PathError(const Common::ErrorLocation& location, Common::WideTextId text,
                        Common::WideStringView path)
{
    return MakeError(location, ErrorCodes::General, text, {path});
}

// A step of the resolving walk, its token unescaped.
struct Step
{
    bool IsTrait = false;
    std::string Name;
};

bool IsSeparator(char16_t character)
{
    return character == PropertySeparator || character == TraitSeparator;
}

// The steps of `path` by the rules of the resolving walk; an empty token ends them.
std::vector<Step> ReadSteps(Common::WideStringView path)
{
    std::vector<Step> steps;
    std::size_t position = 0;
    while (position < path.size())
    {
        Step step;
        // Only the first token can lack a separator: every later one starts where a token ended.
        if (IsSeparator(path[position]))
        {
            step.IsTrait = path[position] == TraitSeparator;
            ++position;
        }
        std::size_t end = position;
        while (end < path.size())
        {
            if (!IsSeparator(path[end]))
            {
                ++end;
            }
            else if (end + 1 < path.size() && path[end + 1] == path[end])
            {
                end += 2; // a doubled separator belongs to the token
            }
            else
            {
                break;
            }
        }
        if (end == position)
        {
            break;
        }
        step.Name = Narrow(UnescapeToken(path.substr(position, end - position)));
        steps.push_back(std::move(step));
        position = end;
    }
    return steps;
}

// Decimal digits only; anything else (signs, blanks, overflow) is no index.
bool ParseIndex(std::string_view token, std::size_t& index)
{
    const char* end = token.data() + token.size();
    const auto [stop, error] = std::from_chars(token.data(), end, index);
    return !token.empty() && error == std::errc() && stop == end;
}

// The children of one step on each face. `lenient` turns the failures of missing traits and indexes
// beyond the end into null.
const View::Unit* Child(const View::Unit& unit, const Step& step, bool lenient)
{
    if (step.IsTrait)
    {
        return lenient ? FindUniqueTraitByName(unit, step.Name) : &GetUniqueTraitByName(unit, step.Name);
    }
    if (const View::CompositeValue* composite = FindComposite(unit))
    {
        const View::Property* property = composite->Find(step.Name);
        return property != nullptr ? &property->GetValue() : nullptr;
    }
    const View::ArrayValue* array = FindArray(unit);
    std::size_t index = 0;
    if (array == nullptr || !ParseIndex(step.Name, index) || (lenient && index >= array->Size()))
    {
        return nullptr;
    }
    return &array->Get(index);
}

// Trait values are read-only views on the changing faces, so a trait step leads to nothing there (after
// the trait's own checks).
template <typename Face>
Face* TraitChild(Face& unit, const Step& step, bool lenient)
{
    if (!lenient)
    {
        GetUniqueTraitByName(unit, step.Name);
    }
    return nullptr;
}

Construction::Unit* Child(Construction::Unit& unit, const Step& step, bool lenient)
{
    if (step.IsTrait)
    {
        return TraitChild(unit, step, lenient);
    }
    if (Construction::CompositeValue* composite = FindComposite(unit))
    {
        Construction::Property* property = composite->FindProperty(step.Name);
        return property != nullptr ? &property->GetValue() : nullptr;
    }
    std::size_t index = 0;
    if (!IsArray(unit) || !ParseIndex(step.Name, index))
    {
        return nullptr;
    }
    Construction::ArrayValue& array = GetArray(unit);
    return lenient && index >= array.Size() ? nullptr : array.GetPointer(index).get();
}

Modification::Unit* Child(Modification::Unit& unit, const Step& step, bool lenient)
{
    if (step.IsTrait)
    {
        return TraitChild(unit, step, lenient);
    }
    Modification::Unit* found = nullptr;
    const ValueKind kind = GetValueTypeIndex(unit);
    std::size_t index = 0;
    if (kind == ValueKind::Composite)
    {
        auto take = MakeProcessor<Modification::Property>(
            [&](Modification::Property& property)
            {
                found = &property.GetValue();
                return true;
            });
        GetComposite(unit).Find(step.Name, take);
    }
    else if (kind == ValueKind::Array && ParseIndex(step.Name, index))
    {
        Modification::ArrayValue& array = GetArray(unit);
        if (!lenient || index < array.Size())
        {
            auto take = MakeProcessor<Modification::Unit>(
                [&](Modification::Unit& element)
                {
                    found = &element;
                    return true;
                });
            array.At(index, take);
        }
    }
    return found;
}

template <typename Face>
Face* Walk(const std::vector<Step>& steps, std::size_t count, Face& root, bool lenient)
{
    Face* current = &root;
    for (std::size_t i = 0; i < count && current != nullptr; ++i)
    {
        current = Child(*current, steps[i], lenient);
    }
    return current;
}

template <typename Face>
Face& Branch(Common::WideStringView path, Face& unit)
{
    const std::vector<Step> steps = ReadSteps(path);
    Face* found = Walk(steps, steps.size(), unit, false);
    if (found == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Util::ResolveBranch"), ErrorCodes::BranchMissing,
                        Common::Texts::PorBranchNotFound, {path});
    }
    return *found;
}

// The builder events that make a copy of `unit`; the caller closes it with End.
void EmitUnit(const View::Unit& unit, UnitBuilder& builder)
{
    const View::ArrayValue* array = nullptr;
    const View::CompositeValue* composite = nullptr;
    Read(unit,
         [&](const auto& value)
         {
             using Interface = std::remove_cvref_t<decltype(value)>;
             if constexpr (std::is_same_v<Interface, View::NilValue>)
             {
                 builder.OnNil();
             }
             else if constexpr (std::is_same_v<Interface, View::ArrayValue>)
             {
                 builder.BeginArray();
                 array = &value;
             }
             else if constexpr (std::is_same_v<Interface, View::CompositeValue>)
             {
                 builder.BeginComposite();
                 composite = &value;
             }
             else
             {
                 builder.OnValue(value.Get());
             }
         });
    // Traits go before the children: a builder attaches them to the unit it has open.
    auto traits = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            builder.BeginTrait(trait.GetName());
            EmitUnit(trait.GetValue(), builder);
            builder.End();
        });
    unit.GetTraits().ForEach(traits);
    if (array != nullptr)
    {
        for (std::size_t i = 0; i < array->Size(); ++i)
        {
            EmitUnit(array->Get(i), builder);
            builder.End();
        }
    }
    if (composite != nullptr)
    {
        auto properties = MakeProcessor<const View::Property>(
            [&](const View::Property& property)
            {
                builder.BeginProperty(property.GetName());
                EmitUnit(property.GetValue(), builder);
                builder.End();
            });
        composite->ForEach(properties);
    }
}

// 0xfa0001 "POR: An internal error has occurred." with the detail (same code) as its sub-error.
Common::Error NonCompositeError(Common::WideStringView path, std::string_view name)
{
    Common::Error error = MakeError(COMMON_LOCATION("Por::Util::PutUnitInLocationEx"), ErrorCodes::General,
                                    Common::Texts::PorInternalError);
    error.SetSubError(MakeError(COMMON_LOCATION("Por::Util::PutUnitInLocationEx"), ErrorCodes::General,
                                Common::Texts::PorPathNonComposite, {path, Widen(name)}));
    return error;
}

// Carries a copy of the source into an existing root. The last token stays pending until the end, so
// levels on the way are entered (made when missing) and only the last is replaced.
class LocationSetter final : public PathWalker
{
public:
    LocationSetter(UnitPtr root, Common::WideStringView path, const View::Unit& source,
                   const Construction::UnitFactory& factory)
        : Root(std::move(root)), Path(path), Source(source), Factory(factory)
    {
    }

    void OnProperty(std::string_view name) override
    {
        if (Current == nullptr)
        {
            if (Root == nullptr)
            {
                Root = Factory.CreateComposite();
            }
            Enter(*Root, {});
        }
        if (Pending)
        {
            Construction::Unit* value = FindPropertyValue(*Current, Token);
            Enter(value != nullptr ? *value
                                   : AddProperty(*Current, Token, Factory.CreateComposite(), Factory),
                  Token);
        }
        Token = name;
        Pending = true;
    }

    void OnArrayElement() override
    {
        if (Pending)
        {
            AddProperty(*Current, Token, Source, Factory);
        }
    }

    void OnEmptyPath() override { Root = Copy(Source, Factory); }

    const UnitPtr& GetRoot() const { return Root; }

private:
    void Enter(Construction::Unit& unit, std::string_view name)
    {
        if (!IsComposite(unit))
        {
            throw NonCompositeError(Path, name);
        }
        Current = &unit;
    }

    UnitPtr Root;
    Common::WideStringView Path;
    const View::Unit& Source;
    const Construction::UnitFactory& Factory;
    Construction::Unit* Current = nullptr;
    std::string Token;
    bool Pending = false;
};

} // namespace

bool PathCollector::Process(const Common::WideString& path)
{
    Paths.push_back(path);
    return false;
}

void WalkPath(Common::WideStringView path, PathWalker& walker)
{
    if (path.empty())
    {
        walker.OnEmptyPath();
        return;
    }
    if (path.front() != PropertySeparator)
    {
        throw PathError(COMMON_LOCATION("Por::Util::WalkPath"), Common::Texts::PorPathBadBeginning, path);
    }
    if (path.size() == 1)
    {
        throw PathError(COMMON_LOCATION("Por::Util::WalkPath"), Common::Texts::PorPathEmptyToken, path);
    }
    // Checked before the first event, so that no walker acts on part of a malformed path.
    if (path.back() == PropertySeparator)
    {
        throw PathError(COMMON_LOCATION("Por::Util::WalkPath"), Common::Texts::PorPathBadSeparatorAtEnd,
                        path);
    }
    for (std::size_t position = 1;;)
    {
        const std::size_t separator = path.find(PropertySeparator, position);
        walker.OnProperty(Narrow(UnescapeToken(path.substr(position, separator - position))));
        if (separator == Common::WideStringView::npos)
        {
            break;
        }
        position = separator + 1;
    }
    walker.OnArrayElement();
}

const View::Unit* ResolvePath(Common::WideStringView path, const View::Unit& unit)
{
    const std::vector<Step> steps = ReadSteps(path);
    return Walk(steps, steps.size(), unit, false);
}

const View::Unit& ResolveBranch(Common::WideStringView path, const View::Unit& unit)
{
    return Branch(path, unit);
}

Modification::Unit& ResolveBranch(Common::WideStringView path, Modification::Unit& unit)
{
    return Branch(path, unit);
}

Construction::Unit& ResolveBranch(Common::WideStringView path, Construction::Unit& unit)
{
    return Branch(path, unit);
}

bool PathExists(Common::WideStringView path, const View::Unit& unit)
{
    return ResolvePath(path, unit) != nullptr;
}

Common::WideString EscapeToken(Common::WideStringView text)
{
    Common::WideString escaped(text);
    ReplaceAll(escaped, u".", u"&d;");
    ReplaceAll(escaped, u"^", u"&r;");
    return escaped;
}

Common::WideString UnescapeToken(Common::WideStringView text)
{
    Common::WideString unescaped(text);
    ReplaceAll(unescaped, u"&d;", u".");
    ReplaceAll(unescaped, u"&r;", u"^");
    return unescaped;
}

Common::WideString MakePropertyPath(Common::WideStringView base, std::string_view name)
{
    Common::WideString path(base);
    path += PropertySeparator;
    path += EscapeToken(Widen(name));
    return path;
}

Common::WideString MakeTraitPath(Common::WideStringView base, std::string_view name)
{
    Common::WideString path(base);
    path += TraitSeparator;
    path += EscapeToken(Widen(name));
    return path;
}

Common::WideString MakeElementPath(Common::WideStringView base, std::size_t index)
{
    Common::WideString path(base);
    path += PropertySeparator;
    path += Widen(std::to_string(index));
    return path;
}

void PathToUnitWalker::OnProperty(std::string_view name)
{
    Builder.BeginComposite();
    Builder.BeginProperty(name);
    ++Opened;
}

void PathToUnitWalker::OnArrayElement()
{
    // A composite under a property closes with it; only the outermost one has an End of its own.
    for (std::size_t i = 0; i < Opened; ++i)
    {
        Builder.End();
    }
    if (Opened > 0)
    {
        Builder.End();
    }
    Opened = 0;
}

UnitPtr PutUnitInLocation(Common::WideStringView path, const View::Unit& source,
                          const Construction::UnitFactory& factory)
{
    if (path.empty())
    {
        return Copy(source, factory);
    }
    UnitAccumulator builder(factory);
    PathToUnitWalker toUnit(builder);
    NotFinishingPathWalker steps(toUnit);
    WalkPath(path, steps);
    EmitUnit(source, builder);
    toUnit.OnArrayElement();
    return builder.Result();
}

UnitPtr PutUnitInLocationEx(UnitPtr root, Common::WideStringView path, const View::Unit& source,
                            const Construction::UnitFactory& factory)
{
    LocationSetter setter(std::move(root), path, source, factory);
    WalkPath(path, setter);
    return setter.GetRoot();
}

bool RemoveAtPath(Construction::Unit& root, Common::WideStringView path)
{
    const std::vector<Step> steps = ReadSteps(path);
    if (steps.empty())
    {
        return false; // a root is not removed from itself
    }
    Construction::Unit* parent = Walk(steps, steps.size() - 1, root, true);
    if (parent == nullptr)
    {
        return false;
    }
    const Step& last = steps.back();
    if (last.IsTrait)
    {
        return RemoveTrait(*parent, last.Name) > 0;
    }
    if (Construction::CompositeValue* composite = FindComposite(*parent))
    {
        return composite->Remove(last.Name) > 0;
    }
    std::size_t index = 0;
    if (!IsArray(*parent) || !ParseIndex(last.Name, index) || index >= GetArray(*parent).Size())
    {
        return false;
    }
    GetArray(*parent).RemoveAt(index);
    return true;
}

} // namespace Util

const View::Unit& PathWithUnit::GetUnit() const
{
    if (Unit == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::PathWithUnit::GetUnit"), ErrorCodes::PathWithUnitEmpty,
                        Common::Texts::PorUnitEmpty);
    }
    return *Unit;
}

} // namespace Por
