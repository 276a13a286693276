#include "por/Assign.h"

#include "TestUnits.h"
#include "por/Compare.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

namespace
{

using namespace Por;
using namespace Por::Testing;

TEST(AssignTest, WritesOnlyWhatTheSourceNames)
{
    // clang-format off
    const UnitPtr target = Util::Build().Composite().Trait("Is", u"T").Trait("Own", 1u)
        .Property("a", 1u).Property("keep", u"k")
        .Property("list").Array().Element(1u).Element(2u).Element(3u).End()
        .Property("sub").Composite().Property("x", 1.5).Property("y", true).End()
        .Done();
    const UnitPtr source = Util::Build().Composite().Trait("Is", u"T")
        .Property("a", 7u)
        .Property("list").Array().Value(u"s").Trait("m", nullptr).End().End() // other length, other kinds
        .Property("sub").Composite().Property("y", false).End()
        .Done();
    const UnitPtr expected = Util::Build().Composite().Trait("Is", u"T").Trait("Own", 1u)
        .Property("a", 7u).Property("keep", u"k")
        .Property("list").Array().Value(u"s").Trait("m", nullptr).End().End()
        .Property("sub").Composite().Property("x", 1.5).Property("y", false).End()
        .Done();
    // clang-format on
    Util::Assign(*target, *source);
    EXPECT_TRUE(UnitEqual(*target, *expected)) << Util::UnitToString(*target);

    const UnitPtr nil = Factory.CreateNil();
    Util::Assign(*nil, *Factory.CreateNil());
    EXPECT_TRUE(UnitEqual(*nil, *Factory.CreateNil()));
}

TEST(AssignTest, AnArrayTakesAnElementOfItself)
{
    // The source dies with the clearing: its elements must be copied before.
    const UnitPtr unit = Util::Build().Array().Array().Element(1u).Element(2u).End().Element(3u).Done();
    Util::Assign(*unit, Util::GetArray(*unit).Get(0));
    EXPECT_TRUE(UnitEqual(*unit, *Util::Build().Array().Element(1u).Element(2u).Done()))
        << Util::UnitToString(*unit);
}

TEST(AssignTest, FailuresNameTheCauseAndChangeNothing)
{
    struct Case
    {
        const char* Name;
        UnitPtr Source;
        std::uint32_t Code;
        std::u16string Message;
        std::u16string Cause;
    };
    // The target's "a" comes first, so a failure found later must not leave it written.
    // clang-format off
    const UnitPtr target = Util::Build().Composite().Trait("Is", u"T").Property("a", 1u)
        .Property("sub").Composite().Property("n").Value(std::int32_t{1}).Trait("Unit", u"s").End().End()
        .Done();
    const Case cases[] = {
        {"kinds at the root", Factory.CreateDWord(1), 0xfa0011,
         u"POR: Cannot assign units of different types.",
         u"POR: There is a mismatch in object internal structure. Expected object type is 'composite', "
         u"actual object type is 'dword'."},
        {"dword onto sdword",
         Util::Build().Composite().Property("a", 2u).Property("sub").Composite().Property("n", 2u).Done(),
         0xfa0011, u"POR: Cannot assign units of different types.",
         u"POR: There is a mismatch in object property '.sub.n'. Expected property type is 'sdword', actual "
         u"property type is 'dword'."},
        {"missing property", Util::Build().Composite().Property("a", 2u).Property("b", 2u).Done(), 0xfa0010,
         u"POR: Cannot assign units with different properties.", u"POR: Property '.b' cannot be found."},
        {"trait the target lacks", Util::Build().Composite().Trait("Is", u"Other").Done(), 0xfa0012,
         u"POR: Cannot assign units with different traits.", u"POR: Trait 'Is' cannot be found."},
        {"nested trait value differs",
         Util::Build().Composite().Property("a", 2u).Property("sub").Composite()
             .Property("n").Value(std::int32_t{2}).Trait("Unit", u"m").Done(),
         0xfa0012, u"POR: Cannot assign units with different traits.",
         u"POR: Trait 'Unit' cannot be found at '.sub.n'."},
    };
    // clang-format on
    const UnitPtr before = Util::Copy(*target, Factory);
    for (const Case& test : cases)
    {
        const Common::Error error = Failure([&] { Util::Assign(*target, *test.Source); });
        EXPECT_EQ(error.GetCode(), test.Code) << test.Name;
        EXPECT_EQ(error.GetMessage(), test.Message) << test.Name;
        EXPECT_EQ(error.GetSubError().GetMessage(), test.Cause) << test.Name;
        EXPECT_TRUE(UnitEqual(*target, *before)) << test.Name;
    }
}

} // namespace
