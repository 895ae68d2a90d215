// The report page a run writes from the timeline lines it read while writing them equals the page
// rebuilt afterwards from the folder's files, also when a clock set back or a time-zone change
// reorders or reinterprets the timeline.
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "data_root.h"
#include "report_html.h"
#include "scenario.h"
#include "sim_driver.h"
#include "test_files.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;

struct DigestCase {
    const char* name;
    const char* faults; // the scenario's "faults" list
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

class ReportDigestTest : public testing::TestWithParam<DigestCase> {};

TEST_P(ReportDigestTest, PageWrittenByTheRunEqualsThePageRebuiltFromItsFiles)
{
    Scenario scenario = DefaultScenario();
    std::string error;
    ASSERT_TRUE(ParseScenario(std::string(R"({"days": 9, "faults": )") + GetParam().faults + "}", scenario, error))
        << error;
    Emulator::ScopedDataRoot folder;
    const std::string outDir = folder.Path() + "/run";
    ASSERT_TRUE(RunInChild(scenario, outDir));
    const std::string written = ReadFile(outDir + "/" + REPORT_FILE);
    ASSERT_TRUE(WriteReport(outDir, error)) << error;
    EXPECT_FALSE(written.empty());
    EXPECT_EQ(written, ReadFile(outDir + "/" + REPORT_FILE));
}

INSTANTIATE_TEST_SUITE_P(Runs, ReportDigestTest,
    testing::Values(DigestCase{"Plain", "[]"},
        DigestCase{"ClockSetBack", R"([{"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": -60}])"},
        DigestCase{
            "TimeZoneChange", R"([{"at": "2026-01-09 14:00", "kind": "time_zone", "zone": "America/New_York"}])"}),
    [](const testing::TestParamInfo<DigestCase>& info) { return std::string(info.param.name); });

} // namespace
} // namespace OHOS::Sim
