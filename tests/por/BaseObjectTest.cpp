#include "por/BaseObject.h"

#include "TestUnits.h"
#include "common/Error.h"
#include "por/Compare.h"
#include "por/ConversionErrors.h"
#include "por/Dictionary.h"
#include "por/Match.h"
#include "por/TraitUtil.h"
#include "por/UnitBuilder.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace Por;
using namespace Por::Testing;

class Details : public BaseObject
{
public:
    using BaseObject::BaseObject;
    std::uint32_t GetSpecific() const { return Get<std::uint32_t>("Specific"); }
    void SetSpecific(std::uint32_t value) { Set("Specific", value); }
    Details GetInner() const { return GetObject<Details>("Inner"); }
};

class Record : public BaseObject
{
public:
    using BaseObject::BaseObject;
    using BaseObject::SetNil;
    String GetName() const { return Get<String>("Name"); }
    void SetName(const String& value) { Set("Name", value); }
    std::uint32_t GetCount() const { return Get<std::uint32_t>("Count"); }
    Details GetDetails() const { return GetObject<Details>("Details"); }
};

TEST(BaseObjectTest, NilMarkedPropertiesAreUnsetAndStayOutOfThePattern)
{
    Record record(Factory.CreateComposite());
    record.SetNil("Name", Factory.CreateString(u""));
    record.SetNil("Count", Factory.CreateDWord(0));
    EXPECT_FALSE(record.IsSet("Name"));
    EXPECT_FALSE(record.IsSet("Missing"));
    record.SetName(u"x");
    EXPECT_TRUE(record.IsSet("Name"));
    EXPECT_EQ(record.GetName(), u"x");

    const ConstUnitPtr pattern = record.ToPattern();
    EXPECT_EQ(Util::FindPropertyValue(*pattern, "Count"), nullptr);
    EXPECT_TRUE(Util::HasTraitWithValue(Util::GetPropertyValue(*pattern, "Name"), "EqualValue", u"x"));
    EXPECT_TRUE(Match(*record.ToUnit(), *pattern));
    record.SetName(u"y");
    EXPECT_FALSE(Match(*record.ToUnit(), *pattern));
}

TEST(BaseObjectTest, ToUnitRemovesNilNodesAtAllDepthsDeepestFirst)
{
    // Details is Nil and holds a Nil property; Items has a Nil element between elements with Nil
    // properties, so removing in the wrong order would hit a shifted index.
    // clang-format off
    const UnitPtr root = Util::Build().Composite().Property("Name", u"kept")
        .Property("Count").Value(0u).Trait("Nil", nullptr).End()
        .Property("Details").Composite().Trait("Nil", nullptr)
            .Property("Specific").Value(0u).Trait("Nil", nullptr).End()
            .Property("Other", 1u)
        .End()
        .Property("Items").Array()
            .Composite().Property("A", 1u).Property("B").Value(2u).Trait("Nil", nullptr).End().End()
            .Composite().Trait("Nil", nullptr).End()
            .Composite().Property("A").Value(3u).Trait("Nil", nullptr).End().Property("C", 4u).End()
        .End()
        .Done();
    const UnitPtr expected = Util::Build().Composite().Property("Name", u"kept")
        .Property("Items").Array()
            .Composite().Property("A", 1u).End().Composite().Property("C", 4u).End()
        .End()
        .Done();
    // clang-format on
    const Record record(root);
    const UnitPtr unit = record.ToUnit();
    EXPECT_TRUE(UnitEqual(*unit, *expected)) << Util::UnitToString(*unit);
    EXPECT_TRUE(Util::HasTraitAnywhere(*root, "Nil")); // the object itself is untouched
}

TEST(BaseObjectTest, SettingBelowNilSubObjectsMakesTheWholeWayAppear)
{
    // clang-format off
    const UnitPtr root = Util::Build().Composite()
        .Property("Details").Composite().Trait("Nil", nullptr)
            .Property("Inner").Composite().Trait("Nil", nullptr)
                .Property("Specific").Value(0u).Trait("Nil", nullptr)
        .Done();
    const UnitPtr expected = Util::Build().Composite()
        .Property("Details").Composite().Property("Inner").Composite().Property("Specific", 5u).Done();
    // clang-format on
    const Record record(root);
    Details inner = record.GetDetails().GetInner();
    inner.SetSpecific(5);
    EXPECT_TRUE(UnitEqual(*record.ToUnit(), *expected)) << Util::UnitToString(*record.ToUnit());
    EXPECT_EQ(record.GetDetails().GetInner().GetSpecific(), 5u);
}

TEST(BaseObjectTest, UninitialisedAccessorsAndMissingDefaultThrow)
{
    const BaseObject empty;
    const std::u16string uninitialized = u"POR: There was an attempt to access an uninitialized object.";
    for (const Common::Error& error :
         {Failure([&] { empty.Root(); }), Failure([&] { empty.Branch(); }), Failure([&] { empty.Factory(); }),
          Failure([&] { empty.Handler(); }), Failure([&] { empty.IsSet("a"); })})
    {
        EXPECT_EQ(error.GetCode(), 0xfa0001u);
        EXPECT_EQ(error.GetMessage(), uninitialized);
    }
    const Common::Error noDefault = Failure([] { BaseObject(Factory.CreateComposite()).DefaultValue("a"); });
    EXPECT_EQ(noDefault.GetCode(), 0xfa0001u);
    EXPECT_EQ(noDefault.GetMessage(), u"POR: An internal error has occurred.");
}

TEST(BaseObjectTest, ThrowingHandlerRaisesPropertyErrorsWithTheCause)
{
    Record record(Util::Build().Composite().Property("Count", std::uint16_t(1)).Done());
    const Common::Error missing = Failure([&] { record.GetName(); });
    EXPECT_EQ(missing.GetCode(), 0xfa000du);
    EXPECT_EQ(missing.GetMessage(), u"POR: Property 'Name' cannot be found.");

    const Common::Error wrongKind = Failure([&] { record.GetCount(); });
    EXPECT_EQ(wrongKind.GetCode(), 0xfa0001u);
    EXPECT_EQ(wrongKind.GetMessage(), u"POR: Property 'Count' processing error has occurred.");
    EXPECT_EQ(wrongKind.GetSubError().GetCode(), 0xfa000au);
}

TEST(BaseObjectTest, ReturningHandlerLetsReadsOfHolesEnd)
{
    struct Recorder final : ErrorHandler
    {
        void PropertyNotFound(std::string_view name) override { Seen.emplace_back(name); }
        void PropertyProcessingError(std::string_view name, const Common::Error&) override
        {
            Seen.emplace_back(name);
        }
        void Report(const Common::Error&) override {}
        std::vector<std::string> Seen;
    } recorder;
    const DefaultValueFunction seven = [](std::string_view, const Construction::UnitFactory& factory)
    { return factory.CreateDWord(7); };
    const Record record(Util::Build().Composite().Property("Count", u"text").Done(), Factory, &recorder,
                        seven);
    EXPECT_EQ(record.GetCount(), 0u);
    EXPECT_EQ(record.GetName(), u"");
    EXPECT_FALSE(record.GetDetails().IsInitialized());
    EXPECT_EQ((std::vector<std::string>{"Count", "Name", "Details"}), recorder.Seen);
}

TEST(ConversionErrorsTest, TextsNameTheClassesAndThePath)
{
    const Common::Error cast = MakeBadCastError(typeid(BaseObject), typeid(Dictionary));
    EXPECT_EQ(cast.GetCode(), 0xfa0018u);
    EXPECT_EQ(cast.GetMessage(), u"POR: Cannot cast from type 'Por::BaseObject' to type 'Por::Dictionary'.");
    const Common::Error convert = Detail::MakeFailedToConvertError(u".a.b");
    EXPECT_EQ(convert.GetCode(), 0xfa0018u);
    EXPECT_EQ(convert.GetMessage(), u"Failed to convert unit at '.a.b'");
}

TEST(DictionaryTest, ValuesAreSearchableArraysAndAddAppends)
{
    Dictionary dictionary(Factory);
    dictionary.Set("One", *Factory.CreateDWord(1));
    dictionary.Add("Two", *Factory.CreateDWord(2));
    dictionary.Add("Two", *Factory.CreateString(u"b"));
    // clang-format off
    const UnitPtr expected = Util::Build().Composite()
        .Property("One").Array().Trait("Searchable", nullptr).Element(1u).End()
        .Property("Two").Array().Trait("Searchable", nullptr).Element(2u).Element(String(u"b")).End()
        .Done();
    // clang-format on
    EXPECT_TRUE(UnitEqual(dictionary.Data(), *expected)) << Util::UnitToString(dictionary.Data());
    ASSERT_NE(dictionary.Find("One"), nullptr);
    EXPECT_TRUE(UnitEqual(*dictionary.Find("One"), Util::GetPropertyValue(*expected, "One")));
    EXPECT_EQ(dictionary.Find(""), nullptr);
    EXPECT_EQ(dictionary.Find("Three"), nullptr);
}

TEST(DictionaryTest, FailuresNameTheCase)
{
    Dictionary dictionary(Util::Build().Composite().Property("Plain", 1u).Done(), Factory);
    const Common::Error emptyName = Failure([&] { dictionary.Add("", *Factory.CreateString(u"value")); });
    EXPECT_EQ(emptyName.GetCode(), 0xfa0001u);
    const std::u16string printed = Util::UnitToWideString(Factory.CreateString(u"value").get());
    EXPECT_EQ(emptyName.GetMessage(),
              u"Por::Dictionary doesn't support empty property name. Value = '" + printed + u"'.");
    EXPECT_EQ(Failure([&] { dictionary.Set("", *Factory.CreateNil()); }).GetCode(), 0xfa0001u);

    const Common::Error notArray = Failure([&] { dictionary.Add("Plain", *Factory.CreateDWord(2)); });
    EXPECT_EQ(notArray.GetMessage(),
              u"POR: There is a mismatch in object property 'Plain'. Expected property "
              u"type is 'array', actual property type is 'dword'.");
    EXPECT_EQ(Failure([&] { dictionary.Add("x", Util::ConstDataAccessor()); }).GetCode(), 0xfa000au);
    EXPECT_EQ(Failure([] { Dictionary().Data(); }).GetCode(), 0xfa000bu);
}

TEST(DictionaryTest, WrapToSearchableArrayMarksArraysOnceAndWrapsTheRest)
{
    const UnitPtr array = Util::Build().Array().Trait("Searchable", nullptr).Element(1u).Done();
    const UnitPtr copy = Util::Copy(*array, Factory);
    EXPECT_EQ(Util::WrapToSearchableArray(array, Factory), array);
    EXPECT_TRUE(UnitEqual(*array, *copy));

    const UnitPtr plain = Factory.CreateArray();
    EXPECT_EQ(Util::WrapToSearchableArray(plain, Factory), plain);
    EXPECT_TRUE(Util::HasTrait(*plain, "Searchable"));

    const UnitPtr wrapped = Util::WrapToSearchableArray(Factory.CreateDWord(3), Factory);
    EXPECT_TRUE(UnitEqual(*wrapped, *Util::Build().Array().Trait("Searchable", nullptr).Element(3u).Done()));
    EXPECT_EQ(Failure([] { Util::WrapToSearchableArray(nullptr, Factory); }).GetCode(), 0xfa000bu);
}

} // namespace
