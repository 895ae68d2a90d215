// The report page and the night reports a run makes from the timeline lines it read while writing
// them equal those rebuilt afterwards from the folder's files, also when a clock set back or a
// time-zone change reorders or reinterprets the timeline.
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "data_root.h"
#include "night_summary.h"
#include "report_html.h"
#include "scenario.h"
#include "sim_driver.h"
#include "test_files.h"
#include "trace_reader.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;

struct DigestCase {
    const char* name;
    const char* faults;    // the scenario's "faults" list
    const char* finalZone; // the time zone in force at the end of the run
};

// Runs the scenario in a child process (the platform's singletons are per process).
bool RunInChild(const Scenario& scenario, const std::string& outDir)
{
    const pid_t child = fork();
    if (child == 0) {
        SimOptions options;
        options.outDir = outDir;
        options.noSync = true;
        _exit(RunSimulation(scenario, options).ok ? 0 : 1);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class ReportDigestTest : public testing::TestWithParam<DigestCase> {
protected:
    void SetUp() override
    {
        Scenario scenario = DefaultScenario();
        std::string error;
        ASSERT_TRUE(ParseScenario(std::string(R"({"days": 9, "faults": )") + GetParam().faults + "}", scenario, error))
            << error;
        outDir_ = folder_.Path() + "/run";
        ASSERT_TRUE(RunInChild(scenario, outDir_));
    }

    Emulator::ScopedDataRoot folder_;
    std::string outDir_;
};

TEST_P(ReportDigestTest, PageWrittenByTheRunEqualsThePageRebuiltFromItsFiles)
{
    const std::string written = ReadFile(outDir_ + "/" + REPORT_FILE);
    std::string error;
    ASSERT_TRUE(WriteRunReport(outDir_, error)) << error;
    EXPECT_FALSE(written.empty());
    EXPECT_EQ(written, ReadFile(outDir_ + "/" + REPORT_FILE));
}

// The run reads its night reports from the timeline as it writes it; they must be what the whole
// file gives at the end, in the time zone then in force.
TEST_P(ReportDigestTest, NightReportsOfTheRunEqualThoseReadFromItsTimelineFile)
{
    Scenario scenario;
    Trace trace;
    std::string error;
    ASSERT_TRUE(ParseTraceFile(outDir_ + "/" + TRACE_FILE, scenario, trace, error)) << error;
    SetProcessTimeZone(GetParam().finalZone);
    std::vector<TimelineLine> lines;
    std::istringstream timeline(ReadFile(outDir_ + "/" + TIMELINE_FILE));
    for (std::string text; std::getline(timeline, text);) {
        lines.push_back(TimelineLine::parse(text));
    }
    const std::string table = FormatSummaryTable(SummariseNights(lines, trace.nights));
    EXPECT_EQ(ReadFile(outDir_ + "/" + SUMMARY_FILE).substr(0, table.size()), table);
}

INSTANTIATE_TEST_SUITE_P(Runs, ReportDigestTest,
    testing::Values(DigestCase{"Plain", "[]", "CET-1CEST,M3.5.0,M10.5.0/3"},
        DigestCase{"ClockSetBack", R"([{"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": -60}])",
            "CET-1CEST,M3.5.0,M10.5.0/3"},
        DigestCase{"TimeZoneChange", R"([{"at": "2026-01-09 14:00", "kind": "time_zone", "zone": "America/New_York"}])",
            "America/New_York"},
        DigestCase{"HalfADayAhead",
            R"([{"at": "2026-01-08 14:00", "kind": "time_zone", "zone": "Pacific/Kiritimati"}])",
            "Pacific/Kiritimati"}),
    [](const testing::TestParamInfo<DigestCase>& info) { return std::string(info.param.name); });

} // namespace
} // namespace OHOS::Sim
