#include "sleep_detection.h"

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>

#include "device_state.h"
#include "night_clock.h"
#include "sleep_data_collecter.h"
#include "sleep_database_manager.h"
#include "sleep_log.h"
#include "sleep_reporter.h"
#include "sleep_shared_pref.h"
#include "standby_host_globals.h"
#include "standby_service_impl.h"
#include "string_utils.h"
#include "time_provider_ext.h"
#include "user_sleep_predict.h"
#include "user_sleep_train_model.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr char LOOP_TASK_NAME[] = "user_sleep_detection_loop_task";
constexpr char CHECK_TRAIN_TASK_NAME[] = "task_check_train_model";

constexpr int64_t LOOP_INTERVAL_MS = 10000;
constexpr int64_t COLLECT_INTERVAL_MS = 600000;
constexpr int64_t DAY_COLLECT_AFTER_LAST_MS = 3600000;
constexpr int64_t DAY_COLLECT_MIN_SCREEN_OFF_MS = 900000;
constexpr float NIGHT_START_HOUR = 21.0F;
constexpr float NIGHT_END_HOUR = 8.0F;
constexpr float KEEP_PREDICT_END_HOUR = 12.0F;
constexpr int32_t DAY_COLLECT_STANDBY_MODE = 2;

constexpr int64_t CHECK_TRAIN_DELAY_MS = 300000;
constexpr int64_t LOAD_MODEL_DELAY_MS = 10000;
constexpr int64_t READY_FOR_TRAIN_DELAY_MS = 180000;
constexpr int64_t TRAIN_MIN_INTERVAL_MS = 86400001;
constexpr int32_t TRAIN_MIN_BATTERY_LEVEL = 31;
constexpr int64_t TRAIN_MIN_SCREEN_OFF_MS = 300001;

constexpr int32_t BAYES_UNAVAILABLE = -1;
constexpr int32_t BAYES_SLEEP_THRESHOLD = 90;
constexpr int32_t BAYES_LIGHT_SLEEP = 103;
constexpr int32_t BASELINE_SLEEP = 1;
constexpr int32_t BASELINE_OVERRULED = -2;
constexpr int64_t NEAR_WAKEUP_MS = 900000;
constexpr int32_t ENHANCE_MIN_STILL_OR_DARK_SEC = 1800;
constexpr float ENHANCE_END_HOUR = 6.0F;
constexpr int64_t ENHANCE_BETTER_PERIOD_MS = 259200001;

constexpr int64_t NOTIFICATION_AFTER_STOP_MS = 60001;
constexpr int64_t NEGATIVE_FEEDBACK_PERIOD_MS = 259200000;
constexpr float THREE_SIGMA_NOTI_PROB_THRESHOLD = 0.1F;
constexpr int64_t HALF_DAY_MS = 43200000;
constexpr int32_t FIRST_WEEKEND_DAY = 6;

constexpr size_t SCREEN_STATES_SAVE_LIMIT = 20;
constexpr size_t SCREEN_STATES_MEMORY_CAP = 100;
constexpr size_t ENVIRONMENTS_SAVE_LIMIT = 6;
constexpr size_t ENVIRONMENTS_MEMORY_CAP = 132;
constexpr int64_t ENVIRONMENT_TABLE_LIMIT = 10001;
constexpr int64_t SCREEN_STATE_TABLE_LIMIT = 20001;

constexpr size_t MANUAL_RECORD_FIELD_COUNT = 15;
constexpr int32_t UNLABELLED = -1;

int64_t Now()
{
    return TimeProviderExt::GetCurMsecTimestamp();
}

// Live training threads, for drivers that must not move virtual time while one
// runs.
std::atomic<int32_t> g_liveTrainingThreads{0};
std::mutex g_trainingThreadsMutex;
std::condition_variable g_trainingThreadsDone;

void OnTrainingThreadEnd()
{
    std::lock_guard<std::mutex> lock(g_trainingThreadsMutex);
    g_liveTrainingThreads.fetch_sub(1);
    g_trainingThreadsDone.notify_all();
}

SleepEnvironment ToSleepEnvironment(const SleepDataRecord& record)
{
    SleepEnvironment env;
    env.timestamp = record.timestamp;
    env.screenOffDuration = record.screenOffDuration;
    env.userStationaryDuration = record.stationaryDuration;
    env.chargeState = record.chargeState;
    env.light = record.light;
    env.lightDarkDuration = record.lightDarkDuration;
    env.proximity = record.proximity;
    env.label = UNLABELLED;
    env.nextClock = record.nextAlarmClockTime;
    env.bayesResult = record.bayesResult;
    env.baselineResult = record.baselineResult;
    env.isTimeOk = record.isTimeOk;
    env.wakeupTime = record.wakeupTime;
    return env;
}

bool ParseInteger(const std::string& text, int64_t& out)
{
    long value = 0;
    if (StringUtils::StringToNumber<long>(text, value) != StrCnvResult::SUCCESS) {
        return false;
    }
    out = value;
    return true;
}

bool ParseInt32(const std::string& text, int32_t& out)
{
    int64_t value = 0;
    if (!ParseInteger(text, value) || value < INT32_MIN || value > INT32_MAX) {
        return false;
    }
    out = static_cast<int32_t>(value);
    return true;
}

bool ParseDouble(const std::string& text, double& out)
{
    char* end = nullptr;
    double value = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size()) {
        return false;
    }
    out = value;
    return true;
}

} // namespace

SleepDetection::SleepDetection()
    : mDatabaseManager(SleepDatabaseManager::GetInstance()), mDeviceState(DeviceState::GetInstance()),
      mHandler(StandbyServiceImpl::GetInstance()->GetHandler()), mDataCollecter(std::make_shared<SleepDataCollecter>()),
      mUserSleepPredict(std::make_shared<UserSleepPredict>())
{
    mNotiProbWeekday = SleepSharedPref::GetFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKDAY, 0);
    mNotiProbWeekend = SleepSharedPref::GetFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKEND, 0);
    mThreeSigmaTimestampWeekday = SleepSharedPref::GetInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKDAY, 0);
    mThreeSigmaTimestampWeekend = SleepSharedPref::GetInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKEND, 0);
    mStartNegativeFeedbackModeTimestamp =
        SleepSharedPref::GetInt64Settings(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 0);
}

SleepDetection::~SleepDetection() = default;

std::shared_ptr<SleepDetection> SleepDetection::LockSelf()
{
    std::shared_ptr<SleepDetection> self = weak_from_this().lock();
    if (self == nullptr) {
        STANDBYSERVICE_LOGE("SleepDetection is not owned by a shared pointer");
        std::abort();
    }
    return self;
}

void SleepDetection::PostSelfTask(void (SleepDetection::*method)(), const std::string& name, int64_t delayMs)
{
    std::shared_ptr<SleepDetection> self = LockSelf();
    mHandler->PostTask([self, method]() { ((*self).*method)(); }, name, delayMs, AppExecFwk::EventQueue::Priority::LOW);
}

// ---- Screen, boot and user events ----

void SleepDetection::HandleScreenOn()
{
    mNightWakeBridge.OnScreenOn(Now(), mLastSleepState);
    mHandler->RemoveTask(LOOP_TASK_NAME);
}

void SleepDetection::HandleScreenOff()
{
    mNightWakeBridge.OnScreenOff(Now());
    std::shared_ptr<SleepDetection> self = LockSelf();
    mHandler->PostTask(
        [self]() {
            self->HandleScreenStateChange(SCREEN_STATE_OFF);
            self->mDataCollecter->SubscribeMovement();
            self->Predict();
        },
        "", 0, AppExecFwk::EventQueue::Priority::LOW);
}

void SleepDetection::HandleScreenUnlocked()
{
    std::shared_ptr<SleepDetection> self = LockSelf();
    mHandler->PostTask(
        [self]() {
            self->HandleScreenStateChange(SCREEN_STATE_UNLOCKED);
            self->mDataCollecter->UnsubscribeMovement();
        },
        "", 0, AppExecFwk::EventQueue::Priority::LOW);
}

void SleepDetection::HandleBootCompleted()
{
    std::shared_ptr<SleepDetection> self = LockSelf();
    mHandler->PostTask(
        [self]() { self->HandleScreenStateChange(SCREEN_STATE_BOOT); }, "", 0, AppExecFwk::EventQueue::Priority::LOW);
}

void SleepDetection::HandleUserSwitched()
{
    mIsModelLoaded = false;
}

void SleepDetection::HandleStartSleep()
{
    SetThreeSigmaModeSwitch();
    UpdateStartLightSleepTimestampValue();
}

void SleepDetection::HandleStopSleep()
{
    mStopSleepTimestamp = Now();
}

void SleepDetection::HandleScreenStateChange(int32_t state)
{
    mHandler->RemoveTask(CHECK_TRAIN_TASK_NAME);
    if (state != SCREEN_STATE_UNLOCKED) {
        PostSelfTask(&SleepDetection::TrainIfReady, CHECK_TRAIN_TASK_NAME, CHECK_TRAIN_DELAY_MS);
    } else {
        if (!mIsModelLoaded) {
            PostSelfTask(&SleepDetection::LoadModelFirstUnlock, "", LOAD_MODEL_DELAY_MS);
        }
        std::shared_ptr<SleepDetection> self = LockSelf();
        SleepLogSite site = SleepLogSite::Caller();
        mHandler->PostTask([self, site]() { self->ReadyForTrainCheck(site); }, "", READY_FOR_TRAIN_DELAY_MS,
            AppExecFwk::EventQueue::Priority::LOW);
    }
    ScreenStateRecord record;
    record.timestamp = Now();
    record.state = state;
    mScreenStates.push_back(record);
    if (mScreenStates.size() > SCREEN_STATES_SAVE_LIMIT) {
        SaveDataToDatabase();
        STANDBYSERVICE_LOGI("screen state records need save to long standby database.");
        DeleteTableSleepEnvironmentRecords();
        DeleteTableScreenStateRecords();
        if (mScreenStates.size() > SCREEN_STATES_MEMORY_CAP) {
            mScreenStates.clear();
            STANDBYSERVICE_LOGW("clear screen data because the count more than the "
                                "max threshold in momory.");
        }
    }
}

// ---- The sampling loop ----

bool SleepDetection::IsPredictTime(int64_t timestamp)
{
    float hour = NightClock::NightHour(timestamp);
    if (hour >= NIGHT_START_HOUR || hour < NIGHT_END_HOUR) {
        return true;
    }
    if (hour < KEEP_PREDICT_END_HOUR && mLastSleepState) {
        STANDBYSERVICE_LOGI("cur time is keep predict");
        return true;
    }
    return false;
}

void SleepDetection::ResetNightState()
{
    mBayesResult = 0;
    mBaselineResult = 0;
    mWakeUpTimestamp = -1;
    mIsUserSleep = false;
    mIsEnhanceModelSleep = false;
    mThreeSigmaModeSwitch = false;
    mStartLightSleepTimestamp = 0;
}

bool SleepDetection::IsMeetDataCollectCondition()
{
    if (mSleepTestMode) {
        return false;
    }
    int64_t now = Now();
    if (now < mLastNightCollectTime + COLLECT_INTERVAL_MS) {
        return false;
    }
    if (IsPredictTime(now)) {
        return true;
    }
    ResetNightState();
    return false;
}

bool SleepDetection::IsMeetDayDataCollectCondition()
{
    int64_t now = Now();
    if (now < mLastDayCollectTime + COLLECT_INTERVAL_MS) {
        return false;
    }
    float hour = NightClock::NightHour(now);
    if (hour <= NIGHT_END_HOUR || hour >= NIGHT_START_HOUR) {
        return false;
    }
    int64_t lastCollect = mDataCollecter->GetLastCollectTimestamp();
    if (now - lastCollect < DAY_COLLECT_AFTER_LAST_MS) {
        return false;
    }
    if (lastCollect >= mDeviceState->GetScreenOffTimestamp()) {
        return false;
    }
    return mDeviceState->GetScrOffDuration() >= DAY_COLLECT_MIN_SCREEN_OFF_MS;
}

void SleepDetection::Predict()
{
    mHandler->RemoveTask(LOOP_TASK_NAME);
    if (IsMeetDataCollectCondition()) {
        mLastNightCollectTime = Now();
        mDataCollecter->CollectSleepData(false);
    }
    if (STANDBT_MODE == DAY_COLLECT_STANDBY_MODE && IsMeetDayDataCollectCondition()) {
        mLastDayCollectTime = Now();
        mDataCollecter->CollectSleepData(true);
    }
    PostSelfTask(&SleepDetection::Predict, LOOP_TASK_NAME, LOOP_INTERVAL_MS);
}

// ---- Prediction of one observation ----

void SleepDetection::HandleFinishCollect(SleepDataRecord& record)
{
    mNowCollectedData = record;
    GetSleepMetholdPredictResult();
    mIsUserSleep = IsUserSleep();
    if (!mIsUserSleep) {
        CountUnsleepReason(UNSLEEP_REASON_NOT_SLEEP);
    }
    mIsEnhanceModelSleep = mIsUserSleep && IsEnhanceModelSleep();
    UpdateIsEnhanceModelBetter();
    UpdatemNowCollectedData();
    PrintSleepPredictResult();
    mLastSleepState = mIsEnhanceModelBetter ? mIsEnhanceModelSleep : mIsUserSleep;
    if (mLastSleepState) {
        mUserSleepPredict->UpdateLastClockTime(mNowCollectedData.nextAlarmClockTime);
    }
    if (IsOnActiveUsing()) {
        SendSleepStateMessage(false, -1);
    } else {
        SendSleepStateMessage(mLastSleepState, mWakeUpTimestamp);
    }
    mNightWakeBridge.OnJudged(mNowCollectedData);
    if (mDeviceState->IsCharging()) {
        CountUnsleepReason(UNSLEEP_REASON_CHARGING);
    }
    mLastCollectedData = mNowCollectedData;
    mSleepEnvironments.push_back(mNowCollectedData);
    if (mSleepEnvironments.size() >= ENVIRONMENTS_SAVE_LIMIT) {
        SaveDataToDatabase();
        if (mSleepEnvironments.size() > ENVIRONMENTS_MEMORY_CAP) {
            mSleepEnvironments.clear();
            STANDBYSERVICE_LOGW("clear long standby data because the count more than "
                                "the max threshold in momory.");
        }
    }
}

void SleepDetection::GetSleepMetholdPredictResult()
{
    SleepDataRecord judged = mNightWakeBridge.JudgedRecord(mNowCollectedData);
    mUserSleepPredict->UpdateSleepProByWeekType(judged.weekType);
    mBaselineResult = mUserSleepPredict->SleepBaselinePredict(mLastCollectedData, judged);
    float notificationProbability = GetNotiProbThisNight();
    bool isNegativeFeedback = IsEnableNegativeFeedbackMode();
    mWakeUpTimestamp = mUserSleepPredict->WakeUpPredict(judged, notificationProbability, isNegativeFeedback);
    mBayesResult = DoBayesPredict(judged);
    mNowCollectedData.timeSleepProbability = judged.timeSleepProbability;
}

int32_t SleepDetection::DoBayesPredict(SleepDataRecord& judged)
{
    if (mLoadModelResult != 0) {
        return BAYES_UNAVAILABLE;
    }
    return mUserSleepPredict->SleepBayesPredict(mLastCollectedData, judged);
}

bool SleepDetection::IsBayesAvailable()
{
    return mBayesResult != BAYES_UNAVAILABLE;
}

bool SleepDetection::IsUserSleep()
{
    if (mWakeUpTimestamp - NEAR_WAKEUP_MS <= Now()) {
        STANDBYSERVICE_LOGI("standby stopped because the time is near or later than alarm.");
        return false;
    }
    if (IsBayesAvailable()) {
        return mBayesResult >= BAYES_SLEEP_THRESHOLD;
    }
    return mBaselineResult == BASELINE_SLEEP;
}

bool SleepDetection::IsEnhanceModelSleep()
{
    if (IsBayesAvailable()) {
        return mBayesResult >= BAYES_SLEEP_THRESHOLD;
    }
    int32_t longest = std::max(mNowCollectedData.stationaryDuration, mNowCollectedData.screenOffDuration);
    return longest >= ENHANCE_MIN_STILL_OR_DARK_SEC &&
           NightClock::NightHour(mNowCollectedData.timestamp) < ENHANCE_END_HOUR;
}

void SleepDetection::UpdateIsEnhanceModelBetter()
{
    if (mIsEnhanceModelBetter &&
        mNowCollectedData.timestamp - mLastEnhanceModelBetterTime >= ENHANCE_BETTER_PERIOD_MS) {
        mIsEnhanceModelBetter = false;
        STANDBYSERVICE_LOGI("update Is EnhanceModelBetter to %{public}d", mIsEnhanceModelBetter);
    }
    if (mIsEnhanceModelBetter && mBayesResult == BAYES_UNAVAILABLE && mIsUserSleep && !mIsEnhanceModelSleep) {
        mBaselineResult = BASELINE_OVERRULED;
    }
}

bool SleepDetection::IsUpdateBayesResult()
{
    return mStartLightSleepTimestamp > 0 && mStartLightSleepTimestamp <= Now() && mBayesResult != BAYES_UNAVAILABLE;
}

void SleepDetection::UpdatemNowCollectedData()
{
    if (IsUpdateBayesResult() && mBayesResult >= BAYES_SLEEP_THRESHOLD) {
        mBayesResult = BAYES_LIGHT_SLEEP;
    }
    mNowCollectedData.bayesResult = mBayesResult;
    mNowCollectedData.baselineResult = mBaselineResult;
    mNowCollectedData.wakeupTime = mWakeUpTimestamp;
}

void SleepDetection::PrintSleepPredictResult()
{
    STANDBYSERVICE_LOGI("predict result %{public}s", mNowCollectedData.FeatureToString().c_str());
}

void SleepDetection::HandleEnhanceModel()
{
    if (!mIsUserSleep || mIsEnhanceModelSleep) {
        return;
    }
    mLastEnhanceModelBetterTime = Now();
    mIsEnhanceModelBetter = true;
    STANDBYSERVICE_LOGI("is long standby = %{public}d, is enhance long standby = %{public}d, "
                        "last enhance model "
                        "better time = %{public}ld, is enhance model better = %{public}d",
        mIsUserSleep, mIsEnhanceModelSleep, static_cast<long>(mLastEnhanceModelBetterTime), mIsEnhanceModelBetter);
}

bool SleepDetection::IsOnActiveUsing()
{
    if (mDeviceState == nullptr) {
        STANDBYSERVICE_LOGE("DeviceState is nullptr");
        return false;
    }
    if (!mDeviceState->IsContinuousBackgroundTask()) {
        return false;
    }
    CountUnsleepReason(mDeviceState->GetActiveUsingType());
    return true;
}

void SleepDetection::SendSleepStateMessage(bool isSleep, int64_t wakeupTime)
{
    int32_t eventId = GetEventTypeForSendSleepStateMessage(isSleep);
    AAFwk::Want want;
    want.SetParam("isSleep", isSleep);
    want.SetParam("wakeupTime", wakeupTime);
    StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(eventId, "", want));
}

int32_t SleepDetection::GetEventTypeForSendSleepStateMessage(bool isSleep)
{
    if (!isSleep) {
        mLastSleepState = false;
        return EVENT_USER_UNSLEEP;
    }
    if (mThreeSigmaModeSwitch && mStartLightSleepTimestamp < Now()) {
        STANDBYSERVICE_LOGI("the event is light slp state");
        return EVENT_USER_LIGHT_SLEEP;
    }
    mLastSleepState = true;
    return EVENT_USER_SLEEP;
}

void SleepDetection::CountUnsleepReason(int32_t reason)
{
    ++mUnsleepReasons[reason];
}

int32_t SleepDetection::GetUnsleepMainReason()
{
    int32_t mainReason = 0;
    int32_t mostCount = 0;
    for (const auto& [reason, count] : mUnsleepReasons) {
        if (count >= mostCount) {
            mainReason = reason;
            mostCount = count;
        }
    }
    mUnsleepReasons.clear();
    return mainReason;
}

// ---- Notification feedback, three-sigma and negative-feedback modes ----

void SleepDetection::HandleAddNotificationInfo(const std::optional<AAFwk::Want>& want)
{
    if (!want.has_value()) {
        return;
    }
    int64_t timestamp = want->GetLongParam("timestamp", -1);
    std::string pkg = want->GetStringParam("pkg");
    if (timestamp - mStopSleepTimestamp < NOTIFICATION_AFTER_STOP_MS) {
        mNotificationInfos.push_back({timestamp, pkg});
        STANDBYSERVICE_LOGI("new notification information: timestamp %{public}ld; pkg %{public}s",
            static_cast<long>(timestamp), pkg.c_str());
    }
}

void SleepDetection::HandleCancelNotificationInfo(const std::optional<AAFwk::Want>& want)
{
    if (!want.has_value()) {
        return;
    }
    int64_t timestamp = want->GetLongParam("timestamp", -1);
    std::string pkg = want->GetStringParam("pkg");
    mCancelNotificationTimes.emplace(pkg, timestamp);
    STANDBYSERVICE_LOGI("cancel notification information: timestamp %{public}ld; pkg %{public}s",
        static_cast<long>(timestamp), pkg.c_str());
}

void SleepDetection::UpdatemIsErrorNotificationControlValue()
{
    if (mNotificationInfos.empty()) {
        STANDBYSERVICE_LOGW("no message is received in device night long standby mode");
        mIsErrorNotificationControlValue = false;
        return;
    }
    int64_t now = Now();
    for (const NotificationInformation& info : mNotificationInfos) {
        auto cancel = mCancelNotificationTimes.find(info.pkg);
        if (info.pkg.empty() || cancel == mCancelNotificationTimes.end()) {
            continue;
        }
        if (cancel->second > info.timestamp && cancel->second < now) {
            STANDBYSERVICE_LOGI("vaild message is received in device night long standby mode");
            mIsErrorNotificationControlValue = true;
            return;
        }
    }
    STANDBYSERVICE_LOGI("no vaild message is received in device night long standby mode");
    mIsErrorNotificationControlValue = false;
}

void SleepDetection::HandleNotificationAfterStopSleep()
{
    UpdatemIsErrorNotificationControlValue();
    mNotificationInfos.clear();
    mCancelNotificationTimes.clear();
    if (mIsErrorNotificationControlValue) {
        UpdateStartNegativeFeedbackModeTimestamp();
    }
    SleepNotificationRecord record;
    record.timestamp = Now();
    record.isHasNotification = mIsErrorNotificationControlValue ? 1 : 0;
    record.weekDay = TimeProviderExt::TimestampToWeekIndex(record.timestamp);
    mSleepNotificationRecords.push_back(record);
    STANDBYSERVICE_LOGI("record{timestamp: %{public}ld, hasNotification: "
                        "%{public}d}, weekday: %{public}d}",
        static_cast<long>(record.timestamp), static_cast<int32_t>(record.isHasNotification),
        static_cast<int32_t>(record.weekDay));
}

void SleepDetection::UpdateStartNegativeFeedbackModeTimestamp()
{
    mStartNegativeFeedbackModeTimestamp = Now();
    STANDBYSERVICE_LOGI("update start negative feedback mode timestamp: %{public}ld",
        static_cast<long>(mStartNegativeFeedbackModeTimestamp));
    SleepSharedPref::UpdateInt64Settings(
        SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, mStartNegativeFeedbackModeTimestamp);
}

bool SleepDetection::IsEnableNegativeFeedbackMode()
{
    int64_t duration = Now() - mStartNegativeFeedbackModeTimestamp;
    if (duration > 0 && duration < NEGATIVE_FEEDBACK_PERIOD_MS) {
        STANDBYSERVICE_LOGI("The duration for starting the feedback mode is less "
                            "than threshold time: %{public}ld",
            static_cast<long>(duration));
        return true;
    }
    return false;
}

bool SleepDetection::IsEnableThreeSigmaModeSwitch()
{
    float notificationProbability = GetNotiProbThisNight();
    if (notificationProbability > THREE_SIGMA_NOTI_PROB_THRESHOLD) {
        STANDBYSERVICE_LOGI("enable three sigma mode because of notification "
                            "probability: %{public}f",
            static_cast<double>(notificationProbability));
        return true;
    }
    if (IsEnableNegativeFeedbackMode()) {
        STANDBYSERVICE_LOGI("enable three sigma mode because of negative feedback mode: start time "
                            "%{public}ld, "
                            "dur %{public}ld",
            static_cast<long>(mStartNegativeFeedbackModeTimestamp),
            static_cast<long>(Now() - mStartNegativeFeedbackModeTimestamp));
        return true;
    }
    return false;
}

void SleepDetection::SetThreeSigmaModeSwitch()
{
    mThreeSigmaModeSwitch = IsEnableThreeSigmaModeSwitch();
    if (mThreeSigmaModeSwitch) {
        STANDBYSERVICE_LOGI("set three sigma mode switch true");
    }
}

void SleepDetection::UpdateStartLightSleepTimestampValue()
{
    if (!mThreeSigmaModeSwitch) {
        return;
    }
    mStartLightSleepTimestamp =
        TimeProviderExt::GetAlarmClcokTimestamp(Now() + HALF_DAY_MS, 0, 0, 0) + GetThreeSigmaTimestampThisNight();
    STANDBYSERVICE_LOGI(
        "update start light slp timestamp to %{public}ld", static_cast<long>(mStartLightSleepTimestamp));
}

float SleepDetection::GetNotiProbThisNight()
{
    return mNowCollectedData.weekType < FIRST_WEEKEND_DAY ? mNotiProbWeekday : mNotiProbWeekend;
}

int64_t SleepDetection::GetThreeSigmaTimestampThisNight()
{
    return mNowCollectedData.weekType < FIRST_WEEKEND_DAY ? mThreeSigmaTimestampWeekday : mThreeSigmaTimestampWeekend;
}

void SleepDetection::UpdateNotificationAndSigmaData(const std::optional<AAFwk::Want>& want)
{
    if (!want.has_value() || !want->GetBoolParam("isTrainSuccess", false)) {
        STANDBYSERVICE_LOGW("Faild to return train result");
        return;
    }
    mNotiProbWeekday = want->GetFloatParam("notiProbWeekday", 0);
    mNotiProbWeekend = want->GetFloatParam("notiProbWeekend", 0);
    mThreeSigmaTimestampWeekday = want->GetLongParam("weekdayThreeSigmaTimestamp", 0);
    mThreeSigmaTimestampWeekend = want->GetLongParam("weekendThreeSigmaTimestamp", 0);
    STANDBYSERVICE_LOGI("update hasNotiProbWeekday: %{public}f, hasNotiProbWeekend: %{public}f, "
                        "weekdayThreeSigmaTimestamp: %{public}ld, weekendThreeSigmaTimestamp: "
                        "%{public}ld",
        static_cast<double>(mNotiProbWeekday), static_cast<double>(mNotiProbWeekend),
        static_cast<long>(mThreeSigmaTimestampWeekday), static_cast<long>(mThreeSigmaTimestampWeekend));
    SleepSharedPref::UpdateFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKDAY, mNotiProbWeekday);
    SleepSharedPref::UpdateFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKEND, mNotiProbWeekend);
    SleepSharedPref::UpdateInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKDAY, mThreeSigmaTimestampWeekday);
    SleepSharedPref::UpdateInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKEND, mThreeSigmaTimestampWeekend);
}

// ---- Persistence ----

void SleepDetection::SaveDataToDatabase()
{
    SaveScreenStates();
    SaveSleepEnvironments();
    SaveSleepNotificationRecords();
    STANDBYSERVICE_LOGI("save data to sleep.db");
}

void SleepDetection::TrySaveSleepDataRecords()
{
    if (mSleepEnvironments.size() >= ENVIRONMENTS_SAVE_LIMIT) {
        SaveDataToDatabase();
    }
}

void SleepDetection::SaveScreenStates()
{
    if (mScreenStates.empty()) {
        STANDBYSERVICE_LOGI("screen state records is empty");
    } else if (mDatabaseManager->InsertEntries(ScreenStateRecord::TABLE_NAME, mScreenStates) != 0) {
        STANDBYSERVICE_LOGD("Faired to save screen state records");
    }
    mScreenStates.clear();
}

void SleepDetection::SaveSleepEnvironments()
{
    if (mSleepEnvironments.empty()) {
        STANDBYSERVICE_LOGI("slp environment records is empty");
    } else {
        std::vector<SleepEnvironment> rows;
        rows.reserve(mSleepEnvironments.size());
        for (const SleepDataRecord& record : mSleepEnvironments) {
            rows.push_back(ToSleepEnvironment(record));
        }
        if (mDatabaseManager->InsertEntries(SleepEnvironment::TABLE_NAME, rows) != 0) {
            STANDBYSERVICE_LOGD("Faired to save slp environment records");
        }
    }
    mSleepEnvironments.clear();
}

void SleepDetection::SaveSleepNotificationRecords()
{
    if (mSleepNotificationRecords.empty()) {
        STANDBYSERVICE_LOGI("slp notification records is empty");
    } else if (mDatabaseManager->InsertEntries(SleepNotificationRecord::TABLE_NAME, mSleepNotificationRecords) != 0) {
        STANDBYSERVICE_LOGD("Faired to save slp environment records");
    }
    mSleepNotificationRecords.clear();
}

void SleepDetection::DeleteTableSleepEnvironmentRecords()
{
    if (mDatabaseManager->QueryCount(SleepEnvironment::TABLE_NAME, "") >= ENVIRONMENT_TABLE_LIMIT) {
        mDatabaseManager->Delete(SleepEnvironment::TABLE_NAME, "", {});
        STANDBYSERVICE_LOGI("too much long standby environment data, delete table "
                            "long standby environment content.");
    }
}

void SleepDetection::DeleteTableScreenStateRecords()
{
    if (mDatabaseManager->QueryCount(ScreenStateRecord::TABLE_NAME, "") >= SCREEN_STATE_TABLE_LIMIT) {
        mDatabaseManager->Delete(ScreenStateRecord::TABLE_NAME, "", {});
        STANDBYSERVICE_LOGI("too much screen state data, delete table_screen_state content.");
    }
}

void SleepDetection::DeleteDataIfLongTimeNoTrain()
{
    DeleteTableSleepEnvironmentRecords();
    DeleteTableScreenStateRecords();
}

void SleepDetection::UpdateLastHandledTime()
{
    std::vector<SleepParameter> parameters;
    if (mDatabaseManager->QueryEntries(parameters, "", "") != 0) {
        STANDBYSERVICE_LOGE("can't get writable table of long standby parameters.");
        return;
    }
    if (parameters.size() != 1) {
        STANDBYSERVICE_LOGE("unexpected length of long standby parameters table (should be 1).");
        return;
    }
    if (parameters[0].handledTimestamp != -1) {
        mHandledTimestamp = parameters[0].handledTimestamp;
    }
    if (parameters[0].handledDateIndex != -1) {
        mHandledDateIndex = parameters[0].handledDateIndex;
    }
}

void SleepDetection::ReportSleepData()
{
    ReportSleepEnvironment();
    ReportSleepDuration();
    ReportSleepParameters();
}

void SleepDetection::ReportSleepEnvironment()
{
    std::vector<SleepEnvironment> environments;
    if (mDatabaseManager->QueryEntries(environments, "timestamp > " + std::to_string(mHandledTimestamp), "") != 0) {
        STANDBYSERVICE_LOGE("failed to query long standby environment data to report.");
        return;
    }
    SleepReporter::ReportSleepEnvironment(environments);
    SleepReporter::ReportQuantifySleepData(environments);
    STANDBYSERVICE_LOGI("finish report long standby database data.");
}

void SleepDetection::ReportSleepDuration()
{
    std::vector<SleepDurationRecord> durations;
    if (mDatabaseManager->QueryEntries(durations, "date_index > " + std::to_string(mHandledDateIndex), "") != 0) {
        STANDBYSERVICE_LOGE("failed to query slp duration data to report.");
        return;
    }
    SleepReporter::ReportSleepDuration(durations);
    STANDBYSERVICE_LOGI("finish report slp duration database data.");
}

void SleepDetection::ReportSleepParameters()
{
    std::vector<SleepParameter> parameters;
    std::vector<SleepProbability> probabilities;
    std::vector<SleepAmbientProbability> ambientProbabilities;
    if (mDatabaseManager->QueryEntries(parameters, "", "") != 0 ||
        mDatabaseManager->QueryEntries(probabilities, "", "") != 0 ||
        mDatabaseManager->QueryEntries(ambientProbabilities, "", "") != 0) {
        STANDBYSERVICE_LOGE("failed to query slp parameters data to report.");
        return;
    }
    // Without a parameters row there is nothing to report, as for any empty input.
    if (!parameters.empty()) {
        SleepReporter::ReportSleepParameters(parameters.front(), probabilities, ambientProbabilities);
    }
    STANDBYSERVICE_LOGI("finish report slp parameters database data.");
}

// ---- Training ----

bool SleepDetection::IsMeetTrainCondition()
{
    return Now() - mLastTrainTime >= TRAIN_MIN_INTERVAL_MS &&
           mDeviceState->GetBatteryLevel() >= TRAIN_MIN_BATTERY_LEVEL && mDeviceState->IsCharging();
}

bool SleepDetection::IsReadyForTrain()
{
    return mIsReadyForTrain && mDeviceState->IsCharging() &&
           mDeviceState->GetScrOffDuration() >= TRAIN_MIN_SCREEN_OFF_MS;
}

void SleepDetection::ReadyForTrainCheck(SleepLogSite site)
{
    if (IsMeetTrainCondition()) {
        mIsReadyForTrain = true;
        STANDBYSERVICE_LOGI_AT(site, "get ready for train long standby model");
    }
}

void SleepDetection::TrainIfReady()
{
    if (IsReadyForTrain()) {
        ExecuteTrain();
    }
}

void SleepDetection::ExecuteTrain()
{
    STANDBYSERVICE_LOGD("ExecuteTrain method start");
    SaveDataToDatabase();
    UpdateLastHandledTime();
    if (mIsTraining) {
        STANDBYSERVICE_LOGI("training, can not create new train task");
        return;
    }
    mIsTraining = true;
    StartTrainingThread();
    mLastTrainTime = Now();
}

// A thread that cannot be created ends the process: the engine has no way to go on without it.
void SleepDetection::StartTrainingThread()
{
    g_liveTrainingThreads.fetch_add(1);
    try {
        std::thread([]() {
            {
                UserSleepTrainModel trainModel;
                trainModel.Run();
            }
            OnTrainingThreadEnd();
        }).detach();
    } catch (const std::system_error&) {
        std::abort();
    }
}

void SleepDetection::HandleFinishTrain(const std::optional<AAFwk::Want>& want)
{
    STANDBYSERVICE_LOGD("HandleFinishTrain");
    mIsReadyForTrain = false;
    UpdateNotificationAndSigmaData(want);
    ReportSleepEnvironment();
    ReportSleepDuration();
    ReportSleepParameters();
    mLoadModelResult = mUserSleepPredict->LoadModel();
    mIsTraining = false;
    if (mLoadModelResult == 0) {
        STANDBYSERVICE_LOGI("load model successful");
    } else {
        STANDBYSERVICE_LOGE("can't load model");
    }
}

void SleepDetection::LoadModelFirstUnlock()
{
    mLoadModelResult = mUserSleepPredict->LoadModel();
    if (mLoadModelResult == 0) {
        mIsModelLoaded = true;
        STANDBYSERVICE_LOGI("load model successful");
    } else {
        STANDBYSERVICE_LOGE("can't load model");
    }
    STANDBYSERVICE_LOGI("this is try load long standby model by first unlock "
                        "state after device reboot.");
}

int32_t SleepDetection::GetLiveTrainingThreadCount()
{
    return g_liveTrainingThreads.load();
}

void SleepDetection::WaitForTrainingThreads()
{
    std::unique_lock<std::mutex> lock(g_trainingThreadsMutex);
    g_trainingThreadsDone.wait(lock, []() { return g_liveTrainingThreads.load() == 0; });
}

// ---- Test hooks ----

void SleepDetection::SetSleepTestMode(bool isTestMode)
{
    mSleepTestMode = isTestMode;
}

void SleepDetection::SleepPredictAutoTest()
{
    mLastNightCollectTime = Now();
    mDataCollecter->CollectSleepData(false);
}

bool SleepDetection::ParseManualRecord(const std::string& args, SleepDataRecord& record)
{
    std::vector<std::string> values = StringUtils::Split(args, '/');
    if (values.size() != MANUAL_RECORD_FIELD_COUNT) {
        return false;
    }
    size_t i = 0;
    bool ok = ParseInteger(values[i++], record.timestamp);
    ok = ok && ParseInt32(values[i++], record.stationaryDuration);
    ok = ok && ParseInt32(values[i++], record.lastUserStationaryStartDuration);
    ok = ok && ParseInt32(values[i++], record.userMoveDuration);
    ok = ok && ParseInt32(values[i++], record.lightDarkDuration);
    ok = ok && ParseInt32(values[i++], record.screenOffDuration);
    ok = ok && ParseInt32(values[i++], record.screenOnCount);
    ok = ok && ParseInt32(values[i++], record.chargeState);
    ok = ok && ParseDouble(values[i++], record.light);
    ok = ok && ParseDouble(values[i++], record.proximity);
    ok = ok && ParseDouble(values[i++], record.proximityOrigin);
    ok = ok && ParseInt32(values[i++], record.proximityErrorSize);
    ok = ok && ParseInt32(values[i++], record.proximityListSize);
    ok = ok && ParseInteger(values[i++], record.unlockTimestamp);
    ok = ok && ParseInteger(values[i++], record.nextAlarmClockTime);
    record.weekType = TimeProviderExt::TimestampToWeekIndex(record.timestamp + HALF_DAY_MS);
    return ok;
}

void SleepDetection::SleepPredictManualTest(const std::string& args)
{
    SleepDataRecord record;
    if (!ParseManualRecord(args, record)) {
        STANDBYSERVICE_LOGE("invalied args");
        return;
    }
    HandleFinishCollect(record);
}

void SleepDetection::SleepModelTrainTest()
{
    STANDBYSERVICE_LOGI("start train model by test command");
    ExecuteTrain();
}

} // namespace OHOS::DevStandbyMgr
