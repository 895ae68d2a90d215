#ifndef PLATFORM_INCLUDE_RDB_STORE_H
#define PLATFORM_INCLUDE_RDB_STORE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "rdb_errno.h"
#include "rdb_open_callback.h"
#include "rdb_store_config.h"
#include "result_set.h"
#include "values_bucket.h"

namespace OHOS::NativeRdb {

// One open SQLite database. Obtained from RdbHelper::GetRdbStore; closed when the last owner
// lets it go. Thread-safe: one connection writes, and with write-ahead logging up to
// GetReadConSize() more connections serve queries, which then see the last committed data.
// Every call returns E_OK or an error code (rdb_errno.h); nothing throws.
class RdbStore {
public:
    ~RdbStore();
    RdbStore(const RdbStore&) = delete;
    RdbStore& operator=(const RdbStore&) = delete;

    // Runs exactly one statement (a second statement in `sql` fails with E_MULTIPLE_STATEMENTS).
    int ExecuteSql(const std::string& sql, const std::vector<ValueObject>& bindArgs = {});
    // Runs one query and reads all its rows; nullptr when the query cannot be prepared (bad SQL,
    // no such table) or its first step fails.
    std::shared_ptr<AbsSharedResultSet> QuerySql(
        const std::string& sql, const std::vector<std::string>& selectionArgs = {});
    // Appends one row; outRowId is its row id, or -1 on failure. An empty bucket is E_INVALID_ARGS.
    int Insert(int64_t& outRowId, const std::string& table, const ValuesBucket& values);
    // Appends all rows in one transaction: either every row is written or none. outInsertNum is
    // the number written (0 on failure; 0 and E_OK for an empty list).
    int BatchInsert(int64_t& outInsertNum, const std::string& table, const std::vector<ValuesBucket>& values);
    // Deletes the rows matching `whereClause` ("?" placeholders bound to `whereArgs` as text; an
    // empty clause deletes every row). deletedRows is untouched on failure.
    int Delete(int& deletedRows, const std::string& table, const std::string& whereClause = "",
        const std::vector<std::string>& whereArgs = {});

    // An explicit transaction held by the calling thread: until it commits or rolls back, writes
    // from other threads wait, and this thread's queries see its own changes. Not nested
    // (E_TRANSACTION_IN_EXECUTE). Commit or RollBack without a transaction of this thread fails
    // with E_NO_TRANSACTION. A failing Commit rolls the transaction back and ends it.
    // REQUIRES: the thread that began a transaction ends it before the store is released.
    int BeginTransaction();
    int Commit();
    int RollBack();

    // The schema version stored in the file (0 for a new file).
    int GetVersion(int& version);
    int SetVersion(int version);
    // The file this store works on (after mapping), or ":memory:".
    const std::string& GetPath() const;

private:
    friend class RdbHelper;
    struct Impl;

    explicit RdbStore(std::unique_ptr<Impl> impl);
    // Opens the file as configured and brings its schema to `version` through `callback`.
    static std::shared_ptr<RdbStore> Open(
        const RdbStoreConfig& config, int version, RdbOpenCallback& callback, int& errCode);
    int BringToVersion(int version, RdbOpenCallback& callback);

    std::unique_ptr<Impl> impl_;
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_RDB_STORE_H
