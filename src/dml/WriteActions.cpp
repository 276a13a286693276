#include "dml/WriteActions.h"

#include "async/Errors.h"
#include "dml/Errors.h"
#include "dml/KeepAlive.h"
#include "dml/ObjectRegistry.h"
#include "por/Unit.h"

namespace Dml::Actions
{
namespace
{

// Owns itself for one run: forwards the result, success in place of a tolerated failure.
class ToleratingHandler final : public Async::ActionHandler
{
public:
    ToleratingHandler(std::uint32_t tolerated, Async::ActionHandler& next) : Tolerated(tolerated), Next(next)
    {
    }

    void Completed(const Common::Error& result) override
    {
        const bool tolerated = result.GetCode() != 0 && Async::Errors::HasCode(result, Tolerated);
        Async::ActionHandler& next = Next;
        delete this;
        next.Completed(tolerated ? Common::Success : result);
    }

private:
    const std::uint32_t Tolerated;
    Async::ActionHandler& Next;
};

} // namespace

Register::Register(ObjectRegistry& registry, Por::ConstUnitPtr object)
    : WriteAction(registry), Object(std::move(object))
{
}

std::shared_ptr<Async::Job> Register::Perform(Async::ActionHandler& handler)
{
    return Dml::Detail::PerformKeepingAlive(
        Object, handler, [&](Async::ActionHandler& keeper) { return Registry.Register(*Object, keeper); });
}

Update::Update(ObjectRegistry& registry, Por::ConstUnitPtr key, Por::ConstUnitPtr patch)
    : WriteAction(registry), Key(std::move(key)), Patch(std::move(patch))
{
}

std::shared_ptr<Async::Job> Update::Perform(Async::ActionHandler& handler)
{
    auto both = std::make_shared<std::pair<Por::ConstUnitPtr, Por::ConstUnitPtr>>(Key, Patch);
    return Dml::Detail::PerformKeepingAlive(
        both, handler, [&](Async::ActionHandler& keeper) { return Registry.Update(*Key, *Patch, keeper); });
}

Unregister::Unregister(ObjectRegistry& registry, Por::ConstUnitPtr key)
    : WriteAction(registry), Key(std::move(key))
{
}

std::shared_ptr<Async::Job> Unregister::Perform(Async::ActionHandler& handler)
{
    return Dml::Detail::PerformKeepingAlive(
        Key, handler, [&](Async::ActionHandler& keeper) { return Registry.Unregister(*Key, keeper); });
}

std::shared_ptr<Async::Job> Detail::PerformTolerating(Async::Action& inner, std::uint32_t tolerated,
                                                      Async::ActionHandler& handler)
{
    auto tolerating = std::make_unique<ToleratingHandler>(tolerated, handler);
    std::shared_ptr<Async::Job> job = inner.Perform(*tolerating);
    tolerating.release(); // frees itself when completed
    return job;
}

std::shared_ptr<Async::Job> RegisterIfAbsent::Perform(Async::ActionHandler& handler)
{
    return Detail::PerformTolerating(Inner, ErrorCodes::ObjectAlreadyExists, handler);
}

std::shared_ptr<Async::Job> UpdateIfFound::Perform(Async::ActionHandler& handler)
{
    return Detail::PerformTolerating(Inner, ErrorCodes::ObjectNotFound, handler);
}

std::shared_ptr<Async::Job> UnregisterIfFound::Perform(Async::ActionHandler& handler)
{
    return Detail::PerformTolerating(Inner, ErrorCodes::ObjectNotFound, handler);
}

} // namespace Dml::Actions
