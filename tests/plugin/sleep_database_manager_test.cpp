#include <sys/stat.h>

#include <algorithm>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "data_root.h"
#include "hilog.h"
#include "os_account_manager.h"
#include "rdb_faults.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"
#include "sleep_database_manager.h"

namespace OHOS::DevStandbyMgr {
namespace {

using Emulator::RdbFaults;
using NativeRdb::E_OK;

std::string UserDir(int32_t userId)
{
    return "/data/service/el3/" + std::to_string(userId) + "/device_standby";
}

bool FileExists(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

class SleepDatabaseManagerTest : public testing::Test {
protected:
    void SetUp() override
    {
        RdbFaults::Reset();
        Emulator::ResetOsAccounts();
        manager_->OnUserSwitched();
    }
    void TearDown() override
    {
        manager_->OnUserSwitched();
        RdbFaults::Reset();
        Emulator::ResetOsAccounts();
    }

    static std::vector<SleepEnvironment> Night(int rows)
    {
        std::vector<SleepEnvironment> night(rows);
        for (int i = 0; i < rows; ++i) {
            night[i].timestamp = 1700000000000 + i * 600000LL;
            night[i].label = i % 3 == 0 ? 1 : 0;
            night[i].light = 0.5 * i;
            night[i].lightDarkDuration = i * 600;
        }
        return night;
    }

    Emulator::ScopedDataRoot root_;
    Emulator::LogCapture log_;
    std::shared_ptr<SleepDatabaseManager> manager_ = SleepDatabaseManager::GetInstance();
};

TEST_F(SleepDatabaseManagerTest, FirstOpenCreatesEveryTableWithItsStatement)
{
    EXPECT_EQ(manager_->QueryCount(ScreenStateRecord::TABLE_NAME, ""), 0);
    EXPECT_TRUE(FileExists(root_.Path() + UserDir(100) + "/sleep.db"));
    // The store the manager works on, reached through the helper's cache.
    int errCode = E_OK;
    SleepRdbOpenCallback callback;
    std::string path = NativeRdb::RdbSqlUtils::GetDefaultDatabasePath(UserDir(100), "sleep.db", errCode);
    auto store = NativeRdb::RdbHelper::GetRdbStore(NativeRdb::RdbStoreConfig(path), 1, callback, errCode);
    auto resultSet = store->QuerySql("SELECT sql FROM sqlite_master WHERE type = 'table' ORDER BY rowid");
    ASSERT_NE(resultSet, nullptr);
    std::vector<std::string> created;
    std::string sql;
    while (resultSet->GoToNextRow() == E_OK && resultSet->GetString(0, sql) == E_OK) {
        created.push_back(sql);
    }
    // SQLite keeps each statement as written, without its "IF NOT EXISTS".
    const std::vector<std::string> expected = {
        "CREATE TABLE raw_screen_state (id INTEGER PRIMARY KEY, timestamp INTEGER, state INTEGER)",
        "CREATE TABLE sleep_duration (id INTEGER PRIMARY KEY, date_index INTEGER, begin_time INTEGER, end_time "
        "INTEGER, week_day INTEGER)",
        "CREATE TABLE sleep_environment (id INTEGER PRIMARY KEY, timestamp INTEGER, screen_off_duration INTEGER, "
        "user_stationary_duration INTEGER, charge_state INTEGER, light FLOAT, light_dark_duration INTEGER, "
        "proximity FLOAT, location INTEGER, label INTEGER, next_clock INTEGER, bayes_result INTEGER, "
        "baseline_result INTEGER, is_time_ok INTEGER, wakeup_time INTEGER)",
        "CREATE TABLE sleep_notification_records (id INTEGER PRIMARY KEY, timestamp INTEGER, is_has_notification "
        "INTEGER, week_day INTEGER)",
        "CREATE TABLE sleep_probability (id INTEGER PRIMARY KEY, time_index INTEGER, probability FLOAT, "
        "probability_weekend FLOAT)",
        "CREATE TABLE sleep_ambient_probability (id INTEGER PRIMARY KEY, percent INTEGER, sleep_ambient FLOAT, "
        "unsleep_ambient FLOAT)",
        "CREATE TABLE sleep_parameters (id INTEGER PRIMARY KEY, handled_timestamp INTEGER, "
        "handled_report_quantify_timestamp INTEGER, handled_date_index INTEGER, sleep_home_proba FLOAT, "
        "unsleep_home_proba FLOAT, sleep_charge_proba FLOAT, unsleep_charge_proba FLOAT, record_days INTEGER)"};
    EXPECT_EQ(created, expected);
}

// The fields a round trip must keep, per record type.
auto Fields(const ScreenStateRecord& r)
{
    return std::make_tuple(r.timestamp, r.state);
}
auto Fields(const SleepDurationRecord& r)
{
    return std::make_tuple(r.dateIndex, r.beginTime, r.endTime, r.weekDay);
}
auto Fields(const SleepNotificationRecord& r)
{
    return std::make_tuple(r.timestamp, r.isHasNotification, r.weekDay);
}
auto Fields(const SleepProbability& r)
{
    return std::make_tuple(r.timeIndex, r.probability, r.probabilityWeekend);
}
auto Fields(const SleepAmbientProbability& r)
{
    return std::make_tuple(r.percent, r.sleepAmbient, r.unsleepAmbient);
}
auto Fields(const SleepParameter& r)
{
    return std::make_tuple(r.handledTimestamp, r.handledReportQuantifyTimestamp, r.handledDateIndex, r.sleepHomeProba,
        r.unsleepHomeProba, r.sleepChargeProba, r.unsleepChargeProba, r.recordDays);
}

template <typename T> void ExpectRoundTrip(SleepDatabaseManager& manager, std::vector<T> rows)
{
    SCOPED_TRACE(T::TABLE_NAME);
    ASSERT_EQ(manager.InsertEntries(T::TABLE_NAME, rows), 0);
    std::vector<T> read;
    ASSERT_EQ(manager.QueryEntries(read, "", ""), 0);
    ASSERT_EQ(read.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(Fields(read[i]), Fields(rows[i])) << "row " << i;
    }
}

TEST_F(SleepDatabaseManagerTest, RowsOfEveryTypeComeBackAsWritten)
{
    ExpectRoundTrip<ScreenStateRecord>(*manager_, {{1700000000000, 0}, {1700000060000, 1}, {1, 2}});
    ExpectRoundTrip<SleepDurationRecord>(*manager_, {{19675, 1700000000000, 1700028000000, 7}, {-1, 0, 0, 1}});
    ExpectRoundTrip<SleepNotificationRecord>(*manager_, {{1700000000000, 1, 3}, {1700000600000, 0, 6}});
    ExpectRoundTrip<SleepProbability>(*manager_, {{0, 0.125, 0.9}, {287, 1.0 / 3.0, 0.0}});
    ExpectRoundTrip<SleepAmbientProbability>(*manager_, {{5, 0.01, 12.5}, {95, 3.75, 310.0}});
    SleepParameter parameter{1700000000000, 1700001000000, 19675, 0.7, 0.3, 0.8, 0.2, 14};
    ASSERT_EQ(manager_->InsertEntry(SleepParameter::TABLE_NAME, parameter), 0);
    std::vector<SleepParameter> read;
    ASSERT_EQ(manager_->QueryEntries(read, "", ""), 0);
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(Fields(read[0]), Fields(parameter));
}

TEST_F(SleepDatabaseManagerTest, EnvironmentRowsReadBackShiftedFromLight)
{
    // timestamp, screen off, stationary, charge, light, dark, proximity, location, label, next clock, bayes,
    // baseline, time ok, wake-up time.
    const SleepEnvironment stored{
        1700000000000, 3600, 1800, 1, 0.25, 5400, 7.9, 2, 1, 1700020000000, 88, 61, 1, 1700025000000};
    std::vector<SleepEnvironment> rows = {stored};
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, rows), 0);

    std::vector<SleepEnvironment> read;
    ASSERT_EQ(manager_->QueryEntries(read, "", ""), 0);
    ASSERT_EQ(read.size(), 1u);
    const SleepEnvironment& got = read[0];
    auto low32 = [](int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); };
    EXPECT_EQ(std::make_tuple(got.timestamp, got.screenOffDuration, got.userStationaryDuration, got.chargeState),
        std::make_tuple(stored.timestamp, stored.screenOffDuration, stored.userStationaryDuration, stored.chargeState));
    // From light on, every field receives the next column; wakeupTime is never read.
    EXPECT_EQ(std::make_tuple(got.light, got.lightDarkDuration, got.proximity, got.location, got.label, got.nextClock,
                  got.bayesResult, got.baselineResult, got.isTimeOk, got.wakeupTime),
        std::make_tuple(5400.0, 7, 2.0, stored.label, low32(stored.nextClock), int64_t{stored.bayesResult},
            stored.baselineResult, stored.isTimeOk, low32(stored.wakeupTime), SleepEnvironment().wakeupTime));
}

TEST_F(SleepDatabaseManagerTest, QueriesFilterOrderCountAndDelete)
{
    std::vector<SleepEnvironment> night = Night(12);
    std::reverse(night.begin(), night.end());
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    std::vector<SleepEnvironment> labelled;
    ASSERT_EQ(manager_->QueryEntries(labelled, "label = 1 AND timestamp > 1700000000000", "timestamp"), 0);
    ASSERT_EQ(labelled.size(), 3u);
    EXPECT_EQ(labelled[0].timestamp, 1700000000000 + 3 * 600000LL);
    EXPECT_LT(labelled[0].timestamp, labelled[1].timestamp);
    EXPECT_LT(labelled[1].timestamp, labelled[2].timestamp);
    const std::string table = SleepEnvironment::TABLE_NAME;
    EXPECT_EQ(manager_->QueryCount(table, "label = 1"), 4);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol(table, "timestamp", true), 1700000000000 + 11 * 600000LL);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol(table, "timestamp", false), 1700000000000);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol(SleepProbability::TABLE_NAME, "time_index", true), 0);
    manager_->Delete(table, "label = ?", {"1"});
    EXPECT_EQ(manager_->QueryCount(table, ""), 8);
    manager_->Execute("UPDATE sleep_environment SET label = -2 WHERE timestamp < 1700001000000");
    EXPECT_EQ(manager_->QueryCount(table, "label = -2"), 1);
    manager_->Delete(table, "", {});
    EXPECT_EQ(manager_->QueryCount(table, ""), 0);
    EXPECT_TRUE(log_.Texts().empty());
}

TEST_F(SleepDatabaseManagerTest, FailingStatementsAreLoggedAndDegrade)
{
    EXPECT_EQ(manager_->QueryCount("no_table", ""), 0);
    EXPECT_TRUE(log_.HasText("QueryCount fail, table: no_table, errno: 38"));
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, "no_column = 1"), 0);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol("no_table", "x", true), 0);
    manager_->Execute("NOT SQL");
    EXPECT_TRUE(log_.HasText("Execute fail, sql: NOT SQL, errno: " + std::to_string(NativeRdb::E_SQLITE_ERROR)));
    manager_->Delete("no_table", "", {});
    EXPECT_TRUE(log_.HasText("Delete fail, table: no_table, errno: " + std::to_string(NativeRdb::E_SQLITE_ERROR)));
    manager_->Execute("DROP TABLE sleep_probability");
    std::vector<SleepProbability> rows;
    EXPECT_EQ(manager_->QueryEntries(rows, "", ""), SLEEP_DB_UNAVAILABLE);

    std::vector<SleepEnvironment> night = Night(3);
    RdbFaults::FailNthOperation(1);
    EXPECT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), NativeRdb::E_SQLITE_IOERR);
    EXPECT_TRUE(
        log_.HasText("insert fail, table: sleep_environment, errno: " + std::to_string(NativeRdb::E_SQLITE_IOERR)));
    RdbFaults::SetDiskFull(true);
    SleepParameter parameter;
    EXPECT_EQ(manager_->InsertEntry(SleepParameter::TABLE_NAME, parameter), NativeRdb::E_SQLITE_FULL);
    EXPECT_TRUE(
        log_.HasText("insert fail, table: sleep_parameters, errno: " + std::to_string(NativeRdb::E_SQLITE_FULL)));
    RdbFaults::SetDiskFull(false);
    EXPECT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 3);
    for (const auto& record : log_.Records()) {
        EXPECT_EQ(record.level, LOG_ERROR) << record.message;
    }
}

TEST_F(SleepDatabaseManagerTest, UnopenableStoreDegradesAndTheNextCallTriesAgain)
{
    RdbFaults::SetOpenFails(true);
    std::vector<SleepEnvironment> night = Night(2);
    std::vector<ScreenStateRecord> screens;
    SleepParameter parameter;
    EXPECT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), SLEEP_DB_UNAVAILABLE);
    EXPECT_EQ(manager_->InsertEntry(SleepParameter::TABLE_NAME, parameter), SLEEP_DB_UNAVAILABLE);
    EXPECT_EQ(manager_->QueryEntries(screens, "", ""), SLEEP_DB_UNAVAILABLE);
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 0);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol(SleepEnvironment::TABLE_NAME, "timestamp", true), 0);
    manager_->Delete(SleepEnvironment::TABLE_NAME, "", {});
    manager_->Execute("DELETE FROM sleep_environment");
    EXPECT_FALSE(manager_->GetRdbStore());
    std::vector<std::string> texts = log_.Texts();
    EXPECT_EQ(texts, std::vector<std::string>(8, "Failed to open database"));

    RdbFaults::SetOpenFails(false);
    EXPECT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 2);
}

TEST_F(SleepDatabaseManagerTest, UncreatableFolderIsLoggedWithTheDirectory)
{
    ASSERT_TRUE(Emulator::MakeDirectories(root_.Path() + "/data/service/el3"));
    FILE* blocker = fopen((root_.Path() + "/data/service/el3/100").c_str(), "w");
    ASSERT_NE(blocker, nullptr);
    fclose(blocker);
    EXPECT_FALSE(manager_->GetRdbStore());
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 0);
    EXPECT_TRUE(log_.HasText("Failed to create db path: /data/service/el3/100/device_standby"));
}

TEST_F(SleepDatabaseManagerTest, UserSwitchOpensTheNextUsersOwnDatabase)
{
    std::vector<SleepEnvironment> night = Night(4);
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    Emulator::SetForegroundOsAccount(101);
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 4); // still open for user 100
    manager_->OnUserSwitched();
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 0);
    EXPECT_TRUE(FileExists(root_.Path() + UserDir(101) + "/sleep.db"));
    Emulator::SetForegroundOsAccount(100);
    manager_->OnUserSwitched();
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 4);
}

TEST_F(SleepDatabaseManagerTest, AccountFailureFallsBackToUserZero)
{
    Emulator::SetForegroundOsAccountQueryFails(true);
    EXPECT_TRUE(manager_->GetRdbStore());
    ASSERT_EQ(log_.Records().size(), 1U);
    EXPECT_EQ(log_.Records()[0].message.rfind("[GetRdbStore:", 0), 0U); // logged in the opening's name
    EXPECT_TRUE(log_.HasText("Failed to get loacl id"));
    EXPECT_TRUE(FileExists(root_.Path() + UserDir(0) + "/sleep.db"));
    EXPECT_FALSE(FileExists(root_.Path() + UserDir(100) + "/sleep.db"));
}

// A failing statement costs only its own change, and the run does not hold back another writer.
TEST_F(SleepDatabaseManagerTest, EachStatementStandsAloneBesideAnotherWriter)
{
    std::vector<SleepEnvironment> night = Night(50);
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    std::vector<std::string> updates;
    for (const SleepEnvironment& row : night) {
        updates.push_back("UPDATE sleep_environment SET label = 7 WHERE timestamp = " + std::to_string(row.timestamp));
    }
    updates.insert(updates.begin() + 10, "UPDATE no_table SET label = 7");
    std::thread trainer([&] { manager_->ExecuteEach(updates); });
    std::vector<ScreenStateRecord> screens = {{1700000000000, 0}, {1700000100000, 1}};
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(manager_->InsertEntries(ScreenStateRecord::TABLE_NAME, screens), 0);
    }
    trainer.join();
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, "label = 7"), 50);
    EXPECT_EQ(manager_->QueryCount(ScreenStateRecord::TABLE_NAME, ""), 40);
    EXPECT_TRUE(log_.HasText(
        "Execute fail, sql: UPDATE no_table SET label = 7, errno: " + std::to_string(NativeRdb::E_SQLITE_ERROR)));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
