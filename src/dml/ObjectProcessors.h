// The object processors of store-or-update, consolidation, delete, find and existence. The comparison
// and the merge run here, on the client: the stored object is read, a patch against the wanted state is
// computed, and the registry applies it, so the read and the write are two store operations.
#pragma once

#include "dml/ObjectProcessor.h"
#include "por/Forward.h"

namespace Por
{
class Unit;
}

namespace Dml
{
class ObjectRegistry;
}

namespace Dml::Detail
{

// Found: updates it with the patch to the new object (also an empty one). Missing: registers the new one.
class WriteObject : public ObjectProcessor
{
public:
    WriteObject(Por::ConstUnitPtr object, ObjectRegistry& registry,
                const Por::Construction::UnitFactory& factory);
    std::shared_ptr<Async::Job> ProcessObject(const Por::View::Unit& stored,
                                              Async::ActionHandler& handler) override;
    std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) override;

protected:
    const Por::ConstUnitPtr Object;
    ObjectRegistry& Registry;
    const Por::Construction::UnitFactory& Factory;
    Por::UnitPtr KeyHolder;
    Por::UnitPtr PatchHolder;
};

// Found: leaves it untouched. Missing: registers the new one.
class StoreNewObject final : public WriteObject
{
public:
    using WriteObject::WriteObject;
    std::shared_ptr<Async::Job> ProcessObject(const Por::View::Unit& stored,
                                              Async::ActionHandler& handler) override;
};

// Found: merges the new object into it and updates it with the patch to the merged state. Missing:
// registers the new one, or (IfExists) writes nothing.
class ConsolidateObject : public ObjectProcessor
{
public:
    ConsolidateObject(Por::ConstUnitPtr object, ObjectRegistry& registry,
                      const Por::Construction::UnitFactory& factory);
    std::shared_ptr<Async::Job> ProcessObject(const Por::View::Unit& stored,
                                              Async::ActionHandler& handler) override;
    std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) override;

protected:
    const Por::ConstUnitPtr Object;
    ObjectRegistry& Registry;
    const Por::Construction::UnitFactory& Factory;
    Por::UnitPtr KeyHolder;
    Por::UnitPtr PatchHolder;
};

class ConsolidateObjectIfExists final : public ConsolidateObject
{
public:
    using ConsolidateObject::ConsolidateObject;
    std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) override;
};

// Found: unregisters it by its own key. Missing: success.
class DeleteObject final : public ObjectProcessor
{
public:
    DeleteObject(ObjectRegistry& registry, const Por::Construction::UnitFactory& factory)
        : Registry(registry), Factory(factory)
    {
    }
    std::shared_ptr<Async::Job> ProcessObject(const Por::View::Unit& stored,
                                              Async::ActionHandler& handler) override;
    std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) override;

private:
    ObjectRegistry& Registry;
    const Por::Construction::UnitFactory& Factory;
    Por::UnitPtr KeyHolder;
};

// Found: a copy into the holder, or assigned to the unit handle. Missing: success, the destination as it
// was; the strict form fails with 0xFC001B naming the key.
class FindPlainObject : public ObjectProcessor
{
public:
    FindPlainObject(Por::UnitPtr* holder, Por::Unit* unit, const Por::Construction::UnitFactory& factory)
        : Holder(holder), Unit(unit), Factory(factory)
    {
    }
    std::shared_ptr<Async::Job> ProcessObject(const Por::View::Unit& stored,
                                              Async::ActionHandler& handler) override;
    std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) override;

private:
    Por::UnitPtr* const Holder;
    Por::Unit* const Unit;
    const Por::Construction::UnitFactory& Factory;
};

class StrictFindPlainObject final : public FindPlainObject
{
public:
    StrictFindPlainObject(Por::UnitPtr* holder, Por::Unit* unit,
                          const Por::Construction::UnitFactory& factory, Por::ConstUnitPtr key)
        : FindPlainObject(holder, unit, factory), Key(std::move(key))
    {
    }
    std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Key;
};

class ObjectExistenceChecker final : public ObjectProcessor
{
public:
    explicit ObjectExistenceChecker(bool& result) : Result(result) {}
    std::shared_ptr<Async::Job> ProcessObject(const Por::View::Unit& stored,
                                              Async::ActionHandler& handler) override;
    std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) override;

private:
    bool& Result;
};

} // namespace Dml::Detail
