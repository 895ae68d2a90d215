#ifndef SIM_INCLUDE_NIGHT_METRICS_H
#define SIM_INCLUDE_NIGHT_METRICS_H

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "night_summary.h"
#include "statistics.h"
#include "time_spans.h"
#include "timeline.h"
#include "trace.h"

namespace OHOS::Sim {

class YardstickSpans;

// How well sleep was detected against the truth: per night and per run, for the plug-in and for the
// two yardstick rules of baseline_rules.h, written as metrics.json and summarised as a table.

enum class Rule { PLUGIN, IDLE, TIME_OF_DAY };
constexpr size_t kRuleCount = 3;
// "plugin", "idle", "time_of_day".
const char* RuleName(Rule rule);

// Nights with an index below this are a person's first week, reported apart (the plug-in learns).
constexpr int32_t kFirstWeekNights = 7;

// Whether the plug-in may detect a night's sleep at all. It starts deep sleep only at night (after
// 21:00 or before about 07:50 local), with the phone off the charger and its screen off, and only
// once it has learned from a week of history. A night is eligible when some of its true sleep meets
// all of these; the other classes name the first condition that fails, in this order: first week,
// sleep outside the night hours, charging through all of the sleep in the night hours, the screen on
// through all of what is left. What else decides a night (the model's verdict, active use, the alarm)
// is the plug-in's judgement, not a condition of the night, so it makes no class.
enum class NightClass { ELIGIBLE, FIRST_WEEK, OUTSIDE_WINDOW, CHARGING, SCREEN_ON };
constexpr size_t kNightClassCount = 5;
// "eligible", "firstWeek", "outsideWindow", "charging", "screenOn".
const char* NightClassName(NightClass nightClass);
// What the phone did during the night, as the trace says (normal lists).
struct PhoneSpans {
    SpanList charging;
    SpanList screenOff;
};
// The class of the night with 0-based `index`, judged in `window` (noon to noon), from its true
// sleep (a normal list) and what the phone did.
// REQUIRES: the process time zone is the night's.
NightClass ClassifyNight(int32_t index, const TimeSpan& window, const SpanList& sleep, const PhoneSpans& phone);

// What one rule said about one night, cut to the night's window.
struct RuleVerdict {
    SpanList asleep;              // the plug-in: deep sleep
    SpanList light;               // the plug-in only
    SpanList easyWakeup;          // the plug-in only
    SpanList notCareCharge;       // the plug-in only
    int64_t announcedWakeMs = -1; // the plug-in: with the first deep start; time of day: its span end
};

// One night's scores for one rule, derived from the night's facts. NaN where a value does not apply
// (latencies and wake error of a missed night, light minutes of a night without light sleep, ...).
struct NightScore {
    bool missed = true; // no asleep span overlaps the true sleep
    double onsetLatencyMin = 0;
    double wakeLatencyMin = 0;
    double coverage = 0;
    double falseSleepMin = 0;
    double falseSleepShare = 0;
    double wakeErrorMin = 0;
    double lightMin = 0;
    double easyWakeupMin = 0;
    double notCareChargeMin = 0;
};

// One person's night: the facts, and the scores computed from them.
struct NightRecord {
    std::string person;
    std::string persona;  // the kind of sleeper the person was drawn as; empty when none
    std::string charging; // the person's charging habit: "evening", "night" or "day"
    std::string night; // the local date on which it ends, "YYYY-MM-DD"
    int32_t index = 0; // 0-based within the person's run
    bool weekend = false;
    TimeSpan window;         // noon to noon
    SpanList sleep;          // true sleep (awakenings cut out)
    SpanList awakeScreenOff; // truly awake with the screen off, 21:00 to 08:00 local
    int64_t wakeLockMs = -1; // held by the phone in the window; -1 unknown
    int32_t trainings = 0;   // training runs that finished in the window
    NightClass nightClass = NightClass::ELIGIBLE;
    std::array<RuleVerdict, kRuleCount> verdicts;
    std::array<NightScore, kRuleCount> scores;
};

// How many values, their median, 10th and 90th percentiles, and the median and 90th percentile of
// their sizes (absolute values); NaN when none.
struct Stats {
    int32_t count = 0;
    double median = 0;
    double p10 = 0;
    double p90 = 0;
    double absMedian = 0;
    double absP90 = 0;
};

Stats StatsOf(const std::vector<double>& values);

// Which end of a score's distribution is the bad one: the tail a summary shows beside the median.
enum class Tail { LOW_IS_BAD, HIGH_IS_BAD };

// The per-night score fields that are summarised, by name, in metrics.json order.
struct ScoreField {
    const char* name;
    const char* label;    // for the text summary
    int32_t textDecimals; // for the text summary
    double NightScore::*value;
    Tail tail;
    bool signedError; // detected minus true: early and late both count, so its size is summarised too
};
const std::vector<ScoreField>& ScoreFields();

struct RuleSummary {
    int32_t missed = 0;
    // Nights on which each state occurred at all: asleep (deep), light, easy wake-up, not-care-charge.
    std::array<int32_t, 4> stateNights{};
    std::vector<Stats> fields; // in ScoreFields() order
};

struct GroupSummary {
    int32_t nights = 0;
    Stats wakeLockSec;
    std::array<RuleSummary, kRuleCount> rules;
};

struct PersonSummary {
    std::string name;
    int32_t nights = 0;
    int32_t trainings = 0;
    double trainingsPerWeek = 0;
};

// A group of nights that share a label (a persona, a charging habit, a person).
struct LabelledGroup {
    std::string label;
    GroupSummary group;
};

struct MetricsSummary {
    std::vector<PersonSummary> persons; // in night order
    Stats trainingsPerWeek;             // over persons
    GroupSummary all;
    std::array<GroupSummary, kNightClassCount> classes; // by NightClass; ELIGIBLE is the headline
    // The eligible nights broken down, each in label order: by persona, by charging habit, and by
    // person for the persons without a persona (recorded or written by hand). A breakdown that would
    // hold a single group is left empty.
    std::vector<LabelledGroup> byPersona;
    std::vector<LabelledGroup> byCharging;
    std::vector<LabelledGroup> byPerson;
};

// Who a run's nights belong to: the person's id and what the figures are broken down by.
struct MetricsPerson {
    std::string name;
    std::string persona;
    std::string charging;
};

struct RunMetrics {
    std::vector<NightRecord> nights; // grouped by person, each person's nights in order
    MetricsSummary summary;
};

// Scores one rule's verdict on one night.
NightScore ScoreNight(const NightRecord& night, const RuleVerdict& verdict);

// The metrics of one person's run: the plug-in's published states from the night reports (one per
// night of trace.nights, see SummariseNights), the yardstick rules run on the trace's events, all
// scored against the trace's true nights. `wakeLockMsPerNight` holds the wake-lock milliseconds of
// each night (noon to noon, in the order of trace.nights); missing entries count as unknown.
// REQUIRES: the process time zone is the run's.
RunMetrics ComputeRunMetrics(const MetricsPerson& person, const Trace& trace,
    const std::vector<NightReport>& reports, const std::vector<int64_t>& wakeLockMsPerNight);
// The same with the yardsticks' spans read from the trace's events as a run passed them (only the
// trace's nights and end are read).
RunMetrics ComputeRunMetrics(const MetricsPerson& person, const Trace& trace, const YardstickSpans& phone,
    const std::vector<NightReport>& reports, const std::vector<int64_t>& wakeLockMsPerNight);

// The metrics of several runs as one: the nights of all inputs, persons in name order (a person's
// nights keep their order), scores and summary recomputed. Merging the parts of a population in any
// grouping gives the same result as merging its persons one by one.
RunMetrics MergeMetrics(std::vector<RunMetrics> parts);

// metrics.json text: {"version":4, "rules":[...], "persons":[...], "nights":[...], "summary":{...}}.
// Field names are stable; see "Reading the metrics" in the README.
std::string MetricsToJson(const RunMetrics& metrics);
// One night of metrics.json, as its line there holds it.
nlohmann::ordered_json NightRecordJson(const NightRecord& night);
// The same text written to `out` a night at a time.
void WriteMetricsJson(const RunMetrics& metrics, std::ostream& out);
// Reads metrics.json text back (the nights' facts; scores and summary are recomputed). On failure
// returns false, leaves `metrics` unchanged and names the bad field in `error`.
bool MetricsFromJson(const std::string& text, RunMetrics& metrics, std::string& error);
// Reads a metrics.json file as MetricsFromJson reads its text, a night at a time: each object of its
// "nights" list is read and dropped at once, so a population's file is never held whole as JSON.
// False with an error naming the file when it is missing, not JSON, or has a bad field.
bool ReadMetricsFile(const std::string& path, RunMetrics& metrics, std::string& error);

// One line of a group's summary table: what it shows and its text for each rule (missed nights,
// every score as "median / tail (count)" and a signed error's size as "median / p90 (count)",
// nights with each state).
struct SummaryRow {
    std::string label;
    std::array<std::string, kRuleCount> cells;
};
std::vector<SummaryRow> GroupSummaryRows(const GroupSummary& group);

// "median / tail (count)" with `decimals` decimals, the tail being the 10th or the 90th percentile;
// "-" without values.
std::string FormatStats(const Stats& stats, int32_t decimals, Tail tail = Tail::HIGH_IS_BAD);

// "nights by class: eligible N, firstWeek N, outsideWindow N, charging N, screenOn N".
std::string FormatClassCounts(const MetricsSummary& summary);
// A breakdown of the eligible nights: its name in metrics.json, its title, its groups.
struct Breakdown {
    const char* key;   // "byPersona"
    const char* title; // "by persona"
    const std::vector<LabelledGroup>* groups;
};
std::array<Breakdown, 3> Breakdowns(const MetricsSummary& summary);
// Each group's coverage of true sleep per rule, "median / p10 (count)", as a summary table shows it.
std::vector<SummaryRow> BreakdownRows(const std::vector<LabelledGroup>& groups);

// A readable table of the summary: the plug-in beside the yardsticks on the eligible nights, the
// count of nights in each class, and all nights.
std::string FormatMetricsSummary(const RunMetrics& metrics);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_NIGHT_METRICS_H
