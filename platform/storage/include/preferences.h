#ifndef PLATFORM_INCLUDE_PREFERENCES_H
#define PLATFORM_INCLUDE_PREFERENCES_H

#include <cstdint>
#include <mutex>
#include <string>

#include "preferences_file.h"

namespace OHOS::NativePreferences {

// How to open a preferences file: its phone path (mapped under the data root).
struct Options {
    Options(const std::string& inputFilePath) : filePath(inputFilePath) {}
    std::string filePath;
};

// The typed key/value pairs of one preferences file, held in memory; Flush/FlushSync write them.
// Obtained from PreferencesHelper, which keeps one object per file. Thread-safe.
class Preferences {
public:
    // `realPath` is the mapped file path; `values` what it held when opened.
    Preferences(std::string realPath, PreferencesMap values);
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    // The stored value, or `defValue` when the key is absent or holds another type.
    std::string GetString(const std::string& key, const std::string& defValue = {}) const;
    bool GetBool(const std::string& key, bool defValue = false) const;
    float GetFloat(const std::string& key, float defValue = 0.0f) const;
    int64_t GetLong(const std::string& key, int64_t defValue = 0) const;
    int32_t GetInt(const std::string& key, int32_t defValue = 0) const;
    bool HasKey(const std::string& key) const;

    // Set the value in memory (replacing one of any type); E_INVALID_ARGS for an empty key.
    int PutString(const std::string& key, const std::string& value);
    int PutBool(const std::string& key, bool value);
    int PutFloat(const std::string& key, float value);
    int PutLong(const std::string& key, int64_t value);
    int PutInt(const std::string& key, int32_t value);
    int Delete(const std::string& key);
    int Clear();

    // Writes the values to the file when they changed since the last successful write; durable when
    // it returns E_OK. On failure the file keeps its previous content and the values stay pending.
    int FlushSync();
    // The platform's fire-and-forget flush; here it writes at once, like FlushSync.
    void Flush();

    const std::string& GetFilePath() const { return realPath_; }

private:
    template <typename T> T Get(const std::string& key, const T& defValue) const;
    int Put(const std::string& key, PreferencesValue value);

    const std::string realPath_;
    mutable std::mutex mutex_; // guards values_ and the generations
    PreferencesMap values_;
    uint64_t generation_ = 0;        // bumped by every change
    uint64_t flushedGeneration_ = 0; // the generation last written
    std::mutex flushMutex_;          // one write of the file at a time
};

} // namespace OHOS::NativePreferences

#endif // PLATFORM_INCLUDE_PREFERENCES_H
