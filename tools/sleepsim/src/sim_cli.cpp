#include "sim_cli.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "builtin_scenarios.h"
#include "kept_outputs.h"
#include "population.h"
#include "population_page.h"
#include "population_runner.h"
#include "recorded_schedules.h"
#include "report_html.h"
#include "scenario.h"
#include "sim_driver.h"
#include "trace_reader.h"
#include "variant_runs.h"

namespace OHOS::Sim {

namespace {

// Options of a run of many persons, as given on the command line.
struct PopulationCli {
    int32_t count = 0; // --population N; 0: not given
    std::string file;  // --population-file FILE
    std::string csv;   // --persons-from CSV
    std::optional<Shard> shard;
    int32_t jobs = 0; // --jobs N; 0: not given
    bool variantsOnly = false; // --variants-only

    bool Requested() const { return count > 0 || !file.empty() || !csv.empty(); }
    bool AnyGiven() const { return Requested() || shard.has_value() || jobs > 0 || variantsOnly; }
};

struct CliOptions {
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
    std::string mergeOut; // the merged output folder
    std::vector<std::string> shardDirs;
    std::string reportDir; // sleepsim report DIR
    std::string restoreDir; // sleepsim restore DIR
    std::optional<KeepOutputs> keep; // --keep WHAT (populations only); lean by default
    bool compress = false;           // --compress
    std::vector<std::string> variantNames; // --variant NAME, repeatable
    std::vector<DetectorVariant> variants;

    OutputChoice Outputs(KeepOutputs byDefault) const { return OutputChoice{keep.value_or(byDefault), compress}; }
};

// The commands besides a plain run, as the parser knows them.
struct Commands {
    CLI::App* replay = nullptr;
    CLI::App* merge = nullptr;
    CLI::App* report = nullptr;
    CLI::App* restore = nullptr;
    CLI::App* dump = nullptr;
};

// A command-line value as JSON: numbers and booleans as such, anything else as a string, so that
// the scenario parser judges it and names the field.
nlohmann::ordered_json ValueAsJson(const std::string& text)
{
    const auto parsed = nlohmann::ordered_json::parse(text, nullptr, false);
    return (!parsed.is_discarded() && (parsed.is_number() || parsed.is_boolean())) ? parsed
                                                                                   : nlohmann::ordered_json(text);
}

// A whole number of at least 1 in plain digits: no sign, base prefix, fraction or spaces.
std::optional<int32_t> ReadPositiveCount(const std::string& text)
{
    const bool digits = std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
    if (text.empty() || text.size() > 9 || !digits) {
        return std::nullopt;
    }
    const int32_t value = std::stoi(text);
    return value >= 1 ? std::optional<int32_t>(value) : std::nullopt;
}

// "K/N" with 1 <= K <= N.
std::optional<Shard> ReadShard(const std::string& text)
{
    const size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    const std::optional<int32_t> index = ReadPositiveCount(text.substr(0, slash));
    const std::optional<int32_t> count = ReadPositiveCount(text.substr(slash + 1));
    if (!index || !count || *index > *count) {
        return std::nullopt;
    }
    return Shard{*index, *count};
}

const CLI::Validator kPositiveCount(
    [](const std::string& text) {
        return ReadPositiveCount(text) ? std::string() : "'" + text + "': expected a whole number of at least 1";
    },
    "", "positive count");

const CLI::Validator kShardText(
    [](const std::string& text) {
        return ReadShard(text) ? std::string()
                               : "'" + text + "': expected K/N with whole numbers 1 <= K <= N, e.g. 2/5";
    },
    "", "shard");

const CLI::Validator kKeepText(
    [](const std::string& text) {
        KeepOutputs keep = KeepOutputs::ALL;
        return ParseKeepOutputs(text, keep) ? std::string() : "'" + text + "': expected lean or all";
    },
    "", "kept outputs");

const CLI::Validator kVariantName(
    [](const std::string& text) {
        std::vector<DetectorVariant> variants;
        std::string error;
        return ParseVariantNames({text}, variants, error) ? std::string() : error;
    },
    "", "variant");

const char* const kUsageForms =
    "Usage: sleepsim [options] [SCENARIO.json] [dump WORDS...]\n"
    "       sleepsim replay TRACE.jsonl[.gz] [--out DIR] [--no-sync] [-q] [dump WORDS...]\n"
    "       sleepsim [options] (--population N | --population-file FILE | --persons-from CSV)\n"
    "                [--shard K/N] [--jobs N]\n"
    "       sleepsim merge --out DIR SHARD_DIR...\n"
    "       sleepsim report DIR\n"
    "       sleepsim restore DIR\n"
    "\n"
    "Simulates a person and their phone over days and nights on virtual time and runs the sleep\n"
    "detection plug-in through it. Same scenario and seed give byte-identical outputs.\n";

// Help in the program's own words: the forms of the whole command line instead of a generic usage
// line (the commands keep theirs), and an option that may also be given as a plain argument listed
// once, with the options.
class SleepsimFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override
    {
        return app->get_parent() == nullptr ? kUsageForms : CLI::Formatter::make_usage(app, std::move(name));
    }

    std::string make_positionals(const CLI::App* app) const override
    {
        const auto onlyPositional =
            app->get_options([](const CLI::Option* option) { return !option->nonpositional(); });
        return onlyPositional.empty() ? std::string() : make_group(get_label("Positionals"), true, onlyPositional);
    }
};

constexpr size_t HELP_COLUMN = 23; // where the descriptions start

std::string MetricsHelp()
{
    return "Metrics (metrics.json; summarised at the end of summary.txt, see \"Reading the metrics\" in\n"
           "the README). Each night (noon to noon) is scored against the truth for three rules: plugin\n"
           "(its deep sleep), idle (screen off, charger out and still for 30 + 30 minutes, until screen on,\n"
           "movement or charger) and time_of_day (median bed and wake times of earlier nights, learned\n"
           "from screen use). Top level: version, rules, persons (name, nights, trainings,\n"
           "trainingsPerWeek), nights, summary. A night: person, night, index, weekend, window, sleep,\n"
           "awakeScreenOff, wakeLockMs, trainings, class (eligible, firstWeek, outsideWindow, charging:\n"
           "whether the plug-in may detect the night at all), rules.<rule>: asleep (plugin also light, easyWakeup,\n"
           "notCareCharge) as [[beginMs, endMs], ...], announcedWake, missed, onsetLatencyMin,\n"
           "wakeLatencyMin, coverage, falseSleepMin, falseSleepShare (of awake screen-off time\n"
           "21:00-08:00), wakeErrorMin, lightMin, easyWakeupMin, notCareChargeMin (null: does not\n"
           "apply; a missed night has no latency). summary: persons, nights, trainingsPerWeek, and for\n"
           "all and for each class (classes.eligible is the headline): nights, wakeLockSec,\n"
           "rules.<rule>: missed, nightsWith (asleep, light, easyWakeup, notCareCharge), each score as\n"
           "{count, median, p10, p90} and, for the signed onsetLatencyMin, wakeLatencyMin and\n"
           "wakeErrorMin, also absMedian and absP90 (of their size).\n";
}

// What follows the options in the help: exit codes, metrics, built-in scenarios, scenario fields.
std::string FooterHelp()
{
    return "Exit codes: 0 done, 1 the run failed, 2 bad argument or scenario (nothing run).\n"
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

void DefineRunOptions(CLI::App& app, CliOptions& options)
{
    app.add_option("-s,--scenario,SCENARIO", options.scenarioPath,
           "scenario file (JSON; also as the first plain argument); fields left\n"
           "out keep the defaults below")
        ->option_text("FILE");
    app.add_option("-o,--out", options.run.outDir,
           "output folder (default sleepsim-out): timeline.jsonl, trace.jsonl,\n"
           "summary.txt, metrics.json, scenario.json, report.html (a page with a\n"
           "picture of every night), sleepsim.log and data/ (database,\n"
           "preferences, settings, system events); replaced on each run")
        ->option_text("DIR");
    app.add_option("--builtin", options.builtin,
           "starts from a built-in scenario instead of the defaults (a scenario\n"
           "file and the options below still apply on top); see below")
        ->option_text("NAME");
    app.add_option("--person", options.personPick,
           "runs one person: population:p007 (the 7th person of a population\n"
           "drawn from the scenario's seed), FILE.json:NAME (a population file:\n"
           "a JSON list of scenario objects) or FILE.csv:PID (recorded nights in\n"
           "the globem-nights.csv format); --seed and --days still apply on top")
        ->option_text("SOURCE:NAME");
    const std::pair<const char*, const char*> fields[] = {{"seed", "seed"}, {"days", "number of days"}};
    for (const auto& [field, what] : fields) {
        const auto keep = [&options, field = std::string(field)](
                              const std::string& value) { options.overrides[field] = ValueAsJson(value); };
        app.add_option_function<std::string>(
               std::string("--") + field, keep, std::string("overrides the scenario's ") + what)
            ->option_text("N");
    }
    app.add_flag("--print-scenario", options.printScenario, "prints the effective scenario as JSON and exits");
    app.add_flag("-q,--quiet", options.quiet, "no progress (a bar on a terminal, a plain line every 10 s otherwise)");
    app.add_flag("--no-sync", options.run.noSync,
        "writes the SQLite stores and preferences files without syncing them\n"
        "to disk (PRAGMA synchronous=OFF, no fsync): same outputs, much\n"
        "faster; a crash of the machine may lose the data folder's last writes");
    app.add_option("--variant", options.variantNames,
           "also runs a detector variant on the same trace, in its own process,\n"
           "writing DIR/variants/NAME/ (metrics.json with a comparison with\n"
           "the definition, summary.txt); repeatable; all: every variant.\n"
           "Variants: " + VariantNameList() + ". The definition's files\n"
           "stay as without variants; summary.txt and report.html end with\n"
           "the comparison (see docs/variants.md)")
        ->check(kVariantName)
        ->option_text("NAME")
        ->allow_extra_args(false);
    app.add_flag("--compress", options.compress,
        "keeps the trace and the timeline gzip-compressed (trace.jsonl.gz,\n"
        "timeline.jsonl.gz); replay, report and restore read either form");
}

void DefinePopulationOptions(CLI::App& app, PopulationCli& population, std::optional<KeepOutputs>& keep)
{
    const std::string group = "Populations (the scenario and the options above are the base every person varies)";
    CLI::Option* count = app.add_option("--population", population.count, "N generated persons, drawn from the seed")
                             ->check(kPositiveCount)
                             ->option_text("N")
                             ->group(group);
    CLI::Option* file =
        app.add_option("--population-file", population.file, "a JSON list of persons, each overriding the base")
            ->option_text("FILE")
            ->group(group);
    CLI::Option* csv =
        app.add_option("--persons-from", population.csv, "one person per participant of a recorded-nights file")
            ->option_text("CSV")
            ->group(group);
    count->excludes(file)->excludes(csv);
    file->excludes(csv);
    app.add_option_function<std::string>(
           "--shard", [&population](const std::string& text) { population.shard = ReadShard(text); },
           "runs only the persons whose 0-based index i has i % N == K-1")
        ->check(kShardText)
        ->option_text("K/N")
        ->group(group);
    app.add_option("--jobs", population.jobs,
           "persons simulated at once (default 1); outputs do not depend on it\n"
           "Each person runs in its own process and writes DIR/persons/<name>/\n"
           "(a single-run folder); DIR/population.json lists the persons in\n"
           "order, DIR/metrics.json and DIR/summary.txt hold all their metrics.\n"
           "A failed person is reported and the others go on (exit code 1).")
        ->check(kPositiveCount)
        ->option_text("N")
        ->group(group);
    app.add_flag("--variants-only", population.variantsOnly,
           "runs only the --variant runs of each person, not the definition\n"
           "(for a sweep that runs them apart, e.g. on Slurm): give the folder\n"
           "to 'sleepsim merge' with the definition's shards")
        ->group(group);
    app.add_option_function<std::string>(
           "--keep", [&keep](const std::string& text) { ParseKeepOutputs(text, keep.emplace()); },
           "what each person's folder keeps: lean (default: metrics.json,\n"
           "summary.txt, scenario.json, report.html and trace.jsonl.gz; the page\n"
           "shows the 'sleepsim restore DIR' that brings the rest back, byte for\n"
           "byte) or all (every file, as a single run keeps them)")
        ->check(kKeepText)
        ->option_text("WHAT")
        ->group(group);
}

Commands DefineCommands(CLI::App& app, CliOptions& options)
{
    Commands commands;
    commands.replay = app.add_subcommand("replay", "replays the trace.jsonl (or trace.jsonl.gz) of an earlier run (its\n"
                                                   "scenario included) instead of generating one: the outputs are\n"
                                                   "byte-identical to that run's; a bad line or damaged compressed\n"
                                                   "data is named and nothing runs (replay TRACE.jsonl; --out,\n"
                                                   "--no-sync, --keep, --compress, -q and dump apply)");
    commands.replay->add_option("TRACE.jsonl", options.replayPath, "the trace of an earlier run")->required();
    commands.replay->fallthrough(); // the run's own options may follow the trace

    commands.merge = app.add_subcommand("merge", "combines the folders of all shards of a population into\n"
                                                 "DIR/population.json, metrics.json and summary.txt, exactly as one\n"
                                                 "unsharded run writes them (merge --out DIR SHARD_DIR...)");
    commands.merge->add_option("-o,--out", options.mergeOut, "the merged output folder")
        ->option_text("DIR")
        ->required();
    commands.merge->add_option("SHARD_DIR", options.shardDirs, "the output folder of every shard")->required();

    commands.report =
        app.add_subcommand("report", "rebuilds DIR/report.html (for a population also each person's page)\n"
                                     "from a finished output folder; every run writes it at its end\n"
                                     "(report DIR)");
    commands.report->add_option("DIR", options.reportDir, "a finished output folder")->required();

    commands.restore =
        app.add_subcommand("restore", "replays the trace of a lean run folder (such as a population's\n"
                                      "DIR/persons/p001) into it: the folder then holds every file as\n"
                                      "--keep all writes it, plain; a trace that cannot be read is named\n"
                                      "and nothing runs (restore DIR)");
    commands.restore->add_option("DIR", options.restoreDir, "a single run's output folder")->required();

    commands.dump =
        app.add_subcommand("dump", "passes the words that follow to the plug-in's dump command at the\n"
                                   "end of the run and prints its answer, e.g. sleepsim dump -D --strategy");
    commands.dump->prefix_command(); // every word after it belongs to the plug-in
    return commands;
}

// The whole command line, its options writing into `options`.
Commands DefineCommandLine(CLI::App& app, CliOptions& options)
{
    app.name("sleepsim");
    auto formatter = std::make_shared<SleepsimFormatter>();
    formatter->column_width(HELP_COLUMN);
    app.formatter(formatter);
    DefineRunOptions(app, options);
    DefinePopulationOptions(app, options.population, options.keep);
    const Commands commands = DefineCommands(app, options);
    app.footer(FooterHelp()); // after the commands, which would inherit it
    return commands;
}

// The merge, report or restore command if one was given; each takes nothing but its own arguments.
CLI::App* SoleCommand(const CLI::App& app, const Commands& commands, std::string& error)
{
    for (CLI::App* command : {commands.merge, commands.report, commands.restore}) {
        if (!command->parsed()) {
            continue;
        }
        const auto given = app.get_options([](const CLI::Option* option) { return option->count() > 0; });
        if (!given.empty() || app.get_subcommands().size() > 1) {
            error = "'" + command->get_name() + "' takes only its own arguments (see sleepsim " + command->get_name() +
                    " --help)";
        }
        return command;
    }
    return nullptr;
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
    if (population.count > 0) {
        persons = GeneratePopulation(base, population.count);
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
        error = std::string(population.variantsOnly ? "--variants-only needs" : "--shard, --jobs and --keep need") +
                " a population: --population, --population-file or --persons-from";
        return false;
    }
    if (population.variantsOnly && options.variants.empty()) {
        error = "--variants-only needs at least one --variant";
        return false;
    }
    if (!options.run.endDumpWords.empty()) {
        error = "'dump' works on a single run only; run the person alone to see its dump";
        return false;
    }
    run.shard = population.shard.value_or(Shard{});
    run.jobs = population.jobs > 0 ? population.jobs : run.jobs;
    run.outDir = options.run.outDir;
    run.run = options.run;
    run.run.noSync = true; // the persons' data folders are not kept for their durability
    run.outputs = options.Outputs(KeepOutputs::LEAN);
    run.variantsOnly = population.variantsOnly;
    run.runPerson = [variants = options.variants, variantsOnly = run.variantsOnly](
                        const Scenario& person, const SimOptions& personRun) {
        return variantsOnly ? RunPersonVariantsOnly(person, personRun, variants)
                            : RunPersonWithVariants(person, personRun, variants);
    };
    return true;
}

// A variants-only population: its persons' variants are compared once merged with the definition's.
int ReportVariantsOnly(const PopulationResult& result, const std::string& outDir, std::ostream& out, std::ostream& err)
{
    if (!result.ok) {
        err << "sleepsim: " << result.error << "\n";
        return EXIT_RUN_FAILED;
    }
    out << "sleepsim: variants written into " << outDir << "; 'sleepsim merge' compares them with the definition's "
        << "shards\n";
    return result.failures.empty() ? EXIT_RUN_OK : EXIT_RUN_FAILED;
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
    if (run.variantsOnly) {
        return ReportVariantsOnly(result, run.outDir, out, err);
    }
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
int RunMergeCommand(const CliOptions& options, std::ostream& out, std::ostream& err)
{
    std::string summary;
    std::string error;
    if (!MergeShards(options.shardDirs, options.mergeOut, summary, error)) {
        err << "sleepsim merge: " << error << "\n";
        return EXIT_RUN_FAILED;
    }
    out << summary;
    return EXIT_RUN_OK;
}

// "sleepsim report DIR": rebuilds the report page(s) of a finished output folder.
int RunReportCommand(const CliOptions& options, std::ostream& out, std::ostream& err)
{
    std::string error;
    if (!RebuildReports(options.reportDir, error)) {
        err << "sleepsim report: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    out << "sleepsim: wrote " << options.reportDir << "/" << REPORT_FILE << "\n";
    return EXIT_RUN_OK;
}

// "sleepsim restore DIR": a lean run folder's full outputs, replayed from its trace.
int RunRestoreCommand(const CliOptions& options, std::ostream& out, std::ostream& err)
{
    Scenario scenario;
    Trace trace;
    std::string error;
    if (!ParseTraceFile(StoredTracePath(options.restoreDir), scenario, trace, error)) {
        err << "sleepsim restore: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    if (!RestoreRunFolder(options.restoreDir, scenario, trace, error)) {
        err << "sleepsim restore: " << error << "\n";
        return EXIT_RUN_FAILED;
    }
    out << "sleepsim: restored every output of " << options.restoreDir << "\n";
    return EXIT_RUN_OK;
}

// Parses `args`; on a request for help prints it and sets `exitCode`, on a bad argument names it.
bool ParseCommandLine(
    const std::vector<std::string>& args, CLI::App& app, std::ostream& out, std::ostream& err, int& exitCode)
{
    std::vector<std::string> reversed(args.rbegin(), args.rend()); // the order CLI11 takes them in
    try {
        app.parse(reversed);
        return true;
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        exitCode = EXIT_RUN_OK;
    } catch (const CLI::ParseError& error) {
        const std::vector<CLI::App*> commands = app.get_subcommands();
        const std::string where = commands.empty() ? "" : " " + commands.back()->get_name();
        err << "sleepsim" << where << ": " << error.what() << " (see sleepsim" << where << " --help)\n";
        exitCode = EXIT_BAD_INPUT;
    }
    return false;
}

// A single run, generated from the scenario or replayed from a trace, or a population run.
int RunSimulationCli(CliOptions& options, std::ostream& out, std::ostream& err)
{
    Scenario scenario;
    Trace trace;
    std::string error;
    const bool replay = !options.replayPath.empty();
    const bool built =
        CheckReplayArgs(options, error) &&
        (replay ? ParseTraceFile(options.replayPath, scenario, trace, error) : BuildScenario(options, scenario, error));
    if (!built) {
        err << "sleepsim: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    if (!ParseVariantNames(options.variantNames, options.variants, error)) {
        err << "sleepsim: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    if (options.printScenario) {
        out << ScenarioToJson(scenario);
        return EXIT_RUN_OK;
    }
    if (options.population.AnyGiven() || options.keep) {
        return RunPopulationCli(options, scenario, out, err);
    }
    out << "sleepsim: " << scenario.days << " days from " << FormatCivilDate(scenario.startDate) << " ("
        << scenario.timeZone << "), seed " << scenario.seed << ", output in " << options.run.outDir << "\n";
    options.run.progress = options.quiet ? nullptr : &err;
    const VariantsRunResult run = replay ? RunTraceWithVariants(scenario, trace, options.run, options.variants)
                                         : RunSimulationWithVariants(scenario, options.run, options.variants);
    const SimResult& result = run.definition;
    if (!result.ok || !ApplyOutputChoice(options.run.outDir, options.Outputs(KeepOutputs::ALL), error)) {
        err << "sleepsim: " << (result.ok ? error : result.error) << "\n";
        return EXIT_RUN_FAILED;
    }
    out << "\n" << FormatSummaryTable(result.nights) << "\n" << FormatMetricsSummary(result.metrics);
    out << (run.comparisons.empty() ? "" : "\n" + run.comparisons);
    PrintDumps(result, out);
    return EXIT_RUN_OK;
}

} // namespace

std::string SleepsimUsage()
{
    CliOptions options;
    CLI::App app;
    DefineCommandLine(app, options);
    return app.help();
}

int RunSleepsimCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err)
{
    CliOptions options;
    CLI::App app;
    const Commands commands = DefineCommandLine(app, options);
    int exitCode = EXIT_RUN_OK;
    if (!ParseCommandLine(args, app, out, err, exitCode)) {
        return exitCode;
    }
    std::string error;
    const CLI::App* command = SoleCommand(app, commands, error);
    if (!error.empty()) {
        err << "sleepsim: " << error << "\n";
        return EXIT_BAD_INPUT;
    }
    if (command == commands.merge) {
        return RunMergeCommand(options, out, err);
    }
    if (command == commands.report) {
        return RunReportCommand(options, out, err);
    }
    if (command == commands.restore) {
        return RunRestoreCommand(options, out, err);
    }
    options.run.endDumpWords = commands.dump->remaining();
    if (commands.dump->parsed() && options.run.endDumpWords.empty()) {
        err << "sleepsim: 'dump' needs at least one word, e.g. sleepsim dump -D --strategy\n";
        return EXIT_BAD_INPUT;
    }
    return RunSimulationCli(options, out, err);
}

} // namespace OHOS::Sim
