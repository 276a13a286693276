// Dml::PromiseFacade: the store's operations for code that composes jobs from futures. Each operation
// takes its arguments as values or as Async::Future values read when the action is performed, and
// returns a Promise: the action and the future of its result. The facade lives as long as any action it
// made (hold it by std::shared_ptr: make it with Create). Services are fetched when an action is
// performed; a missing one throws 0x00FC0031 "DML: Unproper use. Missing {0}." from Perform, so a run
// fails at once. A future argument that yields a null unit or subscription throws 0x00AC0003 from Perform.
// Store failures are the promise's result. Thread-safe; each action is performed by one thread at a time.
#pragma once

#include "async/Future.h"
#include "dml/Promise.h"
#include "dml/ServiceHolder.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "runtime/EntryPoint.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Dml
{

class AsyncSubscription;
class Subscription;

// What a subscribe yields: the opening report and the feed.
struct SubscribedSnapshot
{
    std::vector<Por::UnitPtr> Snapshot;
    std::unique_ptr<Subscription> Feed;
};

struct AsyncSubscribedSnapshot
{
    std::vector<Por::UnitPtr> Snapshot;
    std::unique_ptr<AsyncSubscription> Feed;
};

class PromiseFacade : public std::enable_shared_from_this<PromiseFacade>
{
public:
    // As ServiceHolder: with the process's unit factory unless one is given; any service may be null.
    static std::shared_ptr<PromiseFacade> Create(PostOffice* postOffice);
    static std::shared_ptr<PromiseFacade> Create(PostOffice* postOffice, ObjectRegistry* registry);
    static std::shared_ptr<PromiseFacade> Create(PostOffice* postOffice, ObjectRegistry* registry,
                                                 const Por::Construction::UnitFactory* factory);

    PromiseFacade(const PromiseFacade&) = delete;
    PromiseFacade& operator=(const PromiseFacade&) = delete;

    // Throw 0x00FC0031 naming the missing service.
    PostOffice& GetPostOffice() const;
    ObjectRegistry& GetRegistry() const;
    const Por::Construction::UnitFactory& GetUnitFactory() const;

    // A plain object or an operation object.
    Promise<void> Register(Async::Future<Por::ConstUnitPtr> object);
    Promise<void> Unregister(Async::Future<Por::ConstUnitPtr> key);
    // By the object's key.
    Promise<void> UnregisterObject(Async::Future<Por::ConstUnitPtr> object);
    // A copy of the object, or empty when there is none (a success).
    Promise<Por::UnitPtr> FindById(const Core::EntryPoint& entryPoint, Async::Future<Por::ConstUnitPtr> key);
    Promise<std::vector<Por::UnitPtr>> Report(const Core::EntryPoint& entryPoint,
                                              Async::Future<ViewSpec> spec);
    Promise<SubscribedSnapshot> Subscribe(const Core::EntryPoint& entryPoint, Async::Future<ViewSpec> spec);
    // The feed alone: the report is silenced with a limit of 0, the snapshot stays empty.
    Promise<SubscribedSnapshot> SubscribeWithoutReport(const Core::EntryPoint& entryPoint,
                                                       Async::Future<ViewSpec> spec);
    Promise<AsyncSubscribedSnapshot> AsyncSubscribe(const Core::EntryPoint& entryPoint,
                                                    Async::Future<ViewSpec> spec);
    // The objects created since the last read of the feed, which must outlive the run; updates and
    // deletions are dropped.
    Promise<std::vector<Por::UnitPtr>> ReadCreated(Async::Future<Subscription*> subscription);
    // The number of objects that match.
    Promise<std::uint32_t> Count(const Core::EntryPoint& entryPoint, Async::Future<ViewSpec> spec);

private:
    explicit PromiseFacade(ServiceHolder services) : Services(services) {}

    const ServiceHolder Services;
};

namespace PromiseFacadeImpl
{

// Reads the object of `key` into `result`, which must live until the run completes.
std::shared_ptr<Async::Job> FindByIdAction(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                           Por::UnitPtr& result, PostOffice& postOffice,
                                           const Por::Construction::UnitFactory& factory,
                                           Async::ActionHandler& handler);
// Appends the objects of `spec` to `result`, which must live until the run completes.
std::shared_ptr<Async::Job> ReadObjectsAction(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                              PostOffice& postOffice,
                                              const Por::Construction::UnitFactory& factory,
                                              std::vector<Por::UnitPtr>& result,
                                              Async::ActionHandler& handler);
// Counts the objects of `spec` into `count`, which must live until the run completes.
std::shared_ptr<Async::Job> ReadCountAction(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                            std::uint32_t& count, PostOffice& postOffice,
                                            const Por::Construction::UnitFactory& factory,
                                            Async::ActionHandler& handler);

} // namespace PromiseFacadeImpl
} // namespace Dml
