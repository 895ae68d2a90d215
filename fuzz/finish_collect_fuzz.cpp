// Message 2000: the observation of the last ten minutes, carried in the message's Want. The
// parameters may be missing, of another type or hold any value, except the observation time: the
// collector reads it from the phone's clock, so it is kept within a clock's range (a million years).
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_world.h"
#include "fuzzed_want.h"

namespace {

constexpr int32_t kFinishCollect = 2000;
constexpr size_t kMaxParameters = 24;
constexpr int64_t kClockRangeMs = int64_t{1} << 55;

const std::vector<std::string> kObservationKeys = {"timestamp", "weekType", "scrOffDuration",
    "lastUserStationaryStartDuration", "userStationaryDuration", "userMoveDuration", "chargeState", "light",
    "proximityOri", "proximity", "unlockTimestamp", "scrOnCount", "lightDarkDuration", "proximityErrSize",
    "proximityListSize", "nextAlarmClockTriggerTime"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    OHOS::AAFwk::Want want = OHOS::Fuzz::ConsumeWant(data, kObservationKeys, kMaxParameters);
    const int64_t timestamp = want.GetLongParam("timestamp", -1);
    if (timestamp <= -kClockRangeMs || timestamp >= kClockRangeMs) {
        want.SetParam("timestamp", timestamp % kClockRangeMs);
    }
    OHOS::Fuzz::FuzzWorld::Get().Deliver(kFinishCollect, want);
    return 0;
}
