#include "rdb_store.h"

#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <condition_variable>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "data_root.h"
#include "rdb_faults.h"
#include "statement_cache.h"
#include "storage_sync.h"

namespace OHOS::NativeRdb {
namespace {

constexpr const char* MEMORY_PATH = ":memory:";
constexpr const char* BATCH_SAVEPOINT = "batch_insert";
constexpr int BUSY_TIMEOUT_MS = 5000;
constexpr int MIN_PAGE_SIZE = 512;
constexpr int MAX_PAGE_SIZE = 65536;
constexpr mode_t OWNER_ONLY = 0600;

int ToRdbError(int sqliteCode)
{
    switch (sqliteCode & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return E_OK;
    case SQLITE_FULL:
        return E_SQLITE_FULL;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return E_SQLITE_BUSY;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return E_SQLITE_CORRUPT;
    case SQLITE_IOERR:
        return E_SQLITE_IOERR;
    case SQLITE_CONSTRAINT:
        return E_SQLITE_CONSTRAINT;
    case SQLITE_CANTOPEN:
        return E_CANNOT_OPEN;
    case SQLITE_READONLY:
        return E_SQLITE_READONLY;
    case SQLITE_ERROR:
        return E_SQLITE_ERROR;
    default:
        return E_ERROR;
    }
}

std::string QuoteIdentifier(const std::string& name)
{
    std::string quoted = "\"";
    for (char c : name) {
        quoted += c;
        if (c == '"') {
            quoted += '"';
        }
    }
    return quoted + "\"";
}

bool IsBlank(const char* text)
{
    for (; *text != '\0'; ++text) {
        if (!std::isspace(static_cast<unsigned char>(*text))) {
            return false;
        }
    }
    return true;
}

// Whether `tail` (what follows the first statement) holds another statement, not only comments.
bool HoldsStatement(sqlite3* db, const char* tail)
{
    if (IsBlank(tail)) {
        return false;
    }
    sqlite3_stmt* extra = nullptr;
    int rc = sqlite3_prepare_v2(db, tail, -1, &extra, nullptr);
    sqlite3_finalize(extra);
    return rc != SQLITE_OK || extra != nullptr;
}

// Makes the lease's statement ready to bind: the kept one, or one prepared now (kept afterwards).
int Prepare(sqlite3* db, StatementLease& lease)
{
    if (lease.Held() != nullptr) {
        return E_OK;
    }
    sqlite3_stmt* raw = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v3(db, lease.Sql().c_str(), -1, SQLITE_PREPARE_PERSISTENT, &raw, &tail);
    Statement statement(raw, sqlite3_finalize);
    if (rc != SQLITE_OK) {
        return ToRdbError(rc);
    }
    if (raw == nullptr) {
        return E_INVALID_ARGS;
    }
    if (HoldsStatement(db, tail)) {
        return E_MULTIPLE_STATEMENTS;
    }
    lease.Held() = std::move(statement);
    return E_OK;
}

int BindValue(sqlite3_stmt* statement, int index, const ValueObject& value)
{
    const ValueObject::Type& held = value.Value();
    if (std::holds_alternative<int64_t>(held)) {
        return ToRdbError(sqlite3_bind_int64(statement, index, std::get<int64_t>(held)));
    }
    if (std::holds_alternative<double>(held)) {
        return ToRdbError(sqlite3_bind_double(statement, index, std::get<double>(held)));
    }
    if (std::holds_alternative<std::string>(held)) {
        const std::string& text = std::get<std::string>(held);
        return ToRdbError(
            sqlite3_bind_text(statement, index, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
    }
    return ToRdbError(sqlite3_bind_null(statement, index));
}

// Binds every argument; their number must match the statement's placeholders.
int BindAll(sqlite3_stmt* statement, const std::vector<ValueObject>& args)
{
    if (static_cast<int>(args.size()) != sqlite3_bind_parameter_count(statement)) {
        return E_INVALID_ARGS;
    }
    for (size_t i = 0; i < args.size(); ++i) {
        int error = BindValue(statement, static_cast<int>(i) + 1, args[i]);
        if (error != E_OK) {
            return error;
        }
    }
    return E_OK;
}

std::vector<ValueObject> AsTextArgs(const std::vector<std::string>& args)
{
    return std::vector<ValueObject>(args.begin(), args.end());
}

// One step of a caller's statement, subject to the injected faults.
int Step(sqlite3_stmt* statement, bool& hasRow)
{
    hasRow = false;
    int injected = Emulator::RdbFaults::OnOperation(sqlite3_stmt_readonly(statement) == 0);
    if (injected != E_OK) {
        return injected;
    }
    int rc = sqlite3_step(statement);
    hasRow = rc == SQLITE_ROW;
    return ToRdbError(rc);
}

int RunToEnd(sqlite3_stmt* statement)
{
    bool hasRow = true;
    while (hasRow) {
        int error = Step(statement, hasRow);
        if (error != E_OK) {
            return error;
        }
    }
    return E_OK;
}

int Run(sqlite3* db, StatementCache& cache, const std::string& sql, const std::vector<ValueObject>& args = {})
{
    StatementLease lease(cache, sql);
    int error = Prepare(db, lease);
    if (error == E_OK) {
        error = BindAll(lease.Held().get(), args);
    }
    return error == E_OK ? RunToEnd(lease.Held().get()) : error;
}

// Store housekeeping (settings, version, undoing a failed write): not a caller's operation, so
// never counted nor failed on purpose. `firstValue` receives column 0 of the first row, if any.
int RunInternal(sqlite3* db, const std::string& sql, std::string* firstValue = nullptr)
{
    sqlite3_stmt* raw = nullptr;
    int rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &raw, nullptr);
    Statement statement(raw, sqlite3_finalize);
    while (rc == SQLITE_OK && raw != nullptr && (rc = sqlite3_step(raw)) == SQLITE_ROW) {
        if (firstValue != nullptr) {
            const unsigned char* text = sqlite3_column_text(raw, 0);
            *firstValue = text != nullptr ? reinterpret_cast<const char*>(text) : "";
            firstValue = nullptr;
        }
    }
    return ToRdbError(rc);
}

ValueObject ReadCell(sqlite3_stmt* statement, int column)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        return ValueObject(static_cast<int64_t>(sqlite3_column_int64(statement, column)));
    case SQLITE_FLOAT:
        return ValueObject(sqlite3_column_double(statement, column));
    case SQLITE_NULL:
        return ValueObject();
    default: {
        const void* bytes = sqlite3_column_blob(statement, column);
        int size = sqlite3_column_bytes(statement, column);
        return ValueObject(bytes != nullptr ? std::string(static_cast<const char*>(bytes), size) : "");
    }
    }
}

// Reads every row; a failure after the first step keeps the rows read and reports the error at
// the end of them. The columns are read after the first step: a kept statement is prepared again
// there when the schema has changed since, and "*" may then name more columns.
std::shared_ptr<AbsSharedResultSet> ReadAll(sqlite3_stmt* statement)
{
    bool hasRow = false;
    int error = Step(statement, hasRow);
    if (error != E_OK) {
        return nullptr;
    }
    int columns = sqlite3_column_count(statement);
    std::vector<std::string> names;
    for (int i = 0; i < columns; ++i) {
        names.emplace_back(sqlite3_column_name(statement, i));
    }
    std::vector<AbsSharedResultSet::Row> rows;
    while (hasRow && error == E_OK) {
        AbsSharedResultSet::Row row;
        row.reserve(static_cast<size_t>(columns));
        for (int i = 0; i < columns; ++i) {
            row.push_back(ReadCell(statement, i));
        }
        rows.push_back(std::move(row));
        error = Step(statement, hasRow);
    }
    return std::make_shared<AbsSharedResultSet>(std::move(names), std::move(rows), error);
}

std::string InsertSql(const std::string& table, const ValuesBucket& values)
{
    std::string columns;
    std::string placeholders;
    for (const auto& [column, value] : values.Values()) {
        columns += (columns.empty() ? "" : ",") + QuoteIdentifier(column);
        placeholders += placeholders.empty() ? "?" : ",?";
    }
    return "INSERT INTO " + QuoteIdentifier(table) + " (" + columns + ") VALUES (" + placeholders + ")";
}

std::vector<ValueObject> BucketArgs(const ValuesBucket& values)
{
    std::vector<ValueObject> args;
    for (const auto& [column, value] : values.Values()) {
        args.push_back(value);
    }
    return args;
}

bool SameColumns(const ValuesBucket& a, const ValuesBucket& b)
{
    return std::equal(a.Values().begin(), a.Values().end(), b.Values().begin(), b.Values().end(),
        [](const auto& x, const auto& y) { return x.first == y.first; });
}

// Inserts the rows in order, taking another statement only when the column set changes.
int InsertRows(sqlite3* db, StatementCache& cache, const std::string& table, const std::vector<ValuesBucket>& rows)
{
    std::optional<StatementLease> lease;
    const ValuesBucket* previous = nullptr;
    for (const ValuesBucket& row : rows) {
        if (previous != nullptr && SameColumns(*previous, row)) {
            sqlite3_reset(lease->Held().get());
        } else {
            lease.reset();
            lease.emplace(cache, InsertSql(table, row));
        }
        previous = &row;
        int error = Prepare(db, *lease);
        if (error == E_OK) {
            error = BindAll(lease->Held().get(), BucketArgs(row));
        }
        if (error == E_OK) {
            error = RunToEnd(lease->Held().get());
        }
        if (error != E_OK) {
            return error;
        }
    }
    return E_OK;
}

bool IsValidPageSize(int pageSize)
{
    return pageSize >= MIN_PAGE_SIZE && pageSize <= MAX_PAGE_SIZE && (pageSize & (pageSize - 1)) == 0;
}

bool EqualsIgnoringCase(const std::string& a, const std::string& b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

int CheckConfig(const RdbStoreConfig& config, int version)
{
    if (version < 1 || !IsValidPageSize(config.GetPageSize()) || config.GetJournalSize() < 0 ||
        config.GetReadConSize() < 0) {
        return E_INVALID_ARGS;
    }
    return config.GetEncryptKey().empty() ? E_OK : E_NOT_SUPPORTED;
}

// Makes sure the file exists, created readable and writable by its owner only.
int PrepareFile(const std::string& path, const RdbStoreConfig& config)
{
    struct stat info {};
    if (stat(path.c_str(), &info) == 0) {
        return E_OK;
    }
    if (!config.IsCreateNecessary() || config.IsReadOnly()) {
        return E_INVALID_FILE_PATH;
    }
    int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, OWNER_ONLY);
    if (fd < 0) {
        return E_CANNOT_OPEN;
    }
    close(fd);
    return E_OK;
}

// Without SQLite's own lock around every call: a connection is only ever used by one thread at a
// time (the writer under writeMutex, a reader by the query that leased it).
int OpenConnection(const std::string& path, int flags, sqlite3*& db)
{
    db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_close_v2(db);
        db = nullptr;
        return ToRdbError(rc);
    }
    sqlite3_busy_timeout(db, BUSY_TIMEOUT_MS);
    return E_OK;
}

} // namespace

struct RdbStore::Impl {
    std::string path;
    bool readOnly = false;
    std::recursive_mutex writeMutex;
    sqlite3* writer = nullptr;
    // The thread holding an explicit transaction (and writeMutex) between Begin and Commit/RollBack.
    std::atomic<std::thread::id> transactionOwner{};
    std::mutex readersMutex;
    std::condition_variable readerFree;
    std::vector<sqlite3*> idleReaders;
    std::vector<sqlite3*> readers;
    // One per connection, made when it opens and then used only by whoever holds the connection.
    std::map<sqlite3*, StatementCache> statements;

    ~Impl()
    {
        statements.clear();
        for (sqlite3* reader : readers) {
            sqlite3_close_v2(reader);
        }
        sqlite3_close_v2(writer);
    }

    int Connect(const RdbStoreConfig& config);
    int ApplyWriterSettings(const RdbStoreConfig& config);
    int OpenReaders(const RdbStoreConfig& config);
    StatementCache& StatementsOf(sqlite3* db) { return statements.at(db); }
    bool InOwnTransaction() const { return transactionOwner.load() == std::this_thread::get_id(); }
    // Clears the owner and releases the hold on writeMutex that BeginTransaction took.
    void EndTransaction()
    {
        transactionOwner = std::thread::id();
        writeMutex.unlock();
    }
};

int RdbStore::Impl::Connect(const RdbStoreConfig& config)
{
    bool inMemory = config.GetStorageMode() == StorageMode::MODE_MEMORY;
    path = inMemory ? MEMORY_PATH : Emulator::MapPhonePath(config.GetPath());
    readOnly = config.IsReadOnly() && !inMemory;
    if (path.empty()) {
        return E_INVALID_FILE_PATH;
    }
    int error = inMemory ? E_OK : PrepareFile(path, config);
    if (error == E_OK) {
        error = OpenConnection(path, readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE, writer);
    }
    if (error == E_OK) {
        statements.try_emplace(writer);
    }
    if (error == E_OK && !readOnly) {
        error = ApplyWriterSettings(config);
    }
    std::string checkResult;
    if (error == E_OK && config.IsAutoCheck()) {
        error = RunInternal(writer, "PRAGMA quick_check", &checkResult);
        error = error == E_OK && checkResult != "ok" ? E_SQLITE_CORRUPT : error;
    }
    bool walMode = EqualsIgnoringCase(config.GetJournalMode(), RdbStoreConfig::DEFAULT_JOURNAL_MODE);
    if (error == E_OK && !inMemory && walMode) {
        error = OpenReaders(config);
    }
    return error;
}

int RdbStore::Impl::ApplyWriterSettings(const RdbStoreConfig& config)
{
    int error = RunInternal(writer, "PRAGMA page_size = " + std::to_string(config.GetPageSize()));
    std::string journalMode;
    if (error == E_OK && config.GetStorageMode() == StorageMode::MODE_DISK) {
        error = RunInternal(writer, "PRAGMA journal_mode = " + config.GetJournalMode(), &journalMode);
        error = error == E_OK && !EqualsIgnoringCase(journalMode, config.GetJournalMode()) ? E_NOT_SUPPORTED : error;
    }
    if (error == E_OK) {
        error = RunInternal(writer, "PRAGMA journal_size_limit = " + std::to_string(config.GetJournalSize()));
    }
    const std::string syncMode = Emulator::StorageSyncEnabled() ? config.GetSyncMode() : "OFF";
    if (error == E_OK && !syncMode.empty()) {
        error = RunInternal(writer, "PRAGMA synchronous = " + syncMode);
    }
    return error;
}

// Read connections carry the same per-connection settings as the writer.
int RdbStore::Impl::OpenReaders(const RdbStoreConfig& config)
{
    for (int i = 0; i < config.GetReadConSize(); ++i) {
        sqlite3* reader = nullptr;
        int error = OpenConnection(path, SQLITE_OPEN_READONLY, reader);
        if (error == E_OK) {
            readers.push_back(reader);
            statements.try_emplace(reader);
            error = RunInternal(reader, "PRAGMA journal_size_limit = " + std::to_string(config.GetJournalSize()));
        }
        if (error != E_OK) {
            return error;
        }
        idleReaders.push_back(reader);
    }
    return E_OK;
}

namespace {

// A read connection borrowed from the pool for one query.
class ReaderLease {
public:
    ReaderLease(std::mutex& mutex, std::condition_variable& freed, std::vector<sqlite3*>& idle)
        : mutex_(mutex), freed_(freed), idle_(idle)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        freed_.wait(lock, [this] { return !idle_.empty(); });
        db_ = idle_.back();
        idle_.pop_back();
    }
    ~ReaderLease()
    {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            idle_.push_back(db_);
        }
        freed_.notify_one();
    }
    ReaderLease(const ReaderLease&) = delete;
    ReaderLease& operator=(const ReaderLease&) = delete;
    sqlite3* Db() const { return db_; }

private:
    std::mutex& mutex_;
    std::condition_variable& freed_;
    std::vector<sqlite3*>& idle_;
    sqlite3* db_ = nullptr;
};

std::shared_ptr<AbsSharedResultSet> Query(
    sqlite3* db, StatementCache& cache, const std::string& sql, const std::vector<ValueObject>& args)
{
    StatementLease lease(cache, sql);
    if (Prepare(db, lease) != E_OK || BindAll(lease.Held().get(), args) != E_OK) {
        return nullptr;
    }
    return ReadAll(lease.Held().get());
}

} // namespace

RdbStore::RdbStore(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

RdbStore::~RdbStore() = default;

std::shared_ptr<RdbStore> RdbStore::Open(
    const RdbStoreConfig& config, int version, RdbOpenCallback& callback, int& errCode)
{
    errCode = CheckConfig(config, version);
    if (errCode != E_OK) {
        return nullptr;
    }
    auto impl = std::make_unique<Impl>();
    errCode = impl->Connect(config);
    if (errCode != E_OK) {
        return nullptr;
    }
    std::shared_ptr<RdbStore> store(new RdbStore(std::move(impl)));
    errCode = store->BringToVersion(version, callback);
    return errCode == E_OK ? store : nullptr;
}

int RdbStore::BringToVersion(int version, RdbOpenCallback& callback)
{
    int current = 0;
    int error = GetVersion(current);
    if (error != E_OK || current == version || impl_->readOnly) {
        return error;
    }
    if (current == 0) {
        error = callback.OnCreate(*this);
    } else if (current < version) {
        error = callback.OnUpgrade(*this, current, version);
    } else {
        error = callback.OnDowngrade(*this, current, version);
    }
    return error == E_OK ? SetVersion(version) : error;
}

int RdbStore::ExecuteSql(const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    return Run(impl_->writer, impl_->StatementsOf(impl_->writer), sql, bindArgs);
}

std::shared_ptr<AbsSharedResultSet> RdbStore::QuerySql(
    const std::string& sql, const std::vector<std::string>& selectionArgs)
{
    if (impl_->readers.empty() || impl_->InOwnTransaction()) {
        std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
        return Query(impl_->writer, impl_->StatementsOf(impl_->writer), sql, AsTextArgs(selectionArgs));
    }
    ReaderLease lease(impl_->readersMutex, impl_->readerFree, impl_->idleReaders);
    return Query(lease.Db(), impl_->StatementsOf(lease.Db()), sql, AsTextArgs(selectionArgs));
}

int RdbStore::Insert(int64_t& outRowId, const std::string& table, const ValuesBucket& values)
{
    outRowId = -1;
    if (table.empty() || values.IsEmpty()) {
        return E_INVALID_ARGS;
    }
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    int error = InsertRows(impl_->writer, impl_->StatementsOf(impl_->writer), table, {values});
    if (error == E_OK) {
        outRowId = sqlite3_last_insert_rowid(impl_->writer);
    }
    return error;
}

int RdbStore::BatchInsert(int64_t& outInsertNum, const std::string& table, const std::vector<ValuesBucket>& values)
{
    outInsertNum = 0;
    if (table.empty()) {
        return E_INVALID_ARGS;
    }
    for (const ValuesBucket& row : values) {
        if (row.IsEmpty()) {
            return E_INVALID_ARGS;
        }
    }
    if (values.empty()) {
        return E_OK;
    }
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    sqlite3* db = impl_->writer;
    const std::string savepoint = QuoteIdentifier(BATCH_SAVEPOINT);
    int error = Run(db, impl_->StatementsOf(db), "SAVEPOINT " + savepoint);
    if (error != E_OK) {
        return error;
    }
    error = InsertRows(db, impl_->StatementsOf(db), table, values);
    if (error == E_OK) {
        error = Run(db, impl_->StatementsOf(db), "RELEASE " + savepoint);
    }
    if (error != E_OK) {
        RunInternal(db, "ROLLBACK TO " + savepoint);
        RunInternal(db, "RELEASE " + savepoint);
        return error;
    }
    outInsertNum = static_cast<int64_t>(values.size());
    Emulator::RdbFaults::OnBatchInserted(table, outInsertNum);
    return E_OK;
}

int RdbStore::Delete(int& deletedRows, const std::string& table, const std::string& whereClause,
    const std::vector<std::string>& whereArgs)
{
    if (table.empty()) {
        return E_INVALID_ARGS;
    }
    std::string sql = "DELETE FROM " + QuoteIdentifier(table) + (whereClause.empty() ? "" : " WHERE " + whereClause);
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    int error = Run(impl_->writer, impl_->StatementsOf(impl_->writer), sql, AsTextArgs(whereArgs));
    if (error == E_OK) {
        deletedRows = sqlite3_changes(impl_->writer);
    }
    return error;
}

int RdbStore::BeginTransaction()
{
    impl_->writeMutex.lock();
    if (impl_->InOwnTransaction()) {
        impl_->writeMutex.unlock();
        return E_TRANSACTION_IN_EXECUTE;
    }
    int error = Run(impl_->writer, impl_->StatementsOf(impl_->writer), "BEGIN IMMEDIATE");
    if (error != E_OK) {
        impl_->writeMutex.unlock();
        return error;
    }
    impl_->transactionOwner = std::this_thread::get_id();
    return E_OK; // writeMutex stays held until Commit or RollBack
}

int RdbStore::Commit()
{
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    if (!impl_->InOwnTransaction()) {
        return E_NO_TRANSACTION;
    }
    int error = Run(impl_->writer, impl_->StatementsOf(impl_->writer), "COMMIT");
    if (error != E_OK) {
        RunInternal(impl_->writer, "ROLLBACK");
    }
    impl_->EndTransaction();
    return error;
}

int RdbStore::RollBack()
{
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    if (!impl_->InOwnTransaction()) {
        return E_NO_TRANSACTION;
    }
    int error = RunInternal(impl_->writer, "ROLLBACK");
    impl_->EndTransaction();
    return error;
}

int RdbStore::GetVersion(int& version)
{
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    std::string text;
    int error = RunInternal(impl_->writer, "PRAGMA user_version", &text);
    if (error == E_OK) {
        version = std::atoi(text.c_str());
    }
    return error;
}

int RdbStore::SetVersion(int version)
{
    std::lock_guard<std::recursive_mutex> lock(impl_->writeMutex);
    return RunInternal(impl_->writer, "PRAGMA user_version = " + std::to_string(version));
}

const std::string& RdbStore::GetPath() const
{
    return impl_->path;
}

} // namespace OHOS::NativeRdb
