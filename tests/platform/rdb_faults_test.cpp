#include <gtest/gtest.h>

#include "data_root.h"
#include "rdb_faults.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"

namespace OHOS::NativeRdb {
namespace {

using Emulator::RdbFaults;

class TableCallback : public RdbOpenCallback {
public:
    int OnCreate(RdbStore& store) override
    {
        return store.ExecuteSql("CREATE TABLE t (id INTEGER PRIMARY KEY, n INTEGER, s TEXT)");
    }
    int OnUpgrade(RdbStore&, int, int) override { return E_OK; }
};

class RdbFaultsTest : public testing::Test {
protected:
    void SetUp() override
    {
        RdbFaults::Reset();
        int errCode = E_OK;
        path_ = RdbSqlUtils::GetDefaultDatabasePath("/data/faults", "f.db", errCode);
        store_ = RdbHelper::GetRdbStore(RdbStoreConfig(path_), 1, callback_, errCode);
        ASSERT_NE(store_, nullptr);
    }
    void TearDown() override
    {
        store_.reset();
        RdbHelper::ClearCache();
        RdbFaults::Reset();
    }

    int64_t Count()
    {
        auto resultSet = store_->QuerySql("SELECT COUNT(*) FROM t");
        int64_t count = -1;
        if (resultSet != nullptr && resultSet->GoToFirstRow() == E_OK) {
            resultSet->GetLong(0, count);
        }
        return count;
    }

    std::string IntegrityCheck()
    {
        auto resultSet = store_->QuerySql("PRAGMA integrity_check");
        std::string verdict = "no result";
        if (resultSet != nullptr && resultSet->GoToFirstRow() == E_OK) {
            resultSet->GetString(0, verdict);
        }
        return verdict;
    }

    static std::vector<ValuesBucket> Rows(int count)
    {
        std::vector<ValuesBucket> rows(count);
        for (int i = 0; i < count; ++i) {
            rows[i].PutInt("n", i);
            rows[i].PutString("s", std::string(200, 'a' + i % 26));
        }
        return rows;
    }

    Emulator::ScopedDataRoot root_;
    TableCallback callback_;
    std::string path_;
    std::shared_ptr<RdbStore> store_;
};

TEST_F(RdbFaultsTest, StoreWillNotOpenWhileSwitchedOn)
{
    RdbHelper::ClearCache();
    RdbFaults::SetOpenFails(true);
    int errCode = E_OK;
    EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(path_), 1, callback_, errCode), nullptr);
    EXPECT_EQ(errCode, E_CANNOT_OPEN);
    RdbFaults::SetOpenFails(false);
    EXPECT_NE(RdbHelper::GetRdbStore(RdbStoreConfig(path_), 1, callback_, errCode), nullptr);
}

TEST_F(RdbFaultsTest, DiskFullFailsWritesButNotReads)
{
    int64_t out = 0;
    ASSERT_EQ(store_->BatchInsert(out, "t", Rows(3)), E_OK);
    RdbFaults::SetDiskFull(true);
    EXPECT_EQ(store_->Insert(out, "t", Rows(1)[0]), E_SQLITE_FULL);
    EXPECT_EQ(store_->BatchInsert(out, "t", Rows(4)), E_SQLITE_FULL);
    int deleted = 0;
    EXPECT_EQ(store_->Delete(deleted, "t"), E_SQLITE_FULL);
    EXPECT_EQ(store_->ExecuteSql("UPDATE t SET n = 0"), E_SQLITE_FULL);
    EXPECT_EQ(Count(), 3);
    RdbFaults::SetDiskFull(false);
    EXPECT_EQ(store_->Insert(out, "t", Rows(1)[0]), E_OK);
    EXPECT_EQ(Count(), 4);
}

TEST_F(RdbFaultsTest, FailingARowOfAQueryKeepsTheRowsBefore)
{
    int64_t out = 0;
    ASSERT_EQ(store_->BatchInsert(out, "t", Rows(5)), E_OK);
    RdbFaults::FailNthOperation(4); // steps 1-3 deliver rows, step 4 fails
    auto resultSet = store_->QuerySql("SELECT n FROM t");
    ASSERT_NE(resultSet, nullptr);
    int read = 0;
    int error = E_OK;
    while ((error = resultSet->GoToNextRow()) == E_OK) {
        ++read;
    }
    EXPECT_EQ(read, 3);
    EXPECT_EQ(error, E_SQLITE_IOERR);
    RdbFaults::FailNthOperation(1);
    EXPECT_EQ(store_->QuerySql("SELECT n FROM t"), nullptr);
}

// Fails the Nth operation of a batch insert for N = 1, 2, ... until the batch completes, once with
// a single failure and once with every later operation failing too. After each attempt the file
// must be intact and hold either none or all of the batch.
TEST_F(RdbFaultsTest, BatchInsertIsAllOrNothingWhicheverOperationFails)
{
    constexpr int kRows = 20;
    for (bool persistent : {false, true}) {
        int64_t expected = Count();
        bool completed = false;
        for (int nth = 1; !completed; ++nth) {
            ASSERT_LT(nth, 100) << "the batch never completed";
            RdbFaults::Reset();
            RdbFaults::FailNthOperation(nth, persistent);
            int64_t inserted = -1;
            int error = store_->BatchInsert(inserted, "t", Rows(kRows));
            completed = RdbFaults::InjectedFailures() == 0;
            RdbFaults::Reset();
            if (error == E_OK) {
                expected += kRows;
            }
            EXPECT_EQ(error == E_OK, completed) << "nth " << nth;
            EXPECT_EQ(inserted, error == E_OK ? kRows : 0) << "nth " << nth;
            EXPECT_EQ(IntegrityCheck(), "ok") << "nth " << nth;
            EXPECT_EQ(Count(), expected) << "nth " << nth;
        }
    }
}

TEST_F(RdbFaultsTest, TransactionIsAllOrNothingWhicheverOperationFails)
{
    bool completed = false;
    int64_t expected = 0;
    for (int nth = 1; !completed; ++nth) {
        ASSERT_LT(nth, 100) << "the transaction never completed";
        RdbFaults::Reset();
        RdbFaults::FailNthOperation(nth);
        int error = store_->BeginTransaction();
        for (int i = 0; error == E_OK && i < 5; ++i) {
            int64_t rowId = 0;
            error = store_->Insert(rowId, "t", Rows(1)[0]);
        }
        error = error == E_OK ? store_->Commit() : (store_->RollBack(), error);
        completed = RdbFaults::InjectedFailures() == 0;
        RdbFaults::Reset();
        expected += error == E_OK ? 5 : 0;
        EXPECT_EQ(IntegrityCheck(), "ok") << "nth " << nth;
        EXPECT_EQ(Count(), expected) << "nth " << nth;
    }
}

} // namespace
} // namespace OHOS::NativeRdb
