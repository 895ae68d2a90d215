#include "trace_reader.h"

#include <algorithm>
#include <cstring>
#include <map>

#include <nlohmann/json.hpp>

#include "compressed_file.h"

namespace OHOS::Sim {

namespace {

using Json = nlohmann::ordered_json;

// Every kind by its name, found by walking the enum until TraceKindName no longer knows a value,
// so kinds added to the enum are read without changes here.
const std::map<std::string, TraceKind>& KindsByName()
{
    static const std::map<std::string, TraceKind> kinds = [] {
        std::map<std::string, TraceKind> names;
        for (int32_t value = 0;; ++value) {
            const auto kind = static_cast<TraceKind>(value);
            const char* name = TraceKindName(kind);
            if (std::strcmp(name, "unknown") == 0) {
                return names;
            }
            names.emplace(name, kind);
        }
    }();
    return kinds;
}

bool ReadMs(const Json& object, const char* field, int64_t& value, std::string& why)
{
    if (!object.contains(field) || !object[field].is_number_integer()) {
        why = std::string("\"") + field + "\" must be an integer (epoch ms)";
        return false;
    }
    value = object[field].get<int64_t>();
    return true;
}

bool ReadHeader(const Json& line, Scenario& scenario, Trace& trace, std::string& why)
{
    if (!line.contains("trace")) {
        why = "the first line must be the trace header {\"trace\":" + std::to_string(TRACE_FORMAT_VERSION) +
              ",\"startMs\":..,\"endMs\":..,\"scenario\":{...}}";
        return false;
    }
    if (line["trace"] != TRACE_FORMAT_VERSION) {
        why = "unsupported trace format " + line["trace"].dump() + " (this sleepsim reads " +
              std::to_string(TRACE_FORMAT_VERSION) + ")";
        return false;
    }
    if (!ReadMs(line, "startMs", trace.startMs, why) || !ReadMs(line, "endMs", trace.endMs, why)) {
        return false;
    }
    if (trace.endMs < trace.startMs) {
        why = "\"endMs\" is before \"startMs\"";
        return false;
    }
    if (!line.contains("scenario") || !line["scenario"].is_object()) {
        why = "\"scenario\" must be an object";
        return false;
    }
    std::string scenarioError;
    if (!ParseScenario(line["scenario"].dump(), scenario, scenarioError)) {
        why = "scenario: " + scenarioError;
        return false;
    }
    return true;
}

bool ReadAwakenings(const Json& instants, NightTruth& night, std::string& why)
{
    const Json& spans = instants.contains("awakenings") ? instants["awakenings"] : Json();
    if (!spans.is_array()) {
        why = "\"ms.awakenings\" must be a list of [beginMs, endMs]";
        return false;
    }
    for (const Json& span : spans) {
        if (!span.is_array() || span.size() != 2 || !span[0].is_number_integer() || !span[1].is_number_integer()) {
            why = "\"ms.awakenings\" must be a list of [beginMs, endMs]";
            return false;
        }
        night.awakenings.push_back(TimeSpan{span[0].get<int64_t>(), span[1].get<int64_t>()});
    }
    return true;
}

bool ReadNight(const Json& line, NightTruth& night, std::string& why)
{
    if (!line["night"].is_string() || !ParseCivilDate(line["night"].get<std::string>(), night.wakeDate)) {
        why = "\"night\" must be a date YYYY-MM-DD";
        return false;
    }
    if (!line.contains("weekend") || !line["weekend"].is_boolean()) {
        why = "\"weekend\" must be true or false";
        return false;
    }
    night.weekend = line["weekend"].get<bool>();
    if (!line.contains("ms") || !line["ms"].is_object()) {
        why = "\"ms\" (the night's instants in epoch ms) is missing";
        return false;
    }
    const Json& instants = line["ms"];
    return ReadMs(instants, "bed", night.bedMs, why) && ReadMs(instants, "phoneDown", night.phoneDownMs, why) &&
           ReadMs(instants, "onset", night.onsetMs, why) && ReadMs(instants, "wake", night.wakeMs, why) &&
           ReadMs(instants, "alarm", night.alarmMs, why) && ReadAwakenings(instants, night, why);
}

// "value" holds a decimal or an integer depending on the kind; "number" an integer; "pkg" or
// "text" a text; "persistent" (a platform fault) a boolean, kept as the decimal 1 or 0.
bool ReadEventValues(const Json& line, TraceEvent& event, std::string& why)
{
    if (line.contains("value")) {
        if (line["value"].is_number_integer()) {
            event.number = line["value"].get<int64_t>();
        } else if (line["value"].is_number()) {
            event.value = line["value"].get<double>();
        } else {
            why = "\"value\" must be a number";
            return false;
        }
    }
    if (line.contains("number") && !ReadMs(line, "number", event.number, why)) {
        why = "\"number\" must be an integer";
        return false;
    }
    for (const char* field : {"pkg", "text"}) {
        if (line.contains(field)) {
            if (!line[field].is_string()) {
                why = std::string("\"") + field + "\" must be a text";
                return false;
            }
            event.text = line[field].get<std::string>();
        }
    }
    if (line.contains("persistent")) {
        if (!line["persistent"].is_boolean()) {
            why = "\"persistent\" must be true or false";
            return false;
        }
        event.value = line["persistent"].get<bool>() ? 1 : 0;
    }
    return true;
}

// Events run in time order on the phone's clock; a clock set moves that clock, so the event after
// it may lie up to the shift before it.
int64_t EarliestNextEventMs(const Trace& trace)
{
    if (trace.events.empty()) {
        return trace.startMs;
    }
    const TraceEvent& last = trace.events.back();
    return last.kind == TraceKind::CLOCK_SET ? last.timeMs + std::min<int64_t>(last.number, 0) : last.timeMs;
}

bool ReadEvent(const Json& line, const Trace& trace, TraceEvent& event, std::string& why)
{
    if (!ReadMs(line, "t", event.timeMs, why)) {
        return false;
    }
    const auto kind =
        line["kind"].is_string() ? KindsByName().find(line["kind"].get<std::string>()) : KindsByName().end();
    if (kind == KindsByName().end()) {
        why = "unknown event kind " + line["kind"].dump();
        return false;
    }
    event.kind = kind->second;
    const int64_t previous = EarliestNextEventMs(trace);
    if (event.timeMs < previous || event.timeMs > trace.endMs) {
        why = "\"t\" " + std::to_string(event.timeMs) + " is out of order: events run in time order from " +
              std::to_string(previous) + " to the trace's end " + std::to_string(trace.endMs);
        return false;
    }
    return ReadEventValues(line, event, why);
}

// Reads one line after the header into `trace`.
bool ReadBodyLine(const Json& line, Trace& trace, std::string& why)
{
    if (line.contains("night")) {
        if (!trace.events.empty()) {
            why = "a night after the events (nights come first)";
            return false;
        }
        NightTruth night;
        if (!ReadNight(line, night, why)) {
            return false;
        }
        trace.nights.push_back(std::move(night));
        return true;
    }
    if (line.contains("kind")) {
        TraceEvent event;
        if (!ReadEvent(line, trace, event, why)) {
            return false;
        }
        trace.events.push_back(std::move(event));
        return true;
    }
    why = "neither a night (\"night\") nor an event (\"kind\")";
    return false;
}

} // namespace

bool ParseTraceFile(const std::string& path, Scenario& scenario, Trace& trace, std::string& error)
{
    InputFile in(path);
    if (!in.is_open()) {
        error = "cannot read the trace file '" + path + "'";
        return false;
    }
    Scenario readScenario = DefaultScenario();
    Trace readTrace;
    std::string text;
    int64_t lineNumber = 0;
    while (std::getline(in, text)) {
        ++lineNumber;
        const Json line = Json::parse(text, nullptr, false);
        std::string why = "not a JSON object";
        const bool read =
            !line.is_discarded() && line.is_object() &&
            (lineNumber == 1 ? ReadHeader(line, readScenario, readTrace, why) : ReadBodyLine(line, readTrace, why));
        if (!read) {
            // A line that damaged compressed data made wrong is the damage's fault, not the line's.
            const std::string damage = in.DamageInRest();
            error = damage.empty() ? path + " line " + std::to_string(lineNumber) + ": " + why : damage;
            return false;
        }
    }
    if (!in.Damage().empty()) {
        error = in.Damage();
        return false;
    }
    if (lineNumber == 0) {
        error = path + " is empty: a trace starts with its header line";
        return false;
    }
    PlaceNightWindows(readTrace, readScenario.timeZone);
    scenario = std::move(readScenario);
    trace = std::move(readTrace);
    return true;
}

} // namespace OHOS::Sim
