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
#include "result_set.h"

namespace OHOS::NativeRdb {
namespace {

using Emulator::RdbFaults;

// Counts the upgrades and creates one table on a new file.
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

// The first column of the first row of `sql` as text, or "<none>".
std::string FirstValue(RdbStore& store, const std::string& sql)
{
    auto resultSet = store.QuerySql(sql);
    std::string value = "<none>";
    if (resultSet != nullptr && resultSet->GoToFirstRow() == E_OK) {
        resultSet->GetString(0, value);
    }
    return value;
}

ValuesBucket Row(int64_t n)
{
    ValuesBucket bucket;
    bucket.PutLong("n", n);
    bucket.PutDouble("x", n * 0.5);
    bucket.PutString("s", std::string(200, 'a' + n % 26));
    return bucket;
}

std::vector<ValuesBucket> Rows(int count)
{
    return std::vector<ValuesBucket>(count, Row(count));
}

// Every test starts with the store "t.db" opened at version 1.
class RdbStoreTest : public testing::Test {
protected:
    void SetUp() override
    {
        RdbFaults::Reset();
        store_ = Open(RdbStoreConfig(PathOf("t.db")));
        ASSERT_NE(store_, nullptr);
    }
    void TearDown() override
    {
        store_.reset();
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
    // The store, or nullptr with the reason in errCode_.
    std::shared_ptr<RdbStore> Open(const RdbStoreConfig& config, int version = 1)
    {
        errCode_ = E_OK;
        return RdbHelper::GetRdbStore(config, version, callback_, errCode_);
    }
    int64_t Count() { return std::stoll(FirstValue(*store_, "SELECT COUNT(*) FROM rows")); }

    // Fails the nth operation of `attempt` for n = 1, 2, ... until it completes without an injected
    // failure. After each try the file must be intact and hold either none or all of what it writes.
    void ExpectAllOrNothing(int64_t rowsPerAttempt, bool persistent, const std::function<int()>& attempt)
    {
        int64_t expected = Count();
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
            EXPECT_EQ(FirstValue(*store_, "PRAGMA integrity_check"), "ok") << "nth " << nth;
            EXPECT_EQ(Count(), expected) << "nth " << nth;
        }
    }

    Emulator::ScopedDataRoot root_;
    RecordingCallback callback_;
    std::shared_ptr<RdbStore> store_;
    int errCode_ = E_OK;
};

TEST_F(RdbStoreTest, NewFileUnderTheDataRootIsCreatedOnceOwnerOnlyCachedAndUpgradedByVersion)
{
    const std::string path = root_.Path() + "/data/service/el3/100/test/t.db";
    EXPECT_EQ(PathOf("t.db"), path);
    int64_t rowId = 0;
    ASSERT_EQ(store_->Insert(rowId, "rows", Row(1)), E_OK);
    for (const char* suffix : {"", "-wal", "-shm"}) {
        struct stat info {};
        ASSERT_EQ(stat((path + suffix).c_str(), &info), 0) << suffix;
        EXPECT_EQ(info.st_mode & 0777, 0600u) << suffix;
    }
    EXPECT_EQ(Open(RdbStoreConfig(path)), store_);

    RdbHelper::ClearCache();
    auto upgraded = Open(RdbStoreConfig(path), 3);
    ASSERT_NE(upgraded, nullptr);
    EXPECT_NE(upgraded, store_);
    EXPECT_EQ(callback_.created, 1);
    EXPECT_EQ(callback_.upgrades, (std::vector<std::pair<int, int>>{{1, 3}}));
    EXPECT_EQ(FirstValue(*upgraded, "SELECT COUNT(*) FROM rows"), "1");
}

TEST_F(RdbStoreTest, WhatTheStoreCannotHonourIsRefused)
{
    const std::string missing = PathOf("missing.db");
    RdbStoreConfig noCreate(missing);
    noCreate.SetCreateNecessary(false);
    const std::string junk = PathOf("junk.db");
    std::ofstream(junk) << "this is not a database file, just some text long enough to have a header......";
    const std::pair<RdbStoreConfig, int> badConfigs[] = {
        {noCreate, E_INVALID_FILE_PATH},
        {RdbStoreConfig(missing, StorageMode::MODE_DISK, false, {1, 2, 3}), E_NOT_SUPPORTED},
        {RdbStoreConfig(root_.Path() + "/no/such/folder/x.db"), E_CANNOT_OPEN},
        {RdbStoreConfig(junk), E_SQLITE_CORRUPT},
    };
    for (const auto& [config, expected] : badConfigs) {
        EXPECT_EQ(Open(config), nullptr) << config.GetPath();
        EXPECT_EQ(errCode_, expected) << config.GetPath();
    }

    RdbFaults::SetOpenFails(true);
    EXPECT_EQ(Open(RdbStoreConfig(PathOf("ok.db"))), nullptr);
    EXPECT_EQ(errCode_, E_CANNOT_OPEN);
}

TEST_F(RdbStoreTest, InsertQueryAndDeleteWithArgumentsAndRefuseBadInput)
{
    int64_t rowId = 0;
    for (int64_t n = 1; n <= 5; ++n) {
        ASSERT_EQ(store_->Insert(rowId, "rows", Row(n)), E_OK);
        EXPECT_EQ(rowId, n);
    }
    auto resultSet = store_->QuerySql("SELECT n * 10 + x FROM rows WHERE n >= ? ORDER BY n DESC", {"4"});
    std::string value;
    ASSERT_EQ(resultSet->GoToFirstRow(), E_OK);
    EXPECT_EQ(resultSet->GetString(0, value), E_OK);
    EXPECT_EQ(value, "52.5");
    int deleted = -1;
    EXPECT_EQ(store_->Delete(deleted, "rows", "n < ? OR n = ?", {"3", "5"}), E_OK);
    EXPECT_EQ(deleted, 3);

    EXPECT_EQ(store_->Insert(rowId, "no_table", Row(1)), E_SQLITE_ERROR);
    EXPECT_EQ(rowId, -1);
    EXPECT_EQ(store_->ExecuteSql("INSERT INTO rows (n) VALUES (1); DELETE FROM rows"), E_MULTIPLE_STATEMENTS);
    EXPECT_EQ(store_->ExecuteSql("INSERT INTO rows (n) VALUES (1) -- trailing comment"), E_OK);
    int64_t inserted = 9;
    EXPECT_EQ(store_->BatchInsert(inserted, "rows", {Row(2), ValuesBucket()}), E_INVALID_ARGS);
    EXPECT_EQ(inserted, 0);
    EXPECT_EQ(store_->Delete(deleted, "rows"), E_OK);
    EXPECT_EQ(deleted, 3);
}

TEST_F(RdbStoreTest, TwoThreadsWritingAndReadingAtOnceLoseNothing)
{
    std::atomic<int> failures{0};
    auto work = [&](int64_t base) {
        for (int i = 0; i < 100; ++i) {
            int64_t out = 0;
            failures += store_->Insert(out, "rows", Row(base + i)) != E_OK;
            failures += store_->BatchInsert(out, "rows", {Row(base + i), Row(base + i)}) != E_OK;
            failures += FirstValue(*store_, "SELECT COUNT(*) FROM rows") == "<none>";
        }
    };
    std::thread other(work, 100000);
    work(0);
    other.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(Count(), 2 * 3 * 100);
}

TEST_F(RdbStoreTest, DiskFullFailsWritesAndAFailingStepEndsAQueryAfterTheRowsBefore)
{
    int64_t out = 0;
    ASSERT_EQ(store_->BatchInsert(out, "rows", Rows(5)), E_OK);
    RdbFaults::SetDiskFull(true);
    EXPECT_EQ(store_->Insert(out, "rows", Row(1)), E_SQLITE_FULL);
    RdbFaults::SetDiskFull(false);
    RdbFaults::FailNthOperation(4); // steps 1-3 deliver rows, step 4 fails
    auto resultSet = store_->QuerySql("SELECT n FROM rows");
    ASSERT_NE(resultSet, nullptr);
    int read = 0;
    int error = E_OK;
    while ((error = resultSet->GoToNextRow()) == E_OK) {
        ++read;
    }
    EXPECT_EQ(read, 3);
    EXPECT_EQ(error, E_SQLITE_IOERR);
    RdbFaults::FailNthOperation(1);
    EXPECT_EQ(store_->QuerySql("SELECT n FROM rows"), nullptr);
}

TEST_F(RdbStoreTest, BatchInsertAndTransactionAreAllOrNothingWhicheverOperationFails)
{
    for (bool persistent : {false, true}) {
        ExpectAllOrNothing(20, persistent, [this] {
            int64_t inserted = -1;
            const int error = store_->BatchInsert(inserted, "rows", Rows(20));
            EXPECT_EQ(inserted, error == E_OK ? 20 : 0);
            return error;
        });
    }
    ExpectAllOrNothing(5, false, [this] {
        int error = store_->BeginTransaction();
        for (int i = 0; error == E_OK && i < 5; ++i) {
            int64_t rowId = 0;
            error = store_->Insert(rowId, "rows", Row(i));
        }
        return error == E_OK ? store_->Commit() : (store_->RollBack(), error);
    });
}

// A transaction belongs to its thread: it does not nest, and until it commits other threads' queries,
// served by their own connections, see only the data committed before it.
TEST_F(RdbStoreTest, TransactionIsNotNestedAndHiddenFromOtherConnectionsUntilCommit)
{
    auto countFromOtherThread = [this] {
        int64_t count = -1;
        std::thread([&] { count = Count(); }).join();
        return count;
    };
    EXPECT_EQ(store_->Commit(), E_NO_TRANSACTION);
    ASSERT_EQ(store_->BeginTransaction(), E_OK);
    EXPECT_EQ(store_->BeginTransaction(), E_TRANSACTION_IN_EXECUTE);
    int64_t rowId = 0;
    ASSERT_EQ(store_->Insert(rowId, "rows", Row(1)), E_OK);
    EXPECT_EQ(Count(), 1);
    EXPECT_EQ(countFromOtherThread(), 0);
    ASSERT_EQ(store_->Commit(), E_OK);
    EXPECT_EQ(countFromOtherThread(), 1);
    EXPECT_EQ(store_->RollBack(), E_NO_TRANSACTION);
}

// Reads `column` with every getter into outputs that start as sentinels; returns the four error
// codes and sets `changed` when any output was written.
std::vector<int> ReadWithEveryGetter(AbsSharedResultSet& set, int column, bool& changed)
{
    int64_t wide = 123456;
    int narrow = 123456;
    double real = 123.25;
    std::string text = "sentinel";
    std::vector<int> errors = {set.GetLong(column, wide), set.GetInt(column, narrow), set.GetDouble(column, real),
        set.GetString(column, text)};
    changed = wide != 123456 || narrow != 123456 || real != 123.25 || text != "sentinel";
    return errors;
}

TEST_F(RdbStoreTest, FailingGettersLeaveTheirOutputUntouched)
{
    int64_t out = 0;
    ASSERT_EQ(store_->Insert(out, "rows", Row(1)), E_OK);
    auto set = store_->QuerySql("SELECT n, s FROM rows");
    ASSERT_NE(set, nullptr);
    bool changed = true;
    EXPECT_EQ(ReadWithEveryGetter(*set, 0, changed), std::vector<int>(4, E_ROW_OUT_RANGE));
    EXPECT_FALSE(changed);
    ASSERT_EQ(set->GoToFirstRow(), E_OK);
    for (int column : {-1, 2, 13}) {
        EXPECT_EQ(ReadWithEveryGetter(*set, column, changed), std::vector<int>(4, E_INVALID_COLUMN_INDEX)) << column;
        EXPECT_FALSE(changed) << column;
    }
    int64_t wide = 42;
    EXPECT_EQ(set->GetLong(1, wide), E_INVALID_COLUMN_TYPE);
    EXPECT_EQ(wide, 42);
}

} // namespace
} // namespace OHOS::NativeRdb
