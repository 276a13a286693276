#include "por/StateArithmetic.h"

#include "por/Compare.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace
{

using namespace Por;
using Util::StateOperation;
const Construction::UnitFactory& Factory = GetUnitFactory();

struct Case
{
    const char* Name;
    StateOperation Operation;
    UnitPtr Target;
    UnitPtr Operand;
    UnitPtr Expected; // null: the pair is refused
};

TEST(StateArithmeticTest, MachineArithmeticOnTheKindsOwnWidth)
{
    const Case cases[] = {
        {"byte wraps up", StateOperation::Increment, Factory.CreateByte(255), Factory.CreateByte(1),
         Factory.CreateByte(0)},
        {"qword wraps down", StateOperation::Decrement, Factory.CreateQWord(0), Factory.CreateQWord(1),
         Factory.CreateQWord(std::numeric_limits<std::uint64_t>::max())},
        {"sbyte wraps to its minimum", StateOperation::Increment, Factory.CreateSByte(127),
         Factory.CreateSByte(1), Factory.CreateSByte(-128)},
        {"sqword wraps below its minimum", StateOperation::Decrement,
         Factory.CreateSQWord(std::numeric_limits<std::int64_t>::min()), Factory.CreateSQWord(1),
         Factory.CreateSQWord(std::numeric_limits<std::int64_t>::max())},
        {"sword adds a negative operand", StateOperation::Increment, Factory.CreateSWord(5),
         Factory.CreateSWord(-7), Factory.CreateSWord(-2)},
        {"word and", StateOperation::BitwiseAnd, Factory.CreateWord(0xf0f0), Factory.CreateWord(0x0ff0),
         Factory.CreateWord(0x00f0)},
        {"sdword or", StateOperation::BitwiseOr, Factory.CreateSDWord(-16), Factory.CreateSDWord(3),
         Factory.CreateSDWord(-13)},
        {"double subtracts", StateOperation::Decrement, Factory.CreateDouble(1.5), Factory.CreateDouble(2.25),
         Factory.CreateDouble(-0.75)},
        {"dword with an sdword operand", StateOperation::Increment, Factory.CreateDWord(1),
         Factory.CreateSDWord(1), nullptr},
        {"word with a dword operand", StateOperation::BitwiseOr, Factory.CreateWord(1),
         Factory.CreateDWord(1), nullptr},
        {"or on double", StateOperation::BitwiseOr, Factory.CreateDouble(1), Factory.CreateDouble(2),
         nullptr},
        {"increment on boolean", StateOperation::Increment, Factory.CreateBoolean(false),
         Factory.CreateBoolean(true), nullptr},
        {"increment on string", StateOperation::Increment, Factory.CreateString(u"a"),
         Factory.CreateString(u"b"), nullptr},
        {"and on nil", StateOperation::BitwiseAnd, Factory.CreateNil(), Factory.CreateNil(), nullptr},
    };
    for (const Case& test : cases)
    {
        const UnitPtr before = Util::Copy(*test.Target, Factory);
        try
        {
            Util::ApplyStateOperation(test.Operation, *test.Target, *test.Operand);
            ASSERT_NE(test.Expected, nullptr) << test.Name << " was not refused";
            EXPECT_TRUE(UnitEqual(*test.Target, *test.Expected))
                << test.Name << ": " << Util::UnitToString(*test.Target);
        }
        catch (const Common::Error& error)
        {
            EXPECT_EQ(test.Expected, nullptr) << test.Name;
            EXPECT_EQ(error.GetCode(), 0xfa000cu) << test.Name;
            EXPECT_EQ(error.GetMessage(), u"POR: Failed to merge object update.") << test.Name;
            EXPECT_TRUE(UnitEqual(*test.Target, *before)) << test.Name;
        }
    }
}

} // namespace
