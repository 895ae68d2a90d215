#include "suspend_manager_client.h"

#include "simulated_phone.h"

namespace OHOS::SuspendManager {
namespace {

constexpr int32_t kSuspendOk = 0;
constexpr int32_t kSuspendServiceFailed = 29360129;

} // namespace

SuspendManagerClient& SuspendManagerClient::GetInstance()
{
    static SuspendManagerClient client;
    return client;
}

int32_t SuspendManagerClient::GetAllAppFrozenState(std::vector<AppFrozenState>& states)
{
    const Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
    if (phone.HasFault(Emulator::PhoneFault::SUSPEND_MANAGER)) {
        return kSuspendServiceFailed;
    }
    std::vector<AppFrozenState> result;
    for (const auto& [uid, allFrozen] : phone.GetFrozenStates()) {
        result.push_back({uid, allFrozen});
    }
    states.swap(result);
    return kSuspendOk;
}

} // namespace OHOS::SuspendManager
