// Host::Store::Detail::WriteTransaction: one write request applied to the object table under the store's
// lock: a plain object to create, or an operation object (a batch of them included). Every change is
// stamped with the next "DmlTimeStamp" and logged; unless Commit is called, the destructor undoes the
// log in reverse, so a request that fails anywhere leaves the table as it was. Failures are thrown as
// Common::Error.
#pragma once

#include "Feed.h"
#include "ObjectTable.h"
#include "Persistence.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <cstdint>
#include <vector>

namespace Host::Store::Detail
{

// The store's sequences; they only grow, also over undone writes.
struct StoreCounters
{
    std::int64_t LastTimeStamp = 0;
    std::uint64_t LastOrdinal = 0;
};

class WriteTransaction : Common::NonCopyable
{
public:
    WriteTransaction(ObjectTable& table, StoreCounters& counters,
                     const Por::Construction::UnitFactory& factory);
    ~WriteTransaction();

    // What ObjectRegistry::Register does: a plain object is created (0xFC0020 when its key exists); an
    // operation object is applied.
    void Register(const Por::View::Unit& request);
    // ObjectRegistry::Update: the patch merged into the object of the key (0xFC001B when missing or
    // when the patch doesn't apply).
    void Update(const Por::View::Unit& key, const Por::View::Unit& patch);
    // ObjectRegistry::Unregister (0xFC001B when missing).
    void Unregister(const Por::View::Unit& key);

    const std::vector<Change>& GetChanges() const { return Changes; }
    std::vector<PersistedChange> MakePersistedChanges() const;
    // Keeps the changes.
    void Commit() { Committed = true; }

private:
    enum class WhenExists
    {
        Fail,
        Skip,
        Replace,
        Consolidate
    };
    enum class WhenMissing
    {
        Create,
        Skip
    };

    void ApplyOperation(const Por::View::Unit& operation, bool& applied);
    void Store(const Por::View::Unit& object, WhenExists exists, WhenMissing missing);
    void UpdateStored(const StoredObjectPtr& stored, const Por::View::Unit& key,
                      const Por::View::Unit& patch);
    void DeleteByPattern(const Por::ConstUnitPtr& pattern, const Por::View::Unit* options);
    void UpdateByPattern(const Por::ConstUnitPtr& pattern, const Por::View::Unit& patch);

    // A new stored object of `unit` (fresh, not yet shared), stamped; `ordinal` 0 takes a new one.
    StoredObjectPtr Stamp(Por::UnitPtr unit, std::uint64_t ordinal);
    // Applies one change to the table and logs it.
    void Put(StoredObjectPtr before, StoredObjectPtr after);

    ObjectTable& Table;
    StoreCounters& Counters;
    const Por::Construction::UnitFactory& Factory;
    std::vector<Change> Changes;
    bool Committed = false;
};

} // namespace Host::Store::Detail
