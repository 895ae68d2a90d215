#include <gtest/gtest.h>

#include <string>
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

constexpr int64_t kNowMs = 1736899200000;

std::vector<std::string> KeysOf(const Emulator::SysEventRecord& event)
{
    std::vector<std::string> keys;
    for (const auto& item : event.params.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

SleepEnvironment MakeEnvironment(int64_t timestamp)
{
    SleepEnvironment env;
    env.timestamp = timestamp;
    env.screenOffDuration = 10800;
    env.userStationaryDuration = 10800;
    env.chargeState = 1;
    env.light = 0.01;
    env.lightDarkDuration = 4000;
    env.proximity = 0.02;
    env.nextClock = timestamp + 3600000;
    env.bayesResult = 95;
    env.baselineResult = 1;
    env.isTimeOk = 1;
    env.wakeupTime = timestamp + 7200000;
    return env;
}

class SleepReporterTest : public testing::Test {
protected:
    void SetUp() override
    {
        Emulator::SetSysEventWriteFails(false);
        Emulator::ResetSysEventRateLimit();
    }
    void TearDown() override
    {
        Emulator::SetSysEventWriteFails(false);
        Emulator::ResetSysEventRateLimit();
    }

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
    EXPECT_EQ(KeysOf(feature),
        (std::vector<std::string>{"RECORD_TIMESTAMP", "BAYES_RESULT", "BASELINE_RESULT", "WAKEUP_TIEMSTAMP",
            "SCREEN_OFF_DURATION", "LIGHT_DARK_DURATION", "USER_STATIONARY_DURATION", "LUX", "DISTANCE",
            "SLEEP_DB_VERSION", "CHARGE_STATE", "IS_TIME_OK", "NEXT_CLOCK"}));
    EXPECT_EQ(feature.params["RECORD_TIMESTAMP"].get<int64_t>(), kNowMs);
    EXPECT_EQ(feature.params["WAKEUP_TIEMSTAMP"].get<int64_t>(), kNowMs + 7200000);
    EXPECT_EQ(feature.params["LIGHT_DARK_DURATION"].get<int32_t>(), 4000);
    EXPECT_TRUE(feature.params["LUX"].is_number_float());
    EXPECT_DOUBLE_EQ(feature.params["DISTANCE"].get<double>(), 0.02);
    EXPECT_EQ(feature.params["SLEEP_DB_VERSION"].get<int32_t>(), 1);
    EXPECT_EQ(feature.params["NEXT_CLOCK"].get<int64_t>(), kNowMs + 3600000);

    std::vector<Emulator::SysEventRecord> infos = Emulator::ReadSysEvents("SLEEP_KEY_INFO");
    ASSERT_EQ(infos.size(), 2U);
    EXPECT_EQ(KeysOf(infos[0]), (std::vector<std::string>{"BAYES_RESULT", "BASELINE_RESULT", "IS_STATIONARY_OK",
                                    "IS_LUX_OK", "IS_SCREEN_OFF_OK", "IS_TIME_OK"}));
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
    EXPECT_EQ(
        KeysOf(events[0]), (std::vector<std::string>{"DATE_INDEX", "BEGIN_TIMESTAMP", "END_TIMESTAMP", "WEEK_DAY"}));
    EXPECT_EQ(events[0].params["BEGIN_TIMESTAMP"].get<int64_t>(), kNowMs - 28800000);

    EXPECT_EQ(events[1].name, "SLEEP_PARAMETERS");
    EXPECT_EQ(events[1].type, 2);
    EXPECT_EQ(
        KeysOf(events[1]), (std::vector<std::string>{"HANDLED_TIMESTAMP", "HANDLED_DATE_INDEX", "SLEEP_HOME_PROBA",
                               "UNSLEEP_HOME_PROBA", "SLEEP_CHARGE_PROBA", "UNSLEEP_CHARGE_PROBA", "SLEEP_PROBABILITY",
                               "SLEEP_PROBABILITY_WEEKEND", "SLEEP_AMBIENT_PROBA", "UNSLEEP_AMBIENT_PROBA"}));
    EXPECT_EQ(events[1].params["SLEEP_PROBABILITY"].get<std::vector<double>>(), (std::vector<double>{0.0, 0.1, 0.2}));
    EXPECT_EQ(
        events[1].params["SLEEP_PROBABILITY_WEEKEND"].get<std::vector<double>>(), (std::vector<double>{0.0, 0.2, 0.4}));
    EXPECT_EQ(events[1].params["SLEEP_AMBIENT_PROBA"].get<std::vector<double>>(), (std::vector<double>{0.0, 3.5}));
    EXPECT_EQ(events[1].params["UNSLEEP_AMBIENT_PROBA"].get<std::vector<double>>(), (std::vector<double>{0.0, 7.25}));
    EXPECT_DOUBLE_EQ(events[1].params["SLEEP_HOME_PROBA"].get<double>(), 0.25);

    EXPECT_EQ(events[2].name, "POWER_BRAIN_STATE");
    EXPECT_EQ(events[2].type, 4);
    EXPECT_EQ(KeysOf(events[2]), (std::vector<std::string>{"TYPE", "VALUE", "TIME"}));
    EXPECT_EQ(events[2].params["VALUE"].get<int32_t>(), -6);
    EXPECT_EQ(events[2].params["TIME"].get<int64_t>(), kNowMs);
}

struct FailureCase {
    const char* name;
    bool writeFails;
    int32_t limit;
};

class SleepReporterFailureTest : public SleepReporterTest, public testing::WithParamInterface<FailureCase> {};

// A refused or rate-limited write is logged with the writer's name; the next record still goes out.
TEST_P(SleepReporterFailureTest, LogsEachDroppedEventAndGoesOn)
{
    const FailureCase& failure = GetParam();
    Emulator::SetSysEventWriteFails(failure.writeFails);
    Emulator::SetSysEventRateLimit(1000, failure.limit);
    Emulator::LogCapture capture;

    SleepReporter::ReportSleepEnvironment({MakeEnvironment(kNowMs - 1), MakeEnvironment(kNowMs)});
    SleepReporter::WritePowerBrainStateHiSysEvent(1001, 5, kNowMs);

    size_t expectedWritten = failure.writeFails ? 0U : static_cast<size_t>(failure.limit);
    EXPECT_EQ(Emulator::ReadSysEvents("SLEEP_KEY_FEATURE").size(), expectedWritten);
    size_t statisticFailures = 0;
    size_t behaviorFailures = 0;
    for (const std::string& text : capture.Texts()) {
        statisticFailures += text == "Write event fail: WriteStatisticEvent" ? 1 : 0;
        behaviorFailures += text == "Write event fail: WriteBehaviorEvent" ? 1 : 0;
    }
    EXPECT_EQ(statisticFailures, 2U - expectedWritten);
    EXPECT_EQ(behaviorFailures, (failure.writeFails || failure.limit == 0) ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(Failures, SleepReporterFailureTest,
    testing::Values(FailureCase{"Refused", true, 10}, FailureCase{"LimitedAfterOne", false, 1},
        FailureCase{"LimitedAll", false, 0}),
    [](const testing::TestParamInfo<FailureCase>& info) { return std::string(info.param.name); });

TEST_F(SleepReporterTest, EmptyInputsWriteNothing)
{
    SleepReporter::ReportSleepEnvironment({});
    SleepReporter::ReportQuantifySleepData({});
    SleepReporter::ReportSleepDuration({});
    EXPECT_TRUE(Emulator::ReadSysEvents().empty());
}

} // namespace
} // namespace OHOS::DevStandbyMgr
