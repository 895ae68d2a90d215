#include "population_runner.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <new>
#include <nlohmann/json.hpp>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "kept_outputs.h"
#include "night_metrics.h"
#include "progress_meter.h"
#include "text_file.h"
#include "variant_runs.h"

namespace OHOS::Sim {

namespace {

constexpr auto kProgressPoll = std::chrono::milliseconds(200);

bool ValidName(const std::string& name)
{
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_';
    });
}

std::string PersonDir(const std::string& outDir, const std::string& name)
{
    return outDir + "/" + PERSONS_DIR + "/" + name;
}

std::string DescribeExit(int status)
{
    if (WIFSIGNALED(status)) {
        return "killed by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    }
    return "exited with status " + std::to_string(WEXITSTATUS(status));
}

bool PrepareOutput(const std::string& outDir, std::string& error)
{
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    for (const std::string& name : {PERSONS_DIR, POPULATION_FILE, METRICS_FILE, SUMMARY_FILE, VARIANTS_DIR}) {
        std::filesystem::remove_all(outDir + "/" + name, ec);
    }
    if (!std::filesystem::create_directories(outDir + "/" + PERSONS_DIR, ec)) {
        error = "cannot create the output folder '" + outDir + "'";
        return false;
    }
    return true;
}

// Night counters in memory shared with the child processes, one per person, so the parent can show
// how far the children have come.
class SharedCounters {
public:
    explicit SharedCounters(size_t count) : count_(std::max<size_t>(count, 1))
    {
        void* memory = mmap(nullptr, Bytes(), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        counters_ = memory == MAP_FAILED ? nullptr : static_cast<std::atomic<int64_t>*>(memory);
        for (size_t i = 0; counters_ != nullptr && i < count_; ++i) {
            new (&counters_[i]) std::atomic<int64_t>(0);
        }
    }
    ~SharedCounters()
    {
        if (counters_ != nullptr) {
            munmap(counters_, Bytes());
        }
    }
    SharedCounters(const SharedCounters&) = delete;
    SharedCounters& operator=(const SharedCounters&) = delete;

    std::atomic<int64_t>* At(size_t i) const { return counters_ == nullptr ? nullptr : &counters_[i]; }
    void Set(size_t i, int64_t value) const
    {
        if (counters_ != nullptr) {
            counters_[i].store(value, std::memory_order_relaxed);
        }
    }
    int64_t Sum() const
    {
        int64_t sum = 0;
        for (size_t i = 0; counters_ != nullptr && i < count_; ++i) {
            sum += counters_[i].load(std::memory_order_relaxed);
        }
        return sum;
    }

private:
    size_t Bytes() const { return count_ * sizeof(std::atomic<int64_t>); }

    size_t count_;
    std::atomic<int64_t>* counters_ = nullptr;
};

// Forks one child per person, at most `jobs` at once, and reaps them in whatever order they end.
class PopulationRun {
public:
    PopulationRun(const std::vector<Scenario>& persons, const PopulationOptions& options, PopulationResult& result)
        : persons_(persons), options_(options), result_(result), counters_(result.persons.size()),
          progress_(options.progress, IsTerminal(options.progress))
    {
        for (const PersonEntry& entry : result_.persons) {
            nights_ += persons_[entry.index].days;
        }
    }

    void Run()
    {
        size_t next = 0;
        while (next < result_.persons.size() || !running_.empty()) {
            while (running_.size() < static_cast<size_t>(options_.jobs) && next < result_.persons.size()) {
                Start(next++);
            }
            if (!running_.empty()) {
                ReapOne();
            }
        }
        ShowProgress();
        progress_.Finish();
    }

private:
    void Start(size_t slot)
    {
        PersonEntry& entry = result_.persons[slot];
        SimOptions run = options_.run;
        run.outDir = PersonDir(options_.outDir, entry.name);
        run.progress = nullptr;
        run.nightsDone = counters_.At(slot);
        std::cout.flush();
        std::cerr.flush();
        const pid_t pid = fork();
        if (pid == 0) {
            const int code = RunPerson(persons_[entry.index], run);
            std::cout.flush();
            std::cerr.flush();
            _exit(code);
        }
        if (pid < 0) {
            Fail(entry, std::string("cannot start a process: ") + std::strerror(errno));
            return;
        }
        running_[pid] = slot;
    }

    // In the child: the person's run, then its folder trimmed to what the population keeps.
    int RunPerson(const Scenario& person, const SimOptions& run) const
    {
        const int code = options_.runPerson(person, run);
        std::string error;
        if (code == EXIT_RUN_OK && !options_.variantsOnly && !ApplyOutputChoice(run.outDir, options_.outputs, error)) {
            std::cerr << "sleepsim: person " << person.name << ": " << error << "\n";
            return EXIT_RUN_FAILED;
        }
        return code;
    }

    void ReapOne()
    {
        int status = 0;
        const pid_t pid = WaitForChild(status);
        if (pid < 0) {
            ForgetRunning(std::string("lost its process: ") + std::strerror(errno));
            return;
        }
        const auto child = running_.find(pid);
        if (child == running_.end()) {
            return;
        }
        const size_t slot = child->second;
        running_.erase(child);
        ++finished_;
        PersonEntry& entry = result_.persons[slot];
        counters_.Set(slot, persons_[entry.index].days);
        entry.ok = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_RUN_OK;
        if (!entry.ok) {
            Fail(entry, DescribeExit(status));
        }
    }

    void ForgetRunning(const std::string& why)
    {
        for (const auto& [pid, slot] : running_) {
            Fail(result_.persons[slot], why);
        }
        finished_ += static_cast<int32_t>(running_.size());
        running_.clear();
    }

    // Blocks until a child ends; while progress is shown, wakes up now and then to redraw it.
    pid_t WaitForChild(int& status)
    {
        while (true) {
            const pid_t pid = waitpid(-1, &status, options_.progress == nullptr ? 0 : WNOHANG);
            if (pid > 0 || (pid < 0 && errno != EINTR)) {
                return pid;
            }
            if (pid == 0) {
                ShowProgress();
                std::this_thread::sleep_for(kProgressPoll);
            }
        }
    }

    void ShowProgress()
    {
        const auto persons = static_cast<int32_t>(result_.persons.size());
        progress_.Update({std::min(finished_ + 1, persons), persons, counters_.Sum(), nights_});
    }

    void Fail(const PersonEntry& entry, const std::string& why)
    {
        const std::string failure = entry.name + ": " + why;
        result_.failures.push_back(failure);
        if (options_.messages != nullptr) {
            *options_.messages << "sleepsim: person " << failure << "; going on with the others\n" << std::flush;
        }
    }

    const std::vector<Scenario>& persons_;
    const PopulationOptions& options_;
    PopulationResult& result_;
    SharedCounters counters_;
    ProgressMeter progress_;
    std::map<pid_t, size_t> running_;
    int32_t finished_ = 0;
    int64_t nights_ = 0;
};

// A person's run's exit code, its error on stderr.
int PersonExitCode(const Scenario& person, bool ok, const std::string& error)
{
    if (!ok) {
        std::cerr << "sleepsim: person " << person.name << ": " << error << "\n";
        return EXIT_RUN_FAILED;
    }
    return EXIT_RUN_OK;
}

std::vector<std::string> FinishedPersonDirs(const std::string& outDir, const std::vector<PersonEntry>& persons)
{
    std::vector<std::string> dirs;
    for (const PersonEntry& entry : persons) {
        if (entry.ok) {
            dirs.push_back(PersonDir(outDir, entry.name));
        }
    }
    return dirs;
}

} // namespace

std::vector<PersonEntry> ShardEntries(const std::vector<Scenario>& persons, const Shard& shard)
{
    std::vector<PersonEntry> entries;
    for (size_t i = static_cast<size_t>(shard.index - 1); i < persons.size(); i += static_cast<size_t>(shard.count)) {
        entries.push_back(PersonEntry{static_cast<int32_t>(i), persons[i].name, false});
    }
    return entries;
}

int RunPersonSimulation(const Scenario& person, const SimOptions& options)
{
    return RunPersonWithVariants(person, options, {});
}

int RunPersonWithVariants(
    const Scenario& person, const SimOptions& options, const std::vector<DevStandbyMgr::DetectorVariant>& variants)
{
    const SimResult result = RunSimulationWithVariants(person, options, variants).definition;
    return PersonExitCode(person, result.ok, result.error);
}

int RunPersonVariantsOnly(
    const Scenario& person, const SimOptions& options, const std::vector<DevStandbyMgr::DetectorVariant>& variants)
{
    std::string error;
    const bool ok = RunVariantsOnly(person, options, variants, error);
    return PersonExitCode(person, ok, error);
}

bool CheckPersonNames(const std::vector<Scenario>& persons, std::string& error)
{
    std::map<std::string, size_t> seen;
    for (size_t i = 0; i < persons.size(); ++i) {
        const std::string& name = persons[i].name;
        if (!ValidName(name)) {
            error = "person " + std::to_string(i + 1) + " has the name '" + name +
                    "': use letters, digits, '-' and '_' only (it names a folder)";
            return false;
        }
        const auto [earlier, added] = seen.emplace(name, i);
        if (!added) {
            error = "persons " + std::to_string(earlier->second + 1) + " and " + std::to_string(i + 1) +
                    " are both named '" + name + "'";
            return false;
        }
    }
    return true;
}

PopulationResult RunPopulation(const std::vector<Scenario>& persons, const PopulationOptions& options)
{
    PopulationResult result;
    if (options.jobs < 1) {
        result.error = "the job count must be at least 1, not " + std::to_string(options.jobs);
        return result;
    }
    if (!CheckPersonNames(persons, result.error) || !PrepareOutput(options.outDir, result.error)) {
        return result;
    }
    result.persons = ShardEntries(persons, options.shard);
    PopulationRun(persons, options, result).Run();
    const PopulationRecord record{options.shard, result.persons, options.variantsOnly};
    result.ok = WriteTextFileAtomically(options.outDir + "/" + POPULATION_FILE, PopulationToJson(record), result.error);
    return result;
}

std::string PopulationToJson(const PopulationRecord& record)
{
    nlohmann::ordered_json persons = nlohmann::ordered_json::array();
    for (const PersonEntry& entry : record.persons) {
        persons.push_back({{"index", entry.index}, {"name", entry.name}, {"ok", entry.ok}});
    }
    nlohmann::ordered_json json = {{"version", 1},
        {"shard", {{"index", record.shard.index}, {"count", record.shard.count}}}, {"persons", persons}};
    if (record.variantsOnly) {
        json["variantsOnly"] = true;
    }
    return json.dump(2) + "\n";
}

bool ReadPopulationFile(const std::string& dir, PopulationRecord& record, std::string& error)
{
    const std::string path = dir + "/" + POPULATION_FILE;
    std::string text;
    if (!ReadTextFile(path, text)) {
        error = "cannot read '" + path + "' (not the output folder of a population run?)";
        return false;
    }
    try {
        const auto json = nlohmann::json::parse(text);
        PopulationRecord parsed;
        parsed.shard = {json.at("shard").at("index").get<int32_t>(), json.at("shard").at("count").get<int32_t>()};
        for (const auto& person : json.at("persons")) {
            parsed.persons.push_back(PersonEntry{
                person.at("index").get<int32_t>(), person.at("name").get<std::string>(), person.at("ok").get<bool>()});
        }
        parsed.variantsOnly = json.value("variantsOnly", false);
        if (parsed.shard.index < 1 || parsed.shard.index > parsed.shard.count) {
            error = "'" + path + "': shard " + std::to_string(parsed.shard.index) + "/" +
                    std::to_string(parsed.shard.count) + " is out of range";
            return false;
        }
        record = parsed;
        return true;
    } catch (const nlohmann::json::exception& e) {
        error = "'" + path + "': " + e.what();
        return false;
    }
}

bool GatherMetrics(const std::vector<std::string>& personDirs, const std::string& outDir, std::string& summary,
    std::string& error, const std::vector<std::vector<std::string>>& variantHomes)
{
    std::vector<RunMetrics> all;
    for (const std::string& dir : personDirs) {
        RunMetrics metrics;
        if (!ReadMetricsFile(dir + "/" + METRICS_FILE, metrics, error)) {
            return false;
        }
        all.push_back(std::move(metrics));
    }
    const RunMetrics merged = MergeMetrics(std::move(all));
    summary = FormatMetricsSummary(merged);
    return GatherVariantMetrics(personDirs, variantHomes, merged, outDir, summary, error) &&
           WriteFileAtomically(
               outDir + "/" + METRICS_FILE, [&merged](std::ostream& out) { WriteMetricsJson(merged, out); }, error) &&
           WriteTextFileAtomically(outDir + "/" + SUMMARY_FILE, summary, error);
}

bool GatherPopulationMetrics(
    const std::string& outDir, const PopulationRecord& record, std::string& summary, std::string& error)
{
    return GatherMetrics(FinishedPersonDirs(outDir, record.persons), outDir, summary, error);
}

namespace {

// A person of a merged population with the folder of the shard that ran it.
using ShardPerson = std::pair<PersonEntry, std::string>;

// The shard folders given to a merge: the definition's by shard, and variants-only ones by shard.
struct ShardFolders {
    int32_t count = 0;
    std::map<int32_t, std::string> definition;
    std::multimap<int32_t, std::string> variantsOnly;
};

bool AddShardFolder(const std::string& dir, const PopulationRecord& record, ShardFolders& folders,
    const std::string& first, std::string& error)
{
    if (folders.count != 0 && record.shard.count != folders.count) {
        error = "'" + dir + "' is a shard of " + std::to_string(record.shard.count) + ", '" + first + "' one of " +
                std::to_string(folders.count);
        return false;
    }
    folders.count = record.shard.count;
    if (record.variantsOnly) {
        folders.variantsOnly.emplace(record.shard.index, dir);
        return true;
    }
    const auto [earlier, added] = folders.definition.emplace(record.shard.index, dir);
    if (!added) {
        error = "'" + earlier->second + "' and '" + dir + "' are both shard " + std::to_string(record.shard.index) +
                "/" + std::to_string(folders.count);
    }
    return added;
}

// Reads every shard's person list, checks that the folders are shards 1 ... N of one population, each
// once (besides variants-only folders), and returns their persons in population order.
bool CollectShards(const std::vector<std::string>& shardDirs, std::vector<ShardPerson>& persons,
    ShardFolders& folders, std::string& error)
{
    for (const std::string& dir : shardDirs) {
        PopulationRecord record;
        if (!ReadPopulationFile(dir, record, error) || !AddShardFolder(dir, record, folders, shardDirs.front(), error)) {
            return false;
        }
        for (const PersonEntry& entry : record.persons) {
            if (!record.variantsOnly) {
                persons.emplace_back(entry, dir);
            }
        }
    }
    for (int32_t k = 1; k <= folders.count; ++k) {
        if (folders.definition.count(k) == 0) {
            error = "shard " + std::to_string(k) + "/" + std::to_string(folders.count) +
                    " is missing: give every shard's folder";
            return false;
        }
    }
    std::sort(
        persons.begin(), persons.end(), [](const auto& a, const auto& b) { return a.first.index < b.first.index; });
    return true;
}

// The person's folders in the variants-only folders of its shard.
std::vector<std::string> VariantHomes(const ShardFolders& folders, int32_t shardIndex, const std::string& name)
{
    std::vector<std::string> homes;
    const auto [begin, end] = folders.variantsOnly.equal_range(shardIndex);
    for (auto it = begin; it != end; ++it) {
        homes.push_back(PersonDir(it->second, name));
    }
    return homes;
}

} // namespace

bool MergeShards(
    const std::vector<std::string>& shardDirs, const std::string& outDir, std::string& summary, std::string& error)
{
    std::vector<ShardPerson> persons;
    ShardFolders folders;
    if (!CollectShards(shardDirs, persons, folders, error)) {
        return false;
    }
    PopulationRecord merged;
    std::vector<std::string> personDirs;
    std::vector<std::vector<std::string>> variantHomes;
    for (const auto& [entry, dir] : persons) {
        merged.persons.push_back(entry);
        if (entry.ok) {
            personDirs.push_back(PersonDir(dir, entry.name));
            variantHomes.push_back(VariantHomes(folders, entry.index % folders.count + 1, entry.name));
        }
    }
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    return WriteTextFileAtomically(outDir + "/" + POPULATION_FILE, PopulationToJson(merged), error) &&
           GatherMetrics(personDirs, outDir, summary, error, variantHomes);
}

} // namespace OHOS::Sim
