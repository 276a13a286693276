#include "dml/ServiceHolder.h"

#include "common/ThrownError.h"
#include "dml/ObjectRegistry.h"
#include "dml/PostOffice.h"
#include "por/UnitFactory.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

using Testing::ThrownError;

class NoPostOffice final : public Dml::PostOffice
{
public:
    std::shared_ptr<Async::Job> Subscribe(const Core::EntryPoint&, const Dml::ViewSpec&,
                                          const std::shared_ptr<Dml::ReportReader>&,
                                          std::unique_ptr<Dml::Subscription>&, Async::ActionHandler&) override
    {
        return nullptr;
    }
    std::shared_ptr<Async::Job> Report(const Core::EntryPoint&, const Dml::ViewSpec&,
                                       const std::shared_ptr<Dml::ReportReader>&,
                                       Async::ActionHandler&) override
    {
        return nullptr;
    }
};

class NoRegistry final : public Dml::ObjectRegistry
{
public:
    std::shared_ptr<Async::Job> Register(const Por::View::Unit&, Async::ActionHandler&) override
    {
        return nullptr;
    }
    std::shared_ptr<Async::Job> Update(const Por::View::Unit&, const Por::View::Unit&,
                                       Async::ActionHandler&) override
    {
        return nullptr;
    }
    std::shared_ptr<Async::Job> Unregister(const Por::View::Unit&, Async::ActionHandler&) override
    {
        return nullptr;
    }
};

TEST(ServiceHolderTest, HeldServicesComeBackAndTheFactoryIsTheProcessOne)
{
    NoPostOffice postOffice;
    NoRegistry registry;
    const Dml::ServiceHolder full(&postOffice, &registry);
    EXPECT_EQ(&full.GetPostOffice(), &postOffice);
    EXPECT_EQ(&full.GetObjectRegistry(), &registry);
    EXPECT_EQ(&full.GetUnitFactory(), &Por::GetUnitFactory());

    // Reads work without a registry; the registry's getter names it, at the caller's line.
    const Dml::ServiceHolder readOnly(&postOffice);
    EXPECT_EQ(&readOnly.GetPostOffice(), &postOffice);
    EXPECT_FALSE(readOnly.HasObjectRegistry());
    constexpr std::uint64_t expectedTag = Common::MakeLineTag(__FILE__, __LINE__ + 1);
    const Common::Error missing = ThrownError([&] { readOnly.GetObjectRegistry(); });
    EXPECT_EQ(missing.GetCode(), 0x00FC0031u);
    EXPECT_EQ(missing.GetMessage(), u"DML: Unproper use. Missing ObjectRegistry.");
    EXPECT_EQ(missing.GetLineTag().LineTag, expectedTag);
}

TEST(ServiceHolderTest, EachMissingServiceIsNamedAtTheGivenSite)
{
    const Dml::ServiceHolder empty(nullptr, nullptr, nullptr);
    const Common::ErrorLocation site = COMMON_LOCATION("Dml::SynchronousDataStore::Report");
    const std::pair<const char16_t*, std::function<void()>> getters[] = {
        {u"DML: Unproper use. Missing UnitFactory.", [&] { empty.GetUnitFactory(site); }},
        {u"DML: Unproper use. Missing PostOffice.", [&] { empty.GetPostOffice(site); }},
        {u"DML: Unproper use. Missing ObjectRegistry.", [&] { empty.GetObjectRegistry(site); }},
    };
    for (const auto& [text, get] : getters)
    {
        const Common::Error error = ThrownError(get);
        EXPECT_EQ(error.GetCode(), 0x00FC0031u);
        EXPECT_EQ(error.GetMessage(), text);
        EXPECT_EQ(error.GetLineTag().LineTag, site.LineTag);
    }
    EXPECT_EQ(ThrownError([&] { empty.GetPostOffice(); }).GetCode(), 0x00FC0031u);
}

} // namespace
