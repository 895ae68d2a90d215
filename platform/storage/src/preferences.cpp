#include "preferences.h"

#include <utility>

namespace OHOS::NativePreferences {

Preferences::Preferences(std::string realPath, PreferencesMap values)
    : realPath_(std::move(realPath)), values_(std::move(values))
{
}

template <typename T> T Preferences::Get(const std::string& key, const T& defValue) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = values_.find(key);
    if (it == values_.end()) {
        return defValue;
    }
    const T* value = std::get_if<T>(&it->second);
    return value != nullptr ? *value : defValue;
}

std::string Preferences::GetString(const std::string& key, const std::string& defValue) const
{
    return Get<std::string>(key, defValue);
}

bool Preferences::GetBool(const std::string& key, bool defValue) const
{
    return Get<bool>(key, defValue);
}

float Preferences::GetFloat(const std::string& key, float defValue) const
{
    return Get<float>(key, defValue);
}

int64_t Preferences::GetLong(const std::string& key, int64_t defValue) const
{
    return Get<int64_t>(key, defValue);
}

int32_t Preferences::GetInt(const std::string& key, int32_t defValue) const
{
    return Get<int32_t>(key, defValue);
}

bool Preferences::HasKey(const std::string& key) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return values_.count(key) != 0;
}

int Preferences::Put(const std::string& key, PreferencesValue value)
{
    if (key.empty()) {
        return E_INVALID_ARGS;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    auto [it, inserted] = values_.try_emplace(key, value);
    if (!inserted) {
        if (it->second == value) {
            return E_OK;
        }
        it->second = std::move(value);
    }
    ++generation_;
    return E_OK;
}

int Preferences::PutString(const std::string& key, const std::string& value)
{
    return Put(key, value);
}

int Preferences::PutBool(const std::string& key, bool value)
{
    return Put(key, value);
}

int Preferences::PutFloat(const std::string& key, float value)
{
    return Put(key, value);
}

int Preferences::PutLong(const std::string& key, int64_t value)
{
    return Put(key, value);
}

int Preferences::PutInt(const std::string& key, int32_t value)
{
    return Put(key, value);
}

int Preferences::Delete(const std::string& key)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (values_.erase(key) != 0) {
        ++generation_;
    }
    return E_OK;
}

int Preferences::Clear()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!values_.empty()) {
        values_.clear();
        ++generation_;
    }
    return E_OK;
}

int Preferences::FlushSync()
{
    std::lock_guard<std::mutex> flushLock(flushMutex_);
    PreferencesMap snapshot;
    uint64_t snapshotGeneration = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (generation_ == flushedGeneration_) {
            return E_OK;
        }
        snapshot = values_;
        snapshotGeneration = generation_;
    }
    int result = WritePreferencesFile(realPath_, snapshot);
    if (result == E_OK) {
        std::lock_guard<std::mutex> lock(mutex_);
        flushedGeneration_ = snapshotGeneration;
    }
    return result;
}

void Preferences::Flush()
{
    (void)FlushSync();
}

} // namespace OHOS::NativePreferences
