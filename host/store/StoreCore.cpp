#include "StoreCore.h"

#include "async/Errors.h"
#include "por/UnitAccess.h"

#include <algorithm>
#include <utility>

namespace Host::Store::Detail
{
namespace
{

std::int64_t ReadTimeStamp(const Por::View::Unit& object)
{
    const Por::View::Unit* stamp = Por::Util::FindPropertyValue(object, "DmlTimeStamp");
    return stamp != nullptr ? Por::Util::GetValueOr<std::int64_t>(*stamp, 0) : 0;
}

} // namespace

StoreCore::StoreCore(std::unique_ptr<Persistence> persistence, const Por::Construction::UnitFactory& factory)
    : Factory(factory), Storage(std::move(persistence))
{
    if (Storage == nullptr)
    {
        return;
    }
    for (PersistedObject& persisted : Storage->Load())
    {
        auto stored = std::make_shared<StoredObject>();
        DescribeObject(*persisted.Object, *stored);
        stored->Ordinal = persisted.Ordinal;
        stored->TimeStamp = ReadTimeStamp(*persisted.Object);
        stored->Object = std::move(persisted.Object);
        // A reopened store goes on after the highest stamp and ordinal it kept.
        Counters.LastTimeStamp = std::max(Counters.LastTimeStamp, stored->TimeStamp);
        Counters.LastOrdinal = std::max(Counters.LastOrdinal, stored->Ordinal);
        Table.Put(std::move(stored));
    }
}

StoreCore::~StoreCore() = default;

std::vector<StoredObjectPtr> StoreCore::Snapshot(const PatternPlan& plan, const std::shared_ptr<Feed>& feed)
{
    std::vector<StoredObjectPtr> candidates;
    std::lock_guard<std::mutex> guard(Lock);
    plan.CollectCandidates(Table, candidates);
    if (feed != nullptr)
    {
        Feeds.push_back(feed);
    }
    return candidates;
}

void StoreCore::RemoveFeed(const Feed& feed)
{
    std::lock_guard<std::mutex> guard(Lock);
    std::erase_if(Feeds,
                  [&feed](const std::shared_ptr<Feed>& registered) { return registered.get() == &feed; });
}

Common::Error StoreCore::Write(const std::function<void(WriteTransaction&)>& apply)
{
    std::vector<std::shared_ptr<NewsRead>> woken;
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (WriteFault.GetCode() != 0)
        {
            return std::exchange(WriteFault, Common::Success);
        }
        try
        {
            WriteTransaction transaction(Table, Counters, Factory);
            apply(transaction);
            if (Storage != nullptr && !transaction.GetChanges().empty())
            {
                Storage->Commit(transaction.MakePersistedChanges());
            }
            transaction.Commit();
            for (const Change& change : transaction.GetChanges())
            {
                for (const std::shared_ptr<Feed>& feed : Feeds)
                {
                    if (std::shared_ptr<NewsRead> read = feed->Offer(change))
                    {
                        woken.push_back(std::move(read));
                    }
                }
            }
        }
        catch (const Common::Error& error)
        {
            return error;
        }
        catch (...)
        {
            return Async::Errors::CurrentException(COMMON_LOCATION("Host::Store::Detail::StoreCore::Write"),
                                                   u"Store write");
        }
    }
    for (const std::shared_ptr<NewsRead>& read : woken)
    {
        read->Post(Common::Success, true);
    }
    return Common::Success;
}

void StoreCore::FailNextWrite(Common::Error error)
{
    std::lock_guard<std::mutex> guard(Lock);
    WriteFault = std::move(error);
}

void StoreCore::FailNextReadNews(Common::Error error)
{
    std::lock_guard<std::mutex> guard(Lock);
    ReadNewsFault = std::move(error);
}

Common::Error StoreCore::TakeReadNewsFault()
{
    std::lock_guard<std::mutex> guard(Lock);
    return std::exchange(ReadNewsFault, Common::Success);
}

std::int64_t StoreCore::GetLastTimeStamp()
{
    std::lock_guard<std::mutex> guard(Lock);
    return Counters.LastTimeStamp;
}

std::size_t StoreCore::GetObjectCount()
{
    std::lock_guard<std::mutex> guard(Lock);
    return Table.Size();
}

} // namespace Host::Store::Detail
