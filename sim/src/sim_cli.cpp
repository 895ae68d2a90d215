#include "sim_cli.h"

#include <nlohmann/json.hpp>

#include "report_html.h"
#include "scenario.h"
#include "sim_driver.h"

namespace OHOS::Sim {

namespace {

struct CliOptions {
    bool help = false;
    bool printScenario = false;
    bool quiet = false;
    std::string scenarioPath;
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
        if (!arg.empty() && arg[0] != '-' && options.scenarioPath.empty()) {
            options.scenarioPath = arg; // "sleepsim my-person.json"
            continue;
        }
        const bool takesValue =
            arg == "--scenario" || arg == "-s" || arg == "--out" || arg == "-o" || arg == "--seed" || arg == "--days";
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
        } else {
            options.overrides[arg.substr(2)] = ValueAsJson(value);
        }
    }
    return true;
}

bool BuildScenario(const CliOptions& options, Scenario& scenario, std::string& error)
{
    scenario = DefaultScenario();
    if (!options.scenarioPath.empty() && !LoadScenarioFile(options.scenarioPath, scenario, error)) {
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
           "       sleepsim report DIR\n"
           "\n"
           "Simulates a person and their phone over days and nights on virtual time and runs the sleep\n"
           "detection plug-in through it. Same scenario and seed give byte-identical outputs.\n"
           "\n"
           "Options:\n"
           "  -s, --scenario FILE  scenario file (JSON; also as the first plain argument); fields left\n"
           "                       out keep the defaults below\n"
           "  -o, --out DIR        output folder (default sleepsim-out): timeline.jsonl, trace.jsonl,\n"
           "                       summary.txt, scenario.json, report.html (a page with a picture of\n"
           "                       every night), sleepsim.log and data/ (database, preferences,\n"
           "                       settings, system events); replaced on each run\n"
           "      --seed N         overrides the scenario's seed\n"
           "      --days N         overrides the scenario's number of days\n"
           "      --print-scenario prints the effective scenario as JSON and exits\n"
           "  -q, --quiet          no progress line\n"
           "  -h, --help           this text\n"
           "  dump WORDS...        passes the words to the plug-in's dump command at the end of the run\n"
           "                       and prints its answer, e.g. sleepsim dump -D --strategy\n"
           "  report DIR           rebuilds DIR/report.html (for a population also each person's page)\n"
           "                       from a finished output folder; every run writes it at its end\n"
           "\n"
           "Exit codes: 0 done, 1 the run failed, 2 bad argument or scenario (nothing run).\n"
           "\n"
           "Scenario fields (nested JSON objects; \"habits.weekday.bedtime\" is\n"
           "{\"habits\": {\"weekday\": {\"bedtime\": \"23:00\"}}}):\n" +
           ScenarioFieldHelp();
}

int RunSleepsimCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err)
{
    if (!args.empty() && args[0] == "report") {
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
    if (!BuildScenario(options, scenario, error)) {
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
    const SimResult result = RunSimulation(scenario, options.run);
    if (!result.ok) {
        err << "sleepsim: " << result.error << "\n";
        return EXIT_RUN_FAILED;
    }
    out << "\n" << FormatSummaryTable(result.nights);
    PrintDumps(result, out);
    return EXIT_RUN_OK;
}

} // namespace OHOS::Sim
