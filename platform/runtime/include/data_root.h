#ifndef PLATFORM_INCLUDE_DATA_ROOT_H
#define PLATFORM_INCLUDE_DATA_ROOT_H

#include <string>

namespace OHOS::Emulator {

// The folder under which the phone's absolute paths ("/data/service/...") live on this machine.
// Taken from the environment variable SLEEP_DATA_ROOT, default "./sleep-data", unless set; always
// returned as an absolute path (a relative one is taken from the working folder).
std::string GetDataRoot();
// Overrides the data root for this process (tests, the simulator). Empty restores the default.
void SetDataRoot(const std::string& root);
// Maps a phone path under the data root: "/data/x" -> "<root>/data/x". A path already under the
// root is returned unchanged. Refused (returns "") when the path could lead out of the root: not
// absolute, a ".." component, or a symbolic link on the way that points outside the root or
// nowhere. Thread-safe.
std::string MapPhonePath(const std::string& phonePath);
// Creates a folder and its parents (mode 0700 for new ones). Returns false on failure.
bool MakeDirectories(const std::string& path);

// RAII for tests: a fresh empty folder under the system temp dir set as data root, removed after.
class ScopedDataRoot {
public:
    ScopedDataRoot();
    ~ScopedDataRoot();
    ScopedDataRoot(const ScopedDataRoot&) = delete;
    ScopedDataRoot& operator=(const ScopedDataRoot&) = delete;
    const std::string& Path() const { return path_; }

private:
    std::string previous_;
    std::string path_;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_DATA_ROOT_H
