// Writing a trace and reading it back: a replay reproduces the run that wrote the trace byte for
// byte, every event kind survives the round trip, and a bad line is named by its number.
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "fault_week.h"
#include "local_calendar.h"
#include "scenario.h"
#include "sim_cli.h"
#include "sim_driver.h"
#include "test_files.h"
#include "trace_generator.h"
#include "trace_reader.h"
#include "trace_writer.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;
using Emulator::ExpectSameTrees;

// Eight days with a clock set back an hour mid-night: the trace's event times then step back.
Scenario ShortScenario()
{
    Scenario scenario = DefaultScenario();
    scenario.days = 8;
    scenario.seed = 5;
    std::string error;
    EXPECT_TRUE(ParseScenario(
        R"({"faults": [{"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": -60}]})", scenario, error))
        << error;
    return scenario;
}

SimOptions OptionsFor(const std::string& outDir, bool noSync)
{
    SimOptions options;
    options.outDir = outDir;
    options.endDumpWords = {"-D", "--strategy"};
    options.noSync = noSync;
    return options;
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

class TraceReaderTest : public testing::Test {
protected:
    void SetUp() override { SetProcessTimeZone(ShortScenario().timeZone); }

    // A trace file for ShortScenario with line `number` (1-based) replaced by `text`.
    std::string TraceWithLine(size_t number, const std::string& text)
    {
        const Scenario scenario = ShortScenario();
        SetProcessTimeZone(scenario.timeZone);
        const std::string path = folder_.Path() + "/trace.jsonl";
        EXPECT_TRUE(WriteTraceFile(path, scenario, GenerateTrace(scenario)));
        std::vector<std::string> lines = SplitLines(ReadFile(path));
        lines.at(number - 1) = text;
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        for (const std::string& line : lines) {
            out << line << '\n';
        }
        return path;
    }

    Emulator::ScopedDataRoot folder_;
};

TEST_F(TraceReaderTest, ReplayingTheTraceReproducesEveryOutputAndSkippingDiskSyncsChangesNone)
{
    const std::string first = folder_.Path() + "/first";
    const std::string unsynced = folder_.Path() + "/unsynced";
    const std::string replayed = folder_.Path() + "/replayed";
    const auto succeeds = [](const std::function<bool()>& run) {
        return RunInChild("", [&run] { return run() ? 0 : 1; }).ending == "exit 0";
    };
    ASSERT_TRUE(succeeds([&] { return RunSimulation(ShortScenario(), OptionsFor(first, false)).ok; }));
    ASSERT_TRUE(succeeds([&] { return RunSimulation(ShortScenario(), OptionsFor(unsynced, true)).ok; }));
    ASSERT_TRUE(succeeds([&] {
        Scenario scenario;
        Trace trace;
        std::string error;
        return ParseTraceFile(first + "/" + TRACE_FILE, scenario, trace, error) &&
               RunTrace(scenario, trace, OptionsFor(replayed, false)).ok;
    }));
    ExpectSameTrees(first, replayed);
    ExpectSameTrees(first, unsynced);
}

TEST_F(TraceReaderTest, EveryEventKindAndItsValuesSurviveTheRoundTrip)
{
    Scenario scenario = ShortScenario();
    Trace written;
    written.startMs = 1000;
    written.endMs = 1000 + kMsPerDay;
    for (int32_t value = 0; std::string(TraceKindName(static_cast<TraceKind>(value))) != "unknown"; ++value) {
        written.events.push_back(
            {written.startMs + value * kMsPerMinute, static_cast<TraceKind>(value), 12.5, 4, "com.example.app"});
    }
    // The night daylight saving starts.
    const NightTruth night{CivilDate{2026, 3, 29}, true, 2000, 3000, 4000, 9000, 8500, {{5000, 6000}, {7000, 8000}}};
    written.nights.push_back(night);
    const std::string path = folder_.Path() + "/kinds.jsonl";
    ASSERT_TRUE(WriteTraceFile(path, scenario, written));

    Scenario readScenario;
    Trace read;
    std::string error;
    ASSERT_TRUE(ParseTraceFile(path, readScenario, read, error)) << error;
    EXPECT_EQ(ScenarioToJson(readScenario), ScenarioToJson(scenario));
    EXPECT_EQ(std::make_pair(read.startMs, read.endMs), std::make_pair(written.startMs, written.endMs));
    ASSERT_EQ(read.events.size(), written.events.size());
    for (size_t i = 0; i < read.events.size(); ++i) {
        // Reading back and writing again gives the same line: nothing the line carries is lost.
        EXPECT_EQ(TraceEventToJson(read.events[i]), TraceEventToJson(written.events[i]));
    }
    ASSERT_EQ(read.nights.size(), 1U);
    EXPECT_EQ(NightTruthToJson(read.nights[0]), NightTruthToJson(night));
}

TEST_F(TraceReaderTest, ABadLineIsNamedByItsNumberAndNothingIsRead)
{
    struct Case {
        size_t line;
        std::string text, why;
    };
    const std::vector<Case> cases = {
        {1, R"({"night":"2026-01-06"})", "line 1: the first line must be the trace header"},
        {1, R"({"trace":2,"startMs":0,"endMs":1,"scenario":{}})", "line 1: unsupported trace format 2"},
        {1, R"({"trace":1,"startMs":5,"endMs":1,"scenario":{}})", "line 1: \"endMs\" is before \"startMs\""},
        {1, R"({"trace":1,"startMs":0,"endMs":1,"scenario":{"days":-3}})", "line 1: scenario: "},
        {2, "not json", "line 2: not a JSON object"},
        {2, R"({"night":"2026-02-30","weekend":false})", "line 2: \"night\" must be a date"},
        {3, R"({"night":"2026-01-07","weekend":false})",
            "line 3: \"ms\" (the night's instants in epoch ms) is missing"},
        {4, R"({"night":"2026-01-08","weekend":false,"ms":{"bed":1,"phoneDown":2,"onset":3,"wake":4,"alarm":-1,"awakenings":[[1]]}})",
            "line 4: \"ms.awakenings\" must be a list"},
        {20, R"({"t":1767650000000,"kind":"teleport"})", "line 20: unknown event kind \"teleport\""},
        {21, R"({"t":1,"kind":"screen_on"})", "line 21: \"t\" 1 is out of order"},
        {22, R"({"t":"soon","kind":"screen_on"})", "line 22: \"t\" must be an integer"},
        {23, R"({"what":"else"})", "line 23: neither a night (\"night\") nor an event (\"kind\")"},
        {24, R"({"night":"2026-01-06","weekend":false})", "line 24: a night after the events"}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.text);
        const std::string path = TraceWithLine(test.line, test.text);
        Scenario scenario = DefaultScenario();
        scenario.seed = 99;
        Trace trace;
        trace.startMs = 42;
        std::string error;
        EXPECT_FALSE(ParseTraceFile(path, scenario, trace, error));
        EXPECT_NE(error.find(path + " " + test.why), std::string::npos) << error;
        EXPECT_EQ(scenario.seed, 99U);
        EXPECT_EQ(trace.startMs, 42);
        EXPECT_TRUE(trace.events.empty());
    }
}

TEST_F(TraceReaderTest, ReplayCommandLinesThatCannotRunAreRefusedWithTheReason)
{
    const std::string badTrace = TraceWithLine(2, "[]");
    const std::string empty = folder_.Path() + "/empty.jsonl";
    std::ofstream(empty).close();
    struct Case {
        std::vector<std::string> args;
        std::string message;
    };
    const std::vector<Case> cases = {{{"replay", badTrace, "--no-sync"}, badTrace + " line 2: not a JSON object"},
        {{"replay", folder_.Path() + "/none.jsonl"}, "cannot read the trace file"}, {{"replay", empty}, "is empty"}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.args.size() > 1 ? test.args[1] : test.args[0]);
        std::ostringstream out, err;
        EXPECT_EQ(RunSleepsimCli(test.args, out, err), EXIT_BAD_INPUT);
        EXPECT_NE(err.str().find(test.message), std::string::npos) << err.str();
    }
}

} // namespace
} // namespace OHOS::Sim
