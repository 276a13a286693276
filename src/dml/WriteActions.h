// Dml::Actions for the object registry: Register, Update and Unregister, and their tolerant forms that
// count "already exists" (0xFC0020) or "not found" (0xFC001B) anywhere in the failure's chain as success.
#pragma once

#include "dml/ActionBases.h"
#include "por/Forward.h"

#include <cstdint>

namespace Dml::Actions
{

class Register final : public Detail::WriteAction
{
public:
    Register(ObjectRegistry& registry, Por::ConstUnitPtr object);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Object;
};

class Update final : public Detail::WriteAction
{
public:
    Update(ObjectRegistry& registry, Por::ConstUnitPtr key, Por::ConstUnitPtr patch);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Key;
    const Por::ConstUnitPtr Patch;
};

class Unregister final : public Detail::WriteAction
{
public:
    Unregister(ObjectRegistry& registry, Por::ConstUnitPtr key);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Key;
};

namespace Detail
{
// Performs `inner` with a handler that turns a failure holding `tolerated` into success.
std::shared_ptr<Async::Job> PerformTolerating(Async::Action& inner, std::uint32_t tolerated,
                                              Async::ActionHandler& handler);
} // namespace Detail

class RegisterIfAbsent final : public Async::Action
{
public:
    RegisterIfAbsent(ObjectRegistry& registry, Por::ConstUnitPtr object) : Inner(registry, std::move(object))
    {
    }
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    Register Inner;
};

class UpdateIfFound final : public Async::Action
{
public:
    UpdateIfFound(ObjectRegistry& registry, Por::ConstUnitPtr key, Por::ConstUnitPtr patch)
        : Inner(registry, std::move(key), std::move(patch))
    {
    }
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    Update Inner;
};

class UnregisterIfFound final : public Async::Action
{
public:
    UnregisterIfFound(ObjectRegistry& registry, Por::ConstUnitPtr key) : Inner(registry, std::move(key)) {}
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    Unregister Inner;
};

} // namespace Dml::Actions
