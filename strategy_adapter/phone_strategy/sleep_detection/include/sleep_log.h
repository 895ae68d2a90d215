#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_LOG_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_LOG_H

#include "hilog.h"

// The plug-in's log macros: every line goes to the platform log with the standby service's domain
// and tag, prefixed by "[function:line] ". Formats use the platform's %{public}/%{private} markers.
#define SLEEP_LOG_DOMAIN 0xD001718
#define SLEEP_LOG_TAG "StandbyService"

#define SLEEP_LOG_PRINT(level, fmt, ...)                                                                               \
    HiLogPrint(LOG_CORE, level, SLEEP_LOG_DOMAIN, SLEEP_LOG_TAG, "[%{public}s:%{public}d] " fmt, __FUNCTION__,         \
        __LINE__, ##__VA_ARGS__)

#define STANDBYSERVICE_LOGD(fmt, ...) SLEEP_LOG_PRINT(LOG_DEBUG, fmt, ##__VA_ARGS__)
#define STANDBYSERVICE_LOGI(fmt, ...) SLEEP_LOG_PRINT(LOG_INFO, fmt, ##__VA_ARGS__)
#define STANDBYSERVICE_LOGW(fmt, ...) SLEEP_LOG_PRINT(LOG_WARN, fmt, ##__VA_ARGS__)
#define STANDBYSERVICE_LOGE(fmt, ...) SLEEP_LOG_PRINT(LOG_ERROR, fmt, ##__VA_ARGS__)

// Where a line is attributed to. A helper that logs on behalf of the operation calling it takes a
// SleepLogSite as a defaulted parameter and logs with the *_AT macros, so that the prefix names the
// caller's function and line instead of the helper's.
struct SleepLogSite {
    static SleepLogSite Caller(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE())
    {
        return SleepLogSite{function, line};
    }
    const char* function;
    int line;
};

#define SLEEP_LOG_PRINT_AT(site, level, fmt, ...)                                                                      \
    HiLogPrint(LOG_CORE, level, SLEEP_LOG_DOMAIN, SLEEP_LOG_TAG, "[%{public}s:%{public}d] " fmt, (site).function,      \
        (site).line, ##__VA_ARGS__)

#define STANDBYSERVICE_LOGI_AT(site, fmt, ...) SLEEP_LOG_PRINT_AT(site, LOG_INFO, fmt, ##__VA_ARGS__)
#define STANDBYSERVICE_LOGW_AT(site, fmt, ...) SLEEP_LOG_PRINT_AT(site, LOG_WARN, fmt, ##__VA_ARGS__)
#define STANDBYSERVICE_LOGE_AT(site, fmt, ...) SLEEP_LOG_PRINT_AT(site, LOG_ERROR, fmt, ##__VA_ARGS__)

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_LOG_H
