#include "sleep_reporter.h"

#include "hisysevent.h"
#include "sleep_log.h"
#include "write_controller.h"

namespace OHOS::DevStandbyMgr {
namespace {

using OHOS::HiviewDFX::HiSysEvent;
using OHOS::HiviewDFX::WriteController;

constexpr int32_t kSleepDbVersion = 1;

// Asks the rate limit, then writes; false when the event was limited or the
// write failed.
template <typename... Types>
bool WriteLimitedEvent(const char* eventName, HiSysEvent::EventType type, Types... keyValues)
{
    if (WriteController::CheckLimitWritingEvent(HiSysEvent::Domain::RSS, eventName)) {
        return false;
    }
    return HiSysEvent::Write(HiSysEvent::Domain::RSS, eventName, type, keyValues...) == HiSysEvent::SUCCESS;
}

// The two writers log a failure in the name of the report operation that called them (`site`).
template <typename... Types> void WriteStatisticEvent(SleepLogSite site, const char* eventName, Types... keyValues)
{
    if (!WriteLimitedEvent(eventName, HiSysEvent::STATISTIC, keyValues...)) {
        STANDBYSERVICE_LOGE_AT(site, "Write event fail: %{public}s", "WriteStatisticEvent");
    }
}

template <typename... Types> void WriteBehaviorEvent(SleepLogSite site, const char* eventName, Types... keyValues)
{
    if (!WriteLimitedEvent(eventName, HiSysEvent::BEHAVIOR, keyValues...)) {
        STANDBYSERVICE_LOGE_AT(site, "Write event fail: %{public}s", "WriteBehaviorEvent");
    }
}

} // namespace

void SleepReporter::ReportSleepEnvironment(const std::vector<SleepEnvironment>& environments)
{
    for (const SleepEnvironment& env : environments) {
        WriteStatisticEvent(SleepLogSite::Caller(), "SLEEP_KEY_FEATURE", "RECORD_TIMESTAMP",
            static_cast<int64_t>(env.timestamp), "BAYES_RESULT", static_cast<int32_t>(env.bayesResult),
            "BASELINE_RESULT", static_cast<int32_t>(env.baselineResult), "WAKEUP_TIEMSTAMP",
            static_cast<int64_t>(env.wakeupTime), "SCREEN_OFF_DURATION", static_cast<int32_t>(env.screenOffDuration),
            "LIGHT_DARK_DURATION", static_cast<int32_t>(env.lightDarkDuration), "USER_STATIONARY_DURATION",
            static_cast<int32_t>(env.userStationaryDuration), "LUX", static_cast<double>(env.light), "DISTANCE",
            static_cast<double>(env.proximity), "SLEEP_DB_VERSION", kSleepDbVersion, "CHARGE_STATE",
            static_cast<int32_t>(env.chargeState), "IS_TIME_OK", static_cast<int32_t>(env.isTimeOk), "NEXT_CLOCK",
            static_cast<int64_t>(env.nextClock));
    }
}

void SleepReporter::ReportSleepDuration(const std::vector<SleepDurationRecord>& durations)
{
    for (const SleepDurationRecord& duration : durations) {
        WriteStatisticEvent(SleepLogSite::Caller(), "SLEEP_DURATION", "DATE_INDEX",
            static_cast<int32_t>(duration.dateIndex), "BEGIN_TIMESTAMP", static_cast<int64_t>(duration.beginTime),
            "END_TIMESTAMP", static_cast<int64_t>(duration.endTime), "WEEK_DAY",
            static_cast<int32_t>(duration.weekDay));
    }
}

void SleepReporter::ReportSleepParameters(const SleepParameter& parameter,
    const std::vector<SleepProbability>& probabilities,
    const std::vector<SleepAmbientProbability>& ambientProbabilities)
{
    std::vector<double> sleepProbability;
    std::vector<double> sleepProbabilityWeekend;
    for (const SleepProbability& probability : probabilities) {
        sleepProbability.push_back(probability.probability);
        sleepProbabilityWeekend.push_back(probability.probabilityWeekend);
    }
    std::vector<double> sleepAmbient;
    std::vector<double> unsleepAmbient;
    for (const SleepAmbientProbability& ambient : ambientProbabilities) {
        sleepAmbient.push_back(ambient.sleepAmbient);
        unsleepAmbient.push_back(ambient.unsleepAmbient);
    }
    WriteStatisticEvent(SleepLogSite::Caller(), "SLEEP_PARAMETERS", "HANDLED_TIMESTAMP",
        static_cast<int64_t>(parameter.handledTimestamp), "HANDLED_DATE_INDEX",
        static_cast<int32_t>(parameter.handledDateIndex), "SLEEP_HOME_PROBA",
        static_cast<double>(parameter.sleepHomeProba), "UNSLEEP_HOME_PROBA",
        static_cast<double>(parameter.unsleepHomeProba), "SLEEP_CHARGE_PROBA",
        static_cast<double>(parameter.sleepChargeProba), "UNSLEEP_CHARGE_PROBA",
        static_cast<double>(parameter.unsleepChargeProba), "SLEEP_PROBABILITY", sleepProbability,
        "SLEEP_PROBABILITY_WEEKEND", sleepProbabilityWeekend, "SLEEP_AMBIENT_PROBA", sleepAmbient,
        "UNSLEEP_AMBIENT_PROBA", unsleepAmbient);
}

void SleepReporter::ReportQuantifySleepData(const std::vector<SleepEnvironment>& environments)
{
    for (const SleepEnvironment& env : environments) {
        WriteStatisticEvent(SleepLogSite::Caller(), "SLEEP_KEY_INFO", "BAYES_RESULT",
            static_cast<int32_t>(env.bayesResult), "BASELINE_RESULT", static_cast<int32_t>(env.baselineResult),
            "IS_STATIONARY_OK", static_cast<int32_t>(env.GetStatDurQuanVal()), "IS_LUX_OK",
            static_cast<int32_t>(env.GetLightQuanVal()), "IS_SCREEN_OFF_OK",
            static_cast<int32_t>(env.GetScrOffDurQuanVal()), "IS_TIME_OK", static_cast<int32_t>(env.isTimeOk));
    }
}

void SleepReporter::WritePowerBrainStateHiSysEvent(int32_t type, int32_t value, int64_t time)
{
    WriteBehaviorEvent(SleepLogSite::Caller(), "POWER_BRAIN_STATE", "TYPE", type, "VALUE", value, "TIME", time);
}

} // namespace OHOS::DevStandbyMgr
