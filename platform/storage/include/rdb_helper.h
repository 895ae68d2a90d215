#ifndef PLATFORM_INCLUDE_RDB_HELPER_H
#define PLATFORM_INCLUDE_RDB_HELPER_H

#include <memory>

#include "rdb_open_callback.h"
#include "rdb_store.h"
#include "rdb_store_config.h"

namespace OHOS::NativeRdb {

// Opens stores and keeps the open ones in a process-wide cache keyed by file path. Thread-safe.
class RdbHelper {
public:
    // Returns the open store for the configured file, opening it when needed: a new file gets
    // OnCreate, a file with an older stored version OnUpgrade (newer: OnDowngrade), then the
    // stored version becomes `version` (>= 1). A store already in the cache is returned as it is.
    // On failure returns nullptr and sets errCode (E_OK on success).
    static std::shared_ptr<RdbStore> GetRdbStore(
        const RdbStoreConfig& config, int version, RdbOpenCallback& openCallback, int& errCode);
    // Drops every cached store; each closes when its last other owner lets it go.
    static void ClearCache();
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_RDB_HELPER_H
