#include "dml/OperationFactory.h"

#include "common/ThrownError.h"
#include "dml/BatchOperation.h"
#include "dml/ExtractIsValues.h"
#include "dml/KeyOperations.h"
#include "dml/ObjectOperations.h"
#include "dml/PatternOperations.h"
#include "por/Compare.h"
#include "por/PorUnit.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace
{

using namespace Dml::Operation;
using Testing::ThrownError;
using Strings = std::vector<Por::String>;
const Por::Construction::UnitFactory& Factory = Por::GetUnitFactory();

// The values of the traits of `name`, in trait order.
Strings TraitStrings(const Por::View::Unit& unit, std::string_view name)
{
    Strings values;
    auto each = Por::MakeProcessor<const Por::View::Trait>(
        [&](const Por::View::Trait& trait)
        { values.push_back(Por::Util::GetValue<Por::String>(trait.GetValue())); });
    unit.GetTraits().ForEachNamed(name, each);
    return values;
}

std::vector<std::string> PropertyNames(const Por::View::Unit& unit)
{
    std::vector<std::string> names;
    auto each = Por::MakeProcessor<const Por::View::Property>([&](const Por::View::Property& property)
                                                              { names.push_back(property.GetName()); });
    Por::Util::GetComposite(unit).ForEach(each);
    return names;
}

// An object of class `type` keyed by "ID" (the key bears "Type" unless `type` is null).
Por::ConstUnitPtr MakeObject(std::uint32_t id, const char16_t* type, std::uint32_t value = 0)
{
    Por::Unit object = Por::Unit::Composite();
    object["ID"] = id;
    object["ID"].AddTrait("PrimaryKey");
    if (type != nullptr)
    {
        object["ID"].SetTrait("Type", Por::String(type));
    }
    object["Value"] = value;
    return object.Result();
}

Common::Guid IdOf(const Por::View::Unit& operation)
{
    return Por::Util::GetValue<Common::Guid>(Por::Util::GetPropertyValue(operation, "ID"));
}

TEST(OperationSchemaTest, EachClassNamesItsChainAndDeclaresItsPropertiesAsNil)
{
    struct Case
    {
        const char* TypeName;
        const char* Expected;
        const Por::View::Unit& Schema;
        std::vector<std::string> Properties;
    };
    const Case cases[] = {
        {CreateObject::TypeName,
         "Dml::Operation::CreateObject",
         CreateObject::GetClassSchema(),
         {"ID", "Object"}},
        {CreateIfNotExist::TypeName,
         "Dml::Operation::CreateIfNotExist",
         CreateIfNotExist::GetClassSchema(),
         {"ID", "Object"}},
        {StoreOrUpdate::TypeName,
         "Dml::Operation::StoreOrUpdate",
         StoreOrUpdate::GetClassSchema(),
         {"ID", "Object"}},
        {StoreOrConsolidate::TypeName,
         "Dml::Operation::StoreOrConsolidate",
         StoreOrConsolidate::GetClassSchema(),
         {"ID", "Object"}},
        {ConsolidateIfExists::TypeName,
         "Dml::Operation::ConsolidateIfExists",
         ConsolidateIfExists::GetClassSchema(),
         {"ID", "Object"}},
        {DeleteObject::TypeName,
         "Dml::Operation::DeleteObject",
         DeleteObject::GetClassSchema(),
         {"ID", "Key"}},
        {UpdateObject::TypeName,
         "Dml::Operation::UpdateObject",
         UpdateObject::GetClassSchema(),
         {"ID", "Key", "Patch"}},
        {DeleteByPattern::TypeName,
         "Dml::Operation::DeleteByPattern",
         DeleteByPattern::GetClassSchema(),
         {"ID", "Options", "Pattern"}},
        {UpdateByPattern::TypeName,
         "Dml::Operation::UpdateByPattern",
         UpdateByPattern::GetClassSchema(),
         {"ID", "Patch", "Pattern"}},
        {BatchOperation::TypeName,
         "Dml::Operation::BatchOperation",
         BatchOperation::GetClassSchema(),
         {"ID", "Operations"}},
    };
    for (const Case& test : cases)
    {
        SCOPED_TRACE(test.Expected);
        EXPECT_STREQ(test.TypeName, test.Expected);
        const std::set<Por::String> chain = {u"Dml::Operation::Definition", Por::Widen(test.Expected)};
        const Strings is = TraitStrings(test.Schema, "Is");
        EXPECT_EQ(std::set<Por::String>(is.begin(), is.end()), chain);
        EXPECT_EQ(is.size(), 2u);
        EXPECT_EQ(PropertyNames(test.Schema), test.Properties);
        for (const std::string& name : test.Properties)
        {
            EXPECT_TRUE(Por::Util::HasTrait(Por::Util::GetPropertyValue(test.Schema, name), "Nil")) << name;
        }
    }
    const Por::View::Unit& id = Por::Util::GetPropertyValue(Definition::GetClassSchema(), "ID");
    EXPECT_EQ(Por::Util::GetValue<Common::Guid>(id), Common::NullGuid);
    EXPECT_TRUE(Por::Util::HasTrait(id, "PrimaryKey"));
    EXPECT_EQ(TraitStrings(Definition::GetClassSchema(), "Is"), Strings{u"Dml::Operation::Definition"});

    // A plain object over a copy of the schema: unset until written, then the copy without pointer marks.
    StoreOrUpdate operation;
    EXPECT_EQ(operation.GetObject(), nullptr);
    EXPECT_EQ(operation.GetID(), Common::NullGuid);
    Por::Unit object = Por::Unit::Composite();
    object["N"] = 1u;
    object.AddTrait("IsEmpty").AddTrait("ptr_mark").AddTrait("Own");
    operation.SetObject(object.Get());
    ASSERT_NE(operation.GetObject(), nullptr);
    EXPECT_FALSE(Por::Util::HasTrait(*operation.GetObject(), "IsEmpty"));
    EXPECT_FALSE(Por::Util::HasTrait(*operation.GetObject(), "ptr_mark"));
    EXPECT_TRUE(Por::Util::HasTrait(*operation.GetObject(), "Own"));
    EXPECT_FALSE(Por::Util::HasTrait(*operation.GetObject(), "Nil"));
}

TEST(OperationFactoryTest, ObjectOperationsOfOneClassLeaveOneClassAndKeepTheirOrder)
{
    OperationFactory factory;
    const Por::ConstUnitPtr first = MakeObject(1, u"Tol::Thing", 10);
    const Por::ConstUnitPtr second = MakeObject(2, u"Tol::Thing", 20);
    factory.StoreOrUpdate(first);
    factory.StoreOrUpdate(second);
    EXPECT_EQ(factory.GetClasses(), (std::set<Por::String>{u"Tol::Thing"}));
    ASSERT_EQ(factory.GetOperations().size(), 2u);

    const Por::ConstUnitPtr batch = factory.MakeOperation();
    EXPECT_EQ(TraitStrings(*batch, "Type"), Strings{u"Tol::Thing"});
    EXPECT_TRUE(Por::Util::HasTraitWithValue(*batch, "Is", u"Dml::Operation::BatchOperation"));
    EXPECT_NE(IdOf(*batch), Common::NullGuid);
    const Por::View::ArrayValue& operations =
        Por::Util::GetArray(Por::Util::GetPropertyValue(*batch, "Operations"));
    ASSERT_EQ(operations.Size(), 2u);
    for (std::size_t i = 0; i < 2; ++i)
    {
        const Por::View::Unit& operation = operations.Get(i);
        EXPECT_TRUE(Por::Util::HasTraitWithValue(operation, "Is", u"Dml::Operation::StoreOrUpdate"));
        EXPECT_EQ(TraitStrings(operation, "Type"), Strings{u"Tol::Thing"});
        EXPECT_TRUE(Por::Util::UnitEqual(Por::Util::GetPropertyValue(operation, "Object"),
                                         i == 0 ? *first : *second));
        const Por::View::Unit& id = Por::Util::GetPropertyValue(operation, "ID");
        EXPECT_TRUE(Por::Util::HasTrait(id, "PrimaryKey"));
        EXPECT_FALSE(Por::Util::HasTrait(id, "Nil"));
    }
    EXPECT_NE(IdOf(operations.Get(0)), IdOf(operations.Get(1)));
    EXPECT_NE(IdOf(*factory.MakeOperation()), IdOf(*batch)); // each batch is a new one
}

TEST(OperationFactoryTest, EmptyFactoryAndFinishGiveAnEmptyBatch)
{
    OperationFactory factory;
    const Por::ConstUnitPtr empty = factory.MakeOperation();
    EXPECT_TRUE(Por::Util::HasTraitWithValue(*empty, "Is", u"Dml::Operation::BatchOperation"));
    EXPECT_EQ(Por::Util::GetArray(Por::Util::GetPropertyValue(*empty, "Operations")).Size(), 0u);
    EXPECT_FALSE(Por::Util::HasTrait(*empty, "Type"));

    factory.DeleteObject(Factory.CreateDWord(1));
    const Por::ConstUnitPtr finished = factory.Finish();
    EXPECT_EQ(Por::Util::GetArray(Por::Util::GetPropertyValue(*finished, "Operations")).Size(), 1u);
    EXPECT_TRUE(factory.GetOperations().empty());
    EXPECT_TRUE(factory.GetClasses().empty());
    EXPECT_EQ(Por::Util::GetArray(Por::Util::GetPropertyValue(*factory.MakeOperation(), "Operations")).Size(),
              0u);
}

TEST(OperationFactoryTest, ClassesComeFromKeyTypesAndPatternIsValues)
{
    OperationFactory factory;
    factory.CreateObject(MakeObject(1, nullptr)); // no "Type": an empty one on the operation, no class
    Por::Unit patternUnit = Por::Unit::Composite();
    patternUnit.AddTrait("Is", *Factory.CreateString(u"B"));
    patternUnit.AddTrait("Is", *Factory.CreateString(u"A"));
    patternUnit.AddTrait("Is", *Factory.CreateDWord(3)); // not a class name
    const Por::ConstUnitPtr pattern = patternUnit.Result();
    Por::Unit options = Por::Unit::Composite();
    options["LimitOptions"] = 1u;
    factory.DeleteByPattern(Dml::ViewSpec{pattern, nullptr});
    factory.DeleteByPattern(pattern, options.Result());
    factory.UpdateByPattern(pattern, Factory.CreateComposite());
    Por::Unit key(2u); // a key operation reads "Type" from the key itself
    key.SetTrait("Type", Por::String(u"C"));
    factory.UpdateObject(key.Result(), Factory.CreateComposite());

    EXPECT_EQ(factory.GetClasses(), (std::set<Por::String>{u"A", u"B", u"C"}));
    const std::vector<Por::ConstUnitPtr>& operations = factory.GetOperations();
    ASSERT_EQ(operations.size(), 5u);
    EXPECT_EQ(TraitStrings(*operations[0], "Type"), Strings{u""});
    EXPECT_EQ(TraitStrings(*operations[1], "Type"), (Strings{u"A", u"B"}));
    EXPECT_EQ(TraitStrings(*operations[3], "Type"), (Strings{u"A", u"B"}));
    EXPECT_EQ(TraitStrings(*operations[4], "Type"), Strings{u"C"});

    // "Options" stays unset without options, and is a copy with them.
    const Por::View::Unit& unsetOptions = Por::Util::GetPropertyValue(*operations[1], "Options");
    EXPECT_TRUE(Por::Util::IsNil(unsetOptions) && Por::Util::HasTrait(unsetOptions, "Nil"));
    EXPECT_TRUE(Por::Util::UnitEqual(Por::Util::GetPropertyValue(*operations[2], "Options"), options.Get()));
    EXPECT_TRUE(Por::Util::UnitEqual(Por::Util::GetPropertyValue(*operations[2], "Pattern"), *pattern));
    EXPECT_EQ(TraitStrings(*factory.MakeOperation(), "Type"), (Strings{u"A", u"B", u"C"}));
}

TEST(OperationFactoryTest, BadArgumentsFailWithoutCollecting)
{
    OperationFactory factory;
    const Common::Error keyless = ThrownError([&] { factory.StoreOrUpdate(Factory.CreateComposite()); });
    EXPECT_EQ(keyless.GetCode(), 0x00FC000Au);
    EXPECT_EQ(ThrownError([&] { factory.CreateObject(nullptr); }).GetCode(), 0x00AC0003u);
    EXPECT_EQ(ThrownError([&] { factory.DeleteObject(nullptr); }).GetCode(), 0x00AC0003u);
    EXPECT_EQ(ThrownError([&] { factory.UpdateObject(MakeObject(1, u"A"), nullptr); }).GetCode(),
              0x00AC0003u);
    EXPECT_EQ(ThrownError([&] { factory.UpdateByPattern(nullptr, nullptr); }).GetCode(), 0x00AC0003u);
    EXPECT_TRUE(factory.GetOperations().empty());
    EXPECT_TRUE(factory.GetClasses().empty());
}

TEST(OperationFactoryTest, SingleBuildersMakeTheSameOperationOnTheirOwn)
{
    Por::Unit object = Por::Unit::Composite();
    object["ID"] = 5u;
    object["ID"].AddTrait("PrimaryKey").SetTrait("Type", Por::String(u"Cls"));
    const Por::ConstUnitPtr operation = OperationFactory::MakeStoreOrUpdate(object.Result());
    object["ID"] = 6u; // the operation holds its own copy

    const StoreOrUpdate typed(Por::Util::Copy(*operation, Factory), Factory);
    EXPECT_NE(typed.GetID(), Common::NullGuid);
    EXPECT_EQ(Por::Util::GetPropertyValue<std::uint32_t>(*typed.GetObject(), "ID"), 5u);
    EXPECT_EQ(TraitStrings(*operation, "Type"), Strings{u"Cls"});
    EXPECT_EQ(TraitStrings(*operation, "Is"),
              (Strings{u"Dml::Operation::Definition", u"Dml::Operation::StoreOrUpdate"}));
}

TEST(OperationFactoryTest, ExtractIsValuesKeepsOnlyStrings)
{
    Por::Unit unit = Por::Unit::Composite();
    unit.AddTrait("Is", *Factory.CreateString(u"X"))
        .AddTrait("Is", *Factory.CreateNil())
        .AddTrait("Other", *Factory.CreateString(u"Y"));
    std::set<Por::String> values{u"W"};
    Impl::ExtractIsValues(values).Extract(unit.Get());
    EXPECT_EQ(values, (std::set<Por::String>{u"W", u"X"}));
}

} // namespace
