// Costs of the sleep model: scoring one observation, and one training run over 90 days of history with
// the tables at their pruning limits (10,000 observations, 20,000 screen events).
// Peak memory is reported as the counter "peak_rss_kib" (getrusage, whole process so far).

#include <sys/resource.h>

#include <memory>

#include <benchmark/benchmark.h>

#include "data_root.h"
#include "event_handler.h"
#include "hilog.h"
#include "scoped_time_zone.h"
#include "sleep_database_manager.h"
#include "sleep_history_builder.h"
#include "standby_service_impl.h"
#include "user_sleep_predict.h"
#include "user_sleep_train_model.h"
#include "virtual_clock.h"

namespace {
using namespace OHOS;
using DevStandbyMgr::SleepDataRecord;
using Emulator::LocalTimeMs;

constexpr int32_t TRAINING_NIGHTS = 90;
constexpr int32_t OBSERVATION_ROWS = 10000;
constexpr int32_t SCREEN_ROWS = 20000;

double PeakRssKib()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss);
}

// A scratch world for one benchmark: zone, clock, data root, host handler, no log output.
struct BenchWorld {
    BenchWorld()
    {
        Emulator::DisableLogSink();
        DevStandbyMgr::SleepDatabaseManager::GetInstance()->OnUserSwitched();
        DevStandbyMgr::StandbyServiceImpl::GetInstance()->SetHandler(
            AppExecFwk::EventHandler::CreateVirtual(clock.Shared()));
    }
    ~BenchWorld()
    {
        DevStandbyMgr::StandbyServiceImpl::GetInstance()->Reset();
        DevStandbyMgr::SleepDatabaseManager::GetInstance()->OnUserSwitched();
    }

    // Writes `nights` generated nights ending on 14 April 2024.
    bool WriteHistory(const Emulator::HistorySize& size)
    {
        Emulator::SleepHistoryBuilder builder(Emulator::SleepHabit{}, 1);
        return builder.Write(LocalTimeMs(2024, 4, 14, 0, 0), size);
    }

    Emulator::ScopedTimeZone zone{"CST-8"};
    Emulator::ScopedDataRoot root;
    Emulator::ScopedVirtualClock clock{LocalTimeMs(2024, 4, 14, 13, 0)};
};

void BM_PredictOneObservation(benchmark::State& state)
{
    BenchWorld world;
    if (!world.WriteHistory(Emulator::HistorySize{30, 0, 0})) {
        state.SkipWithError("history not written");
        return;
    }
    DevStandbyMgr::UserSleepTrainModel().Run();
    DevStandbyMgr::UserSleepPredict predict;
    if (predict.LoadModel() != 0) {
        state.SkipWithError("model not loaded");
        return;
    }
    SleepDataRecord last;
    last.timestamp = LocalTimeMs(2024, 4, 10, 2, 50);
    last.stationaryDuration = 13800;
    last.lightDarkDuration = 13800;
    last.screenOffDuration = 13800;
    last.light = 0.05;
    last.proximity = 5.0;
    last.bayesResult = 85;
    SleepDataRecord cur = last;
    cur.timestamp += 600000;
    cur.stationaryDuration += 600;
    cur.lightDarkDuration += 600;
    cur.screenOffDuration += 600;
    cur.weekType = 3;
    for (auto _ : state) {
        predict.UpdateSleepProByWeekType(cur.weekType);
        benchmark::DoNotOptimize(predict.SleepBaselinePredict(last, cur));
        benchmark::DoNotOptimize(predict.WakeUpPredict(cur, 0.2F, false));
        benchmark::DoNotOptimize(predict.SleepBayesPredict(last, cur));
    }
    state.counters["peak_rss_kib"] = PeakRssKib();
}
BENCHMARK(BM_PredictOneObservation);

void BM_TrainNinetyDaysAtPruningLimits(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto world = std::make_unique<BenchWorld>();
        if (!world->WriteHistory(Emulator::HistorySize{TRAINING_NIGHTS, OBSERVATION_ROWS, SCREEN_ROWS})) {
            state.SkipWithError("history not written");
            return;
        }
        state.ResumeTiming();
        DevStandbyMgr::UserSleepTrainModel().Run();
        state.PauseTiming();
        world.reset();
        state.ResumeTiming();
    }
    state.counters["peak_rss_kib"] = PeakRssKib();
}
BENCHMARK(BM_TrainNinetyDaysAtPruningLimits)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
