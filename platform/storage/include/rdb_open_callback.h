#ifndef PLATFORM_INCLUDE_RDB_OPEN_CALLBACK_H
#define PLATFORM_INCLUDE_RDB_OPEN_CALLBACK_H

#include "rdb_errno.h"

namespace OHOS::NativeRdb {

class RdbStore;

// What RdbHelper::GetRdbStore calls while opening a store, on the opening thread, before the
// store is handed out. A non-E_OK return fails the open with that code and leaves the stored
// version as it was, so the next open calls the same hook again.
class RdbOpenCallback {
public:
    virtual ~RdbOpenCallback() = default;
    // A new database (stored version 0): create the schema.
    virtual int OnCreate(RdbStore& store) = 0;
    // The stored version is older than the one asked for.
    virtual int OnUpgrade(RdbStore& store, int currentVersion, int targetVersion) = 0;
    // The stored version is newer than the one asked for; accepted as it is by default.
    virtual int OnDowngrade(RdbStore& /* store */, int /* currentVersion */, int /* targetVersion */) { return E_OK; }
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_RDB_OPEN_CALLBACK_H
