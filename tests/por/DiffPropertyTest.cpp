// Random pairs of trees: merging the diff of two trees into the first gives the second, and applying it
// in place does what assignment allows. Seeds are fixed; a failure names its seed and prints the trees.
#include "TestUnits.h"
#include "por/Compare.h"
#include "por/Diff.h"
#include "por/DiffCopy.h"
#include "por/DiffMarks.h"
#include "por/Merge.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace Por;
using namespace Por::Testing;

// Few names, so that the two trees of a pair share most of them; none is a diff mark.
constexpr std::array<const char*, 6> PropertyNames{"a", "b", "Zeta", "\xC3\xA4", "\xE5\x90\x8D", "x y"};
constexpr std::array<const char*, 3> TraitNames{"Is", "Tag", "\xC3\xB6"};
constexpr std::size_t LeafKinds = 14;

class TreeMaker
{
public:
    explicit TreeMaker(std::uint64_t seed) : Random(seed) {}

    bool Chance(int percent) { return Pick(100) < static_cast<std::size_t>(percent); }
    std::size_t Pick(std::size_t count)
    {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(Random);
    }

    // A composite root most of the time; below it nearly half of the nodes are containers.
    UnitPtr Tree(int depth) { return Value(depth, Chance(85) ? 15 : Pick(LeafKinds + 1)); }
    UnitPtr Value(int depth)
    {
        return Value(depth, depth > 0 && Chance(45) ? 14 + Pick(2) : Pick(LeafKinds));
    }

    // Kinds 0 to 13 are every leaf but error (doubles finite), 14 an array, 15 a composite.
    UnitPtr Value(int depth, std::size_t kind)
    {
        const auto small = [this](auto max) { return static_cast<decltype(max)>(Pick(4)) - max; };
        const std::array<std::function<UnitPtr()>, LeafKinds> leaves{
            [&] { return Factory.CreateNil(); },
            [&] { return Factory.CreateBoolean(Chance(50)); },
            [&] { return Factory.CreateByte(static_cast<std::uint8_t>(Pick(4))); },
            [&] { return Factory.CreateSByte(small(std::int8_t{2})); },
            [&] { return Factory.CreateWord(static_cast<std::uint16_t>(Pick(4))); },
            [&] { return Factory.CreateSWord(small(std::int16_t{2})); },
            [&] { return Factory.CreateDWord(static_cast<std::uint32_t>(Pick(4))); },
            [&] { return Factory.CreateSDWord(small(std::int32_t{2})); },
            [&] { return Factory.CreateQWord(Pick(4)); },
            [&] { return Factory.CreateSQWord(small(std::int64_t{2})); },
            [&] { return Factory.CreateDouble(static_cast<double>(Pick(4)) / 4); },
            [&] { return Factory.CreateBlob(Blob(Pick(3), static_cast<std::uint8_t>(Pick(3)))); },
            [&] {
                return Factory.CreateGuid(Common::Guid{static_cast<std::uint32_t>(Pick(3)), 1, 2, {}});
            },
            [&] { return Factory.CreateString(Chance(50) ? String(u"s") : String(u"\u00e4\U0001F600")); },
        };
        UnitPtr unit = kind < LeafKinds ? leaves[kind]()
                       : kind == 14     ? Factory.CreateArray()
                                        : Factory.CreateComposite();
        for (std::size_t i = kind < LeafKinds ? 0 : Pick(6) + (kind - 14); i > 0; --i)
        {
            if (kind == 14)
            {
                Util::GetArray(*unit).PushBack(Value(depth - 1));
            }
            else
            {
                Util::AddProperty(*unit, Name(), Value(depth - 1), Factory);
            }
        }
        if (Chance(30))
        {
            AddTraits(*unit); // one name may come with several values
        }
        return unit;
    }

    // A tree near `unit`: values and elements change, properties and traits go. With `grow`, kinds
    // change and properties and traits come too; without, the result is what assignment can take.
    UnitPtr Change(const View::Unit& unit, int depth, bool grow)
    {
        if (grow && Chance(8))
        {
            return Value(depth);
        }
        const ValueKind kind = GetValueTypeIndex(unit);
        UnitPtr result;
        if (kind == ValueKind::Composite)
        {
            result = Factory.CreateComposite();
            auto each = MakeProcessor<const View::Property>(
                [&](const View::Property& property)
                {
                    if (!Chance(15))
                    {
                        Util::AddProperty(*result, property.GetName(),
                                          Change(property.GetValue(), depth - 1, grow), Factory);
                    }
                });
            Util::GetComposite(unit).ForEach(each);
            if (grow && Chance(20))
            {
                Util::AddProperty(*result, Name(), Value(depth - 1), Factory);
            }
        }
        else
        {
            const std::size_t same = kind == ValueKind::Array ? 14 : static_cast<std::size_t>(kind);
            result = Util::Detail::CopyValue(Chance(60) ? unit : *Value(depth, same), Factory);
        }
        auto each = MakeProcessor<const View::Trait>(
            [&](const View::Trait& trait)
            {
                if (!Chance(15))
                {
                    Util::AddTrait(*result, trait.GetName(),
                                   grow && Chance(10) ? TraitValue() : Util::Copy(trait.GetValue(), Factory),
                                   Factory);
                }
            });
        unit.GetTraits().ForEach(each);
        if (grow && Chance(10))
        {
            AddTraits(*result);
        }
        return result;
    }

private:
    const char* Name() { return PropertyNames[Pick(PropertyNames.size())]; }

    void AddTraits(Construction::Unit& unit)
    {
        for (std::size_t i = Pick(3) + 1; i > 0; --i)
        {
            Util::AddTrait(unit, TraitNames[Pick(TraitNames.size())], TraitValue(), Factory);
        }
    }

    UnitPtr TraitValue()
    {
        UnitPtr value =
            Chance(30) ? Factory.CreateNil() : Factory.CreateDWord(static_cast<std::uint32_t>(Pick(3)));
        if (Chance(10))
        {
            Util::AddTrait(*value, "Tag", Factory);
        }
        return value;
    }

    std::mt19937_64 Random;
};

// `target` as assignment leaves it after taking `source`: the source's values where it has them, the
// target's properties where it has not, and the target's traits throughout.
UnitPtr Overlay(const View::Unit& target, const View::Unit& source)
{
    UnitPtr result = Util::Detail::CopyValue(Util::IsComposite(target) ? target : source, Factory);
    auto each = MakeProcessor<const View::Property>(
        [&](const View::Property& property)
        {
            if (const View::Unit* other = Util::FindPropertyValue(source, property.GetName()))
            {
                Util::AddProperty(*result, property.GetName(), Overlay(property.GetValue(), *other), Factory);
            }
        });
    if (Util::IsComposite(target))
    {
        Util::GetComposite(target).ForEach(each);
    }
    Util::CopyTraits(target.GetTraits(), result->GetTraits(), Factory);
    return result;
}

// The nodes that assignment reaches by property: the root and composite properties, not array elements.
void CollectAssignedNodes(Construction::Unit& unit, std::vector<Construction::Unit*>& nodes)
{
    nodes.push_back(&unit);
    if (Construction::CompositeValue* composite = Util::FindComposite(unit))
    {
        auto each = MakeProcessor<Construction::Property>(
            [&](Construction::Property& property) { CollectAssignedNodes(property.GetValue(), nodes); });
        composite->ForEach(each);
    }
}

std::string Describe(std::uint64_t seed, const View::Unit& a, const View::Unit& b, const View::Unit& diff)
{
    return "seed " + std::to_string(seed) + "\na:\n" + Util::UnitToString(a) + "\nb:\n" +
           Util::UnitToString(b) + "\ndiff:\n" + Util::UnitToString(diff);
}

constexpr int Depth = 4;

TEST(DiffPropertyTest, MergingTheDiffOfTwoTreesIntoTheFirstGivesTheSecond)
{
    const UnitPtr empty = Mark(Nil(), {DiffMarks::EmptyDiff, DiffMarks::PackedDiff});
    for (std::uint64_t seed = 1; seed <= 4000; ++seed)
    {
        TreeMaker maker(seed);
        const UnitPtr a = maker.Tree(Depth);
        const UnitPtr b = seed % 4 == 0 ? maker.Tree(Depth) : maker.Change(*a, Depth, true);
        const UnitPtr diff = Util::Diff(*a, *b, Factory);
        const UnitPtr merged = Util::InternalMerge(*a, *diff, Factory, true, false);
        ASSERT_TRUE(UnitEqual(*merged, *b)) << Describe(seed, *a, *b, *diff) << "\nmerged:\n"
                                            << Util::UnitToString(*merged);
        ASSERT_EQ(Util::HasTrait(*diff, DiffMarks::EmptyDiff), UnitEqual(*a, *b))
            << Describe(seed, *a, *b, *diff);
    }
}

// In place a diff takes values and keeps what the second tree drops; a changed trait on a node that
// assignment reaches makes it fail and change nothing.
TEST(DiffPropertyTest, ApplyingInPlaceTakesValuesAndRefusesChangedTraits)
{
    for (std::uint64_t seed = 1; seed <= 2000; ++seed)
    {
        TreeMaker maker(seed);
        const UnitPtr a = maker.Tree(Depth);
        const UnitPtr b = maker.Change(*a, Depth, false);
        const UnitPtr diff = Util::Diff(*a, *b, Factory);
        const UnitPtr target = Util::Copy(*a, Factory);
        Util::ApplyDiff(*target, *diff, Factory);
        ASSERT_TRUE(UnitEqual(*target, *Overlay(*a, *b))) << Describe(seed, *a, *b, *diff) << "\napplied:\n"
                                                          << Util::UnitToString(*target);
        if (seed > 1000)
        {
            continue;
        }
        std::vector<Construction::Unit*> nodes;
        CollectAssignedNodes(*b, nodes);
        Construction::Unit& changed = *nodes[maker.Pick(nodes.size())];
        Util::RemoveTrait(changed, "Tag");
        Util::AddTrait(changed, "Tag", Factory.CreateDWord(7), Factory);
        const UnitPtr traitDiff = Util::Diff(*a, *b, Factory);
        const UnitPtr untouched = Util::Copy(*a, Factory);
        const Common::Error error = Failure([&] { Util::ApplyDiff(*untouched, *traitDiff, Factory); });
        ASSERT_EQ(error.GetCode(), 0xfa0012u) << Describe(seed, *a, *b, *traitDiff);
        ASSERT_TRUE(UnitEqual(*untouched, *a)) << Describe(seed, *a, *b, *traitDiff);
    }
}

} // namespace
