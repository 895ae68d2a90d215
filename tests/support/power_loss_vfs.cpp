#include "power_loss_vfs.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <sqlite3.h>
#include <string>
#include <vector>

#include "power_loss_files.h"
#include "storage_stop.h"
#include "test_files.h"

namespace OHOS::Sim {
namespace {

// One write or truncation made since the file's last sync.
struct UnsyncedChange {
    bool truncate = false;
    sqlite3_int64 offset = 0; // where the write starts, or the size truncated to
    std::string bytes;
};

struct TrackedFile {
    std::string synced;
    std::vector<UnsyncedChange> unsynced;
};

void Apply(std::string& content, const UnsyncedChange& change)
{
    const auto offset = static_cast<size_t>(change.offset);
    if (change.truncate) {
        content.resize(std::min(content.size(), offset));
        return;
    }
    if (content.size() < offset + change.bytes.size()) {
        content.resize(offset + change.bytes.size(), '\0');
    }
    content.replace(offset, change.bytes.size(), change.bytes);
}

// The files by path, and the one written last, shared by every connection of the process.
struct Tracker {
    std::mutex mutex;
    std::map<std::string, TrackedFile> files;
    std::string lastWritten;

    void Track(const std::string& path)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (files.count(path) == 0) {
            files[path].synced = Emulator::ReadFile(path);
        }
    }

    void Record(const std::string& path, UnsyncedChange change)
    {
        std::lock_guard<std::mutex> lock(mutex);
        files[path].unsynced.push_back(std::move(change));
        lastWritten = path;
    }

    void Synced(const std::string& path)
    {
        std::lock_guard<std::mutex> lock(mutex);
        TrackedFile& file = files[path];
        for (const UnsyncedChange& change : file.unsynced) {
            Apply(file.synced, change);
        }
        file.unsynced.clear();
    }

    void Forget(const std::string& path)
    {
        std::lock_guard<std::mutex> lock(mutex);
        files.erase(path);
    }

    void DropUnsynced(bool tear)
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (auto& [path, file] : files) {
            const bool tearHere = tear && path == lastWritten && !file.unsynced.empty() && !file.unsynced.back().truncate;
            if (tearHere) {
                UnsyncedChange torn = file.unsynced.back();
                torn.bytes.resize(std::min(torn.bytes.size(), kTornSectorBytes));
                Apply(file.synced, torn);
            }
            WriteOwnerOnlyFile(path, file.synced);
        }
    }
};

Tracker& Files()
{
    static Tracker tracker;
    return tracker;
}

// A file of this VFS: the wrapped VFS's file follows it in the same allocation.
struct ShimFile {
    sqlite3_file base;
    sqlite3_file* real;
    char* path; // nullptr for files without a name or deleted on close (not tracked)
};

sqlite3_vfs* g_real = nullptr;

sqlite3_file* Real(sqlite3_file* file)
{
    return reinterpret_cast<ShimFile*>(file)->real;
}

const char* PathOf(sqlite3_file* file)
{
    return reinterpret_cast<ShimFile*>(file)->path;
}

int ShimClose(sqlite3_file* file)
{
    auto* shim = reinterpret_cast<ShimFile*>(file);
    const int rc = shim->real->pMethods->xClose(shim->real);
    sqlite3_free(shim->path);
    shim->path = nullptr;
    return rc;
}

int ShimRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset)
{
    return Real(file)->pMethods->xRead(Real(file), buffer, amount, offset);
}

int ShimWrite(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset)
{
    if (PathOf(file) == nullptr) {
        return Real(file)->pMethods->xWrite(Real(file), data, amount, offset);
    }
    StorageStop::Reached();
    const int rc = Real(file)->pMethods->xWrite(Real(file), data, amount, offset);
    if (rc == SQLITE_OK) {
        Files().Record(PathOf(file),
            UnsyncedChange{false, offset, std::string(static_cast<const char*>(data), static_cast<size_t>(amount))});
    }
    return rc;
}

int ShimTruncate(sqlite3_file* file, sqlite3_int64 size)
{
    if (PathOf(file) == nullptr) {
        return Real(file)->pMethods->xTruncate(Real(file), size);
    }
    StorageStop::Reached();
    const int rc = Real(file)->pMethods->xTruncate(Real(file), size);
    if (rc == SQLITE_OK) {
        Files().Record(PathOf(file), UnsyncedChange{true, size, {}});
    }
    return rc;
}

int ShimSync(sqlite3_file* file, int flags)
{
    if (PathOf(file) == nullptr) {
        return Real(file)->pMethods->xSync(Real(file), flags);
    }
    StorageStop::Reached();
    const int rc = Real(file)->pMethods->xSync(Real(file), flags);
    if (rc == SQLITE_OK) {
        Files().Synced(PathOf(file));
    }
    return rc;
}

int ShimFileSize(sqlite3_file* file, sqlite3_int64* size)
{
    return Real(file)->pMethods->xFileSize(Real(file), size);
}

int ShimLock(sqlite3_file* file, int level)
{
    return Real(file)->pMethods->xLock(Real(file), level);
}

int ShimUnlock(sqlite3_file* file, int level)
{
    return Real(file)->pMethods->xUnlock(Real(file), level);
}

int ShimCheckReservedLock(sqlite3_file* file, int* reserved)
{
    return Real(file)->pMethods->xCheckReservedLock(Real(file), reserved);
}

int ShimFileControl(sqlite3_file* file, int op, void* arg)
{
    return Real(file)->pMethods->xFileControl(Real(file), op, arg);
}

int ShimSectorSize(sqlite3_file* file)
{
    return Real(file)->pMethods->xSectorSize(Real(file));
}

int ShimDeviceCharacteristics(sqlite3_file* file)
{
    return Real(file)->pMethods->xDeviceCharacteristics(Real(file));
}

int ShimShmMap(sqlite3_file* file, int region, int size, int extend, void volatile** memory)
{
    return Real(file)->pMethods->xShmMap(Real(file), region, size, extend, memory);
}

int ShimShmLock(sqlite3_file* file, int offset, int count, int flags)
{
    return Real(file)->pMethods->xShmLock(Real(file), offset, count, flags);
}

void ShimShmBarrier(sqlite3_file* file)
{
    Real(file)->pMethods->xShmBarrier(Real(file));
}

int ShimShmUnmap(sqlite3_file* file, int deleteFlag)
{
    return Real(file)->pMethods->xShmUnmap(Real(file), deleteFlag);
}

// Memory-mapped reads would bypass nothing we track, but are refused so every read stays a call.
int ShimFetch(sqlite3_file*, sqlite3_int64, int, void** pointer)
{
    *pointer = nullptr;
    return SQLITE_OK;
}

int ShimUnfetch(sqlite3_file*, sqlite3_int64, void*)
{
    return SQLITE_OK;
}

const sqlite3_io_methods kShimMethods = {3, ShimClose, ShimRead, ShimWrite, ShimTruncate, ShimSync, ShimFileSize,
    ShimLock, ShimUnlock, ShimCheckReservedLock, ShimFileControl, ShimSectorSize, ShimDeviceCharacteristics,
    ShimShmMap, ShimShmLock, ShimShmBarrier, ShimShmUnmap, ShimFetch, ShimUnfetch};

int ShimOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags)
{
    auto* shim = reinterpret_cast<ShimFile*>(file);
    shim->real = reinterpret_cast<sqlite3_file*>(shim + 1);
    shim->path = nullptr;
    shim->base.pMethods = nullptr;
    const int rc = g_real->xOpen(g_real, name, shim->real, flags, outFlags);
    if (shim->real->pMethods == nullptr) {
        return rc;
    }
    shim->base.pMethods = &kShimMethods;
    if (rc == SQLITE_OK && name != nullptr && (flags & SQLITE_OPEN_DELETEONCLOSE) == 0) {
        shim->path = sqlite3_mprintf("%s", name);
        Files().Track(shim->path);
    }
    return rc;
}

int ShimDelete(sqlite3_vfs*, const char* name, int syncFolder)
{
    const int rc = g_real->xDelete(g_real, name, syncFolder);
    Files().Forget(name);
    return rc;
}

int ShimAccess(sqlite3_vfs*, const char* name, int flags, int* result)
{
    return g_real->xAccess(g_real, name, flags, result);
}

int ShimFullPathname(sqlite3_vfs*, const char* name, int size, char* out)
{
    return g_real->xFullPathname(g_real, name, size, out);
}

int ShimRandomness(sqlite3_vfs*, int size, char* out)
{
    return g_real->xRandomness(g_real, size, out);
}

int ShimSleep(sqlite3_vfs*, int microseconds)
{
    return g_real->xSleep(g_real, microseconds);
}

int ShimCurrentTime(sqlite3_vfs*, double* now)
{
    return g_real->xCurrentTime(g_real, now);
}

int ShimGetLastError(sqlite3_vfs*, int size, char* out)
{
    return g_real->xGetLastError(g_real, size, out);
}

int ShimCurrentTimeInt64(sqlite3_vfs*, sqlite3_int64* now)
{
    return g_real->xCurrentTimeInt64(g_real, now);
}

} // namespace

void PowerLossVfs::Install()
{
    static sqlite3_vfs shim{};
    g_real = sqlite3_vfs_find(nullptr);
    shim.iVersion = 2;
    shim.szOsFile = static_cast<int>(sizeof(ShimFile)) + g_real->szOsFile;
    shim.mxPathname = g_real->mxPathname;
    shim.zName = "power-loss";
    shim.xOpen = ShimOpen;
    shim.xDelete = ShimDelete;
    shim.xAccess = ShimAccess;
    shim.xFullPathname = ShimFullPathname;
    shim.xRandomness = ShimRandomness;
    shim.xSleep = ShimSleep;
    shim.xCurrentTime = ShimCurrentTime;
    shim.xGetLastError = ShimGetLastError;
    shim.xCurrentTimeInt64 = ShimCurrentTimeInt64;
    sqlite3_vfs_register(&shim, 1);
    StorageStop::OnPowerCut([](bool tear) { Files().DropUnsynced(tear); });
}

} // namespace OHOS::Sim
