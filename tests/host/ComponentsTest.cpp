// The reference host's components: the registry's borrowed, shared, replaced and removed entries, and
// the set of components that inspectors are built over, with the store behind both of its ids.
#include "components/Components.h"

#include "common/ThrownError.h"
#include "dml/ObjectRegistry.h"
#include "dml/PostOffice.h"
#include "runtime/MachineManager.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

// Counts its destructions.
class Counted final : public Common::DynamicCasterImpl
{
public:
    explicit Counted(int& destroyed) : Destroyed(destroyed) {}
    ~Counted() override { ++Destroyed; }

private:
    int& Destroyed;
};

TEST(ComponentRegistryTest, KeepsBorrowedAndSharedComponentsUntilReplacedOrRemoved)
{
    Host::ComponentRegistry registry;
    int destroyed = 0;
    Counted borrowed(destroyed);
    registry.Register(7, borrowed);
    registry.Register(8, std::make_shared<Counted>(destroyed));

    EXPECT_EQ(registry.GetComponent(7), &borrowed);
    ASSERT_NE(registry.GetComponent(8), nullptr);
    EXPECT_EQ(registry.GetComponent(9), nullptr);

    // A shared component lives as long as its entry.
    registry.Register(8, borrowed);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(registry.GetComponent(8), &borrowed);

    registry.Unregister(7);
    registry.Unregister(9);
    EXPECT_EQ(registry.GetComponent(7), nullptr);
    EXPECT_EQ(registry.GetComponent(8), &borrowed);
    EXPECT_EQ(destroyed, 1);
}

TEST(ComponentsTest, TheStoreIsThePostOfficeAndTheObjectRegistry)
{
    Host::Components components;
    const Runtime::ServiceHolder holder = components.MakeServiceHolder();
    Host::Store::MemoryStore& store = components.GetStore();

    EXPECT_EQ(&holder.GetPostOffice(), static_cast<Dml::PostOffice*>(&store));
    EXPECT_EQ(&holder.GetObjectRegistry(), static_cast<Dml::ObjectRegistry*>(&store));
    // The store's component lists its two interfaces and nothing more.
    const Common::Error error = Testing::ThrownError(
        [&] { holder.Get<MachineManagement::MachineManager>(Runtime::PostOfficeId, "MachineManager"); });
    EXPECT_EQ(error.GetCode(), 0x017E0019u);
}

TEST(ComponentsTest, TheMachineManagerAnswersItsIdOrItsFailure)
{
    const Common::Guid id{0xA, 0xB, 0xC, {1, 2, 3, 4, 5, 6, 7, 8}};
    Host::Components components(id);
    auto& manager = components.MakeServiceHolder().Require<MachineManagement::MachineManager>(
        Runtime::MachineManagerId, "MachineManagement::MachineManager");

    Common::Guid answer;
    EXPECT_EQ(manager.GetMachineId(answer).GetCode(), 0u);
    EXPECT_EQ(answer, id);

    components.GetMachineManager().SetFailure(Common::Error(COMMON_LOCATION("Test"), 0x00AB0001));
    Common::Guid untouched;
    EXPECT_EQ(manager.GetMachineId(untouched).GetCode(), 0x00AB0001u);
    EXPECT_EQ(untouched, Common::NullGuid);
}

} // namespace
