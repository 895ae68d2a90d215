#include "strategy_test_fixture.h"

namespace OHOS::DevStandbyMgr {
namespace {

const std::string kHeader = "\n\n=================UserSleepStrategy=========================\n";

struct DumpCase {
    const char* name;
    std::vector<std::string> words;
    std::string answer;
};

void PrintTo(const DumpCase& dumpCase, std::ostream* out)
{
    *out << dumpCase.name;
}

class DumpAnswerTest : public StrategyTest, public ::testing::WithParamInterface<DumpCase> {};

TEST_P(DumpAnswerTest, AnswersExactly)
{
    Start();
    EXPECT_EQ(Dump(GetParam().words), GetParam().answer);
}

std::vector<std::string> Test(std::vector<std::string> rest)
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
        DumpCase{"TestWithoutCommand", Test({}), kHeader + "invalid args\n"},
        DumpCase{"TestWithoutArgument", Test({"--Sleep"}), kHeader + "invalid args\n"},
        DumpCase{"SleepInto", Test({"--Sleep", "into"}), kHeader + "start slp\n"},
        DumpCase{"SleepExit", Test({"--Sleep", "exit"}), kHeader + "stop slp\n"},
        DumpCase{"SleepOther", Test({"--Sleep", "out"}), kHeader},
        DumpCase{"LowerCaseCommand", Test({"--sleep", "into"}), kHeader},
        DumpCase{"SetModeOn", Test({"--SetMode", "1"}), kHeader + "Set InSleepTestMode true\n"},
        DumpCase{"SetModeOff", Test({"--SetMode", "0"}), kHeader + "Set InSleepTestMode false\n"},
        DumpCase{"SetModeOther", Test({"--SetMode", "2"}), kHeader},
        DumpCase{"PredictAuto", Test({"--Predict", "auto"}), kHeader + "auto collect to predict\n"},
        DumpCase{"PredictManualWithoutData", Test({"--Predict", "manual"}), kHeader + "invalid args\n"},
        DumpCase{
            "PredictManual", Test({"--Predict", "manual", "1/2/3"}), kHeader + "manual input sleep data to predict\n"},
        DumpCase{"PredictOther", Test({"--Predict", "now"}), kHeader},
        DumpCase{"Unknown", Test({"--Bogus", "x"}), kHeader}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, DumpSleepIntoAndExitDriveTheDeepSleepState)
{
    Start();
    ScreenOff();
    Dump({"-S", "--strategy", "-RT", "--Sleep", "into"});
    EXPECT_EQ(published_, (std::vector<Published>{{kDeepAction, true, -1}, {kNotCareAction, true, -1}}));
    Dump({"-S", "--strategy", "-RT", "--Sleep", "exit"});
    EXPECT_EQ(published_.size(), 4u);
    EXPECT_TRUE(log_.HasText("stop user deep slp because of hidumper command"));
    EXPECT_EQ(PowerStates().back(), (std::pair<int32_t, int32_t>{100, -10}));
}

TEST_F(StrategyTest, DumpSetModeSwitchesTheEngineTestMode)
{
    Start(); // switches the test mode on
    ScreenOff();
    handler_->FastForwardBy(60000);
    EXPECT_FALSE(log_.Contains("predict result"));
    Dump({"-S", "--strategy", "-RT", "--SetMode", "0"});
    ScreenOn();
    handler_->FastForwardBy(11 * 60000); // outside the spacing of the first screen-off
    ScreenOff();
    handler_->FastForwardBy(60000);
    EXPECT_TRUE(log_.Contains("predict result"));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
