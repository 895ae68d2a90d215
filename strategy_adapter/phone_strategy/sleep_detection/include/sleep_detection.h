#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_DETECTION_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_DETECTION_H

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "event_handler.h"
#include "night_wake_bridge.h"
#include "sleep_data_record.h"
#include "sleep_log.h"
#include "sleep_table.h"
#include "want.h"

namespace OHOS::DevStandbyMgr {

class DeviceState;
class SleepDataCollecter;
class SleepDatabaseManager;
class UserSleepPredict;

// A notification shown to the user, kept while it may tell how the user reacted after sleep.
struct NotificationInformation {
    int64_t timestamp = 0;
    std::string pkg;
};

// The sleep detection engine. Turns screen events into a sampling loop, asks the collector for an
// observation every ten minutes of the night, combines the predictor's answers into a sleep
// decision that it sends to the host (2002 awake, 2003 asleep, 2004 light sleep), learns from the
// notifications that follow sleep, keeps the night's data in memory until it is written to the
// sleep database, and starts the nightly training.
//
// Everything runs on the host's event handler thread, except the training, which runs on a
// detached thread of its own (one at a time) and reports back only by message 2001.
// REQUIRES: the object is owned by a std::shared_ptr while it posts tasks.
class SleepDetection : public std::enable_shared_from_this<SleepDetection> {
public:
    // Screen states as passed to HandleScreenStateChange and stored as ScreenStateRecord.
    static constexpr int32_t SCREEN_STATE_OFF = 0;
    static constexpr int32_t SCREEN_STATE_UNLOCKED = 1;
    static constexpr int32_t SCREEN_STATE_BOOT = 2;

    // Sleep-state messages sent to the host.
    static constexpr int32_t EVENT_USER_UNSLEEP = 2002;
    static constexpr int32_t EVENT_USER_SLEEP = 2003;
    static constexpr int32_t EVENT_USER_LIGHT_SLEEP = 2004;

    // Reasons counted when a night is not judged asleep (besides the device's active-use codes).
    static constexpr int32_t UNSLEEP_REASON_NOT_SLEEP = 1;
    static constexpr int32_t UNSLEEP_REASON_CHARGING = 5;

    // Reads the notification probabilities, three-sigma offsets and negative-feedback start from
    // the preferences (missing keys read as 0).
    SleepDetection();
    ~SleepDetection();
    SleepDetection(const SleepDetection&) = delete;
    SleepDetection& operator=(const SleepDetection&) = delete;

    // Screen, boot and user events, called by the strategy.
    // Stops the sampling loop while the screen is on.
    void HandleScreenOn();
    // Records the screen-off, subscribes movement and starts the sampling loop.
    void HandleScreenOff();
    // Records the unlock (arming the model load and the training readiness check) and unsubscribes movement.
    void HandleScreenUnlocked();
    // Records the boot.
    void HandleBootCompleted();
    // The next unlock loads the new user's model.
    void HandleUserSwitched();
    // Fixes this night's three-sigma switch and light-sleep start.
    void HandleStartSleep();
    // Remembers when sleep stopped, for the notification window.
    void HandleStopSleep();
    // Records a screen event, arms the training checks and saves the screen states at their limit.
    void HandleScreenStateChange(int32_t state);

    // The sampling loop and its conditions.
    // One pass of the loop: a night or day observation when due, then the next pass in 10 s.
    void Predict();
    // A night observation is due (resets the night's state in day time).
    bool IsMeetDataCollectCondition();
    // A day observation is due.
    bool IsMeetDayDataCollectCondition();
    // Night hours (21:00-08:00), or the morning until noon while the user was last reported asleep.
    bool IsPredictTime(int64_t timestamp);

    // Prediction of one observation.
    // The whole decision for one observation: predictions, sleep message, reasons, buffering.
    void HandleFinishCollect(SleepDataRecord& record);
    // Runs the predictors on the observation as judged (see NightWakeBridge).
    void GetSleepMetholdPredictResult();
    int32_t DoBayesPredict(SleepDataRecord& judged);
    bool IsBayesAvailable();
    bool IsUserSleep();
    bool IsEnhanceModelSleep();
    void UpdateIsEnhanceModelBetter();
    bool IsUpdateBayesResult();
    void UpdatemNowCollectedData();
    void PrintSleepPredictResult();
    // The user showed that the basic model judged sleep wrongly: trust the enhance model for 3 days.
    void HandleEnhanceModel();
    // A call, audio or navigation keeps the user awake; counts the device's active-use code.
    bool IsOnActiveUsing();
    void SendSleepStateMessage(bool isSleep, int64_t wakeupTime);
    int32_t GetEventTypeForSendSleepStateMessage(bool isSleep);
    // The most counted unsleep reason (the larger key among equals), 0 when none; clears the counts.
    int32_t GetUnsleepMainReason();

    // Notification feedback and the three-sigma and negative-feedback modes.
    void HandleAddNotificationInfo(const std::optional<AAFwk::Want>& want);
    void HandleCancelNotificationInfo(const std::optional<AAFwk::Want>& want);
    // Judges the notifications gathered around the end of sleep and records the outcome.
    void HandleNotificationAfterStopSleep();
    void UpdatemIsErrorNotificationControlValue();
    void UpdateStartNegativeFeedbackModeTimestamp();
    bool IsEnableNegativeFeedbackMode();
    bool IsEnableThreeSigmaModeSwitch();
    void SetThreeSigmaModeSwitch();
    void UpdateStartLightSleepTimestampValue();
    float GetNotiProbThisNight();
    int64_t GetThreeSigmaTimestampThisNight();
    // Takes the notification probabilities and three-sigma offsets of a successful training.
    void UpdateNotificationAndSigmaData(const std::optional<AAFwk::Want>& want);

    // Persistence.
    // Writes and empties the screen-state, observation and notification buffers.
    void SaveDataToDatabase();
    // Saves when six or more observations are buffered.
    void TrySaveSleepDataRecords();
    void SaveScreenStates();
    void SaveSleepEnvironments();
    void SaveSleepNotificationRecords();
    void DeleteTableSleepEnvironmentRecords();
    void DeleteTableScreenStateRecords();
    void DeleteDataIfLongTimeNoTrain();
    // Copies the handled marks of the parameters row.
    void UpdateLastHandledTime();
    void ReportSleepData();
    void ReportSleepEnvironment();
    void ReportSleepDuration();
    void ReportSleepParameters();

    // Training.
    // More than a day since the last training, battery at least 31 percent, charging.
    bool IsMeetTrainCondition();
    // Armed by the readiness check, charging, and dark for more than 5 minutes.
    bool IsReadyForTrain();
    // Saves the buffers and handled marks, then starts the training thread unless one runs.
    void ExecuteTrain();
    // The training thread finished: takes its result, reports the statistics, reloads the model.
    void HandleFinishTrain(const std::optional<AAFwk::Want>& want);
    void LoadModelFirstUnlock();

    // Test hooks of the dump commands.
    void SetSleepTestMode(bool isTestMode);
    // Requests a night observation at once, whatever the time.
    void SleepPredictAutoTest();
    // Runs the decision on a record given as its measured fields joined by "/": timestamp,
    // stationaryDuration, lastUserStationaryStartDuration, userMoveDuration, lightDarkDuration,
    // screenOffDuration, screenOnCount, chargeState, light, proximity, proximityOrigin,
    // proximityErrorSize, proximityListSize, unlockTimestamp, nextAlarmClockTime.
    void SleepPredictManualTest(const std::string& args);
    void SleepModelTrainTest();

    // Quiescence for deterministic drivers: the number of training threads alive (counted from just
    // before a thread starts until the very end of its body, after its finish message was sent),
    // and a wait that blocks until that number is zero. Install the wait with
    // EventHandler::SetQuiescenceWait so that virtual time never moves while a training runs.
    static int32_t GetLiveTrainingThreadCount();
    static void WaitForTrainingThreads();

private:
    friend class SleepDetectionTestPeer;

    std::shared_ptr<SleepDetection> LockSelf();
    void PostSelfTask(void (SleepDetection::*method)(), const std::string& name, int64_t delayMs);
    void ReadyForTrainCheck(SleepLogSite site);
    void TrainIfReady();
    void StartTrainingThread();
    void ResetNightState();
    void CountUnsleepReason(int32_t reason);
    bool ParseManualRecord(const std::string& args, SleepDataRecord& record);

    bool mSleepTestMode = false;
    bool mLastSleepState = false;
    bool mIsUserSleep = false;
    bool mIsEnhanceModelSleep = false;
    bool mIsEnhanceModelBetter = false;
    bool mThreeSigmaModeSwitch = false;
    bool mIsReadyForTrain = false;
    bool mIsTraining = false;
    bool mIsModelLoaded = false;
    bool mIsErrorNotificationControlValue = false;
    int32_t mBayesResult = -1;
    int32_t mBaselineResult = 0;
    int32_t mLoadModelResult = -1;
    int64_t mLastDayCollectTime = 0;
    int64_t mLastNightCollectTime = 0;
    int64_t mLastTrainTime = 0;
    int64_t mLastEnhanceModelBetterTime = 0;
    int64_t mWakeUpTimestamp = -1;
    int64_t mStopSleepTimestamp = 0;
    int64_t mStartLightSleepTimestamp = 0;
    int64_t mStartNegativeFeedbackModeTimestamp = 0;
    int64_t mHandledTimestamp = 0;
    int32_t mHandledDateIndex = 0;
    float mNotiProbWeekday = 0.0F;
    float mNotiProbWeekend = 0.0F;
    int64_t mThreeSigmaTimestampWeekday = 32400000;
    int64_t mThreeSigmaTimestampWeekend = 32400000;
    SleepDataRecord mLastCollectedData;
    SleepDataRecord mNowCollectedData;
    std::vector<ScreenStateRecord> mScreenStates;
    std::vector<SleepDataRecord> mSleepEnvironments;
    std::vector<SleepNotificationRecord> mSleepNotificationRecords;
    std::list<NotificationInformation> mNotificationInfos;
    std::map<std::string, int64_t> mCancelNotificationTimes;
    std::map<int32_t, int32_t> mUnsleepReasons;
    std::shared_ptr<SleepDatabaseManager> mDatabaseManager;
    std::shared_ptr<DeviceState> mDeviceState;
    std::shared_ptr<AppExecFwk::EventHandler> mHandler;
    std::shared_ptr<SleepDataCollecter> mDataCollecter;
    std::shared_ptr<UserSleepPredict> mUserSleepPredict;
    // Short night wakes, for the quick-resume variant.
    NightWakeBridge mNightWakeBridge;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_DETECTION_H
