#include "user_sleep_strategy.h"

#include <map>

#include "common_event_manager.h"
#include "detector_variants.h"
#include "device_state.h"
#include "night_clock.h"
#include "notification_helper.h"
#include "parameters.h"
#include "sleep_data_record.h"
#include "sleep_database_manager.h"
#include "sleep_detection.h"
#include "sleep_log.h"
#include "sleep_reporter.h"
#include "sleep_shared_pref.h"
#include "standby_host_globals.h"
#include "standby_notification_subscriber.h"
#include "standby_service_impl.h"
#include "time_provider_ext.h"
#include "want.h"

namespace OHOS::DevStandbyMgr {
namespace {

using EventFwk::CommonEventSupport;

// Message ids.
constexpr int32_t kCommonEvent = 1;
constexpr int32_t kFinishCollect = 2000;
constexpr int32_t kFinishTrain = 2001;
constexpr int32_t kUserAwake = 2002;
constexpr int32_t kUserAsleep = 2003;
constexpr int32_t kUserLightSleep = 2004;
constexpr int32_t kDayClock = 2005;
constexpr int32_t kNotificationPosted = 2007;
constexpr int32_t kBadgeChanged = 2008;
constexpr int32_t kUserStartMoving = 2009;

// Stop reasons.
constexpr int32_t kReasonSleepDetection = -1;
constexpr int32_t kReasonDayClock = -2;
constexpr int32_t kReasonRestart = -3;
constexpr int32_t kReasonUsbConnected = -4;
constexpr int32_t kReasonScreenOn = -5;
constexpr int32_t kReasonUserPresent = -6;
constexpr int32_t kReasonUserMoving = -7;
constexpr int32_t kReasonLightSleepStart = -8;
constexpr int32_t kReasonDumpCommand = -10;
constexpr int32_t kReasonIncomingCall = -11;

const std::map<int32_t, std::string> stopSleepReasonMap = {
    {-1, "SleepDetection"},
    {-2, "Day clock message by AI"},
    {-3, "pg restart"},
    {-4, "usb connected"},
    {-5, "scr on"},
    {-6, "user present"},
    {-7, "user start moving"},
    {-8, "user start light slp"},
    {-9, "user start spt"},
    {-10, "hidumper command"},
    {-11, "incoming call"},
};

// Statistics types of the power-state event.
constexpr int32_t kReportDeepSleepChange = 100;
constexpr int32_t kReportUnsleepReason = 1001;
constexpr int32_t kReportDeepSleepStarted = 1;

// Published names.
const std::string kDeepSleepAction = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";
const std::string kLightSleepAction = "common.event.USER_LIGHT_SLEEP_STATE_CHANGED";
const std::string kEasyWakeupAction = "common.event.USER_EASY_WAKEUP_SLP_STATE_CHANGED";
const std::string kNotCareChargeAction = "common.event.USER_NOT_CARE_CHARGE_SLEEP";
const std::string kSubscriberPermission = "ohos.permission.PERCEIVE_SMART_POWER_SCENARIO";
const std::string kDeepSleepParameter = "resourceschedule.sleep.user_mode";
const std::string kNotCareChargeParameter = "resourceschedule.sleep.user_mode_not_care_charge";
const std::string kParameterSleep = "sleep";
const std::string kParameterUnsleep = "unsleep";

// Named tasks on the host's handler.
const std::string kDayClockTask = "stop_user_sleep_force_task";
const std::string kStopRecordNotificationTask = "stop_record_notification_task";
constexpr int64_t kRecordNotificationPeriodMs = 300000;

// Time of day.
constexpr float kDayStartHour = 7.83f;
constexpr float kNightStartHour = 21.0f;
constexpr float kUnsleepReportStartHour = 12.0f;
constexpr int kDayClockHour = 7;
constexpr int kDayClockMinute = 15;
constexpr int64_t kDayClockSpreadMs = 600;
constexpr int64_t kEasyWakeupScreenOffMs = 1800000;

constexpr int32_t kCallStateIncoming = 4;
constexpr int32_t kStandbyModeScreenOnStops = 3;

// The one notification subscriber of this plug-in; subscribed only during a recording period.
std::shared_ptr<StandbyNotificationSubscriber> standbyNotificationSubscriber;

const std::string& StopReasonText(int32_t reason)
{
    static const std::string unknown;
    auto found = stopSleepReasonMap.find(reason);
    return found == stopSleepReasonMap.end() ? unknown : found->second;
}

int64_t Now()
{
    return TimeProviderExt::GetCurMsecTimestamp();
}

// Publishes `want` to subscribers holding the smart-power permission.
bool PublishWithPermission(const AAFwk::Want& want)
{
    EventFwk::CommonEventData data(want);
    EventFwk::CommonEventPublishInfo publishInfo;
    publishInfo.SetSubscriberPermissions({kSubscriberPermission});
    return EventFwk::CommonEventManager::PublishCommonEvent(data, publishInfo);
}

AAFwk::Want SleepStateWant(const std::string& action, bool isSleep)
{
    AAFwk::Want want;
    want.SetAction(action);
    want.SetParam("isSleep", isSleep);
    return want;
}

const std::string& WordAt(const std::vector<std::string>& words, int32_t position)
{
    static const std::string none;
    return static_cast<size_t>(position) < words.size() ? words[position] : none;
}

const std::string kDumpHeader = "\n\n=================UserSleepStrategy=========================\n";
const std::string kInvalidArgs = "invalid args\n";

} // namespace

UserSleepStrategy::~UserSleepStrategy()
{
    sleepDetection_.reset();
    handler_.reset();
    deviceState_.reset();
}

ErrCode UserSleepStrategy::OnCreated()
{
    STANDBYSERVICE_LOGI("UserSleepStrategy is OnCreated now");
    handler_ = StandbyServiceImpl::GetInstance()->GetHandler();
    deviceState_ = DeviceState::GetInstance();
    sleepDetection_ = std::make_shared<SleepDetection>();
    // The replaced subscriber's subscription ends with it.
    standbyNotificationSubscriber = std::make_shared<StandbyNotificationSubscriber>();
    isNotificationSubscribed_ = false;
    RestoreStatesAfterRestart();
    return ERR_OK;
}

void UserSleepStrategy::RestoreStatesAfterRestart(SleepLogSite site)
{
    if (GetAIUserDeepSleepModeState()) {
        isUserDeepSleep_ = true;
        HandleStopDeepSleepByAI(-1, kReasonRestart);
    }
    if (GetAIUserDeepSleepNotCareChargeModeState()) {
        isUserDeepSleepNotCareCharge_ = true;
        HandleStopDeepSleepNotCareChargingByAI(-1);
    }
    if (GetAIUserLightSleepModeState()) {
        isUserLightSleep_ = true;
        HandleStopLightSleepByAI(kReasonSleepDetection);
    }
    if (GetAIUserEasyWakeupSleepModeState()) {
        STANDBYSERVICE_LOGW_AT(site, "UserSleepStrategy restart, left easy wakeup slp state");
        EndEasyWakeupSleep("stop easy wakeup sleep state", site);
    }
}

ErrCode UserSleepStrategy::OnDestroy()
{
    STANDBYSERVICE_LOGI("UserSleepStrategy is OnDestroy now");
    return ERR_OK;
}

void UserSleepStrategy::HandleEvent(const StandbyMessage& message)
{
    switch (message.eventId) {
    case kCommonEvent:
        HandleCommonEvent(message);
        break;
    case kFinishCollect:
        HandleEventFinishCollect(message);
        break;
    case kFinishTrain:
        if (sleepDetection_ != nullptr) {
            sleepDetection_->HandleFinishTrain(message.want);
        }
        break;
    case kUserAwake: {
        int64_t wakeupTime = message.want ? message.want->GetLongParam("wakeupTime", -1) : -1;
        HandleStopDeepSleepByAI(wakeupTime, kReasonSleepDetection);
        HandleStopLightSleepByAI(kReasonSleepDetection);
        break;
    }
    case kUserAsleep:
        HandleStartDeepSleepByAI(message.want ? message.want->GetLongParam("wakeupTime", -1) : -1);
        break;
    case kUserLightSleep:
        HandleStartLightSleepByAI();
        break;
    case kDayClock:
        HandleStopDeepSleepByAI(Now(), kReasonDayClock);
        HandleStopLightSleepByAI(kReasonDayClock);
        break;
    case kNotificationPosted:
        HandleNotificationNewMsg(message);
        break;
    case kBadgeChanged:
        HandleNotificationCancelMsg(message);
        break;
    case kUserStartMoving:
        HandleStopDeepSleepByAI(Now(), kReasonUserMoving);
        HandleStopLightSleepByAI(kReasonUserMoving);
        break;
    default:
        break;
    }
}

void UserSleepStrategy::HandleCommonEvent(const StandbyMessage& message)
{
    const std::string& action = message.action;
    if (action == CommonEventSupport::COMMON_EVENT_SCREEN_ON) {
        SendUserUnsleepReason();
        if (sleepDetection_ != nullptr) {
            sleepDetection_->HandleScreenOn();
        }
        if (deviceState_ != nullptr) {
            deviceState_->HandleScreenOn();
        }
        HandleScrOnAction();
    } else if (action == CommonEventSupport::COMMON_EVENT_SCREEN_OFF) {
        if (sleepDetection_ != nullptr) {
            sleepDetection_->HandleScreenOff();
        }
        if (deviceState_ != nullptr) {
            deviceState_->HandleScreenOff();
        }
    } else if (action == CommonEventSupport::COMMON_EVENT_SCREEN_UNLOCKED) {
        if (sleepDetection_ != nullptr) {
            sleepDetection_->HandleScreenUnlocked();
        }
        if (deviceState_ != nullptr) {
            deviceState_->HandleScreenUnlocked();
        }
        HandleScrUnlockAction();
    } else if (action == CommonEventSupport::COMMON_EVENT_BOOT_COMPLETED) {
        if (sleepDetection_ != nullptr) {
            sleepDetection_->HandleBootCompleted();
        }
    } else if (action == CommonEventSupport::COMMON_EVENT_POWER_CONNECTED) {
        HandleStopDeepSleepByAI(Now(), kReasonUsbConnected);
        HandleStopLightSleepByAI(kReasonUsbConnected);
    } else if (action == CommonEventSupport::COMMON_EVENT_POWER_DISCONNECTED) {
        StopNotCareChargeFromBehaviour(Now());
    } else if (action == CommonEventSupport::COMMON_EVENT_CALL_STATE_CHANGED) {
        HandleCallStateChanged(message);
    } else if (action == CommonEventSupport::COMMON_EVENT_USER_SWITCHED ||
               action == CommonEventSupport::COMMON_EVENT_USER_STOPPING) {
        SleepDatabaseManager::GetInstance()->OnUserSwitched();
        if (sleepDetection_ != nullptr) {
            sleepDetection_->HandleUserSwitched();
        }
    }
}

void UserSleepStrategy::HandleEventFinishCollect(const StandbyMessage& message)
{
    if (sleepDetection_ == nullptr) {
        return;
    }
    SleepDataRecord record = SleepDataRecord::FromWant(message.want.value_or(AAFwk::Want()));
    sleepDetection_->HandleFinishCollect(record);
}

void UserSleepStrategy::HandleNotificationNewMsg(const StandbyMessage& message)
{
    if (sleepDetection_ != nullptr && isRecordingNotification_) {
        sleepDetection_->HandleAddNotificationInfo(message.want);
    }
}

void UserSleepStrategy::HandleNotificationCancelMsg(const StandbyMessage& message)
{
    if (sleepDetection_ != nullptr && isRecordingNotification_) {
        sleepDetection_->HandleCancelNotificationInfo(message.want);
    }
}

void UserSleepStrategy::RegisterAllNotification()
{
    if (isNotificationSubscribed_ || standbyNotificationSubscriber == nullptr) {
        return;
    }
    int32_t ret = Notification::NotificationHelper::SubscribeNotification(*standbyNotificationSubscriber);
    if (ret != 0) {
        STANDBYSERVICE_LOGE("SubscribeNotification ret: %{public}d.", ret);
        return;
    }
    isNotificationSubscribed_ = true;
}

void UserSleepStrategy::UnRegisterAllNotification()
{
    if (!isNotificationSubscribed_ || standbyNotificationSubscriber == nullptr) {
        return;
    }
    int32_t ret = Notification::NotificationHelper::UnSubscribeNotification(*standbyNotificationSubscriber);
    if (ret != 0) {
        STANDBYSERVICE_LOGE("UnSubscribeNotification ret: %{public}d.", ret);
        return;
    }
    isNotificationSubscribed_ = false;
}

void UserSleepStrategy::HandleStartDeepSleepByAI(int64_t wakeupTime)
{
    if (IsMeetStartDeepSleepByAICondition()) {
        if (handler_ != nullptr) {
            handler_->RemoveTask(kStopRecordNotificationTask);
        }
        HandleNotificationAfterStopSleep();
        if (sleepDetection_ != nullptr) {
            sleepDetection_->HandleStartSleep();
        }
        HandleStopLightSleepByAI(kReasonSleepDetection);
        SendUserSleepAICommonEvent(true, wakeupTime);
        UpdateUserDeepSleepStateByAI(true);
        hasEnteredDeepSleep_ = true;
        STANDBYSERVICE_LOGI("starting device long standby AI");
        ReportDeepSleepChange(kReportDeepSleepStarted);
        SetDayClockMessageByAI();
    } else if (IsMeetStartNotCareChargeFromBehaviourCondition()) {
        StartNotCareChargeFromBehaviour(wakeupTime);
    }
    if (IsDayTime()) {
        HandleStopDeepSleepByAI(wakeupTime, kReasonSleepDetection);
    }
    bool screenOffLongEnough = deviceState_ != nullptr && deviceState_->GetScrOffDuration() >= kEasyWakeupScreenOffMs;
    if (!isUserEasyWakeupSleep_ && isUserDeepSleep_ && screenOffLongEnough) {
        UpdateUserEasyWakeupSleepStateByAI(true);
        SendUserEasyWakeupSleepAICommonEvent(true);
        STANDBYSERVICE_LOGI("start easy wakeup sleep by ai");
    }
    if (isUserEasyWakeupSleep_ && !isUserDeepSleep_) {
        EndEasyWakeupSleep("stop easy wakeup sleep by ai");
    }
}

void UserSleepStrategy::HandleStopDeepSleepByAI(int64_t wakeupTime, int32_t reason)
{
    StopNotCareChargeFromBehaviour(wakeupTime);
    if (!isUserDeepSleep_) {
        return;
    }
    UpdateUserDeepSleepStateByAI(false);
    if (sleepDetection_ != nullptr) {
        sleepDetection_->HandleStopSleep();
        StartRecordNotificationMsg();
    }
    STANDBYSERVICE_LOGI("stoping device long standby AI");
    ReportDeepSleepChange(reason);
    CancelDayClockMessageByAI();
    SendUserSleepAICommonEvent(false, wakeupTime);
    if (isUserEasyWakeupSleep_) {
        EndEasyWakeupSleep("stop easy wakeup sleep state");
    }
    STANDBYSERVICE_LOGI("stop user deep slp because of %{public}s", StopReasonText(reason).c_str());
}

void UserSleepStrategy::HandleStartLightSleepByAI()
{
    if (!IsScreenOff() || IsCharging()) {
        return;
    }
    if (IsDayTime()) {
        HandleStopLightSleepByAI(kReasonSleepDetection);
        return;
    }
    if (isUserLightSleep_) {
        return;
    }
    HandleStopDeepSleepByAI(Now(), kReasonLightSleepStart);
    STANDBYSERVICE_LOGI("starting light device long standby AI");
    UpdateUserLightSleepStateByAI(true);
    SendUserLightSleepAICommonEvent(true);
}

void UserSleepStrategy::HandleStopLightSleepByAI(int32_t reason)
{
    if (!isUserLightSleep_) {
        return;
    }
    STANDBYSERVICE_LOGI("stoping light device long standby AI");
    UpdateUserLightSleepStateByAI(false);
    SendUserLightSleepAICommonEvent(false);
    STANDBYSERVICE_LOGI("stop user light slp because of %{public}s", StopReasonText(reason).c_str());
}

void UserSleepStrategy::HandleStartDeepSleepNotCareChargingByAI(int64_t wakeupTime)
{
    if (!IsMeetStartDeepSleepNotCareChargingByAICondition()) {
        return;
    }
    SendUserNotCareChargeSleepCommonEvent(true, wakeupTime);
    UpdateUserDeepSleepStateNotCareChargingByAI(true);
}

void UserSleepStrategy::HandleStopDeepSleepNotCareChargingByAI(int64_t wakeupTime)
{
    if (!isUserDeepSleepNotCareCharge_) {
        return;
    }
    SendUserNotCareChargeSleepCommonEvent(false, wakeupTime);
    UpdateUserDeepSleepStateNotCareChargingByAI(false);
}

bool UserSleepStrategy::IsMeetStartNotCareChargeFromBehaviourCondition()
{
    return IsDetectorVariantOn(DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR) && !isUserDeepSleep_ && IsCharging() &&
           IsMeetStartDeepSleepNotCareChargingByAICondition();
}

void UserSleepStrategy::StartNotCareChargeFromBehaviour(int64_t wakeupTime)
{
    HandleStartDeepSleepNotCareChargingByAI(wakeupTime);
    STANDBYSERVICE_LOGI("starting not care charge sleep because the user sleeps while charging");
    SetDayClockMessageByAI();
}

void UserSleepStrategy::StopNotCareChargeFromBehaviour(int64_t wakeupTime)
{
    if (!IsDetectorVariantOn(DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR) || !isUserDeepSleepNotCareCharge_) {
        return;
    }
    HandleStopDeepSleepNotCareChargingByAI(wakeupTime);
    STANDBYSERVICE_LOGI("stopping not care charge sleep where deep sleep would stop");
    if (!isUserDeepSleep_) {
        CancelDayClockMessageByAI();
    }
}

void UserSleepStrategy::HandleStopEasyWakeupSleep()
{
    EndEasyWakeupSleep("stop easy wakeup sleep state");
}

void UserSleepStrategy::EndEasyWakeupSleep(const char* reasonLog, SleepLogSite site)
{
    UpdateUserEasyWakeupSleepStateByAI(false);
    SendUserEasyWakeupSleepAICommonEvent(false);
    STANDBYSERVICE_LOGI_AT(site, "%{public}s", reasonLog);
}

bool UserSleepStrategy::IsMeetStartDeepSleepByAICondition()
{
    return !isUserDeepSleep_ && !IsDayTime() && !IsCharging() && IsScreenOff();
}

bool UserSleepStrategy::IsMeetStartDeepSleepNotCareChargingByAICondition()
{
    return !isUserDeepSleepNotCareCharge_ && !IsDayTime() && IsScreenOff();
}

bool UserSleepStrategy::IsDayTime()
{
    float hour = NightClock::NightHour(Now());
    return hour >= kDayStartHour && hour <= kNightStartHour;
}

bool UserSleepStrategy::IsScreenOff() const
{
    return deviceState_ != nullptr && deviceState_->IsScreenOff();
}

bool UserSleepStrategy::IsCharging() const
{
    return deviceState_ != nullptr && deviceState_->IsCharging();
}

void UserSleepStrategy::UpdateUserDeepSleepStateByAI(bool isSleep)
{
    isUserDeepSleep_ = isSleep;
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_SLEEPING_AI, isSleep);
    system::SetParameter(kDeepSleepParameter, isSleep ? kParameterSleep : kParameterUnsleep);
}

void UserSleepStrategy::UpdateUserDeepSleepStateNotCareChargingByAI(bool isSleep)
{
    isUserDeepSleepNotCareCharge_ = isSleep;
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI, isSleep);
    system::SetParameter(kNotCareChargeParameter, isSleep ? kParameterSleep : kParameterUnsleep);
}

void UserSleepStrategy::UpdateUserLightSleepStateByAI(bool isSleep)
{
    isUserLightSleep_ = isSleep;
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_LIGHT_SLEEPING_AI, isSleep);
}

void UserSleepStrategy::UpdateUserEasyWakeupSleepStateByAI(bool isSleep)
{
    isUserEasyWakeupSleep_ = isSleep;
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI, isSleep);
}

bool UserSleepStrategy::GetAIUserDeepSleepModeState()
{
    bool state = SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_SLEEPING_AI, false);
    STANDBYSERVICE_LOGI("user_deep_slp_AI: %{public}d", state);
    return state;
}

bool UserSleepStrategy::GetAIUserDeepSleepNotCareChargeModeState()
{
    bool state = SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI, false);
    STANDBYSERVICE_LOGI("user_deep_slp_not_care_charge_AI: %{public}d", state);
    return state;
}

bool UserSleepStrategy::GetAIUserLightSleepModeState()
{
    bool state = SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_LIGHT_SLEEPING_AI, false);
    STANDBYSERVICE_LOGI("user_light_slp_AI: %{public}d", state);
    return state;
}

bool UserSleepStrategy::GetAIUserEasyWakeupSleepModeState()
{
    bool state = SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI, false);
    STANDBYSERVICE_LOGI("user_easy_wakeup_slp_AI: %{public}d", state);
    return state;
}

void UserSleepStrategy::SendUserSleepAICommonEvent(bool isSleep, int64_t wakeupTime)
{
    AAFwk::Want want = SleepStateWant(kDeepSleepAction, isSleep);
    want.SetParam("wakeupTime", wakeupTime);
    if (!PublishWithPermission(want)) {
        STANDBYSERVICE_LOGW("PublishCommonEvent for user slp state changed fail");
        return;
    }
    STANDBYSERVICE_LOGI("PublishCommonEvent for user slp state changed success, isSlp: %{public}d, %{public}ld",
        isSleep, static_cast<long>(wakeupTime));
    // The host's other strategies learn of the change through the host.
    StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(kCommonEvent, kDeepSleepAction, want));
}

void UserSleepStrategy::SendUserLightSleepAICommonEvent(bool isSleep)
{
    if (!PublishWithPermission(SleepStateWant(kLightSleepAction, isSleep))) {
        STANDBYSERVICE_LOGW("PublishCommonEvent for light slp state changed fail");
        return;
    }
    STANDBYSERVICE_LOGI("PublishCommonEvent for light slp state changed success, isLightSlp: %{public}d", isSleep);
}

void UserSleepStrategy::SendUserEasyWakeupSleepAICommonEvent(bool isSleep)
{
    if (!PublishWithPermission(SleepStateWant(kEasyWakeupAction, isSleep))) {
        STANDBYSERVICE_LOGW("PublishCommonEvent for EasyWakeup slp state changed fail");
        return;
    }
    STANDBYSERVICE_LOGI(
        "PublishCommonEvent for EasyWakeup slp state changed success, isEasyWakeupSlp: %{public}d", isSleep);
}

void UserSleepStrategy::SendUserNotCareChargeSleepCommonEvent(bool isSleep, int64_t wakeupTime)
{
    AAFwk::Want want = SleepStateWant(kNotCareChargeAction, isSleep);
    want.SetParam("wakeupTime", wakeupTime);
    if (!PublishWithPermission(want)) {
        STANDBYSERVICE_LOGW("PublishCommonEvent for user not care charge slp state changed fail");
        return;
    }
    STANDBYSERVICE_LOGI(
        "PublishCommonEvent for user not care charge slp state changed success, isNotCareChargeSlp: %{public}d",
        isSleep);
}

// Until the next 07:15 on the local wall clock, with the daylight-saving offset of that moment: on the
// nights the clocks change, a day later is not always 24 hours later.
int64_t UserSleepStrategy::GetDayDelayedDur(int64_t now)
{
    int64_t delay = TimeProviderExt::GetAlarmClcokTimestamp(now, 0, kDayClockHour, kDayClockMinute) - now;
    if (delay < 0) {
        delay = TimeProviderExt::GetAlarmClcokTimestamp(now, 1, kDayClockHour, kDayClockMinute) - now;
    }
    // A deliberate spread of up to 599 ms, so that devices do not all wake at once.
    delay += now % kDayClockSpreadMs;
    STANDBYSERVICE_LOGI("Day message delayed duration = %{public}ld", static_cast<long>(delay));
    return delay;
}

void UserSleepStrategy::SetDayClockMessageByAI()
{
    if (handler_ == nullptr) {
        return;
    }
    int64_t now = Now();
    int64_t delay = GetDayDelayedDur(now);
    handler_->RemoveTask(kDayClockTask);
    handler_->PostTask(
        []() { StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(kDayClock)); }, kDayClockTask, delay);
    STANDBYSERVICE_LOGI("set Day Clock By AI = %{public}ld", static_cast<long>(now + delay));
}

void UserSleepStrategy::CancelDayClockMessageByAI()
{
    if (handler_ != nullptr) {
        handler_->RemoveTask(kDayClockTask);
    }
    STANDBYSERVICE_LOGI("cancel Day Clock Message By AI.");
}

void UserSleepStrategy::StartRecordNotificationMsg()
{
    isRecordingNotification_ = true;
    RegisterAllNotification();
    STANDBYSERVICE_LOGI("start recording notification messages when stop device night long standby by ai");
    std::shared_ptr<UserSleepStrategy> self = weak_from_this().lock();
    if (handler_ == nullptr || self == nullptr) {
        STANDBYSERVICE_LOGE("strategy is not held by a shared pointer, recording period cannot end");
        return;
    }
    handler_->PostTask([self]() { self->HandleNotificationAfterStopSleep(); }, kStopRecordNotificationTask,
        kRecordNotificationPeriodMs);
}

void UserSleepStrategy::HandleNotificationAfterStopSleep()
{
    isRecordingNotification_ = false;
    UnRegisterAllNotification();
    STANDBYSERVICE_LOGI("stop recording notification messages when stop device night long standby by ai");
    if (sleepDetection_ != nullptr) {
        sleepDetection_->HandleNotificationAfterStopSleep();
    }
}

void UserSleepStrategy::HandleScrOnAction()
{
    if (STANDBT_MODE == kStandbyModeScreenOnStops && !IsScreenOff()) {
        HandleStopDeepSleepByAI(-1, kReasonScreenOn);
        HandleStopLightSleepByAI(kReasonScreenOn);
    }
    if (isUserEasyWakeupSleep_) {
        HandleStopEasyWakeupSleep();
    }
}

void UserSleepStrategy::HandleScrUnlockAction()
{
    HandleStopDeepSleepByAI(-1, kReasonUserPresent);
    HandleStopLightSleepByAI(kReasonUserPresent);
    if (sleepDetection_ != nullptr) {
        sleepDetection_->HandleEnhanceModel();
    }
}

void UserSleepStrategy::HandleCallStateChanged(const StandbyMessage& message)
{
    int32_t state = message.want ? message.want->GetIntParam("state", -1) : -1;
    if (state != kCallStateIncoming) {
        return;
    }
    HandleStopDeepSleepByAI(-1, kReasonIncomingCall);
    HandleStopLightSleepByAI(kReasonIncomingCall);
    if (sleepDetection_ != nullptr) {
        sleepDetection_->HandleEnhanceModel();
    }
}

void UserSleepStrategy::SendUserUnsleepReason()
{
    int64_t now = Now();
    float hour = TimeProviderExt::TimestampToDayHour(now);
    if (hour < kUnsleepReportStartHour || hour >= kNightStartHour) {
        return;
    }
    int32_t reason = sleepDetection_ != nullptr ? sleepDetection_->GetUnsleepMainReason() : 0;
    if (reason != 0 && !hasEnteredDeepSleep_) {
        SleepReporter::WritePowerBrainStateHiSysEvent(kReportUnsleepReason, reason, now);
    }
    hasEnteredDeepSleep_ = false;
}

void UserSleepStrategy::ReportDeepSleepChange(int32_t value)
{
    SleepReporter::WritePowerBrainStateHiSysEvent(kReportDeepSleepChange, value, Now());
}

void UserSleepStrategy::ShellDump(const std::vector<std::string>& argsInStr, std::string& result)
{
    const std::string& first = WordAt(argsInStr, DUMP_FIRST_PARAM);
    const std::string& second = WordAt(argsInStr, DUMP_SECOND_PARAM);
    if (first == DUMP_DETAIL_INFO && second == DUMP_STRATGY_DETAIL) {
        DumpShowDetailInfo(argsInStr, result);
    } else if (first == DUMP_SIMULATE_SENSOR && second == DUMP_STRATGY_DETAIL &&
               WordAt(argsInStr, DUMP_THIRD_PARAM) == "-RT") {
        DumpSleepTest(argsInStr, result);
    }
}

void UserSleepStrategy::DumpShowDetailInfo(const std::vector<std::string>&, std::string& result)
{
    result.append(kDumpHeader);
}

void UserSleepStrategy::DumpSleepTest(const std::vector<std::string>& argsInStr, std::string& result)
{
    DumpShowDetailInfo(argsInStr, result);
    if (argsInStr.size() < static_cast<size_t>(DUMP_FIFTH_PARAM) + 1) {
        result.append(kInvalidArgs);
        return;
    }
    const std::string& cmd = argsInStr[DUMP_FOURTH_PARAM];
    const std::string& arg = argsInStr[DUMP_FIFTH_PARAM];
    if (cmd == "--Sleep" && arg == "into") {
        HandleStartDeepSleepByAI(-1);
        HandleStartDeepSleepNotCareChargingByAI(-1);
        result.append("start slp\n");
    } else if (cmd == "--Sleep" && arg == "exit") {
        HandleStopDeepSleepByAI(-1, kReasonDumpCommand);
        HandleStopDeepSleepNotCareChargingByAI(-1);
        result.append("stop slp\n");
    } else if (cmd == "--Train" && arg == "start") {
        if (sleepDetection_ != nullptr) {
            sleepDetection_->SleepModelTrainTest();
        }
        result.append("starting train model\n");
    } else if (cmd == "--SetMode" && (arg == "1" || arg == "0")) {
        bool testMode = arg == "1";
        if (sleepDetection_ != nullptr) {
            sleepDetection_->SetSleepTestMode(testMode);
        }
        result.append(testMode ? "Set InSleepTestMode true\n" : "Set InSleepTestMode false\n");
    } else if (cmd == "--Predict" && arg == "auto") {
        if (sleepDetection_ != nullptr) {
            sleepDetection_->SleepPredictAutoTest();
        }
        result.append("auto collect to predict\n");
    } else if (cmd == "--Predict" && arg == "manual") {
        if (argsInStr.size() < static_cast<size_t>(DUMP_SIXTH_PARAM) + 1) {
            result.append(kInvalidArgs);
            return;
        }
        if (sleepDetection_ != nullptr) {
            sleepDetection_->SleepPredictManualTest(argsInStr[DUMP_SIXTH_PARAM]);
        }
        result.append("manual input sleep data to predict\n");
    }
}

} // namespace OHOS::DevStandbyMgr
