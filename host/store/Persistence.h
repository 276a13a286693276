// Host::Store::Persistence: where a store keeps its objects beyond the process. The memory store loads
// everything once when it opens and hands over each committed write as one batch, under its lock and
// before any reader sees the write; a Commit that throws Common::Error undoes the write in memory. An
// implementation writes units in their blob form (por/Blob.h) and must apply a batch all or nothing.
#pragma once

#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Host::Store
{

// One object as persisted: its key code (KeyCode.h), its creation ordinal and the stamped object. The
// object's "DmlTimeStamp" lets a reopened store go on after the highest stamp.
struct PersistedObject
{
    std::string KeyCode;
    std::uint64_t Ordinal = 0;
    Por::ConstUnitPtr Object;
};

// One change of a batch: `Object` null means the key was deleted.
struct PersistedChange
{
    std::string KeyCode;
    std::uint64_t Ordinal = 0;
    Por::ConstUnitPtr Object;
};

class Persistence : Common::NonCopyable
{
public:
    virtual ~Persistence() = default;
    // Every object stored, in any order. Throws Common::Error.
    virtual std::vector<PersistedObject> Load() = 0;
    // Applies the changes in order, atomically. Throws Common::Error and then has applied none.
    virtual void Commit(std::span<const PersistedChange> changes) = 0;
};

} // namespace Host::Store
