// Host::Store::MemoryStore: the store service of the reference host, objects in memory with indexes by
// key and by class, optionally kept by a Persistence. Reads select by key pattern or Por::Match and obey
// the read options (ViewOptions.h); writes take plain objects and every operation object, stamp each
// change with a strictly increasing "DmlTimeStamp" and feed the subscriptions in stamp order. Every call
// completes its handler before it returns, except ReadNews, which completes on a service thread; the jobs
// returned are null but ReadNews's. Readers run without any store lock held and may call the store
// again; a reader's exception is traced at level 4 and delivery goes on. Thread-safe.
#pragma once

#include "Persistence.h"
#include "common/Error.h"
#include "dml/ObjectRegistry.h"
#include "dml/PostOffice.h"
#include "por/UnitFactory.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Host::Store
{
namespace Detail
{
class StoreCore;
}

class MemoryStore final : public Dml::PostOffice, public Dml::ObjectRegistry
{
public:
    // `persistence` may be null; its objects are loaded here (its Common::Error is thrown).
    explicit MemoryStore(std::unique_ptr<Persistence> persistence = nullptr,
                         const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    ~MemoryStore() override;

    // The opening report, then `subscription` is filled; the feed starts at the report's instant, so a
    // concurrent write is either in the report or in the news, never in both or neither. The options shape
    // the report only; the mask applies to the news as well. `reader` may be null.
    std::shared_ptr<Async::Job> Subscribe(const Core::EntryPoint& entryPoint, const Dml::ViewSpec& spec,
                                          const std::shared_ptr<Dml::ReportReader>& reader,
                                          std::unique_ptr<Dml::Subscription>& subscription,
                                          Async::ActionHandler& handler) override;
    // A null reader fails with 0x00AC0003. A malformed pattern or sorting spec fails with its error.
    std::shared_ptr<Async::Job> Report(const Core::EntryPoint& entryPoint, const Dml::ViewSpec& spec,
                                       const std::shared_ptr<Dml::ReportReader>& reader,
                                       Async::ActionHandler& handler) override;

    // A plain object (0x00FC0020 when its key exists, 0x00FC000A without a key) or an operation object; a
    // batch applies all of its operations or none.
    std::shared_ptr<Async::Job> Register(const Por::View::Unit& object,
                                         Async::ActionHandler& handler) override;
    // The patch merged into the object as a new unit; 0x00FC001B when the object is missing or the patch
    // doesn't apply (the object then stays as it was).
    std::shared_ptr<Async::Job> Update(const Por::View::Unit& key, const Por::View::Unit& patch,
                                       Async::ActionHandler& handler) override;
    // 0x00FC001B when the object is missing.
    std::shared_ptr<Async::Job> Unregister(const Por::View::Unit& key,
                                           Async::ActionHandler& handler) override;

    // For tests only: the next write, or the next ReadNews of any of its subscriptions, fails with `error`.
    void FailNextWrite(Common::Error error);
    void FailNextReadNews(Common::Error error);

    // The stamp of the last write (0 for a new store).
    std::int64_t GetLastTimeStamp() const;
    std::size_t GetObjectCount() const;

private:
    const std::shared_ptr<Detail::StoreCore> State;
};

} // namespace Host::Store
