#include "settings_store.h"

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <sqlite3.h>

#include "data_root.h"
#include "storage_sync.h"

namespace OHOS::Emulator {
namespace {

using DataShare::DataSharePredicates;
using DataShare::DataShareResultSet;
using DataShare::DataShareValuesBucket;
using DataShare::E_ERROR;

constexpr int BUSY_TIMEOUT_MS = 5000;

// One statement's worth of SQL text and the texts bound to its placeholders, in order.
struct Statement {
    std::string sql;
    std::vector<std::string> arguments;
};

bool IsIdentifier(const std::string& name)
{
    if (name.empty() || !(isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_')) {
        return false;
    }
    return std::all_of(
        name.begin(), name.end(), [](char c) { return isalnum(static_cast<unsigned char>(c)) || c == '_'; });
}

std::vector<DataShareResultSet::Row> ReadRows(sqlite3_stmt* stmt, std::vector<std::string>& names, bool& ok)
{
    int count = sqlite3_column_count(stmt);
    for (int i = 0; i < count; ++i) {
        names.emplace_back(sqlite3_column_name(stmt, i));
    }
    std::vector<DataShareResultSet::Row> rows;
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(stmt)) == SQLITE_ROW) {
        DataShareResultSet::Row row;
        for (int i = 0; i < count; ++i) {
            const unsigned char* text = sqlite3_column_text(stmt, i);
            row.push_back(
                text == nullptr ? std::nullopt : std::optional<std::string>(reinterpret_cast<const char*>(text)));
        }
        rows.push_back(std::move(row));
    }
    ok = step == SQLITE_DONE;
    return rows;
}

// What a query read: its column names and rows.
struct QueryRows {
    std::vector<std::string> names;
    std::vector<DataShareResultSet::Row> rows;
};

// The connection to the store's file. It is kept open between operations, with its statements
// prepared once (an operation then costs one statement step, not an open, a schema read and a
// parse), and reopened when the data root moves, the file is removed or replaced (a test empties
// the data root) or the disk-sync switch changes. While it stays open its path is not mapped
// again: the file it holds is the one that was checked when it was opened.
class Connection {
public:
    Connection(const std::string& root, const std::string& path) : root_(root), syncEnabled_(StorageSyncEnabled())
    {
        std::string folder = path.substr(0, path.find_last_of('/'));
        if (!MakeDirectories(folder)) {
            return;
        }
        fd_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd_ < 0) {
            return;
        }
        // Without SQLite's own lock around every call: the connection is used under StoreMutex().
        if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK ||
            (!syncEnabled_ && sqlite3_exec(db_, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr) != SQLITE_OK)) {
            sqlite3_close(db_);
            db_ = nullptr;
            return;
        }
        sqlite3_busy_timeout(db_, BUSY_TIMEOUT_MS);
    }
    ~Connection()
    {
        for (const auto& [sql, stmt] : statements_) {
            sqlite3_finalize(stmt);
        }
        sqlite3_close(db_);
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // The connection to the store file under the current data root; nullptr when it cannot be
    // opened. REQUIRES: StoreMutex() is held for as long as the connection is used.
    static Connection* Current()
    {
        static std::unique_ptr<Connection> cached;
        const std::string root = GetDataRoot();
        if (cached == nullptr || !cached->Follows(root)) {
            cached.reset();
            auto fresh = std::make_unique<Connection>(root, MapPhonePath(SETTINGS_DATABASE_PATH));
            if (fresh->db_ != nullptr) {
                cached = std::move(fresh);
            }
        }
        return cached.get();
    }

    // Whether the file this connection holds open is still the store under the data root `root`,
    // with the same sync setting. A file removed or replaced by another has no name left (no link)
    // while it is held open.
    bool Follows(const std::string& root) const
    {
        struct stat held {};
        return root == root_ && syncEnabled_ == StorageSyncEnabled() && fstat(fd_, &held) == 0 && held.st_nlink > 0;
    }

    // Opens the connection's table `table`, creating it on first use.
    bool UseTable(const std::string& table)
    {
        if (db_ == nullptr || !IsIdentifier(table)) {
            return false;
        }
        if (knownTables_.count(table) > 0) {
            return true;
        }
        std::string sql = "CREATE TABLE IF NOT EXISTS " + table + " (KEYWORD TEXT PRIMARY KEY NOT NULL, VALUE TEXT)";
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            return false;
        }
        knownTables_.insert(table);
        return true;
    }

    // The connection's prepared `statement` with its arguments bound, ready to step; nullptr on
    // failure. The statement stays owned by the connection: reset it after use.
    sqlite3_stmt* Prepare(const Statement& statement)
    {
        sqlite3_stmt*& stmt = statements_[statement.sql];
        if (stmt == nullptr && sqlite3_prepare_v3(db_, statement.sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &stmt,
                                   nullptr) != SQLITE_OK) {
            sqlite3_finalize(stmt);
            statements_.erase(statement.sql);
            return nullptr;
        }
        sqlite3_reset(stmt);
        sqlite3_clear_bindings(stmt);
        for (size_t i = 0; i < statement.arguments.size(); ++i) {
            sqlite3_bind_text(stmt, static_cast<int>(i + 1), statement.arguments[i].c_str(), -1, SQLITE_TRANSIENT);
        }
        return stmt;
    }

    // Runs a statement that returns no rows; false on failure.
    bool Execute(const Statement& statement)
    {
        sqlite3_stmt* stmt = Prepare(statement);
        if (stmt == nullptr) {
            return false;
        }
        bool done = sqlite3_step(stmt) == SQLITE_DONE;
        sqlite3_reset(stmt);
        return done;
    }

    // The rows of a read-only statement; nullopt on failure.
    std::optional<QueryRows> Query(const Statement& statement)
    {
        sqlite3_stmt* stmt = Prepare(statement);
        if (stmt == nullptr) {
            return std::nullopt;
        }
        QueryRows read;
        bool ok = false;
        read.rows = ReadRows(stmt, read.names, ok);
        sqlite3_reset(stmt);
        if (!ok) {
            return std::nullopt;
        }
        return read;
    }

    int Changes() const { return sqlite3_changes(db_); }
    int64_t LastRowId() const { return sqlite3_last_insert_rowid(db_); }

private:
    std::string root_;
    bool syncEnabled_;
    int fd_ = -1;
    sqlite3* db_ = nullptr;
    std::map<std::string, sqlite3_stmt*> statements_; // by SQL text
    std::set<std::string> knownTables_;               // created or found by this connection
};

// " WHERE a = ? AND b = ?" for the predicates (empty for none); false for a bad column name.
bool AppendWhere(const DataSharePredicates& predicates, Statement& statement)
{
    const char* separator = " WHERE ";
    for (const auto& condition : predicates.GetConditions()) {
        if (!IsIdentifier(condition.column)) {
            return false;
        }
        statement.sql += separator + condition.column + " = ?";
        statement.arguments.push_back(condition.value);
        separator = " AND ";
    }
    return true;
}

// Serialises the store's writers and readers within the process.
std::mutex& StoreMutex()
{
    static std::mutex mutex;
    return mutex;
}

// What a write did, read from its connection right after it ran.
struct WriteResult {
    int changes = 0;
    int64_t lastRowId = 0;
};

// Runs one write statement on `table` (created on first use) under the store lock.
std::optional<WriteResult> WriteToTable(const std::string& table, const Statement& statement)
{
    std::lock_guard<std::mutex> lock(StoreMutex());
    Connection* connection = Connection::Current();
    if (connection == nullptr || !connection->UseTable(table) || !connection->Execute(statement)) {
        return std::nullopt;
    }
    return WriteResult{connection->Changes(), connection->LastRowId()};
}

struct ObserverRegistry {
    std::mutex mutex;
    std::vector<std::pair<std::string, sptr<AAFwk::IDataAbilityObserver>>> observers;
};

ObserverRegistry& Observers()
{
    static ObserverRegistry registry;
    return registry;
}

bool ObserverHears(const std::string& observedUri, const std::string& table, const std::string& key)
{
    std::optional<SettingsUriParts> parts = ParseSettingsUri(observedUri);
    return parts.has_value() && parts->table == table && (parts->key.empty() || parts->key == key);
}

} // namespace

std::string UserSettingsTable(int32_t userId)
{
    return "USER_SETTINGSDATA_" + std::to_string(userId);
}

std::optional<SettingsUriParts> ParseSettingsUri(const std::string& uri)
{
    size_t queryStart = uri.find('?');
    std::string path = uri.substr(0, queryStart);
    SettingsUriParts parts;
    parts.table = path.substr(path.find_last_of('/') + 1);
    if (!IsIdentifier(parts.table)) {
        return std::nullopt;
    }
    if (queryStart == std::string::npos) {
        return parts;
    }
    std::string query = uri.substr(queryStart + 1);
    size_t start = 0;
    while (start <= query.size()) {
        size_t end = std::min(query.find('&', start), query.size());
        std::string parameter = query.substr(start, end - start);
        if (parameter.rfind("key=", 0) == 0) {
            parts.key = parameter.substr(4);
        }
        start = end + 1;
    }
    return parts;
}

std::shared_ptr<DataShareResultSet> QuerySettings(
    const std::string& table, const DataSharePredicates& predicates, const std::vector<std::string>& columns)
{
    Statement statement{"SELECT ", {}};
    if (columns.empty()) {
        statement.sql += "*";
    }
    for (size_t i = 0; i < columns.size(); ++i) {
        if (!IsIdentifier(columns[i])) {
            return nullptr;
        }
        statement.sql += (i == 0 ? "" : ", ") + columns[i];
    }
    statement.sql += " FROM " + table;
    if (!AppendWhere(predicates, statement)) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(StoreMutex());
    Connection* connection = Connection::Current();
    if (connection == nullptr || !connection->UseTable(table)) {
        return nullptr;
    }
    std::optional<QueryRows> read = connection->Query(statement);
    return read ? std::make_shared<DataShareResultSet>(std::move(read->names), std::move(read->rows)) : nullptr;
}

int UpdateSettings(const std::string& table, const DataSharePredicates& predicates, const DataShareValuesBucket& values)
{
    if (values.IsEmpty()) {
        return E_ERROR;
    }
    Statement statement{"UPDATE " + table + " SET ", {}};
    const char* separator = "";
    for (const auto& [column, value] : values.GetValues()) {
        if (!IsIdentifier(column)) {
            return E_ERROR;
        }
        statement.sql += separator + column + " = ?";
        statement.arguments.push_back(value);
        separator = ", ";
    }
    if (!AppendWhere(predicates, statement)) {
        return E_ERROR;
    }
    std::optional<WriteResult> written = WriteToTable(table, statement);
    return written ? written->changes : E_ERROR;
}

int InsertSettings(const std::string& table, const DataShareValuesBucket& values)
{
    if (values.IsEmpty()) {
        return E_ERROR;
    }
    Statement statement{"INSERT INTO " + table + " (", {}};
    std::string placeholders;
    for (const auto& [column, value] : values.GetValues()) {
        if (!IsIdentifier(column)) {
            return E_ERROR;
        }
        const char* separator = statement.arguments.empty() ? "" : ", ";
        statement.sql += separator + column;
        placeholders += separator + std::string("?");
        statement.arguments.push_back(value);
    }
    statement.sql += ") VALUES (" + placeholders + ")";
    std::optional<WriteResult> written = WriteToTable(table, statement);
    return written ? static_cast<int>(written->lastRowId) : E_ERROR;
}

bool PutSetting(const std::string& table, const std::string& key, const std::string& value)
{
    if (!WriteToTable(table, {"INSERT OR REPLACE INTO " + table + " (KEYWORD, VALUE) VALUES (?, ?)", {key, value}})) {
        return false;
    }
    NotifySettingsChange(table, key);
    return true;
}

bool DeleteSetting(const std::string& table, const std::string& key)
{
    if (!WriteToTable(table, {"DELETE FROM " + table + " WHERE KEYWORD = ?", {key}})) {
        return false;
    }
    NotifySettingsChange(table, key);
    return true;
}

std::optional<std::string> GetSetting(const std::string& table, const std::string& key)
{
    DataSharePredicates predicates;
    predicates.EqualTo("KEYWORD", key);
    std::shared_ptr<DataShareResultSet> result = QuerySettings(table, predicates, {"VALUE"});
    std::string value;
    if (result == nullptr || result->GoToFirstRow() != DataShare::E_OK ||
        result->GetString(0, value) != DataShare::E_OK) {
        return std::nullopt;
    }
    return value;
}

void AddSettingsObserver(const std::string& uri, const sptr<AAFwk::IDataAbilityObserver>& observer)
{
    ObserverRegistry& registry = Observers();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.observers.emplace_back(uri, observer);
}

bool RemoveSettingsObserver(const std::string& uri, const sptr<AAFwk::IDataAbilityObserver>& observer)
{
    ObserverRegistry& registry = Observers();
    std::lock_guard<std::mutex> lock(registry.mutex);
    auto& observers = registry.observers;
    auto it = std::find(observers.begin(), observers.end(), std::make_pair(uri, observer));
    if (it == observers.end()) {
        return false;
    }
    observers.erase(it);
    return true;
}

void ClearSettingsObservers()
{
    ObserverRegistry& registry = Observers();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.observers.clear();
}

void NotifySettingsChange(const std::string& table, const std::string& key)
{
    std::vector<sptr<AAFwk::IDataAbilityObserver>> listeners;
    {
        ObserverRegistry& registry = Observers();
        std::lock_guard<std::mutex> lock(registry.mutex);
        for (const auto& [uri, observer] : registry.observers) {
            if (ObserverHears(uri, table, key)) {
                listeners.push_back(observer);
            }
        }
    }
    for (const auto& listener : listeners) {
        listener->OnChange();
    }
}

} // namespace OHOS::Emulator
