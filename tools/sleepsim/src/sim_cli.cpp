#include "sim_cli.h"

#include <map>
#include <nlohmann/json.hpp>

#include "builtin_scenarios.h"
#include "population.h"
#include "population_page.h"
#include "population_runner.h"
#include "recorded_schedules.h"
#include "report_html.h"
#include "scenario.h"
#include "sim_driver.h"
#include "trace_reader.h"

namespace OHOS::Sim {

namespace {

// Options of a run of many persons, as given on the command line.
struct PopulationCli {
    std::string count; // --population N
    std::string file;  // --population-file FILE
    std::string csv;   // --persons-from CSV
    std::string shard; // --shard K/N
    std::string jobs;  // --jobs N

    bool Requested() const { return !count.empty() || !file.empty() || !csv.empty(); }
    bool AnyGiven() const { return Requested() || !shard.empty() || !jobs.empty(); }
};

// The population options, each taking a value, and where it goes.
const std::map<std::string, std::string PopulationCli::*> kPopulationOptions = {{"--population", &PopulationCli::count},
    {"--population-file", &PopulationCli::file}, {"--persons-from", &PopulationCli::csv},
    {"--shard", &PopulationCli::shard}, {"--jobs", &PopulationCli::jobs}};

struct CliOptions {
    bool help = false;
    bool printScenario = false;
    bool quiet = false;
    std::string scenarioPath;
    std::string replayPath; // "sleepsim replay TRACE.jsonl": the trace to replay
    std::string builtin;    // --builtin NAME, applied before the scenario file
    std::string personPick; // --person SOURCE:NAME, applied after the scenario file
    // Scenario fields set on the command line, applied after the file.
    nlohmann::ordered_json overrides = nlohmann::ordered_json::object();
    SimOptions run; // output folder and end-of-run dump words
    PopulationCli population;
};

// A command-line value as JSON: numbers and booleans as such, anything else as a string, so that
// the scenario parser judges it and names the field.
nlohmann::ordered_json ValueAsJson(const std::string& text)
{
    const auto parsed = nlohmann::ordered_json::parse(text, nullptr, false);
    return (!parsed.is_discarded() && (parsed.is_number() || parsed.is_boolean())) ? parsed
                                                                                   : nlohmann::ordered_json(text);
}

bool ParseArgs(const std::vector<std::string>& args, CliOptions& options, std::string& error)
{
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "dump") {
            options.run.endDumpWords.assign(args.begin() + static_cast<std::ptrdiff_t>(i) + 1, args.end());
            if (options.run.endDumpWords.empty()) {
                error = "'dump' needs at least one word, e.g. sleepsim dump -D --strategy";
                return false;
            }
            return true;
        }
        if (arg == "--help" || arg == "-h") {
            options.help = true;
            continue;
        }
        if (arg == "--print-scenario") {
            options.printScenario = true;
            continue;
        }
        if (arg == "--quiet" || arg == "-q") {
            options.quiet = true;
            continue;
        }
        if (arg == "--no-sync") {
            options.run.noSync = true;
            continue;
        }
        if (arg == "replay" && options.scenarioPath.empty() && options.replayPath.empty()) {
            if (i + 1 >= args.size() || args[i + 1].empty() || args[i + 1][0] == '-') {
                error = "'replay' needs a trace file, e.g. sleepsim replay sleepsim-out/trace.jsonl";
                return false;
            }
            options.replayPath = args[++i];
            continue;
        }
        if (!arg.empty() && arg[0] != '-' && options.scenarioPath.empty()) {
            options.scenarioPath = arg; // "sleepsim my-person.json"
            continue;
        }
        const bool takesValue = arg == "--scenario" || arg == "-s" || arg == "--out" || arg == "-o" ||
                                arg == "--seed" || arg == "--days" || arg == "--builtin" || arg == "--person" ||
                                kPopulationOptions.count(arg) > 0;
        if (!takesValue) {
            error = "unknown argument '" + arg + "' (see sleepsim --help)";
            return false;
        }
        if (i + 1 >= args.size() || args[i + 1].empty()) {
            error = "option '" + arg + "' needs a value";
            return false;
        }
        const std::string& value = args[++i];
        if (arg == "--scenario" || arg == "-s") {
            options.scenarioPath = value;
        } else if (arg == "--out" || arg == "-o") {
            options.run.outDir = value;
        } else if (arg == "--builtin") {
            options.builtin = value;
        } else if (arg == "--person") {
            options.personPick = value;
        } else if (kPopulationOptions.count(arg) > 0) {
            options.population.*kPopulationOptions.at(arg) = value;
        } else {
            options.overrides[arg.substr(2)] = ValueAsJson(value);
        }
    }
    return true;
}

// A replay takes its scenario from the trace: scenario files and fields do not apply.
bool CheckReplayArgs(const CliOptions& options, std::string& error)
{
    const bool scenarioGiven = !options.scenarioPath.empty() || !options.overrides.empty() ||
                               !options.builtin.empty() || !options.personPick.empty();
    if (!options.replayPath.empty() && (scenarioGiven || options.population.AnyGiven())) {
        error = "replay takes the scenario from the trace; a scenario file, --builtin, --person, --seed, --days "
                "or a population option cannot be given";
        return false;
    }
    return true;
}

// "--person SOURCE:NAME": the person NAME of a generated population ("population"), of a
// population file (.json) or of recorded schedules (.csv), drawn on top of `scenario`.
bool PickPerson(const std::string& pick, Scenario& scenario, std::string& error)
{
    const size_t colon = pick.rfind(':');
    const std::string source = colon == std::string::npos ? "" : pick.substr(0, colon);
    const std::string name = colon == std::string::npos ? "" : pick.substr(colon + 1);
    const auto endsWith = [&source](const std::string& tail) {
        return source.size() >= tail.size() && source.compare(source.size() - tail.size(), tail.size(), tail) == 0;
    };
    std::vector<Scenario> persons;
    if (source == "population") {
        const int32_t index = (name.size() > 1 && name[0] == 'p') ? std::atoi(name.c_str() + 1) : 0;
        persons = GeneratePopulation(scenario, std::max(0, index));
    } else if (endsWith(".csv")) {
        if (!LoadPersonsFromCsv(source, scenario, persons, error)) {
            return false;
        }
    } else if (endsWith(".json")) {
        if (!LoadPopulationFile(source, scenario, persons, error)) {
            return false;
        }
    } else {
        error = "option '--person': expected population:pNNN, FILE.csv:NAME or FILE.json:NAME, got '" + pick + "'";
        return false;
    }
    for (const Scenario& person : persons) {
        if (person.name == name) {
            scenario = person;
            return true;
        }
    }
    error = "option '--person': no person '" + name + "' in " + source;
    return false;
}

bool BuildScenario(const CliOptions& options, Scenario& scenario, std::string& error)
{
    scenario = DefaultScenario();
    if (!options.builtin.empty() && !ApplyBuiltinScenario(options.builtin, scenario, error)) {
        return false;
    }
    if (!options.scenarioPath.empty() && !LoadScenarioFile(options.scenarioPath, scenario, error)) {
        return false;
    }
    if (!options.personPick.empty() && !PickPerson(options.personPick, scenario, error)) {
        return false;
    }
    if (!ParseScenario(options.overrides.dump(), scenario, error)) {
        error = "command line: " + error;
        return false;
    }
    return true;
}

void PrintDumps(const SimResult& result, std::ostream& out)
{
    for (const DumpAnswer& dump : result.dumps) {
        out << "\ndump at " << FormatLocalTime(dump.atMs) << ":";
        for (const std::string& word : dump.words) {
            out << " " << word;
        }
        out << "\n" << (dump.answer.empty() ? "(no answer)\n" : dump.answer);
        if (!dump.answer.empty() && dump.answer.back() != '\n') {
            out << "\n";
        }
    }
}

// The persons of a population run, from the one source the command line named.
bool LoadPersons(
    const PopulationCli& population, const Scenario& base, std::vector<Scenario>& persons, std::string& error)
{
    if (!population.count.empty() + !population.file.empty() + !population.csv.empty() > 1) {
        error = "give only one of --population, --population-file and --persons-from";
        return false;
    }
    if (!population.count.empty()) {
        int32_t count = 0;
        if (!ParsePositiveCount(population.count, count)) {
            error = "--population '" + population.count + "': expected a number of persons of at least 1";
            return false;
        }
        persons = GeneratePopulation(base, count);
        return true;
    }
    if (!population.file.empty()) {
        return LoadPopulationFile(population.file, base, persons, error);
    }
    return LoadPersonsFromCsv(population.csv, base, persons, error);
}

bool BuildPopulationOptions(const CliOptions& options, PopulationOptions& run, std::string& error)
{
    const PopulationCli& population = options.population;
    if (!population.Requested()) {
        error = "--shard and --jobs need a population: --population, --population-file or --persons-from";
        return false;
    }
    if (!options.run.endDumpWords.empty()) {
        error = "'dump' works on a single run only; run the person alone to see its dump";
        return false;
    }
    if (!population.shard.empty() && !ParseShard(population.shard, run.shard, error)) {
        return false;
    }
    if (!population.jobs.empty() && !ParsePositiveCount(population.jobs, run.jobs)) {
        error = "--jobs '" + population.jobs + "': expected a number of processes of at least 1";
        return false;
    }
    run.outDir = options.run.outDir;
    run.run = options.run;
    run.run.noSync = true; // the persons' data folders are not kept for their durability
    return true;
}

int RunPopulationCli(const CliOptions& options, const Scenario& base, std::ostream& out, std::ostream& err)
{
    std::vector<Scenario> persons;
    PopulationOptions run;
    std::string error;
    if (!BuildPopulationOptions(options, run, error) || !LoadPersons(options.population, base, persons, error) ||
        !CheckPersonNames(persons, error)) {
        err << "sleepsim: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    run.progress = options.quiet ? nullptr : &err;
    run.messages = &err;
    out << "sleepsim: " << persons.size() << " persons, shard " << run.shard.index << "/" << run.shard.count << ", "
        << run.jobs << " at once, output in " << run.outDir << "\n";
    const PopulationResult result = RunPopulation(persons, run);
    std::string summary;
    if (!result.ok || !GatherPopulationMetrics(run.outDir, {run.shard, result.persons}, summary, error) ||
        !WriteReport(run.outDir, error)) {
        err << "sleepsim: " << (result.ok ? error : result.error) << "\n";
        return EXIT_RUN_FAILED;
    }
    out << "\n" << summary;
    if (!result.failures.empty()) {
        err << "sleepsim: " << result.failures.size() << " of " << result.persons.size()
            << " persons failed and are left out of the metrics:\n";
        for (const std::string& failure : result.failures) {
            err << "  " << failure << "\n";
        }
        return EXIT_RUN_FAILED;
    }
    return EXIT_RUN_OK;
}

// sleepsim merge --out DIR SHARD_DIR...
int RunMergeCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err)
{
    std::string outDir;
    std::vector<std::string> shardDirs;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--help" || args[i] == "-h") {
            out << SleepsimUsage();
            return EXIT_RUN_OK;
        }
        if (args[i] == "--out" || args[i] == "-o") {
            if (i + 1 >= args.size() || args[i + 1].empty()) {
                err << "sleepsim merge: option '" << args[i] << "' needs a value\n";
                return EXIT_BAD_INPUT;
            }
            outDir = args[++i];
        } else if (!args[i].empty() && args[i][0] == '-') {
            err << "sleepsim merge: unknown argument '" << args[i] << "' (see sleepsim --help)\n";
            return EXIT_BAD_INPUT;
        } else {
            shardDirs.push_back(args[i]);
        }
    }
    if (outDir.empty() || shardDirs.empty()) {
        err << "sleepsim merge: needs --out DIR and the folder of every shard, e.g. sleepsim merge --out all "
               "shard-1 shard-2\n";
        return EXIT_BAD_INPUT;
    }
    std::string summary;
    std::string error;
    if (!MergeShards(shardDirs, outDir, summary, error)) {
        err << "sleepsim merge: " << error << "\n";
        return EXIT_RUN_FAILED;
    }
    out << summary;
    return EXIT_RUN_OK;
}

std::string MetricsHelp()
{
    return "Metrics (metrics.json; summarised at the end of summary.txt, see \"Reading the metrics\" in\n"
           "the README). Each night (noon to noon) is scored against the truth for three rules: plugin\n"
           "(its deep sleep), idle (screen off, charger out and still for 30 + 30 minutes, until screen on,\n"
           "movement or charger) and time_of_day (median bed and wake times of earlier nights, learned\n"
           "from screen use). Top level: version, rules, persons (name, nights, trainings,\n"
           "trainingsPerWeek), nights, summary. A night: person, night, index, weekend, window, sleep,\n"
           "awakeScreenOff, wakeLockMs, trainings, rules.<rule>: asleep (plugin also light, easyWakeup,\n"
           "notCareCharge) as [[beginMs, endMs], ...], announcedWake, missed, onsetLatencyMin,\n"
           "wakeLatencyMin, coverage, falseSleepMin, falseSleepShare (of awake screen-off time\n"
           "21:00-08:00), wakeErrorMin, lightMin, easyWakeupMin, notCareChargeMin (null: does not\n"
           "apply; a missed night has no latency). summary: persons, nights, trainingsPerWeek, and for\n"
           "all, firstWeek, afterFirstWeek: nights, wakeLockSec, rules.<rule>: missed, nightsWith\n"
           "(asleep, light, easyWakeup, notCareCharge), each score as {count, median, p90}.\n";
}

// "sleepsim report DIR": rebuilds the report page(s) of a finished output folder.
int RunReportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err)
{
    if (args.size() != 2 || args[1].empty() || args[1][0] == '-') {
        err << "sleepsim: 'report' needs exactly one output folder, e.g. sleepsim report sleepsim-out\n";
        return EXIT_BAD_INPUT;
    }
    std::string error;
    if (!RebuildReports(args[1], error)) {
        err << "sleepsim: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    out << "sleepsim: wrote " << args[1] << "/" << REPORT_FILE << "\n";
    return EXIT_RUN_OK;
}

} // namespace

std::string SleepsimUsage()
{
    return "Usage: sleepsim [options] [SCENARIO.json] [dump WORDS...]\n"
           "       sleepsim replay TRACE.jsonl [--out DIR] [--no-sync] [-q] [dump WORDS...]\n"
           "       sleepsim [options] (--population N | --population-file FILE | --persons-from CSV)\n"
           "                [--shard K/N] [--jobs N]\n"
           "       sleepsim merge --out DIR SHARD_DIR...\n"
           "       sleepsim report DIR\n"
           "\n"
           "Simulates a person and their phone over days and nights on virtual time and runs the sleep\n"
           "detection plug-in through it. Same scenario and seed give byte-identical outputs.\n"
           "\n"
           "Options:\n"
           "  -s, --scenario FILE  scenario file (JSON; also as the first plain argument); fields left\n"
           "                       out keep the defaults below\n"
           "  -o, --out DIR        output folder (default sleepsim-out): timeline.jsonl, trace.jsonl,\n"
           "                       summary.txt, metrics.json, scenario.json, report.html (a page with a\n"
           "                       picture of every night), sleepsim.log and data/ (database,\n"
           "                       preferences, settings, system events); replaced on each run\n"
           "      --builtin NAME   starts from a built-in scenario instead of the defaults (a scenario\n"
           "                       file and the options below still apply on top); see below\n"
           "      --person SOURCE:NAME\n"
           "                       runs one person: population:p007 (the 7th person of a population\n"
           "                       drawn from the scenario's seed), FILE.json:NAME (a population file:\n"
           "                       a JSON list of scenario objects) or FILE.csv:PID (recorded nights in\n"
           "                       the globem-nights.csv format); --seed and --days still apply on top\n"
           "      --seed N         overrides the scenario's seed\n"
           "      --days N         overrides the scenario's number of days\n"
           "      --print-scenario prints the effective scenario as JSON and exits\n"
           "  -q, --quiet          no progress (a bar on a terminal, a plain line every 10 s otherwise)\n"
           "      --no-sync        writes the SQLite stores and preferences files without syncing them\n"
           "                       to disk (PRAGMA synchronous=OFF, no fsync): same outputs, much\n"
           "                       faster; a crash of the machine may lose the data folder's last writes\n"
           "\n"
           "Populations (the scenario and the options above are the base every person varies):\n"
           "      --population N   N generated persons, drawn from the seed\n"
           "      --population-file FILE  a JSON list of persons, each overriding the base\n"
           "      --persons-from CSV  one person per participant of a recorded-nights file\n"
           "      --shard K/N      runs only the persons whose 0-based index i has i % N == K-1\n"
           "      --jobs N         persons simulated at once (default 1); outputs do not depend on it\n"
           "                       Each person runs in its own process and writes DIR/persons/<name>/\n"
           "                       (a single-run folder); DIR/population.json lists the persons in\n"
           "                       order, DIR/metrics.json and DIR/summary.txt hold all their metrics.\n"
           "                       A failed person is reported and the others go on (exit code 1).\n"
           "  merge --out DIR SHARD_DIR...  combines the folders of all shards of a population into\n"
           "                       DIR/population.json, metrics.json and summary.txt, exactly as one\n"
           "                       unsharded run writes them\n"
           "  -h, --help           this text\n"
           "  dump WORDS...        passes the words to the plug-in's dump command at the end of the run\n"
           "                       and prints its answer, e.g. sleepsim dump -D --strategy\n"
           "  replay TRACE.jsonl   replays the trace.jsonl of an earlier run (its scenario included)\n"
           "                       instead of generating one: the outputs are byte-identical to that\n"
           "                       run's; a bad line is named with its line number and nothing runs\n"
           "  report DIR           rebuilds DIR/report.html (for a population also each person's page)\n"
           "                       from a finished output folder; every run writes it at its end\n"
           "\n"
           "Exit codes: 0 done, 1 the run failed, 2 bad argument or scenario (nothing run).\n"
           "\n" +
           MetricsHelp() +
           "\n"
           "Built-in scenarios (--builtin NAME):\n" +
           BuiltinScenarioHelp() +
           "\n"
           "Scenario fields (nested JSON objects; \"habits.weekday.bedtime\" is\n"
           "{\"habits\": {\"weekday\": {\"bedtime\": \"23:00\"}}}):\n" +
           ScenarioFieldHelp();
}

int RunSleepsimCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err)
{
    if (!args.empty() && args.front() == "merge") {
        return RunMergeCli({args.begin() + 1, args.end()}, out, err);
    }
    if (!args.empty() && args.front() == "report") {
        return RunReportCommand(args, out, err);
    }
    CliOptions options;
    std::string error;
    if (!ParseArgs(args, options, error)) {
        err << "sleepsim: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    if (options.help) {
        out << SleepsimUsage();
        return EXIT_RUN_OK;
    }
    Scenario scenario;
    Trace trace;
    const bool replay = !options.replayPath.empty();
    const bool built =
        CheckReplayArgs(options, error) &&
        (replay ? ParseTraceFile(options.replayPath, scenario, trace, error) : BuildScenario(options, scenario, error));
    if (!built) {
        err << "sleepsim: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    if (options.printScenario) {
        out << ScenarioToJson(scenario);
        return EXIT_RUN_OK;
    }
    if (options.population.AnyGiven()) {
        return RunPopulationCli(options, scenario, out, err);
    }
    out << "sleepsim: " << scenario.days << " days from " << FormatCivilDate(scenario.startDate) << " ("
        << scenario.timeZone << "), seed " << scenario.seed << ", output in " << options.run.outDir << "\n";
    options.run.progress = options.quiet ? nullptr : &err;
    const SimResult result = replay ? RunTrace(scenario, trace, options.run) : RunSimulation(scenario, options.run);
    if (!result.ok) {
        err << "sleepsim: " << result.error << "\n";
        return EXIT_RUN_FAILED;
    }
    out << "\n" << FormatSummaryTable(result.nights) << "\n" << FormatMetricsSummary(result.metrics);
    PrintDumps(result, out);
    return EXIT_RUN_OK;
}

} // namespace OHOS::Sim
