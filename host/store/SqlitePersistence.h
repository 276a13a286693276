// Host::Store::SqlitePersistence: a store's objects in one SQLite file, each as its blob, with its key
// code and creation ordinal. A file is only written once it has been checked to be a store of this
// host (marker and version) and sound; anything else is refused with an error naming the file and is
// left byte for byte. A missing file is created complete or not at all. The file runs in WAL mode
// with synchronous=FULL and is locked for this process while open: a Commit that returned is on disk,
// a killed process or a power cut leaves exactly the committed batches, never a part of one.
#pragma once

#include "Persistence.h"
#include "por/UnitFactory.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace Host::Store
{

class SqlitePersistence final : public Persistence
{
public:
    // Opens the store file at `path` (UTF-8), creating it when no file is there. Throws the
    // StoreFileErrors (0x03000001 to 0x0300000A). `factory` makes the loaded units; it must outlive this.
    explicit SqlitePersistence(std::string path,
                               const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    ~SqlitePersistence() override;

    // Every object in creation order. Throws 0x03000005 for a row that isn't a unit, 0x03000008 when
    // reading fails.
    std::vector<PersistedObject> Load() override;
    // One transaction: a change with an object stores it under its key code, one without deletes the
    // key. Throws 0x03000009 and has applied nothing. When the end of the transaction itself fails, the
    // file's state is unknown: this and every later Commit throw 0x0300000B.
    void Commit(std::span<const PersistedChange> changes) override;

    const std::string& GetPath() const { return Path; }

private:
    struct CloseDatabase
    {
        void operator()(sqlite3* database) const;
    };
    struct FinalizeStatement
    {
        void operator()(sqlite3_stmt* statement) const;
    };
    using StatementPtr = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

    void Apply(std::span<const PersistedChange> changes);

    const std::string Path;
    const Por::Construction::UnitFactory& Factory;
    std::unique_ptr<sqlite3, CloseDatabase> Database;
    StatementPtr PutStatement;
    StatementPtr DeleteStatement;
    std::vector<std::uint8_t> Buffer; // the blob being written, kept to spare allocations
    bool StateUnknown = false;
    int LockDescriptor = -1; // holds the file's lock for this process
};

} // namespace Host::Store
