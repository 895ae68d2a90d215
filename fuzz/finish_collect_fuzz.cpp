// Message 2000: the observation of the last ten minutes, carried in the message's Want. The
// parameters may be missing, of another type or hold any value the collector could produce; the
// next alarm time is text from the settings store that another app writes, so it may hold any
// 64-bit value.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_world.h"
#include "fuzzed_want.h"

namespace {

constexpr int32_t kFinishCollect = 2000;
constexpr size_t kMaxParameters = 24;

const std::vector<std::string> kObservationKeys = {"timestamp", "weekType", "scrOffDuration",
    "lastUserStationaryStartDuration", "userStationaryDuration", "userMoveDuration", "chargeState", "light",
    "proximityOri", "proximity", "unlockTimestamp", "scrOnCount", "lightDarkDuration", "proximityErrSize",
    "proximityListSize", "nextAlarmClockTriggerTime"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    const bool anyAlarmTime = data.ConsumeBool();
    const int64_t alarmTime = data.ConsumeIntegral<int64_t>();
    OHOS::AAFwk::Want want = OHOS::Fuzz::ConsumeWant(data, kObservationKeys, kMaxParameters);
    if (anyAlarmTime) {
        want.SetParam("nextAlarmClockTriggerTime", alarmTime);
    }
    OHOS::Fuzz::FuzzWorld::Get().Deliver(kFinishCollect, want);
    return 0;
}
