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

// Walks a night in ten-minute steps, as the detection loop does.
int64_t NextSample(int64_t& timestamp)
{
    timestamp += kTenMinutesMs;
    return timestamp;
}

void BM_TimestampToDayHour(benchmark::State& state)
{
    int64_t timestamp = kNightStartMs;
    for (auto _ : state) {
        benchmark::DoNotOptimize(TimeProviderExt::TimestampToDayHour(NextSample(timestamp)));
    }
}
BENCHMARK(BM_TimestampToDayHour);

void BM_TimestampToDaySecond(benchmark::State& state)
{
    int64_t timestamp = kNightStartMs;
    for (auto _ : state) {
        benchmark::DoNotOptimize(TimeProviderExt::TimestampToDaySecond(NextSample(timestamp)));
    }
}
BENCHMARK(BM_TimestampToDaySecond);

void BM_TimestampToWeekIndex(benchmark::State& state)
{
    int64_t timestamp = kNightStartMs;
    for (auto _ : state) {
        benchmark::DoNotOptimize(TimeProviderExt::TimestampToWeekIndex(NextSample(timestamp)));
    }
}
BENCHMARK(BM_TimestampToWeekIndex);

void BM_TimestampToDateString(benchmark::State& state)
{
    int64_t timestamp = kNightStartMs;
    for (auto _ : state) {
        benchmark::DoNotOptimize(TimeProviderExt::TimestampToDateString(NextSample(timestamp)));
    }
}
BENCHMARK(BM_TimestampToDateString);

void BM_GetAlarmClockTimestamp(benchmark::State& state)
{
    int64_t timestamp = kNightStartMs;
    for (auto _ : state) {
        benchmark::DoNotOptimize(TimeProviderExt::GetAlarmClcokTimestamp(NextSample(timestamp), 1, 7, 30));
    }
}
BENCHMARK(BM_GetAlarmClockTimestamp);

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
