// The simulator's scenario parser. Any text is either refused with a message or accepted; an
// accepted scenario, written out and parsed again, gives the same scenario.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    OHOS::Sim::Scenario scenario = OHOS::Sim::DefaultScenario();
    std::string error;
    if (!OHOS::Sim::ParseScenario(text, scenario, error)) {
        if (error.empty()) {
            std::abort();
        }
        return 0;
    }
    const std::string written = OHOS::Sim::ScenarioToJson(scenario);
    OHOS::Sim::Scenario reparsed = OHOS::Sim::DefaultScenario();
    if (!OHOS::Sim::ParseScenario(written, reparsed, error) || OHOS::Sim::ScenarioToJson(reparsed) != written) {
        std::abort();
    }
    return 0;
}
