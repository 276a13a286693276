// The store's SQLite file: a store reopened from it, batches that fail or are cut by a kill leaving only
// whole committed batches, and files that are not stores of this host refused and left byte for byte.
#include "store/SqlitePersistence.h"

#include "StoreTesting.h"
#include "dml/KeyPattern.h"
#include "dml/OperationFactory.h"
#include "por/Compare.h"
#include "store/StoreFileErrors.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>

namespace
{

namespace Codes = Host::Store::StoreFileErrorCodes;
using Host::Store::MemoryStore;
using Host::Store::PersistedChange;
using Host::Store::SqlitePersistence;
using Testing::MakeItem;

std::string Narrow(const Common::WideString& text)
{
    return std::string(text.begin(), text.end());
}

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

class SqlitePersistenceTest : public ::testing::Test
{
public:
    SqlitePersistenceTest()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "veltrix-store-XXXXXX").string();
        Directory = ::mkdtemp(pattern.data());
        Path = (Directory / "store.db").string();
    }
    ~SqlitePersistenceTest() override { std::filesystem::remove_all(Directory); }

    std::vector<std::string> Listing() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Directory))
        {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    // A store file of `count` items, closed again.
    void MakeStore(std::uint32_t count)
    {
        MemoryStore store(std::make_unique<SqlitePersistence>(Path));
        for (std::uint32_t id = 1; id <= count; ++id)
        {
            ASSERT_EQ(Testing::Register(store, MakeItem(id, id, u"a name long enough to fill some pages"))
                          .GetCode(),
                      0u);
        }
    }

    // The error that opening the file gives.
    Common::Error OpenError() const
    {
        try
        {
            SqlitePersistence persistence(Path);
        }
        catch (const Common::Error& error)
        {
            return error;
        }
        return Common::Success;
    }

    std::filesystem::path Directory;
    std::string Path;
};

Por::Unit ToUnit(const Por::ConstUnitPtr& unit)
{
    Por::Unit copy;
    copy = *unit;
    return copy;
}

TEST_F(SqlitePersistenceTest, AReopenedStoreHasItsObjectsItsLastStampAndItsCreationOrder)
{
    std::vector<Por::ConstUnitPtr> before;
    std::int64_t lastStamp = 0;
    {
        MemoryStore store(std::make_unique<SqlitePersistence>(Path));
        for (std::uint32_t id = 1; id <= 3; ++id)
        {
            ASSERT_EQ(Testing::Register(store, MakeItem(id, id)).GetCode(), 0u);
        }
        Dml::Operation::OperationFactory operations;
        operations.StoreOrUpdate(MakeItem(1, 7).Result());
        operations.CreateObject(MakeItem(4, 4).Result());
        ASSERT_EQ(Testing::Register(store, ToUnit(operations.Finish())).GetCode(), 0u);
        ASSERT_EQ(Testing::Unregister(store, *Dml::MakeKeyPatternFromValue(Testing::IdOf(2))).GetCode(), 0u);
        before = Testing::Report(store, nullptr);
        lastStamp = store.GetLastTimeStamp();
    }
    EXPECT_EQ(Listing(), std::vector<std::string>{"store.db"}); // a clean close folds the WAL in

    MemoryStore reopened(std::make_unique<SqlitePersistence>(Path));
    const std::vector<Por::ConstUnitPtr> after = Testing::Report(reopened, nullptr);
    // The update of 1 keeps its place, the deleted 2 stays gone.
    EXPECT_EQ(Testing::Numbers(after), (std::vector<std::uint32_t>{1, 3, 4}));
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t index = 0; index < after.size(); ++index)
    {
        EXPECT_TRUE(Por::UnitEqual(*after[index], *before[index])) << index;
    }
    EXPECT_EQ(reopened.GetLastTimeStamp(), lastStamp);
    ASSERT_EQ(Testing::Register(reopened, MakeItem(5, 5)).GetCode(), 0u);
    EXPECT_EQ(reopened.GetLastTimeStamp(), lastStamp + 1);
}

// Hands batches on to the file; when armed, adds a change without a key code at the end of the next
// one, which the file refuses after it has applied the real changes.
class SabotagedPersistence final : public Host::Store::Persistence
{
public:
    SabotagedPersistence(std::unique_ptr<SqlitePersistence> file, bool& armed)
        : File(std::move(file)), Armed(armed)
    {
    }
    std::vector<Host::Store::PersistedObject> Load() override { return File->Load(); }
    void Commit(std::span<const PersistedChange> changes) override
    {
        std::vector<PersistedChange> batch(changes.begin(), changes.end());
        if (std::exchange(Armed, false))
        {
            batch.push_back({"", 99, changes.front().Object});
        }
        File->Commit(batch);
    }

private:
    const std::unique_ptr<SqlitePersistence> File;
    bool& Armed;
};

TEST_F(SqlitePersistenceTest, AFailedCommitLeavesTheStoreAndTheFileAsTheyWere)
{
    bool armed = false;
    std::vector<Por::ConstUnitPtr> before;
    {
        MemoryStore store(
            std::make_unique<SabotagedPersistence>(std::make_unique<SqlitePersistence>(Path), armed));
        ASSERT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0u);
        ASSERT_EQ(Testing::Register(store, MakeItem(2, 2)).GetCode(), 0u);
        before = Testing::Report(store, nullptr);

        Dml::Operation::OperationFactory operations;
        operations.StoreOrUpdate(MakeItem(1, 9).Result());
        operations.DeleteObject(Dml::MakeKeyPatternFromValue(Testing::IdOf(2)));
        operations.CreateObject(MakeItem(3, 3).Result());
        armed = true;
        const Common::Error failure = Testing::Register(store, ToUnit(operations.Finish()));
        EXPECT_EQ(failure.GetCode(), Codes::WriteFailed);
        EXPECT_NE(Narrow(failure.GetMessage()).find(Path), std::string::npos);

        const std::vector<Por::ConstUnitPtr> now = Testing::Report(store, nullptr);
        ASSERT_EQ(Testing::Numbers(now), (std::vector<std::uint32_t>{1, 2}));
        EXPECT_TRUE(Por::UnitEqual(*now[0], *before[0]));
        // The file takes the next batch as if nothing had happened.
        ASSERT_EQ(Testing::Register(store, MakeItem(4, 4)).GetCode(), 0u);
    }
    SqlitePersistence file(Path);
    const std::vector<Host::Store::PersistedObject> stored = file.Load();
    ASSERT_EQ(stored.size(), 3u);
    EXPECT_TRUE(Por::UnitEqual(*stored[0].Object, *before[0]));
    EXPECT_TRUE(Por::UnitEqual(*stored[1].Object, *before[1]));
    EXPECT_EQ(Testing::NumberOf(*stored[2].Object), 4u);
}

// What each broken file does to the store's opening: its code, and the file untouched.
struct RefusedFile
{
    const char* Name;
    std::function<void(SqlitePersistenceTest&)> Make;
    std::uint32_t Code;
};

TEST_F(SqlitePersistenceTest, FilesThatAreNotSoundStoresOfThisHostAreRefusedAndLeftByteForByte)
{
    const auto foreignDatabase = [](const std::string& path, const char* sql)
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(database);
    };
    const std::vector<RefusedFile> cases = {
        {"text", [](SqlitePersistenceTest& test) { WriteFile(test.Path, "{\"steps\": []}\n"); },
         Codes::NotDatabase},
        {"empty", [](SqlitePersistenceTest& test) { WriteFile(test.Path, ""); }, Codes::NotDatabase},
        {"another application's database",
         [&](SqlitePersistenceTest& test) { foreignDatabase(test.Path, "CREATE TABLE Notes(Text);"); },
         Codes::Foreign},
        {"a database that only claims to be a store",
         [&](SqlitePersistenceTest& test)
         { foreignDatabase(test.Path, "PRAGMA application_id=1450726260; CREATE TABLE Notes(Text);"); },
         Codes::Foreign},
        {"a store of a later version",
         [&](SqlitePersistenceTest& test)
         {
             test.MakeStore(1);
             foreignDatabase(test.Path, "UPDATE StoreInfo SET Value = '2' WHERE Name = 'Version';");
         },
         Codes::UnknownVersion},
        {"a store cut in half",
         [](SqlitePersistenceTest& test)
         {
             test.MakeStore(200);
             const std::string bytes = ReadFile(test.Path);
             WriteFile(test.Path, bytes.substr(0, bytes.size() / 2));
         },
         Codes::Corrupt},
        {"a store cut inside its header",
         [](SqlitePersistenceTest& test)
         {
             test.MakeStore(1);
             WriteFile(test.Path, ReadFile(test.Path).substr(0, 60));
         },
         Codes::Corrupt},
    };
    for (const RefusedFile& refused : cases)
    {
        SCOPED_TRACE(refused.Name);
        std::filesystem::remove(Path);
        refused.Make(*this);
        const std::string bytes = ReadFile(Path);
        const std::vector<std::string> listing = Listing();

        const Common::Error error = OpenError();
        EXPECT_EQ(error.GetCode(), refused.Code);
        EXPECT_NE(Narrow(error.GetMessage()).find("'" + Path + "'"), std::string::npos)
            << Narrow(error.GetMessage());
        EXPECT_EQ(ReadFile(Path), bytes);
        EXPECT_EQ(Listing(), listing);
    }
}

TEST_F(SqlitePersistenceTest, AStoreFileOpenInOneStoreIsRefusedToASecond)
{
    const SqlitePersistence first(Path);
    EXPECT_EQ(OpenError().GetCode(), Codes::InUse);
    Path = (Directory / "missing" / "store.db").string();
    EXPECT_EQ(OpenError().GetCode(), Codes::CreateFailed);
}

// Batch n sets the three objects "A", "B" and "C" to n; a kill at any moment must leave them equal.
TEST_F(SqlitePersistenceTest, AKilledWriterLeavesExactlyTheBatchesThatItsCommitsReturned)
{
    int acknowledgements[2];
    ASSERT_EQ(::pipe(acknowledgements), 0);
    const pid_t writer = ::fork();
    ASSERT_GE(writer, 0);
    if (writer == 0)
    {
        ::close(acknowledgements[0]);
        try
        {
            SqlitePersistence file(Path);
            for (std::uint32_t batch = 1;; ++batch)
            {
                const Por::ConstUnitPtr object = Por::Unit(batch).Result();
                const PersistedChange changes[] = {{"A", 1, object}, {"B", 2, object}, {"C", 3, object}};
                file.Commit(changes);
                if (::write(acknowledgements[1], &batch, sizeof(batch)) != sizeof(batch))
                {
                    break;
                }
            }
        }
        catch (...)
        {
        }
        ::_exit(1);
    }
    ::close(acknowledgements[1]);
    std::uint32_t acknowledged = 0;
    while (acknowledged < 50 &&
           ::read(acknowledgements[0], &acknowledged, sizeof(acknowledged)) == sizeof(acknowledged))
    {
    }
    ::kill(writer, SIGKILL);
    int status = 0;
    ::waitpid(writer, &status, 0);
    ::close(acknowledgements[0]);
    ASSERT_TRUE(WIFSIGNALED(status));

    SqlitePersistence file(Path);
    const std::vector<Host::Store::PersistedObject> stored = file.Load();
    ASSERT_EQ(stored.size(), 3u);
    const auto batch = Por::Util::GetValue<std::uint32_t>(*stored[0].Object);
    EXPECT_GE(batch, acknowledged);
    for (const Host::Store::PersistedObject& object : stored)
    {
        EXPECT_EQ(Por::Util::GetValue<std::uint32_t>(*object.Object), batch) << object.KeyCode;
    }
}

} // namespace
