#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "string_utils.h"
#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int64_t kNightStartMs = 1711836000000; // a Saturday evening just before a daylight-saving change
constexpr int64_t kTenMinutesMs = 600000;

// Every conversion goes through the local zone; use one with daylight saving, as phones do.
const bool kZoneSet = [] {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    return true;
}();

// Converts the samples of a night in ten-minute steps, as the detection loop does.
template <typename Convert> void BM_ConvertNightSamples(benchmark::State& state, Convert convert)
{
    int64_t timestamp = kNightStartMs;
    for (auto _ : state) {
        timestamp += kTenMinutesMs;
        benchmark::DoNotOptimize(convert(timestamp));
    }
}
BENCHMARK_CAPTURE(
    BM_ConvertNightSamples, TimestampToDayHour, [](int64_t t) { return TimeProviderExt::TimestampToDayHour(t); });
BENCHMARK_CAPTURE(
    BM_ConvertNightSamples, TimestampToDaySecond, [](int64_t t) { return TimeProviderExt::TimestampToDaySecond(t); });
BENCHMARK_CAPTURE(
    BM_ConvertNightSamples, TimestampToWeekIndex, [](int64_t t) { return TimeProviderExt::TimestampToWeekIndex(t); });
BENCHMARK_CAPTURE(
    BM_ConvertNightSamples, TimestampToDateString, [](int64_t t) { return TimeProviderExt::TimestampToDateString(t); });
BENCHMARK_CAPTURE(BM_ConvertNightSamples, GetAlarmClockTimestamp,
    [](int64_t t) { return TimeProviderExt::GetAlarmClcokTimestamp(t, 1, 7, 30); });

void BM_StringToNumber(benchmark::State& state)
{
    const std::string text = " 1711836000000 ";
    long value = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(StringUtils::StringToNumber(text, value));
    }
}
BENCHMARK(BM_StringToNumber);

void BM_Split(benchmark::State& state)
{
    const std::string text = "0.1,0.2,,0.3,0.4,0.5,0.6,0.7,0.8,0.9,1.0,";
    for (auto _ : state) {
        benchmark::DoNotOptimize(StringUtils::Split(text, ','));
    }
}
BENCHMARK(BM_Split);

} // namespace
} // namespace OHOS::DevStandbyMgr
