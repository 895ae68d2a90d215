#include <gtest/gtest.h>

#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "engine_test_world.h"
#include "hilog.h"
#include "hisysevent.h"
#include "scoped_time_zone.h"
#include "simulated_phone.h"
#include "sleep_database_manager.h"
#include "sleep_detection_test_peer.h"
#include "sleep_history_builder.h"
#include "sleep_shared_pref.h"

namespace OHOS::DevStandbyMgr {
namespace {

namespace Emulator = OHOS::Emulator;

constexpr int64_t kMinuteMs = 60000;
constexpr int64_t kHourMs = 3600000;
constexpr int64_t kDayMs = 24 * kHourMs;
// Wednesday 2025-01-15 00:00 UTC.
constexpr int64_t kWednesdayMs = 1736899200000;
constexpr char kNightOutputVariable[] = "SLEEP_ENGINE_NIGHT_OUTPUT";

int64_t At(int32_t dayOffset, int32_t hour, int32_t minute = 0)
{
    return kWednesdayMs + dayOffset * kDayMs + hour * kHourMs + minute * kMinuteMs;
}

void WriteHistory(int32_t nights)
{
    Emulator::SleepHabit habit;
    Emulator::SleepHistoryBuilder builder(habit, 7);
    Emulator::HistorySize size;
    size.nights = nights;
    ASSERT_TRUE(builder.Write(kWednesdayMs, size));
}

// Phone on the charger in a dark room, battery well filled.
void ChargeInTheDark()
{
    Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
    phone.SetChargingStatus(1);
    phone.SetBatteryLevel(80);
    phone.SetAmbientLightLux(0.0F);
    phone.SetProximityDistance(5.0F);
}

class SleepDetectionTrainTest : public testing::Test {
protected:
    Emulator::ScopedTimeZone zone_{"UTC0"};
};

struct TrainConditionCase {
    const char* name;
    int64_t sinceLastTrainMs;
    int32_t battery;
    int32_t chargingStatus;
    bool expected;
};

class SleepDetectionTrainConditionTest : public SleepDetectionTrainTest,
                                         public testing::WithParamInterface<TrainConditionCase> {};

TEST_P(SleepDetectionTrainConditionTest, NeedsADaySinceTheLastTrainingBatteryAndCharger)
{
    const TrainConditionCase& c = GetParam();
    EngineTestWorld world(At(0, 22));
    Emulator::SimulatedPhone::GetInstance().SetBatteryLevel(c.battery);
    Emulator::SimulatedPhone::GetInstance().SetChargingStatus(c.chargingStatus);
    SleepDetectionTestPeer(world.Engine()).LastTrainTime() = world.Now() - c.sinceLastTrainMs;
    EXPECT_EQ(world.Engine().IsMeetTrainCondition(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Table, SleepDetectionTrainConditionTest,
    testing::Values(TrainConditionCase{"ExactlyOneDay", kDayMs, 80, 1, false},
        TrainConditionCase{"OneDayAndOneMs", kDayMs + 1, 80, 1, true},
        TrainConditionCase{"Battery30", 2 * kDayMs, 30, 1, false},
        TrainConditionCase{"Battery31", 2 * kDayMs, 31, 1, true}, TrainConditionCase{"Full", 2 * kDayMs, 100, 3, true},
        TrainConditionCase{"NotCharging", 2 * kDayMs, 80, 0, false}),
    [](const testing::TestParamInfo<TrainConditionCase>& info) { return std::string(info.param.name); });

// Unlock on the charger, then screen off: the readiness check 3 minutes after the unlock and the
// training check 5 minutes after the screen-off start the training; its end reloads the model.
TEST_F(SleepDetectionTrainTest, UnlockThenScreenOffOnTheChargerTrainsAndReloadsTheModel)
{
    EngineTestWorld world(At(0, 21), false);
    WriteHistory(30);
    world.CreateEngine();
    ChargeInTheDark();
    SleepDetectionTestPeer peer(world.Engine());
    Emulator::LogCapture capture;

    world.Unlock();
    world.RunUntil(At(0, 21, 3) - 1);
    EXPECT_FALSE(peer.IsReadyForTrain());
    world.RunUntil(At(0, 21, 3));
    EXPECT_TRUE(peer.IsReadyForTrain());
    EXPECT_TRUE(capture.HasText("get ready for train long standby model"));
    // The first unlock after boot loaded the (still empty) model 10 s after the unlock.
    EXPECT_TRUE(capture.HasText("this is try load long standby model by first unlock state after device reboot."));

    world.RunUntil(At(0, 21, 10));
    world.ScreenOff();
    world.RunUntil(At(0, 21, 15) - 1);
    EXPECT_TRUE(world.Strategy().MessagesWithId(2001).empty());
    world.RunUntil(At(0, 21, 15) + 1000);

    ASSERT_EQ(world.Strategy().MessagesWithId(2001).size(), 1U);
    EXPECT_EQ(SleepDetection::GetLiveTrainingThreadCount(), 0);
    EXPECT_FALSE(peer.IsTraining());
    EXPECT_FALSE(peer.IsReadyForTrain());
    EXPECT_EQ(peer.LastTrainTime(), At(0, 21, 15) + 1);
    EXPECT_EQ(peer.LoadModelResult(), 0);
    EXPECT_TRUE(capture.HasText("load model successful"));
    const AAFwk::Want result = world.Strategy().MessagesWithId(2001)[0].want.value_or(AAFwk::Want());
    EXPECT_FLOAT_EQ(peer.NotiProbWeekday(), result.GetFloatParam("notiProbWeekday", -1));
    EXPECT_EQ(peer.ThreeSigmaTimestampWeekday(), result.GetLongParam("weekdayThreeSigmaTimestamp", -1));
    EXPECT_EQ(SleepSharedPref::GetInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKEND, -1),
        result.GetLongParam("weekendThreeSigmaTimestamp", -2));

    // The statistics of the stored history went out as system events.
    EXPECT_FALSE(Emulator::ReadSysEvents("SLEEP_KEY_FEATURE").empty());
    EXPECT_EQ(Emulator::ReadSysEvents("SLEEP_KEY_FEATURE").size(), Emulator::ReadSysEvents("SLEEP_KEY_INFO").size());
    EXPECT_FALSE(Emulator::ReadSysEvents("SLEEP_DURATION").empty());
    std::vector<Emulator::SysEventRecord> parameters = Emulator::ReadSysEvents("SLEEP_PARAMETERS");
    ASSERT_EQ(parameters.size(), 1U);
    EXPECT_EQ(parameters[0].params["SLEEP_PROBABILITY"].size(), 288U);
    EXPECT_EQ(parameters[0].params["SLEEP_AMBIENT_PROBA"].size(), 101U);
}

TEST_F(SleepDetectionTrainTest, NoTrainingWithoutReadinessChargerOrDarkness)
{
    EngineTestWorld world(At(0, 21));
    ChargeInTheDark();
    Emulator::SimulatedPhone::GetInstance().SetChargingStatus(0);
    world.Unlock();
    world.RunUntil(At(0, 21, 5));
    EXPECT_FALSE(SleepDetectionTestPeer(world.Engine()).IsReadyForTrain());
    Emulator::SimulatedPhone::GetInstance().SetChargingStatus(1);
    world.ScreenOff();
    world.RunUntil(At(0, 21, 30));
    EXPECT_TRUE(world.Strategy().MessagesWithId(2001).empty());

    // Ready, but the screen came on again before the check: the check is disarmed by the unlock.
    SleepDetectionTestPeer(world.Engine()).IsReadyForTrain() = true;
    world.ScreenOff();
    world.RunUntil(At(0, 21, 33));
    world.ScreenOn();
    world.Unlock();
    world.RunUntil(At(0, 21, 40));
    EXPECT_TRUE(world.Strategy().MessagesWithId(2001).empty());
}

TEST_F(SleepDetectionTrainTest, ASecondTrainingIsRefusedWhileTheFirstRuns)
{
    EngineTestWorld world(At(0, 21), false);
    WriteHistory(10);
    world.CreateEngine();
    SleepDetectionTestPeer peer(world.Engine());
    peer.ScreenStates().push_back({world.Now(), 0});
    Emulator::LogCapture capture;

    world.Engine().SleepModelTrainTest();
    EXPECT_TRUE(peer.IsTraining());
    EXPECT_TRUE(peer.ScreenStates().empty());
    peer.ScreenStates().push_back({world.Now(), 1});
    world.Engine().ExecuteTrain();
    EXPECT_TRUE(capture.HasText("training, can not create new train task"));
    // The refused call still saved the buffers.
    EXPECT_TRUE(peer.ScreenStates().empty());
    EXPECT_LE(SleepDetection::GetLiveTrainingThreadCount(), 1);

    SleepDetection::WaitForTrainingThreads();
    world.Handler().RunUntilIdle();
    EXPECT_EQ(world.Strategy().MessagesWithId(2001).size(), 1U);
    EXPECT_FALSE(peer.IsTraining());
    world.Engine().ExecuteTrain();
    SleepDetection::WaitForTrainingThreads();
    world.Handler().RunUntilIdle();
    EXPECT_EQ(world.Strategy().MessagesWithId(2001).size(), 2U);
}

// ---- Determinism: one night with a training, run twice in fresh processes, gives the same output ----

std::string DumpTable(sqlite3* db, const std::string& table)
{
    std::ostringstream out;
    out << "table " << table << "\n";
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, ("SELECT * FROM " + table + " ORDER BY id").c_str(), -1, &statement, nullptr) !=
        SQLITE_OK) {
        return out.str() + "unreadable\n";
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
        for (int column = 0; column < sqlite3_column_count(statement); ++column) {
            const unsigned char* text = sqlite3_column_text(statement, column);
            out << (text == nullptr ? "NULL" : reinterpret_cast<const char*>(text)) << "|";
        }
        out << "\n";
    }
    sqlite3_finalize(statement);
    return out.str();
}

std::string DumpDatabases(const std::string& root)
{
    std::ostringstream out;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.path().filename() != "sleep.db") {
            continue;
        }
        sqlite3* db = nullptr;
        if (sqlite3_open_v2(entry.path().c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
            for (const std::string& table : {ScreenStateRecord::TABLE_NAME, SleepDurationRecord::TABLE_NAME,
                     SleepEnvironment::TABLE_NAME, SleepNotificationRecord::TABLE_NAME, SleepProbability::TABLE_NAME,
                     SleepAmbientProbability::TABLE_NAME, SleepParameter::TABLE_NAME}) {
                out << DumpTable(db, table);
            }
        }
        sqlite3_close(db);
    }
    return out.str();
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

// The night the determinism test runs: history, an unlock on the charger, screen off at 23:00, a
// training at 23:05 while the loop keeps sampling, sleep until the morning.
TEST_F(SleepDetectionTrainTest, DeterministicNightChild)
{
    const char* output = std::getenv(kNightOutputVariable);
    if (output == nullptr) {
        GTEST_SKIP() << "runs only as the child of DeterministicNightRunsTwiceAlike";
    }
    EngineTestWorld world(At(0, 22, 30), false);
    WriteHistory(20);
    world.CreateEngine();
    ChargeInTheDark();
    world.Unlock();
    world.RunUntil(At(0, 23));
    world.ScreenOff();
    Emulator::SimulatedPhone::GetInstance().SetMotionState(Emulator::MotionState::STILL);
    world.RunUntil(At(1, 7));
    world.Engine().SaveDataToDatabase();
    SleepDatabaseManager::GetInstance()->OnUserSwitched();

    std::ofstream out(output);
    for (const EngineTestStrategy::Received& item : world.Strategy().ReceivedMessages()) {
        out << item.timeMs << " " << item.message.eventId << " " << item.message.action << " "
            << (item.message.want.has_value() ? item.message.want->ToJson() : "-") << "\n";
    }
    out << DumpDatabases(Emulator::GetDataRoot());
    out << ReadFile(Emulator::MapPhonePath(SleepSharedPref::SLEEP_SHARED_PREF_PATH));
    out << ReadFile(Emulator::SysEventFilePath());
    ASSERT_EQ(world.Strategy().MessagesWithId(2001).size(), 1U);
}

// Runs the night in a fresh process of this test program, so that no process-wide state is shared.
std::string RunNightInChildProcess(const std::string& outputPath)
{
    std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string command = std::string(kNightOutputVariable) + "=" + outputPath + " '" + self +
                          "' --gtest_filter=SleepDetectionTrainTest.DeterministicNightChild >/dev/null 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return ReadFile(outputPath);
}

TEST_F(SleepDetectionTrainTest, DeterministicNightRunsTwiceAlike)
{
    if (std::getenv(kNightOutputVariable) != nullptr) {
        GTEST_SKIP();
    }
    Emulator::ScopedDataRoot scratch;
    std::string first = RunNightInChildProcess(scratch.Path() + "/first.txt");
    std::string second = RunNightInChildProcess(scratch.Path() + "/second.txt");
    ASSERT_FALSE(first.empty());
    EXPECT_NE(first.find(" 2001 "), std::string::npos);
    EXPECT_NE(first.find("table sleep_probability"), std::string::npos);
    EXPECT_EQ(first, second);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
