#include "sleep_database_manager.h"

#include "os_account_manager.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"
#include "sleep_log.h"
#include "string_utils.h"

namespace OHOS::DevStandbyMgr {
namespace {

using NativeRdb::E_OK;
using NativeRdb::RdbStore;

constexpr const char* DATABASE_DIR_FORMAT = "/data/service/el3/%d/device_standby";
constexpr const char* DATABASE_NAME = "sleep.db";
constexpr int DATABASE_VERSION = 1;
constexpr int JOURNAL_SIZE_BYTES = 1048576;
constexpr int PAGE_SIZE_BYTES = 4096;
constexpr int READ_CONNECTIONS = 1;

int32_t ForegroundUserId(SleepLogSite site = SleepLogSite::Caller())
{
    int32_t userId = 0;
    if (AccountSA::OsAccountManager::GetForegroundOsAccountLocalId(userId) != 0) {
        STANDBYSERVICE_LOGE_AT(site, "Failed to get loacl id");
        userId = 0;
    }
    return userId;
}

NativeRdb::RdbStoreConfig DatabaseConfig(const std::string& path)
{
    NativeRdb::RdbStoreConfig config(path, NativeRdb::StorageMode::MODE_DISK, false, std::vector<uint8_t>(),
        NativeRdb::RdbStoreConfig::DEFAULT_JOURNAL_MODE, "", NativeRdb::SecurityLevel::LAST, true, false,
        JOURNAL_SIZE_BYTES, PAGE_SIZE_BYTES);
    config.SetReadConSize(READ_CONNECTIONS);
    config.SetSecurityLevel(NativeRdb::SecurityLevel::S3);
    return config;
}

std::string WithClause(std::string sql, const char* keyword, const std::string& clause)
{
    return clause.empty() ? sql : sql + keyword + clause;
}

// Reads column 0 of the first row of `sql` as an integer into `value`; E_OK or the error met.
int QueryFirstLong(RdbStore& store, const std::string& sql, int64_t& value)
{
    auto resultSet = store.QuerySql(sql);
    if (resultSet == nullptr) {
        return SLEEP_DB_UNAVAILABLE;
    }
    int error = resultSet->GoToFirstRow();
    if (error == E_OK) {
        error = resultSet->GetLong(0, value);
    }
    resultSet->Close();
    return error;
}

} // namespace

int SleepRdbOpenCallback::OnCreate(RdbStore& store)
{
    store.ExecuteSql(ScreenStateRecord::GetCreateStatement());
    store.ExecuteSql(SleepDurationRecord::GetCreateStatement());
    store.ExecuteSql(SleepEnvironment::GetCreateStatement());
    store.ExecuteSql(SleepNotificationRecord::GetCreateStatement());
    store.ExecuteSql(SleepProbability::GetCreateStatement());
    store.ExecuteSql(SleepAmbientProbability::GetCreateStatement());
    store.ExecuteSql(SleepParameter::GetCreateStatement());
    return E_OK;
}

int SleepRdbOpenCallback::OnUpgrade(RdbStore& /* store */, int /* oldVersion */, int /* newVersion */)
{
    return E_OK;
}

std::shared_ptr<SleepDatabaseManager> SleepDatabaseManager::GetInstance()
{
    static std::mutex instanceMutex;
    static std::shared_ptr<SleepDatabaseManager> instance;
    std::lock_guard<std::mutex> lock(instanceMutex);
    if (instance == nullptr) {
        instance = std::shared_ptr<SleepDatabaseManager>(new SleepDatabaseManager());
    }
    return instance;
}

bool SleepDatabaseManager::GetRdbStore()
{
    std::string directory = StringUtils::StringPrintf(DATABASE_DIR_FORMAT, ForegroundUserId());
    int errCode = E_OK;
    std::string path = NativeRdb::RdbSqlUtils::GetDefaultDatabasePath(directory, DATABASE_NAME, errCode);
    if (errCode != E_OK) {
        STANDBYSERVICE_LOGE("Failed to create db path: %{public}s", directory.c_str());
        return false;
    }
    SleepRdbOpenCallback callback;
    auto store = NativeRdb::RdbHelper::GetRdbStore(DatabaseConfig(path), DATABASE_VERSION, callback, errCode);
    if (store == nullptr) {
        STANDBYSERVICE_LOGE("Failed to open database");
        return false;
    }
    std::lock_guard<std::mutex> lock(storeMutex_);
    rdbStore_ = store;
    return true;
}

void SleepDatabaseManager::OnUserSwitched()
{
    NativeRdb::RdbHelper::ClearCache();
    std::lock_guard<std::mutex> lock(storeMutex_);
    rdbStore_.reset();
}

std::shared_ptr<RdbStore> SleepDatabaseManager::AcquireStore()
{
    {
        std::lock_guard<std::mutex> lock(storeMutex_);
        if (rdbStore_ != nullptr) {
            return rdbStore_;
        }
    }
    if (!GetRdbStore()) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(storeMutex_);
    return rdbStore_;
}

template <typename T>
int32_t SleepDatabaseManager::QueryEntries(std::vector<T>& out, const std::string& condition, const std::string& suffix)
{
    auto store = AcquireStore();
    if (store == nullptr) {
        return SLEEP_DB_UNAVAILABLE;
    }
    std::string sql = WithClause(WithClause(T::GetQueryStatement(), " WHERE ", condition), " ORDER BY ", suffix);
    auto resultSet = store->QuerySql(sql);
    if (resultSet == nullptr) {
        STANDBYSERVICE_LOGE("Query fail, sql: %{public}s", sql.c_str());
        return SLEEP_DB_UNAVAILABLE;
    }
    while (resultSet->GoToNextRow() == E_OK) {
        T entry;
        entry.ReadFromResultSet(resultSet);
        out.push_back(entry);
    }
    resultSet->Close();
    return E_OK;
}

template <typename T> int32_t SleepDatabaseManager::InsertEntries(const std::string& table, std::vector<T>& entries)
{
    auto store = AcquireStore();
    if (store == nullptr) {
        return SLEEP_DB_UNAVAILABLE;
    }
    std::vector<NativeRdb::ValuesBucket> buckets(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        entries[i].WriteToBucket(buckets[i]);
    }
    int64_t outRowCount = 0;
    int error = store->BatchInsert(outRowCount, table, buckets);
    if (error != E_OK) {
        STANDBYSERVICE_LOGE("insert fail, table: %{public}s, errno: %{public}d", table.c_str(), error);
    }
    return error;
}

template <typename T> int32_t SleepDatabaseManager::InsertEntry(const std::string& table, T& entry)
{
    auto store = AcquireStore();
    if (store == nullptr) {
        return SLEEP_DB_UNAVAILABLE;
    }
    NativeRdb::ValuesBucket bucket;
    entry.WriteToBucket(bucket);
    int64_t outRowId = 0;
    int error = store->Insert(outRowId, table, bucket);
    if (error != E_OK) {
        STANDBYSERVICE_LOGE("insert fail, table: %{public}s, errno: %{public}d", table.c_str(), error);
    }
    return error;
}

void SleepDatabaseManager::Delete(
    const std::string& table, const std::string& whereClause, const std::vector<std::string>& args)
{
    auto store = AcquireStore();
    if (store == nullptr) {
        return;
    }
    int deletedRows = 0;
    int error = store->Delete(deletedRows, table, whereClause, args);
    if (error != E_OK) {
        STANDBYSERVICE_LOGE("Delete fail, table: %{public}s, errno: %{public}d", table.c_str(), error);
    }
}

void SleepDatabaseManager::Execute(const std::string& sql)
{
    auto store = AcquireStore();
    if (store != nullptr) {
        Execute(*store, sql);
    }
}

void SleepDatabaseManager::ExecuteEach(const std::vector<std::string>& sqls)
{
    auto store = AcquireStore();
    if (store == nullptr) {
        return;
    }
    for (const std::string& sql : sqls) {
        Execute(*store, sql);
    }
}

void SleepDatabaseManager::Execute(RdbStore& store, const std::string& sql)
{
    int error = store.ExecuteSql(sql);
    if (error != E_OK) {
        STANDBYSERVICE_LOGE("Execute fail, sql: %{public}s, errno: %{public}d", sql.c_str(), error);
    }
}

int64_t SleepDatabaseManager::QueryCount(const std::string& table, const std::string& whereClause)
{
    auto store = AcquireStore();
    if (store == nullptr) {
        return 0;
    }
    int64_t count = 0;
    int error = QueryFirstLong(*store, WithClause("SELECT COUNT(*) FROM " + table, " WHERE ", whereClause), count);
    if (error != E_OK) {
        STANDBYSERVICE_LOGE("QueryCount fail, table: %{public}s, errno: %{public}d", table.c_str(), error);
        return 0;
    }
    return count;
}

int64_t SleepDatabaseManager::ObtainMaxMinValueOfCol(const std::string& table, const std::string& column, bool isMax)
{
    auto store = AcquireStore();
    if (store == nullptr) {
        return 0;
    }
    int64_t value = 0;
    std::string sql = std::string(isMax ? "SELECT MAX(" : "SELECT MIN(") + column + ") FROM " + table;
    int error = QueryFirstLong(*store, sql, value);
    if (error != E_OK) {
        STANDBYSERVICE_LOGE("ObtainMaxMinValueOfCol fail, table: %{public}s, errno: %{public}d", table.c_str(), error);
        return 0;
    }
    return value;
}

template int32_t SleepDatabaseManager::QueryEntries<ScreenStateRecord>(
    std::vector<ScreenStateRecord>&, const std::string&, const std::string&);
template int32_t SleepDatabaseManager::QueryEntries<SleepDurationRecord>(
    std::vector<SleepDurationRecord>&, const std::string&, const std::string&);
template int32_t SleepDatabaseManager::QueryEntries<SleepEnvironment>(
    std::vector<SleepEnvironment>&, const std::string&, const std::string&);
template int32_t SleepDatabaseManager::QueryEntries<SleepNotificationRecord>(
    std::vector<SleepNotificationRecord>&, const std::string&, const std::string&);
template int32_t SleepDatabaseManager::QueryEntries<SleepProbability>(
    std::vector<SleepProbability>&, const std::string&, const std::string&);
template int32_t SleepDatabaseManager::QueryEntries<SleepAmbientProbability>(
    std::vector<SleepAmbientProbability>&, const std::string&, const std::string&);
template int32_t SleepDatabaseManager::QueryEntries<SleepParameter>(
    std::vector<SleepParameter>&, const std::string&, const std::string&);

template int32_t SleepDatabaseManager::InsertEntries<ScreenStateRecord>(
    const std::string&, std::vector<ScreenStateRecord>&);
template int32_t SleepDatabaseManager::InsertEntries<SleepEnvironment>(
    const std::string&, std::vector<SleepEnvironment>&);
template int32_t SleepDatabaseManager::InsertEntries<SleepNotificationRecord>(
    const std::string&, std::vector<SleepNotificationRecord>&);
template int32_t SleepDatabaseManager::InsertEntries<SleepDurationRecord>(
    const std::string&, std::vector<SleepDurationRecord>&);
template int32_t SleepDatabaseManager::InsertEntries<SleepProbability>(
    const std::string&, std::vector<SleepProbability>&);
template int32_t SleepDatabaseManager::InsertEntries<SleepAmbientProbability>(
    const std::string&, std::vector<SleepAmbientProbability>&);

template int32_t SleepDatabaseManager::InsertEntry<SleepParameter>(const std::string&, SleepParameter&);

} // namespace OHOS::DevStandbyMgr
