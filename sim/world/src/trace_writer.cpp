#include "trace_writer.h"

#include <fstream>

#include <nlohmann/json.hpp>

namespace OHOS::Sim {

using Json = nlohmann::ordered_json;

std::string TraceHeaderToJson(const Scenario& scenario, const Trace& trace)
{
    Json line{{"trace", TRACE_FORMAT_VERSION}, {"startMs", trace.startMs}, {"endMs", trace.endMs},
        {"scenario", Json::parse(ScenarioToJson(scenario))}};
    return line.dump();
}

void WriteTraceHead(std::ostream& out, const Scenario& scenario, const Trace& trace)
{
    out << TraceHeaderToJson(scenario, trace) << '\n';
    for (const NightTruth& night : trace.nights) {
        out << NightTruthToJson(night) << '\n';
    }
}

bool WriteTraceFile(const std::string& path, const Scenario& scenario, const Trace& trace)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    WriteTraceHead(out, scenario, trace);
    trace.ForEachEvent([&out](const TraceEvent& event) { out << TraceEventToJson(event) << '\n'; });
    out.flush();
    return static_cast<bool>(out);
}

} // namespace OHOS::Sim
