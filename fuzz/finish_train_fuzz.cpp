// Message 2001: the result of a training run, carried in the message's Want, followed by one
// ordinary observation so that the stored notification and three-sigma figures are used.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_world.h"
#include "fuzzed_want.h"

namespace {

constexpr int32_t kFinishCollect = 2000;
constexpr int32_t kFinishTrain = 2001;
constexpr size_t kMaxParameters = 12;

const std::vector<std::string> kTrainingKeys = {
    "isTrainSuccess", "notiProbWeekday", "notiProbWeekend", "weekdayThreeSigmaTimestamp", "weekendThreeSigmaTimestamp"};

// A dark, still night observation at 23:00 local time.
OHOS::AAFwk::Want NightObservation()
{
    OHOS::AAFwk::Want want;
    want.SetParam("timestamp", int64_t{1710169200000})
        .SetParam("weekType", 0)
        .SetParam("scrOffDuration", 3600000)
        .SetParam("userStationaryDuration", 3600000)
        .SetParam("light", 0.0)
        .SetParam("proximity", 5.0)
        .SetParam("scrOnCount", 0);
    return want;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    OHOS::Fuzz::FuzzWorld& world = OHOS::Fuzz::FuzzWorld::Get();
    world.Deliver(kFinishTrain, OHOS::Fuzz::ConsumeWant(data, kTrainingKeys, kMaxParameters));
    world.Deliver(kFinishCollect, NightObservation());
    return 0;
}
