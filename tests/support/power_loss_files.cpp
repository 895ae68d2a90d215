#include "power_loss_files.h"

#include <algorithm>
#include <filesystem>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "storage_stop.h"
#include "test_files.h"

namespace OHOS::Sim {
namespace {

namespace fs = std::filesystem;

void SplitPath(const std::string& path, std::string& folder, std::string& name)
{
    const size_t slash = path.find_last_of('/');
    folder = slash == std::string::npos ? "." : path.substr(0, slash);
    name = slash == std::string::npos ? path : path.substr(slash + 1);
}

void Overwrite(std::string& content, size_t offset, const std::string& bytes)
{
    if (content.size() < offset + bytes.size()) {
        content.resize(offset + bytes.size(), '\0');
    }
    content.replace(offset, bytes.size(), bytes);
}

} // namespace

void WriteOwnerOnlyFile(const std::string& path, const std::string& content)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd >= 0) {
        (void)!write(fd, content.data(), content.size());
        close(fd);
    }
}

void PowerLossFiles::Install()
{
    auto layer = std::make_shared<PowerLossFiles>();
    Emulator::SetPreferencesFileCalls(layer);
    StorageStop::OnPowerCut([layer](bool tear) { layer->DropUnsynced(tear); });
}

PowerLossFiles::Folder& PowerLossFiles::FolderOf(const std::string& path, std::string& name)
{
    std::string folderPath;
    SplitPath(path, folderPath, name);
    auto [it, isNew] = folders_.try_emplace(folderPath);
    std::error_code ec;
    for (auto entry = fs::directory_iterator(folderPath, ec); isNew && !ec && entry != fs::directory_iterator();
         entry.increment(ec)) {
        if (entry->is_regular_file()) {
            const int file = nextFile_++;
            const std::string content = Emulator::ReadFile(entry->path().string());
            files_[file] = File{content, content};
            it->second.names[entry->path().filename().string()] = file;
        }
    }
    if (isNew) {
        it->second.syncedNames = it->second.names;
    }
    return it->second;
}

int PowerLossFiles::CreateTemporary(std::string& pattern)
{
    StorageStop::Reached();
    std::lock_guard<std::mutex> lock(mutex_);
    std::string name;
    Folder& folder = FolderOf(pattern, name);
    const int fd = PreferencesFileCalls::CreateTemporary(pattern);
    if (fd >= 0) {
        std::string folderPath;
        SplitPath(pattern, folderPath, name);
        const int file = nextFile_++;
        files_[file] = File{};
        folder.names[name] = file;
        open_[fd] = OpenFile{file, 0};
    }
    return fd;
}

ssize_t PowerLossFiles::Write(int fd, const void* data, size_t size)
{
    StorageStop::Reached();
    std::lock_guard<std::mutex> lock(mutex_);
    const ssize_t written = PreferencesFileCalls::Write(fd, data, size);
    auto it = open_.find(fd);
    if (written > 0 && it != open_.end()) {
        const std::string bytes(static_cast<const char*>(data), static_cast<size_t>(written));
        Overwrite(files_[it->second.file].written, it->second.offset, bytes);
        lastUnsynced_ = UnsyncedWrite{it->second.file, it->second.offset, bytes};
        it->second.offset += bytes.size();
    }
    return written;
}

int PowerLossFiles::SyncFile(int fd)
{
    StorageStop::Reached();
    std::lock_guard<std::mutex> lock(mutex_);
    const int result = PreferencesFileCalls::SyncFile(fd);
    auto it = open_.find(fd);
    if (result == 0 && it != open_.end()) {
        File& file = files_[it->second.file];
        file.synced = file.written;
        lastUnsynced_.file = lastUnsynced_.file == it->second.file ? -1 : lastUnsynced_.file;
    }
    return result;
}

int PowerLossFiles::Close(int fd)
{
    StorageStop::Reached();
    std::lock_guard<std::mutex> lock(mutex_);
    open_.erase(fd);
    return PreferencesFileCalls::Close(fd);
}

int PowerLossFiles::Exchange(const std::string& from, const std::string& to)
{
    return MoveName(from, to, true);
}

int PowerLossFiles::Rename(const std::string& from, const std::string& to)
{
    return MoveName(from, to, false);
}

int PowerLossFiles::MoveName(const std::string& from, const std::string& to, bool exchange)
{
    StorageStop::Reached();
    std::lock_guard<std::mutex> lock(mutex_);
    std::string fromName;
    std::string toName;
    Folder& folder = FolderOf(from, fromName);
    FolderOf(to, toName); // the writer only moves names within one folder
    const int result =
        exchange ? PreferencesFileCalls::Exchange(from, to) : PreferencesFileCalls::Rename(from, to);
    if (result != 0 || folder.names.count(fromName) == 0) {
        return result;
    }
    const int moved = folder.names[fromName];
    folder.names.erase(fromName);
    if (exchange) {
        folder.names[fromName] = folder.names[toName];
    }
    folder.names[toName] = moved;
    return result;
}

int PowerLossFiles::Unlink(const std::string& path)
{
    StorageStop::Reached();
    std::lock_guard<std::mutex> lock(mutex_);
    std::string name;
    Folder& folder = FolderOf(path, name);
    const int result = PreferencesFileCalls::Unlink(path);
    if (result == 0) {
        folder.names.erase(name);
    }
    return result;
}

int PowerLossFiles::SyncFolder(const std::string& folderPath)
{
    StorageStop::Reached();
    std::lock_guard<std::mutex> lock(mutex_);
    std::string name;
    Folder& folder = FolderOf(folderPath + "/.", name);
    const int result = PreferencesFileCalls::SyncFolder(folderPath);
    if (result == 0) {
        folder.syncedNames = folder.names;
    }
    return result;
}

void PowerLossFiles::DropUnsynced(bool tear)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (tear && lastUnsynced_.file >= 0) {
        const std::string& bytes = lastUnsynced_.bytes;
        Overwrite(files_[lastUnsynced_.file].synced, lastUnsynced_.offset,
            bytes.substr(0, std::min(bytes.size(), kTornSectorBytes)));
    }
    for (const auto& [folderPath, folder] : folders_) {
        for (const auto& [name, file] : folder.names) {
            std::error_code ec;
            fs::remove(folderPath + "/" + name, ec);
        }
        for (const auto& [name, file] : folder.syncedNames) {
            WriteOwnerOnlyFile(folderPath + "/" + name, files_[file].synced);
        }
    }
}

} // namespace OHOS::Sim
