#ifndef PLATFORM_INCLUDE_SIMULATED_PHONE_H
#define PLATFORM_INCLUDE_SIMULATED_PHONE_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "call_fault.h"
#include "event_handler.h"

namespace OHOS::Emulator {

// Still/move state as the movement service sees it.
enum class MotionState { UNKNOWN, STILL, MOVING };

// Platform calls that can be made to fail on demand.
enum class PhoneFault {
    GET_ALL_SENSORS,      // GetAllSensors fails
    SUBSCRIBE_SENSOR,     // SubscribeSensor fails
    ACTIVATE_SENSOR,      // ActivateSensor fails
    DEACTIVATE_SENSOR,    // DeactivateSensor fails
    UNSUBSCRIBE_SENSOR,   // UnsubscribeSensor fails
    SENSOR_SAMPLES_LOST,  // an active sensor delivers no samples
    MOVEMENT_SUBSCRIBE,   // MovementClient::SubscribeCallback refuses
    MOVEMENT_UNSUBSCRIBE, // MovementClient::UnsubscribeCallback refuses
    RUNNING_LOCK_CREATE,  // PowerMgrClient::CreateRunningLock returns nullptr
    RUNNING_LOCK_LOCK,    // RunningLock::Lock fails and does not hold
    BATTERY_SERVICE,      // BatterySrvClient answers its invalid values
    CONTINUOUS_TASKS,     // BackgroundTaskMgrHelper::GetContinuousTaskApps fails
    SUSPEND_MANAGER,      // SuspendManagerClient::GetAllAppFrozenState fails
};

// Sensor faults may target one sensor type; kAnySensor targets all (and is what other faults use).
constexpr int32_t kAnySensor = -1;

// How long a running lock has been held, in boot-time milliseconds.
struct RunningLockStats {
    std::string name;
    int64_t heldMs = 0;    // total, including the current hold up to now
    int32_t lockCount = 0; // successful Lock calls
    bool held = false;     // held now
};

// One running continuous background task.
struct ContinuousTask {
    uint32_t typeId = 0;
    int32_t creatorUid = -1;
    int32_t creatorPid = -1;
};

// The simulated phone: the hardware and OS state that the platform services answer from (sensors,
// ambient light, proximity, still/move state, battery, continuous tasks, frozen apps, running locks).
// OS accounts are not here: they live in os_account_manager.h.
//
// Contract:
//  - One process-wide instance. Every method is thread-safe.
//  - Writers are the simulator and tests (the "world"): the Set*/Add*/Remove* calls and SetFault.
//    Readers are the platform services (sensor_agent.h, movement_client.h, power_mgr_client.h,
//    battery_srv_client.h, background_task_mgr_helper.h, suspend_manager_client.h) and, for
//    accounting, the simulator.
//  - Callbacks the phone makes on its own (sensor samples, movement changes) are posted as tasks on
//    the event handler given to SetEventHandler, at their virtual time, so they run on that
//    handler's thread between other tasks. With no handler set they are dropped. A change of the
//    still/move state is posted at once (delay 0) to the observers registered at that moment.
//  - Time is the process clock (virtual_clock.h); running locks are accounted in boot time, so a
//    change of the wall clock does not distort the wake-lock cost.
//  - Defaults (also after Reset): ambient light and proximity sensors present, 0 lux, proximity 5 cm
//    (far), motion UNKNOWN, not charging, battery 50 %, no continuous tasks, nothing frozen, no
//    faults, no handler.
class SimulatedPhone {
public:
    using MotionObserver = std::function<void(MotionState)>;

    static SimulatedPhone& GetInstance();
    SimulatedPhone(const SimulatedPhone&) = delete;
    SimulatedPhone& operator=(const SimulatedPhone&) = delete;

    // Restores the defaults and drops running-lock accounting; motion observers (the services' own
    // wiring) stay.
    void Reset();

    void SetEventHandler(std::shared_ptr<AppExecFwk::EventHandler> handler);
    std::shared_ptr<AppExecFwk::EventHandler> GetEventHandler() const;
    // Posts `task` on the handler after `delayMs`; false when no handler is set.
    bool PostCallback(std::function<void()> task, int64_t delayMs) const;

    // Sensors (type ids of sensor_agent.h).
    void SetSensorPresent(int32_t sensorTypeId, bool present);
    bool IsSensorPresent(int32_t sensorTypeId) const;
    std::vector<int32_t> PresentSensors() const; // ascending
    void SetAmbientLightLux(float lux);
    float GetAmbientLightLux() const;
    void SetProximityDistance(float distanceCm);
    float GetProximityDistance() const;

    // Movement. A change (not a repeat of the current state) is posted to the observers.
    void SetMotionState(MotionState state);
    MotionState GetMotionState() const;
    int32_t AddMotionObserver(MotionObserver observer); // returns an id for RemoveMotionObserver
    void RemoveMotionObserver(int32_t id);

    // Battery. `chargingStatus` uses BatteryChargeState's numbers (0 none, 1 charging, 3 full, ...).
    void SetChargingStatus(int32_t chargingStatus);
    int32_t GetChargingStatus() const;
    void SetBatteryLevel(int32_t percent);
    int32_t GetBatteryLevel() const;

    // Continuous background tasks, in start order, and frozen applications.
    void AddContinuousTask(const ContinuousTask& task);
    std::vector<ContinuousTask> GetContinuousTasks() const;
    void SetUidFrozen(int32_t uid, bool allProcessesFrozen);
    // Every uid with a continuous task or a frozen state, ascending, with whether it is all frozen.
    std::map<int32_t, bool> GetFrozenStates() const;

    // Faults. A sensor fault set for kAnySensor applies to every sensor type.
    void SetFault(PhoneFault fault, bool on, int32_t sensorTypeId = kAnySensor);
    bool HasFault(PhoneFault fault, int32_t sensorTypeId = kAnySensor) const;
    void ClearFaults();
    // Makes the nth call of `fault`'s kind from now (counted over every sensor type) fail, and with
    // `persistent` every later one; restarts its count. nth <= 0 disarms. ClearFaults disarms too.
    void FailNthCall(PhoneFault fault, int nth, bool persistent);
    // Calls of `fault`'s kind counted since it was last armed.
    int FaultCallCount(PhoneFault fault) const;
    // Called by the services before a call that can be made to fail: counts it and tells whether it
    // fails (switched on with SetFault, or the armed nth call).
    bool CallFails(PhoneFault fault, int32_t sensorTypeId = kAnySensor);

    // Running locks (used by power_mgr_client.cpp). Ids are never reused.
    int32_t CreateRunningLockRecord(const std::string& name);
    bool LockRunningLock(int32_t id, int32_t timeoutMs);
    void UnlockRunningLock(int32_t id);
    bool IsRunningLockHeld(int32_t id) const;

    // Wake-lock accounting for the simulator: total held time of every running lock ever created,
    // including current holds up to now, and the figures per lock in creation order.
    int64_t GetRunningLockHeldMs() const;
    std::vector<RunningLockStats> GetRunningLockStats() const;

private:
    SimulatedPhone();
    struct LockRecord {
        RunningLockStats stats;
        int64_t heldSinceMs = 0;
        int64_t expiresAtMs = -1; // -1: no timeout
    };
    static int64_t NowBootMs();
    static void SettleExpiry(LockRecord& record, int64_t nowMs);
    // Closes the current hold (if any) at nowMs, or at its timeout when that came first.
    static void EndHold(LockRecord& record, int64_t nowMs);
    static int64_t HeldUpTo(const LockRecord& record, int64_t nowMs);
    void ResetLocked();

    mutable std::mutex mutex_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::set<int32_t> presentSensors_;
    float lux_ = 0.0F;
    float proximityCm_ = 0.0F;
    MotionState motion_ = MotionState::UNKNOWN;
    std::map<int32_t, MotionObserver> motionObservers_;
    int32_t nextObserverId_ = 1;
    int32_t chargingStatus_ = 0;
    int32_t batteryLevel_ = 0;
    std::vector<ContinuousTask> continuousTasks_;
    std::map<int32_t, bool> frozenUids_;
    std::set<std::pair<PhoneFault, int32_t>> faults_;
    std::map<PhoneFault, CallFault> callFaults_;
    mutable std::map<int32_t, LockRecord> locks_;
    int32_t nextLockId_ = 1;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_SIMULATED_PHONE_H
