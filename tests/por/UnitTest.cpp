#include "TestUnits.h"
#include "por/Compare.h"
#include "por/UnitAccess.h"
#include "por/UnitAccumulator.h"
#include "por/UnitBuilder.h"
#include "por/UnitExplorer.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using namespace Por;
using namespace Por::Testing;

TEST(ValueKindTest, NamesAndNumbers)
{
    EXPECT_EQ(GetValueTypeName(0u), "nil");
    EXPECT_EQ(GetValueTypeName(7u), "sdword");
    EXPECT_EQ(GetValueTypeName(16u), "composite");
    EXPECT_EQ(GetValueTypeName(17u), "17");
    EXPECT_EQ(GetValueTypeName(4000000000u), "4000000000");
    EXPECT_EQ(GetValueTypeIndex(*Factory.CreateSQWord(1)), ValueKind::SQWord);
    EXPECT_EQ(GetValueTypeIndex(*Factory.CreateError(Common::Success)), ValueKind::Error);
}

TEST(CompareTest, KindsOrderFirstThenValuesWithinTheirKind)
{
    EXPECT_FALSE(UnitEqual(*Factory.CreateDWord(1), *Factory.CreateSDWord(1)));
    EXPECT_FALSE(UnitValueEqual(*Factory.CreateWord(1), *Factory.CreateDWord(1)));
    struct Case
    {
        UnitPtr Left;
        UnitPtr Right;
        int Expected;
    };
    const Common::Guid low{1, 0, 0, {}};
    const Common::Guid high{0, 0, 0, {1}};
    const Case cases[] = {
        {Factory.CreateSDWord(1), Factory.CreateDWord(1), 1}, // kinds never tie
        {Factory.CreateNil(), Factory.CreateComposite(), -1},
        {Factory.CreateSDWord(-5), Factory.CreateSDWord(3), -1},
        {Factory.CreateDWord(0xFFFFFFFF), Factory.CreateDWord(3), 1},
        {Factory.CreateBoolean(false), Factory.CreateBoolean(true), -1},
        {Factory.CreateDouble(2.5), Factory.CreateDouble(2.5), 0},
        {Factory.CreateString(u"ab"), Factory.CreateString(u"b"), -1},
        {Factory.CreateString(u"\uE000"), Factory.CreateString(u"\U0001F600"), 1}, // by UTF-16 units
        {Factory.CreateBlob({1, 2}), Factory.CreateBlob({1, 2, 0}), -1},
        {Factory.CreateGuid(low), Factory.CreateGuid(high), 1}, // by bytes in memory order
        {Util::Build().Array().Element(1u).Done(), Util::Build().Array().Element(0u).Element(0u).Done(), -1},
        {Util::Build().Array().Element(2u).Done(), Util::Build().Array().Element(1u).Done(), 1},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        EXPECT_EQ(Compare(*cases[i].Left, *cases[i].Right), cases[i].Expected) << i;
        EXPECT_EQ(Compare(*cases[i].Right, *cases[i].Left), -cases[i].Expected) << i;
    }
}

TEST(CompareTest, CompositesCompareByPropertiesThenTraits)
{
    const UnitPtr base = Util::Build().Composite().Property("a", 1u).Property("c", 1u).Done();
    const UnitPtr extra =
        Util::Build().Composite().Property("a", 1u).Property("b", 0u).Property("c", 1u).Done();
    const UnitPtr bigger = Util::Build().Composite().Property("a", 2u).Property("c", 1u).Done();
    const UnitPtr otherName = Util::Build().Composite().Property("a", 1u).Property("d", 0u).Done();
    EXPECT_EQ(Compare(*base, *extra), -1);
    EXPECT_EQ(Compare(*extra, *base), 1);
    EXPECT_EQ(Compare(*base, *bigger), -1);
    // A name on one side only decides over any difference of values.
    EXPECT_EQ(Compare(*bigger, *extra), -1);
    EXPECT_EQ(Compare(*base, *otherName), -1);
    EXPECT_EQ(Compare(*base, *Util::Copy(*base, Factory)), 0);

    const UnitPtr traited = Util::Copy(*base, Factory);
    traited->GetTraits().Add(Factory.CreateTrait("Is", Factory.CreateString(u"X")));
    EXPECT_EQ(Compare(*traited, *base), 1);
    EXPECT_TRUE(UnitValueEqual(*traited, *base));
    EXPECT_FALSE(UnitEqual(*traited, *base));
}

TEST(CompositeTest, SetReplacesByNameAndKeepsNameOrder)
{
    const UnitPtr unit = Factory.CreateComposite();
    Construction::CompositeValue& composite = Util::GetComposite(*unit);
    for (const char* name : {"b", "a", "c", "B"})
    {
        composite.Set(Factory.CreateProperty(name, Factory.CreateDWord(1)));
    }
    composite.Set(Factory.CreateProperty("a", Factory.CreateDWord(7)));
    EXPECT_EQ(composite.Size(), 4u);
    EXPECT_EQ(Util::GetPropertyValue<std::uint32_t>(*unit, "a"), 7u);
    std::vector<std::string> names;
    for (auto iterator = composite.GetIterator(); iterator->IsValid(); iterator->Next())
    {
        names.push_back(iterator->Current().GetName());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"B", "a", "b", "c"}));
    EXPECT_EQ(composite.Remove("a"), 1u);
    EXPECT_EQ(composite.Remove("a"), 0u);
    EXPECT_EQ(Failure([&] { composite.Set(nullptr); }).GetCode(), 0xfa000bu);
}

TEST(TraitsTest, SetSemanticsByNameAndValue)
{
    const UnitPtr unit = Factory.CreateNil();
    Construction::Traits& traits = unit->GetTraits();
    for (const char16_t* value : {u"b", u"b", u"a"})
    {
        traits.Add(Factory.CreateTrait("Is", Factory.CreateString(value)));
    }
    traits.Add(Factory.CreateTrait("A", Factory.CreateNil()));
    EXPECT_EQ(TraitList(traits), (std::vector<std::string>{"A=nil", "Is=a", "Is=b"}));
    EXPECT_EQ(TraitList(traits, "Is"), (std::vector<std::string>{"Is=a", "Is=b"}));
    EXPECT_EQ(traits.Remove("Is"), 2u);
    EXPECT_EQ(traits.Remove("Is"), 0u);
    EXPECT_EQ(Failure([&] { traits.Add(nullptr); }).GetCode(), 0xfa000bu);
    EXPECT_EQ(Failure([&] { Factory.CreateTrait("x", nullptr); }).GetCode(), 0xfa000bu);
}

TEST(ArrayTest, IndexesAreChecked)
{
    const UnitPtr unit = Factory.CreateArray();
    Construction::ArrayValue& array = Util::GetArray(*unit);
    array.Insert(0, Factory.CreateDWord(2));
    array.Insert(array.Size(), Factory.CreateDWord(3)); // at the size: appends
    array.PushFront(Factory.CreateDWord(1));
    const Common::Error error = Failure([&] { array.Insert(array.Size() + 1, Factory.CreateDWord(9)); });
    EXPECT_EQ(error.GetCode(), 0xfa000fu);
    EXPECT_EQ(error.GetMessage(), u"POR: Out of range.");
    EXPECT_EQ(Failure([&] { array.RemoveAt(3); }).GetCode(), 0xfa000fu);
    EXPECT_EQ(Failure([&] { array.Get(3); }).GetCode(), 0xfa000fu);
    std::vector<std::uint32_t> values;
    auto collect = MakeProcessor<const View::Unit>(
        [&](const View::Unit& element) { values.push_back(Util::GetValue<std::uint32_t>(element)); });
    static_cast<const View::ArrayValue&>(array).ForEach(collect);
    EXPECT_EQ(values, (std::vector<std::uint32_t>{1, 2, 3}));
    array.RemoveAt(1);
    array.PopFront();
    array.PopBack();
    array.PopBack(); // on an empty array: nothing
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_TRUE(UnitEqual(*unit, *Factory.CreateArray()));

    // The modification face copies what it is given.
    const UnitPtr element = Factory.CreateDWord(5);
    static_cast<Modification::ArrayValue&>(array).PushBack(static_cast<const View::Unit&>(*element));
    EXPECT_NE(array.GetPointer(0), element);
    EXPECT_TRUE(UnitEqual(array.Get(0), *element));
}

TEST(UnitAccessTest, ValuesReadOnlyAsTheirOwnKind)
{
    const UnitPtr word = Factory.CreateWord(1);
    EXPECT_EQ(Util::GetValue<std::uint16_t>(*word), 1u);
    const Common::Error error = Failure([&] { Util::GetValue<std::uint32_t>(*word); });
    EXPECT_EQ(error.GetCode(), 0xfa000au);
    EXPECT_EQ(error.GetMessage(),
              u"POR: There is a mismatch in object internal structure. Expected object type is "
              u"'dword', actual object type is 'word'.");
    EXPECT_EQ(Util::GetValueOr<std::uint32_t>(*word, 9u), 9u);
    std::uint32_t out = 3;
    EXPECT_EQ(Util::TryGetValue(*word, out).GetCode(), 0xfa000au);
    EXPECT_EQ(out, 3u);

    const UnitPtr object = Util::Build().Composite().Property("Count", std::int64_t{4}).Done();
    const Common::Error property = Failure([&] { Util::GetPropertyValue<std::uint64_t>(*object, "Count"); });
    EXPECT_EQ(property.GetMessage(),
              u"POR: There is a mismatch in object property 'Count'. Expected property type "
              u"is 'qword', actual property type is 'sqword'.");
    const Common::Error missing = Failure([&] { Util::GetPropertyValue(*object, "Other"); });
    EXPECT_EQ(missing.GetCode(), 0xfa000du);
    EXPECT_EQ(missing.GetMessage(), u"POR: Property 'Other' cannot be found.");
    EXPECT_EQ(Util::FindPropertyValue(*object, "Other"), nullptr);
    EXPECT_EQ(Failure([&] { Util::FindPropertyValue(*word, "x"); }).GetCode(), 0xfa000au);

    Util::SetValue<std::uint16_t>(*word, 8);
    EXPECT_EQ(Util::GetValue<std::uint16_t>(*word), 8u);
    EXPECT_EQ(Failure([&] { Util::SetValue<std::int16_t>(*word, 8); }).GetCode(), 0xfa000au);

    const Util::BasicOperations none;
    EXPECT_EQ(Failure([&] { none.GetUnitFactory(); }).GetMessage(), u"Unit factory is not defined");
}

TEST(UnitAccessTest, CopyIsDeepAndIndependent)
{
    // clang-format off
    const UnitPtr source = Util::Build().Composite().Trait("Is", u"Object")
        .Property("List").Array()
            .Element(Common::Guid{1, 2, 3, {4}}).Value(Blob{1, 2}).Trait("Mark", nullptr).End()
        .End()
        .Property("Error", Common::Error(COMMON_LOCATION("T"), 0xfa0001, u"e"))
        .Done();
    // clang-format on
    const UnitPtr copy = Util::Copy(*source, Factory);
    EXPECT_TRUE(UnitEqual(*copy, *source));
    Util::GetArray(Util::GetPropertyValue(*copy, "List")).PopBack();
    EXPECT_FALSE(UnitEqual(*copy, *source));
    EXPECT_EQ(Util::GetArray(Util::GetPropertyValue(*source, "List")).Size(), 2u);
}

TEST(UnitAccumulatorTest, BuildsIntoExistingTrees)
{
    // clang-format off
    const UnitPtr root = Util::Build().Composite().Property("Keep", 1u)
        .Property("Inner").Composite().Property("x", 1u).End()
        .Property("List").Array().Element(1u).End()
        .Done();
    // clang-format on
    Util::UnitAccumulator into(Factory, root);
    into.BeginProperty("Inner");
    into.BeginComposite();
    into.BeginProperty("y");
    into.OnDWord(2);
    into.End();
    into.End();
    into.BeginProperty("List");
    into.BeginArray();
    into.OnDWord(2);
    into.End();
    into.End();
    into.BeginProperty("Keep");
    into.OnString(u"replaced");
    into.End();
    // clang-format off
    const UnitPtr expected = Util::Build().Composite()
        .Property("Inner").Composite().Property("x", 1u).Property("y", 2u).End()
        .Property("Keep", u"replaced")
        .Property("List").Array().Element(1u).Element(2u).End()
        .Done();
    // clang-format on
    EXPECT_TRUE(UnitEqual(*root, *expected)) << Util::UnitToString(*root);
}

TEST(UnitPrinterTest, OneLinePerNodeWithTraitsAfterTheirUnit)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Composite().Property("Name", u"caf\u00e9")
        .Property("Count").Value(std::int64_t{-3}).Trait("Unit", nullptr).End()
        .Property("Ratio", 0.1)
        .Done();
    // clang-format on
    EXPECT_EQ(Util::UnitToString(*unit), "Root (Composite)\n"
                                         "  Count (sqword) = -3\n"
                                         "    ^Unit (NIL)\n"
                                         "  Name (Common::String) = caf\xC3\xA9\n"
                                         "  Ratio (double) = 0.1\n");
    EXPECT_EQ(Util::UnitToString(nullptr), "Null unit");
}

TEST(UnitExplorerTest, VisitsTraitsBeforeValuesDepthFirst)
{
    struct Recorder : View::BaseUnitExplorer
    {
        std::vector<ValueKind> Kinds;
        bool OnUnit(const View::Unit& unit) override
        {
            Kinds.push_back(GetValueTypeIndex(unit));
            return Kinds.size() == StopAfter;
        }
        std::size_t StopAfter = 100;
    };
    // clang-format off
    const UnitPtr unit = Util::Build().Composite().Trait("T", 1u).Property("a").Array().Element(true).End()
        .Property("b", u"s").Done();
    // clang-format on
    Recorder all;
    EXPECT_FALSE(all.Explore(*unit));
    EXPECT_EQ(all.Kinds, (std::vector<ValueKind>{ValueKind::Composite, ValueKind::DWord, ValueKind::Array,
                                                 ValueKind::Boolean, ValueKind::String}));
    Recorder stopping;
    stopping.StopAfter = 3;
    EXPECT_TRUE(stopping.Explore(*unit));
    EXPECT_EQ(stopping.Kinds.size(), 3u);
}

TEST(VisitorTest, ThrowingVisitorAcceptsOnlyWhatItOverrides)
{
    struct CompositeOnly : View::TypeMismatchThrowingVisitor
    {
        using TypeMismatchThrowingVisitor::Visit;
        void Visit(const View::CompositeValue&) override { Seen = true; }
        bool Seen = false;
    };
    CompositeOnly visitor;
    Factory.CreateComposite()->Visit(visitor);
    EXPECT_TRUE(visitor.Seen);
    const Common::Error error = Failure([&] { Factory.CreateGuid({})->Visit(visitor); });
    EXPECT_EQ(error.GetCode(), 0xfa000au);
    EXPECT_EQ(error.GetMessage(),
              u"POR: There is a mismatch in object internal structure. Actual object of type "
              u"'guid' is not expected.");
    View::NullVisitor nothing;
    Factory.CreateNil()->Visit(nothing);
}

} // namespace
