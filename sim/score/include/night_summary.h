#ifndef SIM_INCLUDE_NIGHT_SUMMARY_H
#define SIM_INCLUDE_NIGHT_SUMMARY_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "timeline.h"
#include "trace.h"

namespace OHOS::Sim {

// Names the plug-in publishes, as they appear in the timeline.
inline const std::string DEEP_SLEEP_EVENT = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";
inline const std::string LIGHT_SLEEP_EVENT = "common.event.USER_LIGHT_SLEEP_STATE_CHANGED";
inline const std::string EASY_WAKEUP_EVENT = "common.event.USER_EASY_WAKEUP_SLP_STATE_CHANGED";
inline const std::string NOT_CARE_CHARGE_EVENT = "common.event.USER_NOT_CARE_CHARGE_SLEEP";
inline const std::string POWER_BRAIN_STATE_EVENT = "POWER_BRAIN_STATE";
constexpr int32_t TRAINING_FINISHED_MESSAGE = 2001;

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
    // Each published state's spans in the window, in order; a state still on at the window's end is
    // cut there, an end without a start in the window is ignored.
    std::vector<TimeSpan> deepSpans;
    std::vector<TimeSpan> lightSpans;
    std::vector<TimeSpan> easyWakeupSpans;
    std::vector<TimeSpan> notCareChargeSpans;

    // Minutes from true onset to the first deep start; only meaningful when deepStartMs >= 0.
    double OnsetDelayMin() const;
};

// The window a night is judged in: from the noon before it to the noon of the day it ends (local
// wall-clock noons, so 23 or 25 hours across a daylight-saving change).
TimeSpan NightWindow(const NightTruth& night);

// Reads one report per true night from timeline lines given in time order, a night as soon as a
// line past its window arrives: only the lines of the nights still open are held.
class NightSummaries {
public:
    explicit NightSummaries(const std::vector<NightTruth>& nights);
    void Read(const TimelineLine& line);
    // The reports of all nights, in the order of the nights.
    std::vector<NightReport> Finish();

private:
    void SummariseNext();

    const std::vector<NightTruth>& nights_;
    std::deque<TimelineLine> waiting_;
    std::vector<NightReport> reports_;
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
