// The machine id as inspectors take it from the holder: the machine manager's id, its failure thrown
// as it is, and the holder's errors when component 145 is missing or of another kind.
#include "alerts/MachineId.h"

#include "common/ThrownError.h"
#include "components/Components.h"

#include <gtest/gtest.h>

namespace
{

constexpr Common::Guid MachineId{0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};

class MachineIdTest : public ::testing::Test
{
protected:
    Host::Components Components{MachineId};
    Runtime::ServiceHolder Holder = Components.MakeServiceHolder();
};

// A failure of the manager is thrown as it is, and passes with it.
TEST_F(MachineIdTest, IsTheMachineManagersId)
{
    EXPECT_EQ(Alerts::Detail::GetMachineId(Holder), MachineId);
    const Common::Error failure(COMMON_LOCATION("Test"), 0x00AB0042, u"no machine record");
    Components.GetMachineManager().SetFailure(failure);
    const Common::Error error = Testing::ThrownError([&] { Alerts::Detail::GetMachineId(Holder); });
    EXPECT_EQ(error.GetCode(), 0x00AB0042u);
    EXPECT_EQ(error.GetMessage(), u"no machine record");

    Components.GetMachineManager().SetFailure(Common::Success);
    const Common::Guid other{7, 7, 7, {}};
    Components.GetMachineManager().SetMachineId(other);
    EXPECT_EQ(Alerts::Detail::GetMachineId(Holder), other);
}

TEST_F(MachineIdTest, AMissingMachineManagerIsNotFoundAndAnotherComponentUnderItsIdIsABadCast)
{
    Components.GetRegistry().Unregister(Runtime::MachineManagerId);
    Common::Error error = Testing::ThrownError([&] { Alerts::Detail::GetMachineId(Holder); });
    EXPECT_EQ(error.GetCode(), 0x00AC0002u);
    EXPECT_EQ(error.GetMessage(), u"'MachineManagement::MachineManager' cannot be found.");

    Components.GetRegistry().Register(Runtime::MachineManagerId, Components.GetProfileVault());
    error = Testing::ThrownError([&] { Alerts::Detail::GetMachineId(Holder); });
    EXPECT_EQ(error.GetCode(), 0x017E0019u);
    EXPECT_EQ(error.GetMessage(),
              u"Invalid cast of component 'MachineManagement::MachineManager' to interface "
              u"'MachineManagement::MachineManager'.");
}

} // namespace
