#ifndef PLATFORM_INCLUDE_ISERVICE_REGISTRY_H
#define PLATFORM_INCLUDE_ISERVICE_REGISTRY_H

#include <cstdint>

#include "iremote_object.h"
#include "refbase.h"

namespace OHOS {

// Hands out the remote objects of the running system services. Thread-safe.
class ISystemAbilityManager {
public:
    virtual ~ISystemAbilityManager() = default;
    // The remote object of service `systemAbilityId`, or nullptr when it is not running.
    virtual sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) = 0;
};

class SystemAbilityManagerClient {
public:
    static SystemAbilityManagerClient& GetInstance();
    // The manager, or nullptr when it is unavailable.
    sptr<ISystemAbilityManager> GetSystemAbilityManager();
};

} // namespace OHOS

namespace OHOS::Emulator {

// The settings data provider's service id, running by default.
constexpr int32_t SETTINGS_DATA_SYSTEM_ABILITY_ID = 1914;

// Makes GetSystemAbilityManager answer nullptr while `unavailable` is true.
void SetSystemAbilityManagerUnavailable(bool unavailable);
// Starts or stops a service: GetSystemAbility answers nullptr for a stopped one.
void SetSystemAbilityRunning(int32_t systemAbilityId, bool running);
// Only the settings data provider running, manager available.
void ResetSystemAbilities();

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_ISERVICE_REGISTRY_H
