#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "data_root.h"
#include "hilog.h"
#include "hisysevent.h"
#include "sleep_reporter.h"
#include "virtual_clock.h"
#include "write_controller.h"

namespace OHOS::DevStandbyMgr {
namespace {

namespace Emulator = OHOS::Emulator;
using Keys = std::vector<std::string>;

constexpr int64_t kNowMs = 1736899200000;

Keys KeysOf(const Emulator::SysEventRecord& event)
{
    Keys keys;
    for (const auto& item : event.params.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

SleepEnvironment MakeEnvironment(int64_t timestamp)
{
    SleepEnvironment env;
    env.timestamp = timestamp;
    env.screenOffDuration = env.userStationaryDuration = 10800;
    env.chargeState = 1;
    env.light = 0.01;
    env.lightDarkDuration = 4000;
    env.proximity = 0.02;
    env.nextClock = timestamp + 3600000;
    env.bayesResult = 95;
    env.baselineResult = env.isTimeOk = 1;
    env.wakeupTime = timestamp + 7200000;
    return env;
}

void ResetSysEvents()
{
    Emulator::SetSysEventWriteFails(false);
    Emulator::ResetSysEventRateLimit();
    Emulator::ClearSysEvents();
}

class SleepReporterTest : public testing::Test {
protected:
    void SetUp() override { ResetSysEvents(); }
    void TearDown() override { ResetSysEvents(); }

    Emulator::ScopedDataRoot root_;
    Emulator::ScopedVirtualClock clock_{kNowMs};
};

TEST_F(SleepReporterTest, KeyFeatureAndKeyInfoCarryEveryKeyInOrderWithTheirTypes)
{
    std::vector<SleepEnvironment> environments{MakeEnvironment(kNowMs - 600000), MakeEnvironment(kNowMs)};
    SleepReporter::ReportSleepEnvironment(environments);
    SleepReporter::ReportQuantifySleepData(environments);

    std::vector<Emulator::SysEventRecord> features = Emulator::ReadSysEvents("SLEEP_KEY_FEATURE");
    ASSERT_EQ(features.size(), 2U);
    const Emulator::SysEventRecord& feature = features[1];
    EXPECT_EQ(feature.domain, "RSS");
    EXPECT_EQ(feature.type, 2);
    EXPECT_EQ(KeysOf(feature), (Keys{"RECORD_TIMESTAMP", "BAYES_RESULT", "BASELINE_RESULT", "WAKEUP_TIEMSTAMP",
                                   "SCREEN_OFF_DURATION", "LIGHT_DARK_DURATION", "USER_STATIONARY_DURATION", "LUX",
                                   "DISTANCE", "SLEEP_DB_VERSION", "CHARGE_STATE", "IS_TIME_OK", "NEXT_CLOCK"}));
    EXPECT_EQ(feature.params["RECORD_TIMESTAMP"].get<int64_t>(), kNowMs);
    EXPECT_EQ(feature.params["WAKEUP_TIEMSTAMP"].get<int64_t>(), kNowMs + 7200000);
    EXPECT_EQ(feature.params["LIGHT_DARK_DURATION"].get<int32_t>(), 4000);
    EXPECT_TRUE(feature.params["LUX"].is_number_float());
    EXPECT_DOUBLE_EQ(feature.params["DISTANCE"].get<double>(), 0.02);
    EXPECT_EQ(feature.params["SLEEP_DB_VERSION"].get<int32_t>(), 1);
    EXPECT_EQ(feature.params["NEXT_CLOCK"].get<int64_t>(), kNowMs + 3600000);

    std::vector<Emulator::SysEventRecord> infos = Emulator::ReadSysEvents("SLEEP_KEY_INFO");
    ASSERT_EQ(infos.size(), 2U);
    EXPECT_EQ(KeysOf(infos[0]),
        (Keys{"BAYES_RESULT", "BASELINE_RESULT", "IS_STATIONARY_OK", "IS_LUX_OK", "IS_SCREEN_OFF_OK", "IS_TIME_OK"}));
    // 10800 s still is bucket 6, 10800 s screen off bucket 3; 0.01 lux at a far proximity bucket 2.
    EXPECT_EQ(infos[0].params["IS_STATIONARY_OK"].get<int32_t>(), 6);
    EXPECT_EQ(infos[0].params["IS_SCREEN_OFF_OK"].get<int32_t>(), 3);
    EXPECT_EQ(infos[0].params["IS_LUX_OK"].get<int32_t>(), 2);
    EXPECT_EQ(infos[0].params["BASELINE_RESULT"].get<int32_t>(), 1);
}

TEST_F(SleepReporterTest, DurationsParametersAndPowerState)
{
    SleepDurationRecord duration;
    duration.dateIndex = 12;
    duration.beginTime = kNowMs - 28800000;
    duration.endTime = kNowMs;
    duration.weekDay = 3;
    SleepReporter::ReportSleepDuration({duration});
    SleepParameter parameter;
    parameter.handledTimestamp = kNowMs;
    parameter.handledDateIndex = 12;
    parameter.sleepHomeProba = 0.25;
    std::vector<SleepProbability> probabilities(3);
    for (int32_t i = 0; i < 3; ++i) {
        probabilities[i].timeIndex = i;
        probabilities[i].probability = 0.1 * i;
        probabilities[i].probabilityWeekend = 0.2 * i;
    }
    std::vector<SleepAmbientProbability> ambient(2);
    ambient[1].sleepAmbient = 3.5;
    ambient[1].unsleepAmbient = 7.25;
    SleepReporter::ReportSleepParameters(parameter, probabilities, ambient);
    SleepReporter::WritePowerBrainStateHiSysEvent(100, -6, kNowMs);

    std::vector<Emulator::SysEventRecord> events = Emulator::ReadSysEvents();
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].name, "SLEEP_DURATION");
    EXPECT_EQ(KeysOf(events[0]), (Keys{"DATE_INDEX", "BEGIN_TIMESTAMP", "END_TIMESTAMP", "WEEK_DAY"}));
    EXPECT_EQ(events[0].params["BEGIN_TIMESTAMP"].get<int64_t>(), kNowMs - 28800000);

    EXPECT_EQ(std::tie(events[1].name, events[1].type), std::make_tuple(std::string("SLEEP_PARAMETERS"), 2));
    EXPECT_EQ(
        KeysOf(events[1]), (Keys{"HANDLED_TIMESTAMP", "HANDLED_DATE_INDEX", "SLEEP_HOME_PROBA", "UNSLEEP_HOME_PROBA",
                               "SLEEP_CHARGE_PROBA", "UNSLEEP_CHARGE_PROBA", "SLEEP_PROBABILITY",
                               "SLEEP_PROBABILITY_WEEKEND", "SLEEP_AMBIENT_PROBA", "UNSLEEP_AMBIENT_PROBA"}));
    const std::vector<std::pair<std::string, std::vector<double>>> lists{{"SLEEP_PROBABILITY", {0.0, 0.1, 0.2}},
        {"SLEEP_PROBABILITY_WEEKEND", {0.0, 0.2, 0.4}}, {"SLEEP_AMBIENT_PROBA", {0.0, 3.5}},
        {"UNSLEEP_AMBIENT_PROBA", {0.0, 7.25}}};
    for (const auto& [key, values] : lists) {
        EXPECT_EQ(events[1].params[key].get<std::vector<double>>(), values) << key;
    }
    EXPECT_DOUBLE_EQ(events[1].params["SLEEP_HOME_PROBA"].get<double>(), 0.25);

    EXPECT_EQ(std::tie(events[2].name, events[2].type), std::make_tuple(std::string("POWER_BRAIN_STATE"), 4));
    EXPECT_EQ(KeysOf(events[2]), (Keys{"TYPE", "VALUE", "TIME"}));
    EXPECT_EQ(events[2].params["VALUE"].get<int32_t>(), -6);
    EXPECT_EQ(events[2].params["TIME"].get<int64_t>(), kNowMs);
}

// A refused or rate-limited write is logged with the writer's name; the next record still goes out.
TEST_F(SleepReporterTest, LogsEachDroppedEventAndGoesOn)
{
    // write refused, events allowed per window
    for (const auto& [refused, limit] : {std::pair{true, 10}, {false, 1}, {false, 0}}) {
        ResetSysEvents();
        Emulator::SetSysEventWriteFails(refused);
        Emulator::SetSysEventRateLimit(1000, limit);
        Emulator::LogCapture capture;
        SleepReporter::ReportSleepEnvironment({MakeEnvironment(kNowMs - 1), MakeEnvironment(kNowMs)});
        SleepReporter::WritePowerBrainStateHiSysEvent(1001, 5, kNowMs);

        const size_t written = refused ? 0U : static_cast<size_t>(limit);
        EXPECT_EQ(Emulator::ReadSysEvents("SLEEP_KEY_FEATURE").size(), written) << refused << limit;
        size_t statisticFailures = 0;
        size_t behaviorFailures = 0;
        for (const std::string& text : capture.Texts()) {
            statisticFailures += text == "Write event fail: WriteStatisticEvent" ? 1 : 0;
            behaviorFailures += text == "Write event fail: WriteBehaviorEvent" ? 1 : 0;
        }
        EXPECT_EQ(statisticFailures, 2U - written);
        EXPECT_EQ(behaviorFailures, (refused || limit == 0) ? 1U : 0U);
    }
}

TEST_F(SleepReporterTest, EmptyInputsWriteNothing)
{
    SleepReporter::ReportSleepEnvironment({});
    SleepReporter::ReportQuantifySleepData({});
    SleepReporter::ReportSleepDuration({});
    EXPECT_TRUE(Emulator::ReadSysEvents().empty());
}

} // namespace
} // namespace OHOS::DevStandbyMgr
