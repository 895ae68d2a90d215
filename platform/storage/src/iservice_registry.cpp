#include "iservice_registry.h"

#include <mutex>
#include <set>

namespace OHOS {
namespace {

// Which services run on the simulated device.
struct Registry {
    std::mutex mutex;
    bool managerUnavailable = false;
    std::set<int32_t> running{Emulator::SETTINGS_DATA_SYSTEM_ABILITY_ID};
};

Registry& GetRegistry()
{
    static Registry registry;
    return registry;
}

class SystemAbilityManager final : public ISystemAbilityManager {
public:
    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) override
    {
        Registry& registry = GetRegistry();
        std::lock_guard<std::mutex> lock(registry.mutex);
        if (registry.running.count(systemAbilityId) == 0) {
            return nullptr;
        }
        return std::make_shared<IRemoteObject>(systemAbilityId);
    }
};

} // namespace

SystemAbilityManagerClient& SystemAbilityManagerClient::GetInstance()
{
    static SystemAbilityManagerClient client;
    return client;
}

sptr<ISystemAbilityManager> SystemAbilityManagerClient::GetSystemAbilityManager()
{
    static const sptr<ISystemAbilityManager> manager = std::make_shared<SystemAbilityManager>();
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    return registry.managerUnavailable ? nullptr : manager;
}

} // namespace OHOS

namespace OHOS::Emulator {

void SetSystemAbilityManagerUnavailable(bool unavailable)
{
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.managerUnavailable = unavailable;
}

void SetSystemAbilityRunning(int32_t systemAbilityId, bool running)
{
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    if (running) {
        registry.running.insert(systemAbilityId);
    } else {
        registry.running.erase(systemAbilityId);
    }
}

void ResetSystemAbilities()
{
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.managerUnavailable = false;
    registry.running = {SETTINGS_DATA_SYSTEM_ABILITY_ID};
}

} // namespace OHOS::Emulator
