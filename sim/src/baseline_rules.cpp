#include "baseline_rules.h"

#include <algorithm>

#include "local_calendar.h"
#include "night_metrics.h"
#include "night_summary.h"

namespace OHOS::Sim {

namespace {

constexpr int64_t kIdleAfterMs = 30 * kMsPerMinute;
constexpr int64_t kIdleCommitMs = 30 * kMsPerMinute;
constexpr int64_t kGlanceMs = 5 * kMsPerMinute;
constexpr int32_t kSaturday = 6;

// What the idle rule watches; it may count sleep only while all three hold.
struct IdleState {
    bool screenOn = false;
    bool charging = false;
    bool still = false;

    bool Quiet() const { return !screenOn && !charging && still; }
};

void ApplyToIdleState(const TraceEvent& event, IdleState& state)
{
    switch (event.kind) {
    case TraceKind::SCREEN_ON:
        state.screenOn = true;
        break;
    case TraceKind::SCREEN_OFF:
        state.screenOn = false;
        break;
    case TraceKind::STILL:
        state.still = true;
        break;
    case TraceKind::MOVE:
        state.still = false;
        break;
    case TraceKind::POWER_CONNECTED:
        state.charging = true;
        break;
    case TraceKind::POWER_DISCONNECTED:
        state.charging = false;
        break;
    default:
        break;
    }
}

bool IsWeekendNight(const TimeSpan& window)
{
    return WeekDay(LocalDateOf(window.endMs)) >= kSaturday;
}

// Wall-clock minutes from the noon that opens `window` to `ms` (1440 = the next noon).
double MinutesAfterNoon(const TimeSpan& window, int64_t ms)
{
    const CivilDate opening = LocalDateOf(window.beginMs);
    const CivilDate date = LocalDateOf(ms);
    const bool nextDay = date.year != opening.year || date.month != opening.month || date.day != opening.day;
    return (nextDay ? kMinutesPerDay : 0) + LocalHourOf(ms) * 60 - kNoonMin;
}

struct LearnedRest {
    bool weekend = false;
    double bedMin = 0; // minutes after the opening noon
    double wakeMin = 0;
};

TimeSpan GuessFromHistory(const std::vector<LearnedRest>& history, const TimeSpan& window)
{
    const bool weekend = IsWeekendNight(window);
    const bool kindKnown = std::any_of(
        history.begin(), history.end(), [weekend](const LearnedRest& rest) { return rest.weekend == weekend; });
    std::vector<double> beds;
    std::vector<double> wakes;
    for (const LearnedRest& rest : history) {
        if (!kindKnown || rest.weekend == weekend) {
            beds.push_back(rest.bedMin);
            wakes.push_back(rest.wakeMin);
        }
    }
    if (beds.empty()) {
        return TimeSpan{window.beginMs, window.beginMs};
    }
    const CivilDate opening = LocalDateOf(window.beginMs);
    return TimeSpan{LocalTimeMs(opening, kNoonMin + Percentile(beds, 0.5)),
        LocalTimeMs(opening, kNoonMin + Percentile(wakes, 0.5))};
}

} // namespace

SpanList ScreenOffSpans(const Trace& trace)
{
    SpanList spans;
    int64_t offSince = trace.startMs;
    trace.ForEachEvent([&spans, &offSince](const TraceEvent& event) {
        if (event.kind == TraceKind::SCREEN_ON && offSince >= 0) {
            spans.push_back(TimeSpan{offSince, event.timeMs});
            offSince = -1;
        } else if (event.kind == TraceKind::SCREEN_OFF && offSince < 0) {
            offSince = event.timeMs;
        }
    });
    if (offSince >= 0) {
        spans.push_back(TimeSpan{offSince, trace.endMs});
    }
    return NormaliseSpans(std::move(spans));
}

SpanList IdleRuleSpans(const Trace& trace)
{
    SpanList spans;
    IdleState state;
    int64_t quietSince = -1;
    const auto closeQuiet = [&](int64_t nowMs) {
        spans.push_back(TimeSpan{quietSince + kIdleAfterMs + kIdleCommitMs, nowMs});
        quietSince = -1;
    };
    trace.ForEachEvent([&](const TraceEvent& event) {
        ApplyToIdleState(event, state);
        if (state.Quiet() && quietSince < 0) {
            quietSince = event.timeMs;
        } else if (!state.Quiet() && quietSince >= 0) {
            closeQuiet(event.timeMs);
        }
    });
    if (quietSince >= 0) {
        closeQuiet(trace.endMs);
    }
    return NormaliseSpans(std::move(spans));
}

std::optional<TimeSpan> ScreenRestOfNight(const SpanList& screenOff, const TimeSpan& window)
{
    std::optional<TimeSpan> longest;
    std::optional<TimeSpan> current;
    for (const TimeSpan& off : ClipSpans(screenOff, window)) {
        if (current && off.beginMs - current->endMs < kGlanceMs) {
            current->endMs = off.endMs;
        } else {
            current = off;
        }
        if (!longest || current->endMs - current->beginMs > longest->endMs - longest->beginMs) {
            longest = current;
        }
    }
    return longest;
}

std::vector<TimeSpan> TimeOfDayRuleSpans(const Trace& trace)
{
    const SpanList screenOff = ScreenOffSpans(trace);
    std::vector<LearnedRest> history;
    std::vector<TimeSpan> guesses;
    for (const NightTruth& night : trace.nights) {
        const TimeSpan window = NightWindow(night);
        guesses.push_back(GuessFromHistory(history, window));
        const std::optional<TimeSpan> rest = ScreenRestOfNight(screenOff, window);
        if (rest) {
            history.push_back(LearnedRest{IsWeekendNight(window), MinutesAfterNoon(window, rest->beginMs),
                MinutesAfterNoon(window, rest->endMs)});
        }
    }
    return guesses;
}

} // namespace OHOS::Sim
