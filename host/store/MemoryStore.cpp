#include "MemoryStore.h"

#include "Feed.h"
#include "PatternPlan.h"
#include "StoreCore.h"
#include "StoreSubscription.h"
#include "ViewOptions.h"
#include "async/Errors.h"
#include "common/Trace.h"
#include "dml/Errors.h"
#include "dml/ReportReader.h"
#include "por/Unit.h"

#include <vector>

namespace Host::Store
{
namespace
{

// Hands the report to the reader; a reader that throws loses that object only.
void Deliver(const std::vector<Por::ConstUnitPtr>& objects, Dml::ReportReader& reader)
{
    for (const Por::ConstUnitPtr& object : objects)
    {
        try
        {
            reader.OnSubject(*object);
        }
        catch (...)
        {
            Common::TraceError(
                4, Async::Errors::CurrentException(
                       COMMON_LOCATION("Host::Store::`anonymous-namespace'::Deliver"), u"Report reader"));
        }
    }
}

// One read: the report to `reader` and, for a subscription, the feed opened at the same instant.
Common::Error Read(const std::shared_ptr<Detail::StoreCore>& core, const Dml::ViewSpec& spec,
                   Dml::ReportReader* reader, std::unique_ptr<Dml::Subscription>* subscription)
{
    try
    {
        const Detail::PatternPlan plan(spec.Pattern);
        const Detail::ViewOptions options(spec.Options.get());
        std::shared_ptr<Detail::Feed> feed;
        std::unique_ptr<StoreSubscription> opened;
        if (subscription != nullptr)
        {
            feed = std::make_shared<Detail::Feed>(plan, options.GetMask(), core->GetFactory());
        }
        std::vector<StoredObjectPtr> selected = core->Snapshot(plan, feed);
        if (feed != nullptr)
        {
            // Owned at once, so that a failure below unregisters the feed.
            opened = std::make_unique<StoreSubscription>(core, feed);
        }
        options.Select(plan, selected);
        const std::vector<Por::ConstUnitPtr> shown = options.Present(selected, core->GetFactory());
        selected.clear();
        if (reader != nullptr)
        {
            Deliver(shown, *reader);
        }
        if (subscription != nullptr)
        {
            *subscription = std::move(opened);
        }
        return Common::Success;
    }
    catch (const Common::Error& error)
    {
        return error;
    }
    catch (...)
    {
        return Async::Errors::CurrentException(COMMON_LOCATION("Host::Store::`anonymous-namespace'::Read"),
                                               u"Store read");
    }
}

} // namespace

MemoryStore::MemoryStore(std::unique_ptr<Persistence> persistence,
                         const Por::Construction::UnitFactory& factory)
    : State(std::make_shared<Detail::StoreCore>(std::move(persistence), factory))
{
}

MemoryStore::~MemoryStore() = default;

std::shared_ptr<Async::Job> MemoryStore::Subscribe(const Core::EntryPoint&, const Dml::ViewSpec& spec,
                                                   const std::shared_ptr<Dml::ReportReader>& reader,
                                                   std::unique_ptr<Dml::Subscription>& subscription,
                                                   Async::ActionHandler& handler)
{
    handler.Completed(Read(State, spec, reader.get(), &subscription));
    return nullptr;
}

std::shared_ptr<Async::Job> MemoryStore::Report(const Core::EntryPoint&, const Dml::ViewSpec& spec,
                                                const std::shared_ptr<Dml::ReportReader>& reader,
                                                Async::ActionHandler& handler)
{
    if (reader == nullptr)
    {
        handler.Completed(Dml::Errors::MakeNullPointer(COMMON_LOCATION("Host::Store::MemoryStore::Report")));
        return nullptr;
    }
    handler.Completed(Read(State, spec, reader.get(), nullptr));
    return nullptr;
}

std::shared_ptr<Async::Job> MemoryStore::Register(const Por::View::Unit& object,
                                                  Async::ActionHandler& handler)
{
    handler.Completed(State->Write([&object](Detail::WriteTransaction& write) { write.Register(object); }));
    return nullptr;
}

std::shared_ptr<Async::Job> MemoryStore::Update(const Por::View::Unit& key, const Por::View::Unit& patch,
                                                Async::ActionHandler& handler)
{
    handler.Completed(State->Write([&](Detail::WriteTransaction& write) { write.Update(key, patch); }));
    return nullptr;
}

std::shared_ptr<Async::Job> MemoryStore::Unregister(const Por::View::Unit& key, Async::ActionHandler& handler)
{
    handler.Completed(State->Write([&key](Detail::WriteTransaction& write) { write.Unregister(key); }));
    return nullptr;
}

void MemoryStore::FailNextWrite(Common::Error error)
{
    State->FailNextWrite(std::move(error));
}

void MemoryStore::FailNextReadNews(Common::Error error)
{
    State->FailNextReadNews(std::move(error));
}

std::int64_t MemoryStore::GetLastTimeStamp() const
{
    return State->GetLastTimeStamp();
}

std::size_t MemoryStore::GetObjectCount() const
{
    return State->GetObjectCount();
}

} // namespace Host::Store
