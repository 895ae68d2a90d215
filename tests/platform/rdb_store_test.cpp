#include <sys/stat.h>

#include <atomic>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "data_root.h"
#include "rdb_faults.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"

namespace OHOS::NativeRdb {
namespace {

constexpr const char* CREATE_ROWS = "CREATE TABLE rows (id INTEGER PRIMARY KEY, n INTEGER, x FLOAT, s TEXT)";

// Counts the hooks called and creates one table on a new file.
class RecordingCallback : public RdbOpenCallback {
public:
    int OnCreate(RdbStore& store) override
    {
        ++created;
        return createResult != E_OK ? createResult : store.ExecuteSql(CREATE_ROWS);
    }
    int OnUpgrade(RdbStore& /* store */, int currentVersion, int targetVersion) override
    {
        upgrades.emplace_back(currentVersion, targetVersion);
        return E_OK;
    }
    int created = 0;
    int createResult = E_OK;
    std::vector<std::pair<int, int>> upgrades;
};

class RdbStoreTest : public testing::Test {
protected:
    void SetUp() override { Emulator::RdbFaults::Reset(); }
    void TearDown() override
    {
        RdbHelper::ClearCache();
        Emulator::RdbFaults::Reset();
    }

    std::string PathOf(const std::string& name)
    {
        int errCode = E_ERROR;
        std::string path = RdbSqlUtils::GetDefaultDatabasePath("/data/service/el3/100/test", name, errCode);
        EXPECT_EQ(errCode, E_OK);
        return path;
    }

    std::shared_ptr<RdbStore> Open(const RdbStoreConfig& config, int version = 1)
    {
        int errCode = E_ERROR;
        auto store = RdbHelper::GetRdbStore(config, version, callback_, errCode);
        EXPECT_EQ(errCode, store != nullptr ? E_OK : errCode);
        return store;
    }

    int64_t Count(RdbStore& store, const std::string& table = "rows")
    {
        auto resultSet = store.QuerySql("SELECT COUNT(*) FROM " + table);
        int64_t count = -1;
        if (resultSet != nullptr && resultSet->GoToFirstRow() == E_OK) {
            resultSet->GetLong(0, count);
        }
        return count;
    }

    static ValuesBucket Row(int64_t n)
    {
        ValuesBucket bucket;
        bucket.PutLong("n", n);
        bucket.PutDouble("x", n * 0.5);
        bucket.PutString("s", "row " + std::to_string(n));
        return bucket;
    }

    Emulator::ScopedDataRoot root_;
    RecordingCallback callback_;
};

TEST_F(RdbStoreTest, DefaultPathCreatesTheFolderUnderTheDataRoot)
{
    std::string path = PathOf("a.db");
    EXPECT_EQ(path, root_.Path() + "/data/service/el3/100/test/a.db");
    struct stat info {};
    ASSERT_EQ(stat((root_.Path() + "/data/service/el3/100/test").c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
}

TEST_F(RdbStoreTest, DefaultPathRejectsBadNamesAndUncreatableFolders)
{
    ASSERT_TRUE(Emulator::MakeDirectories(root_.Path() + "/data"));
    FILE* blocker = fopen((root_.Path() + "/data/blocked").c_str(), "w");
    ASSERT_NE(blocker, nullptr);
    fclose(blocker);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/data/x", ""}, {"", "a.db"}, {"/data/x", "sub/a.db"}, {"/data/blocked/inner", "a.db"}};
    for (const auto& [dir, name] : cases) {
        int errCode = E_OK;
        EXPECT_EQ(RdbSqlUtils::GetDefaultDatabasePath(dir, name, errCode), "") << dir << " " << name;
        EXPECT_EQ(errCode, E_INVALID_FILE_PATH) << dir << " " << name;
    }
}

TEST_F(RdbStoreTest, NewFileIsCreatedOnceOwnerOnlyAndUpgradedByVersion)
{
    std::string path = PathOf("v.db");
    auto store = Open(RdbStoreConfig(path));
    ASSERT_NE(store, nullptr);
    int64_t rowId = 0;
    ASSERT_EQ(store->Insert(rowId, "rows", Row(1)), E_OK);
    EXPECT_EQ(callback_.created, 1);
    int version = 0;
    EXPECT_EQ(store->GetVersion(version), E_OK);
    EXPECT_EQ(version, 1);
    for (const char* suffix : {"", "-wal", "-shm"}) {
        struct stat info {};
        ASSERT_EQ(stat((path + suffix).c_str(), &info), 0) << suffix;
        EXPECT_EQ(info.st_mode & 0777, 0600u) << suffix;
    }

    store.reset();
    RdbHelper::ClearCache();
    store = Open(RdbStoreConfig(path), 3);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(callback_.created, 1);
    EXPECT_EQ(callback_.upgrades, (std::vector<std::pair<int, int>>{{1, 3}}));
    EXPECT_EQ(Count(*store), 1);
}

TEST_F(RdbStoreTest, FailingCreateHookFailsTheOpenAndIsCalledAgainNextTime)
{
    std::string path = PathOf("hook.db");
    callback_.createResult = E_ERROR;
    int errCode = E_OK;
    EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(path), 1, callback_, errCode), nullptr);
    EXPECT_EQ(errCode, E_ERROR);
    callback_.createResult = E_OK;
    auto store = Open(RdbStoreConfig(path));
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(callback_.created, 2);
    EXPECT_EQ(Count(*store), 0);
}

TEST_F(RdbStoreTest, CacheReturnsTheSameStoreUntilCleared)
{
    std::string path = PathOf("cache.db");
    auto first = Open(RdbStoreConfig(path));
    EXPECT_EQ(Open(RdbStoreConfig(path)), first);
    RdbHelper::ClearCache();
    auto second = Open(RdbStoreConfig(path));
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
}

TEST_F(RdbStoreTest, ConfigurationIsAppliedToTheFile)
{
    RdbStoreConfig config(PathOf("cfg.db"));
    config.SetPageSize(8192);
    config.SetJournalSize(65536);
    auto store = Open(config);
    ASSERT_NE(store, nullptr);
    const std::vector<std::pair<std::string, std::string>> pragmas = {
        {"PRAGMA page_size", "8192"}, {"PRAGMA journal_mode", "wal"}, {"PRAGMA journal_size_limit", "65536"}};
    for (const auto& [pragma, expected] : pragmas) {
        auto resultSet = store->QuerySql(pragma);
        ASSERT_NE(resultSet, nullptr) << pragma;
        std::string value;
        ASSERT_EQ(resultSet->GoToFirstRow(), E_OK);
        EXPECT_EQ(resultSet->GetString(0, value), E_OK);
        EXPECT_EQ(value, expected) << pragma;
    }
}

TEST_F(RdbStoreTest, OpenRejectsWhatItCannotHonour)
{
    std::string missing = PathOf("missing.db");
    RdbStoreConfig noCreate(missing);
    noCreate.SetCreateNecessary(false);
    RdbStoreConfig badPage(PathOf("page.db"));
    badPage.SetPageSize(1000);
    const std::vector<std::pair<RdbStoreConfig, int>> cases = {
        {noCreate, E_INVALID_FILE_PATH},
        {RdbStoreConfig(missing, StorageMode::MODE_DISK, false, {1, 2, 3}), E_NOT_SUPPORTED},
        {badPage, E_INVALID_ARGS},
        {RdbStoreConfig(root_.Path() + "/no/such/folder/x.db"), E_CANNOT_OPEN},
    };
    for (const auto& [config, expected] : cases) {
        int errCode = E_OK;
        EXPECT_EQ(RdbHelper::GetRdbStore(config, 1, callback_, errCode), nullptr) << config.GetPath();
        EXPECT_EQ(errCode, expected) << config.GetPath();
    }
    struct stat info {};
    EXPECT_NE(stat(missing.c_str(), &info), 0);
}

TEST_F(RdbStoreTest, NotADatabaseFailsAsCorrupt)
{
    std::string path = PathOf("junk.db");
    FILE* file = fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    fputs("this is not a database file, just some text long enough to have a header......", file);
    fclose(file);
    int errCode = E_OK;
    EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(path), 1, callback_, errCode), nullptr);
    EXPECT_EQ(errCode, E_SQLITE_CORRUPT);
}

TEST_F(RdbStoreTest, InsertQueryAndDeleteWithArguments)
{
    auto store = Open(RdbStoreConfig(PathOf("crud.db")));
    ASSERT_NE(store, nullptr);
    int64_t rowId = 0;
    for (int64_t n = 1; n <= 5; ++n) {
        ASSERT_EQ(store->Insert(rowId, "rows", Row(n)), E_OK);
        EXPECT_EQ(rowId, n);
    }
    auto resultSet = store->QuerySql("SELECT n, x, s FROM rows WHERE n >= ? ORDER BY n DESC", {"4"});
    ASSERT_NE(resultSet, nullptr);
    int rows = 0;
    ASSERT_EQ(resultSet->GetRowCount(rows), E_OK);
    EXPECT_EQ(rows, 2);
    ASSERT_EQ(resultSet->GoToNextRow(), E_OK);
    int64_t n = 0;
    double x = 0;
    std::string s;
    EXPECT_EQ(resultSet->GetLong(0, n), E_OK);
    EXPECT_EQ(resultSet->GetDouble(1, x), E_OK);
    EXPECT_EQ(resultSet->GetString(2, s), E_OK);
    EXPECT_EQ(n, 5);
    EXPECT_DOUBLE_EQ(x, 2.5);
    EXPECT_EQ(s, "row 5");

    int deleted = -1;
    EXPECT_EQ(store->Delete(deleted, "rows", "n < ? OR s = ?", {"3", "row 5"}), E_OK);
    EXPECT_EQ(deleted, 3);
    EXPECT_EQ(store->Delete(deleted, "rows"), E_OK);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(Count(*store), 0);
}

TEST_F(RdbStoreTest, BadInputFailsWithClearCodes)
{
    auto store = Open(RdbStoreConfig(PathOf("bad.db")));
    ASSERT_NE(store, nullptr);
    int64_t rowId = 7;
    EXPECT_EQ(store->Insert(rowId, "rows", ValuesBucket()), E_INVALID_ARGS);
    EXPECT_EQ(rowId, -1);
    EXPECT_EQ(store->Insert(rowId, "no_table", Row(1)), E_SQLITE_ERROR);
    EXPECT_EQ(store->ExecuteSql("INSERT INTO rows (n) VALUES (1); DELETE FROM rows"), E_MULTIPLE_STATEMENTS);
    EXPECT_EQ(store->ExecuteSql("INSERT INTO rows (n) VALUES (?)", {}), E_INVALID_ARGS);
    EXPECT_EQ(store->ExecuteSql("INSERT INTO rows (n) VALUES (1) -- trailing comment"), E_OK);
    EXPECT_EQ(store->ExecuteSql("NOT SQL"), E_SQLITE_ERROR);
    EXPECT_EQ(store->QuerySql("SELECT * FROM no_table"), nullptr);
    int64_t inserted = 9;
    EXPECT_EQ(store->BatchInsert(inserted, "rows", {Row(2), ValuesBucket()}), E_INVALID_ARGS);
    EXPECT_EQ(inserted, 0);
    EXPECT_EQ(Count(*store), 1);
}

TEST_F(RdbStoreTest, TransactionsCommitRollBackAndRefuseNesting)
{
    auto store = Open(RdbStoreConfig(PathOf("tx.db")));
    ASSERT_NE(store, nullptr);
    int64_t rowId = 0;
    EXPECT_EQ(store->Commit(), E_NO_TRANSACTION);
    ASSERT_EQ(store->BeginTransaction(), E_OK);
    EXPECT_EQ(store->BeginTransaction(), E_TRANSACTION_IN_EXECUTE);
    store->Insert(rowId, "rows", Row(1));
    EXPECT_EQ(Count(*store), 1); // this thread sees its own change
    EXPECT_EQ(store->RollBack(), E_OK);
    EXPECT_EQ(Count(*store), 0);

    ASSERT_EQ(store->BeginTransaction(), E_OK);
    int64_t inserted = 0;
    EXPECT_EQ(store->BatchInsert(inserted, "rows", {Row(1), Row(2)}), E_OK); // nests as a savepoint
    Emulator::RdbFaults::FailNthOperation(1);
    EXPECT_EQ(store->Commit(), E_SQLITE_IOERR);
    EXPECT_EQ(Count(*store), 0); // a failed commit rolls back
    EXPECT_EQ(store->RollBack(), E_NO_TRANSACTION);
}

TEST_F(RdbStoreTest, OtherThreadsReadCommittedDataAndWaitToWrite)
{
    auto store = Open(RdbStoreConfig(PathOf("iso.db")));
    ASSERT_NE(store, nullptr);
    std::promise<void> began;
    std::promise<void> release;
    std::thread writer([&] {
        int64_t rowId = 0;
        store->BeginTransaction();
        store->Insert(rowId, "rows", Row(1));
        began.set_value();
        release.get_future().wait();
        store->Commit();
    });
    began.get_future().wait();
    EXPECT_EQ(Count(*store), 0); // the open transaction is invisible to this thread
    auto blockedInsert = std::async(std::launch::async, [&] {
        int64_t rowId = 0;
        return store->Insert(rowId, "rows", Row(2));
    });
    release.set_value();
    EXPECT_EQ(blockedInsert.get(), E_OK);
    writer.join();
    EXPECT_EQ(Count(*store), 2);
}

TEST_F(RdbStoreTest, TwoThreadsWritingAndReadingAtOnceLoseNothing)
{
    auto store = Open(RdbStoreConfig(PathOf("mt.db")));
    ASSERT_NE(store, nullptr);
    constexpr int kRounds = 100;
    std::atomic<int> failures{0};
    auto work = [&](int64_t base) {
        for (int i = 0; i < kRounds; ++i) {
            int64_t out = 0;
            failures += store->Insert(out, "rows", Row(base + i)) != E_OK;
            failures += store->BatchInsert(out, "rows", {Row(base + i), Row(base + i)}) != E_OK;
            failures += Count(*store) < 0;
        }
    };
    std::thread other(work, 100000);
    work(0);
    other.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(Count(*store), 2 * 3 * kRounds);
}

} // namespace
} // namespace OHOS::NativeRdb
