#include <gtest/gtest.h>

#include "data_root.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"
#include "result_set.h"
#include "statement_cache.h"

namespace OHOS::NativeRdb {
namespace {

struct CacheCase {
    const char* name;
    size_t capacity;
    std::vector<std::string> uses; // SQL texts in the order they are run
    std::vector<bool> kept;        // per use: whether the cache had the statement
};

class StatementCacheCaseTest : public testing::TestWithParam<CacheCase> {};

TEST_P(StatementCacheCaseTest, KeepsTheMostRecentlyUsedStatements)
{
    const CacheCase& c = GetParam();
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    std::vector<bool> kept;
    {
        StatementCache cache(c.capacity);
        for (const std::string& sql : c.uses) {
            StatementLease lease(cache, sql);
            kept.push_back(lease.Held() != nullptr);
            if (lease.Held() == nullptr) {
                sqlite3_stmt* raw = nullptr;
                ASSERT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &raw, nullptr), SQLITE_OK) << sql;
                lease.Held().reset(raw);
            }
            ASSERT_EQ(sqlite3_step(lease.Held().get()), SQLITE_ROW);
        }
        EXPECT_LE(cache.Size(), c.capacity);
    }
    sqlite3_close(db); // SQLITE_BUSY here would mean a statement outlived its cache
    EXPECT_EQ(kept, c.kept);
}

INSTANTIATE_TEST_SUITE_P(Uses, StatementCacheCaseTest,
    testing::Values(
        CacheCase{"RepeatsAreKept", 2, {"SELECT 1", "SELECT 1", "SELECT 2", "SELECT 1"}, {false, true, false, true}},
        CacheCase{"LeastRecentIsDropped", 2, {"SELECT 1", "SELECT 2", "SELECT 1", "SELECT 3", "SELECT 2", "SELECT 1"},
            {false, false, true, false, false, false}},
        CacheCase{"NothingKeptWithoutCapacity", 0, {"SELECT 1", "SELECT 1"}, {false, false}}),
    [](const testing::TestParamInfo<CacheCase>& info) { return std::string(info.param.name); });

class CreatesRows : public RdbOpenCallback {
public:
    int OnCreate(RdbStore& store) override
    {
        return store.ExecuteSql("CREATE TABLE rows (id INTEGER PRIMARY KEY, n INTEGER)");
    }
    int OnUpgrade(RdbStore& /* store */, int /* currentVersion */, int /* targetVersion */) override { return E_OK; }
};

int ColumnCount(const std::shared_ptr<AbsSharedResultSet>& result)
{
    int count = -1;
    return result != nullptr && result->GetColumnCount(count) == E_OK ? count : -1;
}

int RowCount(const std::shared_ptr<AbsSharedResultSet>& result)
{
    int count = -1;
    return result != nullptr && result->GetRowCount(count) == E_OK ? count : -1;
}

// A statement run again through the store is the kept one: it must still see what changed since.
TEST(StatementCacheStoreTest, StatementsRunAgainSeeNewRowsNewColumnsAndTheirNewArguments)
{
    Emulator::ScopedDataRoot root;
    int errCode = E_OK;
    CreatesRows callback;
    const std::string path = RdbSqlUtils::GetDefaultDatabasePath("/data/service/el3/100/test", "kept.db", errCode);
    auto store = RdbHelper::GetRdbStore(RdbStoreConfig(path), 1, callback, errCode);
    ASSERT_NE(store, nullptr) << errCode;
    const std::string insert = "INSERT INTO rows (id, n) VALUES (?, ?)";
    const std::string byN = "SELECT * FROM rows WHERE n = ?";

    ASSERT_EQ(store->ExecuteSql(insert, {ValueObject(int64_t{1}), ValueObject(int64_t{7})}), E_OK);
    EXPECT_EQ(RowCount(store->QuerySql(byN, {"7"})), 1);
    EXPECT_EQ(RowCount(store->QuerySql(byN, {"8"})), 0);
    EXPECT_EQ(store->ExecuteSql(insert, {ValueObject(int64_t{1}), ValueObject(int64_t{8})}), E_SQLITE_CONSTRAINT);
    ASSERT_EQ(store->ExecuteSql(insert, {ValueObject(int64_t{2}), ValueObject(int64_t{7})}), E_OK);
    EXPECT_EQ(RowCount(store->QuerySql(byN, {"7"})), 2);

    EXPECT_EQ(ColumnCount(store->QuerySql(byN, {"7"})), 2);
    ASSERT_EQ(store->ExecuteSql("ALTER TABLE rows ADD COLUMN note TEXT"), E_OK);
    EXPECT_EQ(ColumnCount(store->QuerySql(byN, {"7"})), 3);
    int deleted = 0;
    ASSERT_EQ(store->Delete(deleted, "rows", "n = ?", {"7"}), E_OK);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(RowCount(store->QuerySql(byN, {"7"})), 0);
    EXPECT_EQ(store->ExecuteSql("SELECT 1; SELECT 2"), E_MULTIPLE_STATEMENTS);
    EXPECT_EQ(store->ExecuteSql("SELECT 1; SELECT 2"), E_MULTIPLE_STATEMENTS);
    store.reset();
    RdbHelper::ClearCache();
}

} // namespace
} // namespace OHOS::NativeRdb
