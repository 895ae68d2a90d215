#include "user_sleep_predict.h"

#include <algorithm>
#include <cmath>

#include "night_clock.h"
#include "sleep_database_manager.h"
#include "sleep_log.h"
#include "sleep_table.h"
#include "standby_host_globals.h"
#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {
namespace {
constexpr int32_t TIME_SLOT_COUNT = 288;
constexpr int32_t TIME_SLOT_SECONDS = 300;
constexpr int32_t AMBIENT_TABLE_SIZE = 101;
constexpr int32_t MAX_AMBIENT_PERCENT = 100;
constexpr int64_t MIN_PREDICT_RECORD_DAYS = 7;
constexpr uint64_t AFTER_CLOCK_WINDOW_MS = 3600000;
constexpr int64_t NEXT_CLOCK_WINDOW_MS = 900000;
constexpr int32_t THREE_HOURS_SEC = 10800;
constexpr int32_t LONG_STILL_PERIOD_SEC = 18000;
constexpr float SLEEP_SLOT_THRESHOLD = 0.5F;
constexpr float PROBA_OFFSET = 0.01F;
constexpr double SHARP_LIGHT_RISE_LUX = 50.0;
constexpr double SHARP_LIGHT_RISE_RATIO = 2.0;
constexpr double DARK_LUX = 0.01;
constexpr double COVERED_PROXIMITY = 0.01;
constexpr float NIGHT_START_HOUR = 21.0F;
constexpr float NOON_HOUR = 12.0F;
constexpr float MORNING_HOUR = 6.0F;
constexpr int32_t DEFAULT_WAKEUP_STANDBY_SEC = 29700;
constexpr int32_t DEFAULT_WAKEUP_SEC = 22500;
constexpr int32_t NOON_SEC = 43200;
constexpr int32_t LATEST_ALARM_WAKEUP_SEC = 32400;
constexpr uint64_t ALARM_LOOKAHEAD_MS = 32400000;
constexpr int32_t HABIT_FIRST_SLOT = 144;
constexpr int32_t HABIT_LAST_SLOT = 48;
constexpr int32_t SECONDS_PER_HOUR = 3600;
constexpr int32_t HOURS_PER_DAY = 24;
constexpr int32_t MSEC_PER_SEC = 1000;
const std::string WEEKDAY_COLUMN = "probability";
const std::string WEEKEND_COLUMN = "probability_weekend";
// a - b as two's-complement arithmetic wraps it: alarm times come from the settings store and may
// be any 64-bit value, so their distance to now must not overflow.
uint64_t WrappedDifference(int64_t a, int64_t b)
{
    return static_cast<uint64_t>(a) - static_cast<uint64_t>(b);
}

} // namespace

UserSleepPredict::UserSleepPredict()
    : ambientSleepProba(AMBIENT_TABLE_SIZE, 0.0F), ambientUnsleepProba(AMBIENT_TABLE_SIZE, 0.0F),
      timeSleepProba(TIME_SLOT_COUNT, 0.0F), timeSleepProbaWeekday(TIME_SLOT_COUNT, 0.0F),
      timeSleepProbaWeekend(TIME_SLOT_COUNT, 0.0F), databaseManager(SleepDatabaseManager::GetInstance())
{
}

void UserSleepPredict::UpdateLastClockTime(int64_t timestamp)
{
    lastClockTime = timestamp;
}

int32_t UserSleepPredict::LoadModel()
{
    std::vector<SleepParameter> parameters;
    if (databaseManager->QueryEntries(parameters, "", "") != MODEL_LOAD_OK) {
        STANDBYSERVICE_LOGE("can't get writable table of long standby parameters.");
        return MODEL_TABLE_UNAVAILABLE;
    }
    if (LoadProbability() != MODEL_LOAD_OK || LoadProbaAmbient() != MODEL_LOAD_OK) {
        STANDBYSERVICE_LOGE("can't get probability or ambient probability of device long standby's stable.");
        return MODEL_TABLE_UNAVAILABLE;
    }
    if (parameters.size() != 1) {
        STANDBYSERVICE_LOGE("unexpected length of long standby parameters table (should be 1).");
        return MODEL_DATA_INVALID;
    }
    recordDays = parameters.front().recordDays;
    return MODEL_LOAD_OK;
}

int32_t UserSleepPredict::LoadProbability()
{
    NightClock::Forget();
    if (LoadProbabilityByWeekType(timeSleepProbaWeekday, WEEKDAY_COLUMN) != MODEL_LOAD_OK) {
        STANDBYSERVICE_LOGE("meet error when load slp Proba Times of weekday type");
        return MODEL_TABLE_UNAVAILABLE;
    }
    if (LoadProbabilityByWeekType(timeSleepProbaWeekend, WEEKEND_COLUMN) != MODEL_LOAD_OK) {
        STANDBYSERVICE_LOGE("meet error when load slp Proba Times of weekend type");
        return MODEL_TABLE_UNAVAILABLE;
    }
    NightClock::LearnSleepCentre(timeSleepProbaWeekday, timeSleepProbaWeekend);
    return MODEL_LOAD_OK;
}

int32_t UserSleepPredict::LoadProbabilityByWeekType(std::vector<float>& table, const std::string& column)
{
    std::vector<SleepProbability> rows;
    if (databaseManager->QueryEntries(rows, "", "") != MODEL_LOAD_OK) {
        STANDBYSERVICE_LOGE("can't get writable table of long standby probability.");
        return MODEL_TABLE_UNAVAILABLE;
    }
    if (rows.size() != static_cast<size_t>(TIME_SLOT_COUNT)) {
        STANDBYSERVICE_LOGE("unexpected long standby probability table length.");
        return MODEL_DATA_INVALID;
    }
    table.resize(TIME_SLOT_COUNT, 0.0F);
    float minProba = 1.0F;
    float maxProba = 0.0F;
    for (const auto& row : rows) {
        if (row.timeIndex < 0 || row.timeIndex >= TIME_SLOT_COUNT) {
            STANDBYSERVICE_LOGE("index error when loading long standby probability of time.");
            return MODEL_DATA_INVALID;
        }
        float value = static_cast<float>(column == WEEKDAY_COLUMN ? row.probability : row.probabilityWeekend);
        table[row.timeIndex] = value;
        if (value < 0.0F || value > 1.0F) {
            STANDBYSERVICE_LOGE("probability error when loading long standby probability of time.");
            return MODEL_DATA_INVALID;
        }
        minProba = std::min(minProba, value);
        maxProba = std::max(maxProba, value);
    }
    float range = maxProba - minProba;
    if (range < SLEEP_SLOT_THRESHOLD) {
        STANDBYSERVICE_LOGW("the quality of long standby probability is not good.");
        return MODEL_DATA_INVALID;
    }
    for (auto& value : table) {
        value = (value - minProba) / range;
    }
    return MODEL_LOAD_OK;
}

int32_t UserSleepPredict::LoadProbaAmbient()
{
    std::vector<SleepAmbientProbability> rows;
    if (databaseManager->QueryEntries(rows, "", "") != MODEL_LOAD_OK) {
        STANDBYSERVICE_LOGE("can't get writable table of long standby ambient probability.");
        return MODEL_TABLE_UNAVAILABLE;
    }
    if (rows.size() != static_cast<size_t>(AMBIENT_TABLE_SIZE)) {
        STANDBYSERVICE_LOGE("unexpected long standby ambient probability table length.");
        return MODEL_DATA_INVALID;
    }
    for (const auto& row : rows) {
        if (row.percent < 0 || row.percent > MAX_AMBIENT_PERCENT) {
            STANDBYSERVICE_LOGE("index error when loading long standby probabilities of ambient.");
            return MODEL_DATA_INVALID;
        }
        ambientSleepProba[row.percent] = static_cast<float>(row.sleepAmbient);
        if (ambientSleepProba[row.percent] < 0.0F) {
            STANDBYSERVICE_LOGE("the ambient is invalid when loading long standby probabilities of ambient.");
            return MODEL_DATA_INVALID;
        }
        ambientUnsleepProba[row.percent] = static_cast<float>(row.unsleepAmbient);
        if (ambientUnsleepProba[row.percent] < 0.0F) {
            STANDBYSERVICE_LOGE("the ambient is invalid when loading device no long standby probabilities of ambient.");
            return MODEL_DATA_INVALID;
        }
    }
    return MODEL_LOAD_OK;
}

void UserSleepPredict::UpdateSleepProByWeekType(int32_t weekType)
{
    constexpr int32_t firstWeekendDay = 6;
    timeSleepProba = weekType < firstWeekendDay ? timeSleepProbaWeekday : timeSleepProbaWeekend;
}

float UserSleepPredict::SlotProbability(int64_t timestamp) const
{
    size_t slot = static_cast<size_t>(TimeProviderExt::TimestampToDaySecond(timestamp) / TIME_SLOT_SECONDS);
    return slot < timeSleepProba.size() ? timeSleepProba[slot] : 0.0F;
}

int32_t UserSleepPredict::SleepBayesPredict(const SleepDataRecord& last, SleepDataRecord& cur)
{
    constexpr int32_t keptAsleep = 101;
    constexpr int32_t darkAndCovered = 102;
    constexpr int32_t asleepScore = 90;
    constexpr float keptAsleepProba = 0.9F;
    constexpr double dimLux = 0.5;
    if (recordDays < MIN_PREDICT_RECORD_DAYS) {
        STANDBYSERVICE_LOGI("the number of days which has recorded data is too little.");
        return -1;
    }
    if (IsNearClock(cur.timestamp, cur.nextAlarmClockTime)) {
        return 0;
    }
    float hour = NightClock::NightHour(cur.timestamp);
    if (IsDayTime(hour)) {
        return 0;
    }
    float proba = SlotProbability(cur.timestamp);
    float pSleep = static_cast<float>(proba + 0.01);
    cur.timeSleepProbability = pSleep;
    if (pSleep >= keptAsleepProba && last.bayesResult >= asleepScore && IsKeepUserSleeping(last, cur)) {
        return keptAsleep;
    }
    if (cur.light - last.light > SHARP_LIGHT_RISE_LUX) {
        return 0;
    }
    if (IsUnsleepForBayes(cur)) {
        STANDBYSERVICE_LOGI("is unslp for bayes result: true");
        return 0;
    }
    STANDBYSERVICE_LOGI("is unslp for bayes result: false");
    float pUnsleep = static_cast<float>(1.0 - proba + 0.01);
    int32_t result = TryUseAmbientForBayesPredict(pSleep, pUnsleep, last, cur);
    if (result != -1) {
        return result;
    }
    if (cur.light <= dimLux && hour < MORNING_HOUR && cur.proximity <= COVERED_PROXIMITY &&
        proba >= SLEEP_SLOT_THRESHOLD) {
        return darkAndCovered;
    }
    return TryUseTimeForBayesPredict(pSleep, pUnsleep);
}

bool UserSleepPredict::IsNearClock(int64_t timestamp, int64_t nextAlarm) const
{
    uint64_t sinceLastClock = WrappedDifference(timestamp, lastClockTime);
    if (sinceLastClock >= 1 && sinceLastClock < AFTER_CLOCK_WINDOW_MS) {
        return true;
    }
    int64_t toNextAlarm = static_cast<int64_t>(WrappedDifference(nextAlarm, timestamp));
    return toNextAlarm > -NEXT_CLOCK_WINDOW_MS && toNextAlarm < NEXT_CLOCK_WINDOW_MS;
}

bool UserSleepPredict::IsDayTime(float hour) const
{
    return hour >= NOON_HOUR && hour <= NIGHT_START_HOUR;
}

bool UserSleepPredict::IsKeepUserSleeping(const SleepDataRecord& last, const SleepDataRecord& cur) const
{
    bool longStill = cur.screenOffDuration > THREE_HOURS_SEC - 1 || cur.stationaryDuration >= THREE_HOURS_SEC;
    if (longStill) {
        double rise = cur.light - last.light;
        double ratio = (cur.light + DARK_LUX) / (last.light + DARK_LUX);
        bool sharpRise = static_cast<float>(rise) >= static_cast<float>(SHARP_LIGHT_RISE_LUX) &&
                         static_cast<float>(ratio) >= static_cast<float>(SHARP_LIGHT_RISE_RATIO);
        if (sharpRise && cur.lightDarkDuration <= last.lightDarkDuration) {
            return false;
        }
    } else if (cur.lightDarkDuration <= last.lightDarkDuration) {
        return false;
    }
    constexpr int64_t maxScreenOnIncrease = 2;
    // The increase in 64 bits: counts from outside (a tester's record) may lie at opposite ends of
    // the 32-bit range.
    return cur.unlockTimestamp == last.unlockTimestamp && cur.userMoveDuration <= 0 &&
           static_cast<int64_t>(cur.screenOnCount) - last.screenOnCount < maxScreenOnIncrease;
}

bool UserSleepPredict::IsUserStatDurInvaild(int32_t stationary, int32_t lastStationaryStart) const
{
    return lastStationaryStart >= LONG_STILL_PERIOD_SEC && stationary < 1;
}

bool UserSleepPredict::IsUnsleepWhenUserStatInvalid(const SleepDataRecord& cur) const
{
    constexpr int32_t minScreenOffSec = 600;
    if (cur.screenOffDuration < minScreenOffSec) {
        return true;
    }
    return SlotProbability(cur.timestamp) < SLEEP_SLOT_THRESHOLD;
}

bool UserSleepPredict::IsUnsleepWhenUserStatValid(const SleepDataRecord& cur) const
{
    constexpr int32_t shortStillSec = 600;
    constexpr int32_t shortScreenOffSec = 3600;
    constexpr int32_t halfHourSec = 1800;
    float hour = NightClock::NightHour(cur.timestamp);
    if (cur.stationaryDuration < shortStillSec && cur.screenOffDuration < shortScreenOffSec) {
        return true;
    }
    if (hour > MORNING_HOUR && cur.stationaryDuration < shortStillSec) {
        return true;
    }
    return SlotProbability(cur.timestamp) < SLEEP_SLOT_THRESHOLD &&
           (hour >= NIGHT_START_HOUR || cur.stationaryDuration < halfHourSec);
}

bool UserSleepPredict::IsUnsleepForBayes(const SleepDataRecord& cur) const
{
    constexpr int32_t shortDarkSec = 600;
    constexpr int32_t halfHourSec = 1800;
    constexpr float likelySleepProba = 0.9F;
    if (cur.lightDarkDuration < shortDarkSec) {
        if (cur.lightDarkDuration > 0) {
            return true;
        }
        float proba = SlotProbability(cur.timestamp);
        float hour = NightClock::NightHour(cur.timestamp);
        if (proba < likelySleepProba && (hour >= MORNING_HOUR || proba < SLEEP_SLOT_THRESHOLD)) {
            return true;
        }
        if (cur.screenOffDuration < halfHourSec) {
            return true;
        }
        if (cur.stationaryDuration < halfHourSec &&
            (cur.stationaryDuration > 0 || cur.lastUserStationaryStartDuration < LONG_STILL_PERIOD_SEC)) {
            return true;
        }
    }
    if (IsUserStatDurInvaild(cur.stationaryDuration, cur.lastUserStationaryStartDuration)) {
        return IsUnsleepWhenUserStatInvalid(cur);
    }
    return IsUnsleepWhenUserStatValid(cur);
}

int32_t UserSleepPredict::TryUseAmbientForBayesPredict(
    float pSleep, float pUnsleep, const SleepDataRecord& last, const SleepDataRecord& cur) const
{
    constexpr double noReadingLux = -1.0;
    constexpr double coveredDarkLux = 5.0;
    constexpr double dimLux = 0.5;
    constexpr int32_t longScreenOffSec = 10800;
    constexpr int32_t longStillSec = 10801;
    constexpr int32_t previousAsleepScore = 89;
    if (cur.light <= noReadingLux) {
        return -1;
    }
    if (cur.proximity <= COVERED_PROXIMITY && cur.light <= coveredDarkLux) {
        return -1;
    }
    float hour = NightClock::NightHour(cur.timestamp);
    if (hour >= MORNING_HOUR && hour < NIGHT_START_HOUR) {
        return -1;
    }
    if ((cur.screenOffDuration > longScreenOffSec || cur.stationaryDuration >= longStillSec) && cur.light > dimLux &&
        last.bayesResult > previousAsleepScore) {
        return -1;
    }
    float ambient = GetAmbientLight(cur.light);
    float sleepLikelihood = CalculateProbabilitySleepByAmbient(ambient);
    float unsleepLikelihood = CalculateProbabilityUnsleepByAmbient(ambient);
    float sleepScore = (sleepLikelihood + PROBA_OFFSET) * pSleep;
    float unsleepScore = (unsleepLikelihood + PROBA_OFFSET) * pUnsleep;
    return CalculateBayesPredictResult(sleepScore, unsleepScore);
}

int32_t UserSleepPredict::TryUseTimeForBayesPredict(float pSleep, float pUnsleep) const
{
    return CalculateBayesPredictResult(pSleep * pSleep, pUnsleep * pUnsleep);
}

float UserSleepPredict::GetAmbientLight(double light) const
{
    constexpr double lightOffset = 0.5;
    return static_cast<float>(std::max(0.0, light - lightOffset));
}

float UserSleepPredict::CalculateProbabilitySleepByAmbient(float light) const
{
    if (ambientSleepProba.empty()) {
        return 0.0F;
    }
    for (size_t i = 0; i < ambientSleepProba.size(); ++i) {
        if (light > ambientSleepProba[i]) {
            return i == 0 ? 0.0F : static_cast<float>(i - 1) / MAX_AMBIENT_PERCENT;
        }
    }
    return static_cast<float>(ambientSleepProba.size() - 1) / MAX_AMBIENT_PERCENT;
}

float UserSleepPredict::CalculateProbabilityUnsleepByAmbient(float light) const
{
    for (size_t j = ambientUnsleepProba.size(); j > 0; --j) {
        if (light > ambientUnsleepProba[j - 1]) {
            return static_cast<float>(std::min(static_cast<int32_t>(j), MAX_AMBIENT_PERCENT)) / MAX_AMBIENT_PERCENT;
        }
    }
    return 0.0F;
}

int32_t UserSleepPredict::CalculateBayesPredictResult(float a, float b) const
{
    constexpr float percent = 100.0F;
    return static_cast<int32_t>(roundf(a / (b + a) * percent));
}

int32_t UserSleepPredict::SleepBaselinePredict(const SleepDataRecord& last, const SleepDataRecord& cur)
{
    float hour = NightClock::NightHour(cur.timestamp);
    if (IsNearClock(cur.timestamp, cur.nextAlarmClockTime) || IsDayTime(hour)) {
        return 0;
    }
    if (hour > NIGHT_START_HOUR) {
        constexpr float secondsPerEveningHour = 600.0F;
        constexpr float minimumNeedSec = 1200.0F;
        float need = (HOURS_PER_DAY - hour) * secondsPerEveningHour + minimumNeedSec;
        return static_cast<float>(cur.stationaryDuration) >= need && static_cast<float>(cur.lightDarkDuration) >= need
                   ? 1
                   : 0;
    }
    if (hour < MORNING_HOUR) {
        return IsSleepBaselineDurZeroToSixClock(last, cur) ? 1 : 0;
    }
    return IsSleepBaselineLaterSixClock(cur) ? 1 : 0;
}

bool UserSleepPredict::IsSleepBaselineLaterSixClock(const SleepDataRecord& cur) const
{
    constexpr int32_t minScreenOffSec = 3601;
    constexpr int32_t longStillSec = 14400;
    constexpr int32_t minStillAndDarkSec = 1801;
    if (cur.screenOffDuration < minScreenOffSec) {
        return false;
    }
    if (cur.stationaryDuration > longStillSec) {
        return true;
    }
    return cur.stationaryDuration >= minStillAndDarkSec && cur.lightDarkDuration >= minStillAndDarkSec;
}

bool UserSleepPredict::IsSleepBaselineDurZeroToSixClock(const SleepDataRecord& last, const SleepDataRecord& cur) const
{
    constexpr double brightLux = 50.0;
    constexpr int32_t brightStillSec = 7201;
    constexpr int32_t invalidStillDarkSec = 1800;
    constexpr int32_t longStillSec = 3600;
    constexpr int32_t coveredStillSec = 1799;
    constexpr int32_t minStillAndDarkSec = 1201;
    if (last.baselineResult == 1 && IsKeepUserSleeping(last, cur)) {
        return true;
    }
    if (cur.light > brightLux) {
        return cur.stationaryDuration >= brightStillSec;
    }
    if (IsUserStatDurInvaild(cur.stationaryDuration, cur.lastUserStationaryStartDuration)) {
        return std::min(cur.lightDarkDuration, cur.screenOffDuration) >= invalidStillDarkSec;
    }
    if (cur.stationaryDuration > longStillSec) {
        return true;
    }
    if (cur.light <= DARK_LUX && cur.proximity <= COVERED_PROXIMITY && cur.stationaryDuration > coveredStillSec) {
        return true;
    }
    return cur.lightDarkDuration >= minStillAndDarkSec && cur.stationaryDuration >= minStillAndDarkSec;
}

int64_t UserSleepPredict::WakeUpPredict(const SleepDataRecord& cur, float notificationProba, bool inFeedbackPeriod)
{
    int32_t defaultWakeup = SetDefaultWakeupTime();
    int32_t wakeSecond = defaultWakeup;
    if (IsUseClockByUser(cur.nextAlarmClockTime, cur.timestamp)) {
        int32_t clockSecond = TimeProviderExt::TimestampToDaySecond(cur.nextAlarmClockTime);
        if (recordDays < MIN_PREDICT_RECORD_DAYS) {
            wakeSecond = clockSecond >= LATEST_ALARM_WAKEUP_SEC ? defaultWakeup : clockSecond;
        } else {
            wakeSecond = WakeupOfClockAndHabit(clockSecond, notificationProba, inFeedbackPeriod);
        }
    } else if (recordDays >= MIN_PREDICT_RECORD_DAYS) {
        wakeSecond = WakeupOfClockAndHabit(NOON_SEC, notificationProba, inFeedbackPeriod);
    }
    float hour = TimeProviderExt::TimestampToDayHour(cur.timestamp);
    int64_t nextDayHours = hour > NOON_HOUR ? HOURS_PER_DAY : 0;
    int64_t wholeHoursNow = static_cast<int64_t>(hour);
    return cur.timestamp +
           (wakeSecond + nextDayHours * SECONDS_PER_HOUR - wholeHoursNow * SECONDS_PER_HOUR) * MSEC_PER_SEC;
}

bool UserSleepPredict::IsUseClockByUser(int64_t nextAlarm, int64_t timestamp) const
{
    if (nextAlarm == 0 || TimeProviderExt::TimestampToDayHour(nextAlarm) >= NOON_HOUR) {
        return false;
    }
    return WrappedDifference(nextAlarm, timestamp) < ALARM_LOOKAHEAD_MS;
}

int32_t UserSleepPredict::SetDefaultWakeupTime() const
{
    return STANDBT_MODE == 1 ? DEFAULT_WAKEUP_STANDBY_SEC : DEFAULT_WAKEUP_SEC;
}

int32_t UserSleepPredict::WakeupOfClockAndHabit(
    int32_t clockSecond, float notificationProba, bool inFeedbackPeriod) const
{
    constexpr float feedbackThreshold = 0.95F;
    constexpr float baseThreshold = 0.75F;
    constexpr float notificationWeight = 0.25F;
    float threshold = inFeedbackPeriod ? feedbackThreshold : baseThreshold + notificationWeight * notificationProba;
    int32_t habitSecond = SetDefaultWakeupTime();
    for (int32_t slot = HABIT_FIRST_SLOT; slot >= HABIT_LAST_SLOT; --slot) {
        if (static_cast<size_t>(slot) < timeSleepProba.size() && timeSleepProba[slot] >= threshold) {
            habitSecond = slot * TIME_SLOT_SECONDS;
            break;
        }
    }
    return std::min(habitSecond, clockSecond);
}

} // namespace OHOS::DevStandbyMgr
