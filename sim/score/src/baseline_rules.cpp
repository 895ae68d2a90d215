#include "baseline_rules.h"

#include <algorithm>

#include "local_calendar.h"
#include "night_summary.h"
#include "statistics.h"

namespace OHOS::Sim {

namespace {

constexpr int64_t kIdleAfterMs = 30 * kMsPerMinute;
constexpr int64_t kIdleCommitMs = 30 * kMsPerMinute;
constexpr int64_t kGlanceMs = 5 * kMsPerMinute;
constexpr int32_t kSaturday = 6;

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

void YardstickSpans::ApplyToIdleState(const TraceEvent& event, IdleState& state)
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

YardstickSpans::YardstickSpans(int64_t startMs) : offSince_(startMs) {}

void YardstickSpans::Read(const TraceEvent& event)
{
    if (event.kind == TraceKind::SCREEN_ON && offSince_ >= 0) {
        screenOff_.push_back(TimeSpan{offSince_, event.timeMs});
        offSince_ = -1;
    } else if (event.kind == TraceKind::SCREEN_OFF && offSince_ < 0) {
        offSince_ = event.timeMs;
    }
    ApplyToIdleState(event, idleState_);
    if (idleState_.charging && chargingSince_ < 0) {
        chargingSince_ = event.timeMs;
    } else if (!idleState_.charging && chargingSince_ >= 0) {
        charging_.push_back(TimeSpan{chargingSince_, event.timeMs});
        chargingSince_ = -1;
    }
    if (idleState_.Quiet() && quietSince_ < 0) {
        quietSince_ = event.timeMs;
    } else if (!idleState_.Quiet() && quietSince_ >= 0) {
        idle_.push_back(IdleSpan(quietSince_, event.timeMs));
        quietSince_ = -1;
    }
}

SpanList YardstickSpans::ScreenOff(int64_t endMs) const
{
    SpanList spans = screenOff_;
    if (offSince_ >= 0) {
        spans.push_back(TimeSpan{offSince_, endMs});
    }
    return NormaliseSpans(std::move(spans));
}

SpanList YardstickSpans::Idle(int64_t endMs) const
{
    SpanList spans = idle_;
    if (quietSince_ >= 0) {
        spans.push_back(IdleSpan(quietSince_, endMs));
    }
    return NormaliseSpans(std::move(spans));
}

SpanList YardstickSpans::Charging(int64_t endMs) const
{
    SpanList spans = charging_;
    if (chargingSince_ >= 0) {
        spans.push_back(TimeSpan{chargingSince_, endMs});
    }
    return NormaliseSpans(std::move(spans));
}

TimeSpan YardstickSpans::IdleSpan(int64_t quietSinceMs, int64_t endMs)
{
    return TimeSpan{quietSinceMs + kIdleAfterMs + kIdleCommitMs, endMs};
}

YardstickSpans ReadYardsticks(const Trace& trace)
{
    YardstickSpans spans(trace.startMs);
    trace.ForEachEvent([&spans](const TraceEvent& event) { spans.Read(event); });
    return spans;
}

SpanList ScreenOffSpans(const Trace& trace)
{
    return ReadYardsticks(trace).ScreenOff(trace.endMs);
}

SpanList IdleRuleSpans(const Trace& trace)
{
    return ReadYardsticks(trace).Idle(trace.endMs);
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
    return TimeOfDayRuleSpans(trace.nights, ScreenOffSpans(trace));
}

std::vector<TimeSpan> TimeOfDayRuleSpans(const std::vector<NightTruth>& nights, const SpanList& screenOff)
{
    std::vector<LearnedRest> history;
    std::vector<TimeSpan> guesses;
    for (const NightTruth& night : nights) {
        const TimeSpan window = night.window;
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
