#ifndef PLATFORM_INCLUDE_PREFERENCES_HELPER_H
#define PLATFORM_INCLUDE_PREFERENCES_HELPER_H

#include <memory>
#include <string>

#include "preferences.h"

namespace OHOS::NativePreferences {

// Opens preferences files, keeping one object per file in a process-wide cache, so that every
// caller of a path shares the same values. Thread-safe.
class PreferencesHelper {
public:
    // The preferences of `options.filePath` (a phone path, mapped under the data root): from the
    // cache, or read from the file (a missing file starts empty). nullptr with `errCode` set when the
    // path is not absolute, the file cannot be read or is corrupt (it is then left untouched), or
    // the service refuses.
    static std::shared_ptr<Preferences> GetPreferences(const Options& options, int& errCode);
    // Forgets the cached object of `path`, so that the next GetPreferences reads the file again.
    // Holders of the old object keep it. E_OK also when nothing was cached.
    static int RemovePreferencesFromCache(const std::string& path);
};

} // namespace OHOS::NativePreferences

namespace OHOS::Emulator {

// Forgets every cached preferences object (a service restart).
void ClearPreferencesCache();

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_PREFERENCES_HELPER_H
