#include "background_task_mgr_helper.h"

#include "simulated_phone.h"

namespace OHOS::BackgroundTaskMgr {
namespace {

constexpr int32_t kTaskOk = 0;
constexpr int32_t kTaskServiceFailed = 9800005;

} // namespace

int32_t BackgroundTaskMgrHelper::GetContinuousTaskApps(std::vector<std::shared_ptr<ContinuousTaskCallbackInfo>>& list)
{
    const Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
    if (phone.HasFault(Emulator::PhoneFault::CONTINUOUS_TASKS)) {
        return kTaskServiceFailed;
    }
    std::vector<std::shared_ptr<ContinuousTaskCallbackInfo>> tasks;
    for (const auto& task : phone.GetContinuousTasks()) {
        tasks.push_back(std::make_shared<ContinuousTaskCallbackInfo>(task.typeId, task.creatorUid, task.creatorPid));
    }
    list.swap(tasks);
    return kTaskOk;
}

} // namespace OHOS::BackgroundTaskMgr
