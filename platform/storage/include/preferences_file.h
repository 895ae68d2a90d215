#ifndef PLATFORM_INCLUDE_PREFERENCES_FILE_H
#define PLATFORM_INCLUDE_PREFERENCES_FILE_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <variant>

// The on-disk form of a preferences file: XML, one element per key named after the value's type,
//   <preferences version="1"><long key="k" value="42"/><string key="s" value="text"/></preferences>
// Writes are atomic and durable: a temporary file beside the target is written, synced, renamed
// over the target, and the folder is synced, so a crash leaves either the old or the new file
// (the syncs are skipped while Emulator::SetStorageSyncEnabled(false) is in effect).
namespace OHOS::NativePreferences {

using PreferencesValue = std::variant<int32_t, int64_t, float, bool, std::string>;
using PreferencesMap = std::map<std::string, PreferencesValue>;

// Result codes of the preferences service.
constexpr int E_OK = 0;
constexpr int E_INVALID_ARGS = 15500000;    // empty or relative path, empty key
constexpr int E_FILE_UNREADABLE = 15500001; // the file exists but cannot be read
constexpr int E_FILE_CORRUPT = 15500002;    // the file is not a well-formed preferences file
constexpr int E_WRITE_FAILED = 15500003;    // the file could not be written durably
constexpr int E_OPEN_FAILED = 15500004;     // the service refused (emulator fault)

// Loads `path` (a real path, already mapped) into `values`. A missing file gives an empty map and
// E_OK; on failure `values` is untouched.
int ReadPreferencesFile(const std::string& path, PreferencesMap& values);
// Replaces `path` by a file holding `values`, creating its folder if needed. E_OK only when the new
// file is on disk; on failure the previous file is left as it was.
int WritePreferencesFile(const std::string& path, const PreferencesMap& values);

} // namespace OHOS::NativePreferences

namespace OHOS::Emulator {

// Makes PreferencesHelper::GetPreferences fail with E_OPEN_FAILED while `fail` is true.
void SetPreferencesOpenFails(bool fail);
bool PreferencesOpenFails();
// Makes every write of a preferences file fail with E_WRITE_FAILED while `fail` is true.
void SetPreferencesFlushFails(bool fail);
// Counts the file-system steps of writes from now on (create the temporary file, each block written,
// sync, close, rename, sync the folder) and makes step `n` (1-based) fail; with `andLater` every
// later step fails too. A failing block write first writes half the block, as a crash would.
// n = 0 switches this off.
void FailPreferencesWriteStep(int n, bool andLater);
// Steps counted since the last FailPreferencesWriteStep or reset.
int PreferencesWriteStepCount();
void ResetPreferencesFaults();
// Called before each counted write step with its number (tests stop the process at an exact point
// with it); nullptr removes it. ResetPreferencesFaults removes it too.
void SetPreferencesWriteStepObserver(std::function<void(int step)> observer);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_PREFERENCES_FILE_H
