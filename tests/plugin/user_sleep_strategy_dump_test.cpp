#include "strategy_test_fixture.h"

namespace OHOS::DevStandbyMgr {
namespace {

const std::string kHeader = "\n\n=================UserSleepStrategy=========================\n";

// name, dump words, answer
using DumpCase = std::tuple<const char*, std::vector<std::string>, std::string>;
class DumpAnswerTest : public StrategyTest, public ::testing::WithParamInterface<DumpCase> {};

TEST_P(DumpAnswerTest, AnswersExactly)
{
    Start();
    EXPECT_EQ(Dump(std::get<1>(GetParam())), std::get<2>(GetParam()));
}

std::vector<std::string> TestWords(std::vector<std::string> rest)
{
    std::vector<std::string> words = {"-S", "--strategy", "-RT"};
    words.insert(words.end(), rest.begin(), rest.end());
    return words;
}

INSTANTIATE_TEST_SUITE_P(Commands, DumpAnswerTest,
    ::testing::Values(DumpCase{"Detail", {"-D", "--strategy"}, kHeader},
        DumpCase{"DetailWithMoreWords", {"-D", "--strategy", "--Sleep", "into"}, kHeader}, DumpCase{"Empty", {}, ""},
        DumpCase{"DetailAlone", {"-D"}, ""}, DumpCase{"OtherStrategyWord", {"-D", "--other"}, ""},
        DumpCase{"SimulateWithoutRT", {"-S", "--strategy", "--Sleep", "into"}, ""},
        DumpCase{"LowerCaseRT", {"-S", "--strategy", "-rt", "--Sleep", "into"}, ""},
        DumpCase{"TestWithoutCommand", TestWords({}), kHeader + "invalid args\n"},
        DumpCase{"TestWithoutArgument", TestWords({"--Sleep"}), kHeader + "invalid args\n"},
        DumpCase{"SleepInto", TestWords({"--Sleep", "into"}), kHeader + "start slp\n"},
        DumpCase{"SleepExit", TestWords({"--Sleep", "exit"}), kHeader + "stop slp\n"},
        DumpCase{"SleepOther", TestWords({"--Sleep", "out"}), kHeader},
        DumpCase{"LowerCaseCommand", TestWords({"--sleep", "into"}), kHeader},
        DumpCase{"SetModeOn", TestWords({"--SetMode", "1"}), kHeader + "Set InSleepTestMode true\n"},
        DumpCase{"SetModeOff", TestWords({"--SetMode", "0"}), kHeader + "Set InSleepTestMode false\n"},
        DumpCase{"SetModeOther", TestWords({"--SetMode", "2"}), kHeader},
        DumpCase{"PredictAuto", TestWords({"--Predict", "auto"}), kHeader + "auto collect to predict\n"},
        DumpCase{"PredictManualWithoutData", TestWords({"--Predict", "manual"}), kHeader + "invalid args\n"},
        DumpCase{"PredictManual", TestWords({"--Predict", "manual", "1/2/3"}),
            kHeader + "manual input sleep data to predict\n"},
        DumpCase{"PredictOther", TestWords({"--Predict", "now"}), kHeader},
        DumpCase{"Unknown", TestWords({"--Bogus", "x"}), kHeader}),
    [](const auto& info) { return std::string(std::get<0>(info.param)); });

TEST_F(StrategyTest, DumpSleepIntoAndExitDriveTheDeepSleepState)
{
    StartNight();
    SleepDump("into");
    EXPECT_EQ(published_, (Events{{kDeepAction, true, -1}, {kNotCareAction, true, -1}}));
    SleepDump("exit");
    EXPECT_EQ(published_.size(), 4u);
    EXPECT_TRUE(log_.HasText("stop user deep slp because of hidumper command"));
    EXPECT_EQ(PowerStates().back(), (std::pair<int32_t, int32_t>{100, -10}));
}

TEST_F(StrategyTest, DumpSetModeSwitchesTheEngineTestMode)
{
    StartNight(); // the test mode is on
    handler_->FastForwardBy(60000);
    EXPECT_FALSE(log_.Contains("predict result"));
    Dump(TestWords({"--SetMode", "0"}));
    ScreenOn();
    handler_->FastForwardBy(11 * 60000); // outside the spacing of the first screen-off
    ScreenOff();
    handler_->FastForwardBy(60000);
    EXPECT_TRUE(log_.Contains("predict result"));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
