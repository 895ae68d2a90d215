#include "sleep_shared_pref.h"

#include <memory>

#include "preferences_helper.h"
#include "sleep_log.h"

namespace OHOS::DevStandbyMgr {
namespace {

using NativePreferences::Preferences;
using NativePreferences::PreferencesHelper;

// Opens the preferences file; when that fails, drops its cache entry so the next call reads the
// file afresh.
std::shared_ptr<Preferences> OpenPreferences(int& errCode)
{
    NativePreferences::Options options(SleepSharedPref::SLEEP_SHARED_PREF_PATH);
    std::shared_ptr<Preferences> pref = PreferencesHelper::GetPreferences(options, errCode);
    if (pref == nullptr) {
        PreferencesHelper::RemovePreferencesFromCache(SleepSharedPref::SLEEP_SHARED_PREF_PATH);
    }
    return pref;
}

} // namespace

std::string SleepSharedPref::GetStringSettings(const std::string& key, const std::string& defaultValue)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr, errCode: %{public}d", errCode);
        return defaultValue;
    }
    return pref->GetString(key, defaultValue);
}

void SleepSharedPref::UpdateStringSettings(const std::string& key, const std::string& value)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return;
    }
    pref->PutString(key, value);
    pref->FlushSync();
}

bool SleepSharedPref::GetBoolSettings(const std::string& key, bool defaultValue)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return defaultValue;
    }
    return pref->GetBool(key, defaultValue);
}

void SleepSharedPref::UpdateBoolSettings(const std::string& key, bool value)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return;
    }
    pref->PutBool(key, value);
    pref->FlushSync();
}

float SleepSharedPref::GetFloatSettings(const std::string& key, float defaultValue)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return defaultValue;
    }
    return pref->GetFloat(key, defaultValue);
}

void SleepSharedPref::UpdateFloatSettings(const std::string& key, float value)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return;
    }
    pref->PutFloat(key, value);
    pref->FlushSync();
}

int64_t SleepSharedPref::GetInt64Settings(const std::string& key, int64_t defaultValue)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return defaultValue;
    }
    return pref->GetLong(key, defaultValue);
}

void SleepSharedPref::UpdateInt64Settings(const std::string& key, int64_t value)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return;
    }
    pref->PutLong(key, value);
    pref->FlushSync();
}

int32_t SleepSharedPref::GetInt32Settings(const std::string& key, int32_t defaultValue)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return defaultValue;
    }
    return pref->GetInt(key, defaultValue);
}

void SleepSharedPref::UpdateInt32Settings(const std::string& key, int32_t value)
{
    int errCode = 0;
    std::shared_ptr<Preferences> pref = OpenPreferences(errCode);
    if (pref == nullptr) {
        STANDBYSERVICE_LOGE("pref is nullptr,  errCode: %{public}d", errCode);
        return;
    }
    pref->PutInt(key, value);
    pref->FlushSync();
}

} // namespace OHOS::DevStandbyMgr
