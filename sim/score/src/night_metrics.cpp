#include "night_metrics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

#include <nlohmann/json.hpp>

#include "baseline_rules.h"
#include "local_calendar.h"
#include "night_summary.h"

namespace OHOS::Sim {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// 2: nights carry their class, the summary groups by class; 3: nights carry their person's persona
// and charging habit, the summary breaks the eligible nights down by them.
constexpr int32_t kMetricsVersion = 4;
constexpr double kAwakeBandBeginMin = 21 * 60;
constexpr double kAwakeBandEndMin = 32 * 60; // 08:00 the next morning
constexpr double kDaysPerWeek = 7;
constexpr double kMedian = 0.5;
constexpr double kP10 = 0.1;
constexpr double kP90 = 0.9;
// The plug-in's night hours: after 21:00, and before 7.83 hours (a single-precision constant).
constexpr double kNightHoursBeginMin = 21 * 60;
constexpr double kNightHoursEndMin = (24 + static_cast<double>(7.83F)) * 60;
constexpr double kJsonPrecision = 1000; // values are written to three decimals

// The published states in the order of RuleSummary::stateNights.
struct StateField {
    const char* name;
    const char* label;
    SpanList RuleVerdict::*spans;
};

const std::vector<StateField>& StateFields()
{
    static const std::vector<StateField> fields = {
        {"asleep", "deep / asleep", &RuleVerdict::asleep},
        {"light", "light sleep", &RuleVerdict::light},
        {"easyWakeup", "easy wake-up", &RuleVerdict::easyWakeup},
        {"notCareCharge", "not-care-charge", &RuleVerdict::notCareCharge},
    };
    return fields;
}

double Minutes(int64_t ms)
{
    return static_cast<double>(ms) / kMsPerMinute;
}

double MinutesOrNaN(const SpanList& spans)
{
    return spans.empty() ? kNaN : Minutes(TotalSpanMs(spans));
}

double ShareOrNaN(int64_t part, int64_t whole)
{
    return whole > 0 ? static_cast<double>(part) / static_cast<double>(whole) : kNaN;
}

// ------------------------------------------------------------------ computing

RuleVerdict PluginVerdict(const NightReport& report)
{
    RuleVerdict verdict;
    // Not-care-charge is a deep sleep whatever the charger: asleep as much as deep sleep is.
    verdict.asleep = UniteSpans(NormaliseSpans(report.deepSpans), NormaliseSpans(report.notCareChargeSpans));
    verdict.light = NormaliseSpans(report.lightSpans);
    verdict.easyWakeup = NormaliseSpans(report.easyWakeupSpans);
    verdict.notCareCharge = NormaliseSpans(report.notCareChargeSpans);
    verdict.announcedWakeMs = report.deepStartMs >= 0 ? report.predictedWakeMs : -1;
    return verdict;
}

RuleVerdict TimeOfDayVerdict(const TimeSpan& guess, const TimeSpan& window)
{
    RuleVerdict verdict;
    verdict.asleep = ClipSpans({guess}, window);
    verdict.announcedWakeMs = guess.endMs > guess.beginMs ? guess.endMs : -1;
    return verdict;
}

SpanList AwakeScreenOff(const SpanList& screenOff, const NightRecord& night)
{
    const CivilDate opening = LocalDateOf(night.window.beginMs);
    const TimeSpan band{LocalTimeMs(opening, kAwakeBandBeginMin), LocalTimeMs(opening, kAwakeBandEndMin)};
    return SubtractSpans(ClipSpans(screenOff, band), night.sleep);
}

void ScoreAll(NightRecord& night)
{
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        night.scores[rule] = ScoreNight(night, night.verdicts[rule]);
    }
}

// ------------------------------------------------------------------ summarising

} // namespace

Stats StatsOf(const std::vector<double>& values)
{
    std::vector<double> sizes;
    sizes.reserve(values.size());
    for (double value : values) {
        sizes.push_back(std::fabs(value));
    }
    return Stats{static_cast<int32_t>(values.size()), Percentile(values, kMedian), Percentile(values, kP10),
        Percentile(values, kP90), Percentile(sizes, kMedian), Percentile(sizes, kP90)};
}

namespace {

RuleSummary SummariseRule(const std::vector<const NightRecord*>& nights, size_t rule)
{
    RuleSummary summary;
    std::vector<std::vector<double>> values(ScoreFields().size());
    for (const NightRecord* night : nights) {
        const NightScore& score = night->scores[rule];
        summary.missed += score.missed ? 1 : 0;
        for (size_t i = 0; i < StateFields().size(); ++i) {
            summary.stateNights[i] += (night->verdicts[rule].*StateFields()[i].spans).empty() ? 0 : 1;
        }
        for (size_t i = 0; i < ScoreFields().size(); ++i) {
            const double value = score.*ScoreFields()[i].value;
            if (!std::isnan(value)) {
                values[i].push_back(value);
            }
        }
    }
    for (const std::vector<double>& fieldValues : values) {
        summary.fields.push_back(StatsOf(fieldValues));
    }
    return summary;
}

GroupSummary SummariseGroup(const std::vector<const NightRecord*>& nights)
{
    std::vector<double> wakeLockSec;
    for (const NightRecord* night : nights) {
        if (night->wakeLockMs >= 0) {
            wakeLockSec.push_back(static_cast<double>(night->wakeLockMs) / kMsPerSecond);
        }
    }
    GroupSummary group;
    group.nights = static_cast<int32_t>(nights.size());
    group.wakeLockSec = StatsOf(wakeLockSec);
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        group.rules[rule] = SummariseRule(nights, rule);
    }
    return group;
}

template <typename Keep> GroupSummary SummariseGroup(const std::vector<NightRecord>& all, Keep keep)
{
    std::vector<const NightRecord*> nights;
    for (const NightRecord& night : all) {
        if (keep(night)) {
            nights.push_back(&night);
        }
    }
    return SummariseGroup(nights);
}

// The eligible nights grouped by the label `labelOf` gives them (nights without one are left out), in
// label order; empty when there would be a single group.
template <typename LabelOf>
std::vector<LabelledGroup> BreakDown(const std::vector<NightRecord>& all, LabelOf labelOf)
{
    std::map<std::string, std::vector<const NightRecord*>> byLabel;
    for (const NightRecord& night : all) {
        const std::string label = labelOf(night);
        if (night.nightClass == NightClass::ELIGIBLE && !label.empty()) {
            byLabel[label].push_back(&night);
        }
    }
    std::vector<LabelledGroup> groups;
    if (byLabel.size() > 1) {
        for (const auto& [label, nights] : byLabel) {
            groups.push_back(LabelledGroup{label, SummariseGroup(nights)});
        }
    }
    return groups;
}

std::vector<PersonSummary> SummarisePersons(const std::vector<NightRecord>& nights)
{
    std::vector<PersonSummary> persons;
    for (const NightRecord& night : nights) {
        if (persons.empty() || persons.back().name != night.person) {
            persons.push_back(PersonSummary{night.person, 0, 0, 0});
        }
        ++persons.back().nights;
        persons.back().trainings += night.trainings;
    }
    for (PersonSummary& person : persons) {
        person.trainingsPerWeek = person.trainings * kDaysPerWeek / person.nights;
    }
    return persons;
}

MetricsSummary Summarise(const std::vector<NightRecord>& nights)
{
    MetricsSummary summary;
    summary.persons = SummarisePersons(nights);
    std::vector<double> perWeek;
    for (const PersonSummary& person : summary.persons) {
        perWeek.push_back(person.trainingsPerWeek);
    }
    summary.trainingsPerWeek = StatsOf(perWeek);
    summary.all = SummariseGroup(nights, [](const NightRecord&) { return true; });
    for (size_t nightClass = 0; nightClass < kNightClassCount; ++nightClass) {
        summary.classes[nightClass] = SummariseGroup(nights,
            [nightClass](const NightRecord& n) { return n.nightClass == static_cast<NightClass>(nightClass); });
    }
    summary.byPersona = BreakDown(nights, [](const NightRecord& n) { return n.persona; });
    summary.byCharging = BreakDown(nights, [](const NightRecord& n) { return n.charging; });
    summary.byPerson =
        BreakDown(nights, [](const NightRecord& n) { return n.persona.empty() ? n.person : std::string(); });
    return summary;
}

RunMetrics Finish(std::vector<NightRecord> nights)
{
    RunMetrics metrics;
    metrics.nights = std::move(nights);
    for (NightRecord& night : metrics.nights) {
        ScoreAll(night);
    }
    metrics.summary = Summarise(metrics.nights);
    return metrics;
}

// ------------------------------------------------------------------ writing

Json Number(double value)
{
    return std::isnan(value) ? Json(nullptr) : Json(std::round(value * kJsonPrecision) / kJsonPrecision);
}

Json SpansJson(const SpanList& spans)
{
    Json list = Json::array();
    for (const TimeSpan& span : spans) {
        list.push_back(Json::array({span.beginMs, span.endMs}));
    }
    return list;
}

Json StatsJson(const Stats& stats)
{
    return Json{{"count", stats.count}, {"median", Number(stats.median)}, {"p10", Number(stats.p10)},
        {"p90", Number(stats.p90)}};
}

Json ScoreStatsJson(const Stats& stats, const ScoreField& field)
{
    Json json = StatsJson(stats);
    if (field.signedError) {
        json["absMedian"] = Number(stats.absMedian);
        json["absP90"] = Number(stats.absP90);
    }
    return json;
}

Json RuleNightJson(const NightRecord& night, size_t rule)
{
    const RuleVerdict& verdict = night.verdicts[rule];
    const NightScore& score = night.scores[rule];
    Json json;
    for (const StateField& state : StateFields()) {
        if (rule == static_cast<size_t>(Rule::PLUGIN) || state.spans == &RuleVerdict::asleep) {
            json[state.name] = SpansJson(verdict.*state.spans);
        }
    }
    json["announcedWake"] = verdict.announcedWakeMs >= 0 ? Json(verdict.announcedWakeMs) : Json(nullptr);
    json["missed"] = score.missed;
    for (const ScoreField& field : ScoreFields()) {
        json[field.name] = Number(score.*field.value);
    }
    return json;
}

} // namespace

Json NightRecordJson(const NightRecord& night)
{
    Json rules;
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        rules[RuleName(static_cast<Rule>(rule))] = RuleNightJson(night, rule);
    }
    return Json{{"person", night.person}, {"persona", night.persona}, {"charging", night.charging},
        {"night", night.night}, {"index", night.index}, {"weekend", night.weekend},
        {"window", Json::array({night.window.beginMs, night.window.endMs})}, {"sleep", SpansJson(night.sleep)},
        {"awakeScreenOff", SpansJson(night.awakeScreenOff)},
        {"wakeLockMs", night.wakeLockMs >= 0 ? Json(night.wakeLockMs) : Json(nullptr)}, {"trainings", night.trainings},
        {"class", NightClassName(night.nightClass)}, {"rules", rules}};
}

namespace {

Json GroupJson(const GroupSummary& group)
{
    Json rules;
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        const RuleSummary& summary = group.rules[rule];
        Json json{{"missed", summary.missed}};
        Json stateNights;
        for (size_t i = 0; i < StateFields().size(); ++i) {
            stateNights[StateFields()[i].name] = summary.stateNights[i];
        }
        json["nightsWith"] = stateNights;
        for (size_t i = 0; i < ScoreFields().size(); ++i) {
            json[ScoreFields()[i].name] = ScoreStatsJson(summary.fields[i], ScoreFields()[i]);
        }
        rules[RuleName(static_cast<Rule>(rule))] = json;
    }
    return Json{{"nights", group.nights}, {"wakeLockSec", StatsJson(group.wakeLockSec)}, {"rules", rules}};
}

Json PersonsJson(const std::vector<PersonSummary>& persons)
{
    Json list = Json::array();
    for (const PersonSummary& person : persons) {
        list.push_back(Json{{"name", person.name}, {"nights", person.nights}, {"trainings", person.trainings},
            {"trainingsPerWeek", Number(person.trainingsPerWeek)}});
    }
    return list;
}

Json SummaryJson(const MetricsSummary& summary)
{
    Json classes;
    for (size_t nightClass = 0; nightClass < kNightClassCount; ++nightClass) {
        classes[NightClassName(static_cast<NightClass>(nightClass))] = GroupJson(summary.classes[nightClass]);
    }
    Json json{{"persons", summary.persons.size()}, {"nights", summary.all.nights},
        {"trainingsPerWeek", StatsJson(summary.trainingsPerWeek)}, {"all", GroupJson(summary.all)},
        {"classes", classes}};
    for (const Breakdown& breakdown : Breakdowns(summary)) {
        Json byLabel = Json::object();
        for (const LabelledGroup& group : *breakdown.groups) {
            byLabel[group.label] = GroupJson(group.group);
        }
        json[breakdown.key] = byLabel;
    }
    return json;
}

// ------------------------------------------------------------------ reading

// Reads fields of one JSON object, remembering the first problem with the path of the field.
class FieldReader {
public:
    FieldReader(const Json& object, std::string path, std::string& error)
        : object_(object), path_(std::move(path)), error_(error)
    {
        if (!object_.is_object()) {
            Fail(path_, "an object");
        }
    }

    const Json* Find(const std::string& key, bool optional = false)
    {
        if (!error_.empty() || !object_.is_object()) {
            return nullptr;
        }
        const auto it = object_.find(key);
        if (it == object_.end() || it->is_null()) {
            if (!optional) {
                error_ = Field(key) + " is missing";
            }
            return nullptr;
        }
        return &*it;
    }

    std::string Text(const std::string& key)
    {
        const Json* value = Find(key);
        if (value != nullptr && !value->is_string()) {
            Fail(Field(key), "a string");
        }
        return value != nullptr && value->is_string() ? value->get<std::string>() : std::string();
    }

    NightClass Class(const std::string& key)
    {
        const std::string name = Text(key);
        for (size_t nightClass = 0; nightClass < kNightClassCount; ++nightClass) {
            if (name == NightClassName(static_cast<NightClass>(nightClass))) {
                return static_cast<NightClass>(nightClass);
            }
        }
        Fail(Field(key), "one of eligible, firstWeek, outsideWindow, charging, screenOn");
        return NightClass::ELIGIBLE;
    }

    bool Flag(const std::string& key)
    {
        const Json* value = Find(key);
        if (value != nullptr && !value->is_boolean()) {
            Fail(Field(key), "true or false");
        }
        return value != nullptr && value->is_boolean() && value->get<bool>();
    }

    // An integer; `absent` when the field is optional and missing or null.
    int64_t Integer(const std::string& key, bool optional = false, int64_t absent = -1)
    {
        const Json* value = Find(key, optional);
        if (value != nullptr && !value->is_number_integer()) {
            Fail(Field(key), "an integer");
        }
        return value != nullptr && value->is_number_integer() ? value->get<int64_t>() : absent;
    }

    TimeSpan Span(const Json& value, const std::string& path)
    {
        if (!value.is_array() || value.size() != 2 || !value[0].is_number_integer() || !value[1].is_number_integer() ||
            value[1].get<int64_t>() < value[0].get<int64_t>()) {
            Fail(path, "[beginMs, endMs] with beginMs <= endMs");
            return TimeSpan{};
        }
        return TimeSpan{value[0].get<int64_t>(), value[1].get<int64_t>()};
    }

    TimeSpan Window(const std::string& key)
    {
        const Json* value = Find(key);
        return value != nullptr ? Span(*value, Field(key)) : TimeSpan{};
    }

    SpanList Spans(const std::string& key, bool optional = false)
    {
        const Json* value = Find(key, optional);
        SpanList spans;
        if (value == nullptr) {
            return spans;
        }
        if (!value->is_array()) {
            Fail(Field(key), "a list of [beginMs, endMs]");
            return spans;
        }
        for (size_t i = 0; i < value->size() && error_.empty(); ++i) {
            spans.push_back(Span((*value)[i], Field(key) + "[" + std::to_string(i) + "]"));
        }
        return NormaliseSpans(std::move(spans));
    }

    std::string Field(const std::string& key) const { return path_ + "." + key; }

private:
    void Fail(const std::string& path, const std::string& expected)
    {
        if (error_.empty()) {
            error_ = path + " must be " + expected;
        }
    }

    const Json& object_;
    std::string path_;
    std::string& error_;
};

RuleVerdict ReadVerdict(const Json& json, const std::string& path, std::string& error)
{
    FieldReader reader(json, path, error);
    RuleVerdict verdict;
    for (const StateField& state : StateFields()) {
        verdict.*state.spans = reader.Spans(state.name, state.spans != &RuleVerdict::asleep);
    }
    verdict.announcedWakeMs = reader.Integer("announcedWake", true);
    return verdict;
}

NightRecord ReadNight(const Json& json, const std::string& path, std::string& error)
{
    FieldReader reader(json, path, error);
    NightRecord night;
    night.person = reader.Text("person");
    night.persona = reader.Text("persona");
    night.charging = reader.Text("charging");
    night.night = reader.Text("night");
    night.index = static_cast<int32_t>(reader.Integer("index"));
    night.weekend = reader.Flag("weekend");
    night.window = reader.Window("window");
    night.sleep = reader.Spans("sleep");
    night.awakeScreenOff = reader.Spans("awakeScreenOff");
    night.wakeLockMs = reader.Integer("wakeLockMs", true);
    night.trainings = static_cast<int32_t>(reader.Integer("trainings"));
    night.nightClass = reader.Class("class");
    const Json* rules = reader.Find("rules");
    if (rules != nullptr) {
        FieldReader ruleReader(*rules, reader.Field("rules"), error);
        for (size_t rule = 0; rule < kRuleCount; ++rule) {
            const std::string name = RuleName(static_cast<Rule>(rule));
            const Json* verdict = ruleReader.Find(name);
            if (verdict != nullptr) {
                night.verdicts[rule] = ReadVerdict(*verdict, ruleReader.Field(name), error);
            }
        }
    }
    return night;
}

// ------------------------------------------------------------------ text summary

std::string Cell(const std::string& text, size_t width)
{
    return text.size() >= width ? text + " " : text + std::string(width - text.size(), ' ');
}

// "middle / tail (count)", or "-" without values.
std::string FormatPair(int32_t count, double middle, double tail, int32_t decimals)
{
    if (count == 0) {
        return "-";
    }
    const double scale = std::pow(10.0, decimals);
    // Rounded first, so that -0.4 prints as 0 and not as -0.
    const auto rounded = [scale](double value) { return std::round(value * scale) / scale + 0.0; };
    char text[80];
    std::snprintf(text, sizeof(text), "%.*f / %.*f (%d)", decimals, rounded(middle), decimals, rounded(tail), count);
    return text;
}

// MetricsFromJson in parts: each entry of "nights" as it is read, then the rest of the file (its
// "nights" holding them or emptied of them: only its kind is checked).
class MetricsJsonReader {
public:
    void AddNight(const Json& entry)
    {
        if (!nightError_.empty()) {
            return;
        }
        const std::string where = "metrics.nights[" + std::to_string(nights_.size()) + "]";
        NightRecord night = ReadNight(entry, where, nightError_);
        if (nightError_.empty()) {
            nights_.push_back(std::move(night));
        }
    }

    bool Finish(const Json& rest, RunMetrics& metrics, std::string& error)
    {
        error.clear();
        FieldReader reader(rest, "metrics", error);
        const int64_t version = reader.Integer("version");
        if (error.empty() && version != kMetricsVersion) {
            error = "metrics.version " + std::to_string(version) + " is not supported (expected " +
                    std::to_string(kMetricsVersion) + ")";
        }
        const Json* list = reader.Find("nights");
        if (error.empty() && list != nullptr && !list->is_array()) {
            error = "metrics.nights must be a list";
        }
        if (error.empty()) {
            error = nightError_;
        }
        if (!error.empty()) {
            return false;
        }
        metrics = ::OHOS::Sim::Finish(std::move(nights_));
        return true;
    }

private:
    std::vector<NightRecord> nights_;
    std::string nightError_; // the first bad night's
};

} // namespace

std::string FormatStats(const Stats& stats, int32_t decimals, Tail tail)
{
    return FormatPair(stats.count, stats.median, tail == Tail::LOW_IS_BAD ? stats.p10 : stats.p90, decimals);
}

namespace {

constexpr size_t kLabelWidth = 34;
constexpr size_t kRuleWidth = 20;

void Row(std::ostringstream& out, const std::string& label, const std::array<std::string, kRuleCount>& cells)
{
    out << "  " << Cell(label, kLabelWidth);
    for (const std::string& cell : cells) {
        out << Cell(cell, kRuleWidth);
    }
    out << "\n";
}

void GroupTable(std::ostringstream& out, const std::string& title, const GroupSummary& group)
{
    out << Cell(title + " (" + std::to_string(group.nights) + " nights)", kLabelWidth + 2);
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        out << Cell(RuleName(static_cast<Rule>(rule)), kRuleWidth);
    }
    out << "\n";
    for (const SummaryRow& row : GroupSummaryRows(group)) {
        Row(out, row.label, row.cells);
    }
    out << "  " << Cell("wake-lock s per night", kLabelWidth) << FormatStats(group.wakeLockSec, 0) << "\n";
}

} // namespace

std::string FormatClassCounts(const MetricsSummary& summary)
{
    std::string text = "nights by class: ";
    for (size_t nightClass = 0; nightClass < kNightClassCount; ++nightClass) {
        text += (nightClass == 0 ? "" : ", ") + std::string(NightClassName(static_cast<NightClass>(nightClass))) +
                " " + std::to_string(summary.classes[nightClass].nights);
    }
    return text;
}

const char* RuleName(Rule rule)
{
    switch (rule) {
    case Rule::PLUGIN:
        return "plugin";
    case Rule::IDLE:
        return "idle";
    case Rule::TIME_OF_DAY:
        return "time_of_day";
    }
    return "unknown";
}

const char* NightClassName(NightClass nightClass)
{
    switch (nightClass) {
    case NightClass::ELIGIBLE:
        return "eligible";
    case NightClass::FIRST_WEEK:
        return "firstWeek";
    case NightClass::OUTSIDE_WINDOW:
        return "outsideWindow";
    case NightClass::CHARGING:
        return "charging";
    case NightClass::SCREEN_ON:
        return "screenOn";
    }
    return "unknown";
}

NightClass ClassifyNight(int32_t index, const TimeSpan& window, const SpanList& sleep, const PhoneSpans& phone)
{
    if (index < kFirstWeekNights) {
        return NightClass::FIRST_WEEK;
    }
    const CivilDate opening = LocalDateOf(window.beginMs);
    const TimeSpan nightHours{LocalTimeMs(opening, kNightHoursBeginMin), LocalTimeMs(opening, kNightHoursEndMin)};
    const SpanList sleepAtNight = ClipSpans(sleep, nightHours);
    if (sleepAtNight.empty()) {
        return NightClass::OUTSIDE_WINDOW;
    }
    const SpanList offCharger = SubtractSpans(sleepAtNight, phone.charging);
    if (offCharger.empty()) {
        return NightClass::CHARGING;
    }
    return IntersectSpans(offCharger, phone.screenOff).empty() ? NightClass::SCREEN_ON : NightClass::ELIGIBLE;
}

const std::vector<ScoreField>& ScoreFields()
{
    static const std::vector<ScoreField> fields = {
        {"onsetLatencyMin", "onset latency, min", 0, &NightScore::onsetLatencyMin, Tail::HIGH_IS_BAD, true},
        {"wakeLatencyMin", "wake latency, min", 0, &NightScore::wakeLatencyMin, Tail::LOW_IS_BAD, true},
        {"coverage", "coverage of true sleep", 2, &NightScore::coverage, Tail::LOW_IS_BAD, false},
        {"falseSleepMin", "false sleep, min", 0, &NightScore::falseSleepMin, Tail::HIGH_IS_BAD, false},
        {"falseSleepShare", "false sleep, share 21-08", 2, &NightScore::falseSleepShare, Tail::HIGH_IS_BAD, false},
        {"wakeErrorMin", "wake-up error, min", 0, &NightScore::wakeErrorMin, Tail::HIGH_IS_BAD, true},
        {"lightMin", "light sleep, min", 0, &NightScore::lightMin, Tail::HIGH_IS_BAD, false},
        {"easyWakeupMin", "easy wake-up, min", 0, &NightScore::easyWakeupMin, Tail::HIGH_IS_BAD, false},
        {"notCareChargeMin", "not-care-charge, min", 0, &NightScore::notCareChargeMin, Tail::HIGH_IS_BAD, false},
    };
    return fields;
}

NightScore ScoreNight(const NightRecord& night, const RuleVerdict& verdict)
{
    NightScore score;
    const SpanList covered = IntersectSpans(verdict.asleep, night.sleep);
    score.missed = covered.empty();
    const int64_t wake = night.sleep.empty() ? 0 : night.sleep.back().endMs;
    score.onsetLatencyMin = OnsetLatencyMin(verdict.asleep, night.sleep);
    score.wakeLatencyMin = kNaN;
    if (!score.missed) {
        const auto last = std::find_if(
            verdict.asleep.rbegin(), verdict.asleep.rend(), [wake](const TimeSpan& s) { return s.beginMs < wake; });
        score.wakeLatencyMin = Minutes(last->endMs - wake);
    }
    score.coverage = ShareOrNaN(TotalSpanMs(covered), TotalSpanMs(night.sleep));
    const SpanList falseSleep = SubtractSpans(UniteSpans(verdict.asleep, verdict.light), night.sleep);
    score.falseSleepMin = Minutes(TotalSpanMs(falseSleep));
    score.falseSleepShare =
        ShareOrNaN(TotalSpanMs(IntersectSpans(falseSleep, night.awakeScreenOff)), TotalSpanMs(night.awakeScreenOff));
    score.wakeErrorMin =
        verdict.announcedWakeMs >= 0 && !night.sleep.empty() ? Minutes(verdict.announcedWakeMs - wake) : kNaN;
    score.lightMin = MinutesOrNaN(verdict.light);
    score.easyWakeupMin = MinutesOrNaN(verdict.easyWakeup);
    score.notCareChargeMin = MinutesOrNaN(verdict.notCareCharge);
    return score;
}

RunMetrics ComputeRunMetrics(const MetricsPerson& person, const Trace& trace,
    const std::vector<NightReport>& reports, const std::vector<int64_t>& wakeLockMsPerNight)
{
    return ComputeRunMetrics(person, trace, ReadYardsticks(trace), reports, wakeLockMsPerNight);
}

RunMetrics ComputeRunMetrics(const MetricsPerson& person, const Trace& trace, const YardstickSpans& phone,
    const std::vector<NightReport>& reports, const std::vector<int64_t>& wakeLockMsPerNight)
{
    const SpanList screenOff = phone.ScreenOff(trace.endMs);
    const SpanList idle = phone.Idle(trace.endMs);
    const PhoneSpans phoneSpans{phone.Charging(trace.endMs), screenOff};
    const std::vector<TimeSpan> timeOfDay = TimeOfDayRuleSpans(trace.nights, screenOff);
    std::vector<NightRecord> nights;
    for (size_t i = 0; i < trace.nights.size(); ++i) {
        const NightTruth& truth = trace.nights[i];
        NightRecord night;
        night.person = person.name;
        night.persona = person.persona;
        night.charging = person.charging;
        night.night = FormatCivilDate(truth.wakeDate);
        night.index = static_cast<int32_t>(i);
        night.weekend = truth.weekend;
        night.window = truth.window;
        night.sleep = NormaliseSpans(truth.SleepSpans());
        night.awakeScreenOff = AwakeScreenOff(screenOff, night);
        night.wakeLockMs = i < wakeLockMsPerNight.size() ? wakeLockMsPerNight[i] : -1;
        night.trainings = static_cast<int32_t>(reports[i].trainingMs.size());
        night.nightClass = ClassifyNight(night.index, night.window, night.sleep, phoneSpans);
        night.verdicts[static_cast<size_t>(Rule::PLUGIN)] = PluginVerdict(reports[i]);
        night.verdicts[static_cast<size_t>(Rule::IDLE)].asleep = ClipSpans(idle, night.window);
        night.verdicts[static_cast<size_t>(Rule::TIME_OF_DAY)] = TimeOfDayVerdict(timeOfDay[i], night.window);
        nights.push_back(std::move(night));
    }
    return Finish(std::move(nights));
}

RunMetrics MergeMetrics(std::vector<RunMetrics> parts)
{
    std::vector<NightRecord> nights;
    for (RunMetrics& part : parts) {
        nights.insert(nights.end(), std::make_move_iterator(part.nights.begin()),
            std::make_move_iterator(part.nights.end()));
        part.nights.clear();
        part.nights.shrink_to_fit();
    }
    std::stable_sort(
        nights.begin(), nights.end(), [](const NightRecord& a, const NightRecord& b) { return a.person < b.person; });
    return Finish(std::move(nights));
}


void WriteMetricsJson(const RunMetrics& metrics, std::ostream& out)
{
    Json rules = Json::array();
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        rules.push_back(RuleName(static_cast<Rule>(rule)));
    }
    // One night per line keeps a long run's file readable and easy to diff.
    out << "{\"version\":" << kMetricsVersion << ",\n\"rules\":" << rules.dump()
        << ",\n\"persons\":" << PersonsJson(metrics.summary.persons).dump() << ",\n\"nights\":[";
    for (size_t i = 0; i < metrics.nights.size(); ++i) {
        out << (i == 0 ? "\n" : ",\n") << NightRecordJson(metrics.nights[i]).dump();
    }
    out << "],\n\"summary\":" << SummaryJson(metrics.summary).dump(2) << "}\n";
}

std::string MetricsToJson(const RunMetrics& metrics)
{
    std::ostringstream out;
    WriteMetricsJson(metrics, out);
    return out.str();
}

bool MetricsFromJson(const std::string& text, RunMetrics& metrics, std::string& error)
{
    const Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded()) {
        error = "metrics: not valid JSON";
        return false;
    }
    MetricsJsonReader reader;
    const Json* list = json.is_object() && json.contains("nights") ? &json["nights"] : nullptr;
    if (list != nullptr && list->is_array()) {
        for (const Json& entry : *list) {
            reader.AddNight(entry);
        }
    }
    return reader.Finish(json, metrics, error);
}

bool ReadMetricsFile(const std::string& path, RunMetrics& metrics, std::string& error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::error_code ec;
        error = "cannot read '" + path + "'" + (std::filesystem::is_regular_file(path, ec) ? "" : ": no such file");
        return false;
    }
    MetricsJsonReader reader;
    using Event = Json::parse_event_t;
    bool nightsKey = false;   // the top object's member being parsed is "nights"
    bool nightsArray = false; // ... and it is a list: its objects are nights
    const Json::parser_callback_t takeNights = [&](int depth, Event event, Json& parsed) {
        if (depth == 1 && event == Event::key) {
            nightsKey = parsed == "nights";
            nightsArray = false;
        } else if (depth == 1 && event == Event::array_start) {
            nightsArray = nightsKey;
        } else if (nightsArray && depth == 2 && event == Event::object_end) {
            reader.AddNight(parsed);
            return false; // not kept
        }
        return true;
    };
    const Json rest = Json::parse(in, takeNights, false);
    if (rest.is_discarded()) {
        error = "'" + path + "' is not valid JSON";
        return false;
    }
    if (!reader.Finish(rest, metrics, error)) {
        error = "'" + path + "': " + error;
        return false;
    }
    return true;
}

std::vector<SummaryRow> GroupSummaryRows(const GroupSummary& group)
{
    std::vector<SummaryRow> rows;
    SummaryRow missed{"missed nights", {}};
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        missed.cells[rule] = std::to_string(group.rules[rule].missed);
    }
    rows.push_back(missed);
    for (size_t i = 0; i < ScoreFields().size(); ++i) {
        const ScoreField& field = ScoreFields()[i];
        SummaryRow row{std::string(field.label) + (field.tail == Tail::LOW_IS_BAD ? " (p10)" : " (p90)"), {}};
        SummaryRow size{std::string("  its size |x| (p90)"), {}};
        for (size_t rule = 0; rule < kRuleCount; ++rule) {
            const Stats& stats = group.rules[rule].fields[i];
            row.cells[rule] = FormatStats(stats, field.textDecimals, field.tail);
            size.cells[rule] = FormatPair(stats.count, stats.absMedian, stats.absP90, field.textDecimals);
        }
        rows.push_back(row);
        if (field.signedError) {
            rows.push_back(size);
        }
    }
    for (size_t i = 0; i < StateFields().size(); ++i) {
        SummaryRow row{std::string("nights with ") + StateFields()[i].label, {}};
        for (size_t rule = 0; rule < kRuleCount; ++rule) {
            row.cells[rule] = std::to_string(group.rules[rule].stateNights[i]);
        }
        rows.push_back(row);
    }
    return rows;
}

std::string FormatMetricsSummary(const RunMetrics& metrics)
{
    const MetricsSummary& summary = metrics.summary;
    std::ostringstream out;
    out << "Sleep detection against the truth: " << summary.persons.size() << " person(s), " << summary.all.nights
        << " nights; values are median / tail (count): the tail is the 10th percentile (p10) where low values\n"
        << "are bad, the 90th (p90) where high ones are; latencies and errors are detected minus true, and |x|\n"
        << "rows give the median / p90 of their size\n\n";
    GroupTable(out, "eligible nights", summary.classes[static_cast<size_t>(NightClass::ELIGIBLE)]);
    out << "\n" << FormatClassCounts(summary) << "\n\n";
    for (const Breakdown& breakdown : Breakdowns(summary)) {
        if (breakdown.groups->empty()) {
            continue;
        }
        out << Cell(std::string("eligible nights ") + breakdown.title, kLabelWidth + 2);
        for (size_t rule = 0; rule < kRuleCount; ++rule) {
            out << Cell(RuleName(static_cast<Rule>(rule)), kRuleWidth);
        }
        out << "\n  coverage of true sleep, median / p10 (count)\n";
        for (const SummaryRow& row : BreakdownRows(*breakdown.groups)) {
            Row(out, row.label, row.cells);
        }
        out << "\n";
    }
    GroupTable(out, "all nights", summary.all);
    out << "\ntrainings per week (over persons): " << FormatStats(summary.trainingsPerWeek, 1) << "\n";
    return out.str();
}

std::array<Breakdown, 3> Breakdowns(const MetricsSummary& summary)
{
    return {Breakdown{"byPersona", "by persona", &summary.byPersona},
        Breakdown{"byCharging", "by charging habit", &summary.byCharging},
        Breakdown{"byPerson", "by person", &summary.byPerson}};
}

std::vector<SummaryRow> BreakdownRows(const std::vector<LabelledGroup>& groups)
{
    const auto coverage = std::find_if(ScoreFields().begin(), ScoreFields().end(),
        [](const ScoreField& field) { return field.value == &NightScore::coverage; });
    const size_t field = static_cast<size_t>(coverage - ScoreFields().begin());
    std::vector<SummaryRow> rows;
    for (const LabelledGroup& group : groups) {
        SummaryRow row{group.label + " (" + std::to_string(group.group.nights) + " nights)", {}};
        for (size_t rule = 0; rule < kRuleCount; ++rule) {
            row.cells[rule] = FormatStats(group.group.rules[rule].fields[field], coverage->textDecimals, coverage->tail);
        }
        rows.push_back(row);
    }
    return rows;
}

} // namespace OHOS::Sim
