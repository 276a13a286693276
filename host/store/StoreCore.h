// Host::Store::Detail::StoreCore: the state of a memory store that its subscriptions share: the object
// table, the counters, the feeds and the persistence. One lock guards it all; under it a write is applied,
// persisted, stamped and offered to every feed, so news order is time-stamp order. No reader code runs
// under the lock, and the async service is called only after it is released. Thread-safe.
#pragma once

#include "Feed.h"
#include "ObjectTable.h"
#include "PatternPlan.h"
#include "Persistence.h"
#include "WriteTransaction.h"
#include "common/Error.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace Host::Store::Detail
{

class StoreCore : Common::NonCopyable
{
public:
    // Loads what `persistence` holds (may be null: memory only). Throws Common::Error of the load.
    StoreCore(std::unique_ptr<Persistence> persistence, const Por::Construction::UnitFactory& factory);
    ~StoreCore();

    // The candidates of `plan` as they are now; a `feed` given is registered at the same instant, so it
    // gets exactly the changes the snapshot does not show.
    std::vector<StoredObjectPtr> Snapshot(const PatternPlan& plan, const std::shared_ptr<Feed>& feed);
    void RemoveFeed(const Feed& feed);

    // Runs `apply` on a transaction under the lock; a throw or a failed commit leaves the store as it was.
    // Returns the failure.
    Common::Error Write(const std::function<void(WriteTransaction&)>& apply);

    // The test hooks: the next write, or the next ReadNews of any subscription, fails with `error`.
    void FailNextWrite(Common::Error error);
    void FailNextReadNews(Common::Error error);
    Common::Error TakeReadNewsFault();

    const Por::Construction::UnitFactory& GetFactory() const { return Factory; }
    std::int64_t GetLastTimeStamp();
    std::size_t GetObjectCount();

private:
    const Por::Construction::UnitFactory& Factory;
    const std::unique_ptr<Persistence> Storage;

    std::mutex Lock;
    ObjectTable Table;
    StoreCounters Counters;
    std::vector<std::shared_ptr<Feed>> Feeds;
    Common::Error WriteFault;
    Common::Error ReadNewsFault;
};

} // namespace Host::Store::Detail
