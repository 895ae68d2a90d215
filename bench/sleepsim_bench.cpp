#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include "scenario.h"
#include "sim_driver.h"

namespace {

using OHOS::Sim::DefaultScenario;
using OHOS::Sim::RunSimulation;
using OHOS::Sim::Scenario;
using OHOS::Sim::SimOptions;

// What one run cost, as the kernel accounted for the child process that ran it.
struct RunCost {
    double wallSeconds = 0;
    double cpuSeconds = 0;
    double peakRssMb = 0;
    bool ok = false;
};

double Seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Runs a whole simulation of the default person in a child process (the platform's singletons
// are per process, and a fresh process makes the peak memory that of one run).
RunCost RunOnePerson(int32_t days, bool noSync, const std::string& outDir)
{
    const auto started = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        Scenario scenario = DefaultScenario();
        scenario.days = days;
        SimOptions options;
        options.outDir = outDir;
        options.noSync = noSync;
        _exit(RunSimulation(scenario, options).ok ? 0 : 1);
    }
    RunCost cost;
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        return cost;
    }
    cost.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    cost.cpuSeconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
    cost.peakRssMb = static_cast<double>(usage.ru_maxrss) / 1024.0; // ru_maxrss is in KiB on Linux
    cost.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return cost;
}

// Simulated person-days per second of one person's run of state.range(0) days; state.range(1) is
// 1 to skip disk syncs (--no-sync), as population runs do. The iteration time is the wall time;
// the counters give person-days per CPU second and the run's peak resident memory.
void BM_SimulatedPersonDays(benchmark::State& state)
{
    const auto days = static_cast<int32_t>(state.range(0));
    const bool noSync = state.range(1) != 0;
    const std::string outDir =
        (std::filesystem::temp_directory_path() / ("sleepsim_bench_" + std::to_string(getpid()))).string();
    RunCost total;
    double peakRssMb = 0;
    for (auto _ : state) {
        const RunCost cost = RunOnePerson(days, noSync, outDir);
        if (!cost.ok) {
            state.SkipWithError("the simulation failed");
            break;
        }
        state.SetIterationTime(cost.wallSeconds);
        total.wallSeconds += cost.wallSeconds;
        total.cpuSeconds += cost.cpuSeconds;
        peakRssMb = std::max(peakRssMb, cost.peakRssMb);
    }
    std::error_code ignored;
    std::filesystem::remove_all(outDir, ignored);
    const double personDays = static_cast<double>(days) * static_cast<double>(state.iterations());
    state.counters["person_days_per_wall_s"] = total.wallSeconds > 0 ? personDays / total.wallSeconds : 0;
    state.counters["person_days_per_cpu_s"] = total.cpuSeconds > 0 ? personDays / total.cpuSeconds : 0;
    state.counters["peak_rss_mb"] = peakRssMb;
}
BENCHMARK(BM_SimulatedPersonDays)
    ->ArgNames({"days", "no_sync"})
    ->Args({28, 1})
    ->Args({28, 0})
    ->UseManualTime()
    ->Unit(benchmark::kSecond)
    ->Iterations(3);
BENCHMARK(BM_SimulatedPersonDays)
    ->ArgNames({"days", "no_sync"})
    ->Args({366, 1})
    ->UseManualTime()
    ->Unit(benchmark::kSecond)
    ->Iterations(1);

} // namespace
