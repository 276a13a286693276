#include "dml/ObjectKey.h"

#include "common/ThrownError.h"
#include "dml/CounterPattern.h"
#include "dml/KeyPattern.h"
#include "por/BaseObject.h"
#include "por/Compare.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"

#include <gtest/gtest.h>

namespace
{

using Testing::ThrownError;
const Por::Construction::UnitFactory& Factory = Por::GetUnitFactory();
const Common::Guid SomeGuid{0x12345678, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}};

std::size_t CountTraits(const Por::View::Unit& unit, std::string_view name)
{
    std::size_t count = 0;
    auto counter = Por::MakeProcessor<const Por::View::Trait>([&](const Por::View::Trait&) { ++count; });
    unit.GetTraits().ForEachNamed(name, counter);
    return count;
}

TEST(ObjectKeyTest, KeyIsTheFirstBearerDepthFirstWithItsPath)
{
    struct Case
    {
        const char* Name;
        Por::UnitPtr Object;
        const char16_t* Path;
        std::uint32_t Value;
    };
    const Case cases[] = {
        {"property",
         Por::Util::Build().Composite().Property("ID").Value(7u).Trait("PrimaryKey", nullptr).End().Done(),
         u".ID", 7u},
        // "A" comes before the shallower "B" because the walk goes deep first, in name order.
        {"nested before shallower",
         Por::Util::Build()
             .Composite()
             .Property("A")
             .Composite()
             .Property("Ref")
             .Composite()
             .Property("Key")
             .Value(1u)
             .Trait("PrimaryKey", nullptr)
             .End()
             .End()
             .End()
             .Property("B")
             .Value(2u)
             .Trait("PrimaryKey", nullptr)
             .End()
             .Done(),
         u".A.Ref.Key", 1u},
        {"array element",
         Por::Util::Build()
             .Composite()
             .Property("Items")
             .Array()
             .Element(0u)
             .Composite()
             .Property("X")
             .Value(3u)
             .Trait("PrimaryKey", nullptr)
             .End()
             .End()
             .End()
             .End()
             .Done(),
         u".Items.1.X", 3u},
    };
    for (const Case& test : cases)
    {
        SCOPED_TRACE(test.Name);
        EXPECT_TRUE(Dml::HasObjectKey(*test.Object));
        const Por::View::Unit& key = Dml::GetObjectKey(*test.Object);
        EXPECT_EQ(Por::Util::GetValue<std::uint32_t>(key), test.Value);

        const Por::ConstUnit handle(test.Object);
        Common::WideString path;
        const Por::ConstUnit found = Dml::FindObjectKey(handle, path);
        EXPECT_EQ(path, test.Path);
        EXPECT_EQ(&found.Get(), &key); // a handle into the object, not a copy

        const auto location = Dml::FindObjectKeyLocation(*test.Object);
        ASSERT_TRUE(location.has_value());
        EXPECT_EQ(location->GetPath(), test.Path);
        EXPECT_TRUE(Por::Util::UnitEqual(location->GetUnit(), key));
    }
}

TEST(ObjectKeyTest, RootBearerIsTheHandleItself)
{
    const Por::UnitPtr object =
        Por::Util::Build().Composite().Trait("PrimaryKey", nullptr).Property("N", 1u).Done();
    const Por::ConstUnit handle(object);
    Common::WideString path = u"stale";
    const Por::ConstUnit found = Dml::FindObjectKey(handle, path);
    EXPECT_EQ(path, u"");
    EXPECT_EQ(&found.Get(), object.get());
    EXPECT_EQ(&Dml::GetObjectPtrKey(object), object.get());
    EXPECT_EQ(&Dml::GetObjectBaseKey(Por::BaseObject(object)), object.get());
}

TEST(ObjectKeyTest, TraitValuedKeyIsTheValueOutsideTheTree)
{
    const Por::UnitPtr object = Por::Util::Build()
                                    .Composite()
                                    .Property("Ref")
                                    .Composite()
                                    .Trait("PrimaryKey")
                                    .Value(SomeGuid)
                                    .End()
                                    .End()
                                    .Done();
    const Por::View::Unit& key = Dml::GetObjectKey(*object);
    EXPECT_EQ(Por::Util::GetValue<Common::Guid>(key), SomeGuid);

    Common::WideString path;
    const Por::ConstUnit found = Dml::FindObjectKey(Por::ConstUnit(object), path);
    EXPECT_EQ(path, u".Ref");
    EXPECT_EQ(found.As<Common::Guid>(), SomeGuid);
    EXPECT_NE(&found.Get(), &key); // a copy: the trait value is not a node of the tree

    const auto location = Dml::FindObjectKeyLocation(*object);
    ASSERT_TRUE(location.has_value());
    EXPECT_EQ(location->GetPath(), u".Ref^PrimaryKey");
}

TEST(ObjectKeyTest, MissingKeyAndNullHandleFailWithTheirCodes)
{
    const Por::UnitPtr object = Por::Util::Build().Composite().Property("ID", 1u).Done();
    EXPECT_FALSE(Dml::HasObjectKey(*object));
    EXPECT_FALSE(Dml::FindObjectKeyLocation(*object).has_value());

    const Common::Error missing = ThrownError([&] { Dml::GetObjectKey(*object); });
    EXPECT_EQ(missing.GetCode(), 0x00FC000Au);
    EXPECT_EQ(missing.GetMessage(), u"DML: Object identification cannot be found.");
    Common::WideString path;
    EXPECT_EQ(ThrownError([&] { Dml::FindObjectKey(Por::ConstUnit(object), path); }).GetCode(), 0x00FC000Au);

    const Common::Error null = ThrownError([] { Dml::GetObjectPtrKey(nullptr); });
    EXPECT_EQ(null.GetCode(), 0x00AC0003u);
    EXPECT_EQ(null.GetMessage(), u"Pointer is null.");
    EXPECT_EQ(ThrownError([&] { Dml::FindObjectKey(Por::ConstUnit(), path); }).GetCode(), 0x00AC0003u);
    EXPECT_EQ(ThrownError([&] { Dml::FindObjectKey(Por::ConstUnit(object)["Absent"], path); }).GetCode(),
              0x00AC0003u);
}

TEST(KeyPatternTest, KeyPatternKeepsForeignKeysAndAlwaysAddsObjectId)
{
    const Por::UnitPtr plain = Factory.CreateGuid(SomeGuid);
    const Por::ConstUnitPtr fromPlain = Dml::MakeKeyPattern(*plain);
    EXPECT_EQ(CountTraits(*fromPlain, "PrimaryKey"), 1u);
    EXPECT_EQ(CountTraits(*fromPlain, "ObjectID"), 1u);
    EXPECT_FALSE(Por::Util::HasTraits(*plain)); // the key itself is left alone

    const Por::UnitPtr foreign = Factory.CreateGuid(SomeGuid);
    Por::Util::AddTrait(*foreign, "ForeignKey", Factory);
    const Por::ConstUnitPtr fromForeign = Dml::MakeKeyPattern(*foreign);
    EXPECT_EQ(CountTraits(*fromForeign, "PrimaryKey"), 0u);
    EXPECT_EQ(CountTraits(*fromForeign, "ForeignKey"), 1u);
    EXPECT_EQ(CountTraits(*fromForeign, "ObjectID"), 1u);

    const Por::UnitPtr primary = Factory.CreateGuid(SomeGuid);
    Por::Util::AddTrait(*primary, "PrimaryKey", Factory.CreateString(u"Tol"), Factory);
    EXPECT_EQ(CountTraits(*Dml::MakeKeyPattern(*primary), "PrimaryKey"), 1u);

    const Por::ConstUnitPtr fromValue = Dml::MakeKeyPatternFromValue(SomeGuid);
    EXPECT_EQ(Por::Util::GetValue<Common::Guid>(*fromValue), SomeGuid);
    EXPECT_TRUE(Por::Util::HasTrait(*fromValue, "ObjectID"));
    EXPECT_FALSE(Por::Util::HasTrait(*fromValue, "PrimaryKey"));
}

TEST(KeyPatternTest, KeyPatternsAreToldFromObjectPatterns)
{
    EXPECT_TRUE(Dml::IsKeyPattern(*Dml::MakeKeyPatternFromValue(SomeGuid)));
    EXPECT_TRUE(Dml::IsKeyPattern(*Dml::MakeKeyPattern(*Factory.CreateGuid(SomeGuid))));

    const Por::UnitPtr object = Por::Util::Build()
                                    .Composite()
                                    .Property("ID")
                                    .Value(SomeGuid)
                                    .Trait("PrimaryKey", nullptr)
                                    .End()
                                    .Done();
    EXPECT_FALSE(Dml::IsKeyPattern(*object));
    Por::Util::AddTrait(Por::Util::GetPropertyValue(*object, "ID"), "ObjectID", Factory);
    EXPECT_TRUE(Dml::IsKeyPattern(*object));
    EXPECT_FALSE(Dml::IsKeyPattern(*Factory.CreateComposite()));
}

TEST(KeyPatternTest, CounterPatternCarriesTheCountedUnitOnItsValue)
{
    const Por::UnitPtr counted = Por::Util::Build().Composite().Property("State", 5u).Done();
    const Por::ConstUnitPtr counter = Dml::MakeCounterPattern(*counted);
    EXPECT_EQ(Por::Util::GetValue<Por::String>(Por::Util::GetUniqueTraitByName(*counter, "Is")),
              u"CounterObject");
    const Por::View::Unit& value = Por::Util::GetPropertyValue(*counter, "CounterValue");
    EXPECT_EQ(Por::Util::GetValue<std::uint64_t>(value), 0u);
    EXPECT_TRUE(Por::Util::UnitEqual(Por::Util::GetUniqueTraitByName(value, "Count"), *counted));
    EXPECT_EQ(Por::Util::GetComposite(*counter).Size(), 1u);
}

} // namespace
