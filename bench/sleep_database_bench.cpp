#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "data_root.h"
#include "hilog.h"
#include "sleep_database_manager.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int64_t kNightStartMs = 1700000000000;
constexpr int64_t kTenMinutesMs = 600000;
constexpr int kNightSamples = 66; // 21:00 to 08:00 every ten minutes
constexpr int kNightScreenEvents = 12;
constexpr int kLargeTableRows = 10000;

// One scratch data root for the whole run, with the log switched off so it does not skew timings.
SleepDatabaseManager& Manager()
{
    static Emulator::ScopedDataRoot root;
    static const bool quiet = [] {
        Emulator::DisableLogSink();
        return true;
    }();
    (void)quiet;
    return *SleepDatabaseManager::GetInstance();
}

std::vector<SleepEnvironment> Observations(int count, int64_t startMs)
{
    std::vector<SleepEnvironment> rows(count);
    for (int i = 0; i < count; ++i) {
        rows[i].timestamp = startMs + i * kTenMinutesMs;
        rows[i].screenOffDuration = i * 600;
        rows[i].userStationaryDuration = i * 300;
        rows[i].light = 0.1 * (i % 50);
        rows[i].lightDarkDuration = i * 600;
        rows[i].proximity = i % 2 == 0 ? 0.0 : 5.0;
        rows[i].label = i % 3 == 0 ? 1 : 0;
        rows[i].nextClock = startMs + 11 * 3600000LL;
        rows[i].bayesResult = i % 101;
    }
    return rows;
}

void ResetTable(SleepDatabaseManager& manager, const std::string& table)
{
    manager.Delete(table, "", {});
}

// The manager with kLargeTableRows observations stored; the benchmark clears them when it ends.
SleepDatabaseManager& ManagerWithFullTable()
{
    SleepDatabaseManager& manager = Manager();
    std::vector<SleepEnvironment> rows = Observations(kLargeTableRows, kNightStartMs);
    manager.InsertEntries(SleepEnvironment::TABLE_NAME, rows);
    return manager;
}

// Storing one night: its observations, screen events and notification records, as the engine
// saves them when the user wakes.
void BM_SaveNight(benchmark::State& state)
{
    SleepDatabaseManager& manager = Manager();
    std::vector<SleepEnvironment> environments = Observations(kNightSamples, kNightStartMs);
    std::vector<ScreenStateRecord> screens(kNightScreenEvents);
    std::vector<SleepNotificationRecord> notifications(kNightSamples);
    for (int i = 0; i < kNightSamples; ++i) {
        notifications[i] = {kNightStartMs + i * kTenMinutesMs, i % 4 == 0 ? 1 : 0, 3};
    }
    for (auto _ : state) {
        manager.InsertEntries(SleepEnvironment::TABLE_NAME, environments);
        manager.InsertEntries(ScreenStateRecord::TABLE_NAME, screens);
        manager.InsertEntries(SleepNotificationRecord::TABLE_NAME, notifications);
    }
    state.SetItemsProcessed(state.iterations() * (2 * kNightSamples + kNightScreenEvents));
    ResetTable(manager, SleepEnvironment::TABLE_NAME);
    ResetTable(manager, ScreenStateRecord::TABLE_NAME);
    ResetTable(manager, SleepNotificationRecord::TABLE_NAME);
}
BENCHMARK(BM_SaveNight)->Unit(benchmark::kMicrosecond);

// Reading back the last night out of a full table, as the reporter does after a night.
void BM_QueryLastNight(benchmark::State& state)
{
    SleepDatabaseManager& manager = ManagerWithFullTable();
    std::string condition =
        "timestamp > " + std::to_string(kNightStartMs + (kLargeTableRows - kNightSamples - 1) * kTenMinutesMs);
    for (auto _ : state) {
        std::vector<SleepEnvironment> night;
        manager.QueryEntries(night, condition, "");
        benchmark::DoNotOptimize(night.data());
    }
    ResetTable(manager, SleepEnvironment::TABLE_NAME);
}
BENCHMARK(BM_QueryLastNight)->Unit(benchmark::kMicrosecond);

// Filling an empty sleep_environment table with 10,000 rows in one batch.
void BM_Insert10000Environments(benchmark::State& state)
{
    SleepDatabaseManager& manager = Manager();
    std::vector<SleepEnvironment> rows = Observations(kLargeTableRows, kNightStartMs);
    for (auto _ : state) {
        state.PauseTiming();
        ResetTable(manager, SleepEnvironment::TABLE_NAME);
        state.ResumeTiming();
        manager.InsertEntries(SleepEnvironment::TABLE_NAME, rows);
    }
    state.SetItemsProcessed(state.iterations() * kLargeTableRows);
    ResetTable(manager, SleepEnvironment::TABLE_NAME);
}
BENCHMARK(BM_Insert10000Environments)->Unit(benchmark::kMillisecond);

// Reading the whole 10,000-row table (training reads the labelled history like this).
void BM_QueryAll10000Environments(benchmark::State& state)
{
    SleepDatabaseManager& manager = ManagerWithFullTable();
    for (auto _ : state) {
        std::vector<SleepEnvironment> read;
        manager.QueryEntries(read, "", "timestamp");
        benchmark::DoNotOptimize(read.data());
    }
    state.SetItemsProcessed(state.iterations() * kLargeTableRows);
    ResetTable(manager, SleepEnvironment::TABLE_NAME);
}
BENCHMARK(BM_QueryAll10000Environments)->Unit(benchmark::kMillisecond);

// Counting the rows of the 10,000-row table, whole and filtered (the clean-up check after a night).
void BM_Count10000Environments(benchmark::State& state)
{
    SleepDatabaseManager& manager = ManagerWithFullTable();
    const std::string condition = state.range(0) == 0 ? "" : "label = 1";
    for (auto _ : state) {
        benchmark::DoNotOptimize(manager.QueryCount(SleepEnvironment::TABLE_NAME, condition));
    }
    ResetTable(manager, SleepEnvironment::TABLE_NAME);
}
BENCHMARK(BM_Count10000Environments)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace OHOS::DevStandbyMgr
