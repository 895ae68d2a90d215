#ifndef SIM_INCLUDE_NIGHT_SUMMARY_H
#define SIM_INCLUDE_NIGHT_SUMMARY_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "time_spans.h"
#include "timeline.h"
#include "timeline_facts.h"
#include "trace.h"

namespace OHOS::Sim {

// What the plug-in said about one night (noon to noon around the true night), beside the truth.
struct NightReport {
    NightTruth truth;
    int64_t deepStartMs = -1; // first deep-sleep start
    int64_t deepEndMs = -1;   // last deep-sleep end
    int32_t deepEpisodes = 0;
    int32_t deepEndReason = 0;    // stop reason of the last end; 0 unknown
    int64_t predictedWakeMs = -1; // wake-up time announced with the first deep start
    int64_t lightStartMs = -1;
    int64_t lightEndMs = -1;
    int32_t lightEpisodes = 0;
    int64_t easyWakeupStartMs = -1;
    std::vector<int64_t> trainingMs; // training runs that finished in the window
    // Each published state's spans in the window, in order: a state on when the window opens counts
    // from its start, one still on at its end is cut there; an end of a state that was off is ignored.
    std::vector<TimeSpan> deepSpans;
    std::vector<TimeSpan> lightSpans;
    std::vector<TimeSpan> easyWakeupSpans;
    std::vector<TimeSpan> notCareChargeSpans;

    // The night's onset latency of deep sleep (see OnsetLatencyMin); NaN when deep sleep missed the night.
    double OnsetDelayMin() const;
};

// Onset latency, the one definition every table and file uses: minutes from the true onset to the
// start of the first asleep span that ends after the onset. NaN when no asleep span overlaps the true
// sleep (a missed night): a span over before the onset, or begun after the wake, is false sleep, not
// a late or early detection. Both lists normal.
double OnsetLatencyMin(const SpanList& asleep, const SpanList& sleep);

// Where a published state's open span starts, per state; -1 while the state is off.
struct OpenStates {
    int64_t deep = -1;
    int64_t light = -1;
    int64_t easyWakeup = -1;
    int64_t notCareCharge = -1;
};

// Reads one report per true night from the facts of timeline lines given in time order, a night as
// soon as a fact past its window arrives: only the facts of the nights still open are held. A state that is
// on when a window opens counts in it from the window's start; one never ended stays on.
class NightSummaries {
public:
    explicit NightSummaries(const std::vector<NightTruth>& nights);
    void Read(const TimelineFact& fact);
    // The reports of all nights, in the order of the nights.
    std::vector<NightReport> Finish();

private:
    void SummariseNext();

    const std::vector<NightTruth>& nights_;
    std::deque<TimelineFact> waiting_;
    std::vector<NightReport> reports_;
    OpenStates open_;
};

// Reads one report per true night from the timeline's lines.
std::vector<NightReport> SummariseNights(const std::vector<TimelineLine>& lines, const std::vector<NightTruth>& nights);

// Nights from `firstCounted` (0-based) on whose deep sleep started within `toleranceMin` of the true onset.
int32_t CountTimelyNights(const std::vector<NightReport>& reports, size_t firstCounted, double toleranceMin);

// The per-night table with a closing tally of timely nights after the first week.
std::string FormatSummaryTable(const std::vector<NightReport>& reports);

// Short text of a stop reason code, e.g. -6 -> "unlock".
std::string StopReasonText(int32_t reason);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_NIGHT_SUMMARY_H
