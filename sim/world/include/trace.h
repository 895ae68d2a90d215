#ifndef SIM_INCLUDE_TRACE_H
#define SIM_INCLUDE_TRACE_H

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "local_calendar.h"
#include "time_spans.h"

namespace OHOS::Sim {

// What happens to the phone at one moment. Each kind names the values it uses.
enum class TraceKind {
    BOOT, // the phone finished booting
    SCREEN_ON,
    SCREEN_OFF,
    UNLOCK,
    LIGHT,     // value: ambient light in lux
    PROXIMITY, // value: distance in cm (0 covered, 5 far)
    STILL,     // the movement service sees the phone lying still
    MOVE,      // ... and moving again
    POWER_CONNECTED,
    POWER_DISCONNECTED,
    BATTERY_LEVEL, // number: percent
    NEXT_ALARM,    // number: epoch ms of the next alarm, 0 when none
    NOTIFICATION,  // text: the posting application's bundle name
    BADGE_CLEARED, // text: the application whose notifications the user dealt with
    CALL_STATE,    // number: telephony call state (4 incoming, 0 active, 6 disconnected)
    // Faults (scenario "faults"):
    SERVICE_RESTART,        // the standby service restarts: the strategy is destroyed and a new one created
    USER_SWITCH,            // number: the user id that comes to the foreground
    CLOCK_SET,              // number: milliseconds the wall clock is moved by (later events already moved)
    TIME_ZONE,              // text: the new time zone (TZ value)
    SENSORS_SILENT,         // active sensors stop delivering samples ...
    SENSORS_ANSWER,         // ... and deliver again
    PLATFORM_FAULT,         // text: fault class; number: the nth call fails; value 1: and every later one
    PLATFORM_FAULT_CLEARED, // text: fault class; its calls work again
};

struct TraceEvent {
    int64_t timeMs = 0;
    TraceKind kind = TraceKind::BOOT;
    double value = 0;
    int64_t number = 0;
    std::string text;
};

// The truth about one night, against which the plug-in's answers are judged.
struct NightTruth {
    CivilDate wakeDate;               // the night belongs to the day on which it ends
    bool weekend = false;             // weekend habits applied
    int64_t bedMs = 0;                // into bed, lights out, phone in hand
    int64_t phoneDownMs = 0;          // phone put down for the night
    int64_t onsetMs = 0;              // fell asleep
    int64_t wakeMs = 0;               // woke up for the day
    int64_t alarmMs = -1;             // the morning alarm, -1 when none
    std::vector<TimeSpan> awakenings; // awake periods within [onsetMs, wakeMs], in order, disjoint
    // The window the night is judged in, placed by PlaceNightWindows: from the noon before it to
    // the noon of the day it ends, local wall-clock noons (so 23 or 25 hours across a daylight-saving
    // change) in the zone in force that night. Empty until placed.
    TimeSpan window{0, 0};

    // The asleep spans: [onset, wake] with the awakenings cut out.
    std::vector<TimeSpan> SleepSpans() const;
};

using TraceEventVisitor = std::function<void(const TraceEvent&)>;

struct Trace {
    int64_t startMs = 0;
    int64_t endMs = 0;
    std::vector<TraceEvent> events; // in time order; equal times keep their order of generation
    std::vector<NightTruth> nights;
    // When set, the events are not held in `events`: each call produces all of them, in order.
    std::function<void(const TraceEventVisitor&)> generate;

    // Passes every event to `visit` in order, held or produced.
    void ForEachEvent(const TraceEventVisitor& visit) const;
};

// From the noon before `wakeDate` to its noon, in the process's time zone.
TimeSpan NoonToNoon(const CivilDate& wakeDate);
// Places every night's window in the zone in force at its true onset: `startZone`, or the zone of the
// last time-zone event before the onset.
void PlaceNightWindows(Trace& trace, const std::string& startZone);

// Stable lower-case name of a kind, e.g. "screen_on"; "unknown" for a value outside the enum.
const char* TraceKindName(TraceKind kind);
// One event as a JSON object line (no newline): {"t":..,"time":"..","kind":"..",...}. Light and
// proximity carry "value" (a decimal), battery level and call state "value" (an integer), the next
// alarm "value" and "alarm" (local time), notifications "pkg"; any other kind carries its non-zero
// "value" (decimal) and "number" (integer) and its non-empty "text".
std::string TraceEventToJson(const TraceEvent& event);
// One night's truth as a JSON object line: local times for reading, "ms" with the same instants
// in epoch ms for replaying.
std::string NightTruthToJson(const NightTruth& night);

// Version of the trace file format, in the "trace" field of its first line.
constexpr int32_t TRACE_FORMAT_VERSION = 1;

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TRACE_H
