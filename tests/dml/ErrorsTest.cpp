#include "dml/Errors.h"

#include "dml/ViewSpec.h"
#include "por/Unit.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

const Por::Construction::UnitFactory& Factory = Por::GetUnitFactory();
const Common::ErrorLocation Site = COMMON_LOCATION("ErrorsTest");

TEST(DmlErrorsTest, EachFactoryHasItsCodeAndExactText)
{
    const Por::UnitPtr key = Factory.CreateDWord(5);
    const Por::UnitPtr diff = Factory.CreateString(u"d");
    const Common::WideString k = Por::Util::UnitToWideString(key.get());
    const Common::WideString d = Por::Util::UnitToWideString(diff.get());
    struct Case
    {
        std::uint32_t Code;
        Common::WideString Text;
        Common::Error Error;
    };
    const Case cases[] = {
        {0x00AC0003, u"Pointer is null.", Dml::Errors::MakeNullPointer(Site)},
        {0x00FC0001, u"", Dml::Errors::MakeGeneral(Site)},
        {0x00FC000A, u"DML: Object identification cannot be found.",
         Dml::Errors::MakeObjectKeyNotFound(Site)},
        {0x00FC001B, u"DML: An object with ID '" + k + u"' cannot be found.",
         Dml::Errors::MakeObjectNotFound(Site, key.get())},
        {0x00FC001B, u"DML: Trying to delete missing object.\nKey is '" + k + u"'.",
         Dml::Errors::MakeDeleteMissingObject(Site, key.get())},
        {0x00FC001B,
         u"DML: Trying to update missing object.\nSubject is '" + d + u"'\nKey is '" + k + u"'.\nDiff is '" +
             d + u"'.",
         Dml::Errors::MakeUpdateMissingObject(Site, diff.get(), key.get(), diff.get())},
        {0x00FC001B,
         u"DML: Trying to update object with invalid patch.\nKey is '" + k + u"'.\nDiff is '" + d + u"'.",
         Dml::Errors::MakeUpdateInvalidPatch(Site, key.get(), diff.get())},
        {0x00FC0020, u"DML: Object '" + k + u"' already exists.",
         Dml::Errors::MakeObjectAlreadyExists(Site, key.get())},
        {0x00FC0023, u"DML: In sorting spec within array '.A', composite items are expected.",
         Dml::Errors::MakeBadSortingSpec(Site, u".A")},
        {0x00FC0026, u"DML: Logic Error: More than one match found.\nPattern: " + k + u"\nOptions: ",
         Dml::Errors::MakeMoreThanOneMatch(Site, Dml::ViewSpec{key, nullptr})},
        {0x00FC0031, u"DML: Unproper use. Missing PostOffice.",
         Dml::Errors::MakeServiceMissing(Site, u"PostOffice")},
        {0x00FC0032, u"DML: Composite store operation 'op' has failed.",
         Dml::Errors::MakeCompositeOperationFailed(Site, u"op")},
        {0x00FC0033, u"DML: An error occurred in custom store 's'.",
         Dml::Errors::MakeCustomStoreFailed(Site, u"s")},
        {0x00FC0035, u"DML: Object " + k + u" was not expected.",
         Dml::Errors::MakeUnexpectedObject(Site, key.get())},
        {0x00FC0037, u"Add-on for protocol 'p' cannot be found.",
         Dml::Errors::MakeProtocolAddonNotFound(Site, u"p")},
        {0x00FC0038, u"Cannot find an object by the following criteria: '" + k + u"'.",
         Dml::Errors::MakeNothingFoundByCriteria(Site, key.get())},
        {0x00FC0039, u"Unspecified protocol for 'x'.", Dml::Errors::MakeUnspecifiedProtocol(Site, u"x")},
    };
    for (const Case& test : cases)
    {
        SCOPED_TRACE(test.Code);
        EXPECT_EQ(test.Error.GetCode(), test.Code);
        EXPECT_EQ(test.Error.GetMessage(), test.Text);
        EXPECT_EQ(test.Error.GetLineTag().LineTag, Site.LineTag);
    }
    EXPECT_EQ(Dml::Errors::MakeMoreThanOneMatch(Site, {}).GetMessage(),
              u"DML: Logic Error: More than one match found.\nPattern: \nOptions: ");
}

TEST(DmlErrorsTest, CallersTellExistingAndMissingObjectsAnywhereInTheChain)
{
    const Common::Error exists = Dml::Errors::MakeObjectAlreadyExists(Site, nullptr);
    const Common::Error missing = Dml::Errors::MakeObjectNotFound(Site, nullptr);
    const Common::Error nothing = Dml::Errors::MakeNothingFoundByCriteria(Site, nullptr);
    Common::Error wrapped = Dml::Errors::MakeGeneral(Site);
    wrapped.SetSubError(exists);

    EXPECT_TRUE(Dml::IsObjectAlreadyExists(exists));
    EXPECT_TRUE(Dml::IsObjectAlreadyExists(wrapped));
    EXPECT_FALSE(Dml::IsObjectAlreadyExists(missing));
    EXPECT_TRUE(Dml::IsObjectNotFound(missing));
    EXPECT_TRUE(Dml::IsObjectNotFound(nothing));
    EXPECT_FALSE(Dml::IsObjectNotFound(wrapped));
    EXPECT_FALSE(Dml::IsObjectNotFound(Common::Success));
    EXPECT_FALSE(Dml::IsObjectAlreadyExists(Common::Success));
}

} // namespace
