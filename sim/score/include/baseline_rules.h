#ifndef SIM_INCLUDE_BASELINE_RULES_H
#define SIM_INCLUDE_BASELINE_RULES_H

#include <optional>
#include <vector>

#include "time_spans.h"
#include "trace.h"

namespace OHOS::Sim {

// Two simple rules that judge sleep from the phone's events alone, scored beside the plug-in as
// yardsticks. Neither looks at the truth.

// The screen-off spans and the idle rule's spans (see ScreenOffSpans and IdleRuleSpans) read event
// by event, for a run that passes its events once.
class YardstickSpans {
public:
    explicit YardstickSpans(int64_t startMs);
    void Read(const TraceEvent& event);
    // The spans so far, an open one running to `endMs`.
    SpanList ScreenOff(int64_t endMs) const;
    SpanList Idle(int64_t endMs) const;

private:
    // What the idle rule watches; it may count sleep only while all three hold.
    struct IdleState {
        bool screenOn = false;
        bool charging = false;
        bool still = false;

        bool Quiet() const { return !screenOn && !charging && still; }
    };
    static void ApplyToIdleState(const TraceEvent& event, IdleState& state);
    // Asleep from an hour after the phone fell quiet.
    static TimeSpan IdleSpan(int64_t quietSinceMs, int64_t endMs);

    SpanList screenOff_;
    int64_t offSince_; // -1 while the screen is on
    SpanList idle_;
    IdleState idleState_;
    int64_t quietSince_ = -1;
};

// Both of a whole trace.
YardstickSpans ReadYardsticks(const Trace& trace);

// Screen-off time of the trace: from each screen-off to the next screen-on. The phone starts with
// its screen off; the last span runs to the end of the trace.
SpanList ScreenOffSpans(const Trace& trace);

// Idle rule, like a phone's deep-idle mode: once the screen is off, the charger out and the phone
// still, it waits 30 minutes to go idle and 30 more before it counts the person as asleep, until
// the screen goes on, the phone moves or the charger is connected. Motion counts as unknown (not
// still) until the first still or move event. Spans over the whole trace.
SpanList IdleRuleSpans(const Trace& trace);

// The rest a phone can see in one night window from screen use alone: the longest screen-off time
// in the window once glances (screen on for under 5 minutes) are bridged. None without screen-off.
std::optional<TimeSpan> ScreenRestOfNight(const SpanList& screenOff, const TimeSpan& window);

// Time-of-day rule, one span per night of trace.nights (by its window, not its truth): asleep from
// the median bedtime to the median wake time, as wall-clock times, of the earlier nights' screen
// rests. Weekday and weekend nights learn apart; while a kind has no earlier night, all earlier
// nights are used. A night with no earlier rest gets an empty span.
std::vector<TimeSpan> TimeOfDayRuleSpans(const Trace& trace);
// The same for `nights` from the trace's screen-off spans.
std::vector<TimeSpan> TimeOfDayRuleSpans(const std::vector<NightTruth>& nights, const SpanList& screenOff);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_BASELINE_RULES_H
