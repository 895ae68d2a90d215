// Lean population folders: they score and draw the population exactly as folders that keep every
// file, the command on a person's page brings back every file of --keep all, a compressed trace
// replays to the bytes of the plain one, and a damaged compressed trace is named before anything runs.
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "compressed_file.h"
#include "data_root.h"
#include "fault_week.h"
#include "kept_outputs.h"
#include "report_html.h"
#include "sim_cli.h"
#include "sim_driver.h"
#include "test_files.h"

namespace OHOS::Sim {
namespace {

using Emulator::ExpectSameTrees;
using Emulator::ReadFile;
using Emulator::ReadTree;

const std::vector<std::string> kPersons = {"p001", "p002"};

int RunCli(const std::vector<std::string>& args, std::string* errText = nullptr)
{
    std::ostringstream out, err;
    const int code = RunSleepsimCli(args, out, err);
    if (errText != nullptr) {
        *errText = err.str();
    }
    return code;
}

// The CLI in a child process, for commands that run one simulation in this process.
int RunCliInChild(const std::vector<std::string>& args)
{
    const std::string ending = RunInChild("", [&args] { return RunCli(args); }).ending;
    return ending == "exit 0" ? EXIT_RUN_OK : ending == "exit 2" ? EXIT_BAD_INPUT : EXIT_RUN_FAILED;
}

std::vector<std::string> FileNames(const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& [name, bytes] : ReadTree(folder)) {
        names.push_back(name);
    }
    return names;
}

// Two persons of eight days, run lean (the default) and with --keep all.
class KeptOutputsTest : public testing::Test {
protected:
    void SetUp() override
    {
        for (const auto& [folder, keep] : {std::pair{lean_, "lean"}, std::pair{all_, "all"}}) {
            ASSERT_EQ(RunCli({"--population", "2", "--days", "8", "--jobs", "2", "-q", "--keep", keep, "--out", folder}),
                EXIT_RUN_OK);
        }
    }

    std::string Person(const std::string& population, const std::string& name) const
    {
        return population + "/" + PERSONS_DIR + "/" + name;
    }

    Emulator::ScopedDataRoot scratch_;
    const std::string lean_ = scratch_.Path() + "/lean";
    const std::string all_ = scratch_.Path() + "/all";
};

TEST_F(KeptOutputsTest, LeanFoldersScoreAndDrawThePopulationAsKeepAllDoes)
{
    for (const std::string& name : {METRICS_FILE, SUMMARY_FILE, POPULATION_FILE, REPORT_FILE}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(ReadFile(lean_ + "/" + name), ReadFile(all_ + "/" + name));
    }
    const std::vector<std::string> leanFiles = {METRICS_FILE, REPORT_FILE, SCENARIO_FILE, SUMMARY_FILE,
        TRACE_FILE + GZIP_SUFFIX};
    for (const std::string& person : kPersons) {
        SCOPED_TRACE(person);
        EXPECT_EQ(FileNames(Person(lean_, person)), leanFiles);
        for (const std::string& name : {METRICS_FILE, SUMMARY_FILE, SCENARIO_FILE}) {
            EXPECT_EQ(ReadFile(Person(lean_, person) + "/" + name), ReadFile(Person(all_, person) + "/" + name));
        }
    }
    // The pages are rebuilt from what the lean folder holds; the persons' pages stay as their runs drew them.
    const auto before = ReadTree(lean_);
    std::string err;
    ASSERT_EQ(RunCli({"report", lean_}, &err), EXIT_RUN_OK) << err;
    EXPECT_TRUE(ReadTree(lean_) == before);
    ASSERT_EQ(RunCli({"report", Person(lean_, "p001")}, &err), EXIT_BAD_INPUT);
    EXPECT_NE(err.find("sleepsim restore " + Person(lean_, "p001")), std::string::npos) << err;
}

TEST_F(KeptOutputsTest, TheCommandOnAPersonsPageBringsBackEveryFileOfKeepAll)
{
    const std::regex command("<code>sleepsim (restore) ([^<]+)</code>");
    for (const std::string& person : kPersons) {
        SCOPED_TRACE(person);
        const std::string page = ReadFile(Person(lean_, person) + "/" + REPORT_FILE);
        std::smatch shown;
        ASSERT_TRUE(std::regex_search(page, shown, command));
        EXPECT_EQ(shown[2].str(), Person(lean_, person));
        ASSERT_EQ(RunCli({shown[1].str(), shown[2].str()}), EXIT_RUN_OK);
        ExpectSameTrees(Person(all_, person), Person(lean_, person));
    }
}

TEST_F(KeptOutputsTest, ACompressedTraceReplaysToTheBytesOfThePlainOne)
{
    const std::string original = Person(all_, "p002");
    const std::string compressedTrace = Person(lean_, "p002") + "/" + TRACE_FILE + GZIP_SUFFIX;
    struct Case {
        std::string trace;
        std::vector<std::string> extra;
    };
    const Case cases[] = {{original + "/" + TRACE_FILE, {}}, {compressedTrace, {}}, {compressedTrace, {"--compress"}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.trace + (c.extra.empty() ? "" : " --compress"));
        const std::string out = Person(scratch_.Path() + "/replayed", "p002"); // its page links to its population
        std::vector<std::string> args = {"replay", c.trace, "-q", "--no-sync", "--out", out};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        ASSERT_EQ(RunCliInChild(args), EXIT_RUN_OK);
        for (const std::string& name : {TRACE_FILE, TIMELINE_FILE}) {
            const std::string path = out + "/" + name;
            if (!c.extra.empty()) {
                ASSERT_EQ(StoredFormOf(path), path + GZIP_SUFFIX);
                InputFile in(path + GZIP_SUFFIX);
                std::ostringstream text;
                text << in.rdbuf();
                EXPECT_TRUE(text.str() == ReadFile(original + "/" + name)) << "differs from the plain " << name;
                std::filesystem::remove(path + GZIP_SUFFIX);
                std::filesystem::copy_file(original + "/" + name, path);
            }
        }
        ExpectSameTrees(original, out);
    }
}

TEST_F(KeptOutputsTest, ADamagedCompressedTraceIsNamedAndNothingRuns)
{
    const std::string folder = Person(lean_, "p001");
    const std::string trace = folder + "/" + TRACE_FILE + GZIP_SUFFIX;
    const std::string packed = ReadFile(trace);
    std::string corrupt = packed;
    corrupt[corrupt.size() / 2] = static_cast<char>(corrupt[corrupt.size() / 2] ^ 0x55);
    const std::pair<std::string, const char*> damages[] = {
        {packed.substr(0, packed.size() * 2 / 3), "is truncated"}, {corrupt, "is corrupt"}};
    for (const auto& [bytes, damage] : damages) {
        SCOPED_TRACE(damage);
        std::ofstream(trace, std::ios::binary | std::ios::trunc) << bytes;
        const auto before = ReadTree(folder);
        const std::string replayOut = scratch_.Path() + "/replayed";
        const std::vector<std::string> commands[] = {{"restore", folder}, {"replay", trace, "--out", replayOut}};
        for (const std::vector<std::string>& command : commands) {
            SCOPED_TRACE(command[0]);
            std::string err;
            EXPECT_EQ(RunCli(command, &err), EXIT_BAD_INPUT);
            EXPECT_NE(err.find("'" + trace + "' " + damage), std::string::npos) << err;
        }
        EXPECT_TRUE(ReadTree(folder) == before);
        EXPECT_FALSE(std::filesystem::exists(replayOut));
    }
}

} // namespace
} // namespace OHOS::Sim
