// Host::Store::Detail::Feed: the news queue of one subscription and its pending ReadNews. The store offers
// every committed change under its own lock, so news is queued in time-stamp order; a ReadNews takes the
// whole queue and delivers it on a service thread, never inside the call, so a reader that reads again
// from its completion keeps a flat stack. Thread-safe; the feed's lock is taken after the store's.
#pragma once

#include "ObjectView.h"
#include "PatternPlan.h"
#include "StoredObject.h"
#include "async/Action.h"
#include "async/Service.h"
#include "common/Error.h"
#include "dml/SubscriptionReader.h"
#include "por/Forward.h"

#include <memory>
#include <mutex>
#include <vector>

namespace Host::Store::Detail
{

class NewsRead;

// One committed change of one object: `Before` null for a creation, `After` null for a deletion.
struct Change
{
    StoredObjectPtr Before;
    StoredObjectPtr After;
};

struct Notification
{
    enum class Kind
    {
        Created,
        Updated,
        Deleted
    };
    Kind What = Kind::Created;
    StoredObjectPtr Before;
    StoredObjectPtr After;
};

class Feed : public std::enable_shared_from_this<Feed>
{
public:
    // `mask` may be null.
    Feed(PatternPlan plan, Por::ConstUnitPtr mask, const Por::Construction::UnitFactory& factory);
    ~Feed();

    // Queues what the change means to this feed: created when the object enters the pattern, updated while
    // it stays, deleted when it leaves (with its new state) or goes. Returns the waiting read to post, if
    // the change woke one. Under the store's lock.
    std::shared_ptr<NewsRead> Offer(const Change& change);
    // One ReadNews; `fault`, when set, is its result instead of news. The reader and the handler must live
    // until the handler was called.
    std::shared_ptr<Async::Job> Read(Dml::SubscriptionReader& reader, Async::ActionHandler& handler,
                                     const Common::Error& fault);
    // The subscription is gone: a waiting read completes cancelled, later reads too.
    void Close();

private:
    friend class NewsRead;

    // Delivers the queue to the reader; reader failures are traced and skipped.
    void Deliver(Dml::SubscriptionReader& reader);
    // Gives the turn of reading back.
    void EndTurn();
    // Takes the read back if it still waits for news.
    std::shared_ptr<NewsRead> Withdraw(const NewsRead& read);

    const PatternPlan Plan;
    KeyedMasks Masks;
    const Por::Construction::UnitFactory& Factory;

    std::mutex Lock;
    std::vector<Notification> Queue;
    std::shared_ptr<NewsRead> Waiting; // a read with nothing to deliver yet
    bool Reading = false;              // a read was started and has not completed
    bool Closed = false;
};

// A ReadNews in progress: the job that cancels it, and the work that runs it on a service thread.
class NewsRead final : public Async::BaseJob,
                       public Async::Work,
                       public Async::ActionHandler,
                       public std::enable_shared_from_this<NewsRead>
{
public:
    NewsRead(std::shared_ptr<Feed> feed, Dml::SubscriptionReader& reader, Async::ActionHandler& handler);

    // Completes a waiting read with the cancelled error; once it has news, or is done, does nothing.
    void Cancel() override;
    void Describe(Async::WorkDescription& out) const override { BaseJob::Describe(out); }

    // Hands the read to the async service; `result`, when set, ends it without delivering. `ownsTurn`: the
    // read holds the feed's one turn of reading and gives it back before completing.
    void Post(const Common::Error& result, bool ownsTurn);

    // Async::Work, on the service thread.
    void Run() override;
    // The service's end of the work: a read the service refused completes with the refusal.
    void Completed(const Common::Error& result) override;

private:
    void Complete(const Common::Error& result);

    const std::shared_ptr<Feed> Source;
    Dml::SubscriptionReader& Reader;
    Async::ActionHandler& Handler;
    Common::Error Result; // set before posting, read on the service thread
    bool OwnsTurn = false;
    bool Ran = false;
    std::shared_ptr<NewsRead> Self; // alive while posted
};

} // namespace Host::Store::Detail
