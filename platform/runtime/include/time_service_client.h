#ifndef PLATFORM_INCLUDE_TIME_SERVICE_CLIENT_H
#define PLATFORM_INCLUDE_TIME_SERVICE_CLIENT_H

#include <cstdint>

namespace OHOS::MiscServices {

// The platform time service. Reads the process-wide clock (virtual_clock.h): the system clock
// unless a test or the simulator installed a virtual one. Thread-safe.
class TimeServiceClient {
public:
    static TimeServiceClient* GetInstance();
    // Wall-clock milliseconds since the Unix epoch.
    int64_t GetWallTimeMs();
    // Nanoseconds since boot.
    int64_t GetBootTimeNs();
};

} // namespace OHOS::MiscServices

#endif // PLATFORM_INCLUDE_TIME_SERVICE_CLIENT_H
