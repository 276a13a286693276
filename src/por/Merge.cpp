#include "por/Merge.h"

#include "common/CatalogIds.h"
#include "por/Assign.h"
#include "por/Compare.h"
#include "por/ConstUnit.h"
#include "por/DiffCopy.h"
#include "por/DiffMarks.h"
#include "por/Errors.h"
#include "por/StateArithmetic.h"
#include "por/TraitDecorators.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitPrinter.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace Por::Util
{
namespace
{

using Factory = Construction::UnitFactory;

// The marks of one node, read in one pass over its traits.
namespace Bits
{
enum Mark : unsigned
{
    Packed = 1u << 0,
    Empty = 1u << 1,
    FullCopy = 1u << 2,
    FixedTraits = 1u << 3,
    TraitsOnly = 1u << 4,
    Added = 1u << 5,
    Removed = 1u << 6,
    AddOrUpdate = 1u << 7,
    Declaration = 1u << 8,
    Increment = 1u << 9,
    Decrement = 1u << 10,
    BitwiseAnd = 1u << 11,
    BitwiseOr = 1u << 12,
};
} // namespace Bits

struct MarkName
{
    std::string_view Name;
    Bits::Mark Bit;
};

constexpr std::array<MarkName, 13> MarkNames{{
    {DiffMarks::PackedDiff, Bits::Packed},
    {DiffMarks::EmptyDiff, Bits::Empty},
    {DiffMarks::FullElementCopy, Bits::FullCopy},
    {DiffMarks::FixedTraitedFullCopy, Bits::FixedTraits},
    {DiffMarks::TraitsOnlyDiff, Bits::TraitsOnly},
    {DiffMarks::Added, Bits::Added},
    {DiffMarks::Removed, Bits::Removed},
    {DiffMarks::AddOrUpdate, Bits::AddOrUpdate},
    {DiffMarks::StateDeclaration, Bits::Declaration},
    {DiffMarks::IncrementState, Bits::Increment},
    {DiffMarks::DecrementState, Bits::Decrement},
    {DiffMarks::BitwiseAndState, Bits::BitwiseAnd},
    {DiffMarks::BitwiseOrState, Bits::BitwiseOr},
}};

// The operations in the order an entry is tested for them.
struct OperationMark
{
    Bits::Mark Bit;
    StateOperation Operation;
};
constexpr std::array<OperationMark, 4> Operations{{
    {Bits::Increment, StateOperation::Increment},
    {Bits::Decrement, StateOperation::Decrement},
    {Bits::BitwiseAnd, StateOperation::BitwiseAnd},
    {Bits::BitwiseOr, StateOperation::BitwiseOr},
}};

unsigned ReadMarks(const View::Unit& unit)
{
    unsigned marks = 0;
    auto read = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            for (const MarkName& mark : MarkNames)
            {
                if (trait.GetName() == mark.Name)
                {
                    marks |= mark.Bit;
                    break;
                }
            }
        });
    unit.GetTraits().ForEach(read);
    return marks;
}

Common::Error MergeFailed(const Common::ErrorLocation& location)
{
    return MakeError(location, ErrorCodes::MergeFailed, Common::Texts::PorMergeFailed);
}

struct Context
{
    const Factory& Units;
    bool KeepMarks;
    // Leave out what the diff does not name; only for ApplyDiff, whose assignment keeps it anyway.
    bool Sparse;
};

UnitPtr MergeNode(const Context& context, const View::Unit& target, const View::Unit& diff,
                  bool requirePacked);

// The value an entry gives a property the target has; null drops the property.
UnitPtr MergeEntry(const Context& context, const View::Unit& current, const View::Unit& entry)
{
    const unsigned marks = ReadMarks(entry);
    if ((marks & Bits::Removed) != 0)
    {
        return nullptr;
    }
    if ((marks & Bits::Added) != 0)
    {
        // Adding a name that exists replaces it rather than merging into it.
        return Detail::CopyWithoutTraits(entry, {DiffMarks::Added}, context.Units);
    }
    if ((marks & Bits::AddOrUpdate) != 0)
    {
        const ExcludeTraitUnit update(entry, DiffMarks::AddOrUpdate);
        return MergeNode(context, current, update, false);
    }
    if ((marks & Bits::Declaration) != 0)
    {
        return Detail::CopyWithoutTraits(entry, {DiffMarks::StateDeclaration}, context.Units);
    }
    for (const OperationMark& operation : Operations)
    {
        if ((marks & operation.Bit) != 0)
        {
            const View::Unit& operand = GetUniqueTraitByName(entry, GetStateTraitName(operation.Operation));
            UnitPtr value = Copy(current, context.Units);
            ApplyStateOperation(operation.Operation, *value, operand);
            return value;
        }
    }
    return MergeNode(context, current, entry, false);
}

// The value an entry gives a property the target lacks; null adds nothing (an unmatched "Removed"
// included). An operation on a missing value yields the entry's own unit.
UnitPtr MergeNewEntry(const Context& context, const View::Unit& entry)
{
    const unsigned marks = ReadMarks(entry);
    for (const MarkName& mark : MarkNames)
    {
        constexpr unsigned Adding = Bits::Added | Bits::AddOrUpdate | Bits::Declaration | Bits::Increment |
                                    Bits::Decrement | Bits::BitwiseAnd | Bits::BitwiseOr;
        if ((mark.Bit & Adding) != 0 && (marks & mark.Bit) != 0)
        {
            return Detail::CopyWithoutTraits(entry, {mark.Name}, context.Units);
        }
    }
    return nullptr;
}

UnitPtr MergeComposites(const Context& context, const View::CompositeValue& target,
                        const View::CompositeValue& diff)
{
    UnitPtr result = context.Units.CreateComposite();
    Construction::CompositeValue& out = GetComposite(*result);
    auto put = [&](const std::string& name, UnitPtr value)
    {
        if (value != nullptr)
        {
            out.Set(context.Units.CreateProperty(name, std::move(value)));
        }
    };

    if (context.Sparse)
    {
        auto each = MakeProcessor<const View::Property>(
            [&](const View::Property& entry)
            {
                const View::Property* current = target.Find(entry.GetName());
                put(entry.GetName(), current != nullptr
                                         ? MergeEntry(context, current->GetValue(), entry.GetValue())
                                         : MergeNewEntry(context, entry.GetValue()));
            });
        diff.ForEach(each);
        return result;
    }

    // Both lists are sorted by name: one pass side by side, and the result is filled in order.
    const std::unique_ptr<View::CompositeIterator> entries = diff.GetIterator();
    auto each = MakeProcessor<const View::Property>(
        [&](const View::Property& property)
        {
            for (; entries->IsValid() && entries->Current().GetName() < property.GetName(); entries->Next())
            {
                put(entries->Current().GetName(), MergeNewEntry(context, entries->Current().GetValue()));
            }
            if (entries->IsValid() && entries->Current().GetName() == property.GetName())
            {
                put(property.GetName(),
                    MergeEntry(context, property.GetValue(), entries->Current().GetValue()));
                entries->Next();
            }
            else
            {
                put(property.GetName(), Copy(property.GetValue(), context.Units));
            }
        });
    target.ForEach(each);
    for (; entries->IsValid(); entries->Next())
    {
        put(entries->Current().GetName(), MergeNewEntry(context, entries->Current().GetValue()));
    }
    return result;
}

UnitPtr MergeArrays(const Context& context, const View::ArrayValue& target, const View::ArrayValue& diff)
{
    UnitPtr result = context.Units.CreateArray();
    Construction::ArrayValue& out = GetArray(*result);
    // Removed elements match by value alone, so their own traits need no copy.
    std::vector<const View::Unit*> removed;
    for (std::size_t i = 0; i < diff.Size(); ++i)
    {
        const View::Unit& element = diff.Get(i);
        const unsigned marks = ReadMarks(element);
        if ((marks & Bits::Removed) != 0)
        {
            removed.push_back(&element);
        }
        else if ((marks & Bits::Added) != 0)
        {
            out.PushBack(Detail::CopyWithoutTraits(element, {DiffMarks::Added}, context.Units));
        }
    }
    for (std::size_t i = 0; i < target.Size(); ++i)
    {
        const View::Unit& element = target.Get(i);
        const bool gone = std::any_of(removed.begin(), removed.end(),
                                      [&](const View::Unit* unit) { return UnitValueEqual(*unit, element); });
        if (!gone)
        {
            out.PushBack(Copy(element, context.Units));
        }
    }
    return result;
}

UnitPtr MergeValues(const Context& context, const View::Unit& target, const View::Unit& diff)
{
    const ResolvedValue left = Resolve(target);
    const ResolvedValue right = Resolve(diff);
    if (left.Kind == ValueKind::Composite && right.Kind == ValueKind::Composite)
    {
        return MergeComposites(context, left.As<View::CompositeValue>(), right.As<View::CompositeValue>());
    }
    if (left.Kind == ValueKind::Array && right.Kind == ValueKind::Array)
    {
        return MergeArrays(context, left.As<View::ArrayValue>(), right.As<View::ArrayValue>());
    }
    return Detail::CopyValue(diff, context.Units);
}

// The "FullDiff" composite of a trait diff, or null for a plain trait diff.
struct TraitDiff
{
    const View::Unit* Previous = nullptr;
    const View::Unit* Next = nullptr;
};
std::optional<TraitDiff> ReadTraitDiff(const View::Unit& value)
{
    if (!HasTrait(value, DiffMarks::FullDiff))
    {
        return std::nullopt;
    }
    TraitDiff diff;
    if (const View::CompositeValue* composite = FindComposite(value))
    {
        const View::Property* previous = composite->Find(DiffMarks::PreviousValue);
        const View::Property* next = composite->Find(DiffMarks::NewValue);
        diff.Previous = previous != nullptr ? &previous->GetValue() : nullptr;
        diff.Next = next != nullptr ? &next->GetValue() : nullptr;
    }
    return diff;
}

// One target trait against the diff's traits of its name: the new value, or null when it is removed.
UnitPtr MergeTrait(const View::Trait& trait, const View::Traits& diff, const Factory& factory)
{
    const View::Unit& value = trait.GetValue();
    UnitPtr result;
    bool removed = false;
    int matches = 0;
    auto match = MakeProcessor<const View::Trait>(
        [&](const View::Trait& candidate)
        {
            const View::Unit& change = candidate.GetValue();
            if (const std::optional<TraitDiff> full = ReadTraitDiff(change))
            {
                if (full->Previous == nullptr || !UnitEqual(*full->Previous, value))
                {
                    return;
                }
                if (++matches > 1 || full->Next == nullptr)
                {
                    throw MergeFailed(COMMON_LOCATION("Por::Util::MergeTrait"));
                }
                removed = HasTrait(*full->Next, DiffMarks::Removed);
                result = removed ? nullptr : Copy(*full->Next, factory);
                return;
            }
            const unsigned marks = ReadMarks(change);
            if ((marks & Bits::Added) != 0)
            {
                return;
            }
            if (++matches > 1)
            {
                throw MergeFailed(COMMON_LOCATION("Por::Util::MergeTrait"));
            }
            removed = (marks & Bits::Removed) != 0;
            // Trait values keep their marks: they may be diffs or patterns themselves.
            result = removed ? nullptr : MergeNode(Context{factory, true, false}, value, change, false);
        });
    diff.ForEachNamed(trait.GetName(), match);
    if (removed)
    {
        return nullptr;
    }
    return result != nullptr ? std::move(result) : Copy(value, factory);
}

// The traits that the diff adds: "FullDiff"s whose previous value is marked "Added", and plain trait
// diffs marked "Added".
void AddTraits(const View::Traits& diff, Construction::Unit& result, const Factory& factory)
{
    try
    {
        auto add = MakeProcessor<const View::Trait>(
            [&](const View::Trait& trait)
            {
                const View::Unit& change = trait.GetValue();
                if (const std::optional<TraitDiff> full = ReadTraitDiff(change))
                {
                    if (full->Previous != nullptr && full->Next != nullptr &&
                        HasTrait(*full->Previous, DiffMarks::Added))
                    {
                        result.GetTraits().Add(
                            factory.CreateTrait(trait.GetName(), Copy(*full->Next, factory)));
                    }
                }
                else if (HasTrait(change, DiffMarks::Added))
                {
                    result.GetTraits().Add(factory.CreateTrait(
                        trait.GetName(), Detail::CopyWithoutTraits(change, {DiffMarks::Added}, factory)));
                }
            });
        diff.ForEach(add);
    }
    catch (const Common::Error& error)
    {
        Common::Error failure = MergeFailed(COMMON_LOCATION("Por::Util::AddTraits"));
        failure.SetSubError(error);
        throw failure;
    }
}

void MergeTraits(const View::Unit& target, const View::Unit& diff, Construction::Unit& result,
                 const Factory& factory)
{
    const View::Traits& changes = diff.GetTraits();
    auto each = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            if (UnitPtr value = MergeTrait(trait, changes, factory))
            {
                result.GetTraits().Add(factory.CreateTrait(trait.GetName(), std::move(value)));
            }
        });
    target.GetTraits().ForEach(each);
    AddTraits(changes, result, factory);
}

// The marks a full copy leaves out: those of the node, or with `keepMarks` only those of its own step.
UnitPtr CopyFullElement(const Context& context, const View::Unit& diff)
{
    if (context.KeepMarks)
    {
        return Detail::CopyWithoutTraits(
            diff, {DiffMarks::PackedDiff, DiffMarks::FullElementCopy, DiffMarks::FixedTraitedFullCopy},
            context.Units);
    }
    return Detail::CopyWithoutTraits(diff,
                                     {DiffMarks::PackedDiff, DiffMarks::EmptyDiff, DiffMarks::FullElementCopy,
                                      DiffMarks::FixedTraitedFullCopy, DiffMarks::TraitsOnlyDiff},
                                     context.Units);
}

UnitPtr MergeNode(const Context& context, const View::Unit& target, const View::Unit& diff,
                  bool requirePacked)
{
    const unsigned marks = ReadMarks(diff);
    if (requirePacked && (marks & Bits::Packed) == 0)
    {
        throw MergeFailed(COMMON_LOCATION("Por::Util::InternalMerge"));
    }
    if ((marks & Bits::Empty) != 0)
    {
        return Copy(target, context.Units);
    }
    if ((marks & Bits::FullCopy) != 0)
    {
        UnitPtr result = CopyFullElement(context, diff);
        if ((marks & Bits::FixedTraits) == 0)
        {
            CopyTraits(target.GetTraits(), result->GetTraits(), context.Units);
        }
        return result;
    }
    UnitPtr result;
    if ((marks & Bits::TraitsOnly) == 0)
    {
        result = MergeValues(context, target, diff);
    }
    else if (context.Sparse && IsComposite(target))
    {
        result = context.Units.CreateComposite();
    }
    else
    {
        result = Detail::CopyValue(target, context.Units);
    }
    MergeTraits(target, diff, *result, context.Units);
    return result;
}

Common::Error MakeMergeError(const View::Unit& target, const View::Unit& diff, const Common::Error& cause)
{
    Common::Error error =
        MakeError(COMMON_LOCATION("Por::Util::Merge"), ErrorCodes::MergeFailed,
                  Common::Texts::PorMergeFailedObject, {UnitToWideString(&target), UnitToWideString(&diff)});
    error.SetSubError(cause);
    return error;
}

} // namespace

void ApplyDiff(Modification::Unit& target, const View::Unit& diff, const Construction::UnitFactory& factory)
{
    const unsigned marks = ReadMarks(diff);
    if ((marks & Bits::Packed) == 0)
    {
        throw MergeFailed(COMMON_LOCATION("Por::Util::ApplyDiff"));
    }
    if ((marks & Bits::Empty) != 0)
    {
        return;
    }
    UnitPtr merged;
    try
    {
        const ExcludeTraitUnit unpacked(diff, DiffMarks::PackedDiff);
        merged = MergeNode(Context{factory, false, true}, target, unpacked, false);
    }
    catch (const Common::Error& error)
    {
        throw MakeMergeError(target, diff, error);
    }
    Assign(target, *merged);
}

UnitPtr InternalMerge(const View::Unit& target, const View::Unit& diff,
                      const Construction::UnitFactory& factory, bool requirePacked, bool keepMarks)
{
    return MergeNode(Context{factory, keepMarks, false}, target, diff, requirePacked);
}

UnitPtr MergeImpl(const View::Unit& target, const View::Unit& diff, const Construction::UnitFactory& factory,
                  bool keepMarks)
{
    return MergeValues(Context{factory, keepMarks, false}, target, diff);
}

UnitPtr Merge(const View::Unit& target, const View::Unit& diff, const Construction::UnitFactory& factory)
{
    try
    {
        return InternalMerge(target, diff, factory, true, false);
    }
    catch (const Common::Error& error)
    {
        throw MakeMergeError(target, diff, error);
    }
}

UnitPtr Merge(const ConstUnit& target, const View::Unit& diff)
{
    if (target.GetHolder() == nullptr || target.GetHolder()->IsEmpty())
    {
        throw Errors::ApplyingDiffToEmptyUnit();
    }
    return Merge(target.Get(), diff, target.GetFactory());
}

} // namespace Por::Util
