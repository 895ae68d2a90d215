#include "report_inputs.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>

#include "compressed_file.h"
#include "night_summary.h"
#include "trace_reader.h"

namespace OHOS::Sim {

namespace {

using Json = nlohmann::json;

constexpr int32_t kObservationMessage = 2000;
constexpr int32_t kDeepSleepReportType = 100;

bool FileExists(const std::string& path)
{
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

// Calls `onLine` with every JSON line of a JSON Lines file; false with an error naming the file and
// the line when the file cannot be read or a line is not JSON.
bool ForEachJsonLine(const std::string& path, const std::function<void(const Json&)>& onLine, std::string& error)
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
        const Json line = Json::parse(text, nullptr, false);
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

template <typename JsonObject> std::string StringField(const JsonObject& line, const char* key)
{
    const auto it = line.find(key);
    return it != line.end() && it->is_string() ? it->template get<std::string>() : std::string();
}

template <typename JsonObject> int64_t IntField(const JsonObject& line, const char* key, int64_t fallback)
{
    const auto it = line.find(key);
    return it != line.end() && it->is_number() ? it->template get<int64_t>() : fallback;
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

template <typename JsonObject> bool IsSleepFlag(const JsonObject& want)
{
    const auto params = want.find("params");
    return params != want.end() && params->is_object() && params->value("isSleep", false);
}

// Reads what the plug-in published and was told, and the truth markers, from the timeline.
class TimelineReader {
public:
    explicit TimelineReader(RunRecord& record) : record_(record) {}

    // Takes a line as parsed from the file or, as the run writes it, before it is written.
    template <typename JsonObject> void Read(const JsonObject& line)
    {
        const int64_t t = IntField(line, "t", -1);
        const std::string type = StringField(line, "type");
        lastMs_ = std::max(lastMs_, t);
        if (type == TIMELINE_TRUTH) {
            asleep_.Set(t, StringField(line, "what") == "asleep");
        } else if (type == TIMELINE_COMMON_EVENT) {
            ReadPublished(t, line);
        } else if (type == TIMELINE_HOST_MESSAGE) {
            ReadMessage(t, line);
        } else if (type == TIMELINE_SYSTEM_EVENT) {
            ReadSystemEvent(t, line);
        }
    }

    void Finish()
    {
        record_.bands[static_cast<size_t>(Band::ASLEEP)] = asleep_.Finish(lastMs_);
        for (size_t i = 0; i < kTracked; ++i) {
            record_.bands[static_cast<size_t>(kPublished[i].band)] = published_[i].Finish(lastMs_);
        }
        for (Moment& end : record_.deepEnds) {
            const auto reason = stopReasons_.find(end.timeMs);
            end.note = reason == stopReasons_.end() ? "" : StopReasonText(reason->second);
        }
    }

private:
    struct Published {
        const std::string& action;
        Band band;
    };
    static constexpr size_t kTracked = 4;
    inline static const Published kPublished[kTracked] = {{DEEP_SLEEP_EVENT, Band::DEEP},
        {LIGHT_SLEEP_EVENT, Band::LIGHT}, {EASY_WAKEUP_EVENT, Band::EASY_WAKEUP},
        {NOT_CARE_CHARGE_EVENT, Band::NOT_CARE_CHARGE}};

    template <typename JsonObject> void ReadPublished(int64_t t, const JsonObject& line)
    {
        const std::string action = StringField(line, "action");
        const auto want = line.find("want");
        if (want == line.end() || !want->is_object()) {
            return;
        }
        const bool on = IsSleepFlag(*want);
        if (action == DEEP_SLEEP_EVENT && !on && published_[0].Open()) {
            record_.deepEnds.push_back(Moment{t, ""});
        }
        for (size_t i = 0; i < kTracked; ++i) {
            if (action == kPublished[i].action) {
                published_[i].Set(t, on);
            }
        }
        if (action == DEEP_SLEEP_EVENT && on) {
            const int64_t wakeup = IntField((*want)["params"], "wakeupTime", -1);
            if (wakeup > 0) {
                record_.announcements.push_back(Announcement{t, wakeup});
            }
        }
    }

    template <typename JsonObject> void ReadMessage(int64_t t, const JsonObject& line)
    {
        const int64_t id = IntField(line, "id", 0);
        if (id == kObservationMessage) {
            const auto early = earlyBayes_.find(t);
            record_.observations.push_back(Observation{t, 0, early == earlyBayes_.end() ? -1 : early->second});
        } else if (id >= VERDICT_AWAKE && id <= VERDICT_LIGHT && !record_.observations.empty() &&
                   record_.observations.back().timeMs == t) {
            record_.observations.back().verdict = static_cast<int32_t>(id);
        } else if (id == TRAINING_FINISHED_MESSAGE) {
            const auto want = line.find("want");
            const bool ok = want != line.end() && want->is_object() &&
                            (*want).value("params", JsonObject::object()).value("isTrainSuccess", false);
            record_.trainings.push_back(Moment{t, ok ? "ok" : "failed"});
        }
    }

    template <typename JsonObject> void ReadSystemEvent(int64_t t, const JsonObject& line)
    {
        const std::string name = StringField(line, "name");
        const auto params = line.find("params");
        if (params == line.end() || !params->is_object()) {
            return;
        }
        if (name == POWER_BRAIN_STATE_EVENT && IntField(*params, "TYPE", 0) == kDeepSleepReportType &&
            IntField(*params, "VALUE", 0) < 0) {
            stopReasons_[t] = static_cast<int32_t>(IntField(*params, "VALUE", 0));
        } else if (name == KEY_FEATURE_EVENT) {
            SetBayes(
                IntField(*params, "RECORD_TIMESTAMP", -1), static_cast<int32_t>(IntField(*params, "BAYES_RESULT", -1)));
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
    SpanTracker published_[kTracked];
    std::map<int64_t, int32_t> stopReasons_; // by the time of the deep-sleep end they explain
    std::map<int64_t, int32_t> earlyBayes_;  // results reported before their observation, by its time
    int64_t lastMs_ = 0;
};

double NumberOrNaN(const MetricsJson& value)
{
    return value.is_number() ? value.get<double>() : std::numeric_limits<double>::quiet_NaN();
}

// The rule's asleep spans of one metrics night, appended to `spans`.
void AppendAsleep(const MetricsJson& rule, std::vector<TimeSpan>& spans)
{
    const auto asleep = rule.find("asleep");
    if (asleep == rule.end() || !asleep->is_array()) {
        return;
    }
    for (const MetricsJson& span : *asleep) {
        if (span.is_array() && span.size() == 2 && span[0].is_number() && span[1].is_number()) {
            spans.push_back(TimeSpan{span[0].get<int64_t>(), span[1].get<int64_t>()});
        }
    }
}

// Where a night keeps its rules' objects: its "rules" object, or the night itself.
const MetricsJson& RulesHolder(const MetricsJson& entry)
{
    return entry.contains("rules") && entry["rules"].is_object() ? entry["rules"] : entry;
}

// One night object of metrics.json, tolerant of where it keeps its rules.
MetricsNight ReadMetricsNight(const MetricsJson& entry, const std::vector<std::string>& rules)
{
    MetricsNight night;
    night.person = StringField(entry, "person");
    night.night = StringField(entry, "night");
    if (night.night.empty()) {
        night.night = StringField(entry, "date");
    }
    const MetricsJson& holder = RulesHolder(entry);
    for (const std::string& rule : rules) {
        if (holder.contains(rule) && holder[rule].is_object()) {
            night.rules[rule] = &holder[rule];
        }
    }
    return night;
}

// Adds one night of the metrics: the yardsticks' asleep spans to their bands, each rule's scores to
// the report's night of that date.
void AddMetricsNight(const MetricsNight& night, const std::map<std::string, ReportNight*>& byDate, RunRecord& record)
{
    for (const auto& [rule, values] : night.rules) {
        if (rule == RULE_IDLE || rule == RULE_TIME_OF_DAY) {
            AppendAsleep(
                *values, record.bands[static_cast<size_t>(rule == RULE_IDLE ? Band::IDLE_RULE : Band::TIME_OF_DAY)]);
        }
        const auto it = byDate.find(night.night);
        if (it != byDate.end()) {
            it->second->scores[rule] = ScoresOf(*values);
        }
    }
}

// Reads the metrics night by night through `addNights`, which calls AddMetricsNight for each.
void ReadMetricsNights(
    RunRecord& record, const std::function<void(const std::map<std::string, ReportNight*>& byDate)>& addNights)
{
    std::map<std::string, ReportNight*> byDate;
    for (ReportNight& night : record.nights) {
        byDate[FormatCivilDate(night.truth.wakeDate)] = &night;
    }
    addNights(byDate);
    for (auto* band :
        {&record.bands[static_cast<size_t>(Band::IDLE_RULE)], &record.bands[static_cast<size_t>(Band::TIME_OF_DAY)]}) {
        std::sort(
            band->begin(), band->end(), [](const TimeSpan& a, const TimeSpan& b) { return a.beginMs < b.beginMs; });
    }
}

void ReadMetrics(RunRecord& record)
{
    ReadMetricsNights(record, [&record](const std::map<std::string, ReportNight*>& byDate) {
        for (const MetricsNight& night : MetricsNights(record.metrics)) {
            AddMetricsNight(night, byDate, record);
        }
    });
}

// The run's metrics as ReadMetrics reads them from metrics.json, a night's line at a time.
void ReadRunMetrics(RunRecord& record)
{
    ReadMetricsNights(record, [&record](const std::map<std::string, ReportNight*>& byDate) {
        const std::vector<std::string> rules = MetricsRules(MetricsJson());
        for (const NightRecord& night : record.runMetrics->nights) {
            const MetricsJson entry = NightRecordJson(night);
            AddMetricsNight(ReadMetricsNight(entry, rules), byDate, record);
        }
    });
}

void ReadScenario(const std::string& dir, RunRecord& record)
{
    MetricsJson scenario;
    std::string ignored;
    if (ReadJsonFile(dir + "/scenario.json", scenario, ignored) && scenario.is_object()) {
        record.timeZone = scenario.value("timeZone", std::string());
        record.person = scenario.value("name", std::string());
    }
    if (record.person.empty()) {
        record.person = std::filesystem::path(dir).lexically_normal().filename().string();
    }
}

// Parses a JSON file, `callback` (may be empty) deciding what is kept; false with an error naming
// the file when it is missing or malformed.
bool ParseJsonFile(const std::string& path, const MetricsJson::parser_callback_t& callback, MetricsJson& value,
    std::string& error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot read '" + path + "'" + (FileExists(path) ? "" : ": no such file");
        return false;
    }
    value = MetricsJson::parse(in, callback, false);
    if (value.is_discarded()) {
        error = "'" + path + "' is not valid JSON";
        return false;
    }
    return true;
}

} // namespace

bool ReadJsonFile(const std::string& path, MetricsJson& value, std::string& error)
{
    return ParseJsonFile(path, nullptr, value, error);
}

struct RunDigest::Parts {
    RunRecord record;
    TimelineReader reader{record};
    PhoneEventReader phone{record};
};

RunDigest::RunDigest(const Trace& trace) : trace_(trace), parts_(std::make_unique<Parts>()) {}

RunDigest::~RunDigest() = default;

void RunDigest::Read(const TimelineLine& line)
{
    if (line.is_object()) {
        parts_->reader.Read(line);
    }
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
    record.runMetrics = metrics_;
}

bool IsReadSystemEvent(const std::string& name)
{
    return name == POWER_BRAIN_STATE_EVENT || name == KEY_FEATURE_EVENT;
}

bool IsReadMessageWant(int32_t messageId)
{
    return messageId == TRAINING_FINISHED_MESSAGE;
}

bool HasMetrics(const RunRecord& record)
{
    return !record.metrics.is_null() || record.runMetrics != nullptr;
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
                StoredFormOf(dir + "/timeline.jsonl"), [&timeline](const Json& line) { timeline.Read(line); }, error)) {
            return false;
        }
        timeline.Finish();
    }
    const std::string metricsPath = dir + "/metrics.json";
    if (record.runMetrics != nullptr) {
        ReadRunMetrics(record);
    } else if (FileExists(metricsPath)) {
        if (!ReadJsonFile(metricsPath, record.metrics, error)) {
            return false;
        }
        ReadMetrics(record);
    }
    return true;
}

bool ReadMetricsFileByNight(const std::string& path, MetricsJson& rest,
    const std::function<void(const MetricsJson& night)>& eachNight, std::string& error)
{
    using Event = MetricsJson::parse_event_t;
    bool nightsKey = false;   // the top object's member being parsed is "nights"
    bool nightsArray = false; // ... and it is an array: its objects are nights
    const MetricsJson::parser_callback_t takeNights = [&](int depth, Event event, MetricsJson& parsed) {
        if (depth == 1 && event == Event::key) {
            nightsKey = parsed == "nights";
            nightsArray = false;
        } else if (depth == 1 && event == Event::array_start) {
            nightsArray = nightsKey;
        } else if (nightsArray && depth == 2 && event == Event::object_end) {
            eachNight(parsed);
            return false; // not kept
        }
        return true;
    };
    return ParseJsonFile(path, takeNights, rest, error);
}

MetricsNight MetricsNightWithEveryRule(const MetricsJson& entry)
{
    std::vector<std::string> rules;
    const MetricsJson& holder = RulesHolder(entry);
    for (auto it = holder.begin(); it != holder.end(); ++it) {
        if (it->is_object()) {
            rules.push_back(it.key());
        }
    }
    return ReadMetricsNight(entry, rules);
}

std::vector<MetricsNight> MetricsNights(const MetricsJson& metrics)
{
    std::vector<MetricsNight> nights;
    if (!metrics.is_object() || !metrics.contains("nights") || !metrics["nights"].is_array()) {
        return nights;
    }
    const std::vector<std::string> rules = MetricsRules(metrics);
    for (const MetricsJson& entry : metrics["nights"]) {
        if (entry.is_object()) {
            nights.push_back(ReadMetricsNight(entry, rules));
        }
    }
    return nights;
}

RuleScores ScoresOf(const MetricsJson& rule)
{
    RuleScores scores;
    const MetricsJson none;
    scores.onsetLatencyMin = NumberOrNaN(rule.contains("onsetLatencyMin") ? rule["onsetLatencyMin"] : none);
    scores.coverage = NumberOrNaN(rule.contains("coverage") ? rule["coverage"] : none);
    scores.missed = !rule.contains("missed") || !rule["missed"].is_boolean() || rule["missed"].get<bool>();
    return scores;
}

std::vector<std::string> MetricsRules(const MetricsJson& metrics)
{
    std::vector<std::string> rules;
    if (metrics.is_object() && metrics.contains("rules") && metrics["rules"].is_array()) {
        for (const MetricsJson& rule : metrics["rules"]) {
            if (rule.is_string()) {
                rules.push_back(rule.get<std::string>());
            }
        }
    }
    return rules.empty() ? std::vector<std::string>{RULE_PLUGIN, RULE_IDLE, RULE_TIME_OF_DAY} : rules;
}

} // namespace OHOS::Sim
