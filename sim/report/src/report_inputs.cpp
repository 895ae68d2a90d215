#include "report_inputs.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>

#include "compressed_file.h"
#include "night_summary.h"
#include "run_files.h"
#include "trace_reader.h"

namespace OHOS::Sim {

namespace {


bool FileExists(const std::string& path)
{
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

// Calls `onLine` with every JSON line of a JSON Lines file; false with an error naming the file and
// the line when the file cannot be read or a line is not JSON.
bool ForEachJsonLine(
    const std::string& path, const std::function<void(const TimelineLine&)>& onLine, std::string& error)
{
    InputFile in(path);
    if (!in.is_open()) {
        error = "cannot read '" + path + "'" + (FileExists(path) ? "" : ": no such file");
        return false;
    }
    std::string text;
    for (size_t number = 1; std::getline(in, text); ++number) {
        if (text.empty()) {
            continue;
        }
        const TimelineLine line = TimelineLine::parse(text, nullptr, false);
        if (line.is_discarded()) {
            const std::string damage = in.DamageInRest();
            error = damage.empty() ? path + ":" + std::to_string(number) + ": not a JSON line" : damage;
            return false;
        }
        if (line.is_object()) {
            onLine(line);
        }
    }
    if (!in.Damage().empty()) {
        error = in.Damage();
        return false;
    }
    return true;
}

// Turns on/off changes of one state into spans; a span still open at the end runs to `endMs`.
class SpanTracker {
public:
    void Set(int64_t t, bool on)
    {
        if (on && since_ < 0) {
            since_ = t;
        } else if (!on && since_ >= 0) {
            spans_.push_back(TimeSpan{since_, t});
            since_ = -1;
        }
    }
    bool Open() const { return since_ >= 0; }
    std::vector<TimeSpan> Finish(int64_t endMs)
    {
        Set(std::max(endMs, since_), false);
        return std::move(spans_);
    }

private:
    int64_t since_ = -1;
    std::vector<TimeSpan> spans_;
};

// Turns the phone's events of the trace into the bands and marks of the picture.
class PhoneEventReader {
public:
    explicit PhoneEventReader(RunRecord& record) : record_(record) {}

    void Read(const TraceEvent& event)
    {
        const int64_t t = event.timeMs;
        lastMs_ = std::max(lastMs_, t);
        switch (event.kind) {
        case TraceKind::SCREEN_ON:
        case TraceKind::SCREEN_OFF:
            screen_.Set(t, event.kind == TraceKind::SCREEN_ON);
            break;
        case TraceKind::POWER_CONNECTED:
        case TraceKind::POWER_DISCONNECTED:
            charging_.Set(t, event.kind == TraceKind::POWER_CONNECTED);
            break;
        case TraceKind::STILL:
        case TraceKind::MOVE:
            still_.Set(t, event.kind == TraceKind::STILL);
            break;
        case TraceKind::UNLOCK:
            record_.unlocks.push_back(t);
            break;
        case TraceKind::NEXT_ALARM:
            if (event.number > 0) {
                record_.alarms.push_back(event.number);
            }
            break;
        default:
            break;
        }
    }

    void Finish()
    {
        record_.bands[static_cast<size_t>(Band::SCREEN_ON)] = screen_.Finish(lastMs_);
        record_.bands[static_cast<size_t>(Band::CHARGING)] = charging_.Finish(lastMs_);
        record_.bands[static_cast<size_t>(Band::STILL)] = still_.Finish(lastMs_);
        std::sort(record_.alarms.begin(), record_.alarms.end());
        record_.alarms.erase(std::unique(record_.alarms.begin(), record_.alarms.end()), record_.alarms.end());
    }

private:
    RunRecord& record_;
    SpanTracker screen_;
    SpanTracker charging_;
    SpanTracker still_;
    int64_t lastMs_ = 0;
};

void AddInBedBand(RunRecord& record)
{
    std::vector<TimeSpan>& inBed = record.bands[static_cast<size_t>(Band::IN_BED)];
    for (const ReportNight& night : record.nights) {
        if (night.truth.bedMs >= 0 && night.truth.onsetMs > night.truth.bedMs) {
            inBed.push_back(TimeSpan{night.truth.bedMs, night.truth.onsetMs});
        }
    }
}

// Reads what the plug-in published and was told, and the truth markers, from the timeline's facts.
class TimelineReader {
public:
    explicit TimelineReader(RunRecord& record) : record_(record) {}

    void Read(const TimelineFact& fact)
    {
        lastMs_ = std::max(lastMs_, fact.timeMs);
        switch (fact.kind) {
        case FactKind::TRUTH:
            asleep_.Set(fact.timeMs, fact.on);
            break;
        case FactKind::STATE:
            ReadPublished(fact);
            break;
        case FactKind::OBSERVATION: {
            const auto early = earlyBayes_.find(fact.timeMs);
            record_.observations.push_back(
                Observation{fact.timeMs, 0, early == earlyBayes_.end() ? -1 : early->second});
            break;
        }
        case FactKind::VERDICT:
            if (!record_.observations.empty() && record_.observations.back().timeMs == fact.timeMs) {
                record_.observations.back().verdict = static_cast<int32_t>(fact.number);
            }
            break;
        case FactKind::TRAINING:
            record_.trainings.push_back(Moment{fact.timeMs, fact.on ? "ok" : "failed"});
            break;
        case FactKind::DEEP_STOP_REASON:
            stopReasons_[fact.timeMs] = static_cast<int32_t>(fact.number);
            break;
        case FactKind::KEY_FEATURE:
            SetBayes(fact.number, fact.result);
            break;
        case FactKind::NONE:
            break;
        }
    }

    void Finish()
    {
        record_.bands[static_cast<size_t>(Band::ASLEEP)] = asleep_.Finish(lastMs_);
        for (size_t i = 0; i < kPublishedStateCount; ++i) {
            record_.bands[static_cast<size_t>(kPublishedBands[i])] = published_[i].Finish(lastMs_);
        }
        for (Moment& end : record_.deepEnds) {
            const auto reason = stopReasons_.find(end.timeMs);
            end.note = reason == stopReasons_.end() ? "" : StopReasonText(reason->second);
        }
    }

private:
    // The band of each published state, in PublishedState order.
    static constexpr Band kPublishedBands[kPublishedStateCount] = {
        Band::DEEP, Band::LIGHT, Band::EASY_WAKEUP, Band::NOT_CARE_CHARGE};

    void ReadPublished(const TimelineFact& fact)
    {
        SpanTracker& published = published_[static_cast<size_t>(fact.state)];
        const bool deep = fact.state == PublishedState::DEEP;
        if (deep && !fact.on && published.Open()) {
            record_.deepEnds.push_back(Moment{fact.timeMs, ""});
        }
        published.Set(fact.timeMs, fact.on);
        if (deep && fact.on && fact.number > 0) {
            record_.announcements.push_back(Announcement{fact.timeMs, fact.number});
        }
    }

    // Gives the observations of `recordMs` their Bayes result (the last one reported counts); one
    // reported before its observation waits for it.
    void SetBayes(int64_t recordMs, int32_t bayes)
    {
        auto& observations = record_.observations;
        const auto [first, last] =
            std::equal_range(observations.begin(), observations.end(), Observation{recordMs, 0, -1},
                [](const Observation& a, const Observation& b) { return a.timeMs < b.timeMs; });
        for (auto it = first; it != last; ++it) {
            it->bayes = bayes;
        }
        const auto early = earlyBayes_.find(recordMs);
        if (first == last || early != earlyBayes_.end()) {
            earlyBayes_[recordMs] = bayes;
        }
    }

    RunRecord& record_;
    SpanTracker asleep_;
    SpanTracker published_[kPublishedStateCount];
    std::map<int64_t, int32_t> stopReasons_; // by the time of the deep-sleep end they explain
    std::map<int64_t, int32_t> earlyBayes_;  // results reported before their observation, by its time
    int64_t lastMs_ = 0;
};

// Gives each night of the report its night of the metrics (by date), and the yardsticks' asleep
// spans their bands.
void AttachMetrics(RunRecord& record)
{
    std::map<std::string, ReportNight*> byDate;
    for (ReportNight& night : record.nights) {
        byDate[FormatCivilDate(night.truth.wakeDate)] = &night;
    }
    std::vector<TimeSpan>& idle = record.bands[static_cast<size_t>(Band::IDLE_RULE)];
    std::vector<TimeSpan>& timeOfDay = record.bands[static_cast<size_t>(Band::TIME_OF_DAY)];
    for (const NightRecord& night : record.metrics->nights) {
        const SpanList& idleAsleep = night.verdicts[static_cast<size_t>(Rule::IDLE)].asleep;
        const SpanList& timeOfDayAsleep = night.verdicts[static_cast<size_t>(Rule::TIME_OF_DAY)].asleep;
        idle.insert(idle.end(), idleAsleep.begin(), idleAsleep.end());
        timeOfDay.insert(timeOfDay.end(), timeOfDayAsleep.begin(), timeOfDayAsleep.end());
        const auto it = byDate.find(night.night);
        if (it != byDate.end()) {
            it->second->metrics = &night;
        }
    }
    for (std::vector<TimeSpan>* band : {&idle, &timeOfDay}) {
        std::sort(
            band->begin(), band->end(), [](const TimeSpan& a, const TimeSpan& b) { return a.beginMs < b.beginMs; });
    }
}

void ReadScenario(const std::string& dir, RunRecord& record)
{
    TimelineLine scenario;
    std::string ignored;
    if (ReadJsonFile(dir + "/scenario.json", scenario, ignored) && scenario.is_object()) {
        record.timeZone = scenario.value("timeZone", std::string());
        record.person = scenario.value("name", std::string());
    }
    if (record.person.empty()) {
        record.person = std::filesystem::path(dir).lexically_normal().filename().string();
    }
}

} // namespace

bool ReadJsonFile(const std::string& path, nlohmann::ordered_json& value, std::string& error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot read '" + path + "'" + (FileExists(path) ? "" : ": no such file");
        return false;
    }
    value = nlohmann::ordered_json::parse(in, nullptr, false);
    if (value.is_discarded()) {
        error = "'" + path + "' is not valid JSON";
        return false;
    }
    return true;
}

struct RunDigest::Parts {
    RunRecord record;
    TimelineReader reader{record};
    PhoneEventReader phone{record};
};

RunDigest::RunDigest(const Trace& trace) : trace_(trace), parts_(std::make_unique<Parts>()) {}

RunDigest::~RunDigest() = default;

void RunDigest::Read(const TimelineFact& fact)
{
    parts_->reader.Read(fact);
}

void RunDigest::ReadEvent(const TraceEvent& event)
{
    parts_->phone.Read(event);
}

void RunDigest::FinishInto(RunRecord& record)
{
    parts_->reader.Finish();
    parts_->phone.Finish();
    RunRecord& read = parts_->record;
    for (Band band : {Band::ASLEEP, Band::DEEP, Band::LIGHT, Band::EASY_WAKEUP, Band::NOT_CARE_CHARGE, Band::SCREEN_ON,
             Band::CHARGING, Band::STILL}) {
        record.bands[static_cast<size_t>(band)] = std::move(read.bands[static_cast<size_t>(band)]);
    }
    record.unlocks = std::move(read.unlocks);
    record.alarms = std::move(read.alarms);
    record.observations = std::move(read.observations);
    record.deepEnds = std::move(read.deepEnds);
    record.announcements = std::move(read.announcements);
    record.trainings = std::move(read.trainings);
    record.metrics = metrics_;
}

bool ReadRunFolder(const std::string& dir, RunRecord& record, std::string& error, RunDigest* runRead)
{
    record = RunRecord();
    ReadScenario(dir, record);
    if (record.timeZone.empty()) {
        error = "'" + dir + "/scenario.json' is missing or names no time zone (needed for local times)";
        return false;
    }
    SetProcessTimeZone(record.timeZone);
    Scenario scenario;
    Trace parsed;
    if (runRead == nullptr && !ParseTraceFile(StoredFormOf(dir + "/trace.jsonl"), scenario, parsed, error)) {
        return false;
    }
    const Trace& trace = runRead != nullptr ? runRead->TraceOfRun() : parsed;
    SetProcessTimeZone(record.timeZone);
    for (const NightTruth& truth : trace.nights) {
        ReportNight night;
        night.truth = truth;
        record.nights.push_back(night);
    }
    AddInBedBand(record);
    if (runRead != nullptr) {
        runRead->FinishInto(record);
    } else {
        PhoneEventReader phone(record);
        trace.ForEachEvent([&phone](const TraceEvent& event) { phone.Read(event); });
        phone.Finish();
        TimelineReader timeline(record);
        if (!ForEachJsonLine(
                StoredFormOf(dir + "/" + TIMELINE_FILE),
                [&timeline](const TimelineLine& line) { timeline.Read(ReadTimelineFact(line)); }, error)) {
            return false;
        }
        timeline.Finish();
    }
    const std::string metricsPath = dir + "/" + METRICS_FILE;
    if (record.metrics == nullptr && FileExists(metricsPath)) {
        auto metrics = std::make_unique<RunMetrics>();
        if (!ReadMetricsFile(metricsPath, *metrics, error)) {
            return false;
        }
        record.metrics = metrics.get();
        record.readMetrics = std::move(metrics);
    }
    if (record.metrics != nullptr) {
        AttachMetrics(record);
    }
    return true;
}

} // namespace OHOS::Sim
