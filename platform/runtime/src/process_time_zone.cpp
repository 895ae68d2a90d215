#include "process_time_zone.h"

#include <cstdlib>
#include <ctime>

namespace OHOS::Emulator {

void SetProcessTimeZone(const std::string& zone)
{
    setenv("TZ", zone.c_str(), 1);
    tzset();
}

TimeZoneGuard::TimeZoneGuard()
{
    const char* zone = std::getenv("TZ");
    if (zone != nullptr) {
        previous_ = zone;
    }
}

TimeZoneGuard::TimeZoneGuard(const std::string& zone) : TimeZoneGuard()
{
    SetProcessTimeZone(zone);
}

TimeZoneGuard::~TimeZoneGuard()
{
    if (previous_) {
        SetProcessTimeZone(*previous_);
    } else {
        unsetenv("TZ");
        tzset();
    }
}

} // namespace OHOS::Emulator
