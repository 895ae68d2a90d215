#include "storage_sync.h"

#include <atomic>

namespace OHOS::Emulator {
namespace {
std::atomic<bool> g_syncEnabled{true};
} // namespace

void SetStorageSyncEnabled(bool enabled)
{
    g_syncEnabled.store(enabled);
}

bool StorageSyncEnabled()
{
    return g_syncEnabled.load();
}

} // namespace OHOS::Emulator
