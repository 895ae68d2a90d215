// The streamed timeline: whatever the order lines arrive in, the file holds them exactly as the
// fully sorted timeline would, and only the kept lines stay in memory.
#include <cmath>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "local_calendar.h"
#include "sim_random.h"
#include "test_files.h"
#include "timeline.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;

// One step of a run as the driver drives a timeline: a line added, or the clock passing a time.
struct Step {
    bool flush = false;
    int64_t timeMs = 0;
    std::string type;
};

std::string Joined(const std::vector<TimelineLine>& lines)
{
    std::string text;
    for (const TimelineLine& line : lines) {
        text += line.dump() + "\n";
    }
    return text;
}

// A run of `count` lines around a clock that moves forward, adds lines ahead of itself (truth
// markers), writes system events at its own time and, with `setBack`, is set back once.
std::vector<Step> RandomRun(uint64_t seed, int32_t count, bool setBack)
{
    SimRandom random(seed);
    const std::vector<std::string> types = {
        TIMELINE_HOST_MESSAGE, TIMELINE_SYSTEM_EVENT, TIMELINE_TRUTH, TIMELINE_COMMON_EVENT};
    std::vector<Step> steps;
    int64_t now = 1000;
    for (int32_t i = 0; i < count; ++i) {
        const std::string& type = types[static_cast<size_t>(random.UniformInt(0, 3))];
        const int64_t ahead = type == TIMELINE_TRUTH ? random.UniformInt(0, 50) : 0;
        steps.push_back({false, now + ahead, type});
        if (random.Chance(0.3)) {
            now += random.UniformInt(0, 3);
            steps.push_back({true, now, ""});
        }
        if (setBack && i == count / 2) {
            now -= 40; // the wall clock is set back: lines for times already written follow
        }
    }
    return steps;
}

class TimelineStreamTest : public testing::TestWithParam<std::pair<uint64_t, bool>> {
protected:
    void SetUp() override { SetProcessTimeZone("UTC0"); }
    Emulator::ScopedDataRoot folder_;
};

TEST_P(TimelineStreamTest, StreamedFileEqualsTheSortedTimelineAndHoldsNoWrittenLine)
{
    const auto [seed, setBack] = GetParam();
    const std::string path = folder_.Path() + "/timeline.jsonl";
    Timeline streamed;
    ASSERT_TRUE(streamed.StreamTo(path));
    std::vector<TimelineLine> written;
    streamed.ObserveWrittenLines([&written](const TimelineLine& line) { written.push_back(line); });
    Timeline held;
    int32_t number = 0;
    for (const Step& step : RandomRun(seed, 400, setBack)) {
        if (step.flush) {
            streamed.FlushBefore(step.timeMs);
            continue;
        }
        // Every other line of the streamed timeline comes as text; the held one builds them all.
        if (number % 2 == 1) {
            streamed.AddWritten(step.timeMs, step.type, ",\"n\":" + std::to_string(number), {{"n", number}});
        } else {
            streamed.Add(step.timeMs, step.type, {{"n", number}});
        }
        held.Add(step.timeMs, step.type, {{"n", number}});
        ++number;
    }
    ASSERT_TRUE(streamed.FinishStream());
    const std::vector<TimelineLine> sorted = held.Lines();
    EXPECT_EQ(ReadFile(path), Joined(sorted));
    // Only a clock set back makes late lines, and only then does the file differ from what was
    // seen being written.
    EXPECT_EQ(streamed.WrittenInOrder(), !setBack);
    EXPECT_EQ(ReadFile(path) == Joined(written), !setBack);
    EXPECT_TRUE(streamed.Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(Runs, TimelineStreamTest,
    testing::Values(std::make_pair(1ULL, false), std::make_pair(2ULL, false), std::make_pair(3ULL, true),
        std::make_pair(4ULL, true)));

TEST(TimelineOrderTest, SystemEventsFollowTheOtherLinesOfTheirTime)
{
    SetProcessTimeZone("UTC0");
    Timeline timeline;
    timeline.Add(5, TIMELINE_SYSTEM_EVENT, {{"n", 1}});
    timeline.Add(5, TIMELINE_HOST_MESSAGE, {{"n", 2}});
    timeline.Add(4, TIMELINE_SYSTEM_EVENT, {{"n", 3}});
    timeline.Add(5, TIMELINE_COMMON_EVENT, {{"n", 4}});
    std::vector<int32_t> order;
    for (const TimelineLine& line : timeline.Lines()) {
        order.push_back(line["n"].get<int32_t>());
    }
    EXPECT_EQ(order, (std::vector<int32_t>{3, 2, 4, 1}));
}

// A line added as text reads back whole from a held timeline, and its observers see only the
// fields given for them.
TEST(TimelineOrderTest, ALineAddedAsTextIsWholeInTheFileAndObservedAsGiven)
{
    SetProcessTimeZone("UTC0");
    const std::string fields = R"(,"id":7,"want":{"action":"a","params":{"x":1.5}})";
    Timeline held;
    held.AddWritten(5, TIMELINE_HOST_MESSAGE, fields, {{"id", 7}});
    ASSERT_EQ(held.Lines().size(), 1u);
    EXPECT_EQ(held.Lines()[0].dump(),
        R"({"t":5,"time":"1970-01-01 00:00:00.005","type":"host_message","id":7,"want":{"action":"a","params":{"x":1.5}}})");
    Emulator::ScopedDataRoot folder;
    Timeline streamed;
    ASSERT_TRUE(streamed.StreamTo(folder.Path() + "/timeline.jsonl"));
    std::vector<TimelineLine> seen;
    streamed.ObserveWrittenLines([&seen](const TimelineLine& line) { seen.push_back(line); });
    streamed.AddWritten(5, TIMELINE_HOST_MESSAGE, fields, {{"id", 7}});
    ASSERT_TRUE(streamed.FinishStream());
    EXPECT_EQ(ReadFile(folder.Path() + "/timeline.jsonl"), held.Lines()[0].dump() + "\n");
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].dump(), R"({"t":5,"time":"1970-01-01 00:00:00.005","type":"host_message","id":7})");
    EXPECT_EQ(TimelineObject({{"z", 1}, {"a", "x"}, {"m", nullptr}}).dump(), R"({"z":1,"a":"x","m":null})");
}

TEST(TimelineOrderTest, AStreamThatCannotBeCreatedIsReported)
{
    Emulator::ScopedDataRoot folder;
    Timeline timeline;
    EXPECT_FALSE(timeline.StreamTo(folder.Path() + "/missing/timeline.jsonl"));
}

} // namespace
} // namespace OHOS::Sim

namespace OHOS::Sim {
namespace {

struct WantCase {
    const char* name;
    AAFwk::Want want;
};

AAFwk::Want MakeWant(const std::string& action, const std::vector<std::pair<std::string, AAFwk::Want::Value>>& params)
{
    AAFwk::Want want;
    want.SetAction(action);
    for (const auto& [key, value] : params) {
        std::visit([&want, &key = key](const auto& typed) { want.SetParam(key, typed); }, value);
    }
    return want;
}

class WantTimelineJsonTest : public testing::TestWithParam<WantCase> {};

// Built directly or through the text, a Want must give the same JSON, down to the kind of number
// (what the timeline's readers and metrics look at).
TEST_P(WantTimelineJsonTest, EqualsTheWantsJsonTextParsedBack)
{
    const AAFwk::Want& want = GetParam().want;
    const TimelineLine built = WantTimelineJson(want);
    const TimelineLine parsed = TimelineLine::parse(want.ToJson());
    EXPECT_EQ(built.dump(), parsed.dump());
    std::string text;
    AppendWantText(want, text);
    EXPECT_EQ(text, parsed.dump());
    ASSERT_TRUE(built["params"].is_object());
    for (const auto& [key, value] : parsed["params"].items()) {
        EXPECT_EQ(built["params"][key].type(), value.type()) << key;
    }
}

INSTANTIATE_TEST_SUITE_P(Wants, WantTimelineJsonTest,
    testing::Values(WantCase{"NoParameters", MakeWant("usual.event.SCREEN_ON", {})},
        WantCase{
            "Numbers", MakeWant("a", {{"zero", int32_t{0}}, {"negative", int32_t{-7}}, {"long", int64_t{1767610800000}},
                                         {"minLong", INT64_MIN}, {"float", 0.1f}, {"double", 2.5e-7}, {"whole", 3.0}})},
        WantCase{"NotFinite", MakeWant("a", {{"nan", std::nan("")}, {"inf", HUGE_VALF}})},
        WantCase{"TextsAndFlags", MakeWant("b", {{"isSleep", true}, {"name", std::string("com.example.mail")},
                                                    {"quote", std::string("say \"hi\"\n")}, {"off", false}})},
        WantCase{"NotAscii", MakeWant("c", {{"app", std::string("Caf\xc3\xa9")}, {"bad", std::string("x\xff")}})}),
    [](const testing::TestParamInfo<WantCase>& info) { return std::string(info.param.name); });

} // namespace
} // namespace OHOS::Sim
