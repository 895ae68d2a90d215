#ifndef TESTS_SUPPORT_SLEEP_DETECTION_TEST_PEER_H
#define TESTS_SUPPORT_SLEEP_DETECTION_TEST_PEER_H

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "sleep_detection.h"

namespace OHOS::DevStandbyMgr {

// Lets tests read and preset the engine's state, which the engine keeps to itself.
class SleepDetectionTestPeer {
public:
    explicit SleepDetectionTestPeer(SleepDetection& engine) : engine_(engine) {}

    bool& SleepTestMode() { return engine_.mSleepTestMode; }
    bool& LastSleepState() { return engine_.mLastSleepState; }
    bool& IsUserSleep() { return engine_.mIsUserSleep; }
    bool& IsEnhanceModelSleep() { return engine_.mIsEnhanceModelSleep; }
    bool& IsEnhanceModelBetter() { return engine_.mIsEnhanceModelBetter; }
    bool& ThreeSigmaModeSwitch() { return engine_.mThreeSigmaModeSwitch; }
    bool& IsReadyForTrain() { return engine_.mIsReadyForTrain; }
    bool& IsTraining() { return engine_.mIsTraining; }
    bool& IsErrorNotificationControlValue() { return engine_.mIsErrorNotificationControlValue; }
    int32_t& BayesResult() { return engine_.mBayesResult; }
    int32_t& BaselineResult() { return engine_.mBaselineResult; }
    int32_t& LoadModelResult() { return engine_.mLoadModelResult; }
    int64_t& LastNightCollectTime() { return engine_.mLastNightCollectTime; }
    int64_t& LastDayCollectTime() { return engine_.mLastDayCollectTime; }
    int64_t& LastTrainTime() { return engine_.mLastTrainTime; }
    int64_t& LastEnhanceModelBetterTime() { return engine_.mLastEnhanceModelBetterTime; }
    int64_t& WakeUpTimestamp() { return engine_.mWakeUpTimestamp; }
    int64_t& StartLightSleepTimestamp() { return engine_.mStartLightSleepTimestamp; }
    int64_t& StartNegativeFeedbackModeTimestamp() { return engine_.mStartNegativeFeedbackModeTimestamp; }
    int64_t& HandledTimestamp() { return engine_.mHandledTimestamp; }
    int32_t& HandledDateIndex() { return engine_.mHandledDateIndex; }
    float& NotiProbWeekday() { return engine_.mNotiProbWeekday; }
    float& NotiProbWeekend() { return engine_.mNotiProbWeekend; }
    int64_t& ThreeSigmaTimestampWeekday() { return engine_.mThreeSigmaTimestampWeekday; }
    int64_t& ThreeSigmaTimestampWeekend() { return engine_.mThreeSigmaTimestampWeekend; }
    SleepDataRecord& NowCollectedData() { return engine_.mNowCollectedData; }
    std::vector<ScreenStateRecord>& ScreenStates() { return engine_.mScreenStates; }
    std::vector<SleepDataRecord>& SleepEnvironments() { return engine_.mSleepEnvironments; }
    std::vector<SleepNotificationRecord>& SleepNotificationRecords() { return engine_.mSleepNotificationRecords; }
    std::list<NotificationInformation>& NotificationInfos() { return engine_.mNotificationInfos; }
    std::map<std::string, int64_t>& CancelNotificationTimes() { return engine_.mCancelNotificationTimes; }
    std::map<int32_t, int32_t>& UnsleepReasons() { return engine_.mUnsleepReasons; }

private:
    SleepDetection& engine_;
};

} // namespace OHOS::DevStandbyMgr

#endif // TESTS_SUPPORT_SLEEP_DETECTION_TEST_PEER_H
