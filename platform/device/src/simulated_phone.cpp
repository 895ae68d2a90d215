#include "simulated_phone.h"

#include <utility>

#include "sensor_agent.h"
#include "virtual_clock.h"

namespace OHOS::Emulator {
namespace {

constexpr float kDefaultProximityCm = 5.0F;
constexpr int32_t kDefaultBatteryLevel = 50;
constexpr int64_t kNsPerMs = 1000000;

} // namespace

SimulatedPhone& SimulatedPhone::GetInstance()
{
    static SimulatedPhone phone;
    return phone;
}

SimulatedPhone::SimulatedPhone()
{
    ResetLocked();
}

void SimulatedPhone::Reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    ResetLocked();
}

void SimulatedPhone::ResetLocked()
{
    handler_.reset();
    presentSensors_ = {SENSOR_TYPE_ID_AMBIENT_LIGHT, SENSOR_TYPE_ID_PROXIMITY};
    lux_ = 0.0F;
    proximityCm_ = kDefaultProximityCm;
    motion_ = MotionState::UNKNOWN;
    chargingStatus_ = 0;
    batteryLevel_ = kDefaultBatteryLevel;
    continuousTasks_.clear();
    frozenUids_.clear();
    faults_.clear();
    callFaults_.clear();
    locks_.clear();
}

void SimulatedPhone::SetEventHandler(std::shared_ptr<AppExecFwk::EventHandler> handler)
{
    std::lock_guard<std::mutex> lock(mutex_);
    handler_ = std::move(handler);
}

std::shared_ptr<AppExecFwk::EventHandler> SimulatedPhone::GetEventHandler() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return handler_;
}

bool SimulatedPhone::PostCallback(std::function<void()> task, int64_t delayMs) const
{
    auto handler = GetEventHandler();
    return handler != nullptr && handler->PostTask(std::move(task), "", delayMs);
}

void SimulatedPhone::SetSensorPresent(int32_t sensorTypeId, bool present)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (present) {
        presentSensors_.insert(sensorTypeId);
    } else {
        presentSensors_.erase(sensorTypeId);
    }
}

bool SimulatedPhone::IsSensorPresent(int32_t sensorTypeId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return presentSensors_.count(sensorTypeId) > 0;
}

std::vector<int32_t> SimulatedPhone::PresentSensors() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return {presentSensors_.begin(), presentSensors_.end()};
}

void SimulatedPhone::SetAmbientLightLux(float lux)
{
    std::lock_guard<std::mutex> lock(mutex_);
    lux_ = lux;
}

float SimulatedPhone::GetAmbientLightLux() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return lux_;
}

void SimulatedPhone::SetProximityDistance(float distanceCm)
{
    std::lock_guard<std::mutex> lock(mutex_);
    proximityCm_ = distanceCm;
}

float SimulatedPhone::GetProximityDistance() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return proximityCm_;
}

void SimulatedPhone::SetMotionState(MotionState state)
{
    std::vector<int32_t> observerIds;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (state == motion_) {
            return;
        }
        motion_ = state;
        for (const auto& entry : motionObservers_) {
            observerIds.push_back(entry.first);
        }
    }
    PostCallback(
        [this, observerIds, state]() {
            for (int32_t id : observerIds) {
                MotionObserver observer;
                {
                    std::lock_guard<std::mutex> lock(mutex_);
                    auto it = motionObservers_.find(id);
                    if (it == motionObservers_.end()) {
                        continue;
                    }
                    observer = it->second;
                }
                observer(state);
            }
        },
        0);
}

MotionState SimulatedPhone::GetMotionState() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return motion_;
}

int32_t SimulatedPhone::AddMotionObserver(MotionObserver observer)
{
    std::lock_guard<std::mutex> lock(mutex_);
    int32_t id = nextObserverId_++;
    motionObservers_[id] = std::move(observer);
    return id;
}

void SimulatedPhone::RemoveMotionObserver(int32_t id)
{
    std::lock_guard<std::mutex> lock(mutex_);
    motionObservers_.erase(id);
}

void SimulatedPhone::SetChargingStatus(int32_t chargingStatus)
{
    std::lock_guard<std::mutex> lock(mutex_);
    chargingStatus_ = chargingStatus;
}

int32_t SimulatedPhone::GetChargingStatus() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return chargingStatus_;
}

void SimulatedPhone::SetBatteryLevel(int32_t percent)
{
    std::lock_guard<std::mutex> lock(mutex_);
    batteryLevel_ = percent;
}

int32_t SimulatedPhone::GetBatteryLevel() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return batteryLevel_;
}

void SimulatedPhone::AddContinuousTask(const ContinuousTask& task)
{
    std::lock_guard<std::mutex> lock(mutex_);
    continuousTasks_.push_back(task);
}

std::vector<ContinuousTask> SimulatedPhone::GetContinuousTasks() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return continuousTasks_;
}

void SimulatedPhone::SetUidFrozen(int32_t uid, bool allProcessesFrozen)
{
    std::lock_guard<std::mutex> lock(mutex_);
    frozenUids_[uid] = allProcessesFrozen;
}

std::map<int32_t, bool> SimulatedPhone::GetFrozenStates() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::map<int32_t, bool> states = frozenUids_;
    for (const auto& task : continuousTasks_) {
        states.emplace(task.creatorUid, false);
    }
    return states;
}

void SimulatedPhone::SetFault(PhoneFault fault, bool on, int32_t sensorTypeId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (on) {
        faults_.emplace(fault, sensorTypeId);
    } else {
        faults_.erase({fault, sensorTypeId});
    }
}

bool SimulatedPhone::HasFault(PhoneFault fault, int32_t sensorTypeId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return faults_.count({fault, kAnySensor}) > 0 || faults_.count({fault, sensorTypeId}) > 0;
}

void SimulatedPhone::ClearFaults()
{
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.clear();
    callFaults_.clear();
}

void SimulatedPhone::FailNthCall(PhoneFault fault, int nth, bool persistent)
{
    std::lock_guard<std::mutex> lock(mutex_);
    callFaults_[fault].FailNth(nth, persistent);
}

int SimulatedPhone::FaultCallCount(PhoneFault fault) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = callFaults_.find(fault);
    return it == callFaults_.end() ? 0 : it->second.Calls();
}

bool SimulatedPhone::CallFails(PhoneFault fault, int32_t sensorTypeId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const bool armedHit = callFaults_[fault].OnCall();
    return armedHit || faults_.count({fault, kAnySensor}) > 0 || faults_.count({fault, sensorTypeId}) > 0;
}

int64_t SimulatedPhone::NowBootMs()
{
    return CurrentBootTimeNs() / kNsPerMs;
}

void SimulatedPhone::SettleExpiry(LockRecord& record, int64_t nowMs)
{
    if (record.stats.held && record.expiresAtMs >= 0 && nowMs >= record.expiresAtMs) {
        record.stats.heldMs += record.expiresAtMs - record.heldSinceMs;
        record.stats.held = false;
    }
}

void SimulatedPhone::EndHold(LockRecord& record, int64_t nowMs)
{
    SettleExpiry(record, nowMs);
    if (record.stats.held) {
        record.stats.heldMs += nowMs - record.heldSinceMs;
        record.stats.held = false;
    }
}

int64_t SimulatedPhone::HeldUpTo(const LockRecord& record, int64_t nowMs)
{
    return record.stats.held ? record.stats.heldMs + (nowMs - record.heldSinceMs) : record.stats.heldMs;
}

int32_t SimulatedPhone::CreateRunningLockRecord(const std::string& name)
{
    std::lock_guard<std::mutex> lock(mutex_);
    int32_t id = nextLockId_++;
    locks_[id].stats.name = name;
    return id;
}

bool SimulatedPhone::LockRunningLock(int32_t id, int32_t timeoutMs)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = locks_.find(id);
    if (it == locks_.end()) {
        return false;
    }
    LockRecord& record = it->second;
    int64_t now = NowBootMs();
    EndHold(record, now);
    record.stats.held = true;
    record.stats.lockCount++;
    record.heldSinceMs = now;
    record.expiresAtMs = timeoutMs > 0 ? now + timeoutMs : -1;
    return true;
}

void SimulatedPhone::UnlockRunningLock(int32_t id)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = locks_.find(id);
    if (it == locks_.end()) {
        return;
    }
    EndHold(it->second, NowBootMs());
}

bool SimulatedPhone::IsRunningLockHeld(int32_t id) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = locks_.find(id);
    if (it == locks_.end()) {
        return false;
    }
    SettleExpiry(it->second, NowBootMs());
    return it->second.stats.held;
}

int64_t SimulatedPhone::GetRunningLockHeldMs() const
{
    int64_t total = 0;
    for (const auto& stats : GetRunningLockStats()) {
        total += stats.heldMs;
    }
    return total;
}

std::vector<RunningLockStats> SimulatedPhone::GetRunningLockStats() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    int64_t now = NowBootMs();
    std::vector<RunningLockStats> result;
    for (auto& entry : locks_) {
        SettleExpiry(entry.second, now);
        RunningLockStats stats = entry.second.stats;
        stats.heldMs = HeldUpTo(entry.second, now);
        result.push_back(stats);
    }
    return result;
}

} // namespace OHOS::Emulator
