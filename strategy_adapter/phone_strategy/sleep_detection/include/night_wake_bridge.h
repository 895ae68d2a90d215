#ifndef SLEEP_DETECTION_INCLUDE_NIGHT_WAKE_BRIDGE_H
#define SLEEP_DETECTION_INCLUDE_NIGHT_WAKE_BRIDGE_H

#include <cstdint>

#include "sleep_data_record.h"

namespace OHOS::DevStandbyMgr {

// Quick resume after a short night wake (an opt-in detector variant). It follows the screen through
// the night: a wake is a screen-on while the user was last judged asleep, short when the screen is
// off again within SHORT_WAKE_MAX_MS of it. After a short wake, the stillness and darkness that
// restarted during it (or while the phone was being put down) are judged as if they went on from the
// last observation that judged the user asleep, so deep sleep may start again at once instead of
// after the 20 to 50 minutes the predictors ask for. The observation that is stored is never changed;
// only the copy the predictors judge is. Without the variant that copy is the observation itself.
class NightWakeBridge {
public:
    // The longest screen-on of a wake that still counts as short (all simulated night looks, calls
    // included, lasted at most 9.1 minutes).
    static constexpr int64_t SHORT_WAKE_MAX_MS = 600000;
    // After the screen goes off, a still or dark period that starts within this time still belongs
    // to the wake (the phone is put down, the room gets dark again).
    static constexpr int64_t SETTLE_MS = 300000;

    // The screen went on at `nowMs`; `judgedAsleep` is the sleep state last sent.
    void OnScreenOn(int64_t nowMs, bool judgedAsleep);
    // The screen went off at `nowMs`.
    void OnScreenOff(int64_t nowMs);
    // An observation was judged: remembers the stillness and darkness it was judged by (they count
    // only if the user is still judged asleep when the screen goes on).
    void OnJudged(const SleepDataRecord& observed);
    // Day time: forgets the night.
    void Reset();

    // The record the predictors judge: `observed` itself, or with the variant on and after a short
    // wake, its stillness and darkness that restarted during the wake extended by those before it.
    SleepDataRecord JudgedRecord(const SleepDataRecord& observed) const;

private:
    int32_t Bridged(int32_t observedSec, int32_t beforeWakeSec, int64_t timestampMs) const;

    int32_t stillBeforeWakeSec_ = 0;
    int32_t darkBeforeWakeSec_ = 0;
    int64_t wakeStartMs_ = -1;
    int64_t wakeEndMs_ = -1;
    bool shortWake_ = false;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_NIGHT_WAKE_BRIDGE_H
