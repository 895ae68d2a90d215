#ifndef PLATFORM_INCLUDE_WRITE_CONTROLLER_H
#define PLATFORM_INCLUDE_WRITE_CONTROLLER_H

#include <cstdint>
#include <string>

namespace OHOS::HiviewDFX {

// Rate limit for system events: within one window of the boot clock, at most a fixed number of
// events of one domain and name may be written. Writers ask before each write. Thread-safe.
class WriteController {
public:
    // Counts one attempt to write `eventName` of `domain` and returns true when it is over the
    // limit of the current window (the caller must then drop the event), false when it may be written.
    static bool CheckLimitWritingEvent(const std::string& domain, const std::string& eventName);
};

} // namespace OHOS::HiviewDFX

namespace OHOS::Emulator {

// Default: 10000 events of one name per 1000 ms window.
constexpr int64_t kDefaultSysEventWindowMs = 1000;
constexpr int32_t kDefaultSysEventLimitPerWindow = 10000;

// Sets the window and the number of events of one domain and name allowed in it, and forgets the
// counts so far. REQUIRES: windowMs > 0, limit >= 0.
void SetSysEventRateLimit(int64_t windowMs, int32_t limitPerWindow);
// Restores the defaults and forgets the counts.
void ResetSysEventRateLimit();

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_WRITE_CONTROLLER_H
