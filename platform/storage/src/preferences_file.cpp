#include "preferences_file.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include <pugixml.hpp>

#include "data_root.h"
#include "storage_sync.h"

namespace OHOS::NativePreferences {
namespace {

constexpr const char* ROOT_ELEMENT = "preferences";
constexpr const char* FILE_VERSION = "1";
constexpr size_t WRITE_BLOCK_BYTES = 4096;
// Keep attribute text exactly as written: no end-of-line or white-space conversion.
constexpr unsigned int PARSE_OPTIONS = pugi::parse_default & ~pugi::parse_eol & ~pugi::parse_wconv_attribute;

// The fault switches of the emulator, shared by every writer.
struct WriteFaults {
    std::mutex mutex;
    bool openFails = false;
    bool flushFails = false;
    int failAtStep = 0;
    bool failLaterSteps = false;
    int stepCount = 0;
    std::function<void(int)> stepObserver;
    std::shared_ptr<Emulator::PreferencesFileCalls> calls = std::make_shared<Emulator::PreferencesFileCalls>();
};

WriteFaults& Faults()
{
    static WriteFaults faults;
    return faults;
}

std::shared_ptr<Emulator::PreferencesFileCalls> Calls()
{
    WriteFaults& faults = Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    return faults.calls;
}

// Counts one file-system step of a write; true when it must fail.
bool NextStepFails()
{
    WriteFaults& faults = Faults();
    std::unique_lock<std::mutex> lock(faults.mutex);
    ++faults.stepCount;
    if (faults.stepObserver) {
        const std::function<void(int)> observer = faults.stepObserver;
        const int step = faults.stepCount;
        lock.unlock();
        observer(step);
        lock.lock();
    }
    if (faults.flushFails) {
        return true;
    }
    if (faults.failAtStep <= 0) {
        return false;
    }
    return faults.stepCount == faults.failAtStep || (faults.failLaterSteps && faults.stepCount > faults.failAtStep);
}

const char* TypeName(const PreferencesValue& value)
{
    static const char* const names[] = {"int", "long", "float", "bool", "string"};
    return names[value.index()];
}

std::string ToText(const PreferencesValue& value)
{
    switch (value.index()) {
    case 0:
        return std::to_string(std::get<int32_t>(value));
    case 1:
        return std::to_string(std::get<int64_t>(value));
    case 2: {
        char buffer[32];
        snprintf(buffer, sizeof(buffer), "%.9g", static_cast<double>(std::get<float>(value)));
        return buffer;
    }
    case 3:
        return std::get<bool>(value) ? "true" : "false";
    default:
        return std::get<std::string>(value);
    }
}

template <typename Int> bool ParseInteger(const std::string& text, Int& out)
{
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, out);
    return ec == std::errc() && ptr == end && !text.empty();
}

bool ParseFloat(const std::string& text, float& out)
{
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    float parsed = strtof(text.c_str(), &end);
    if (end != text.c_str() + text.size()) {
        return false;
    }
    out = parsed;
    return true;
}

// Turns one element into a typed value; false for an unknown type or malformed text.
bool ParseValue(const std::string& type, const std::string& text, PreferencesValue& out)
{
    if (type == "string") {
        out = text;
        return true;
    }
    if (type == "bool") {
        if (text != "true" && text != "false") {
            return false;
        }
        out = (text == "true");
        return true;
    }
    if (type == "int") {
        int32_t v = 0;
        return ParseInteger(text, v) && (out = v, true);
    }
    if (type == "long") {
        int64_t v = 0;
        return ParseInteger(text, v) && (out = v, true);
    }
    if (type == "float") {
        float v = 0.0f;
        return ParseFloat(text, v) && (out = v, true);
    }
    return false;
}

int ParseDocument(const std::string& content, PreferencesMap& values)
{
    pugi::xml_document doc;
    if (!doc.load_buffer(content.data(), content.size(), PARSE_OPTIONS)) {
        return E_FILE_CORRUPT;
    }
    pugi::xml_node root = doc.document_element();
    if (std::string(root.name()) != ROOT_ELEMENT) {
        return E_FILE_CORRUPT;
    }
    PreferencesMap parsed;
    for (pugi::xml_node node : root.children()) {
        if (node.type() != pugi::node_element) {
            continue;
        }
        pugi::xml_attribute key = node.attribute("key");
        pugi::xml_attribute text = node.attribute("value");
        PreferencesValue value;
        if (!key || !text || key.value()[0] == '\0' || !ParseValue(node.name(), text.value(), value) ||
            !parsed.emplace(key.value(), std::move(value)).second) {
            return E_FILE_CORRUPT;
        }
    }
    values = std::move(parsed);
    return E_OK;
}

std::string RenderDocument(const PreferencesMap& values)
{
    pugi::xml_document doc;
    pugi::xml_node decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "UTF-8";
    pugi::xml_node root = doc.append_child(ROOT_ELEMENT);
    root.append_attribute("version") = FILE_VERSION;
    for (const auto& [key, value] : values) {
        pugi::xml_node node = root.append_child(TypeName(value));
        node.append_attribute("key") = key.c_str();
        node.append_attribute("value") = ToText(value).c_str();
    }
    std::ostringstream out;
    doc.save(out, "    ", pugi::format_default, pugi::encoding_utf8);
    return out.str();
}

std::string ParentFolder(const std::string& path)
{
    size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Writes `content` to the open file in blocks, each a counted step.
bool WriteBlocks(int fd, const std::string& content)
{
    for (size_t offset = 0; offset < content.size(); offset += WRITE_BLOCK_BYTES) {
        size_t length = std::min(WRITE_BLOCK_BYTES, content.size() - offset);
        if (NextStepFails()) {
            // A torn block, as a crash in the middle of the write would leave it.
            (void)!Calls()->Write(fd, content.data() + offset, length / 2);
            return false;
        }
        size_t done = 0;
        while (done < length) {
            ssize_t n = Calls()->Write(fd, content.data() + offset + done, length - done);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                return false;
            }
            done += static_cast<size_t>(n);
        }
    }
    return true;
}

bool SyncFolder(const std::string& folder)
{
    if (NextStepFails()) {
        return false;
    }
    return !Emulator::StorageSyncEnabled() || Calls()->SyncFolder(folder) == 0;
}

// Puts the written temporary file in the place of `path` in one step. The two names are exchanged
// and the old content then removed: a file renamed over another makes ext4 write the new content
// out at once, which a store that does not sync should not pay for on every flush. A missing
// target, or a file system that cannot exchange names, takes a plain rename.
bool ReplaceWithTemporary(const std::string& tempPath, const std::string& path)
{
    if (Calls()->Exchange(tempPath, path) == 0) {
        Calls()->Unlink(tempPath); // the old content; left behind only if this fails
        return true;
    }
    return Calls()->Rename(tempPath, path) == 0;
}

// Writes `content` to a fresh temporary file in the target's folder and syncs it; its path in
// `tempPath`. False (with the temporary file removed) on any failure.
bool WriteTemporaryFile(const std::string& path, const std::string& content, std::string& tempPath)
{
    std::string pattern = path + ".tmp.XXXXXX";
    if (NextStepFails()) {
        return false;
    }
    int fd = Calls()->CreateTemporary(pattern);
    if (fd < 0) {
        return false;
    }
    tempPath = pattern;
    bool written =
        WriteBlocks(fd, content) && !NextStepFails() && (!Emulator::StorageSyncEnabled() || Calls()->SyncFile(fd) == 0);
    bool closed = !NextStepFails() && Calls()->Close(fd) == 0;
    if (!closed) {
        Calls()->Close(fd);
    }
    if (!written || !closed) {
        Calls()->Unlink(tempPath);
        return false;
    }
    return true;
}

} // namespace

int ReadPreferencesFile(const std::string& path, PreferencesMap& values)
{
    if (path.empty() || path[0] != '/') {
        return E_INVALID_ARGS;
    }
    FILE* file = fopen(path.c_str(), "rbe");
    if (file == nullptr) {
        if (errno == ENOENT) {
            values.clear();
            return E_OK;
        }
        return E_FILE_UNREADABLE;
    }
    std::string content;
    char buffer[WRITE_BLOCK_BYTES];
    size_t n = 0;
    while ((n = fread(buffer, 1, sizeof(buffer), file)) > 0) {
        content.append(buffer, n);
    }
    bool failed = ferror(file) != 0;
    fclose(file);
    if (failed) {
        return E_FILE_UNREADABLE;
    }
    return ParseDocument(content, values);
}

int WritePreferencesFile(const std::string& path, const PreferencesMap& values)
{
    if (path.empty() || path[0] != '/') {
        return E_INVALID_ARGS;
    }
    std::string folder = ParentFolder(path);
    if (!Emulator::MakeDirectories(folder)) {
        return E_WRITE_FAILED;
    }
    std::string tempPath;
    if (!WriteTemporaryFile(path, RenderDocument(values), tempPath)) {
        return E_WRITE_FAILED;
    }
    if (NextStepFails() || !ReplaceWithTemporary(tempPath, path)) {
        Calls()->Unlink(tempPath);
        return E_WRITE_FAILED;
    }
    return SyncFolder(folder) ? E_OK : E_WRITE_FAILED;
}

} // namespace OHOS::NativePreferences

namespace OHOS::Emulator {

void SetPreferencesOpenFails(bool fail)
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.openFails = fail;
}

bool PreferencesOpenFails()
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    return faults.openFails;
}

void SetPreferencesFlushFails(bool fail)
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.flushFails = fail;
}

void FailPreferencesWriteStep(int n, bool andLater)
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.failAtStep = n;
    faults.failLaterSteps = andLater;
    faults.stepCount = 0;
}

int PreferencesWriteStepCount()
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    return faults.stepCount;
}

void ResetPreferencesFaults()
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.openFails = false;
    faults.flushFails = false;
    faults.failAtStep = 0;
    faults.failLaterSteps = false;
    faults.stepCount = 0;
    faults.stepObserver = nullptr;
}

void SetPreferencesWriteStepObserver(std::function<void(int step)> observer)
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.stepObserver = std::move(observer);
}

int PreferencesFileCalls::CreateTemporary(std::string& pattern)
{
    return mkstemp(pattern.data());
}

ssize_t PreferencesFileCalls::Write(int fd, const void* data, size_t size)
{
    return write(fd, data, size);
}

int PreferencesFileCalls::SyncFile(int fd)
{
    return fsync(fd);
}

int PreferencesFileCalls::Close(int fd)
{
    return close(fd);
}

int PreferencesFileCalls::Exchange(const std::string& from, const std::string& to)
{
    return renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_EXCHANGE);
}

int PreferencesFileCalls::Rename(const std::string& from, const std::string& to)
{
    return rename(from.c_str(), to.c_str());
}

int PreferencesFileCalls::Unlink(const std::string& path)
{
    return unlink(path.c_str());
}

int PreferencesFileCalls::SyncFolder(const std::string& folder)
{
    int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    const int synced = fsync(fd);
    close(fd);
    return synced;
}

void SetPreferencesFileCalls(std::shared_ptr<PreferencesFileCalls> calls)
{
    auto& faults = NativePreferences::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.calls = calls != nullptr ? std::move(calls) : std::make_shared<PreferencesFileCalls>();
}

} // namespace OHOS::Emulator
