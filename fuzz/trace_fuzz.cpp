// The simulator's trace reader (sleepsim replay). Any file is either refused with a message naming
// the line or accepted; an accepted trace, written out and read again, gives the same file.
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "scenario.h"
#include "scratch_folder.h"
#include "trace.h"
#include "trace_reader.h"
#include "trace_writer.h"

namespace {

const std::string& Folder()
{
    static const std::string folder = OHOS::Fuzz::MakeScratchFolder("trace-fuzz");
    return folder;
}

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string input = Folder() + "/input.jsonl";
    std::ofstream(input, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(bytes), size);
    OHOS::Sim::Scenario scenario;
    OHOS::Sim::Trace trace;
    std::string error;
    if (!OHOS::Sim::ParseTraceFile(input, scenario, trace, error)) {
        if (error.empty()) {
            std::abort();
        }
        return 0;
    }
    const std::string written = Folder() + "/written.jsonl";
    const std::string again = Folder() + "/again.jsonl";
    OHOS::Sim::Scenario rereadScenario;
    OHOS::Sim::Trace reread;
    if (!OHOS::Sim::WriteTraceFile(written, scenario, trace) ||
        !OHOS::Sim::ParseTraceFile(written, rereadScenario, reread, error) ||
        !OHOS::Sim::WriteTraceFile(again, rereadScenario, reread) || ReadAll(written) != ReadAll(again)) {
        std::abort();
    }
    return 0;
}
