#include <sys/stat.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "event_handler.h"
#include "hilog.h"
#include "os_account_manager.h"
#include "rdb_faults.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"
#include "scoped_time_zone.h"
#include "sleep_database_manager.h"
#include "sleep_history_builder.h"
#include "standby_service_impl.h"
#include "user_sleep_train_model.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {
namespace {
using Span = UserSleepTrainModel::Span;

constexpr int64_t MINUTE_MS = 60000;
constexpr int64_t HOUR_MS = 3600000;
constexpr int64_t DAY_MS = 86400000;
constexpr int64_t FLOAT_STEP_MS = 131072; // spacing of single-precision values at present-day timestamps

// March 2024 in the test's time zone (China Standard Time).
int64_t Mar(int day, int hour, int minute = 0, int second = 0)
{
    return Emulator::LocalTimeMs(2024, 3, day, hour, minute, second);
}

// A March time for test tables, turned into a timestamp only once the test has set its time zone.
struct When {
    int day, hour;
    int minute = 0;
    int second = 0;
    int64_t Ms() const { return Mar(day, hour, minute, second); }
};

int32_t DateIndex(int day)
{
    return 2024 * 372 + 3 * 31 + day;
}

// A time adjusted in single precision is a multiple of 2^17 ms within one step of its target.
void ExpectTime(int64_t actual, int64_t expected, bool coarse)
{
    if (!coarse) {
        EXPECT_EQ(actual, expected);
        return;
    }
    EXPECT_EQ(actual % FLOAT_STEP_MS, 0);
    EXPECT_LE(std::llabs(actual - expected), FLOAT_STEP_MS);
}

class UserSleepTrainModelTest : public testing::Test {
protected:
    void SetUp() override
    {
        Emulator::RdbFaults::Reset();
        manager_->OnUserSwitched(); // open the database under this test's data root
        handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
        StandbyServiceImpl::GetInstance()->SetHandler(handler_);
        StandbyServiceImpl::GetInstance()->SetMessageObserver(
            [this](const StandbyMessage& message) { messages_.push_back(message); });
    }
    void TearDown() override { StandbyServiceImpl::GetInstance()->Reset(); }

    template <typename Row> static void Insert(std::vector<Row> rows)
    {
        ASSERT_EQ(manager_->InsertEntries(Row::TABLE_NAME, rows), 0);
    }

    static void InsertScreens(const std::vector<std::pair<int64_t, int32_t>>& events)
    {
        std::vector<ScreenStateRecord> rows;
        for (const auto& [timestamp, state] : events) {
            rows.push_back({timestamp, state});
        }
        Insert(rows);
    }

    static void InsertObservation(int64_t timestamp, int32_t label, double light = 0.1, int32_t dark = 600,
        double proximity = 5.0, int64_t nextClock = -1)
    {
        std::vector<SleepEnvironment> rows(1);
        rows[0].timestamp = timestamp;
        rows[0].label = label;
        rows[0].light = light;
        rows[0].lightDarkDuration = dark;
        rows[0].proximity = proximity;
        rows[0].nextClock = nextClock;
        Insert(rows);
    }

    // One notification record per evening from 1 March on: {week day, has notification}.
    static void InsertNotifications(const std::vector<std::pair<int32_t, int32_t>>& records)
    {
        std::vector<SleepNotificationRecord> rows;
        for (const auto& [weekDay, has] : records) {
            rows.push_back({Mar(1, 23) + static_cast<int64_t>(rows.size()) * DAY_MS, has, weekDay});
        }
        Insert(rows);
    }

    static int64_t Count(const std::string& table, const std::string& where = "")
    {
        return manager_->QueryCount(table, where);
    }

    static std::vector<SleepProbability> TimeTable()
    {
        std::vector<SleepProbability> rows;
        manager_->QueryEntries(rows, "", "time_index");
        return rows;
    }

    // Runs the training and delivers its finishing message.
    void RunTraining()
    {
        UserSleepTrainModel().Run();
        handler_->RunUntilIdle();
    }

    const AAFwk::Want& FinishMessage()
    {
        EXPECT_EQ(messages_.size(), 1U);
        EXPECT_EQ(messages_.at(0).eventId, 2001);
        EXPECT_TRUE(messages_[0].want.has_value());
        return *messages_[0].want;
    }

    // Six nights ending 5-10 March, with a span on the day of the last screen event (11 March).
    static void WriteCraftedNights()
    {
        InsertScreens({{Mar(4, 23), 0}, {Mar(5, 7), 1},                      // 8 h
            {Mar(6, 0, 30), 0}, {Mar(6, 4, 30), 1},                          // exactly 4 h
            {Mar(6, 5), 0}, {Mar(6, 8, 59), 1},                              // 3 h 59 min
            {Mar(7, 13), 0}, {Mar(7, 22), 1},                                // 13:00-22:00, clipped to 21:00
            {Mar(8, 0), 0}, {Mar(8, 4, 30), 1},                              // 4.5 h
            {Mar(8, 5), 0}, {Mar(8, 13), 1},                                 // 8 h, clipped to 7 h: longest
            {Mar(8, 22), 0}, {Mar(9, 2), 1}, {Mar(9, 3), 0}, {Mar(9, 7), 1}, // a tie keeps the first
            {Mar(10, 11), 0}, {Mar(10, 22), 1},                              // 11:00-22:00: empty episode
            {Mar(10, 23), 0}, {Mar(11, 7), 1}});                             // ends on the handled date
    }

    Emulator::ScopedTimeZone zone_{"CST-8"};
    Emulator::ScopedDataRoot root_;
    Emulator::ScopedVirtualClock clock_{Mar(11, 12)};
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::vector<StandbyMessage> messages_; // what the host received, in order
    static inline std::shared_ptr<SleepDatabaseManager> manager_ = SleepDatabaseManager::GetInstance();
};

struct SpanCase {
    std::string name;
    std::vector<std::pair<When, int32_t>> events;
    std::vector<std::pair<When, When>> spans;
    std::vector<std::pair<When, When>> merged; // empty: the same as `spans`
};

// The hour of the next span's begin must be before 05:00, so a short use at 23:10 splits the night.
TEST_F(UserSleepTrainModelTest, BuildsAndMergesScreenOffSpans)
{
    const SpanCase cases[] = {
        {"ShortUseAtElevenPmDoesNotMerge",
            {{When{4, 23, 10}, 0}, {When{4, 23, 10, 40}, 1}, {When{4, 23, 11}, 0}, {When{5, 7}, 1}},
            {{When{4, 23, 10}, When{4, 23, 10, 40}}, {When{4, 23, 11}, When{5, 7}}}, {}},
        {"ShortUseAtThreeAmMerges", {{When{5, 1}, 0}, {When{5, 3, 10}, 1}, {When{5, 3, 10, 30}, 0}, {When{5, 7}, 1}},
            {{When{5, 1}, When{5, 3, 10}}, {When{5, 3, 10, 30}, When{5, 7}}}, {{When{5, 1}, When{5, 7}}}},
        {"ShortUseAtHalfPastFiveDoesNotMerge",
            {{When{5, 1}, 0}, {When{5, 5, 30}, 1}, {When{5, 5, 30, 30}, 0}, {When{5, 7}, 1}},
            {{When{5, 1}, When{5, 5, 30}}, {When{5, 5, 30, 30}, When{5, 7}}}, {}},
        {"GapOfOneMinuteDoesNotMerge", {{When{5, 1}, 0}, {When{5, 3}, 1}, {When{5, 3, 1}, 0}, {When{5, 7}, 1}},
            {{When{5, 1}, When{5, 3}}, {When{5, 3, 1}, When{5, 7}}}, {}},
        {"RepeatedOffKeepsFirst", {{When{4, 23}, 0}, {When{4, 23, 30}, 0}, {When{5, 7}, 1}},
            {{When{4, 23}, When{5, 7}}}, {}},
        {"BootClosesSpan", {{When{4, 23}, 0}, {When{5, 3}, 2}, {When{5, 7}, 1}}, {{When{4, 23}, When{5, 3}}}, {}},
        {"BootAfterUnlockClosesSpanFromUnlock", {{When{4, 22}, 1}, {When{4, 22, 30}, 2}},
            {{When{4, 22}, When{4, 22, 30}}}, {}},
        {"UnlocksAloneMakeNoSpan", {{When{4, 22}, 2}, {When{4, 23}, 1}, {When{5, 7}, 1}}, {}, {}}};
    auto toSpans = [](const std::vector<std::pair<When, When>>& pairs) {
        std::vector<Span> spans;
        for (const auto& [begin, end] : pairs) {
            spans.emplace_back(begin.Ms(), end.Ms());
        }
        return spans;
    };
    for (const SpanCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<ScreenStateRecord> rows;
        for (const auto& [when, state] : c.events) {
            rows.push_back({when.Ms(), state});
        }
        UserSleepTrainModel model;
        model.CalculateScreenOffDurations(rows);
        model.GetMergeScreenOffData();
        EXPECT_EQ(model.GetScreenOffSpans(), toSpans(c.spans));
        EXPECT_EQ(model.GetMergedSpans(), toSpans(c.merged.empty() ? c.spans : c.merged));
    }
}

// The hour of the next span's begin must be before 05:00, so a short use at 23:10 splits the night.

TEST_F(UserSleepTrainModelTest, StoresOneEpisodePerNightTheParametersRowAndTheFinishMessage)
{
    WriteCraftedNights();
    SleepParameter previous;
    previous.handledReportQuantifyTimestamp = 12345;
    previous.sleepHomeProba = 0.7;
    ASSERT_EQ(manager_->InsertEntry(SleepParameter::TABLE_NAME, previous), 0);
    InsertObservation(Mar(5, 1), -1);
    InsertObservation(Mar(10, 15), -1);
    // Eight weekday records with four notifications; two weekend records are too few, so all ten count.
    InsertNotifications({{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 0}, {6, 0}, {7, 0}, {1, 0}, {2, 0}, {3, 0}});
    RunTraining();

    std::vector<SleepDurationRecord> episodes;
    ASSERT_EQ(manager_->QueryEntries(episodes, "", "begin_time"), 0);
    ASSERT_EQ(episodes.size(), 6U);
    struct Expected {
        int day;
        int64_t begin, end;
        int32_t weekDay;
        bool beginCoarse, endCoarse;
    };
    const std::vector<Expected> expected{{5, Mar(4, 23), Mar(5, 7), 2, false, false},
        {6, Mar(6, 0, 30), Mar(6, 4, 30), 3, false, false}, {7, Mar(7, 21), Mar(7, 22), 5, true, false},
        {8, Mar(8, 5), Mar(8, 12), 5, false, true}, {9, Mar(8, 22), Mar(9, 2), 6, false, false},
        {10, Mar(10, 11), Mar(10, 11), 7, false, false}};
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(episodes[i].dateIndex, DateIndex(expected[i].day));
        ExpectTime(episodes[i].beginTime, expected[i].begin, expected[i].beginCoarse);
        ExpectTime(episodes[i].endTime, expected[i].end, expected[i].endCoarse);
        EXPECT_EQ(episodes[i].weekDay, expected[i].weekDay);
    }

    std::vector<SleepParameter> parameters;
    ASSERT_EQ(manager_->QueryEntries(parameters, "", ""), 0);
    ASSERT_EQ(parameters.size(), 1U);
    // The quantify mark's column name is misspelt, so its read fails; 5 days 14 h of observations.
    const SleepParameter& stored = parameters[0];
    EXPECT_EQ(std::make_tuple(stored.handledTimestamp, stored.handledReportQuantifyTimestamp, stored.handledDateIndex,
                  stored.sleepHomeProba, stored.unsleepHomeProba, stored.sleepChargeProba, stored.unsleepChargeProba,
                  stored.recordDays),
        std::make_tuple(Mar(11, 7), 0, DateIndex(10), 0.0, 0.0, 0.0, 0.0, 5));
    // Screen events older than a day before the handled time are gone.
    EXPECT_EQ(Count(ScreenStateRecord::TABLE_NAME), 4);
    // Six nights in all: too few for a limit, so both stay at 09:00.
    const std::map<std::string, AAFwk::Want::Value> finished{{"isTrainSuccess", true}, {"notiProbWeekday", 4.0F / 8.0F},
        {"notiProbWeekend", 4.0F / 10.0F}, {"weekdayThreeSigmaTimestamp", int64_t{32400000}},
        {"weekendThreeSigmaTimestamp", int64_t{32400000}}};
    EXPECT_EQ(FinishMessage().GetParams(), finished);

    // A second run finds no new night.
    RunTraining();
    EXPECT_EQ(Count(SleepDurationRecord::TABLE_NAME), 6);
}

const std::vector<std::string> ALL_TABLES{SleepEnvironment::TABLE_NAME, ScreenStateRecord::TABLE_NAME,
    SleepDurationRecord::TABLE_NAME, SleepParameter::TABLE_NAME, SleepProbability::TABLE_NAME,
    SleepAmbientProbability::TABLE_NAME, SleepNotificationRecord::TABLE_NAME};

// Parameter: the position in `observations` of the one whose update the database refuses (-1: none).
class LabelTest : public UserSleepTrainModelTest, public testing::WithParamInterface<int> {};

TEST_P(LabelTest, LabelsObservationsAroundEpisodeBeginsEachByItsOwnUpdate)
{
    WriteCraftedNights();
    struct Observation {
        int64_t timestamp;
        int32_t initial, expected;
    };
    const std::vector<Observation> observations{{Mar(5, 1, 59), -1, 1}, // 2 h 59 min after the first begin
        {Mar(4, 23), -1, 1},                                            // at the begin
        {Mar(4, 21), -1, 0},                                            // 2 h before
        {Mar(4, 20), -1, 0},                                            // exactly 3 h before
        {Mar(4, 19), -1, -2},                                           // 4 h before the first begin
        {Mar(5, 2), -1, -2},                                            // 3 h after: too early for the next begin
        {Mar(7, 21, 30), 7, 1}, // after the clipped 21:00 begin; any unknown label counts as unlabelled
        {Mar(10, 12), -1, 1},   // after the begin of the empty episode
        {Mar(10, 15), -1, -1},  // beyond the last begin + 3 h: left for a later run
        {Mar(6, 12), 0, 0}};    // already labelled: untouched
    for (const auto& observation : observations) {
        InsertObservation(observation.timestamp, observation.initial);
    }
    // A labelled row that shares its timestamp with an unlabelled one is relabelled with it.
    InsertObservation(Mar(5, 0, 30), 0);
    InsertObservation(Mar(5, 0, 30), -1);
    const int refused = GetParam();
    if (refused >= 0) {
        manager_->Execute("CREATE TRIGGER refuse BEFORE UPDATE ON sleep_environment WHEN OLD.timestamp = " +
                          std::to_string(observations[refused].timestamp) + " BEGIN SELECT RAISE(ABORT, 'no'); END");
    }
    UserSleepTrainModel model;
    ASSERT_TRUE(model.IsMeetTrainCondition());
    auto labelled = [](int64_t timestamp, int32_t label) {
        return Count(SleepEnvironment::TABLE_NAME,
            "timestamp = " + std::to_string(timestamp) + " AND label = " + std::to_string(label));
    };
    for (int i = 0; i < static_cast<int>(observations.size()); ++i) {
        const Observation& observation = observations[i];
        EXPECT_EQ(labelled(observation.timestamp, i == refused ? observation.initial : observation.expected), 1) << i;
    }
    EXPECT_EQ(labelled(Mar(5, 0, 30), 1), 2);
    if (refused < 0) {
        // The two unusable rows (-2), older than three days before the handled time, go in the full run.
        model.DeleteHandledRecord();
        EXPECT_EQ(Count(SleepEnvironment::TABLE_NAME), static_cast<int64_t>(observations.size()));
    }
}

INSTANTIATE_TEST_SUITE_P(RefusedUpdate, LabelTest, testing::Values(-1, 0, 4, 7));

// What happens at the nth statement of a labelling run: the user switches, or the statement fails.
enum class Midway { SWITCH_USER, FAIL_STATEMENT };
struct MidwayCase {
    std::string name;
    Midway event;
    int at;
};

void PrintTo(const MidwayCase& midway, std::ostream* out)
{
    *out << midway.name;
}

class LabellingMidwayTest : public UserSleepTrainModelTest, public testing::WithParamInterface<MidwayCase> {
protected:
    void TearDown() override
    {
        Emulator::RdbFaults::Reset();
        Emulator::ResetOsAccounts();
        manager_->OnUserSwitched();
        UserSleepTrainModelTest::TearDown();
    }
};

TEST_P(LabellingMidwayTest, KeepsTheStoreItBeganWithAndLosesOnlyTheFailedLabel)
{
    const std::vector<std::pair<int64_t, int32_t>> expected{
        {Mar(4, 21), 0}, {Mar(4, 22), 0}, {Mar(4, 23, 30), 1}, {Mar(5, 0, 30), 1}, {Mar(5, 1, 30), 1}};
    for (const auto& [timestamp, label] : expected) {
        InsertObservation(timestamp, -1);
    }
    std::vector<SleepEnvironment> environments;
    ASSERT_EQ(manager_->QueryEntries(environments, "", ""), 0);
    SleepDurationRecord episode;
    episode.beginTime = Mar(4, 23);
    episode.endTime = Mar(5, 7);
    const MidwayCase& midway = GetParam();
    Emulator::RdbFaults::Reset();
    if (midway.event == Midway::FAIL_STATEMENT) {
        Emulator::RdbFaults::FailNthOperation(midway.at);
    } else {
        Emulator::RdbFaults::SetOperationObserver([&midway](int operation) {
            if (operation == midway.at) {
                Emulator::SetForegroundOsAccount(101);
                manager_->OnUserSwitched();
            }
        });
    }
    UserSleepTrainModel().CalculateLabelData({episode}, environments);
    Emulator::RdbFaults::Reset();
    // Nothing reached the second user: the run never even opened that user's database.
    struct stat info {};
    EXPECT_NE(stat((root_.Path() + "/data/service/el3/101/device_standby/sleep.db").c_str(), &info), 0);
    Emulator::SetForegroundOsAccount(100);
    manager_->OnUserSwitched();
    for (int i = 0; i < static_cast<int>(expected.size()); ++i) {
        bool lost = midway.event == Midway::FAIL_STATEMENT && i == midway.at - 1;
        int32_t label = lost ? -1 : expected[i].second;
        EXPECT_EQ(Count(SleepEnvironment::TABLE_NAME, "timestamp = " + std::to_string(expected[i].first) +
                                                          " AND label = " + std::to_string(label)),
            1)
            << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Midway, LabellingMidwayTest,
    testing::Values(MidwayCase{"SwitchBeforeFirst", Midway::SWITCH_USER, 1},
        MidwayCase{"SwitchAfterTwo", Midway::SWITCH_USER, 3}, MidwayCase{"FirstFails", Midway::FAIL_STATEMENT, 1},
        MidwayCase{"ThirdFails", Midway::FAIL_STATEMENT, 3}, MidwayCase{"LastFails", Midway::FAIL_STATEMENT, 5},
        // A run of five statements has no sixth or seventh (no BEGIN or COMMIT to fail): nothing is lost.
        MidwayCase{"SixthFails", Midway::FAIL_STATEMENT, 6}, MidwayCase{"SeventhFails", Midway::FAIL_STATEMENT, 7}),
    [](const testing::TestParamInfo<MidwayCase>& info) { return info.param.name; });

// Every row of the schema, as "type name: sql", in the order SQLite keeps them.
std::vector<std::string> StoredSchema()
{
    int errCode = NativeRdb::E_OK;
    SleepRdbOpenCallback callback;
    std::string path = NativeRdb::RdbSqlUtils::GetDefaultDatabasePath(
        "/data/service/el3/100/device_standby", "sleep.db", errCode);
    auto store = NativeRdb::RdbHelper::GetRdbStore(NativeRdb::RdbStoreConfig(path), 1, callback, errCode);
    EXPECT_NE(store, nullptr);
    std::vector<std::string> schema;
    auto resultSet = store->QuerySql("SELECT type || ' ' || name || ': ' || ifnull(sql, '') FROM sqlite_master");
    std::string row;
    while (resultSet != nullptr && resultSet->GoToNextRow() == NativeRdb::E_OK &&
           resultSet->GetString(0, row) == NativeRdb::E_OK) {
        schema.push_back(row);
    }
    return schema;
}

// A training adds nothing to the schema the database was created with (its tables, checked against
// their texts by the database manager's tests): no index, trigger or table of its own. Afterwards
// the statistics report's query, which names no order, reads the observations in insertion order
// even where the clock was set back between them.
TEST_F(UserSleepTrainModelTest, TrainingKeepsTheCreatedSchemaAndTheInsertionOrder)
{
    const std::vector<std::string> created = StoredSchema();
    ASSERT_EQ(created.size(), ALL_TABLES.size());
    WriteCraftedNights();
    const std::vector<int64_t> inserted{Mar(5, 1), Mar(5, 1, 40), Mar(5, 1, 10), Mar(5, 1, 50), Mar(5, 1, 20)};
    for (int64_t timestamp : inserted) {
        InsertObservation(timestamp, -1);
    }
    RunTraining();
    EXPECT_EQ(StoredSchema(), created);
    std::vector<SleepEnvironment> reported;
    ASSERT_EQ(manager_->QueryEntries(reported, "timestamp > " + std::to_string(Mar(5, 0)), ""), 0);
    std::vector<int64_t> order;
    for (const SleepEnvironment& row : reported) {
        order.push_back(row.timestamp);
    }
    EXPECT_EQ(order, inserted);
}

TEST_F(UserSleepTrainModelTest, TimeTableCountsSlotsAfterBeginUpToEnd)
{
    InsertScreens({{Mar(4, 23), 0}, {Mar(5, 7), 1}, {Mar(6, 1), 0}, {Mar(6, 7), 1}, {Mar(7, 10), 1}});
    RunTraining();
    std::vector<SleepProbability> table = TimeTable();
    ASSERT_EQ(table.size(), 288U);
    // 23:00-07:00 adds slots 277...287 and 0...84; 01:00-07:00 adds 13...84. Two nights.
    const std::vector<std::pair<int32_t, double>> expected{
        {276, 0.0}, {277, 0.5}, {287, 0.5}, {0, 0.5}, {12, 0.5}, {13, 1.0}, {84, 1.0}, {85, 0.0}, {150, 0.0}};
    for (const auto& [slot, probability] : expected) {
        EXPECT_EQ(table[slot].timeIndex, slot);
        EXPECT_DOUBLE_EQ(table[slot].probability, probability) << slot;
        EXPECT_DOUBLE_EQ(table[slot].probabilityWeekend, probability) << slot;
    }
}

TEST_F(UserSleepTrainModelTest, WorkedExamplesOfLimitAndClip)
{
    UserSleepTrainModel model;
    std::vector<SleepDurationRecord> records;
    for (int i = 0; i < 7; ++i) {
        records.push_back({0, Mar(4 + i, 0), Mar(4 + i, 7, 10 * i), 0});
    }
    EXPECT_EQ(model.GetTypeSigmaTimestamp(records, 2), 24600000); // mean 27000 s, sigma 1200 s
    records.pop_back();
    EXPECT_EQ(model.GetTypeSigmaTimestamp(records, 2), 0);
    EXPECT_TRUE(model.IsAbnormalEarlyWakeupRecord(Mar(5, 6, 49), 24600000));
    EXPECT_FALSE(model.IsAbnormalEarlyWakeupRecord(Mar(5, 6, 50), 24600000));

    // A span with nothing between 21:00 and noon becomes empty at its begin.
    EXPECT_EQ(model.UpdateBeginEndTime(Mar(4, 20), Mar(4, 21)), Span(Mar(4, 20), Mar(4, 20)));
}

class NoClockFilterTest : public UserSleepTrainModelTest, public testing::WithParamInterface<bool> {};

// Seven nights waking 07:00...08:00 and one 22:00-04:30 night; the two-sigma limit is 05:02:44.
TEST_P(NoClockFilterTest, EarlyNightWithAlarmLeavesTheCounts)
{
    bool alarmAtWakeUp = GetParam();
    clock_.Get().SetWallTimeMs(Mar(9, 12));
    std::vector<std::pair<int64_t, int32_t>> events{{Mar(7, 22), 0}, {Mar(8, 4, 30), 1}, {Mar(9, 10), 1}};
    for (int i = 0; i < 7; ++i) {
        events.push_back({Mar(i, 23), 0});
        events.push_back({Mar(i + 1, 7, 10 * i), 1});
    }
    InsertScreens(events);
    InsertObservation(Mar(8, 4), -1, 0.1, 600, 5.0, alarmAtWakeUp ? Mar(8, 4, 30) : -1);
    RunTraining();

    std::vector<SleepProbability> table = TimeTable();
    ASSERT_EQ(table.size(), 288U);
    double expected = alarmAtWakeUp ? 0.0 : 1.0 / 8.0; // slot 270 (22:30) is covered by the early night only
    EXPECT_DOUBLE_EQ(table[270].probability, expected);
    EXPECT_DOUBLE_EQ(table[270].probabilityWeekend, expected);
    const AAFwk::Want& want = FinishMessage();
    EXPECT_EQ(want.GetLongParam("weekdayThreeSigmaTimestamp", -1), 18164000);
    EXPECT_EQ(want.GetLongParam("weekendThreeSigmaTimestamp", -1), 18164000);
}

INSTANTIATE_TEST_SUITE_P(Alarm, NoClockFilterTest, testing::Bool());

TEST_F(UserSleepTrainModelTest, AmbientTableHoldsPercentilesOfLabelledObservations)
{
    InsertObservation(Mar(4, 22), 0, 100.0, 7);
    UserSleepTrainModel model;
    model.CalculateAmbientSleepProba();
    EXPECT_EQ(Count(SleepAmbientProbability::TABLE_NAME, "sleep_ambient = 0"), 101); // no asleep rows yet

    // The environment query lists "charge_state light" without a comma: the record's light field receives the
    // dark duration, and ORDER BY light sorts by the charge state (all equal here), so rows come in stored order.
    InsertObservation(Mar(5, 1), 1, 40.0, 1);
    InsertObservation(Mar(5, 2), 1, 30.0, 2);
    InsertObservation(Mar(5, 3), 1, 20.0, 3);
    InsertObservation(Mar(5, 4), 1, 10.0, 4);
    InsertObservation(Mar(5, 5), 1, 5.0, 100, 0.0); // covered
    InsertObservation(Mar(5, 6), 1, -1.0, 200);     // no light reading
    InsertObservation(Mar(5, 0), 5, 1.0, 300);      // not a label
    model.CalculateAmbientSleepProba();
    std::vector<SleepAmbientProbability> rows;
    ASSERT_EQ(manager_->QueryEntries(rows, "", "percent"), 0);
    ASSERT_EQ(rows.size(), 101U);
    for (const auto& row : rows) {
        double sleep = row.percent == 100 ? 0.0 : 4.0 - row.percent / 25;
        EXPECT_DOUBLE_EQ(row.sleepAmbient, sleep) << row.percent;
        EXPECT_DOUBLE_EQ(row.unsleepAmbient, row.percent == 0 ? 0.0 : 7.0) << row.percent;
    }
}

struct NotificationCase {
    std::string name;
    std::vector<std::pair<int32_t, int32_t>> records; // week day, has notification
    bool dropTable;
    float weekday, weekend;
    std::vector<std::string> logs;
};

class NotificationProbaTest : public UserSleepTrainModelTest, public testing::WithParamInterface<NotificationCase> {};

TEST_P(NotificationProbaTest, ComputesProbabilities)
{
    if (!GetParam().records.empty()) {
        InsertNotifications(GetParam().records);
    }
    if (GetParam().dropTable) {
        manager_->Execute("DROP TABLE " + SleepNotificationRecord::TABLE_NAME);
    }
    Emulator::LogCapture logs;
    UserSleepTrainModel model;
    model.CalculateNotificationProba();
    EXPECT_FLOAT_EQ(model.GetNotiProbWeekday(), GetParam().weekday);
    EXPECT_FLOAT_EQ(model.GetNotiProbWeekend(), GetParam().weekend);
    for (const auto& text : GetParam().logs) {
        EXPECT_TRUE(logs.HasText(text)) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Records, NotificationProbaTest,
    testing::Values(
        NotificationCase{"FewWeekendRecordsUseAll",
            {{6, 1}, {7, 0}, {6, 0}, {1, 1}, {2, 1}, {3, 0}, {4, 0}, {5, 0}, {1, 0}, {2, 0}}, false, 2.0F / 7.0F, 0.3F,
            {"less than min valid notification count by week condition", "notificationNum is 3, recordNum is 10",
                "notificationNum is 2, recordNum is 7"}},
        NotificationCase{"FewRecordsInAll", {{6, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}}, false, 0.0F, 0.0F,
            {"less than min valid notification count by all condition"}},
        NotificationCase{"BothWeekTypesSufficient",
            {{6, 1}, {7, 1}, {6, 1}, {7, 1}, {6, 1}, {7, 1}, {6, 1}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {1, 0},
                {2, 0}},
            false, 0.0F, 1.0F, {}},
        NotificationCase{
            "TableUnreadable", {}, true, 0.0F, 0.0F, {"cursor is null of slp notification records by contification"}}),
    [](const testing::TestParamInfo<NotificationCase>& info) { return info.param.name; });

class ClockJumpTest : public UserSleepTrainModelTest, public testing::WithParamInterface<int64_t> {};

TEST_P(ClockJumpTest, EmptiesEveryTableOnlyBeyondOneHour)
{
    InsertScreens({{Mar(9, 23), 0}, {Mar(10, 7), 1}, {clock_.Get().WallTimeMs() + GetParam(), 0}});
    InsertObservation(Mar(10, 1), -1);
    InsertNotifications({{7, 1}});
    Emulator::LogCapture logs;
    RunTraining();
    bool jumped = GetParam() > HOUR_MS;
    EXPECT_EQ(
        logs.HasText("the current timestamp is one hour ealier than the last timestamp, so delete all tables"), jumped);
    for (const std::string& table : ALL_TABLES) {
        EXPECT_EQ(Count(table) == 0, jumped) << table;
    }
}

INSTANTIATE_TEST_SUITE_P(Future, ClockJumpTest, testing::Values(HOUR_MS - MINUTE_MS, HOUR_MS + MINUTE_MS));

TEST_F(UserSleepTrainModelTest, RetentionKeepsNinetyDays)
{
    int64_t limit = clock_.Get().WallTimeMs() - 90 * DAY_MS;
    InsertScreens({{limit - 1, 0}, {limit, 1}});
    InsertObservation(limit - 1, -1);
    InsertObservation(limit, -1);
    Insert(std::vector<SleepDurationRecord>{{0, limit - 1, 0, 0}, {0, limit, 0, 0}});
    Insert(std::vector<SleepNotificationRecord>{{limit - 1, 0, 0}, {limit, 0, 0}});
    UserSleepTrainModel().DeleteOldData();
    for (const std::string& table : {ScreenStateRecord::TABLE_NAME, SleepEnvironment::TABLE_NAME,
             SleepDurationRecord::TABLE_NAME, SleepNotificationRecord::TABLE_NAME}) {
        EXPECT_EQ(Count(table), 1) << table;
    }
}

struct FailureCase {
    std::string name;
    bool storeUnavailable;
    std::string droppedTable;
    std::vector<std::string> logs;
};

class TrainConditionFailureTest : public UserSleepTrainModelTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(TrainConditionFailureTest, SendsEmptyFinishMessage)
{
    WriteCraftedNights();
    if (!GetParam().droppedTable.empty()) {
        manager_->Execute("DROP TABLE " + GetParam().droppedTable);
    }
    Emulator::RdbFaults::SetOpenFails(GetParam().storeUnavailable);
    if (GetParam().storeUnavailable) {
        manager_->OnUserSwitched(); // forget the open store so that the next use must reopen it
    }
    Emulator::LogCapture logs;
    RunTraining();
    for (const auto& text : GetParam().logs) {
        EXPECT_TRUE(logs.HasText(text)) << text;
    }
    EXPECT_TRUE(FinishMessage().GetParams().empty());
    EXPECT_TRUE(logs.HasText("finish training long standby model."));
}

INSTANTIATE_TEST_SUITE_P(Failures, TrainConditionFailureTest,
    testing::Values(
        FailureCase{"StoreUnavailable", true, "", {"get screen off duration failed.", "identify slp time error"}},
        FailureCase{"ScreenTableMissing", false, "raw_screen_state",
            {"Failed to query screen state.", "get screen off duration failed.", "identify slp time error"}},
        FailureCase{"DurationTableMissing", false, "sleep_duration",
            {"Faired to write long standby table.", "can't get table of long standby duration.", "label data error"}}),
    [](const testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

} // namespace
} // namespace OHOS::DevStandbyMgr
