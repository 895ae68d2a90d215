#ifndef SLEEP_DETECTION_INCLUDE_USER_SLEEP_STRATEGY_H
#define SLEEP_DETECTION_INCLUDE_USER_SLEEP_STRATEGY_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "event_handler.h"
#include "ibase_strategy.h"
#include "sleep_log.h"
#include "standby_message.h"

namespace OHOS::DevStandbyMgr {

class DeviceState;
class SleepDetection;

// The plug-in's entry point. The standby host owns one instance (through a shared pointer: the
// strategy hands strong references to itself to its own tasks), calls its lifecycle operations and
// routes every standby message and common event to HandleEvent, all on the host's handler thread.
// It owns the detection engine, turns the engine's verdicts into the four published sleep states
// (deep, light, easy wake-up, deep regardless of charging) and keeps two named tasks: the day clock
// that ends a deep sleep at 07:15, and the end of the notification recording period after waking.
class UserSleepStrategy : public IBaseStrategy, public std::enable_shared_from_this<UserSleepStrategy> {
public:
    UserSleepStrategy() = default;
    ~UserSleepStrategy() override;
    UserSleepStrategy(const UserSleepStrategy&) = delete;
    UserSleepStrategy& operator=(const UserSleepStrategy&) = delete;

    // Dispatches one message by its id; unknown ids are ignored.
    void HandleEvent(const StandbyMessage& message) override;
    // Builds the engine and the notification subscriber, then ends (and announces as ended) every
    // sleep state that the preferences say was still on before a restart. Always returns 0.
    ErrCode OnCreated() override;
    // Only logs; members are released by the destructor. Returns 0.
    ErrCode OnDestroy() override;
    // Dump commands: a detail header, or test commands that force states and drive the engine.
    void ShellDump(const std::vector<std::string>& argsInStr, std::string& result) override;

    // Common events (message 1): screen, unlock, boot, power, call and user changes.
    void HandleCommonEvent(const StandbyMessage& message);
    // Message 2000: rebuilds the observation from the Want and hands it to the engine.
    void HandleEventFinishCollect(const StandbyMessage& message);
    // Messages 2007 / 2008: forwarded to the engine only during a notification recording period.
    void HandleNotificationNewMsg(const StandbyMessage& message);
    void HandleNotificationCancelMsg(const StandbyMessage& message);
    // Subscribe / unsubscribe the notification subscriber unless already in that state.
    void RegisterAllNotification();
    void UnRegisterAllNotification();

    // Deep sleep: starts at night when not charging and the screen is off; re-evaluates the easy
    // wake-up state on every call. The stop does nothing unless deep sleep is on.
    void HandleStartDeepSleepByAI(int64_t wakeupTime);
    void HandleStopDeepSleepByAI(int64_t wakeupTime, int32_t reason);
    // Light sleep: excludes deep sleep both ways.
    void HandleStartLightSleepByAI();
    void HandleStopLightSleepByAI(int32_t reason);
    // Deep sleep that ignores charging.
    void HandleStartDeepSleepNotCareChargingByAI(int64_t wakeupTime);
    void HandleStopDeepSleepNotCareChargingByAI(int64_t wakeupTime);
    // Ends easy wake-up unconditionally, publishing even when it was off.
    void HandleStopEasyWakeupSleep();

    bool IsMeetStartDeepSleepByAICondition();
    bool IsMeetStartDeepSleepNotCareChargingByAICondition();
    // Local hour within [7.83, 21.0].
    bool IsDayTime();

    // Set the flag and store it; the two deep states also write their system parameter.
    void UpdateUserDeepSleepStateByAI(bool isSleep);
    void UpdateUserDeepSleepStateNotCareChargingByAI(bool isSleep);
    void UpdateUserLightSleepStateByAI(bool isSleep);
    void UpdateUserEasyWakeupSleepStateByAI(bool isSleep);

    // The stored states (default false), logged as read.
    bool GetAIUserDeepSleepModeState();
    bool GetAIUserDeepSleepNotCareChargeModeState();
    bool GetAIUserLightSleepModeState();
    bool GetAIUserEasyWakeupSleepModeState();

    // Publish a state change to subscribers holding the smart-power permission.
    void SendUserSleepAICommonEvent(bool isSleep, int64_t wakeupTime);
    void SendUserLightSleepAICommonEvent(bool isSleep);
    void SendUserEasyWakeupSleepAICommonEvent(bool isSleep);
    void SendUserNotCareChargeSleepCommonEvent(bool isSleep, int64_t wakeupTime);

    // The day clock: a task that ends deep sleep at the next 07:15 local time.
    void SetDayClockMessageByAI();
    void CancelDayClockMessageByAI();
    // Milliseconds from `now` to the next 07:15:00 local time, plus (now mod 600).
    int64_t GetDayDelayedDur(int64_t now);

    // The five minutes after a deep sleep ends, during which notifications are recorded.
    void StartRecordNotificationMsg();
    void HandleNotificationAfterStopSleep();

    void HandleScrOnAction();
    void HandleScrUnlockAction();
    void HandleCallStateChanged(const StandbyMessage& message);
    // Between 12:00 and 21:00: reports why the last night was not slept, unless it was.
    void SendUserUnsleepReason();

    void DumpShowDetailInfo(const std::vector<std::string>& argsInStr, std::string& result);
    void DumpSleepTest(const std::vector<std::string>& argsInStr, std::string& result);

private:
    bool IsScreenOff() const;
    bool IsCharging() const;
    void RestoreStatesAfterRestart(SleepLogSite site = SleepLogSite::Caller());
    void EndEasyWakeupSleep(const char* reasonLog, SleepLogSite site = SleepLogSite::Caller());
    void ReportDeepSleepChange(int32_t value);
    // Not-care-charge from behaviour (an opt-in detector variant): an asleep verdict that only the
    // charger keeps from deep sleep starts the not-care-charge state with its own day clock; every
    // deep-sleep stop and a power disconnect end it. Without the variant these do nothing.
    bool IsMeetStartNotCareChargeFromBehaviourCondition();
    void StartNotCareChargeFromBehaviour(int64_t wakeupTime);
    void StopNotCareChargeFromBehaviour(int64_t wakeupTime);

    bool isUserDeepSleep_ = false;
    bool isUserDeepSleepNotCareCharge_ = false;
    bool isUserLightSleep_ = false;
    bool isUserEasyWakeupSleep_ = false;
    bool isRecordingNotification_ = false;
    bool isNotificationSubscribed_ = false;
    bool hasEnteredDeepSleep_ = false;
    std::shared_ptr<DeviceState> deviceState_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::shared_ptr<SleepDetection> sleepDetection_;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_USER_SLEEP_STRATEGY_H
