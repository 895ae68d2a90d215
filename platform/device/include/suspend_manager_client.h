#ifndef PLATFORM_INCLUDE_SUSPEND_MANAGER_CLIENT_H
#define PLATFORM_INCLUDE_SUSPEND_MANAGER_CLIENT_H

#include <cstdint>
#include <vector>

// The suspend manager's client: which applications are frozen, answered from the simulated phone
// (simulated_phone.h).

namespace OHOS::SuspendManager {

// Frozen state of one application: whether every process of the uid is frozen.
struct AppFrozenState {
    int32_t uid = -1;
    bool isAllProcessFrozen = false;
};

class SuspendManagerClient {
public:
    static SuspendManagerClient& GetInstance();
    // Replaces `states` with one entry per uid the phone knows (running a continuous task or given a
    // frozen state), in ascending uid order. Returns 0, or a failure code (states untouched) when made
    // to fail (PhoneFault::SUSPEND_MANAGER). Thread-safe.
    int32_t GetAllAppFrozenState(std::vector<AppFrozenState>& states);
};

} // namespace OHOS::SuspendManager

#endif // PLATFORM_INCLUDE_SUSPEND_MANAGER_CLIENT_H
