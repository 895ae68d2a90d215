// A quarter of a year of the default person: long enough for the oldest history to pass the
// retention period, so what the plug-in keeps on disk must have reached its bounds.
#include <gtest/gtest.h>

#include <sqlite3.h>

#include <filesystem>
#include <set>
#include <string>

#include "data_root.h"
#include "preferences_file.h"
#include "scenario.h"
#include "sim_driver.h"
#include "sleep_shared_pref.h"

namespace OHOS::Sim {
namespace {

namespace fs = std::filesystem;
using DevStandbyMgr::SleepSharedPref;

constexpr int32_t kDays = 95;
constexpr int64_t kDayMs = 86400000;
constexpr int64_t kRetentionMs = 90 * kDayMs;

int64_t QueryNumber(sqlite3* db, const std::string& sql)
{
    int64_t value = -1;
    sqlite3_exec(
        db, sql.c_str(),
        [](void* out, int, char** values, char**) {
            *static_cast<int64_t*>(out) = values[0] != nullptr ? std::stoll(values[0]) : -1;
            return 0;
        },
        &value, nullptr);
    return value;
}

class SoakTest : public testing::Test {
protected:
    void SetUp() override
    {
        Scenario scenario = DefaultScenario();
        scenario.days = kDays;
        SimOptions options;
        options.outDir = scratch_.Path() + "/out";
        result_ = RunSimulation(scenario, options);
        ASSERT_TRUE(result_.ok) << result_.error;
        dataRoot_ = options.outDir + "/" + DATA_DIR;
    }

    fs::path FindOne(const std::string& name) const
    {
        for (const auto& entry : fs::recursive_directory_iterator(dataRoot_)) {
            if (entry.path().filename() == name) {
                return entry.path();
            }
        }
        return {};
    }

    int64_t LastTrainingMs() const
    {
        int64_t last = -1;
        for (const NightReport& night : result_.nights) {
            for (int64_t training : night.trainingMs) {
                last = std::max(last, training);
            }
        }
        return last;
    }

    Emulator::ScopedDataRoot scratch_;
    SimResult result_;
    fs::path dataRoot_;
};

struct TableBound {
    const char* table;
    const char* timeColumn; // rows older than the retention period are pruned; "" when not dated
    int64_t maxRows;
};

// One run serves both checks: it is the longest test of the suite.
TEST_F(SoakTest, DatabaseKeepsOnlyRetainedHistoryWithinEveryTableLimitAndPreferencesOnlyTheirKeys)
{
    const fs::path database = FindOne("sleep.db");
    ASSERT_FALSE(database.empty());
    const int64_t lastTraining = LastTrainingMs();
    ASSERT_GT(lastTraining, result_.nights.front().truth.wakeMs + kRetentionMs) << "no training after 90 days";

    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(database.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    // Counts are the plug-in's pruning limits; the model tables hold one row per 5-minute slot of
    // the week type, per light percentile and the single parameter row.
    const TableBound bounds[] = {
        {"sleep_environment", "timestamp", 10000},
        {"raw_screen_state", "timestamp", 20000},
        {"sleep_duration", "begin_time", kDays},
        {"sleep_notification_records", "timestamp", 20000},
        {"sleep_probability", "", 288},
        {"sleep_ambient_probability", "", 101},
        {"sleep_parameters", "", 1},
    };
    for (const TableBound& bound : bounds) {
        const std::string table = bound.table;
        EXPECT_LE(QueryNumber(db, "SELECT COUNT(*) FROM " + table), bound.maxRows) << table;
        if (bound.timeColumn[0] != '\0') {
            const int64_t oldest = QueryNumber(db, std::string("SELECT MIN(") + bound.timeColumn + ") FROM " + table);
            EXPECT_GE(oldest, lastTraining - kRetentionMs - kDayMs) << table;
        }
    }
    EXPECT_EQ(QueryNumber(db, "SELECT COUNT(*) FROM pragma_integrity_check WHERE integrity_check = 'ok'"), 1);
    sqlite3_close(db);

    const std::set<std::string> known = {SleepSharedPref::IS_PROXIMITY_ERROR, SleepSharedPref::USER_SLEEPING,
        SleepSharedPref::USER_SLEEPING_AI, SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI,
        SleepSharedPref::USER_NOT_CARE_CHARGE_SLEEPING_AI, SleepSharedPref::USER_LIGHT_SLEEPING_AI,
        SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI, SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKDAY,
        SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKEND, SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKDAY,
        SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKEND, SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP};
    const fs::path preferences = FindOne("sleep_shared_pref.xml");
    ASSERT_FALSE(preferences.empty());
    NativePreferences::PreferencesMap values;
    ASSERT_EQ(NativePreferences::ReadPreferencesFile(fs::absolute(preferences), values), NativePreferences::E_OK);
    EXPECT_FALSE(values.empty());
    for (const auto& [key, value] : values) {
        EXPECT_EQ(known.count(key), 1u) << key;
    }
}

} // namespace
} // namespace OHOS::Sim
