#ifndef PLATFORM_INCLUDE_POWER_MGR_CLIENT_H
#define PLATFORM_INCLUDE_POWER_MGR_CLIENT_H

#include <cstdint>
#include <memory>
#include <string>

// The power manager's running locks, backed by the simulated phone (simulated_phone.h), which
// accounts how long each lock was held: the phone's wake-lock cost.

namespace OHOS::PowerMgr {

enum class RunningLockType : uint32_t {
    RUNNINGLOCK_SCREEN = 0,
    RUNNINGLOCK_BACKGROUND = 1,
    RUNNINGLOCK_PROXIMITY_SCREEN_CONTROL = 2,
};

// Keeps the device awake while held. Held from Lock until UnLock, the end of the timeout given to
// Lock (> 0), or the lock's destruction, whichever comes first; locking a held lock restarts its
// timeout. Time is the process clock's boot time. Thread-safe.
class RunningLock {
public:
    ~RunningLock();
    RunningLock(const RunningLock&) = delete;
    RunningLock& operator=(const RunningLock&) = delete;

    // 0, or a failure code when made to fail (PhoneFault::RUNNING_LOCK_LOCK); timeOutMs <= 0 holds
    // the lock until UnLock.
    int32_t Lock(int32_t timeOutMs = 0);
    // 0; unlocking a lock that is not held does nothing.
    int32_t UnLock();
    // Whether the lock is held now (an expired timeout counts as released).
    bool IsUsed();
    const std::string& GetName() const { return name_; }

private:
    friend class PowerMgrClient;
    RunningLock(int32_t id, std::string name);
    int32_t id_;
    std::string name_;
};

class PowerMgrClient {
public:
    static PowerMgrClient& GetInstance();
    // A new, released lock; nullptr when made to fail (PhoneFault::RUNNING_LOCK_CREATE).
    std::shared_ptr<RunningLock> CreateRunningLock(const std::string& name, RunningLockType type);
};

} // namespace OHOS::PowerMgr

#endif // PLATFORM_INCLUDE_POWER_MGR_CLIENT_H
