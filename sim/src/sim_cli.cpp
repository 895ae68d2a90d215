#include "sim_cli.h"

#include <nlohmann/json.hpp>

#include "builtin_scenarios.h"
#include "population.h"
#include "recorded_schedules.h"
#include "scenario.h"
#include "sim_driver.h"
#include "trace_reader.h"

namespace OHOS::Sim {

namespace {

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
                                arg == "--seed" || arg == "--days" || arg == "--builtin" || arg == "--person";
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
        } else {
            options.overrides[arg.substr(2)] = ValueAsJson(value);
        }
    }
    return true;
}

// A replay takes its scenario from the trace: scenario files and fields do not apply.
bool CheckReplayArgs(const CliOptions& options, std::string& error)
{
    if (!options.replayPath.empty() && (!options.scenarioPath.empty() || !options.overrides.empty() ||
                                          !options.builtin.empty() || !options.personPick.empty())) {
        error = "replay takes the scenario from the trace; a scenario file, --builtin, --person, --seed or "
                "--days cannot be given";
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

} // namespace

std::string SleepsimUsage()
{
    return "Usage: sleepsim [options] [SCENARIO.json] [dump WORDS...]\n"
           "       sleepsim replay TRACE.jsonl [--out DIR] [--no-sync] [-q] [dump WORDS...]\n"
           "\n"
           "Simulates a person and their phone over days and nights on virtual time and runs the sleep\n"
           "detection plug-in through it. Same scenario and seed give byte-identical outputs.\n"
           "\n"
           "Options:\n"
           "  -s, --scenario FILE  scenario file (JSON; also as the first plain argument); fields left\n"
           "                       out keep the defaults below\n"
           "  -o, --out DIR        output folder (default sleepsim-out): timeline.jsonl, trace.jsonl,\n"
           "                       summary.txt, metrics.json, scenario.json, sleepsim.log and data/\n"
           "                       (database, preferences, settings, system events); replaced on each run\n"
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
           "  -q, --quiet          no progress line\n"
           "      --no-sync        writes the SQLite stores and preferences files without syncing them\n"
           "                       to disk (PRAGMA synchronous=OFF, no fsync): same outputs, much\n"
           "                       faster; a crash of the machine may lose the data folder's last writes\n"
           "  -h, --help           this text\n"
           "  dump WORDS...        passes the words to the plug-in's dump command at the end of the run\n"
           "                       and prints its answer, e.g. sleepsim dump -D --strategy\n"
           "  replay TRACE.jsonl   replays the trace.jsonl of an earlier run (its scenario included)\n"
           "                       instead of generating one: the outputs are byte-identical to that\n"
           "                       run's; a bad line is named with its line number and nothing runs\n"
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
