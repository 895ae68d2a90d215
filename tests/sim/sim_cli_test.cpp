// The sleepsim command line: bad arguments are refused with the reason before anything runs, and
// counts and shards that are accepted reach the run as given.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "sim_cli.h"

namespace OHOS::Sim {
namespace {

struct BadCommandLine {
    std::vector<std::string> args;
    std::string message; // must appear in the error
};

TEST(CommandLineTest, BadArgumentsExitWithTwoAndSayWhy)
{
    std::vector<BadCommandLine> cases = {
        {{"--frobnicate"}, "not expected: --frobnicate"},
        {{"a.json", "b.json"}, "not expected: b.json"},
        {{"--out"}, "--out: 1 required"},
        {{"--seed", "abc"}, "field 'seed'"},
        {{"--days", "0"}, "field 'days'"},
        {{"dump"}, "'dump' needs at least one word"},
        {{"--scenario", "/nonexistent/scenario.json"}, "cannot read the scenario file"},
        {{"--builtin", "five-states"}, "no built-in scenario 'five-states' (known: four-states"},
        {{"--person", "p001"}, "expected population:pNNN, FILE.csv:NAME or FILE.json:NAME"},
        {{"--person", "population:p0"}, "no person 'p0' in population"},
        {{"--person", "/nonexistent/nights.csv:INS-W_004"}, "cannot read the schedule file"},
        {{"--population", "0"}, "--population: '0': expected a whole number of at least 1"},
        {{"--population", "3", "--jobs", "0"}, "--jobs: '0': expected a whole number of at least 1"},
        {{"--population", "3", "--shard", "4/3"}, "--shard: '4/3': expected K/N"},
        {{"--population", "3", "--population-file", "p.json"}, "--population excludes --population-file"},
        {{"--population-file", "p.json", "--persons-from", "n.csv"}, "--population-file excludes --persons-from"},
        {{"--jobs", "2"}, "need a population"},
        {{"--shard", "1/2"}, "need a population"},
        {{"--population", "3", "dump", "-D"}, "single run only"},
        // The commands take their own arguments and nothing else.
        {{"merge", "shard-1"}, "sleepsim merge: --out is required"},
        {{"merge", "--out", "all"}, "sleepsim merge: SHARD_DIR is required"},
        {{"merge", "--out", "all", "--jobs", "2", "s"}, "not expected: --jobs"},
        {{"--days", "3", "merge", "--out", "all", "s"}, "'merge' takes only its own arguments"},
        {{"report"}, "sleepsim report: DIR is required"},
        {{"report", "run", "extra"}, "sleepsim report: The following argument was not expected: extra"},
        {{"replay"}, "sleepsim replay: TRACE.jsonl is required"},
        {{"replay", "--no-sync"}, "sleepsim replay: TRACE.jsonl is required"},
        {{"replay", "t.jsonl", "--seed", "3"}, "replay takes the scenario from the trace"},
        {{"replay", "t.jsonl", "--population", "2"}, "replay takes the scenario from the trace"},
        {{"--population", "2", "--keep", "some"}, "--keep: 'some': expected lean or all"},
        {{"--keep", "all"}, "--shard, --jobs and --keep need a population"},
        {{"--variant", "bogus"}, "unknown variant 'bogus': expected not-care-charge, quick-resume, learned-window or all"},
        {{"--population", "2", "--variants-only"}, "--variants-only needs at least one --variant"},
        {{"--variants-only", "--variant", "all"}, "--variants-only needs a population"},
        {{"restore"}, "sleepsim restore: DIR is required"},
        {{"--days", "3", "restore", "dir"}, "'restore' takes only its own arguments"},
        {{"restore", "/nonexistent/p001"}, "cannot read the trace file '/nonexistent/p001/trace.jsonl'"},
    };
    // Counts are plain digits, at least 1 and at most nine digits; shards K/N with 1 <= K <= N.
    for (const std::string count : {"-3", "+3", "0x10", "2.5", " 2", "1000000000"}) {
        cases.push_back({{"--population", "3", "--jobs", count}, "'" + count + "': expected a whole number"});
    }
    for (const std::string shard : {"0/3", "1/0", "3", "/3", "1/", "1/3/4", "a/3", "1/+3"}) {
        cases.push_back({{"--population", "3", "--shard", shard}, "'" + shard + "': expected K/N"});
    }
    for (const BadCommandLine& c : cases) {
        SCOPED_TRACE(c.message);
        std::ostringstream out, err;
        EXPECT_EQ(RunSleepsimCli(c.args, out, err), EXIT_BAD_INPUT);
        EXPECT_NE(err.str().find(c.message), std::string::npos) << err.str();
        EXPECT_EQ(out.str(), "");
    }
}

// A population whose shard holds nobody runs nothing, but says which shard and job count it took.
TEST(CommandLineTest, AcceptedCountsAndShardsReachTheRun)
{
    struct Case {
        std::vector<std::string> args;
        std::string announced;
    };
    const Case cases[] = {
        {{"--population", "3", "--shard", "4/4"}, "3 persons, shard 4/4, 1 at once"},
        {{"--population", "2", "--shard", "7/9", "--jobs", "12"}, "2 persons, shard 7/9, 12 at once"},
        {{"--population=1", "--jobs=007", "--shard=2/2"}, "1 persons, shard 2/2, 7 at once"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.announced);
        Emulator::ScopedDataRoot folder;
        std::vector<std::string> args = c.args;
        args.insert(args.end(), {"--days", "1", "-q", "--out", folder.Path() + "/pop"});
        std::ostringstream out, err;
        EXPECT_EQ(RunSleepsimCli(args, out, err), EXIT_RUN_OK) << err.str();
        EXPECT_NE(out.str().find("sleepsim: " + c.announced + ", output in"), std::string::npos) << out.str();
    }
}

// Help is asked for anywhere on the line, also of a command, and answers on the ordinary output.
TEST(CommandLineTest, HelpNamesEveryOptionAndCommand)
{
    std::ostringstream help, err;
    ASSERT_EQ(RunSleepsimCli({"--days", "3", "--help"}, help, err), EXIT_RUN_OK);
    for (const char* word : {"--scenario FILE", "--out DIR", "--builtin NAME", "--person SOURCE:NAME", "--seed N",
             "--days N", "--print-scenario", "--quiet", "--no-sync", "--population N", "--population-file FILE",
             "--persons-from CSV", "--shard K/N", "--jobs N", "replay TRACE.jsonl", "merge --out DIR SHARD_DIR...",
             "report DIR", "restore DIR", "--keep WHAT", "--compress", "--variant NAME", "--variants-only", "dump WORDS...", "Exit codes:", "Built-in scenarios", "Scenario fields"}) {
        EXPECT_NE(help.str().find(word), std::string::npos) << word;
    }
    std::ostringstream mergeHelp;
    ASSERT_EQ(RunSleepsimCli({"merge", "--help"}, mergeHelp, err), EXIT_RUN_OK);
    EXPECT_NE(mergeHelp.str().find("Usage: sleepsim merge"), std::string::npos) << mergeHelp.str();
    EXPECT_EQ(err.str(), "");
}

} // namespace
} // namespace OHOS::Sim
