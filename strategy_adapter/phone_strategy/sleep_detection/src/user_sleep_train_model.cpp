#include "user_sleep_train_model.h"

#include <algorithm>
#include <cmath>

#include "sleep_database_manager.h"
#include "sleep_log.h"
#include "standby_message.h"
#include "standby_service_impl.h"
#include "string_utils.h"
#include "time_provider_ext.h"
#include "want.h"

namespace OHOS::DevStandbyMgr {
namespace {
constexpr int32_t QUERY_OK = 0;
constexpr int32_t TRAIN_FINISHED_EVENT = 2001;
constexpr int64_t ONE_HOUR_MS = 3600000;
constexpr int64_t ONE_DAY_MS = 86400000;
constexpr int64_t THREE_DAYS_MS = 259200000;
constexpr int64_t RETENTION_MS = 7776000000;
constexpr int64_t HALF_DAY_MS = 43200000;
constexpr int64_t MIN_EPISODE_MS = 14400000;
constexpr int64_t MERGE_GAP_MS = 60000;
constexpr int64_t LABEL_WINDOW_MS = 10800000;
constexpr int64_t CLOCK_WAKEUP_WINDOW_MS = 1800000;
constexpr float MERGE_LATEST_HOUR = 5.0F;
constexpr float NOON_HOUR = 12.0F;
constexpr float NIGHT_START_HOUR = 21.0F;
constexpr float SECONDS_PER_HOUR = 3600.0F;
constexpr float MSEC_PER_HOUR = 3600000.0F;
constexpr int32_t TIME_SLOT_COUNT = 288;
constexpr int32_t TIME_SLOT_SECONDS = 300;
constexpr int32_t AMBIENT_TABLE_SIZE = 101;
constexpr int32_t MAX_AMBIENT_PERCENT = 100;
constexpr int32_t MIN_VALID_RECORDS = 7;
constexpr int32_t SIGMA_MULTIPLIER = 2;
constexpr int64_t DEFAULT_THREE_SIGMA_MS = 32400000;
constexpr int32_t DAYS_PER_YEAR_INDEX = 372;
constexpr int32_t DAYS_PER_MONTH_INDEX = 31;
constexpr int32_t SCREEN_OFF = 0;
constexpr int32_t SCREEN_UNLOCK = 1;
constexpr int32_t SCREEN_BOOT = 2;
constexpr int32_t LABEL_ASLEEP = 1;
constexpr int32_t LABEL_AWAKE = 0;
constexpr int32_t LABEL_UNUSABLE = -2;
constexpr int32_t DOWNWARD_FILL = 1;
constexpr int32_t UPWARD_FILL = 0;
const std::string WEEKDAY_CONDITION = "week_day <= " + std::to_string(5);
const std::string WEEKEND_CONDITION = "week_day > " + std::to_string(5);

std::string DateOf(int64_t timestamp)
{
    std::string text = TimeProviderExt::TimestampToDateString(timestamp);
    return text.substr(0, text.find(' '));
}

float DayHourOfSecond(int64_t timestamp)
{
    return static_cast<float>(TimeProviderExt::TimestampToDaySecond(timestamp)) / SECONDS_PER_HOUR;
}

// A non-negative MAX/MIN read, or 0 when the read failed.
int64_t ValueOrZero(int64_t value)
{
    return value < 0 ? 0 : value;
}

std::string AmbientCondition(int32_t label)
{
    return "label = " + std::to_string(label) + " AND proximity > " + std::to_string(0) +
           " AND light != " + std::to_string(-1);
}
} // namespace

UserSleepTrainModel::UserSleepTrainModel() : databaseManager(SleepDatabaseManager::GetInstance()) {}

void UserSleepTrainModel::Run()
{
    STANDBYSERVICE_LOGI("start training long standby model.");
    bool trained = IsMeetTrainCondition();
    if (trained) {
        DeleteHandledRecord();
        CalculateTimeSleepProba();
        CalculateAmbientSleepProba();
        CalculateRecordDays();
        CalculateNotificationProba();
        UpdateThreeSigmaTimestampValue();
        WriteParametersTable();
        DropTableIfScrStateTimeInvalid();
    }
    DispatchFinishMessage(trained);
    STANDBYSERVICE_LOGI("finish training long standby model.");
}

void UserSleepTrainModel::DispatchFinishMessage(bool trained) const
{
    AAFwk::Want want;
    if (trained) {
        want.SetParam("isTrainSuccess", true);
        want.SetParam("notiProbWeekday", notiProbWeekday);
        want.SetParam("notiProbWeekend", notiProbWeekend);
        want.SetParam("weekdayThreeSigmaTimestamp", weekdayThreeSigmaTimestamp);
        want.SetParam("weekendThreeSigmaTimestamp", weekendThreeSigmaTimestamp);
    }
    StandbyMessage message(TRAIN_FINISHED_EVENT, "", want);
    StandbyServiceImpl::GetInstance()->DispatchEvent(message);
}

bool UserSleepTrainModel::IsMeetTrainCondition()
{
    if (databaseManager == nullptr) {
        STANDBYSERVICE_LOGE("long standby database instance is null.");
        return false;
    }
    DeleteOldData();
    if (IdentifySleepTime() != 0) {
        STANDBYSERVICE_LOGE("identify slp time error");
        return false;
    }
    if (LabelData() != 0) {
        STANDBYSERVICE_LOGE("label data error");
        return false;
    }
    return true;
}

void UserSleepTrainModel::DeleteOldData()
{
    STANDBYSERVICE_LOGI("delete old data.");
    std::string limit = std::to_string(TimeProviderExt::GetCurMsecTimestamp() - RETENTION_MS);
    databaseManager->Delete(ScreenStateRecord::TABLE_NAME, "timestamp < " + limit, {});
    databaseManager->Delete(SleepEnvironment::TABLE_NAME, "timestamp < " + limit, {});
    databaseManager->Delete(SleepDurationRecord::TABLE_NAME, "begin_time < " + limit, {});
    databaseManager->Delete(SleepNotificationRecord::TABLE_NAME, "timestamp < " + limit, {});
}

void UserSleepTrainModel::DropTableIfScrStateTimeInvalid()
{
    int64_t lastScreenEvent = databaseManager->ObtainMaxMinValueOfCol(ScreenStateRecord::TABLE_NAME, "timestamp", true);
    if (lastScreenEvent == -1 || lastScreenEvent <= TimeProviderExt::GetCurMsecTimestamp() + ONE_HOUR_MS) {
        return;
    }
    for (const std::string& table : {SleepEnvironment::TABLE_NAME, ScreenStateRecord::TABLE_NAME,
             SleepDurationRecord::TABLE_NAME, SleepParameter::TABLE_NAME, SleepProbability::TABLE_NAME,
             SleepAmbientProbability::TABLE_NAME, SleepNotificationRecord::TABLE_NAME}) {
        databaseManager->Delete(table, "", {});
    }
    STANDBYSERVICE_LOGI("the current timestamp is one hour ealier than the last timestamp, so delete all tables");
}

void UserSleepTrainModel::DeleteHandledRecord()
{
    STANDBYSERVICE_LOGI("delete handled record.");
    databaseManager->Delete(
        ScreenStateRecord::TABLE_NAME, "timestamp < " + std::to_string(handledTimestamp - ONE_DAY_MS), {});
    databaseManager->Delete(SleepEnvironment::TABLE_NAME,
        "label = " + std::to_string(LABEL_UNUSABLE) + " AND timestamp < " +
            std::to_string(handledTimestamp - THREE_DAYS_MS),
        {});
}

void UserSleepTrainModel::GetHandledTimestamp()
{
    handledTimestamp =
        ValueOrZero(databaseManager->ObtainMaxMinValueOfCol(SleepParameter::TABLE_NAME, "handled_timestamp", true));
}

int32_t UserSleepTrainModel::IdentifySleepTime()
{
    if (GetScreenOffDuration() != 0) {
        STANDBYSERVICE_LOGE("get screen off duration failed.");
        return -1;
    }
    GetMergeScreenOffData();
    GetSleepDuration();
    WriteSleepTable();
    return 0;
}

int32_t UserSleepTrainModel::GetScreenOffDuration()
{
    STANDBYSERVICE_LOGI("get screen off durations.");
    GetHandledTimestamp();
    std::vector<ScreenStateRecord> rows;
    if (databaseManager->QueryEntries(
            rows, "timestamp > " + std::to_string(handledTimestamp - ONE_DAY_MS), "timestamp") != QUERY_OK) {
        STANDBYSERVICE_LOGE("Failed to query screen state.");
        return -1;
    }
    if (rows.size() < 2) {
        screenOffCount = 0;
        return 0;
    }
    screenOffDurations.assign(rows.size(), Span{0, 0});
    CalculateScreenOffDurations(rows);
    handledTimestamp = std::max(handledTimestamp, rows.back().timestamp);
    return 0;
}

void UserSleepTrainModel::AppendScreenOffSpan(int64_t begin, int64_t end)
{
    if (static_cast<size_t>(screenOffCount) >= screenOffDurations.size()) {
        screenOffDurations.resize(screenOffCount + 1);
    }
    screenOffDurations[screenOffCount++] = Span{begin, end};
}

void UserSleepTrainModel::CalculateScreenOffDurations(const std::vector<ScreenStateRecord>& rows)
{
    STANDBYSERVICE_LOGI("calculate screen off durations.");
    int64_t start = 0;
    int32_t prevState = -1;
    screenOffCount = 0;
    for (const auto& row : rows) {
        if (row.state == SCREEN_BOOT && start > 0) {
            AppendScreenOffSpan(start, row.timestamp);
            start = row.timestamp;
            prevState = -1;
        } else if (prevState == SCREEN_OFF && row.state == SCREEN_OFF) {
            continue;
        } else if (prevState == SCREEN_OFF && row.state == SCREEN_UNLOCK) {
            AppendScreenOffSpan(start, row.timestamp);
            start = row.timestamp;
            prevState = SCREEN_UNLOCK;
        } else {
            start = row.timestamp;
            prevState = row.state;
        }
    }
}

void UserSleepTrainModel::GetMergeScreenOffData()
{
    STANDBYSERVICE_LOGI("get merged durations.");
    mergedDurations.clear();
    mergedCount = 0;
    if (screenOffCount == 0) {
        return;
    }
    mergedDurations.push_back(screenOffDurations[0]);
    for (int32_t i = 1; i < screenOffCount; ++i) {
        const Span& span = screenOffDurations[i];
        if (CanMergeScreenOffData(mergedDurations.back().second, span.first)) {
            mergedDurations.back().second = span.second;
        } else {
            mergedDurations.push_back(span);
        }
    }
    mergedCount = static_cast<int32_t>(mergedDurations.size());
}

bool UserSleepTrainModel::CanMergeScreenOffData(int64_t prevEnd, int64_t nextBegin) const
{
    return nextBegin >= prevEnd && nextBegin - prevEnd < MERGE_GAP_MS &&
           TimeProviderExt::TimestampToDayHour(nextBegin) < MERGE_LATEST_HOUR;
}

UserSleepTrainModel::Span UserSleepTrainModel::UpdateBeginEndTime(int64_t begin, int64_t end) const
{
    float beginHour = DayHourOfSecond(begin);
    float endHour = DayHourOfSecond(end);
    int64_t newBegin = begin;
    int64_t newEnd = end;
    if (beginHour >= NOON_HOUR && beginHour <= NIGHT_START_HOUR) {
        newBegin = static_cast<int64_t>(static_cast<float>(begin) + (NIGHT_START_HOUR - beginHour) * MSEC_PER_HOUR);
    }
    if (endHour >= NOON_HOUR && endHour <= NIGHT_START_HOUR) {
        newEnd = static_cast<int64_t>(static_cast<float>(end) - (endHour - NOON_HOUR) * MSEC_PER_HOUR);
    }
    if (newBegin >= newEnd || (beginHour <= NOON_HOUR && endHour >= NIGHT_START_HOUR)) {
        return Span{begin, begin};
    }
    return Span{newBegin, newEnd};
}

void UserSleepTrainModel::GetSleepDuration()
{
    STANDBYSERVICE_LOGI("get long standby durations.");
    std::string handledDate = DateOf(handledTimestamp);
    for (int32_t i = 0; i < mergedCount; ++i) {
        const auto& [begin, end] = mergedDurations[i];
        std::string endDate = DateOf(end);
        if (endDate == handledDate) {
            continue;
        }
        int64_t length = end - begin;
        if (length < MIN_EPISODE_MS || length > ONE_DAY_MS) {
            continue;
        }
        StoreEpisode(endDate, UpdateBeginEndTime(begin, end));
    }
}

void UserSleepTrainModel::StoreEpisode(const std::string& endDate, const Span& episode)
{
    auto found = std::find(sleepDates.begin(), sleepDates.end(), endDate);
    if (found == sleepDates.end()) {
        sleepDates.push_back(endDate);
        sleepBeginTimes.push_back(episode.first);
        sleepEndTimes.push_back(episode.second);
        return;
    }
    size_t k = static_cast<size_t>(found - sleepDates.begin());
    if (episode.second - episode.first > sleepEndTimes[k] - sleepBeginTimes[k]) {
        sleepBeginTimes[k] = episode.first;
        sleepEndTimes[k] = episode.second;
    }
}

void UserSleepTrainModel::WriteSleepTable()
{
    STANDBYSERVICE_LOGI("write long standby table.");
    constexpr size_t datePartCount = 3;
    int64_t lastIndex =
        ValueOrZero(databaseManager->ObtainMaxMinValueOfCol(SleepDurationRecord::TABLE_NAME, "date_index", true));
    int64_t largestIndex = lastIndex;
    std::vector<SleepDurationRecord> newRows;
    for (size_t k = 0; k < sleepDates.size(); ++k) {
        std::vector<std::string> parts = StringUtils::Split(sleepDates[k], '-');
        long year = 0;
        long month = 0;
        long day = 0;
        if (parts.size() != datePartCount || StringUtils::StringToNumber(parts[0], year) != StrCnvResult::SUCCESS ||
            StringUtils::StringToNumber(parts[1], month) != StrCnvResult::SUCCESS ||
            StringUtils::StringToNumber(parts[2], day) != StrCnvResult::SUCCESS) {
            STANDBYSERVICE_LOGE("long standby Detect Error: %{public}s", sleepDates[k].c_str());
            continue;
        }
        int64_t dateIndex = year * DAYS_PER_YEAR_INDEX + month * DAYS_PER_MONTH_INDEX + day;
        if (dateIndex > lastIndex) {
            SleepDurationRecord record;
            record.dateIndex = static_cast<int32_t>(dateIndex);
            record.beginTime = sleepBeginTimes[k];
            record.endTime = sleepEndTimes[k];
            record.weekDay = TimeProviderExt::TimestampToWeekIndex(sleepBeginTimes[k] + HALF_DAY_MS);
            newRows.push_back(record);
            largestIndex = std::max(largestIndex, dateIndex);
        }
    }
    if (!newRows.empty() && databaseManager->InsertEntries(SleepDurationRecord::TABLE_NAME, newRows) != QUERY_OK) {
        STANDBYSERVICE_LOGE("Faired to write long standby table.");
    }
    handledDateIndex = static_cast<int32_t>(largestIndex);
}

int32_t UserSleepTrainModel::LabelData()
{
    STANDBYSERVICE_LOGI("label data.");
    std::vector<SleepDurationRecord> durations;
    if (databaseManager->QueryEntries(durations, "", "begin_time") != QUERY_OK) {
        STANDBYSERVICE_LOGE("can't get table of long standby duration.");
        return -1;
    }
    std::vector<SleepEnvironment> environments;
    std::string unlabelled =
        "label != " + std::to_string(LABEL_AWAKE) + " AND label != " + std::to_string(LABEL_ASLEEP);
    if (databaseManager->QueryEntries(environments, unlabelled, "") != QUERY_OK) {
        STANDBYSERVICE_LOGE("can't get table of long standby environment.");
        return -1;
    }
    CalculateLabelData(durations, environments);
    return 0;
}

void UserSleepTrainModel::CalculateLabelData(
    const std::vector<SleepDurationRecord>& durations, const std::vector<SleepEnvironment>& environments)
{
    std::vector<int64_t> beginTimes;
    beginTimes.reserve(durations.size());
    for (const auto& duration : durations) {
        beginTimes.push_back(duration.beginTime);
    }
    std::vector<std::string> updates;
    for (const auto& environment : environments) {
        auto [position, label] = HandleLabelItem(beginTimes, environment.timestamp);
        if (static_cast<size_t>(position) < beginTimes.size()) {
            updates.push_back("UPDATE " + SleepEnvironment::TABLE_NAME + " SET label = " + std::to_string(label) +
                              " WHERE timestamp = " + std::to_string(environment.timestamp));
        }
    }
    // One statement per observation, each on its own, all on the store the run began with: a failing
    // statement costs only its own label.
    databaseManager->ExecuteEach(updates);
}

std::pair<int32_t, int32_t> UserSleepTrainModel::HandleLabelItem(
    const std::vector<int64_t>& beginTimes, int64_t timestamp) const
{
    int32_t position = 0;
    for (; static_cast<size_t>(position) < beginTimes.size(); ++position) {
        int64_t sinceBegin = timestamp - beginTimes[position];
        if (sinceBegin >= 0 && sinceBegin < LABEL_WINDOW_MS) {
            return {position, LABEL_ASLEEP};
        }
        if (sinceBegin < 0) {
            return {position, -sinceBegin <= LABEL_WINDOW_MS ? LABEL_AWAKE : LABEL_UNUSABLE};
        }
    }
    return {position, LABEL_UNUSABLE};
}

bool UserSleepTrainModel::IsWakeupBecauseOfClock(int64_t begin, int64_t end)
{
    std::vector<SleepEnvironment> rows;
    std::string condition = "next_clock > " + std::to_string(begin) + " AND next_clock < " + std::to_string(end);
    return databaseManager->QueryEntries(rows, condition, "timestamp") == QUERY_OK && !rows.empty();
}

bool UserSleepTrainModel::IsAbnormalEarlyWakeupRecord(int64_t wakeTime, int64_t offset) const
{
    return TimeProviderExt::GetAlarmClcokTimestamp(wakeTime, 0, 0, 0) + offset > wakeTime;
}

void UserSleepTrainModel::CalculateTimeSleepProba()
{
    STANDBYSERVICE_LOGI("calculate the long standby probability of time.");
    std::vector<int32_t> weekdayCounts = CalculateTimeSleepProbaByWeekType(WEEKDAY_CONDITION);
    weekdayNights = nightCount == 0 ? 1 : nightCount;
    std::vector<int32_t> weekendCounts = CalculateTimeSleepProbaByWeekType(WEEKEND_CONDITION);
    weekendNights = nightCount == 0 ? 1 : nightCount;
    WriteTimeSleepProba(weekdayCounts, weekendCounts);
}

std::vector<int32_t> UserSleepTrainModel::CalculateTimeSleepProbaByWeekType(const std::string& condition)
{
    std::vector<SleepDurationRecord> records = GetSleepDurationCareWeekdayRecordsList(condition);
    std::vector<SleepDurationRecord> noClock = GetSleepDurationNoClockRecords(records);
    return CalculateSleepProbaTimes(noClock.size() >= static_cast<size_t>(MIN_VALID_RECORDS) ? noClock : records);
}

std::vector<SleepDurationRecord> UserSleepTrainModel::GetSleepDurationCareWeekdayRecordsList(
    const std::string& condition)
{
    std::vector<SleepDurationRecord> records;
    if (databaseManager->QueryEntries(records, condition, "begin_time") != QUERY_OK) {
        STANDBYSERVICE_LOGE("Failed query slp duration record by condition");
        return records;
    }
    if (records.size() < static_cast<size_t>(MIN_VALID_RECORDS)) {
        records.clear();
        if (databaseManager->QueryEntries(records, "", "") != QUERY_OK || records.empty()) {
            STANDBYSERVICE_LOGE("query failed or slp duration record is empty");
        }
    }
    return records;
}

std::vector<SleepDurationRecord> UserSleepTrainModel::GetSleepDurationNoClockRecords(
    const std::vector<SleepDurationRecord>& records)
{
    std::vector<SleepDurationRecord> kept;
    if (records.empty()) {
        STANDBYSERVICE_LOGI("slp duration has clock records is empty");
        return kept;
    }
    int64_t limit = GetTypeSigmaTimestamp(records, SIGMA_MULTIPLIER);
    STANDBYSERVICE_LOGI("two sigma timestamp is %{public}ld", static_cast<long>(limit));
    if (limit == 0) {
        return kept;
    }
    for (const auto& record : records) {
        if (!IsAbnormalEarlyWakeupRecord(record.endTime, limit) ||
            !IsWakeupBecauseOfClock(record.endTime - CLOCK_WAKEUP_WINDOW_MS, record.endTime + CLOCK_WAKEUP_WINDOW_MS)) {
            kept.push_back(record);
        }
    }
    return kept;
}

std::vector<int32_t> UserSleepTrainModel::CalculateSleepProbaTimes(const std::vector<SleepDurationRecord>& records)
{
    std::vector<int32_t> counts(TIME_SLOT_COUNT, 0);
    nightCount = 0;
    for (const auto& record : records) {
        int32_t beginSlot = TimeProviderExt::TimestampToDaySecond(record.beginTime) / TIME_SLOT_SECONDS;
        int32_t endSlot = TimeProviderExt::TimestampToDaySecond(record.endTime) / TIME_SLOT_SECONDS;
        int32_t firstSlot = beginSlot + 1;
        if (beginSlot > endSlot) {
            for (int32_t slot = firstSlot; slot < TIME_SLOT_COUNT; ++slot) {
                ++counts[slot];
            }
            firstSlot = 0;
        }
        for (int32_t slot = firstSlot; slot <= endSlot; ++slot) {
            ++counts[slot];
        }
        ++nightCount;
    }
    return counts;
}

void UserSleepTrainModel::WriteTimeSleepProba(
    const std::vector<int32_t>& weekdayCounts, const std::vector<int32_t>& weekendCounts)
{
    databaseManager->Delete(SleepProbability::TABLE_NAME, "", {});
    std::vector<SleepProbability> rows;
    rows.reserve(TIME_SLOT_COUNT);
    for (int32_t slot = 0; slot < TIME_SLOT_COUNT; ++slot) {
        SleepProbability row;
        row.timeIndex = slot;
        row.probability = static_cast<float>(weekdayCounts[slot]) / static_cast<float>(weekdayNights);
        row.probabilityWeekend = static_cast<float>(weekendCounts[slot]) / static_cast<float>(weekendNights);
        rows.push_back(row);
    }
    if (databaseManager->InsertEntries(SleepProbability::TABLE_NAME, rows) != QUERY_OK) {
        STANDBYSERVICE_LOGE("Failed to write table sleep prob");
    }
}

int64_t UserSleepTrainModel::GetTypeSigmaTimestamp(
    const std::vector<SleepDurationRecord>& records, int32_t multiplier) const
{
    constexpr int64_t msecPerSec = 1000;
    int64_t count = static_cast<int64_t>(records.size());
    if (count < MIN_VALID_RECORDS) {
        STANDBYSERVICE_LOGI("slp duration records is null or records count less than seven");
        return 0;
    }
    int64_t secondSum = 0;
    for (const auto& record : records) {
        secondSum += TimeProviderExt::TimestampToDaySecond(record.endTime);
    }
    int64_t mean = secondSum / count;
    int64_t squareSum = 0;
    for (const auto& record : records) {
        double deviation = static_cast<double>(mean - TimeProviderExt::TimestampToDaySecond(record.endTime));
        squareSum = static_cast<int64_t>(static_cast<double>(squareSum) + deviation * deviation);
    }
    int64_t variance = squareSum / count;
    int64_t sigma = static_cast<int64_t>(std::sqrt(static_cast<double>(variance)));
    return (mean - multiplier * sigma) * msecPerSec;
}

void UserSleepTrainModel::UpdateThreeSigmaTimestampValue()
{
    int64_t weekday =
        GetTypeSigmaTimestamp(GetSleepDurationCareWeekdayRecordsList(WEEKDAY_CONDITION), SIGMA_MULTIPLIER);
    weekdayThreeSigmaTimestamp = weekday == 0 ? DEFAULT_THREE_SIGMA_MS : weekday;
    int64_t weekend =
        GetTypeSigmaTimestamp(GetSleepDurationCareWeekdayRecordsList(WEEKEND_CONDITION), SIGMA_MULTIPLIER);
    weekendThreeSigmaTimestamp = weekend == 0 ? DEFAULT_THREE_SIGMA_MS : weekend;
}

void UserSleepTrainModel::CalculateRecordDays()
{
    int64_t first = databaseManager->ObtainMaxMinValueOfCol(SleepEnvironment::TABLE_NAME, "timestamp", false);
    int64_t last = databaseManager->ObtainMaxMinValueOfCol(SleepEnvironment::TABLE_NAME, "timestamp", true);
    int64_t days = (first <= 0 || last <= 0) ? 0 : (last - first) / ONE_DAY_MS;
    recordDays = static_cast<int32_t>(std::min<int64_t>(days, nightCount));
}

void UserSleepTrainModel::WriteParametersTable()
{
    STANDBYSERVICE_LOGI("write parameters table.");
    int64_t reportQuantify =
        databaseManager->ObtainMaxMinValueOfCol(SleepParameter::TABLE_NAME, "handledReportQuantifyTimestamp", true);
    databaseManager->Delete(SleepParameter::TABLE_NAME, "", {});
    SleepParameter parameter;
    parameter.handledTimestamp = handledTimestamp;
    parameter.handledReportQuantifyTimestamp = reportQuantify;
    parameter.handledDateIndex = handledDateIndex;
    parameter.sleepHomeProba = sleepHomeProba;
    parameter.unsleepHomeProba = unsleepHomeProba;
    parameter.sleepChargeProba = sleepChargeProba;
    parameter.unsleepChargeProba = unsleepChargeProba;
    parameter.recordDays = recordDays;
    if (databaseManager->InsertEntry(SleepParameter::TABLE_NAME, parameter) != QUERY_OK) {
        STANDBYSERVICE_LOGE("Failed to write sleep parameters.");
    }
}

void UserSleepTrainModel::CalculateAmbientSleepProba()
{
    STANDBYSERVICE_LOGD("calculate the long standby probability of ambient.");
    std::vector<SleepEnvironment> asleep;
    if (databaseManager->QueryEntries(asleep, AmbientCondition(LABEL_ASLEEP), "light") != QUERY_OK) {
        return;
    }
    std::vector<float> sleepTable = CalculateProbaAmbients(asleep, DOWNWARD_FILL);
    std::vector<SleepEnvironment> awake;
    if (databaseManager->QueryEntries(awake, AmbientCondition(LABEL_AWAKE), "light") != QUERY_OK) {
        return;
    }
    std::vector<float> unsleepTable = CalculateProbaAmbients(awake, UPWARD_FILL);
    WriteSleepAmbimetTable(sleepTable, unsleepTable);
}

std::vector<float> UserSleepTrainModel::CalculateProbaAmbients(std::vector<SleepEnvironment>& records, int type)
{
    std::vector<float> table(AMBIENT_TABLE_SIZE, 0.0F);
    float count = static_cast<float>(records.size());
    int32_t k = 1;
    for (size_t i = 1; i <= records.size(); ++i) {
        float percentile = static_cast<float>(i) / count * MAX_AMBIENT_PERCENT;
        while (percentile - static_cast<float>(k) >= 0.0F && k <= MAX_AMBIENT_PERCENT) {
            table[type == DOWNWARD_FILL ? MAX_AMBIENT_PERCENT - k : k] = static_cast<float>(records[i - 1].light);
            ++k;
        }
    }
    return table;
}

void UserSleepTrainModel::WriteSleepAmbimetTable(std::vector<float>& sleepTable, std::vector<float>& unsleepTable)
{
    databaseManager->Delete(SleepAmbientProbability::TABLE_NAME, "", {});
    std::vector<SleepAmbientProbability> rows;
    rows.reserve(unsleepTable.size());
    for (size_t i = 0; i < unsleepTable.size(); ++i) {
        SleepAmbientProbability row;
        row.percent = static_cast<int32_t>(i);
        row.sleepAmbient = i < sleepTable.size() ? sleepTable[i] : 0.0F;
        row.unsleepAmbient = unsleepTable[i];
        rows.push_back(row);
    }
    if (databaseManager->InsertEntries(SleepAmbientProbability::TABLE_NAME, rows) != QUERY_OK) {
        STANDBYSERVICE_LOGE("Failed to write sleep ambient probability");
    }
}

void UserSleepTrainModel::CalculateNotificationProba()
{
    notiProbWeekend = CalculateNotificationProbaByWeekType(WEEKEND_CONDITION);
    notiProbWeekday = CalculateNotificationProbaByWeekType(WEEKDAY_CONDITION);
}

float UserSleepTrainModel::CalculateNotificationProbaByWeekType(const std::string& condition)
{
    std::vector<SleepNotificationRecord> records;
    if (databaseManager->QueryEntries(records, condition, "timestamp") != QUERY_OK) {
        STANDBYSERVICE_LOGW("cursor is null of slp notification records by contification");
        return 0.0F;
    }
    int32_t result = QUERY_OK;
    if (records.size() < static_cast<size_t>(MIN_VALID_RECORDS)) {
        records.clear();
        result = databaseManager->QueryEntries(records, "", "timestamp");
        STANDBYSERVICE_LOGI("less than min valid notification count by week condition");
    }
    if (result != QUERY_OK || records.size() < static_cast<size_t>(MIN_VALID_RECORDS)) {
        STANDBYSERVICE_LOGI("less than min valid notification count by all condition");
        return 0.0F;
    }
    int32_t notificationNum = 0;
    for (const auto& record : records) {
        notificationNum += record.isHasNotification;
    }
    int32_t recordNum = static_cast<int32_t>(records.size());
    STANDBYSERVICE_LOGI("notificationNum is %{public}d, recordNum is %{public}d", notificationNum, recordNum);
    return static_cast<float>(notificationNum) / static_cast<float>(recordNum);
}

std::vector<UserSleepTrainModel::Span> UserSleepTrainModel::GetScreenOffSpans() const
{
    return std::vector<Span>(screenOffDurations.begin(), screenOffDurations.begin() + screenOffCount);
}

std::vector<UserSleepTrainModel::Span> UserSleepTrainModel::GetMergedSpans() const
{
    return std::vector<Span>(mergedDurations.begin(), mergedDurations.begin() + mergedCount);
}

} // namespace OHOS::DevStandbyMgr
