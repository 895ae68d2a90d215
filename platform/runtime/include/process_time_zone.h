#ifndef PLATFORM_INCLUDE_PROCESS_TIME_ZONE_H
#define PLATFORM_INCLUDE_PROCESS_TIME_ZONE_H

#include <optional>
#include <string>

namespace OHOS::Emulator {

// Sets the process time zone (TZ) and re-reads it; every local-time conversion of the C library
// uses it. POSIX zone strings ("UTC0", "CST-8", "CET-1CEST,M3.5.0,M10.5.0/3") need no zone database.
void SetProcessTimeZone(const std::string& zone);

// Sets the process time zone back, when it goes, to what it was when it was made; the second form
// also switches to `zone` for its lifetime.
class TimeZoneGuard {
public:
    TimeZoneGuard();
    explicit TimeZoneGuard(const std::string& zone);
    ~TimeZoneGuard();
    TimeZoneGuard(const TimeZoneGuard&) = delete;
    TimeZoneGuard& operator=(const TimeZoneGuard&) = delete;

private:
    std::optional<std::string> previous_;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_PROCESS_TIME_ZONE_H
