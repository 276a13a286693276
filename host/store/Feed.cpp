#include "Feed.h"

#include "ObjectView.h"
#include "async/Errors.h"
#include "async/Service.h"
#include "common/Trace.h"

#include <utility>

namespace Host::Store::Detail
{
namespace
{

inline constexpr std::uint32_t GenericFailureCode = 0x00FC0001;

// Whether the feed's pattern takes the object; a pattern that fails to match is traced and takes nothing.
bool IsSelected(const PatternPlan& plan, const StoredObjectPtr& object)
{
    if (object == nullptr)
    {
        return false;
    }
    try
    {
        return plan.Selects(*object);
    }
    catch (...)
    {
        Common::TraceError(4, Async::Errors::CurrentException(
                                  COMMON_LOCATION("Host::Store::Detail::IsSelected"), u"Match news"));
        return false;
    }
}

} // namespace

Feed::Feed(PatternPlan plan, Por::ConstUnitPtr mask, const Por::Construction::UnitFactory& factory)
    : Plan(std::move(plan)), Masks(std::move(mask)), Factory(factory)
{
}

Feed::~Feed() = default;

std::shared_ptr<NewsRead> Feed::Offer(const Change& change)
{
    const bool was = IsSelected(Plan, change.Before);
    const bool is = IsSelected(Plan, change.After);
    if (!was && !is)
    {
        return nullptr;
    }
    Notification news;
    if (was && is)
    {
        news = {Notification::Kind::Updated, change.Before, change.After};
    }
    else if (is)
    {
        news = {Notification::Kind::Created, nullptr, change.After};
    }
    else
    {
        // An object that leaves the pattern is told with its latest state; a deleted one as it was.
        news = {Notification::Kind::Deleted, change.After != nullptr ? change.After : change.Before, nullptr};
    }
    std::lock_guard<std::mutex> guard(Lock);
    if (Closed)
    {
        return nullptr;
    }
    Queue.push_back(std::move(news));
    return std::move(Waiting);
}

std::shared_ptr<Async::Job> Feed::Read(Dml::SubscriptionReader& reader, Async::ActionHandler& handler,
                                       const Common::Error& fault)
{
    auto read = std::make_shared<NewsRead>(shared_from_this(), reader, handler);
    Common::Error early = fault;
    bool ready = false;
    if (early.GetCode() == 0)
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (Closed)
        {
            early = Async::Errors::Canceled();
        }
        else if (Reading)
        {
            // One read at a time: a second one would split the news between two readers.
            early = Common::Error(COMMON_LOCATION("Host::Store::Detail::Feed::Read"), GenericFailureCode);
        }
        else if (Queue.empty())
        {
            Reading = true;
            Waiting = read;
            return read;
        }
        else
        {
            Reading = true;
            ready = true;
        }
    }
    read->Post(early, ready);
    return read;
}

void Feed::Close()
{
    std::shared_ptr<NewsRead> waiting;
    {
        std::lock_guard<std::mutex> guard(Lock);
        Closed = true;
        Queue.clear();
        waiting = std::move(Waiting);
    }
    if (waiting != nullptr)
    {
        waiting->Post(Async::Errors::Canceled(), true);
    }
}

void Feed::Deliver(Dml::SubscriptionReader& reader)
{
    std::vector<Notification> news;
    {
        std::lock_guard<std::mutex> guard(Lock);
        news.swap(Queue);
    }
    for (const Notification& item : news)
    {
        try
        {
            switch (item.What)
            {
            case Notification::Kind::Created:
                reader.OnCreated(ShownObject(*item.After, Masks, Factory).Get());
                break;
            case Notification::Kind::Updated:
                reader.OnUpdated(ShownObject(*item.Before, Masks, Factory).Get(),
                                 ShownObject(*item.After, Masks, Factory).Get());
                break;
            case Notification::Kind::Deleted:
                reader.OnDeleted(ShownObject(*item.Before, Masks, Factory).Get());
                break;
            }
        }
        catch (...)
        {
            // One bad notification must not stop the feed.
            Common::TraceError(
                4, Async::Errors::CurrentException(COMMON_LOCATION("Host::Store::Detail::Feed::Deliver"),
                                                   u"Subscription reader"));
        }
    }
}

void Feed::EndTurn()
{
    std::lock_guard<std::mutex> guard(Lock);
    Reading = false;
}

std::shared_ptr<NewsRead> Feed::Withdraw(const NewsRead& read)
{
    std::lock_guard<std::mutex> guard(Lock);
    if (Waiting.get() != &read)
    {
        return nullptr;
    }
    return std::move(Waiting);
}

NewsRead::NewsRead(std::shared_ptr<Feed> feed, Dml::SubscriptionReader& reader, Async::ActionHandler& handler)
    : Source(std::move(feed)), Reader(reader), Handler(handler)
{
}

void NewsRead::Cancel()
{
    if (std::shared_ptr<NewsRead> self = Source->Withdraw(*this))
    {
        self->Post(Async::Errors::MakeCanceled(COMMON_LOCATION("Host::Store::Detail::NewsRead::Cancel")),
                   true);
    }
}

void NewsRead::Post(const Common::Error& result, bool ownsTurn)
{
    Result = result;
    OwnsTurn = ownsTurn;
    Self = shared_from_this();
    Async::Service* service = nullptr;
    Async::GetAsyncService(&service);
    if (service == nullptr)
    {
        // No service at all (the host has none): the read can only run here.
        Run();
        Completed(Common::Success);
        return;
    }
    // The service may complete at once (when shutting down): nothing of this object is touched after.
    service->Execute(*this, *this);
}

void NewsRead::Run()
{
    Ran = true;
    if (Result.GetCode() == 0)
    {
        Source->Deliver(Reader);
    }
    Complete(Result);
}

void NewsRead::Completed(const Common::Error& result)
{
    std::shared_ptr<NewsRead> self = std::move(Self);
    if (!Ran)
    {
        Ran = true;
        Complete(result.GetCode() != 0 ? result : Async::Errors::Canceled());
    }
}

void NewsRead::Complete(const Common::Error& result)
{
    if (OwnsTurn)
    {
        // Given back first: the handler may read again at once.
        Source->EndTurn();
    }
    Handler.Completed(result);
}

} // namespace Host::Store::Detail
