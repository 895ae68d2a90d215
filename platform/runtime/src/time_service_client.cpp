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
    return Emulator::CurrentWallTimeMs();
}

int64_t TimeServiceClient::GetBootTimeNs()
{
    return Emulator::CurrentBootTimeNs();
}

} // namespace OHOS::MiscServices
