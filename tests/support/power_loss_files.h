#ifndef TESTS_SUPPORT_POWER_LOSS_FILES_H
#define TESTS_SUPPORT_POWER_LOSS_FILES_H

#include <map>
#include <mutex>
#include <string>

#include "preferences_file.h"

namespace OHOS::Sim {

// Replaces the file at `path` by one holding `content`, readable by its owner only, as a file the
// disk kept through a power cut. Nothing is synced: the process ends right after.
void WriteOwnerOnlyFile(const std::string& path, const std::string& content);

// A layer between the preferences writer and the disk that knows what a power cut would keep: the
// content of a file as of its last fsync, and the names of a folder as of the folder's last fsync.
// Every call is made for real and counted by StorageStop; at a power cut the folders it has seen are
// rewritten to hold only what was synced (names not synced vanish or point at their old file, data
// written since a file's last sync is dropped). Files in a folder when the layer first sees it
// count as synced.
class PowerLossFiles : public Emulator::PreferencesFileCalls {
public:
    // Puts a new layer under every later preferences write and registers it with StorageStop.
    static void Install();

    int CreateTemporary(std::string& pattern) override;
    ssize_t Write(int fd, const void* data, size_t size) override;
    int SyncFile(int fd) override;
    int Close(int fd) override;
    int Exchange(const std::string& from, const std::string& to) override;
    int Rename(const std::string& from, const std::string& to) override;
    int Unlink(const std::string& path) override;
    int SyncFolder(const std::string& folder) override;

    // Rewrites the seen folders as the disk holds them after a power cut (see StorageStop).
    void DropUnsynced(bool tear);

private:
    struct File {
        std::string synced;  // as of the last fsync
        std::string written; // as the file is now
    };
    struct Folder {
        std::map<std::string, int> names;       // name -> file, as now
        std::map<std::string, int> syncedNames; // as of the last folder sync
    };
    struct OpenFile {
        int file = 0;
        size_t offset = 0;
    };
    struct UnsyncedWrite {
        int file = -1;
        size_t offset = 0;
        std::string bytes;
    };

    // Exchange (both names swap files) or Rename (`to` takes the file of `from`), for real and here.
    int MoveName(const std::string& from, const std::string& to, bool exchange);
    // The folder of `path` (read from disk the first time) and the name in it.
    Folder& FolderOf(const std::string& path, std::string& name);

    std::mutex mutex_;
    int nextFile_ = 0;
    std::map<int, File> files_;
    std::map<std::string, Folder> folders_;
    std::map<int, OpenFile> open_; // by descriptor
    UnsyncedWrite lastUnsynced_;
};

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_POWER_LOSS_FILES_H
