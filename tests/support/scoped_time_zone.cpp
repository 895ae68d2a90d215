#include "scoped_time_zone.h"

#include <cstdlib>
#include <ctime>

namespace OHOS::Emulator {

ScopedTimeZone::ScopedTimeZone(const std::string& zone)
{
    if (const char* current = std::getenv("TZ")) {
        previous_ = current;
    }
    setenv("TZ", zone.c_str(), 1);
    tzset();
}

ScopedTimeZone::~ScopedTimeZone()
{
    if (previous_) {
        setenv("TZ", previous_->c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

} // namespace OHOS::Emulator
