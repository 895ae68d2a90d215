#ifndef TESTS_SUPPORT_SCOPED_TIME_ZONE_H
#define TESTS_SUPPORT_SCOPED_TIME_ZONE_H

#include "process_time_zone.h"

namespace OHOS::Emulator {

// For tests: `ScopedTimeZone zone("UTC0")` sets the process time zone and restores the previous one
// on exit. Prefer POSIX zone strings so that no test depends on the machine's zone database.
using ScopedTimeZone = TimeZoneGuard;

} // namespace OHOS::Emulator

#endif // TESTS_SUPPORT_SCOPED_TIME_ZONE_H
