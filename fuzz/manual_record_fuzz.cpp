// The manual-prediction data word of the dump command ("--Predict manual <word>"): fifteen
// '/'-separated fields that become an observation handed to the engine. The observation time is
// the phone's own clock reading in real use; words whose time lies beyond a clock's range (a
// million years) are skipped, every other field may hold anything.
#include <cstdint>
#include <string>

#include "fuzz_world.h"
#include "string_utils.h"

namespace {

constexpr int64_t kClockRangeMs = int64_t{1} << 55;

bool TimeWithinClockRange(const std::string& word)
{
    long timestamp = 0;
    OHOS::DevStandbyMgr::StringUtils::StringToNumber(word.substr(0, word.find('/')), timestamp);
    return timestamp > -kClockRangeMs && timestamp < kClockRangeMs;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string word(reinterpret_cast<const char*>(bytes), size);
    if (!TimeWithinClockRange(word)) {
        return 0;
    }
    OHOS::Fuzz::FuzzWorld::Get().Dump({"-S", "--strategy", "-RT", "--Predict", "manual", word});
    return 0;
}
