// Dml::SynchronousDataStore: the store's operations for callers that may block, such as reader functions
// on runtime threads. Each call runs its action to the end (no time limit) and throws the failure as a
// Common::Error. Holds no lock and no mutable state: many threads may share one.
#pragma once

#include "common/Error.h"
#include "dml/ServiceHolder.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "runtime/EntryPoint.h"

#include <cstdint>
#include <memory>

namespace Dml
{

class AsyncReportReader;
class ReportReader;
class Subscription;

class SynchronousDataStore
{
public:
    explicit SynchronousDataStore(ServiceHolder services) : Services(std::move(services)) {}

    // Throws 0xFC0020 when the key exists.
    void Create(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    void CreateIfNotExist(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    // Throws 0xFC001B when the object is missing.
    void Update(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                const Por::View::Unit& patch) const;
    void UpdateIfExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                        const Por::View::Unit& patch) const;
    // Deleting a missing object succeeds.
    void Delete(const Core::EntryPoint& entryPoint, const Por::View::Unit& key) const;
    void DeleteByPattern(const Core::EntryPoint& entryPoint, const Por::View::Unit& pattern) const;
    void DeleteBySpec(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const;
    // Reads, then registers or updates with the patch: two store operations.
    void StoreOrUpdate(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    // One StoreOrUpdate operation handed to the registry: one call, no read on the client.
    void AtomicStoreOrUpdate(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    // The run's result; nothing thrown for a store failure.
    Common::Error StoreOrConsolidate(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;

    // A copy of the object of the key, or null.
    Por::UnitPtr Find(const Core::EntryPoint& entryPoint, const Por::View::Unit& key) const;
    // Throws 0xFC001B when nothing is found.
    Por::UnitPtr FindById(const Core::EntryPoint& entryPoint, const Por::View::Unit& key) const;
    // Throws 0xFC0038 when nothing matches, 0xFC0026 when more than one does.
    Por::UnitPtr ReadSingle(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const;
    // Null when nothing matches; throws 0xFC0026 when more than one does.
    Por::UnitPtr ReadSingleOrNone(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const;
    void Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec, ReportReader& reader) const;
    void Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec, AsyncReportReader& reader) const;
    // The report has ended when this returns; the feed then holds what follows it.
    std::unique_ptr<Subscription> Subscribe(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                            ReportReader& reader) const;
    std::uint32_t Count(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const;
    // Returns 1; throws as ReadSingle for none and as ReadSingleOrNone for more.
    std::uint32_t EnsureSingleObjectExists(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const;

    const Por::Construction::UnitFactory& GetObjectsFactory() const;
    const ServiceHolder& GetServices() const { return Services; }

private:
    ServiceHolder Services;
};

} // namespace Dml
