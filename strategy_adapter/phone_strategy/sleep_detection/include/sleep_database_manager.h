#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_DATABASE_MANAGER_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_DATABASE_MANAGER_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "rdb_open_callback.h"
#include "rdb_store.h"
#include "sleep_table.h"

namespace OHOS::DevStandbyMgr {

// What the query and insert templates return when the database or the table cannot be used.
constexpr int32_t SLEEP_DB_UNAVAILABLE = 38;

// Creates the seven tables of a new sleep database.
class SleepRdbOpenCallback : public NativeRdb::RdbOpenCallback {
public:
    int OnCreate(NativeRdb::RdbStore& store) override;
    int OnUpgrade(NativeRdb::RdbStore& store, int oldVersion, int newVersion) override;
};

// The one gateway to the foreground user's "sleep.db". Opens it on first use, and again after a
// failure or a user switch; every operation degrades to nothing read or written (with an error
// log) while the database cannot be opened. Safe to call from the handler and the training thread.
class SleepDatabaseManager {
public:
    static std::shared_ptr<SleepDatabaseManager> GetInstance();

    // Opens the database of the foreground user (user 0 when that cannot be asked).
    bool GetRdbStore();
    // Closes the database, so that the next operation opens the new foreground user's one.
    void OnUserSwitched();

    // Appends the rows of T's query, filtered by `condition` (a WHERE clause without the keyword)
    // and ordered by `suffix` (an ORDER BY list without the keyword); either may be empty.
    // 0 also when reading stops early at a bad row; SLEEP_DB_UNAVAILABLE when the query cannot run.
    template <typename T>
    int32_t QueryEntries(std::vector<T>& out, const std::string& condition, const std::string& suffix);
    // Writes all entries in one transaction, all or none. 0, the store's error, or SLEEP_DB_UNAVAILABLE.
    template <typename T> int32_t InsertEntries(const std::string& table, std::vector<T>& entries);
    // Writes one entry. 0, the store's error, or SLEEP_DB_UNAVAILABLE.
    template <typename T> int32_t InsertEntry(const std::string& table, T& entry);

    // Deletes the rows matching `whereClause` ("?" bound to `args`); empty deletes every row.
    void Delete(const std::string& table, const std::string& whereClause, const std::vector<std::string>& args);
    // Runs one statement without arguments.
    void Execute(const std::string& sql);
    // Runs every statement as Execute does, each committed on its own, all on the store that is open
    // when the call begins: a user switch during the call cannot send the rest to another user's
    // database, and a failing statement costs only its own change.
    void ExecuteEach(const std::vector<std::string>& sqls);
    // Number of rows of `table` matching `whereClause` (every row when empty); 0 on failure.
    int64_t QueryCount(const std::string& table, const std::string& whereClause);
    // Largest (isMax) or smallest value of `column`; 0 when nothing can be read.
    int64_t ObtainMaxMinValueOfCol(const std::string& table, const std::string& column, bool isMax);

private:
    SleepDatabaseManager() = default;
    // The open store, opening it when needed; nullptr when it cannot be opened.
    std::shared_ptr<NativeRdb::RdbStore> AcquireStore();
    // Runs one statement on `store`, logging a failure.
    void Execute(NativeRdb::RdbStore& store, const std::string& sql);

    std::mutex storeMutex_;
    std::shared_ptr<NativeRdb::RdbStore> rdbStore_;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_DATABASE_MANAGER_H
