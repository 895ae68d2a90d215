#include "statement_cache.h"

#include <algorithm>

namespace OHOS::NativeRdb {

Statement StatementCache::Take(const std::string& sql)
{
    auto kept = std::find_if(kept_.begin(), kept_.end(), [&sql](const auto& entry) { return entry.first == sql; });
    if (kept == kept_.end()) {
        return Statement(nullptr, sqlite3_finalize);
    }
    Statement statement = std::move(kept->second);
    kept_.erase(kept);
    return statement;
}

void StatementCache::Give(const std::string& sql, Statement statement)
{
    if (statement == nullptr || capacity_ == 0) {
        return;
    }
    sqlite3_reset(statement.get());
    sqlite3_clear_bindings(statement.get());
    if (kept_.size() >= capacity_) {
        kept_.erase(kept_.begin());
    }
    kept_.emplace_back(sql, std::move(statement));
}

StatementLease::StatementLease(StatementCache& cache, std::string sql)
    : cache_(cache), sql_(std::move(sql)), statement_(cache_.Take(sql_))
{
}

StatementLease::~StatementLease()
{
    cache_.Give(sql_, std::move(statement_));
}

} // namespace OHOS::NativeRdb
