#include <sys/stat.h>

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

constexpr const char* USER_DIR_FORMAT = "/data/service/el3/%d/device_standby";

std::string UserDir(int32_t userId)
{
    char buffer[64];
    snprintf(buffer, sizeof(buffer), USER_DIR_FORMAT, userId);
    return buffer;
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

    // The store the manager works on, reached through the helper's cache.
    std::shared_ptr<NativeRdb::RdbStore> SameStore(int32_t userId)
    {
        int errCode = E_OK;
        std::string path = NativeRdb::RdbSqlUtils::GetDefaultDatabasePath(UserDir(userId), "sleep.db", errCode);
        SleepRdbOpenCallback callback;
        return NativeRdb::RdbHelper::GetRdbStore(NativeRdb::RdbStoreConfig(path), 1, callback, errCode);
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
    auto resultSet = SameStore(100)->QuerySql("SELECT sql FROM sqlite_master WHERE type = 'table' ORDER BY rowid");
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
        "unsleep_home_proba FLOAT, sleep_charge_proba FLOAT, unsleep_charge_proba FLOAT, record_days INTEGER)",
    };
    EXPECT_EQ(created, expected);
}

// Sample rows of each type and the fields a round trip must keep.
template <typename T> struct Samples;

template <> struct Samples<ScreenStateRecord> {
    static std::vector<ScreenStateRecord> Rows() { return {{1700000000000, 0}, {1700000060000, 1}, {1, 2}}; }
    static auto Fields(const ScreenStateRecord& r) { return std::make_tuple(r.timestamp, r.state); }
};

template <> struct Samples<SleepDurationRecord> {
    static std::vector<SleepDurationRecord> Rows() { return {{19675, 1700000000000, 1700028000000, 7}, {-1, 0, 0, 1}}; }
    static auto Fields(const SleepDurationRecord& r)
    {
        return std::make_tuple(r.dateIndex, r.beginTime, r.endTime, r.weekDay);
    }
};

template <> struct Samples<SleepNotificationRecord> {
    static std::vector<SleepNotificationRecord> Rows() { return {{1700000000000, 1, 3}, {1700000600000, 0, 6}}; }
    static auto Fields(const SleepNotificationRecord& r)
    {
        return std::make_tuple(r.timestamp, r.isHasNotification, r.weekDay);
    }
};

template <> struct Samples<SleepProbability> {
    static std::vector<SleepProbability> Rows() { return {{0, 0.125, 0.9}, {287, 1.0 / 3.0, 0.0}}; }
    static auto Fields(const SleepProbability& r)
    {
        return std::make_tuple(r.timeIndex, r.probability, r.probabilityWeekend);
    }
};

template <> struct Samples<SleepAmbientProbability> {
    static std::vector<SleepAmbientProbability> Rows() { return {{5, 0.01, 12.5}, {95, 3.75, 310.0}}; }
    static auto Fields(const SleepAmbientProbability& r)
    {
        return std::make_tuple(r.percent, r.sleepAmbient, r.unsleepAmbient);
    }
};

template <> struct Samples<SleepParameter> {
    static std::vector<SleepParameter> Rows()
    {
        return {{1700000000000, 1700001000000, 19675, 0.7, 0.3, 0.8, 0.2, 14}};
    }
    static auto Fields(const SleepParameter& r)
    {
        return std::make_tuple(r.handledTimestamp, r.handledReportQuantifyTimestamp, r.handledDateIndex,
            r.sleepHomeProba, r.unsleepHomeProba, r.sleepChargeProba, r.unsleepChargeProba, r.recordDays);
    }
};

template <typename T> class SleepDatabaseRoundTripTest : public SleepDatabaseManagerTest {
};

using RoundTripTypes = testing::Types<ScreenStateRecord, SleepDurationRecord, SleepNotificationRecord, SleepProbability,
    SleepAmbientProbability, SleepParameter>;
TYPED_TEST_SUITE(SleepDatabaseRoundTripTest, RoundTripTypes);

TYPED_TEST(SleepDatabaseRoundTripTest, RowsComeBackAsWritten)
{
    std::vector<TypeParam> rows = Samples<TypeParam>::Rows();
    if constexpr (std::is_same_v<TypeParam, SleepParameter>) {
        for (auto& row : rows) {
            ASSERT_EQ(this->manager_->InsertEntry(TypeParam::TABLE_NAME, row), 0);
        }
    } else {
        ASSERT_EQ(this->manager_->InsertEntries(TypeParam::TABLE_NAME, rows), 0);
    }
    std::vector<TypeParam> read;
    ASSERT_EQ(this->manager_->QueryEntries(read, "", ""), 0);
    ASSERT_EQ(read.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(Samples<TypeParam>::Fields(read[i]), Samples<TypeParam>::Fields(rows[i])) << "row " << i;
    }
}

TEST_F(SleepDatabaseManagerTest, EnvironmentRowsReadBackShiftedFromLight)
{
    SleepEnvironment stored;
    stored.timestamp = 1700000000000;
    stored.screenOffDuration = 3600;
    stored.userStationaryDuration = 1800;
    stored.chargeState = 1;
    stored.light = 0.25;
    stored.lightDarkDuration = 5400;
    stored.proximity = 7.9;
    stored.location = 2;
    stored.label = 1;
    stored.nextClock = 1700020000000;
    stored.bayesResult = 88;
    stored.baselineResult = 61;
    stored.isTimeOk = 1;
    stored.wakeupTime = 1700025000000;
    std::vector<SleepEnvironment> rows = {stored};
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, rows), 0);

    std::vector<SleepEnvironment> read;
    ASSERT_EQ(manager_->QueryEntries(read, "", ""), 0);
    ASSERT_EQ(read.size(), 1u);
    const SleepEnvironment& got = read[0];
    auto low32 = [](int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); };
    EXPECT_EQ(got.timestamp, stored.timestamp);
    EXPECT_EQ(got.screenOffDuration, stored.screenOffDuration);
    EXPECT_EQ(got.userStationaryDuration, stored.userStationaryDuration);
    EXPECT_EQ(got.chargeState, stored.chargeState);
    EXPECT_DOUBLE_EQ(got.light, 5400.0);
    EXPECT_EQ(got.lightDarkDuration, 7);
    EXPECT_DOUBLE_EQ(got.proximity, 2.0);
    EXPECT_EQ(got.location, stored.label);
    EXPECT_EQ(got.label, low32(stored.nextClock));
    EXPECT_EQ(got.nextClock, stored.bayesResult);
    EXPECT_EQ(got.bayesResult, stored.baselineResult);
    EXPECT_EQ(got.baselineResult, stored.isTimeOk);
    EXPECT_EQ(got.isTimeOk, low32(stored.wakeupTime));
    EXPECT_EQ(got.wakeupTime, SleepEnvironment().wakeupTime); // never read
}

TEST_F(SleepDatabaseManagerTest, QueriesFilterAndOrder)
{
    std::vector<SleepEnvironment> night = Night(12);
    std::reverse(night.begin(), night.end());
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    std::vector<SleepEnvironment> labelled;
    ASSERT_EQ(manager_->QueryEntries(labelled, "label = 1 AND timestamp > 1700000000000", "timestamp"), 0);
    ASSERT_EQ(labelled.size(), 3u);
    for (size_t i = 1; i < labelled.size(); ++i) {
        EXPECT_LT(labelled[i - 1].timestamp, labelled[i].timestamp);
    }
    EXPECT_EQ(labelled.front().timestamp, 1700000000000 + 3 * 600000LL);
    std::vector<SleepEnvironment> none;
    EXPECT_EQ(manager_->QueryEntries(none, "label = 5", ""), 0);
    EXPECT_TRUE(none.empty());
}

TEST_F(SleepDatabaseManagerTest, CountsExtremesAndDeletes)
{
    std::vector<SleepEnvironment> night = Night(10);
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    const std::string table = SleepEnvironment::TABLE_NAME;
    EXPECT_EQ(manager_->QueryCount(table, ""), 10);
    EXPECT_EQ(manager_->QueryCount(table, "label = 1"), 4);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol(table, "timestamp", true), 1700000000000 + 9 * 600000LL);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol(table, "timestamp", false), 1700000000000);
    EXPECT_EQ(manager_->ObtainMaxMinValueOfCol(SleepProbability::TABLE_NAME, "time_index", true), 0);
    manager_->Delete(table, "label = ?", {"1"});
    EXPECT_EQ(manager_->QueryCount(table, ""), 6);
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
    EXPECT_TRUE(log_.HasText("Failed to get loacl id"));
    EXPECT_TRUE(FileExists(root_.Path() + UserDir(0) + "/sleep.db"));
    EXPECT_FALSE(FileExists(root_.Path() + UserDir(100) + "/sleep.db"));
}

// Fails the Nth store operation of saving a night, for every N until the save goes through;
// each attempt leaves all the night's rows or none, in an intact file.
TEST_F(SleepDatabaseManagerTest, SavingANightIsAllOrNothingWhicheverOperationFails)
{
    constexpr int kRows = 66;
    std::vector<SleepEnvironment> night = Night(kRows);
    ASSERT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), 0);
    int64_t expected = 0;
    bool completed = false;
    for (int nth = 1; !completed; ++nth) {
        ASSERT_LT(nth, 200) << "the save never completed";
        RdbFaults::Reset();
        RdbFaults::FailNthOperation(nth);
        int32_t result = manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night);
        completed = RdbFaults::InjectedFailures() == 0;
        RdbFaults::Reset();
        expected += result == 0 ? kRows : 0;
        EXPECT_EQ(result == 0, completed) << "nth " << nth;
        EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, ""), expected) << "nth " << nth;
    }
    auto check = SameStore(100)->QuerySql("PRAGMA integrity_check");
    std::string verdict;
    ASSERT_NE(check, nullptr);
    ASSERT_EQ(check->GoToFirstRow(), E_OK);
    check->GetString(0, verdict);
    EXPECT_EQ(verdict, "ok");
}

TEST_F(SleepDatabaseManagerTest, TransactionOfUpdatesIsAllOrNothingBesideAnotherWriter)
{
    std::vector<SleepEnvironment> night = Night(50);
    ASSERT_EQ(manager_->InsertEntries(SleepEnvironment::TABLE_NAME, night), 0);
    std::vector<std::string> updates;
    for (const SleepEnvironment& row : night) {
        updates.push_back("UPDATE sleep_environment SET label = 7 WHERE timestamp = " + std::to_string(row.timestamp));
    }
    std::vector<std::string> broken = updates;
    broken.push_back("UPDATE no_table SET label = 7");
    EXPECT_EQ(manager_->ExecuteInTransaction(broken), NativeRdb::E_SQLITE_ERROR);
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, "label = 7"), 0);

    std::thread trainer([&] { EXPECT_EQ(manager_->ExecuteInTransaction(updates), 0); });
    std::vector<ScreenStateRecord> screens = {{1700000000000, 0}, {1700000100000, 1}};
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(manager_->InsertEntries(ScreenStateRecord::TABLE_NAME, screens), 0);
    }
    trainer.join();
    EXPECT_EQ(manager_->QueryCount(SleepEnvironment::TABLE_NAME, "label = 7"), 50);
    EXPECT_EQ(manager_->QueryCount(ScreenStateRecord::TABLE_NAME, ""), 40);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
