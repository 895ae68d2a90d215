#include "night_summary.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>

#include "local_calendar.h"

namespace OHOS::Sim {

namespace {

constexpr int32_t kDeepSleepReportType = 100;
constexpr size_t kSettlingNights = 7;
constexpr double kTimelyMin = 60;

bool IsSleepEvent(const TimelineLine& line, const std::string& action)
{
    return line["type"] == TIMELINE_COMMON_EVENT && line.value("action", "") == action;
}

bool IsSleepFlag(const TimelineLine& line)
{
    const auto& params = line["want"]["params"];
    return params.contains("isSleep") && params["isSleep"].is_boolean() && params["isSleep"].get<bool>();
}

int64_t WakeupParam(const TimelineLine& line)
{
    const auto& params = line["want"]["params"];
    return params.contains("wakeupTime") && params["wakeupTime"].is_number_integer()
               ? params["wakeupTime"].get<int64_t>()
               : -1;
}

// Whether the line is the statistic that reports why deep sleep stopped (a negative value).
bool IsDeepStopReport(const TimelineLine& line)
{
    if (line["type"] != TIMELINE_SYSTEM_EVENT || line.value("name", "") != POWER_BRAIN_STATE_EVENT) {
        return false;
    }
    const auto& params = line["params"];
    return params.value("TYPE", 0) == kDeepSleepReportType && params.value("VALUE", 0) < 0;
}

// Where a published state's open span starts, per state; -1 while the state is off.
struct OpenStates {
    int64_t deep = -1;
    int64_t light = -1;
    int64_t easyWakeup = -1;
    int64_t notCareCharge = -1;
};

struct StateTrack {
    const std::string& action;
    int64_t OpenStates::*openSince;
    std::vector<TimeSpan> NightReport::*spans;
};

const std::vector<StateTrack>& StateTracks()
{
    static const std::vector<StateTrack> tracks = {
        {DEEP_SLEEP_EVENT, &OpenStates::deep, &NightReport::deepSpans},
        {LIGHT_SLEEP_EVENT, &OpenStates::light, &NightReport::lightSpans},
        {EASY_WAKEUP_EVENT, &OpenStates::easyWakeup, &NightReport::easyWakeupSpans},
        {NOT_CARE_CHARGE_EVENT, &OpenStates::notCareCharge, &NightReport::notCareChargeSpans},
    };
    return tracks;
}

// Opens or closes the span of the state the line publishes; a repeated "on" keeps the open span.
void TrackState(const TimelineLine& line, int64_t t, OpenStates& open, NightReport& report)
{
    for (const StateTrack& track : StateTracks()) {
        if (!IsSleepEvent(line, track.action)) {
            continue;
        }
        int64_t& since = open.*track.openSince;
        if (IsSleepFlag(line)) {
            since = since < 0 ? t : since;
        } else if (since >= 0) {
            (report.*track.spans).push_back(TimeSpan{since, t});
            since = -1;
        }
    }
}

void CloseOpenStates(int64_t endMs, const OpenStates& open, NightReport& report)
{
    for (const StateTrack& track : StateTracks()) {
        if (open.*track.openSince >= 0) {
            (report.*track.spans).push_back(TimeSpan{open.*track.openSince, endMs});
        }
    }
}

// Stop reasons by time: the report and the published end share their virtual time.
using StopReasons = std::map<int64_t, int32_t>;

void ReadLine(const TimelineLine& line, NightReport& report, const StopReasons& reasons)
{
    const int64_t t = line["t"].get<int64_t>();
    if (IsSleepEvent(line, DEEP_SLEEP_EVENT)) {
        if (IsSleepFlag(line)) {
            if (report.deepStartMs < 0) {
                report.deepStartMs = t;
                report.predictedWakeMs = WakeupParam(line);
            }
            ++report.deepEpisodes;
        } else if (report.deepEpisodes > 0) {
            report.deepEndMs = t;
            const auto reason = reasons.find(t);
            report.deepEndReason = reason == reasons.end() ? 0 : reason->second;
        }
    } else if (IsSleepEvent(line, LIGHT_SLEEP_EVENT)) {
        if (IsSleepFlag(line)) {
            report.lightStartMs = report.lightStartMs < 0 ? t : report.lightStartMs;
            ++report.lightEpisodes;
        } else if (report.lightEpisodes > 0) {
            report.lightEndMs = t;
        }
    } else if (IsSleepEvent(line, EASY_WAKEUP_EVENT) && IsSleepFlag(line) && report.easyWakeupStartMs < 0) {
        report.easyWakeupStartMs = t;
    } else if (line["type"] == TIMELINE_HOST_MESSAGE && line.value("id", 0) == TRAINING_FINISHED_MESSAGE) {
        report.trainingMs.push_back(t);
    }
}

std::string Clock(int64_t ms)
{
    return ms < 0 ? "-" : FormatLocalClock(ms);
}

std::string Cell(const std::string& text, size_t width)
{
    return text.size() >= width ? text + " " : text + std::string(width - text.size(), ' ');
}

} // namespace

double NightReport::OnsetDelayMin() const
{
    return static_cast<double>(deepStartMs - truth.onsetMs) / kMsPerMinute;
}

TimeSpan NightWindow(const NightTruth& night)
{
    return TimeSpan{LocalTimeMs(AddDays(night.wakeDate, -1), kNoonMin), LocalTimeMs(night.wakeDate, kNoonMin)};
}

NightSummaries::NightSummaries(const std::vector<NightTruth>& nights) : nights_(nights) {}

void NightSummaries::Read(const TimelineLine& line)
{
    waiting_.push_back(line);
    const int64_t t = line["t"].get<int64_t>();
    while (reports_.size() < nights_.size() && t >= NightWindow(nights_[reports_.size()]).endMs) {
        SummariseNext();
    }
}

std::vector<NightReport> NightSummaries::Finish()
{
    while (reports_.size() < nights_.size()) {
        SummariseNext();
    }
    return std::move(reports_);
}

// The next night from the waiting lines in its window; lines before the window are dropped.
void NightSummaries::SummariseNext()
{
    NightReport report;
    report.truth = nights_[reports_.size()];
    const auto [begin, end] = NightWindow(report.truth);
    while (!waiting_.empty() && waiting_.front()["t"].get<int64_t>() < begin) {
        waiting_.pop_front();
    }
    const auto last = std::find_if(waiting_.begin(), waiting_.end(),
        [end = end](const TimelineLine& line) { return line["t"].get<int64_t>() >= end; });
    StopReasons reasons;
    for (auto it = waiting_.begin(); it != last; ++it) {
        if (IsDeepStopReport(*it)) {
            reasons[(*it)["t"].get<int64_t>()] = (*it)["params"]["VALUE"].get<int32_t>();
        }
    }
    OpenStates open;
    for (auto it = waiting_.begin(); it != last; ++it) {
        ReadLine(*it, report, reasons);
        TrackState(*it, (*it)["t"].get<int64_t>(), open, report);
    }
    CloseOpenStates(end, open, report);
    waiting_.erase(waiting_.begin(), last);
    reports_.push_back(std::move(report));
}

std::vector<NightReport> SummariseNights(const std::vector<TimelineLine>& lines, const std::vector<NightTruth>& nights)
{
    NightSummaries summaries(nights);
    for (const TimelineLine& line : lines) {
        summaries.Read(line);
    }
    return summaries.Finish();
}

int32_t CountTimelyNights(const std::vector<NightReport>& reports, size_t firstCounted, double toleranceMin)
{
    int32_t timely = 0;
    for (size_t i = firstCounted; i < reports.size(); ++i) {
        if (reports[i].deepStartMs >= 0 && std::fabs(reports[i].OnsetDelayMin()) <= toleranceMin) {
            ++timely;
        }
    }
    return timely;
}

std::string StopReasonText(int32_t reason)
{
    static const std::map<int32_t, std::string> texts = {{-1, "awake"}, {-2, "day clock"}, {-3, "restart"},
        {-4, "charger"}, {-5, "screen on"}, {-6, "unlock"}, {-7, "moved"}, {-8, "light sleep"}, {-9, "spt"},
        {-10, "dump"}, {-11, "call"}};
    const auto it = texts.find(reason);
    return it == texts.end() ? "?" : it->second + " (" + std::to_string(reason) + ")";
}

std::string FormatSummaryTable(const std::vector<NightReport>& reports)
{
    static const std::vector<std::pair<std::string, size_t>> columns = {{"night", 11}, {"kind", 5}, {"onset", 6},
        {"wake", 6}, {"deep", 6}, {"late", 6}, {"ended", 6}, {"why", 16}, {"n", 3}, {"light", 12}, {"easy", 6},
        {"pred.wake", 10}, {"training", 10}};
    std::ostringstream out;
    for (const auto& [title, width] : columns) {
        out << Cell(title, width);
    }
    out << "\n";
    for (const NightReport& report : reports) {
        char late[16] = "-";
        if (report.deepStartMs >= 0) {
            std::snprintf(late, sizeof(late), "%+.0f", report.OnsetDelayMin());
        }
        std::string training;
        for (int64_t t : report.trainingMs) {
            training += (training.empty() ? "" : ",") + Clock(t);
        }
        const std::string light =
            report.lightEpisodes > 0 ? Clock(report.lightStartMs) + "-" + Clock(report.lightEndMs) : "-";
        const std::vector<std::string> cells = {FormatCivilDate(report.truth.wakeDate),
            report.truth.weekend ? "we" : "wd", Clock(report.truth.onsetMs), Clock(report.truth.wakeMs),
            Clock(report.deepStartMs), late, Clock(report.deepEndMs),
            report.deepEpisodes > 0 ? StopReasonText(report.deepEndReason) : "-", std::to_string(report.deepEpisodes),
            light, Clock(report.easyWakeupStartMs), Clock(report.predictedWakeMs), training.empty() ? "-" : training};
        for (size_t i = 0; i < cells.size(); ++i) {
            out << Cell(cells[i], columns[i].second);
        }
        out << "\n";
    }
    if (reports.size() > kSettlingNights) {
        const size_t counted = reports.size() - kSettlingNights;
        out << "deep sleep within " << kTimelyMin << " min of the true onset after the first week: "
            << CountTimelyNights(reports, kSettlingNights, kTimelyMin) << " of " << counted << " nights\n";
    }
    return out.str();
}

} // namespace OHOS::Sim
