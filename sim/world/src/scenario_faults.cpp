#include "scenario_faults.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "local_calendar.h"
#include "platform_faults.h"

namespace OHOS::Sim {

namespace {

using Json = nlohmann::ordered_json;

constexpr int64_t kMsPerMinute = 60 * 1000;
constexpr int64_t kMaxClockShiftMin = 7 * 24 * 60;
constexpr int64_t kMaxFloodCount = 100000;
constexpr int64_t kMaxFloodMinutes = 24 * 60;
constexpr int64_t kDefaultFloodMinutes = 8 * 60;
constexpr int64_t kUnlockMs = 1000;        // screen on to unlock
constexpr int64_t kMaxScreenUseMs = 30000; // screen on to screen off, at most

// The fields each kind takes besides "at" and "kind".
const std::map<std::string, std::set<std::string>>& KindFields()
{
    static const std::map<std::string, std::set<std::string>> kinds = {
        {"service_restart", {}},
        {"user_switch", {"user"}},
        {"clock_set", {"minutes"}},
        {"time_zone", {"zone"}},
        {"notification_flood", {"count", "minutes", "app"}},
        {"unlock_flood", {"count", "minutes"}},
        {"never_charged", {}},
        {"always_charging", {}},
        {"sensors_silent", {"until"}},
        {"platform_fault", {"class", "nth", "persistent", "until"}},
    };
    return kinds;
}

std::string KindList()
{
    std::string list;
    for (const auto& kind : KindFields()) {
        list += (list.empty() ? "" : ", ") + kind.first;
    }
    return list;
}

// "YYYY-MM-DD HH:MM" to epoch ms in the process's time zone; false when malformed.
bool ResolveLocalTime(const std::string& text, int64_t& ms)
{
    CivilDate date;
    int hours = -1;
    int minutes = -1;
    char tail = 0;
    if (text.size() != 16 || text[10] != ' ' || text[13] != ':' || !ParseCivilDate(text.substr(0, 10), date) ||
        std::sscanf(text.c_str() + 11, "%2d:%2d%c", &hours, &minutes, &tail) != 2 || hours < 0 || hours > 23 ||
        minutes < 0 || minutes > 59) {
        return false;
    }
    ms = LocalTimeMs(date, hours * 60 + minutes);
    return true;
}

bool ReadInteger(const Json& value, int64_t low, int64_t high, int64_t& out)
{
    if (!value.is_number_integer() || value.get<int64_t>() < low || value.get<int64_t>() > high) {
        return false;
    }
    out = value.get<int64_t>();
    return true;
}

bool ReadLocalTimeText(const Json& value, std::string& out)
{
    int64_t ignored = 0;
    if (!value.is_string() || !ResolveLocalTime(value.get<std::string>(), ignored)) {
        return false;
    }
    out = value.get<std::string>();
    return true;
}

// Reads one field of a fault; `expected` says what was wanted when it is not acceptable.
bool ReadField(const std::string& key, const Json& value, ScenarioFault& fault, std::string& expected)
{
    if (key == "at" || key == "until") {
        expected = "a local time \"YYYY-MM-DD HH:MM\"";
        return ReadLocalTimeText(value, key == "at" ? fault.at : fault.until);
    }
    if (key == "user") {
        expected = "a user id from 0 to 100000";
        return ReadInteger(value, 0, 100000, fault.user);
    }
    if (key == "minutes" && fault.kind == "clock_set") {
        expected = "a non-zero whole number of minutes from -10080 to 10080";
        return ReadInteger(value, -kMaxClockShiftMin, kMaxClockShiftMin, fault.minutes) && fault.minutes != 0;
    }
    if (key == "minutes") {
        expected = "a whole number of minutes from 1 to 1440";
        return ReadInteger(value, 1, kMaxFloodMinutes, fault.minutes);
    }
    if (key == "count") {
        expected = "a whole number from 1 to 100000";
        return ReadInteger(value, 1, kMaxFloodCount, fault.count);
    }
    if (key == "nth") {
        expected = "a whole number from 1";
        return ReadInteger(value, 1, INT32_MAX, fault.nth);
    }
    if (key == "persistent") {
        expected = "true or false";
        return value.is_boolean() && (fault.persistent = value.get<bool>(), true);
    }
    if (key == "class") {
        expected = "one of " + PlatformFaultClassList();
        return value.is_string() && IsPlatformFaultClass(value.get<std::string>()) &&
               (fault.faultClass = value.get<std::string>(), true);
    }
    std::string& text = key == "zone" ? fault.zone : fault.app;
    expected = "a non-empty string";
    return value.is_string() && !value.get<std::string>().empty() && (text = value.get<std::string>(), true);
}

// The field a kind cannot do without, or empty.
std::string MissingField(const ScenarioFault& fault)
{
    if (fault.at.empty()) {
        return "at";
    }
    if (fault.kind == "clock_set" && fault.minutes == 0) {
        return "minutes";
    }
    if (fault.kind == "time_zone" && fault.zone.empty()) {
        return "zone";
    }
    if ((fault.kind == "notification_flood" || fault.kind == "unlock_flood") && fault.count == 0) {
        return "count";
    }
    if (fault.kind == "platform_fault" && fault.faultClass.empty()) {
        return "class";
    }
    return "";
}

bool ReadFault(const Json& item, const std::string& path, ScenarioFault& fault, std::string& error)
{
    if (!item.is_object()) {
        error = "field '" + path + "': expected an object {\"at\": \"YYYY-MM-DD HH:MM\", \"kind\": \"...\"}";
        return false;
    }
    auto kind = item.find("kind");
    if (kind == item.end() || !kind->is_string() || KindFields().count(kind->get<std::string>()) == 0) {
        error = "field '" + path + ".kind': expected one of " + KindList() +
                (kind == item.end() ? std::string(", missing") : ", got " + kind->dump());
        return false;
    }
    fault.kind = kind->get<std::string>();
    const std::set<std::string>& allowed = KindFields().at(fault.kind);
    for (auto it = item.begin(); it != item.end(); ++it) {
        if (it.key() == "kind") {
            continue;
        }
        if (it.key() != "at" && allowed.count(it.key()) == 0) {
            error = "unknown field '" + path + "." + it.key() + "' for kind \"" + fault.kind +
                    "\" (sleepsim --help lists the fields)";
            return false;
        }
        std::string expected;
        if (!ReadField(it.key(), it.value(), fault, expected)) {
            error = "field '" + path + "." + it.key() + "': expected " + expected + ", got " + it.value().dump();
            return false;
        }
    }
    const std::string missing = MissingField(fault);
    if (!missing.empty()) {
        error = "field '" + path + "." + missing + "': missing";
        return false;
    }
    return true;
}

TraceEvent Event(int64_t timeMs, TraceKind kind, int64_t number = 0, const std::string& text = "", double value = 0)
{
    TraceEvent event;
    event.timeMs = timeMs;
    event.kind = kind;
    event.number = number;
    event.text = text;
    event.value = value;
    return event;
}

bool IsChargerEvent(const TraceEvent& event)
{
    return event.kind == TraceKind::POWER_CONNECTED || event.kind == TraceKind::POWER_DISCONNECTED;
}

// Whether the phone is on the charger just before `atMs`.
bool ChargingBefore(const std::vector<TraceEvent>& events, int64_t atMs)
{
    bool charging = false;
    for (const TraceEvent& event : events) {
        if (event.timeMs >= atMs) {
            break;
        }
        if (IsChargerEvent(event)) {
            charging = event.kind == TraceKind::POWER_CONNECTED;
        }
    }
    return charging;
}

// Keeps the charger in one state from `atMs` on.
void HoldCharger(Trace& trace, int64_t atMs, bool charging, std::vector<TraceEvent>& added)
{
    const bool wasCharging = ChargingBefore(trace.events, atMs);
    trace.events.erase(std::remove_if(trace.events.begin(), trace.events.end(),
                           [atMs](const TraceEvent& event) { return event.timeMs >= atMs && IsChargerEvent(event); }),
        trace.events.end());
    if (wasCharging != charging) {
        added.push_back(Event(atMs, charging ? TraceKind::POWER_CONNECTED : TraceKind::POWER_DISCONNECTED));
    }
}

void AddFlood(const ScenarioFault& fault, int64_t atMs, std::vector<TraceEvent>& added)
{
    const int64_t spanMs = (fault.minutes > 0 ? fault.minutes : kDefaultFloodMinutes) * kMsPerMinute;
    const int64_t stepMs = spanMs / fault.count;
    for (int64_t i = 0; i < fault.count; ++i) {
        const int64_t t = atMs + spanMs * i / fault.count;
        if (fault.kind == "notification_flood") {
            added.push_back(Event(t, TraceKind::NOTIFICATION, 0, fault.app));
            continue;
        }
        added.push_back(Event(t, TraceKind::SCREEN_ON));
        added.push_back(Event(t + std::min(kUnlockMs, stepMs / 4), TraceKind::UNLOCK));
        added.push_back(Event(t + std::min(kMaxScreenUseMs, stepMs / 2), TraceKind::SCREEN_OFF));
    }
}

// The events of one fault other than a clock set.
void AddFaultEvents(const ScenarioFault& fault, Trace& trace, std::vector<TraceEvent>& added)
{
    int64_t atMs = 0;
    int64_t untilMs = -1;
    ResolveLocalTime(fault.at, atMs);
    if (!fault.until.empty()) {
        ResolveLocalTime(fault.until, untilMs);
    }
    if (fault.kind == "service_restart") {
        added.push_back(Event(atMs, TraceKind::SERVICE_RESTART));
    } else if (fault.kind == "user_switch") {
        added.push_back(Event(atMs, TraceKind::USER_SWITCH, fault.user));
    } else if (fault.kind == "time_zone") {
        added.push_back(Event(atMs, TraceKind::TIME_ZONE, 0, fault.zone));
    } else if (fault.kind == "notification_flood" || fault.kind == "unlock_flood") {
        AddFlood(fault, atMs, added);
    } else if (fault.kind == "never_charged" || fault.kind == "always_charging") {
        HoldCharger(trace, atMs, fault.kind == "always_charging", added);
    } else if (fault.kind == "sensors_silent") {
        added.push_back(Event(atMs, TraceKind::SENSORS_SILENT));
        if (untilMs >= atMs) {
            added.push_back(Event(untilMs, TraceKind::SENSORS_ANSWER));
        }
    } else if (fault.kind == "platform_fault") {
        added.push_back(Event(atMs, TraceKind::PLATFORM_FAULT, fault.nth, fault.faultClass, fault.persistent ? 1 : 0));
        if (untilMs >= atMs) {
            added.push_back(Event(untilMs, TraceKind::PLATFORM_FAULT_CLEARED, 0, fault.faultClass));
        }
    }
}

// Inserts the clock set at the first event at or after `atMs` (searching from `from`) and moves
// every later event, every later instant of the nights' truth (of a night in progress too) and the
// end of the run; returns the insertion index.
size_t ApplyClockSet(const ScenarioFault& fault, size_t from, Trace& trace)
{
    int64_t atMs = 0;
    ResolveLocalTime(fault.at, atMs);
    const int64_t shiftMs = fault.minutes * kMsPerMinute;
    auto position = std::find_if(trace.events.begin() + static_cast<std::ptrdiff_t>(from), trace.events.end(),
        [atMs](const TraceEvent& event) { return event.timeMs >= atMs; });
    const size_t index = static_cast<size_t>(position - trace.events.begin());
    trace.events.insert(position, Event(atMs, TraceKind::CLOCK_SET, shiftMs));
    for (size_t i = index + 1; i < trace.events.size(); ++i) {
        trace.events[i].timeMs += shiftMs;
    }
    // The truth moves with the phone's clock from the set on, also inside the night in progress.
    const auto move = [atMs, shiftMs](int64_t& ms) { ms += ms >= atMs ? shiftMs : 0; };
    for (NightTruth& night : trace.nights) {
        for (int64_t* ms : {&night.bedMs, &night.phoneDownMs, &night.onsetMs, &night.wakeMs}) {
            move(*ms);
        }
        if (night.alarmMs > 0) {
            move(night.alarmMs);
        }
        for (TimeSpan& span : night.awakenings) {
            move(span.beginMs);
            move(span.endMs);
        }
    }
    trace.endMs += shiftMs;
    return index + 1;
}

} // namespace

bool ReadScenarioFaults(const Json& value, std::vector<ScenarioFault>& faults, std::string& error)
{
    if (!value.is_array()) {
        error = "field 'faults': expected a list of {\"at\": \"YYYY-MM-DD HH:MM\", \"kind\": \"...\"}";
        return false;
    }
    std::vector<ScenarioFault> read;
    for (size_t i = 0; i < value.size(); ++i) {
        ScenarioFault fault;
        if (!ReadFault(value[i], "faults[" + std::to_string(i) + "]", fault, error)) {
            return false;
        }
        read.push_back(fault);
    }
    faults = read;
    return true;
}

bool CheckScenarioFaultTimes(
    const std::vector<ScenarioFault>& faults, int64_t startMs, int64_t endMs, std::string& error)
{
    for (size_t i = 0; i < faults.size(); ++i) {
        int64_t atMs = 0;
        if (ResolveLocalTime(faults[i].at, atMs) && (atMs < startMs || atMs >= endMs)) {
            error = "field 'faults[" + std::to_string(i) + "].at': \"" + faults[i].at + "\" is outside the run (" +
                    FormatLocalTime(startMs).substr(0, 16) + " to " + FormatLocalTime(endMs).substr(0, 16) + ")";
            return false;
        }
    }
    return true;
}

Json ScenarioFaultsToJson(const std::vector<ScenarioFault>& faults)
{
    Json list = Json::array();
    for (const ScenarioFault& fault : faults) {
        Json item{{"at", fault.at}, {"kind", fault.kind}};
        const std::set<std::string>& fields = KindFields().at(fault.kind);
        const std::map<std::string, Json> values = {{"user", fault.user}, {"minutes", fault.minutes},
            {"count", fault.count}, {"zone", fault.zone}, {"app", fault.app}, {"class", fault.faultClass},
            {"nth", fault.nth}, {"persistent", fault.persistent}, {"until", fault.until}};
        for (const std::string& field : fields) {
            const bool unset = (field == "until" && fault.until.empty()) || (field == "minutes" && fault.minutes == 0);
            if (!unset) {
                item[field] = values.at(field);
            }
        }
        list.push_back(item);
    }
    return list;
}

std::string ScenarioFaultsHelp()
{
    return "  faults\n"
           "      things going wrong during the run: a list of objects {\"at\": \"YYYY-MM-DD HH:MM\", \"kind\": ...}\n"
           "      with the kind's own fields:\n"
           "        service_restart                 the standby service restarts (strategy destroyed, a new one "
           "created)\n"
           "        user_switch {user: 101}         another user comes to the foreground\n"
           "        clock_set {minutes}             the wall clock is set forward (> 0) or back (< 0), up to a week\n"
           "        time_zone {zone}                the time zone changes (zoneinfo name or POSIX TZ string)\n"
           "        notification_flood {count, minutes: 480, app}   count notifications over minutes\n"
           "        unlock_flood {count, minutes: 480}  count screen-on, unlock, screen-off uses over minutes\n"
           "        never_charged                   from then on the phone is never on the charger\n"
           "        always_charging                 from then on the phone stays on the charger\n"
           "        sensors_silent {until}          active sensors deliver no samples until then (or the end)\n"
           "        platform_fault {class, nth: 1, persistent: false, until}\n"
           "                                        the nth call of a class fails (persistent: and every later\n"
           "                                        one) until then; classes: " +
           PlatformFaultClassList() +
           "\n"
           "      Faults are marked in timeline.jsonl as {\"type\": \"fault\", ...}. Default [].\n";
}

void ApplyScenarioFaults(const std::vector<ScenarioFault>& faults, Trace& trace)
{
    std::vector<TraceEvent> added;
    std::vector<ScenarioFault> clockSets;
    for (const ScenarioFault& fault : faults) {
        int64_t atMs = 0;
        if (!ResolveLocalTime(fault.at, atMs) || atMs < trace.startMs || atMs >= trace.endMs) {
            continue; // outside this run (a person of a population may start on another day)
        }
        if (fault.kind == "clock_set") {
            clockSets.push_back(fault);
        } else {
            AddFaultEvents(fault, trace, added);
        }
    }
    // Floods and fault ends that would reach past the run end with it.
    added.erase(std::remove_if(added.begin(), added.end(),
                    [&trace](const TraceEvent& event) { return event.timeMs > trace.endMs; }),
        added.end());
    trace.events.insert(trace.events.end(), added.begin(), added.end());
    std::stable_sort(trace.events.begin(), trace.events.end(),
        [](const TraceEvent& a, const TraceEvent& b) { return a.timeMs < b.timeMs; });
    std::stable_sort(clockSets.begin(), clockSets.end(), [](const ScenarioFault& a, const ScenarioFault& b) {
        int64_t aMs = 0;
        int64_t bMs = 0;
        ResolveLocalTime(a.at, aMs);
        ResolveLocalTime(b.at, bMs);
        return aMs < bMs;
    });
    size_t from = 0;
    for (const ScenarioFault& clockSet : clockSets) {
        from = ApplyClockSet(clockSet, from, trace);
    }
}

} // namespace OHOS::Sim
