#include "runtime/ServiceHolder.h"

#include "common/Error.h"
#include "common/ThrownError.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace
{

using Runtime::ComponentId;
using Runtime::ServiceHolder;

class TestRegistry final : public Runtime::ComponentRegistry
{
public:
    Common::DynamicCaster* GetComponent(ComponentId id) override
    {
        const auto found = Components.find(id);
        return found != Components.end() ? found->second : nullptr;
    }
    std::map<ComponentId, Common::DynamicCaster*> Components;
};

// A component listing one interface under a name of the test's choosing.
class TestComponent final : public Common::DynamicCasterImpl
{
public:
    TestComponent(const char* typeName, void* pointer) { Register(typeName, pointer); }
};

std::u16string Widen(const std::string& text)
{
    return std::u16string(text.begin(), text.end());
}

struct GetterCase
{
    const char* Function;
    ComponentId Id;
    const char* TypeName;
    std::uint32_t MissingCode;
    const char16_t* MissingText;
    const void* (*Call)(const ServiceHolder&);
};

const GetterCase Getters[] = {
    {"Runtime::ServiceHolder::GetBrain", 308, Common::InterfaceTypeName<Runtime::ExecutionSubsystem>(),
     0x017E000A, u"Execution subsystem component is missing.",
     [](const ServiceHolder& holder) -> const void* { return &holder.GetBrain(); }},
    {"Runtime::ServiceHolder::GetFeatures", 320, Common::InterfaceTypeName<Runtime::FeatureRegistry>(),
     0x017E000D, u"Feature registry component is missing.",
     [](const ServiceHolder& holder) -> const void* { return &holder.GetFeatures(); }},
    {"Runtime::ServiceHolder::GetMessageProcessor", 304,
     Common::InterfaceTypeName<Runtime::MessageProcessor>(), 0x017E000F,
     u"Message processor component is missing.",
     [](const ServiceHolder& holder) -> const void* { return &holder.GetMessageProcessor(); }},
    {"Runtime::ServiceHolder::GetObjectRegistry", 273, Common::InterfaceTypeName<Dml::ObjectRegistry>(),
     0x017E000E, u"Object registry component is missing.",
     [](const ServiceHolder& holder) -> const void* { return &holder.GetObjectRegistry(); }},
    {"Runtime::ServiceHolder::GetPostOffice", 272, Common::InterfaceTypeName<Dml::PostOffice>(), 0x017E000B,
     u"Data management layer is missing.",
     [](const ServiceHolder& holder) -> const void* { return &holder.GetPostOffice(); }},
};

TEST(ServiceHolderTest, GettersFindTheirInterfaceByNumber)
{
    for (const GetterCase& getter : Getters)
    {
        SCOPED_TRACE(getter.Function);
        int service = 0;
        TestComponent component(getter.TypeName, &service);
        TestRegistry registry;
        registry.Components[getter.Id] = &component;
        EXPECT_EQ(getter.Call(ServiceHolder(registry)), &service);
    }
}

TEST(ServiceHolderTest, MissingServicesThrowTheirCodeTextAndSite)
{
    TestRegistry registry;
    const ServiceHolder holder(registry);
    for (const GetterCase& getter : Getters)
    {
        SCOPED_TRACE(getter.Function);
        const Common::Error error = Testing::ThrownError([&] { getter.Call(holder); });
        EXPECT_EQ(error.GetCode(), getter.MissingCode);
        EXPECT_EQ(error.GetMessage(), getter.MissingText);
        EXPECT_STREQ(error.GetLineTag().Function, getter.Function);
    }
}

TEST(ServiceHolderTest, ComponentOfAnotherTypeIsABadCastNamingTheInterface)
{
    int other = 0;
    TestComponent component(Common::InterfaceTypeName<int>(), &other);
    TestRegistry registry;
    registry.Components[273] = &component;
    registry.Components[999] = &component;
    const ServiceHolder holder(registry);

    const Common::Error error = Testing::ThrownError([&] { holder.GetObjectRegistry(); });
    EXPECT_EQ(error.GetCode(), 0x017E0019u);
    EXPECT_EQ(error.GetMessage(),
              u"Invalid cast of component 'Dml::ObjectRegistry' to interface 'Dml::ObjectRegistry'.");
    EXPECT_STREQ(error.GetLineTag().Function, "Runtime::ComponentRegistry::MakeBadCastError");

    const Common::Error unnamed =
        Testing::ThrownError([&] { holder.Get<Dml::PostOffice>(999, "Dml::PostOffice"); });
    EXPECT_EQ(unnamed.GetMessage(),
              u"Invalid cast of component with ID '999' to interface 'Dml::PostOffice'.");
}

TEST(ServiceHolderTest, NotFoundNamesTheComponentOrItsNumber)
{
    const Common::Error named = Runtime::ComponentRegistry::MakeNotFoundError(145);
    EXPECT_EQ(named.GetCode(), 0x00AC0002u);
    EXPECT_EQ(named.GetMessage(), u"'MachineManagement::MachineManager' cannot be found.");
    EXPECT_STREQ(named.GetLineTag().Function, "Runtime::ComponentRegistry::MakeNotFoundError");
    EXPECT_EQ(Runtime::ComponentRegistry::MakeNotFoundError(4000000000u).GetMessage(),
              u"Cannot find a component with ID '4000000000'.");
    EXPECT_EQ(Runtime::ComponentRegistry::MakeNotFoundError(304).GetMessage(),
              u"'Tol::MesssageProcessor' cannot be found.");

    TestRegistry registry;
    const Common::Error required =
        Testing::ThrownError([&] { ServiceHolder(registry).Require<Dml::PostOffice>(145, "X"); });
    EXPECT_EQ(required.GetMessage(), Widen("'MachineManagement::MachineManager' cannot be found."));
}

TEST(ServiceHolderTest, NullRegistryIsAnIncorrectComponentManager)
{
    const Common::Error error =
        Testing::ThrownError([] { ServiceHolder holder(static_cast<Runtime::ComponentRegistry*>(nullptr)); });
    EXPECT_EQ(error.GetCode(), 0x017E0013u);
    EXPECT_EQ(error.GetMessage(), u"An incorrect component manager has been referenced.");
    EXPECT_STREQ(error.GetLineTag().Function, "Runtime::`anonymous-namespace'::Dereference");
}

TEST(ServiceHolderTest, HolderKeepsNoComponent)
{
    int first = 0;
    int second = 0;
    TestComponent one(Common::InterfaceTypeName<Dml::PostOffice>(), &first);
    TestComponent two(Common::InterfaceTypeName<Dml::PostOffice>(), &second);
    TestRegistry registry;
    const ServiceHolder holder(registry);
    registry.Components[272] = &one;
    EXPECT_EQ(static_cast<const void*>(&holder.GetPostOffice()), &first);
    registry.Components[272] = &two;
    EXPECT_EQ(static_cast<const void*>(&holder.GetPostOffice()), &second);
}

TEST(DynamicCasterTest, NullNamesAndPointersRegisterNothing)
{
    int value = 0;
    TestComponent empty(nullptr, &value);
    EXPECT_EQ(empty.Cast(nullptr), nullptr);
    TestComponent none(Common::InterfaceTypeName<int>(), nullptr);
    EXPECT_EQ(Common::DynamicCast<int>(none), nullptr);
    TestComponent some(Common::InterfaceTypeName<int>(), &value);
    EXPECT_EQ(Common::DynamicCast<int>(some), &value);
    EXPECT_EQ(Common::DynamicCast<long>(some), nullptr);
}

} // namespace
