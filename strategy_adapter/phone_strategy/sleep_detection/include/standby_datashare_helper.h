#ifndef SLEEP_DETECTION_INCLUDE_STANDBY_DATASHARE_HELPER_H
#define SLEEP_DETECTION_INCLUDE_STANDBY_DATASHARE_HELPER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "data_ability_observer_stub.h"
#include "datashare_helper.h"
#include "refbase.h"
#include "standby_message.h"
#include "uri.h"

namespace OHOS::DevStandbyMgr {

// Carries a settings key and the function to call when that setting changes.
class StandbySettingsObserver : public AAFwk::DataAbilityObserverStub {
public:
    StandbySettingsObserver() = default;
    ~StandbySettingsObserver() override = default;

    // Calls the update function with the key, if one is set.
    void OnChange() override;
    void SetKey(const std::string& key);
    const std::string& GetKey() const;
    void SetUpdateFunc(const std::function<void(const std::string&)>& func);

private:
    std::string key_;
    std::function<void(const std::string&)> updateFunc_;
};

// Reads and writes the platform's settings store through the data-share service, one key at a time
// (e.g. the next alarm, "nearestAlarmingTime"). Creation of the platform helper may fail; every
// operation then answers ERR_DATASHARE_HELPER_NULL.
class StandbyDataShareHelper {
public:
    // No platform helper: creation failed or it was released.
    static constexpr ErrCode ERR_DATASHARE_HELPER_NULL = 980001004;
    // The query produced no row for the key.
    static constexpr ErrCode ERR_DATASHARE_QUERY_NO_ROW = 980001005;

    static inline const std::string SETTINGS_DATA_URI =
        "datashare:///com.ohos.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true";
    static inline const std::string USER_SETTINGS_DATA_URI_PREFIX =
        "datashare:///com.ohos.settingsdata/entry/settingsdata/USER_SETTINGSDATA_";

    // Uses the settings table URI, or `uri`, and creates the platform helper of `systemAbilityId`.
    explicit StandbyDataShareHelper(int32_t systemAbilityId);
    StandbyDataShareHelper(int32_t systemAbilityId, const std::string& uri);

    // Typed access to one key; each assembles the key's URI first. Getters return Query's code and
    // leave `value` untouched on failure.
    ErrCode GetStringValue(const std::string& key, std::string& value);
    // Leading base-10 digits of the stored text (no digits gives 0).
    ErrCode GetLongValue(const std::string& key, int64_t& value);
    ErrCode GetIntValue(const std::string& key, int32_t& value);
    // True exactly when the stored text is "true".
    ErrCode GetBoolValue(const std::string& key, bool& value);
    ErrCode PutStringValue(const std::string& key, const std::string& value, bool needNotify = true);
    ErrCode PutLongValue(const std::string& key, int64_t value, bool needNotify = true);
    ErrCode PutIntValue(const std::string& key, int32_t value, bool needNotify = true);
    ErrCode PutBoolValue(const std::string& key, bool value, bool needNotify = true);

    // An observer of `key` that calls `func` with the key on every change.
    sptr<StandbySettingsObserver> CreateObserver(const std::string& key, std::function<void(const std::string&)>& func);
    // (Un)registers the observer on the URI of its key.
    ErrCode RegisterObserver(const sptr<StandbySettingsObserver>& observer);
    ErrCode UnRegisterObserver(const sptr<StandbySettingsObserver>& observer);

    // Reads the "VALUE" of the row whose "KEYWORD" is `key` in the table of `uri`.
    ErrCode Query(Uri& uri, const std::string& key, std::string& value);
    // Writes `value` for `key` (inserting the row when there is none), then notifies observers of
    // `uri` when `needNotify`.
    ErrCode Update(Uri& uri, const std::string& key, const std::string& value, bool needNotify);
    // The URI of `key`: its table (the per-user table for per-user keys) plus "&key=<key>".
    std::string AssembleUri(const std::string& key);

    // Releases the platform helper; afterwards every operation answers ERR_DATASHARE_HELPER_NULL.
    // False when the platform refused.
    bool ReleaseDataShareHelper();
    // The first active user; false when the account query fails or no user is active.
    bool GetCurrentUserId(int32_t& userId);

private:
    std::shared_ptr<DataShare::DataShareHelper> CreateDataShareHelper(int32_t systemAbilityId);

    std::shared_ptr<DataShare::DataShareHelper> dataShareHelper_;
    std::string uri_;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_STANDBY_DATASHARE_HELPER_H
