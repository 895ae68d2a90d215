#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
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
constexpr int64_t kDayMs = 86400000;
constexpr int64_t kWednesdayMs = 1736899200000; // 2025-01-15 00:00 UTC
constexpr char kNightOutputVariable[] = "SLEEP_ENGINE_NIGHT_OUTPUT";

int64_t At(int32_t dayOffset, int32_t hour, int32_t minute = 0)
{
    return kWednesdayMs + dayOffset * kDayMs + hour * 60 * kMinuteMs + minute * kMinuteMs;
}

void WriteHistory(int32_t nights)
{
    Emulator::HistorySize size;
    size.nights = nights;
    ASSERT_TRUE(Emulator::SleepHistoryBuilder(Emulator::SleepHabit(), 7).Write(kWednesdayMs, size));
}

// A world at `startMs` whose database holds `nights` of history, the phone on the charger in a dark room.
void PrepareChargingNight(EngineTestWorld& world, int32_t nights)
{
    if (nights > 0) {
        WriteHistory(nights);
    }
    world.CreateEngine();
    Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
    phone.SetChargingStatus(1);
    phone.SetBatteryLevel(80);
    phone.SetAmbientLightLux(0.0F);
    phone.SetProximityDistance(5.0F);
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

class SleepDetectionTrainTest : public testing::Test {
protected:
    Emulator::ScopedTimeZone zone_{"UTC0"};
};

TEST_F(SleepDetectionTrainTest, NeedsADaySinceTheLastTrainingBatteryAndCharger)
{
    // since the last training, battery, charging status, may train
    const std::vector<std::tuple<int64_t, int32_t, int32_t, bool>> cases{{kDayMs, 80, 1, false},
        {kDayMs + 1, 80, 1, true}, {2 * kDayMs, 30, 1, false}, {2 * kDayMs, 31, 1, true}, {2 * kDayMs, 100, 3, true},
        {2 * kDayMs, 80, 0, false}};
    EngineTestWorld world(At(0, 22));
    for (const auto& [sinceLastTrain, battery, charging, expected] : cases) {
        Emulator::SimulatedPhone::GetInstance().SetBatteryLevel(battery);
        Emulator::SimulatedPhone::GetInstance().SetChargingStatus(charging);
        SleepDetectionTestPeer(world.Engine()).LastTrainTime() = world.Now() - sinceLastTrain;
        EXPECT_EQ(world.Engine().IsMeetTrainCondition(), expected)
            << sinceLastTrain << " " << battery << " " << charging;
    }
}

// Unlock on the charger, then screen off: the readiness check 3 minutes after the unlock and the
// training check 5 minutes after the screen-off start the training; its end reloads the model.
TEST_F(SleepDetectionTrainTest, UnlockThenScreenOffOnTheChargerTrainsAndReloadsTheModel)
{
    EngineTestWorld world(At(0, 21), false);
    PrepareChargingNight(world, 30);
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
    EXPECT_FALSE(peer.IsTraining() || peer.IsReadyForTrain());
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

TEST_F(SleepDetectionTrainTest, NoTrainingWithoutReadinessOrChargerOrWhenTheUnlockDisarmedTheCheck)
{
    EngineTestWorld world(At(0, 21), false);
    PrepareChargingNight(world, 0);
    Emulator::SimulatedPhone::GetInstance().SetChargingStatus(0);
    world.Unlock();
    world.RunUntil(At(0, 21, 5));
    EXPECT_FALSE(SleepDetectionTestPeer(world.Engine()).IsReadyForTrain());
    Emulator::SimulatedPhone::GetInstance().SetChargingStatus(1);
    world.ScreenOff();
    world.RunUntil(At(0, 21, 30));
    EXPECT_TRUE(world.Strategy().MessagesWithId(2001).empty());

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
    EXPECT_TRUE(peer.ScreenStates().empty()); // the refused call still saved the buffers
    EXPECT_LE(SleepDetection::GetLiveTrainingThreadCount(), 1);
    for (size_t trainings : {1U, 2U}) {
        if (trainings == 2U) {
            world.Engine().ExecuteTrain();
        }
        SleepDetection::WaitForTrainingThreads();
        world.Handler().RunUntilIdle();
        EXPECT_EQ(world.Strategy().MessagesWithId(2001).size(), trainings);
        EXPECT_FALSE(peer.IsTraining());
    }
}

// The night the determinism test runs: history, an unlock on the charger, screen off at 23:00, a
// training at 23:05 while the loop keeps sampling, sleep until the morning. Writes every message
// and every file of the data root (database, preferences, system events) to the output file.
TEST_F(SleepDetectionTrainTest, DeterministicNightChild)
{
    const char* output = std::getenv(kNightOutputVariable);
    if (output == nullptr) {
        GTEST_SKIP() << "runs only as the child of DeterministicNightRunsTwiceAlike";
    }
    EngineTestWorld world(At(0, 22, 30), false);
    PrepareChargingNight(world, 20);
    world.Unlock();
    world.RunUntil(At(0, 23));
    world.ScreenOff();
    Emulator::SimulatedPhone::GetInstance().SetMotionState(Emulator::MotionState::STILL);
    world.RunUntil(At(1, 7));
    world.Engine().SaveDataToDatabase();
    SleepDatabaseManager::GetInstance()->OnUserSwitched();
    ASSERT_EQ(world.Strategy().MessagesWithId(2001).size(), 1U);

    std::ofstream out(output, std::ios::binary);
    for (const EngineTestStrategy::Received& item : world.Strategy().ReceivedMessages()) {
        out << item.timeMs << " " << item.message.eventId << " " << item.message.action << " "
            << (item.message.want.has_value() ? item.message.want->ToJson() : "-") << "\n";
    }
    const std::filesystem::path root = Emulator::GetDataRoot();
    std::set<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) {
            files.insert(std::filesystem::relative(entry.path(), root));
        }
    }
    for (const std::filesystem::path& file : files) {
        out << "file " << file.string() << "\n" << ReadFile((root / file).string());
    }
}

// Runs the night twice, each in a fresh process of this test program so that no process-wide state is shared.
TEST_F(SleepDetectionTrainTest, DeterministicNightRunsTwiceAlike)
{
    if (std::getenv(kNightOutputVariable) != nullptr) {
        GTEST_SKIP();
    }
    Emulator::ScopedDataRoot scratch;
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    std::vector<std::string> outputs;
    for (const char* name : {"/first.txt", "/second.txt"}) {
        const std::string path = scratch.Path() + name;
        const std::string command = std::string(kNightOutputVariable) + "=" + path + " '" + self +
                                    "' --gtest_filter=SleepDetectionTrainTest.DeterministicNightChild >/dev/null 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        outputs.push_back(ReadFile(path));
    }
    EXPECT_NE(outputs[0].find(" 2001 "), std::string::npos);
    EXPECT_NE(outputs[0].find("sleep.db"), std::string::npos);
    EXPECT_EQ(outputs[0], outputs[1]);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
