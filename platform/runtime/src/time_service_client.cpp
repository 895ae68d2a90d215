#include "time_service_client.h"

#include "virtual_clock.h"

namespace OHOS::MiscServices {

TimeServiceClient* TimeServiceClient::GetInstance()
{
    static TimeServiceClient instance;
    return &instance;
}

int64_t TimeServiceClient::GetWallTimeMs()
{
    return Emulator::CurrentClock()->WallTimeMs();
}

int64_t TimeServiceClient::GetBootTimeNs()
{
    return Emulator::CurrentClock()->BootTimeNs();
}

} // namespace OHOS::MiscServices
