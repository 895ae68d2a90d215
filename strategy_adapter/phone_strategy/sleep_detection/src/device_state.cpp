#include "device_state.h"

#include <mutex>
#include <set>
#include <vector>

#include "background_task_mgr_helper.h"
#include "battery_srv_client.h"
#include "sleep_log.h"
#include "standby_message.h"
#include "suspend_manager_client.h"
#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {
namespace {

// The uids whose processes are all frozen; empty when the suspend manager cannot say.
std::set<int32_t> GetAllFrozenUids()
{
    std::vector<SuspendManager::AppFrozenState> states;
    int32_t ret = SuspendManager::SuspendManagerClient::GetInstance().GetAllAppFrozenState(states);
    if (ret != ERR_OK) {
        return {};
    }
    std::set<int32_t> frozen;
    for (const auto& state : states) {
        if (state.isAllProcessFrozen) {
            frozen.insert(state.uid);
        }
    }
    return frozen;
}

} // namespace

std::shared_ptr<DeviceState> DeviceState::GetInstance()
{
    static std::mutex mutex;
    static std::shared_ptr<DeviceState> instance;
    std::lock_guard<std::mutex> lock(mutex);
    if (instance == nullptr) {
        instance = std::make_shared<DeviceState>();
    }
    return instance;
}

void DeviceState::HandleScreenOn()
{
    screenOnCount_ += 1;
    isScreenOff_ = false;
    screenOffTimestamp_ = -1;
}

void DeviceState::HandleScreenOff()
{
    isScreenOff_ = true;
    isLocked_ = true;
    screenOffTimestamp_ = TimeProviderExt::GetCurMsecTimestamp();
}

void DeviceState::HandleScreenUnlocked()
{
    isLocked_ = false;
    unlockTimestamp_ = TimeProviderExt::GetCurMsecTimestamp();
}

bool DeviceState::IsCharging() const
{
    return PowerMgr::BatterySrvClient::GetInstance().GetChargingStatus() !=
           PowerMgr::BatteryChargeState::CHARGE_STATE_NONE;
}

int32_t DeviceState::GetBatteryLevel() const
{
    return PowerMgr::BatterySrvClient::GetInstance().GetCapacity();
}

int64_t DeviceState::GetScrOffDuration() const
{
    if (screenOffTimestamp_ <= 0) {
        return 0;
    }
    return TimeProviderExt::GetCurMsecTimestamp() - screenOffTimestamp_;
}

bool DeviceState::IsContinuousBackgroundTask()
{
    activeUsingType_ = ACTIVE_USE_NONE;
    std::vector<std::shared_ptr<BackgroundTaskMgr::ContinuousTaskCallbackInfo>> tasks;
    BackgroundTaskMgr::BackgroundTaskMgrHelper::GetContinuousTaskApps(tasks);
    if (tasks.empty()) {
        return false;
    }
    std::set<int32_t> frozenUids = GetAllFrozenUids();
    for (const auto& task : tasks) {
        if (frozenUids.count(task->GetCreatorUid()) > 0) {
            STANDBYSERVICE_LOGI("ignore frozen app, uid : %{public}d", task->GetCreatorUid());
            continue;
        }
        switch (task->GetTypeId()) {
        case ACTIVE_USE_CALL:
            STANDBYSERVICE_LOGE("calling now, do nothing");
            break;
        case ACTIVE_USE_AUDIO:
            STANDBYSERVICE_LOGE("playing or recording audio now, do nothing");
            break;
        case ACTIVE_USE_NAVIGATION:
            STANDBYSERVICE_LOGE("navigating now, do nothing");
            break;
        default:
            continue;
        }
        activeUsingType_ = static_cast<int32_t>(task->GetTypeId());
        return true;
    }
    return false;
}

} // namespace OHOS::DevStandbyMgr
