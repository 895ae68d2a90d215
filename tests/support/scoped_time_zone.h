#ifndef TESTS_SUPPORT_SCOPED_TIME_ZONE_H
#define TESTS_SUPPORT_SCOPED_TIME_ZONE_H

#include <optional>
#include <string>

namespace OHOS::Emulator {

// RAII for tests: sets the process time zone (TZ + tzset) and restores the previous one on exit.
// Prefer POSIX zone strings ("UTC0", "CST-8", "CET-1CEST,M3.5.0,M10.5.0/3") so that no test
// depends on the machine's zone database.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const std::string& zone);
    ~ScopedTimeZone();
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<std::string> previous_;
};

} // namespace OHOS::Emulator

#endif // TESTS_SUPPORT_SCOPED_TIME_ZONE_H
