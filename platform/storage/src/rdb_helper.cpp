#include "rdb_helper.h"

#include <map>
#include <mutex>
#include <string>

#include "data_root.h"
#include "rdb_faults.h"

namespace OHOS::NativeRdb {
namespace {

struct StoreCache {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<RdbStore>> stores;
};

StoreCache& Cache()
{
    static StoreCache cache;
    return cache;
}

} // namespace

std::shared_ptr<RdbStore> RdbHelper::GetRdbStore(
    const RdbStoreConfig& config, int version, RdbOpenCallback& openCallback, int& errCode)
{
    if (Emulator::RdbFaults::OpenFails()) {
        errCode = E_CANNOT_OPEN;
        return nullptr;
    }
    if (config.GetStorageMode() == StorageMode::MODE_MEMORY) {
        return RdbStore::Open(config, version, openCallback, errCode);
    }
    StoreCache& cache = Cache();
    // Held while opening, so two threads asking for the same file do not both create it.
    std::lock_guard<std::mutex> lock(cache.mutex);
    std::string path = Emulator::MapPhonePath(config.GetPath());
    auto cached = cache.stores.find(path);
    if (cached != cache.stores.end()) {
        errCode = E_OK;
        return cached->second;
    }
    std::shared_ptr<RdbStore> store = RdbStore::Open(config, version, openCallback, errCode);
    if (store != nullptr) {
        cache.stores[path] = store;
    }
    return store;
}

void RdbHelper::ClearCache()
{
    std::map<std::string, std::shared_ptr<RdbStore>> released;
    {
        std::lock_guard<std::mutex> lock(Cache().mutex);
        released.swap(Cache().stores);
    }
}

} // namespace OHOS::NativeRdb
