#include "night_wake_bridge.h"

#include "detector_variants.h"

namespace OHOS::DevStandbyMgr {
namespace {
constexpr int64_t MS_PER_SECOND = 1000;
} // namespace

void NightWakeBridge::OnScreenOn(int64_t nowMs, bool judgedAsleep)
{
    if (!judgedAsleep) {
        Reset();
        return;
    }
    // A new look soon after a short one continues the same wake.
    const bool continuesWake = shortWake_ && nowMs - wakeEndMs_ < SHORT_WAKE_MAX_MS;
    if (!continuesWake) {
        wakeStartMs_ = nowMs;
    }
    shortWake_ = false;
    wakeEndMs_ = -1;
}

void NightWakeBridge::OnScreenOff(int64_t nowMs)
{
    if (wakeStartMs_ < 0) {
        return;
    }
    wakeEndMs_ = nowMs;
    shortWake_ = nowMs - wakeStartMs_ <= SHORT_WAKE_MAX_MS;
}

void NightWakeBridge::OnJudged(const SleepDataRecord& observed)
{
    const SleepDataRecord judged = JudgedRecord(observed);
    stillBeforeWakeSec_ = judged.stationaryDuration;
    darkBeforeWakeSec_ = judged.lightDarkDuration;
}

void NightWakeBridge::Reset()
{
    *this = NightWakeBridge();
}

SleepDataRecord NightWakeBridge::JudgedRecord(const SleepDataRecord& observed) const
{
    SleepDataRecord judged = observed;
    if (!IsDetectorVariantOn(DetectorVariant::QUICK_RESUME) || !shortWake_) {
        return judged;
    }
    judged.stationaryDuration = Bridged(observed.stationaryDuration, stillBeforeWakeSec_, observed.timestamp);
    judged.lightDarkDuration = Bridged(observed.lightDarkDuration, darkBeforeWakeSec_, observed.timestamp);
    return judged;
}

int32_t NightWakeBridge::Bridged(int32_t observedSec, int32_t beforeWakeSec, int64_t timestampMs) const
{
    if (observedSec <= 0 || beforeWakeSec <= 0) {
        return observedSec;
    }
    const int64_t periodStartMs = timestampMs - observedSec * MS_PER_SECOND;
    const bool restartedByTheWake = periodStartMs >= wakeStartMs_ && periodStartMs <= wakeEndMs_ + SETTLE_MS;
    return restartedByTheWake ? observedSec + beforeWakeSec : observedSec;
}

} // namespace OHOS::DevStandbyMgr
