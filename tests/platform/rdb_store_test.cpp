#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "data_root.h"
#include "rdb_faults.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"

namespace OHOS::NativeRdb {
namespace {

using Emulator::RdbFaults;

// Counts the hooks called and creates one table on a new file.
class RecordingCallback : public RdbOpenCallback {
public:
    int OnCreate(RdbStore& store) override
    {
        ++created;
        return store.ExecuteSql("CREATE TABLE rows (id INTEGER PRIMARY KEY, n INTEGER, x FLOAT, s TEXT)");
    }
    int OnUpgrade(RdbStore& /* store */, int currentVersion, int targetVersion) override
    {
        upgrades.emplace_back(currentVersion, targetVersion);
        return E_OK;
    }
    int created = 0;
    std::vector<std::pair<int, int>> upgrades;
};

bool Exists(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

class RdbStoreTest : public testing::Test {
protected:
    void SetUp() override { RdbFaults::Reset(); }
    void TearDown() override
    {
        RdbHelper::ClearCache();
        RdbFaults::Reset();
    }

    static std::string PathOf(const std::string& name)
    {
        int errCode = E_ERROR;
        std::string path = RdbSqlUtils::GetDefaultDatabasePath("/data/service/el3/100/test", name, errCode);
        EXPECT_EQ(errCode, E_OK);
        return path;
    }
    // Opens `config`, returning the store or nullptr with the error code in `errCode`.
    std::shared_ptr<RdbStore> Open(const RdbStoreConfig& config, int& errCode, int version = 1)
    {
        errCode = E_OK;
        return RdbHelper::GetRdbStore(config, version, callback_, errCode);
    }
    std::shared_ptr<RdbStore> Open(const std::string& name, int version = 1)
    {
        int errCode = E_OK;
        auto store = Open(RdbStoreConfig(PathOf(name)), errCode, version);
        EXPECT_EQ(errCode, E_OK) << name;
        return store;
    }
    // The first column of the first row of `sql` as text, or "<none>".
    static std::string FirstValue(RdbStore& store, const std::string& sql)
    {
        auto resultSet = store.QuerySql(sql);
        std::string value = "<none>";
        if (resultSet != nullptr && resultSet->GoToFirstRow() == E_OK) {
            resultSet->GetString(0, value);
        }
        return value;
    }
    static int64_t Count(RdbStore& store) { return std::stoll(FirstValue(store, "SELECT COUNT(*) FROM rows")); }
    static ValuesBucket Row(int64_t n)
    {
        ValuesBucket bucket;
        bucket.PutLong("n", n);
        bucket.PutDouble("x", n * 0.5);
        bucket.PutString("s", "row " + std::to_string(n) + std::string(200, 'a' + n % 26));
        return bucket;
    }
    static std::vector<ValuesBucket> Rows(int count)
    {
        std::vector<ValuesBucket> rows;
        for (int n = 0; n < count; ++n) {
            rows.push_back(Row(n));
        }
        return rows;
    }

    // Fails the nth operation of `attempt` for n = 1, 2, ... until it completes without an injected
    // failure. After each try the file must be intact and hold either none or all of what it writes.
    void ExpectAllOrNothing(
        RdbStore& store, int64_t rowsPerAttempt, bool persistent, const std::function<int()>& attempt)
    {
        int64_t expected = Count(store);
        bool completed = false;
        for (int nth = 1; !completed; ++nth) {
            ASSERT_LT(nth, 100) << "never completed";
            RdbFaults::Reset();
            RdbFaults::FailNthOperation(nth, persistent);
            const int error = attempt();
            completed = RdbFaults::InjectedFailures() == 0;
            RdbFaults::Reset();
            EXPECT_EQ(error == E_OK, completed) << "nth " << nth;
            expected += error == E_OK ? rowsPerAttempt : 0;
            EXPECT_EQ(FirstValue(store, "PRAGMA integrity_check"), "ok") << "nth " << nth;
            EXPECT_EQ(Count(store), expected) << "nth " << nth;
        }
    }

    Emulator::ScopedDataRoot root_;
    RecordingCallback callback_;
};

TEST_F(RdbStoreTest, DefaultPathCreatesTheFolderUnderTheDataRootAndRejectsBadNames)
{
    EXPECT_EQ(PathOf("a.db"), root_.Path() + "/data/service/el3/100/test/a.db");
    struct stat info {};
    ASSERT_EQ(stat((root_.Path() + "/data/service/el3/100/test").c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));

    std::ofstream(root_.Path() + "/data/blocked") << "a file, not a folder";
    const std::pair<std::string, std::string> cases[] = {
        {"/data/x", ""}, {"", "a.db"}, {"/data/x", "sub/a.db"}, {"/data/blocked/inner", "a.db"}};
    for (const auto& [dir, name] : cases) {
        int errCode = E_OK;
        EXPECT_EQ(RdbSqlUtils::GetDefaultDatabasePath(dir, name, errCode), "") << dir << " " << name;
        EXPECT_EQ(errCode, E_INVALID_FILE_PATH) << dir << " " << name;
    }
}

TEST_F(RdbStoreTest, NewFileIsCreatedOnceOwnerOnlyCachedAndUpgradedByVersion)
{
    const std::string path = PathOf("v.db");
    auto store = Open("v.db");
    ASSERT_NE(store, nullptr);
    int64_t rowId = 0;
    ASSERT_EQ(store->Insert(rowId, "rows", Row(1)), E_OK);
    int version = 0;
    EXPECT_EQ(store->GetVersion(version), E_OK);
    EXPECT_EQ(version, 1);
    for (const char* suffix : {"", "-wal", "-shm"}) {
        struct stat info {};
        ASSERT_EQ(stat((path + suffix).c_str(), &info), 0) << suffix;
        EXPECT_EQ(info.st_mode & 0777, 0600u) << suffix;
    }
    EXPECT_EQ(Open("v.db"), store);

    RdbHelper::ClearCache();
    auto upgraded = Open("v.db", 3);
    ASSERT_NE(upgraded, nullptr);
    EXPECT_NE(upgraded, store);
    EXPECT_EQ(callback_.created, 1);
    EXPECT_EQ(callback_.upgrades, (std::vector<std::pair<int, int>>{{1, 3}}));
    EXPECT_EQ(Count(*upgraded), 1);
}

TEST_F(RdbStoreTest, ConfigurationIsAppliedToTheFile)
{
    RdbStoreConfig config(PathOf("cfg.db"));
    config.SetPageSize(8192);
    config.SetJournalSize(65536);
    int errCode = E_OK;
    auto store = Open(config, errCode);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(FirstValue(*store, "PRAGMA page_size"), "8192");
    EXPECT_EQ(FirstValue(*store, "PRAGMA journal_mode"), "wal");
    EXPECT_EQ(FirstValue(*store, "PRAGMA journal_size_limit"), "65536");
}

TEST_F(RdbStoreTest, OpenRejectsWhatItCannotHonourAndFailsWhileSwitchedOff)
{
    const std::string missing = PathOf("missing.db");
    RdbStoreConfig noCreate(missing);
    noCreate.SetCreateNecessary(false);
    RdbStoreConfig badPage(PathOf("page.db"));
    badPage.SetPageSize(1000);
    const std::string junk = PathOf("junk.db");
    std::ofstream(junk) << "this is not a database file, just some text long enough to have a header......";
    const std::pair<RdbStoreConfig, int> cases[] = {
        {noCreate, E_INVALID_FILE_PATH},
        {RdbStoreConfig(missing, StorageMode::MODE_DISK, false, {1, 2, 3}), E_NOT_SUPPORTED},
        {badPage, E_INVALID_ARGS},
        {RdbStoreConfig(root_.Path() + "/no/such/folder/x.db"), E_CANNOT_OPEN},
        {RdbStoreConfig(junk), E_SQLITE_CORRUPT},
    };
    for (const auto& [config, expected] : cases) {
        int errCode = E_OK;
        EXPECT_EQ(Open(config, errCode), nullptr) << config.GetPath();
        EXPECT_EQ(errCode, expected) << config.GetPath();
    }
    EXPECT_FALSE(Exists(missing));

    RdbFaults::SetOpenFails(true);
    int errCode = E_OK;
    EXPECT_EQ(Open(RdbStoreConfig(PathOf("ok.db")), errCode), nullptr);
    EXPECT_EQ(errCode, E_CANNOT_OPEN);
    RdbFaults::SetOpenFails(false);
    EXPECT_NE(Open("ok.db"), nullptr);
}

TEST_F(RdbStoreTest, InsertQueryAndDeleteWithArguments)
{
    auto store = Open("crud.db");
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
    EXPECT_EQ(resultSet->GetLong(0, n), E_OK);
    EXPECT_EQ(resultSet->GetDouble(1, x), E_OK);
    EXPECT_EQ(n * 10 + x, 52.5);
    int deleted = -1;
    EXPECT_EQ(store->Delete(deleted, "rows", "n < ? OR n = ?", {"3", "5"}), E_OK);
    EXPECT_EQ(deleted, 3);
    EXPECT_EQ(store->Delete(deleted, "rows"), E_OK);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(Count(*store), 0);
}

TEST_F(RdbStoreTest, BadInputFailsWithClearCodes)
{
    auto store = Open("bad.db");
    ASSERT_NE(store, nullptr);
    int64_t rowId = 7;
    EXPECT_EQ(store->Insert(rowId, "rows", ValuesBucket()), E_INVALID_ARGS);
    EXPECT_EQ(rowId, -1);
    EXPECT_EQ(store->Insert(rowId, "no_table", Row(1)), E_SQLITE_ERROR);
    EXPECT_EQ(store->ExecuteSql("INSERT INTO rows (n) VALUES (1); DELETE FROM rows"), E_MULTIPLE_STATEMENTS);
    EXPECT_EQ(store->ExecuteSql("INSERT INTO rows (n) VALUES (?)", {}), E_INVALID_ARGS);
    EXPECT_EQ(store->ExecuteSql("INSERT INTO rows (n) VALUES (1) -- trailing comment"), E_OK);
    EXPECT_EQ(store->QuerySql("SELECT * FROM no_table"), nullptr);
    int64_t inserted = 9;
    EXPECT_EQ(store->BatchInsert(inserted, "rows", {Row(2), ValuesBucket()}), E_INVALID_ARGS);
    EXPECT_EQ(inserted, 0);
    EXPECT_EQ(Count(*store), 1);
}

TEST_F(RdbStoreTest, TransactionsCommitRollBackAndRefuseNesting)
{
    auto store = Open("tx.db");
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
    RdbFaults::FailNthOperation(1);
    EXPECT_EQ(store->Commit(), E_SQLITE_IOERR);
    EXPECT_EQ(Count(*store), 0); // a failed commit rolls back
    EXPECT_EQ(store->RollBack(), E_NO_TRANSACTION);
}

TEST_F(RdbStoreTest, TwoThreadsWritingAndReadingAtOnceLoseNothing)
{
    auto store = Open("mt.db");
    ASSERT_NE(store, nullptr);
    constexpr int kRounds = 100;
    std::atomic<int> failures{0};
    auto work = [&](int64_t base) {
        for (int i = 0; i < kRounds; ++i) {
            int64_t out = 0;
            failures += store->Insert(out, "rows", Row(base + i)) != E_OK;
            failures += store->BatchInsert(out, "rows", {Row(base + i), Row(base + i)}) != E_OK;
            failures += FirstValue(*store, "SELECT COUNT(*) FROM rows") == "<none>";
        }
    };
    std::thread other(work, 100000);
    work(0);
    other.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(Count(*store), 2 * 3 * kRounds);
}

TEST_F(RdbStoreTest, DiskFullFailsWritesButNotReads)
{
    auto store = Open("full.db");
    ASSERT_NE(store, nullptr);
    int64_t out = 0;
    ASSERT_EQ(store->BatchInsert(out, "rows", Rows(3)), E_OK);
    RdbFaults::SetDiskFull(true);
    EXPECT_EQ(store->Insert(out, "rows", Row(1)), E_SQLITE_FULL);
    int deleted = 0;
    EXPECT_EQ(store->Delete(deleted, "rows"), E_SQLITE_FULL);
    EXPECT_EQ(Count(*store), 3);
    RdbFaults::SetDiskFull(false);
    EXPECT_EQ(store->Delete(deleted, "rows"), E_OK);
}

TEST_F(RdbStoreTest, FailingARowOfAQueryKeepsTheRowsBefore)
{
    auto store = Open("query.db");
    ASSERT_NE(store, nullptr);
    int64_t out = 0;
    ASSERT_EQ(store->BatchInsert(out, "rows", Rows(5)), E_OK);
    RdbFaults::FailNthOperation(4); // steps 1-3 deliver rows, step 4 fails
    auto resultSet = store->QuerySql("SELECT n FROM rows");
    ASSERT_NE(resultSet, nullptr);
    int read = 0;
    int error = E_OK;
    while ((error = resultSet->GoToNextRow()) == E_OK) {
        ++read;
    }
    EXPECT_EQ(read, 3);
    EXPECT_EQ(error, E_SQLITE_IOERR);
    RdbFaults::FailNthOperation(1);
    EXPECT_EQ(store->QuerySql("SELECT n FROM rows"), nullptr);
}

TEST_F(RdbStoreTest, BatchInsertAndTransactionAreAllOrNothingWhicheverOperationFails)
{
    auto store = Open("atomic.db");
    ASSERT_NE(store, nullptr);
    for (bool persistent : {false, true}) {
        ExpectAllOrNothing(*store, 20, persistent, [&store] {
            int64_t inserted = -1;
            const int error = store->BatchInsert(inserted, "rows", Rows(20));
            EXPECT_EQ(inserted, error == E_OK ? 20 : 0);
            return error;
        });
    }
    ExpectAllOrNothing(*store, 5, false, [&store] {
        int error = store->BeginTransaction();
        for (int i = 0; error == E_OK && i < 5; ++i) {
            int64_t rowId = 0;
            error = store->Insert(rowId, "rows", Row(i));
        }
        return error == E_OK ? store->Commit() : (store->RollBack(), error);
    });
}

} // namespace
} // namespace OHOS::NativeRdb
