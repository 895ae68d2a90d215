#include "preferences_helper.h"

#include <map>
#include <mutex>

#include "data_root.h"

namespace OHOS::NativePreferences {
namespace {

// The process-wide cache: one object per mapped file path.
struct PreferencesCache {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<Preferences>> entries;
};

PreferencesCache& Cache()
{
    static PreferencesCache cache;
    return cache;
}

bool IsAbsolute(const std::string& path)
{
    return !path.empty() && path[0] == '/';
}

} // namespace

std::shared_ptr<Preferences> PreferencesHelper::GetPreferences(const Options& options, int& errCode)
{
    if (!IsAbsolute(options.filePath)) {
        errCode = E_INVALID_ARGS;
        return nullptr;
    }
    if (Emulator::PreferencesOpenFails()) {
        errCode = E_OPEN_FAILED;
        return nullptr;
    }
    std::string realPath = Emulator::MapPhonePath(options.filePath);
    PreferencesCache& cache = Cache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    auto it = cache.entries.find(realPath);
    if (it != cache.entries.end()) {
        errCode = E_OK;
        return it->second;
    }
    PreferencesMap values;
    errCode = ReadPreferencesFile(realPath, values);
    if (errCode != E_OK) {
        return nullptr;
    }
    auto preferences = std::make_shared<Preferences>(realPath, std::move(values));
    cache.entries.emplace(realPath, preferences);
    return preferences;
}

int PreferencesHelper::RemovePreferencesFromCache(const std::string& path)
{
    if (!IsAbsolute(path)) {
        return E_INVALID_ARGS;
    }
    std::string realPath = Emulator::MapPhonePath(path);
    PreferencesCache& cache = Cache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    cache.entries.erase(realPath);
    return E_OK;
}

} // namespace OHOS::NativePreferences

namespace OHOS::Emulator {

void ClearPreferencesCache()
{
    auto& cache = NativePreferences::Cache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    cache.entries.clear();
}

} // namespace OHOS::Emulator
