// The manual-prediction data word of the dump command ("--Predict manual <word>"): fifteen
// '/'-separated fields that become an observation handed to the engine.
#include <cstdint>
#include <string>

#include "fuzz_world.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string word(reinterpret_cast<const char*>(bytes), size);
    OHOS::Fuzz::FuzzWorld::Get().Dump({"-S", "--strategy", "-RT", "--Predict", "manual", word});
    return 0;
}
