#ifndef PLATFORM_INCLUDE_BACKGROUND_TASK_MGR_HELPER_H
#define PLATFORM_INCLUDE_BACKGROUND_TASK_MGR_HELPER_H

#include <cstdint>
#include <memory>
#include <vector>

// The background task manager's client, listing the continuous tasks the simulated phone runs
// (simulated_phone.h).

namespace OHOS::BackgroundTaskMgr {

// Continuous task type ids of the background task manager.
enum ContinuousTaskType : int32_t {
    DATA_TRANSFER = 1,
    AUDIO_PLAYBACK = 2,
    AUDIO_RECORDING = 3,
    LOCATION = 4,
    BLUETOOTH_INTERACTION = 5,
    MULTI_DEVICE_CONNECTION = 6,
    WIFI_INTERACTION = 7,
    VOIP = 8,
    TASK_KEEPING = 9,
};

// One running continuous task.
class ContinuousTaskCallbackInfo {
public:
    ContinuousTaskCallbackInfo(uint32_t typeId, int32_t creatorUid, int32_t creatorPid)
        : typeId_(typeId), creatorUid_(creatorUid), creatorPid_(creatorPid)
    {
    }
    uint32_t GetTypeId() const { return typeId_; }
    int32_t GetCreatorUid() const { return creatorUid_; }
    int32_t GetCreatorPid() const { return creatorPid_; }

private:
    uint32_t typeId_;
    int32_t creatorUid_;
    int32_t creatorPid_;
};

class BackgroundTaskMgrHelper {
public:
    // Replaces `list` with the running continuous tasks in the order they were started. Returns 0,
    // or a failure code (list untouched) when made to fail (PhoneFault::CONTINUOUS_TASKS). Thread-safe.
    static int32_t GetContinuousTaskApps(std::vector<std::shared_ptr<ContinuousTaskCallbackInfo>>& list);
};

} // namespace OHOS::BackgroundTaskMgr

#endif // PLATFORM_INCLUDE_BACKGROUND_TASK_MGR_HELPER_H
