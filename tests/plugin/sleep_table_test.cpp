#include <gtest/gtest.h>

#include "rdb_helper.h"
#include "sleep_table.h"

namespace OHOS::DevStandbyMgr {
namespace {

struct DurationCase {
    int32_t seconds, stationaryBucket, screenOffBucket;
};

// The screen-off scale keeps 10800 s in bucket 3; the stationary scale moves it to 6.
TEST(SleepTableTest, DurationBucketsFollowTheirScales)
{
    const std::vector<DurationCase> cases = {{-5, 0, 0}, {0, 0, 0}, {599, 0, 0}, {600, 1, 1}, {1199, 1, 1},
        {1200, 2, 1}, {1799, 2, 1}, {1800, 3, 2}, {3599, 3, 2}, {3600, 4, 3}, {7199, 4, 3}, {7200, 5, 3}, {10799, 5, 3},
        {10800, 6, 3}, {10801, 6, 4}, {14399, 6, 4}, {14400, 7, 4}, {100000, 7, 4}};
    for (const DurationCase& c : cases) {
        SleepEnvironment environment;
        environment.userStationaryDuration = c.seconds;
        environment.screenOffDuration = c.seconds;
        EXPECT_EQ(environment.GetStatDurQuanVal(), c.stationaryBucket) << c.seconds;
        EXPECT_EQ(environment.GetScrOffDurQuanVal(), c.screenOffBucket) << c.seconds;
    }
}

struct LightCase {
    double light, proximity;
    int32_t bucket;
};

TEST(SleepTableTest, LightBucketsUseProximityOnlyUpToFiveLux)
{
    const std::vector<LightCase> cases = {{-3.0, 0.0, 0}, {-1.0, 5.0, 0}, {-0.5, 0.0, 1}, {0.0, 0.0, 1},
        {0.01, 0.01, 1}, {0.01, 0.02, 2}, {0.02, 0.0, 3}, {0.5, 1.0, 4}, {0.6, 0.0, 5}, {5.0, 3.0, 6}, {5.1, 0.0, 7},
        {50.0, 3.0, 7}, {50.01, 0.0, 8}, {1000.0, 3.0, 8}};
    for (const LightCase& c : cases) {
        SleepEnvironment environment;
        environment.light = c.light;
        environment.proximity = c.proximity;
        EXPECT_EQ(environment.GetLightQuanVal(), c.bucket) << c.light << " lux, proximity " << c.proximity;
    }
}

class CreateAll : public NativeRdb::RdbOpenCallback {
public:
    int OnCreate(NativeRdb::RdbStore&) override { return NativeRdb::E_OK; }
    int OnUpgrade(NativeRdb::RdbStore&, int, int) override { return NativeRdb::E_OK; }
};

struct StatementCase {
    std::string create, query;
    std::vector<std::string> columns;
};

// Every statement runs on SQLite, and each query delivers the columns the reader expects by
// position; the environment query names charge_state "light" and has no light column.
TEST(SleepTableTest, StatementsRunAndQueriesDeliverTheirColumns)
{
    CreateAll callback;
    int errCode = NativeRdb::E_ERROR;
    auto store = NativeRdb::RdbHelper::GetRdbStore(
        NativeRdb::RdbStoreConfig("", NativeRdb::StorageMode::MODE_MEMORY), 1, callback, errCode);
    ASSERT_NE(store, nullptr);
    const std::vector<StatementCase> cases = {
        {ScreenStateRecord::GetCreateStatement(), ScreenStateRecord::GetQueryStatement(), {"timestamp", "state"}},
        {SleepDurationRecord::GetCreateStatement(), SleepDurationRecord::GetQueryStatement(),
            {"date_index", "begin_time", "end_time", "week_day"}},
        {SleepEnvironment::GetCreateStatement(), SleepEnvironment::GetQueryStatement(),
            {"timestamp", "screen_off_duration", "user_stationary_duration", "light", "light_dark_duration",
                "proximity", "location", "label", "next_clock", "bayes_result", "baseline_result", "is_time_ok",
                "wakeup_time"}},
        {SleepNotificationRecord::GetCreateStatement(), SleepNotificationRecord::GetQueryStatement(),
            {"timestamp", "is_has_notification", "week_day"}},
        {SleepProbability::GetCreateStatement(), SleepProbability::GetQueryStatement(),
            {"time_index", "probability", "probability_weekend"}},
        {SleepAmbientProbability::GetCreateStatement(), SleepAmbientProbability::GetQueryStatement(),
            {"percent", "sleep_ambient", "unsleep_ambient"}},
        {SleepParameter::GetCreateStatement(), SleepParameter::GetQueryStatement(),
            {"handled_timestamp", "handled_report_quantify_timestamp", "handled_date_index", "sleep_home_proba",
                "unsleep_home_proba", "sleep_charge_proba", "unsleep_charge_proba", "record_days"}}};
    for (const StatementCase& c : cases) {
        ASSERT_EQ(store->ExecuteSql(c.create), NativeRdb::E_OK) << c.create;
        ASSERT_EQ(store->ExecuteSql(c.create), NativeRdb::E_OK) << "not repeatable: " << c.create;
        auto resultSet = store->QuerySql(c.query);
        ASSERT_NE(resultSet, nullptr) << c.query;
        std::vector<std::string> names;
        resultSet->GetAllColumnNames(names);
        EXPECT_EQ(names, c.columns) << c.query;
    }
}

} // namespace
} // namespace OHOS::DevStandbyMgr
