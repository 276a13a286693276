#include "SqlitePersistence.h"

#include "StoreFileErrors.h"
#include "por/Blob.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

namespace Host::Store
{
namespace
{

namespace Codes = StoreFileErrorCodes;

// "VxSt" in the header's application id, so a foreign file is told apart before SQLite reads it.
constexpr std::uint32_t ApplicationId = 0x56785374;
constexpr std::string_view Marker = "Veltrix alerts store";
constexpr std::int64_t Version = 1;

constexpr std::string_view Schema =
    "PRAGMA journal_mode=WAL;"
    "BEGIN;"
    "CREATE TABLE StoreInfo(Name TEXT PRIMARY KEY, Value ANY) WITHOUT ROWID;"
    "CREATE TABLE Objects(KeyCode BLOB PRIMARY KEY CHECK(length(KeyCode) > 0),"
    " Ordinal INTEGER NOT NULL, Object BLOB NOT NULL) WITHOUT ROWID;"
    "COMMIT;";

#define STORE_FILE_LOCATION COMMON_LOCATION("Host::Store::SqlitePersistence")

[[noreturn]] void Fail(std::uint32_t code, const std::string& path, std::string_view detail = {})
{
    throw StoreFileErrors::Make(STORE_FILE_LOCATION, code, path, detail);
}

std::string SystemMessage(int error)
{
    return std::strerror(error);
}

// Owns a file descriptor.
class FileHandle
{
public:
    explicit FileHandle(int descriptor = -1) : Descriptor(descriptor) {}
    FileHandle(FileHandle&& other) noexcept : Descriptor(std::exchange(other.Descriptor, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept
    {
        std::swap(Descriptor, other.Descriptor);
        return *this;
    }
    ~FileHandle()
    {
        if (Descriptor >= 0)
        {
            ::close(Descriptor);
        }
    }
    int Get() const { return Descriptor; }
    int Release() { return std::exchange(Descriptor, -1); }

private:
    int Descriptor;
};

using Connection = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Connection OpenConnection(const std::string& path, int flags, std::uint32_t failure)
{
    sqlite3* raw = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &raw, flags, nullptr);
    Connection connection(raw, &sqlite3_close);
    if (result != SQLITE_OK)
    {
        Fail(failure, path, raw != nullptr ? sqlite3_errmsg(raw) : sqlite3_errstr(result));
    }
    sqlite3_extended_result_codes(raw, 1);
    return connection;
}

// The error of a failed read while the file is checked: SQLite's own reading of what is wrong.
[[noreturn]] void FailReading(sqlite3* connection, int result, const std::string& path)
{
    switch (result & 0xFF)
    {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        Fail(Codes::Corrupt, path, sqlite3_errmsg(connection));
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        Fail(Codes::InUse, path);
    default:
        Fail(Codes::ReadFailed, path, sqlite3_errmsg(connection));
    }
}

// Runs `sql`, one statement, handing each row to `row`; failures go to FailReading.
template <typename Row>
void Query(sqlite3* connection, std::string_view sql, const std::string& path, Row&& row)
{
    sqlite3_stmt* raw = nullptr;
    int result = sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &raw, nullptr);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(raw, &sqlite3_finalize);
    while (result == SQLITE_OK || result == SQLITE_ROW)
    {
        result = sqlite3_step(raw);
        if (result == SQLITE_ROW)
        {
            row(raw);
        }
    }
    if (result != SQLITE_DONE)
    {
        FailReading(connection, result, path);
    }
}

std::string ColumnText(sqlite3_stmt* statement, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text != nullptr
               ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)))
               : std::string();
}

// Takes the file for this process, so a second host on the same file is refused before it reads.
FileHandle LockFile(const std::string& path)
{
    FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.Get() < 0)
    {
        Fail(Codes::OpenFailed, path, SystemMessage(errno));
    }
    if (::flock(file.Get(), LOCK_EX | LOCK_NB) != 0)
    {
        if (errno == EWOULDBLOCK)
        {
            Fail(Codes::InUse, path);
        }
        Fail(Codes::OpenFailed, path, SystemMessage(errno));
    }
    return file;
}

// The database header, read by hand: a file that isn't one of ours is refused before SQLite touches
// it, since opening a foreign database may roll back its journal or make its WAL files.
void CheckHeader(int file, const std::string& path)
{
    std::array<unsigned char, 100> header{};
    const ssize_t size = ::pread(file, header.data(), header.size(), 0);
    if (size < 0)
    {
        Fail(Codes::ReadFailed, path, SystemMessage(errno));
    }
    constexpr std::string_view magic("SQLite format 3\0", 16);
    if (static_cast<std::size_t>(size) < magic.size() ||
        std::memcmp(header.data(), magic.data(), magic.size()) != 0)
    {
        Fail(Codes::NotDatabase, path);
    }
    if (static_cast<std::size_t>(size) < header.size())
    {
        Fail(Codes::Corrupt, path, "the database header is cut short");
    }
    const std::uint32_t application = (std::uint32_t{header[68]} << 24) | (std::uint32_t{header[69]} << 16) |
                                      (std::uint32_t{header[70]} << 8) | std::uint32_t{header[71]};
    if (application != ApplicationId)
    {
        Fail(Codes::Foreign, path);
    }
}

// The WAL files SQLite makes beside a file it reads. A refused file gets back the absence of those that
// the check made, so it is left as it was found.
class SideFiles
{
public:
    explicit SideFiles(const std::string& path) : Wal(path + "-wal"), Shm(path + "-shm")
    {
        HadWal = ::access(Wal.c_str(), F_OK) == 0;
        HadShm = ::access(Shm.c_str(), F_OK) == 0;
    }
    void RemoveNew() const
    {
        struct stat status
        {
        };
        if (!HadWal && ::stat(Wal.c_str(), &status) == 0 && status.st_size == 0)
        {
            ::unlink(Wal.c_str());
        }
        if (!HadShm)
        {
            ::unlink(Shm.c_str());
        }
    }

private:
    const std::string Wal;
    const std::string Shm;
    bool HadWal = false;
    bool HadShm = false;
};

// The marker, the version and the soundness of every page, through a read-only connection.
void ReadContent(const std::string& path)
{
    const Connection connection = OpenConnection(path, SQLITE_OPEN_READONLY, Codes::OpenFailed);
    std::string marker;
    std::string version;
    bool hasInfo = false;
    Query(connection.get(), "SELECT count(*) FROM sqlite_schema WHERE name = 'StoreInfo' AND type = 'table'",
          path, [&](sqlite3_stmt* row) { hasInfo = sqlite3_column_int(row, 0) == 1; });
    if (hasInfo)
    {
        Query(connection.get(), "SELECT Name, Value FROM StoreInfo", path,
              [&](sqlite3_stmt* row)
              {
                  const std::string name = ColumnText(row, 0);
                  if (name == "Application")
                  {
                      marker = ColumnText(row, 1);
                  }
                  else if (name == "Version")
                  {
                      version = ColumnText(row, 1);
                  }
              });
    }
    if (marker != Marker)
    {
        Fail(Codes::Foreign, path);
    }
    if (version != std::to_string(Version))
    {
        Fail(Codes::UnknownVersion, path, version);
    }
    std::string problems;
    Query(connection.get(), "PRAGMA quick_check", path,
          [&](sqlite3_stmt* row)
          {
              if (problems.empty())
              {
                  problems = ColumnText(row, 0);
              }
          });
    if (problems != "ok")
    {
        Fail(Codes::Corrupt, path, problems);
    }
}

void CheckContent(const std::string& path)
{
    const SideFiles sideFiles(path);
    try
    {
        ReadContent(path);
    }
    catch (const Common::Error&)
    {
        sideFiles.RemoveNew();
        throw;
    }
}

void Execute(sqlite3* connection, std::string_view sql, std::uint32_t failure, const std::string& path)
{
    char* message = nullptr;
    if (sqlite3_exec(connection, std::string(sql).c_str(), nullptr, nullptr, &message) != SQLITE_OK)
    {
        const std::string text = message != nullptr ? message : sqlite3_errmsg(connection);
        sqlite3_free(message);
        Fail(failure, path, text);
    }
}

// Syncs the directory, so a file just linked into it stays after a power cut.
void SyncDirectory(const std::filesystem::path& directory)
{
    const FileHandle handle(
        ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.Get() >= 0)
    {
        ::fsync(handle.Get());
    }
}

// Builds a complete empty store under a temporary name and links it in place, so the path never shows
// a half-made store, even to a process killed while creating it. Another process that created the
// file first wins; its file is then opened like any other.
void CreateStore(const std::string& path)
{
    std::string temporary = path + ".XXXXXX";
    const FileHandle reserved(::mkostemp(temporary.data(), O_CLOEXEC));
    if (reserved.Get() < 0)
    {
        Fail(Codes::CreateFailed, path, SystemMessage(errno));
    }
    struct Remove
    {
        ~Remove() { ::unlink(Name.c_str()); }
        const std::string& Name;
    } removeTemporary{temporary};
    {
        const Connection connection = OpenConnection(temporary, SQLITE_OPEN_READWRITE, Codes::CreateFailed);
        const std::string setup =
            "PRAGMA application_id=" + std::to_string(static_cast<std::int32_t>(ApplicationId)) +
            ";PRAGMA synchronous=FULL;" + std::string(Schema) +
            "INSERT INTO StoreInfo VALUES ('Application', '" + std::string(Marker) + "'), ('Version', '" +
            std::to_string(Version) + "');";
        Execute(connection.get(), setup, Codes::CreateFailed, path);
        // Closing checkpoints the WAL into the file and removes it, so the linked file is complete alone.
    }
    if (::link(temporary.c_str(), path.c_str()) != 0 && errno != EEXIST)
    {
        Fail(Codes::CreateFailed, path, SystemMessage(errno));
    }
    SyncDirectory(std::filesystem::path(path).parent_path());
}

} // namespace

void SqlitePersistence::CloseDatabase::operator()(sqlite3* database) const
{
    sqlite3_close(database);
}

void SqlitePersistence::FinalizeStatement::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

SqlitePersistence::SqlitePersistence(std::string path, const Por::Construction::UnitFactory& factory)
    : Path(std::move(path)), Factory(factory)
{
    struct stat status
    {
    };
    if (::stat(Path.c_str(), &status) != 0)
    {
        if (errno != ENOENT)
        {
            Fail(Codes::OpenFailed, Path, SystemMessage(errno));
        }
        CreateStore(Path);
    }
    FileHandle lock = LockFile(Path);
    CheckHeader(lock.Get(), Path);
    CheckContent(Path);

    sqlite3* raw = nullptr;
    const int result = sqlite3_open_v2(Path.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    Database.reset(raw);
    if (result != SQLITE_OK)
    {
        Fail(Codes::OpenFailed, Path, raw != nullptr ? sqlite3_errmsg(raw) : sqlite3_errstr(result));
    }
    sqlite3_extended_result_codes(raw, 1);
    if (sqlite3_db_readonly(raw, "main") != 0)
    {
        Fail(Codes::ReadOnly, Path);
    }
    Execute(raw, "PRAGMA synchronous=FULL", Codes::OpenFailed, Path);
    std::string mode;
    Query(raw, "PRAGMA journal_mode=WAL", Path, [&](sqlite3_stmt* row) { mode = ColumnText(row, 0); });
    if (mode != "wal")
    {
        Fail(Codes::OpenFailed, Path, "the file cannot run in WAL mode");
    }
    const auto prepare = [&](std::string_view sql, StatementPtr& statement)
    {
        sqlite3_stmt* prepared = nullptr;
        if (sqlite3_prepare_v3(raw, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                               &prepared, nullptr) != SQLITE_OK)
        {
            FailReading(raw, sqlite3_errcode(raw), Path);
        }
        statement.reset(prepared);
    };
    prepare("INSERT OR REPLACE INTO Objects (KeyCode, Ordinal, Object) VALUES (?1, ?2, ?3)", PutStatement);
    prepare("DELETE FROM Objects WHERE KeyCode = ?1", DeleteStatement);
    LockDescriptor = lock.Release();
}

SqlitePersistence::~SqlitePersistence()
{
    PutStatement.reset();
    DeleteStatement.reset();
    Database.reset(); // before the lock's descriptor closes, which would drop SQLite's own locks too
    ::close(LockDescriptor);
}

std::vector<PersistedObject> SqlitePersistence::Load()
{
    std::vector<PersistedObject> objects;
    Query(Database.get(), "SELECT KeyCode, Ordinal, Object FROM Objects ORDER BY Ordinal", Path,
          [&](sqlite3_stmt* row)
          {
              PersistedObject object;
              object.KeyCode = ColumnText(row, 0);
              object.Ordinal = static_cast<std::uint64_t>(sqlite3_column_int64(row, 1));
              const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(row, 2));
              const std::span<const std::uint8_t> blob(
                  bytes, static_cast<std::size_t>(sqlite3_column_bytes(row, 2)));
              try
              {
                  object.Object = Por::Util::ReadBlob(blob, Factory);
              }
              catch (const Common::Error& error)
              {
                  throw StoreFileErrors::Make(STORE_FILE_LOCATION, Codes::Corrupt, Path,
                                              "an object is unreadable")
                      .SetSubError(error);
              }
              if (object.Object == nullptr)
              {
                  Fail(Codes::Corrupt, Path, "an object is empty");
              }
              objects.push_back(std::move(object));
          });
    return objects;
}

void SqlitePersistence::Commit(std::span<const PersistedChange> changes)
{
    if (StateUnknown)
    {
        Fail(Codes::StateUnknown, Path);
    }
    sqlite3* database = Database.get();
    Execute(database, "BEGIN IMMEDIATE", Codes::WriteFailed, Path);
    try
    {
        Apply(changes);
    }
    catch (const Common::Error&)
    {
        sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
    if (sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        // A failed sync may still have left the commit in the WAL; only a reopen tells.
        const std::string message = sqlite3_errmsg(database);
        if (sqlite3_get_autocommit(database) == 0)
        {
            sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
        }
        StateUnknown = true;
        throw StoreFileErrors::Make(STORE_FILE_LOCATION, Codes::StateUnknown, Path)
            .SetSubError(StoreFileErrors::Make(STORE_FILE_LOCATION, Codes::WriteFailed, Path, message));
    }
}

void SqlitePersistence::Apply(std::span<const PersistedChange> changes)
{
    sqlite3* database = Database.get();
    for (const PersistedChange& change : changes)
    {
        sqlite3_stmt* statement = change.Object != nullptr ? PutStatement.get() : DeleteStatement.get();
        sqlite3_reset(statement);
        sqlite3_bind_blob(statement, 1, change.KeyCode.data(), static_cast<int>(change.KeyCode.size()),
                          SQLITE_STATIC);
        if (change.Object != nullptr)
        {
            Por::Util::WriteBlob(*change.Object, Buffer);
            sqlite3_bind_int64(statement, 2, static_cast<sqlite3_int64>(change.Ordinal));
            sqlite3_bind_blob64(statement, 3, Buffer.data(), Buffer.size(), SQLITE_STATIC);
        }
        const int result = sqlite3_step(statement);
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
        if (result != SQLITE_DONE)
        {
            Fail(Codes::WriteFailed, Path, sqlite3_errmsg(database));
        }
    }
}

} // namespace Host::Store
