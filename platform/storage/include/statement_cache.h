#ifndef PLATFORM_INCLUDE_STATEMENT_CACHE_H
#define PLATFORM_INCLUDE_STATEMENT_CACHE_H

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sqlite3.h>

namespace OHOS::NativeRdb {

using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

// The prepared statements of one SQLite connection, kept by their SQL text so that a statement run
// again is not parsed and planned again. Holds the `capacity` most recently used statements; the
// least recently used one is finalized to make room. Not thread-safe: it belongs to whoever holds
// its connection. SQLite prepares a kept statement again by itself when the schema changes.
class StatementCache {
public:
    static constexpr size_t DEFAULT_CAPACITY = 32;

    explicit StatementCache(size_t capacity = DEFAULT_CAPACITY) : capacity_(capacity) {}
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    // Takes the kept statement for `sql` out of the cache; null when none is kept.
    Statement Take(const std::string& sql);
    // Keeps a statement prepared for `sql`, reset and without bindings, as the most recent one.
    void Give(const std::string& sql, Statement statement);
    size_t Size() const { return kept_.size(); }
    // Finalizes every kept statement (before the connection closes).
    void Clear() { kept_.clear(); }

private:
    size_t capacity_;
    std::vector<std::pair<std::string, Statement>> kept_; // least recently used first
};

// The statement for one SQL text while it is used: taken from the cache when one is kept, else
// prepared by the holder into Held(); given back to the cache when the lease ends.
class StatementLease {
public:
    StatementLease(StatementCache& cache, std::string sql);
    ~StatementLease();
    StatementLease(const StatementLease&) = delete;
    StatementLease& operator=(const StatementLease&) = delete;

    const std::string& Sql() const { return sql_; }
    Statement& Held() { return statement_; }

private:
    StatementCache& cache_;
    std::string sql_;
    Statement statement_;
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_STATEMENT_CACHE_H
