#ifndef PLATFORM_INCLUDE_PREFERENCES_FILE_H
#define PLATFORM_INCLUDE_PREFERENCES_FILE_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <sys/types.h>
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

// The file-system calls a preferences write makes, one virtual per call, each with the meaning and
// result of the system call named. The default forwards to the system; a test derives from it to
// stand between the writer and the disk (to keep unsynced data apart and drop it at a simulated
// power cut), calling the base to do the real work. Paths are real paths.
class PreferencesFileCalls {
public:
    virtual ~PreferencesFileCalls() = default;
    // mkstemp: `pattern` ends in XXXXXX, replaced by the created file's name; an fd or -1.
    virtual int CreateTemporary(std::string& pattern);
    virtual ssize_t Write(int fd, const void* data, size_t size);
    virtual int SyncFile(int fd); // fsync
    virtual int Close(int fd);
    // renameat2 with RENAME_EXCHANGE: the two names swap files; -1 when either is missing.
    virtual int Exchange(const std::string& from, const std::string& to);
    virtual int Rename(const std::string& from, const std::string& to);
    virtual int Unlink(const std::string& path);
    // Opens the folder and fsyncs it, so that its names as they are now are on disk.
    virtual int SyncFolder(const std::string& folder);
};

// The calls every later preferences write makes; nullptr restores the system's. Not for use while
// a write is in progress.
void SetPreferencesFileCalls(std::shared_ptr<PreferencesFileCalls> calls);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_PREFERENCES_FILE_H
