#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_SHARED_PREF_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_SHARED_PREF_H

#include <cstdint>
#include <string>

namespace OHOS::DevStandbyMgr {

// The plug-in's scalar state that must survive a restart of the service, kept in one preferences
// file of the platform. Stateless: every call opens the file (or takes it from the platform's cache),
// does one operation and lets go. A file that cannot be opened never fails the caller: getters
// return the default, updaters drop the value; both log, and the cache entry is dropped so that the
// next call opens the file afresh. Updaters flush to disk before they return.
class SleepSharedPref {
public:
    // The preferences file (device-wide, not per user).
    static inline const std::string SLEEP_SHARED_PREF_PATH =
        "/data/service/el1/public/device_standby/sleep_shared_pref.xml";

    // Keys shared by the whole plug-in.
    static inline const std::string IS_PROXIMITY_ERROR = "is_proximity_error";
    static inline const std::string USER_SLEEPING = "user_sleeping";
    static inline const std::string USER_SLEEPING_AI = "user_sleeping_AI";
    static inline const std::string USER_SLEEPING_NOT_CARE_CHARGE_AI = "user_sleeping_not_care_charge_AI";
    static inline const std::string USER_NOT_CARE_CHARGE_SLEEPING_AI = "user_not_care_charge_sleeping_AI";
    static inline const std::string USER_LIGHT_SLEEPING_AI = "user_light_sleeping_AI";
    static inline const std::string USER_EASY_WAKEUP_SLEEPING_AI = "user_easy_wakeup_sleeping_AI";
    static inline const std::string HAS_NOTIFICATION_PROBABILITY_WEEKDAY = "has_notification_probability_weekday";
    static inline const std::string HAS_NOTIFICATION_PROBABILITY_WEEKEND = "has_notification_probability_weekend";
    static inline const std::string THREE_SIGMA_TIMESTAMP_WEEKDAY = "three_sigma_timestamp_weekday";
    static inline const std::string THREE_SIGMA_TIMESTAMP_WEEKEND = "three_sigma_timestamp_weekend";
    static inline const std::string START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP = "start_negative_feedback_mode_timestamp";

    // Getters: the stored value, or `defaultValue` when the key is absent or the file cannot be opened.
    // Updaters: store the value and flush the file at once.
    static std::string GetStringSettings(const std::string& key, const std::string& defaultValue);
    static void UpdateStringSettings(const std::string& key, const std::string& value);
    static bool GetBoolSettings(const std::string& key, bool defaultValue);
    static void UpdateBoolSettings(const std::string& key, bool value);
    static float GetFloatSettings(const std::string& key, float defaultValue);
    static void UpdateFloatSettings(const std::string& key, float value);
    static int64_t GetInt64Settings(const std::string& key, int64_t defaultValue);
    static void UpdateInt64Settings(const std::string& key, int64_t value);
    static int32_t GetInt32Settings(const std::string& key, int32_t defaultValue);
    static void UpdateInt32Settings(const std::string& key, int32_t value);
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_SHARED_PREF_H
