#include "data_root.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <vector>

namespace OHOS::Emulator {
namespace {

constexpr const char* kDataRootVariable = "SLEEP_DATA_ROOT";
constexpr const char* kDefaultDataRoot = "./sleep-data";
constexpr mode_t kNewFolderMode = 0700;

struct RootState {
    std::mutex mutex;
    std::string overrideRoot;
};

RootState& Root()
{
    static RootState state;
    return state;
}

// Services that accept only absolute paths (preferences) must work under a relative root too, so a
// relative root is taken from the current folder.
std::string Absolute(const std::string& path)
{
    std::error_code ec;
    const std::filesystem::path absolute = std::filesystem::absolute(path, ec);
    std::string normal = ec ? path : absolute.lexically_normal().string();
    while (normal.size() > 1 && normal.back() == '/') {
        normal.pop_back();
    }
    return normal;
}

std::string OverrideRoot()
{
    RootState& state = Root();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.overrideRoot;
}

bool IsUnder(const std::string& path, const std::string& root)
{
    return path == root || (path.size() > root.size() && path.compare(0, root.size(), root) == 0 &&
                               (root.back() == '/' || path[root.size()] == '/'));
}

bool HasParentComponent(const std::string& path)
{
    for (size_t begin = 0; begin <= path.size();) {
        size_t end = path.find('/', begin);
        if (end == std::string::npos) {
            end = path.size();
        }
        if (path.compare(begin, end - begin, "..") == 0) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

bool Resolve(const std::string& path, std::string& resolved)
{
    char buffer[PATH_MAX];
    if (realpath(path.c_str(), buffer) == nullptr) {
        return false;
    }
    resolved = buffer;
    return true;
}

// Where the deepest existing part of `path` really is, following symbolic links. False when a part
// exists but does not resolve (a dangling link, which a later create would follow anywhere).
bool ResolveExistingPart(std::string path, std::string& resolved)
{
    for (;;) {
        if (Resolve(path, resolved)) {
            return true;
        }
        struct stat info {};
        if (lstat(path.c_str(), &info) == 0) {
            return false;
        }
        size_t slash = path.find_last_of('/');
        if (slash == std::string::npos || slash == 0) {
            resolved.clear();
            return true;
        }
        path.resize(slash);
    }
}

// True when no existing part of `path` after its first `rootLength` characters is a symbolic link,
// checked part by part up to the first one that does not exist. Such a path cannot lead out of its
// root, so the costly resolution below is needed only when a link is on the way.
bool NoLinkBelowRoot(const std::string& path, size_t rootLength)
{
    for (size_t end = rootLength; end < path.size();) {
        end = std::min(path.find('/', end + 1), path.size());
        struct stat info {};
        if (lstat(path.substr(0, end).c_str(), &info) != 0) {
            return true;
        }
        if (S_ISLNK(info.st_mode)) {
            return false;
        }
    }
    return true;
}

// True unless following the links on the way to `path` leads out of `root`. A root that does not
// exist yet has nothing inside it that could lead out.
bool StaysInsideRoot(const std::string& path, const std::string& root)
{
    if (NoLinkBelowRoot(path, root.size())) {
        return true;
    }
    std::string realRoot;
    if (!Resolve(root, realRoot)) {
        return true;
    }
    std::string realPath;
    return ResolveExistingPart(path, realPath) && IsUnder(realPath, realRoot);
}

bool IsDirectory(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

std::string GetDataRoot()
{
    std::string root = OverrideRoot();
    if (!root.empty()) {
        return root;
    }
    const char* fromEnvironment = std::getenv(kDataRootVariable);
    if (fromEnvironment != nullptr && fromEnvironment[0] != '\0') {
        return Absolute(fromEnvironment);
    }
    return Absolute(kDefaultDataRoot);
}

void SetDataRoot(const std::string& root)
{
    RootState& state = Root();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.overrideRoot = root.empty() ? root : Absolute(root);
}

std::string MapPhonePath(const std::string& phonePath)
{
    const std::string root = GetDataRoot();
    if (phonePath.empty() || phonePath[0] != '/' || HasParentComponent(phonePath)) {
        return std::string();
    }
    std::string mapped = IsUnder(phonePath, root) ? phonePath : (root == "/" ? std::string() : root) + phonePath;
    return StaysInsideRoot(mapped, root) ? mapped : std::string();
}

bool MakeDirectories(const std::string& path)
{
    if (path.empty()) {
        return false;
    }
    if (IsDirectory(path)) { // the common case: one call instead of one per part of the path
        return true;
    }
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string prefix = path.substr(0, slash);
        if (!prefix.empty() && mkdir(prefix.c_str(), kNewFolderMode) != 0 && errno != EEXIST) {
            return false;
        }
        if (slash == std::string::npos) {
            break;
        }
    }
    return IsDirectory(path);
}

ScopedDataRoot::ScopedDataRoot() : previous_(OverrideRoot())
{
    std::error_code error;
    std::filesystem::path base = std::filesystem::temp_directory_path(error);
    if (error) {
        base = "/tmp";
    }
    std::string pattern = (base / "sleep-data-XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) != nullptr) {
        path_ = buffer.data();
    }
    SetDataRoot(path_);
}

ScopedDataRoot::~ScopedDataRoot()
{
    SetDataRoot(previous_);
    if (!path_.empty()) {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
}

} // namespace OHOS::Emulator
