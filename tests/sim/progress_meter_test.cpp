// The progress of long runs: what one progress text says, and when the meter shows it.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "progress_meter.h"

namespace OHOS::Sim {
namespace {

using Clock = ProgressMeter::Clock;
using std::chrono::milliseconds;

TEST(ProgressMeterTest, FormatsSingleRunsPopulationsAndBars)
{
    struct Case {
        ProgressState state;
        double rate;
        bool bar;
        std::string expected;
    };
    const Case cases[] = {{{0, 0, 12, 366}, 40.4, false, "night 12 of 366, 40 nights/s"},
        {{3, 10, 45, 300}, 52.6, false, "person 3 of 10, night 45 of 300, 53 nights/s"},
        {{0, 0, 0, 8}, 0, true, "[                        ] night 0 of 8, 0 nights/s"},
        {{0, 0, 4, 8}, 2, true, "[############            ] night 4 of 8, 2 nights/s"},
        {{0, 0, 9, 8}, 2, true, "[########################] night 9 of 8, 2 nights/s"},
        {{1, 1, 0, 0}, 0, true, "[                        ] person 1 of 1, night 0 of 0, 0 nights/s"}};
    for (const Case& c : cases) {
        EXPECT_EQ(FormatProgress(c.state, c.rate, c.bar), c.expected);
    }
}

TEST(ProgressMeterTest, ShowsNothingOnShortRunsOrWithoutStream)
{
    const Clock::time_point start;
    std::ostringstream out;
    ProgressMeter shortRun(&out, true, start);
    shortRun.Update({0, 0, 1, 2}, start + milliseconds(2900));
    shortRun.Finish(start + milliseconds(2950));
    EXPECT_EQ(out.str(), "");

    ProgressMeter silent(nullptr, true, start);
    silent.Update({0, 0, 1, 2}, start + milliseconds(9000));
    silent.Finish(start + milliseconds(9000));
}

TEST(ProgressMeterTest, RedrawsABarEverySecondOnATerminal)
{
    const Clock::time_point start;
    std::ostringstream out;
    ProgressMeter meter(&out, true, start);
    meter.Update({0, 0, 30, 100}, start + milliseconds(3000));
    meter.Update({0, 0, 31, 100}, start + milliseconds(3500)); // too soon
    meter.Update({0, 0, 40, 100}, start + milliseconds(4000));
    meter.Finish(start + milliseconds(5000));
    const std::string text = out.str();
    EXPECT_NE(text.find("\rsleepsim: [#######"), std::string::npos) << text;
    EXPECT_NE(text.find("night 30 of 100, 10 nights/s"), std::string::npos) << text;
    EXPECT_EQ(text.find("night 31 of 100"), std::string::npos) << text;
    EXPECT_NE(text.find("night 40 of 100, 10 nights/s"), std::string::npos) << text;
    EXPECT_NE(text.find("\rsleepsim: done, night 100 of 100, 20 nights/s"), std::string::npos) << text;
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(text.find('\n'), text.size() - 1) << "a bar stays on one line until the end";
}

TEST(ProgressMeterTest, WritesPlainLinesEveryTenSecondsOtherwise)
{
    const Clock::time_point start;
    std::ostringstream out;
    ProgressMeter meter(&out, false, start);
    for (int32_t second = 1; second <= 25; ++second) {
        meter.Update({2, 4, second, 50}, start + milliseconds(second * 1000));
    }
    EXPECT_EQ(out.str(), "sleepsim: person 2 of 4, night 3 of 50, 1 nights/s\n"
                         "sleepsim: person 2 of 4, night 13 of 50, 1 nights/s\n"
                         "sleepsim: person 2 of 4, night 23 of 50, 1 nights/s\n");
}

} // namespace
} // namespace OHOS::Sim
