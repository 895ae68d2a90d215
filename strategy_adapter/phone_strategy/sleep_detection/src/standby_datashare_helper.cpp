#include "standby_datashare_helper.h"

#include <cstdlib>
#include <set>
#include <vector>

#include "iservice_registry.h"
#include "os_account_manager.h"
#include "sleep_log.h"

namespace OHOS::DevStandbyMgr {
namespace {

const std::string SETTING_COLUMN_KEYWORD = "KEYWORD";
const std::string SETTING_COLUMN_VALUE = "VALUE";
// Keys kept per user rather than device-wide.
const std::set<std::string> PER_USER_KEYS = {"lockscreen_sounds_enabled"};
constexpr int32_t DEFAULT_USER_ID = 100;
constexpr int CREATOR_WAIT_SECONDS = 2;

} // namespace

void StandbySettingsObserver::OnChange()
{
    if (updateFunc_) {
        updateFunc_(key_);
    }
}

void StandbySettingsObserver::SetKey(const std::string& key)
{
    key_ = key;
}

const std::string& StandbySettingsObserver::GetKey() const
{
    return key_;
}

void StandbySettingsObserver::SetUpdateFunc(const std::function<void(const std::string&)>& func)
{
    updateFunc_ = func;
}

StandbyDataShareHelper::StandbyDataShareHelper(int32_t systemAbilityId)
    : StandbyDataShareHelper(systemAbilityId, SETTINGS_DATA_URI)
{
}

StandbyDataShareHelper::StandbyDataShareHelper(int32_t systemAbilityId, const std::string& uri)
{
    uri_ = uri;
    dataShareHelper_ = CreateDataShareHelper(systemAbilityId);
}

std::shared_ptr<DataShare::DataShareHelper> StandbyDataShareHelper::CreateDataShareHelper(int32_t systemAbilityId)
{
    sptr<ISystemAbilityManager> saManager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (saManager == nullptr) {
        STANDBYSERVICE_LOGE("CreateDataShareHelper GetSystemAbilityManager failed.");
        return nullptr;
    }
    sptr<IRemoteObject> remoteObject = saManager->GetSystemAbility(systemAbilityId);
    if (remoteObject == nullptr) {
        STANDBYSERVICE_LOGE("CreateDataShareHelper GetSystemAbility Service failed.");
        return nullptr;
    }
    STANDBYSERVICE_LOGI("CreateDataShareHelper creator. systemAbilityId:%{public}d", systemAbilityId);
    return DataShare::DataShareHelper::Creator(remoteObject, uri_, "", CREATOR_WAIT_SECONDS);
}

ErrCode StandbyDataShareHelper::GetStringValue(const std::string& key, std::string& value)
{
    Uri uri(AssembleUri(key));
    return Query(uri, key, value);
}

ErrCode StandbyDataShareHelper::GetLongValue(const std::string& key, int64_t& value)
{
    std::string text;
    ErrCode result = GetStringValue(key, text);
    if (result == ERR_OK) {
        value = strtoll(text.c_str(), nullptr, 10);
    }
    return result;
}

ErrCode StandbyDataShareHelper::GetIntValue(const std::string& key, int32_t& value)
{
    int64_t longValue = 0;
    ErrCode result = GetLongValue(key, longValue);
    if (result == ERR_OK) {
        value = static_cast<int32_t>(longValue);
    }
    return result;
}

ErrCode StandbyDataShareHelper::GetBoolValue(const std::string& key, bool& value)
{
    std::string text;
    ErrCode result = GetStringValue(key, text);
    if (result == ERR_OK) {
        value = (text == "true");
    }
    return result;
}

ErrCode StandbyDataShareHelper::PutStringValue(const std::string& key, const std::string& value, bool needNotify)
{
    Uri uri(AssembleUri(key));
    return Update(uri, key, value, needNotify);
}

ErrCode StandbyDataShareHelper::PutLongValue(const std::string& key, int64_t value, bool needNotify)
{
    return PutStringValue(key, std::to_string(value), needNotify);
}

ErrCode StandbyDataShareHelper::PutIntValue(const std::string& key, int32_t value, bool needNotify)
{
    return PutStringValue(key, std::to_string(value), needNotify);
}

ErrCode StandbyDataShareHelper::PutBoolValue(const std::string& key, bool value, bool needNotify)
{
    return PutStringValue(key, value ? "true" : "false", needNotify);
}

sptr<StandbySettingsObserver> StandbyDataShareHelper::CreateObserver(
    const std::string& key, std::function<void(const std::string&)>& func)
{
    sptr<StandbySettingsObserver> observer = std::make_shared<StandbySettingsObserver>();
    observer->SetKey(key);
    observer->SetUpdateFunc(func);
    return observer;
}

ErrCode StandbyDataShareHelper::RegisterObserver(const sptr<StandbySettingsObserver>& observer)
{
    if (dataShareHelper_ == nullptr) {
        STANDBYSERVICE_LOGE("StandbyDataShareHelper register observer error, dataShareHelper_ is nullptr");
        return ERR_DATASHARE_HELPER_NULL;
    }
    if (observer == nullptr) {
        STANDBYSERVICE_LOGE("observer is nullptr");
        return DataShare::E_ERROR;
    }
    Uri uri(AssembleUri(observer->GetKey()));
    ErrCode result = dataShareHelper_->RegisterObserver(uri, observer);
    if (result != ERR_OK) {
        STANDBYSERVICE_LOGE("failed to register observer of key=%{public}s", observer->GetKey().c_str());
        return result;
    }
    STANDBYSERVICE_LOGI("succeed to register observer of key=%{public}s", observer->GetKey().c_str());
    return ERR_OK;
}

ErrCode StandbyDataShareHelper::UnRegisterObserver(const sptr<StandbySettingsObserver>& observer)
{
    if (dataShareHelper_ == nullptr) {
        STANDBYSERVICE_LOGE("StandbyDataShareHelper unregister observer error, dataShareHelper_ is nullptr");
        return ERR_DATASHARE_HELPER_NULL;
    }
    if (observer == nullptr) {
        STANDBYSERVICE_LOGE("observer is nullptr");
        return DataShare::E_ERROR;
    }
    Uri uri(AssembleUri(observer->GetKey()));
    ErrCode result = dataShareHelper_->UnregisterObserver(uri, observer);
    if (result != ERR_OK) {
        STANDBYSERVICE_LOGE("failed to unregister observer of key=%{public}s", observer->GetKey().c_str());
        return result;
    }
    STANDBYSERVICE_LOGI("succeed to unregister observer of key=%{public}s", observer->GetKey().c_str());
    return ERR_OK;
}

ErrCode StandbyDataShareHelper::Query(Uri& uri, const std::string& key, std::string& value)
{
    if (dataShareHelper_ == nullptr) {
        STANDBYSERVICE_LOGE("StandbyDataShareHelper query error, dataShareHelper_ is nullptr");
        return ERR_DATASHARE_HELPER_NULL;
    }
    DataShare::DataSharePredicates predicates;
    predicates.EqualTo(SETTING_COLUMN_KEYWORD, key);
    std::vector<std::string> columns = {SETTING_COLUMN_VALUE};
    std::shared_ptr<DataShare::DataShareResultSet> result = dataShareHelper_->Query(uri, predicates, columns);
    if (result == nullptr) {
        STANDBYSERVICE_LOGE("StandbyDataShareHelper query error, result is null");
        return ERR_DATASHARE_QUERY_NO_ROW;
    }
    if (result->GoToFirstRow() != DataShare::E_OK) {
        STANDBYSERVICE_LOGE("StandbyDataShareHelper query failed,go to first row error");
        result->Close();
        return ERR_DATASHARE_QUERY_NO_ROW;
    }
    int columnIndex = 0;
    std::string text;
    if (result->GetColumnIndex(SETTING_COLUMN_VALUE, columnIndex) != DataShare::E_OK ||
        result->GetString(columnIndex, text) != DataShare::E_OK) {
        STANDBYSERVICE_LOGE("StandbyDataShareHelper query failed, value of key %{public}s unreadable", key.c_str());
        result->Close();
        return ERR_DATASHARE_QUERY_NO_ROW;
    }
    result->Close();
    value = text;
    STANDBYSERVICE_LOGI("StandbyDataShareHelper query success,value[%{public}s]", value.c_str());
    return ERR_OK;
}

ErrCode StandbyDataShareHelper::Update(Uri& uri, const std::string& key, const std::string& value, bool needNotify)
{
    if (dataShareHelper_ == nullptr) {
        STANDBYSERVICE_LOGE("StandbyDataShareHelper update error, dataShareHelper_ is nullptr");
        return ERR_DATASHARE_HELPER_NULL;
    }
    DataShare::DataShareValuesBucket bucket;
    bucket.Put(SETTING_COLUMN_KEYWORD, key);
    bucket.Put(SETTING_COLUMN_VALUE, value);
    DataShare::DataSharePredicates predicates;
    predicates.EqualTo(SETTING_COLUMN_KEYWORD, key);
    if (dataShareHelper_->Update(uri, predicates, bucket) < 1) {
        STANDBYSERVICE_LOGI("no data exist, insert one row");
        if (dataShareHelper_->Insert(uri, bucket) < 1) {
            STANDBYSERVICE_LOGE("insert one row failed");
        }
    }
    if (needNotify) {
        dataShareHelper_->NotifyChange(uri);
    }
    STANDBYSERVICE_LOGI("StandbyDataShareHelper Update success,value[%{public}s]", value.c_str());
    return ERR_OK;
}

std::string StandbyDataShareHelper::AssembleUri(const std::string& key)
{
    std::string base = uri_;
    if (PER_USER_KEYS.count(key) != 0) {
        int32_t userId = DEFAULT_USER_ID; // kept when no active user is known
        (void)GetCurrentUserId(userId);
        base = USER_SETTINGS_DATA_URI_PREFIX + std::to_string(userId) + "?Proxy=true";
    }
    return base + "&key=" + key;
}

bool StandbyDataShareHelper::ReleaseDataShareHelper()
{
    if (dataShareHelper_ == nullptr) {
        return true;
    }
    if (!dataShareHelper_->Release()) {
        STANDBYSERVICE_LOGE("release data share helper fail.");
        return false;
    }
    dataShareHelper_.reset();
    return true;
}

bool StandbyDataShareHelper::GetCurrentUserId(int32_t& userId)
{
    std::vector<int32_t> activeIds;
    if (AccountSA::OsAccountManager::QueryActiveOsAccountIds(activeIds) != ERR_OK || activeIds.empty()) {
        return false;
    }
    userId = activeIds.front();
    return true;
}

} // namespace OHOS::DevStandbyMgr
