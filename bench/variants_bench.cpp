#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "population.h"
#include "population_runner.h"
#include "scenario.h"
#include "variant_runs.h"

namespace {

namespace Sim = OHOS::Sim;

// The turnaround of an experiment: a generated population of state.range(0) persons over
// state.range(1) days, two persons at once, the definition alone (state.range(2) = 0) or with every
// variant on the same traces (1), metrics gathered and compared as `sleepsim --population N --days D
// --jobs 2 [--variant all]` does. The iteration time is the wall time.
void BM_PopulationWithVariants(benchmark::State& state)
{
    Sim::Scenario base = Sim::DefaultScenario();
    base.days = static_cast<int32_t>(state.range(1));
    const std::vector<Sim::Scenario> persons = Sim::GeneratePopulation(base, static_cast<int32_t>(state.range(0)));
    std::vector<Sim::DetectorVariant> variants;
    std::string error;
    Sim::ParseVariantNames(
        state.range(2) != 0 ? std::vector<std::string>{"all"} : std::vector<std::string>{}, variants, error);
    Sim::PopulationOptions options;
    options.outDir = (std::filesystem::temp_directory_path() / ("variants_bench_" + std::to_string(getpid()))).string();
    options.jobs = 2;
    options.run.noSync = true;
    options.runPerson = [&variants](const Sim::Scenario& person, const Sim::SimOptions& run) {
        return Sim::RunPersonWithVariants(person, run, variants);
    };
    for (auto _ : state) {
        const auto started = std::chrono::steady_clock::now();
        const Sim::PopulationResult result = Sim::RunPopulation(persons, options);
        std::string summary;
        if (!result.ok || !result.failures.empty() ||
            !Sim::GatherPopulationMetrics(options.outDir, {options.shard, result.persons}, summary, error)) {
            state.SkipWithError("the population run failed");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
    }
    std::error_code ignored;
    std::filesystem::remove_all(options.outDir, ignored);
    state.counters["runs_per_person"] = static_cast<double>(variants.size() + 1);
}
BENCHMARK(BM_PopulationWithVariants)
    ->ArgNames({"persons", "days", "variants"})
    ->Args({8, 60, 0})
    ->Args({8, 60, 1})
    ->UseManualTime()
    ->Unit(benchmark::kSecond)
    ->Iterations(1);

} // namespace
