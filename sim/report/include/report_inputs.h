#ifndef SIM_INCLUDE_REPORT_INPUTS_H
#define SIM_INCLUDE_REPORT_INPUTS_H

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "local_calendar.h"
#include "night_metrics.h"
#include "timeline.h"
#include "timeline_facts.h"
#include "trace.h"

namespace OHOS::Sim {

// What the report reads from a finished output folder, reduced to what its pictures and tables show.

// Kinds of time the night pictures draw as bands.
enum class Band {
    IN_BED,          // into bed until asleep
    ASLEEP,          // truly asleep (awakenings cut out)
    SCREEN_ON,       // screen on
    CHARGING,        // charger connected
    STILL,           // the phone lies still
    DEEP,            // deep sleep as published by the plug-in
    LIGHT,           // light sleep as published
    EASY_WAKEUP,     // easy wake-up as published
    NOT_CARE_CHARGE, // not-care-charge sleep as published
    IDLE_RULE,       // the idle yardstick's asleep time
    TIME_OF_DAY,     // the time-of-day yardstick's asleep time
    COUNT,
};
constexpr size_t kBandCount = static_cast<size_t>(Band::COUNT);

// A moment with a short note, e.g. a deep-sleep end and why it ended.
struct Moment {
    int64_t timeMs = 0;
    std::string note;
};

// A wake-up time the plug-in announced with a deep-sleep start.
struct Announcement {
    int64_t atMs = 0;
    int64_t wakeMs = 0;
};

// One 10-minute observation: the verdict sent after it (0 when none) and the Bayes result
// reported for its record (-1 when none was reported).
struct Observation {
    int64_t timeMs = 0;
    int32_t verdict = 0;
    int32_t bayes = -1;
};

struct ReportNight {
    NightTruth truth; // date, weekend, bed, phone down, onset, wake, alarm (truth times from the timeline)
    const NightRecord* metrics = nullptr; // the night's facts and scores in the run's metrics, if they have it
};

struct RunRecord {
    std::string person;
    std::string timeZone;
    std::vector<ReportNight> nights;
    std::array<std::vector<TimeSpan>, kBandCount> bands; // each sorted by begin
    std::vector<int64_t> unlocks;
    std::vector<int64_t> alarms; // distinct alarm times the phone was set to
    std::vector<Observation> observations;
    std::vector<Moment> deepEnds; // note: why deep sleep stopped
    std::vector<Announcement> announcements;
    std::vector<Moment> trainings;          // note: "ok" or "failed"
    // The run's metrics: those read from metrics.json (held in readMetrics) or those of the run that
    // wrote the page; null when there are none.
    const RunMetrics* metrics = nullptr;
    std::unique_ptr<const RunMetrics> readMetrics;
};

// What the report takes from a run while it runs, so that its files need not be parsed again once
// it is over: the run's phone events and timeline read as the run passes the events and writes the
// lines, and the run's true nights. Read must see every line in the order of the file, ReadEvent
// every event of the trace in order.
class RunDigest {
public:
    explicit RunDigest(const Trace& trace);
    ~RunDigest();
    RunDigest(const RunDigest&) = delete;
    RunDigest& operator=(const RunDigest&) = delete;

    void Read(const TimelineFact& fact);
    // Reads the run's phone events, as the run passes them in order.
    void ReadEvent(const TraceEvent& event);
    // The metrics the run wrote to metrics.json, read from memory instead of the file; they must
    // outlive the record the digest fills.
    void UseMetrics(const RunMetrics* metrics) { metrics_ = metrics; }
    // Completes the reading and moves its results (the bands of the truth and of the published
    // states, observations, deep-sleep ends, announcements, trainings, and the metrics given to
    // UseMetrics) into `record`.
    void FinishInto(RunRecord& record);
    const Trace& TraceOfRun() const { return trace_; }

private:
    struct Parts;
    const Trace& trace_;
    const RunMetrics* metrics_ = nullptr;
    std::unique_ptr<Parts> parts_;
};

// Reads trace.jsonl, timeline.jsonl (either plain or compressed, as trace.jsonl.gz and
// timeline.jsonl.gz), scenario.json (for the time zone and the person's name) and,
// when present, metrics.json of a single-run folder. Sets the process time zone to the scenario's.
// Lines of unknown shape are skipped; a line that is not JSON is named in the error. With
// `runRead`, the trace and the timeline's lines come from it instead of trace.jsonl and
// timeline.jsonl.
bool ReadRunFolder(const std::string& dir, RunRecord& record, std::string& error, RunDigest* runRead = nullptr);

// Reads a JSON file; false with an error naming it when it is missing or malformed.
bool ReadJsonFile(const std::string& path, nlohmann::ordered_json& value, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_REPORT_INPUTS_H
