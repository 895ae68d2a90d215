#include <benchmark/benchmark.h>

#include "engine_test_world.h"
#include "hilog.h"
#include "scoped_time_zone.h"
#include "simulated_phone.h"

namespace {

using OHOS::DevStandbyMgr::EngineTestWorld;
namespace Emulator = OHOS::Emulator;

constexpr int64_t kHourMs = 3600000;
// Wednesday 2025-01-15 22:30 UTC.
constexpr int64_t kEveningMs = 1736899200000 + 22 * kHourMs + 30 * 60000;

// The engine's cost of one night: screen off at 23:00 in a dark, still room, the loop and its
// observations until 07:00, screen on. Reports the running lock's held time per night.
void BM_OneSimulatedNight(benchmark::State& state)
{
    Emulator::ScopedTimeZone zone("UTC0");
    Emulator::DisableLogSink();
    int64_t wakeLockMs = 0;
    int64_t observations = 0;
    for (auto _ : state) {
        EngineTestWorld world(kEveningMs);
        Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
        phone.SetAmbientLightLux(0.0F);
        phone.SetProximityDistance(5.0F);
        world.RunUntil(kEveningMs + 30 * 60000);
        world.ScreenOff();
        phone.SetMotionState(Emulator::MotionState::STILL);
        world.RunUntil(kEveningMs + 8 * kHourMs + 30 * 60000);
        world.ScreenOn();
        wakeLockMs = phone.GetRunningLockHeldMs();
        observations = static_cast<int64_t>(world.Strategy().MessagesWithId(2000).size());
    }
    state.counters["wake_lock_ms_per_night"] = static_cast<double>(wakeLockMs);
    state.counters["observations_per_night"] = static_cast<double>(observations);
}
BENCHMARK(BM_OneSimulatedNight)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

} // namespace
