#include "night_summary.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <sstream>

#include "local_calendar.h"

namespace OHOS::Sim {

namespace {

constexpr size_t kSettlingNights = 7;
constexpr double kTimelyMin = 60;

struct StateTrack {
    int64_t OpenStates::*openSince;
    std::vector<TimeSpan> NightReport::*spans;
};

// Where each published state, in PublishedState order, is held open and its spans go.
const StateTrack kStateTracks[kPublishedStateCount] = {{&OpenStates::deep, &NightReport::deepSpans},
    {&OpenStates::light, &NightReport::lightSpans}, {&OpenStates::easyWakeup, &NightReport::easyWakeupSpans},
    {&OpenStates::notCareCharge, &NightReport::notCareChargeSpans}};

// Opens or closes the span of the state the fact publishes, at `t`; a repeated "on" keeps the open
// span.
void TrackState(const TimelineFact& fact, int64_t t, OpenStates& open, NightReport& report)
{
    if (fact.kind != FactKind::STATE) {
        return;
    }
    const StateTrack& track = kStateTracks[static_cast<size_t>(fact.state)];
    int64_t& since = open.*track.openSince;
    if (fact.on) {
        since = since < 0 ? t : since;
    } else if (since >= 0) {
        (report.*track.spans).push_back(TimeSpan{since, t});
        since = -1;
    }
}

// Cuts every open span at the window's end; the state stays on, and counts in the next window from
// its start.
void CloseOpenStates(int64_t endMs, OpenStates& open, NightReport& report)
{
    for (const StateTrack& track : kStateTracks) {
        int64_t& since = open.*track.openSince;
        if (since >= 0) {
            (report.*track.spans).push_back(TimeSpan{since, endMs});
            since = endMs;
        }
    }
}

// Stop reasons by time: the report and the published end share their virtual time.
using StopReasons = std::map<int64_t, int32_t>;

void ReadDeep(const TimelineFact& fact, NightReport& report, const StopReasons& reasons)
{
    if (fact.on) {
        if (report.deepStartMs < 0) {
            report.deepStartMs = fact.timeMs;
            report.predictedWakeMs = fact.number;
        }
        ++report.deepEpisodes;
    } else if (report.deepEpisodes > 0) {
        report.deepEndMs = fact.timeMs;
        const auto reason = reasons.find(fact.timeMs);
        report.deepEndReason = reason == reasons.end() ? 0 : reason->second;
    }
}

void ReadFact(const TimelineFact& fact, NightReport& report, const StopReasons& reasons)
{
    const int64_t t = fact.timeMs;
    if (fact.kind == FactKind::TRAINING) {
        report.trainingMs.push_back(t);
    }
    if (fact.kind != FactKind::STATE) {
        return;
    }
    if (fact.state == PublishedState::DEEP) {
        ReadDeep(fact, report, reasons);
    } else if (fact.state == PublishedState::LIGHT) {
        if (fact.on) {
            report.lightStartMs = report.lightStartMs < 0 ? t : report.lightStartMs;
            ++report.lightEpisodes;
        } else if (report.lightEpisodes > 0) {
            report.lightEndMs = t;
        }
    } else if (fact.state == PublishedState::EASY_WAKEUP && fact.on && report.easyWakeupStartMs < 0) {
        report.easyWakeupStartMs = t;
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
    return OnsetLatencyMin(NormaliseSpans(deepSpans), NormaliseSpans(truth.SleepSpans()));
}

double OnsetLatencyMin(const SpanList& asleep, const SpanList& sleep)
{
    if (IntersectSpans(asleep, sleep).empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const int64_t onset = sleep.front().beginMs;
    const auto first =
        std::find_if(asleep.begin(), asleep.end(), [onset](const TimeSpan& span) { return span.endMs > onset; });
    return static_cast<double>(first->beginMs - onset) / kMsPerMinute;
}

NightSummaries::NightSummaries(const std::vector<NightTruth>& nights) : nights_(nights) {}

void NightSummaries::Read(const TimelineFact& fact)
{
    if (fact.kind == FactKind::STATE || fact.kind == FactKind::DEEP_STOP_REASON || fact.kind == FactKind::TRAINING) {
        waiting_.push_back(fact);
    }
    const int64_t t = fact.timeMs;
    while (reports_.size() < nights_.size() && t >= nights_[reports_.size()].window.endMs) {
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

// The next night from the waiting facts in its window; facts before the window are dropped.
void NightSummaries::SummariseNext()
{
    NightReport report;
    report.truth = nights_[reports_.size()];
    const auto [begin, end] = report.truth.window;
    NightReport before; // what facts before the window would say: only the states they leave on count
    while (!waiting_.empty() && waiting_.front().timeMs < begin) {
        TrackState(waiting_.front(), begin, open_, before);
        waiting_.pop_front();
    }
    const auto last = std::find_if(
        waiting_.begin(), waiting_.end(), [end = end](const TimelineFact& fact) { return fact.timeMs >= end; });
    StopReasons reasons;
    for (auto it = waiting_.begin(); it != last; ++it) {
        if (it->kind == FactKind::DEEP_STOP_REASON) {
            reasons[it->timeMs] = static_cast<int32_t>(it->number);
        }
    }
    for (auto it = waiting_.begin(); it != last; ++it) {
        ReadFact(*it, report, reasons);
        TrackState(*it, it->timeMs, open_, report);
    }
    CloseOpenStates(end, open_, report);
    waiting_.erase(waiting_.begin(), last);
    reports_.push_back(std::move(report));
}

std::vector<NightReport> SummariseNights(const std::vector<TimelineLine>& lines, const std::vector<NightTruth>& nights)
{
    NightSummaries summaries(nights);
    for (const TimelineLine& line : lines) {
        summaries.Read(ReadTimelineFact(line));
    }
    return summaries.Finish();
}

int32_t CountTimelyNights(const std::vector<NightReport>& reports, size_t firstCounted, double toleranceMin)
{
    int32_t timely = 0;
    for (size_t i = firstCounted; i < reports.size(); ++i) {
        if (std::fabs(reports[i].OnsetDelayMin()) <= toleranceMin) {
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
        const double latency = report.OnsetDelayMin();
        if (!std::isnan(latency)) {
            std::snprintf(late, sizeof(late), "%+.0f", latency);
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
