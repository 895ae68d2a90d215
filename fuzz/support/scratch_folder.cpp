#include "scratch_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <vector>

namespace OHOS::Fuzz {
namespace {

// Never destroyed: the exit handler that reads it may run after static objects are gone.
std::vector<std::string>& FoldersToRemove()
{
    static auto* folders = new std::vector<std::string>();
    return *folders;
}

void RemoveFolders()
{
    for (const std::string& folder : FoldersToRemove()) {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
}

} // namespace

std::string MakeScratchFolder(const std::string& prefix)
{
    static std::once_flag registered;
    std::call_once(registered, []() { std::atexit(RemoveFolders); });
    std::string base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::filesystem::temp_directory_path().string();
    std::string pattern = base + "/" + prefix + "-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr) {
        std::abort();
    }
    FoldersToRemove().push_back(buffer.data());
    return buffer.data();
}

} // namespace OHOS::Fuzz
