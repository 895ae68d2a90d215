#include "store_workloads.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "fault_week.h"
#include "preferences_file.h"
#include "preferences_helper.h"
#include "sleep_database_manager.h"
#include "sleep_table.h"

namespace OHOS::Sim {
namespace {

const std::string kPrefPath = "/data/crash/values.xml";
constexpr size_t kValueBytes = 200; // then the generation's number

void Acknowledge(const std::string& acknowledged)
{
    std::ofstream(acknowledged, std::ios::app) << "ok\n";
}

} // namespace

int FlushGenerations(const std::string& root, const std::string& acknowledged)
{
    Emulator::SetDataRoot(root);
    int error = 0;
    auto preferences = NativePreferences::PreferencesHelper::GetPreferences(kPrefPath, error);
    for (int generation = 1; preferences != nullptr && generation <= kFlushGenerations; ++generation) {
        for (int key = 0; key < kFlushKeys; ++key) {
            preferences->PutString(
                "key" + std::to_string(key), std::string(kValueBytes, 'a' + key % 26) + std::to_string(generation));
        }
        if (preferences->FlushSync() != NativePreferences::E_OK) {
            return 1;
        }
        Acknowledge(acknowledged);
    }
    return 0;
}

int FileGeneration(const std::string& root, std::string& problem)
{
    NativePreferences::PreferencesMap values;
    const int read = NativePreferences::ReadPreferencesFile(root + kPrefPath, values);
    if (read != NativePreferences::E_OK) {
        problem = "unreadable (" + std::to_string(read) + ")";
        return -1;
    }
    int generation = values.empty() ? 0 : -2;
    for (const auto& [key, value] : values) {
        const std::string* text = std::get_if<std::string>(&value);
        const int carried =
            text == nullptr || text->size() <= kValueBytes ? -1 : std::atoi(text->c_str() + kValueBytes);
        generation = generation == -2 || generation == carried ? carried : -1;
    }
    if (generation < 0 || (generation > 0 && values.size() != kFlushKeys)) {
        problem = "torn: " + std::to_string(values.size()) + " keys of mixed generations";
        return -1;
    }
    return generation;
}

int InsertBatches(const std::string& root, const std::string& acknowledged)
{
    Emulator::SetDataRoot(root);
    auto database = DevStandbyMgr::SleepDatabaseManager::GetInstance();
    int refused = 0;
    for (int batch = 0; batch < kBatches; ++batch) {
        std::vector<DevStandbyMgr::ScreenStateRecord> rows(kBatchRows);
        for (int i = 0; i < kBatchRows; ++i) {
            rows[i].timestamp = batch * kBatchRows + i;
            rows[i].state = i % 2;
        }
        if (database->InsertEntries(DevStandbyMgr::ScreenStateRecord::TABLE_NAME, rows) != 0) {
            refused = 1;
            continue;
        }
        Acknowledge(acknowledged);
    }
    return refused;
}

namespace {

int AcknowledgedCount(const std::string& acknowledged)
{
    std::ifstream in(acknowledged);
    int count = 0;
    for (std::string line; std::getline(in, line);) {
        ++count;
    }
    return count;
}

using Workload = int (*)(const std::string& root, const std::string& acknowledged);
// The problem a stop left, "" when the store kept its promise.
using StopCheck = std::string (*)(const std::string& root, const ChildRunOutcome& child, int acknowledged);

std::string CheckFlushes(const std::string& root, const ChildRunOutcome&, int acknowledged)
{
    std::string problem;
    const int generation = FileGeneration(root, problem);
    if (problem.empty() && (generation < acknowledged || generation > acknowledged + 1)) {
        problem = "generation " + std::to_string(generation) + " with " + std::to_string(acknowledged) +
            " flushes acknowledged";
    }
    return problem;
}

std::string CheckBatches(const std::string&, const ChildRunOutcome& child, int acknowledged)
{
    const int64_t rows = child.Rows(DevStandbyMgr::ScreenStateRecord::TABLE_NAME);
    const bool intact = child.integrity == "ok" || (child.integrity == "no database" && acknowledged == 0);
    const bool whole = rows % kBatchRows == 0 && rows >= int64_t{acknowledged} * kBatchRows &&
        rows <= int64_t{acknowledged + 1} * kBatchRows;
    return intact && whole ? ""
                           : "integrity " + child.integrity + ", " + std::to_string(rows) + " rows with " +
            std::to_string(acknowledged) + " batches acknowledged";
}

// Runs `workload` once to count the calls of `way` (point 0), then once stopped at every call, each
// in a child in a fresh folder.
StoreStopLoop StopEverywhere(const std::string& dir, StopWay way, Workload workload, StopCheck check)
{
    StoreStopLoop loop;
    const std::string acknowledged = dir + "/acknowledged.txt";
    const std::string countFile = dir + "-count.txt";
    for (int point = 0; point == 0 || point <= loop.range; ++point) {
        std::error_code ec;
        std::filesystem::remove_all(dir, ec);
        const ChildRunOutcome child = RunInChild(dir, [&] {
            ArmStop(way, point);
            const int result = workload(dir, acknowledged);
            if (point == 0) {
                std::ofstream(countFile) << CountedCalls(way);
            }
            return result;
        });
        if (point == 0) {
            std::ifstream(countFile) >> loop.range;
            continue;
        }
        const std::string problem = check(dir, child, AcknowledgedCount(acknowledged));
        if (!problem.empty()) {
            loop.problems.push_back("stopped at call " + std::to_string(point) + " (" + child.ending + "): " + problem);
        }
    }
    std::filesystem::remove(countFile);
    return loop;
}

} // namespace

StoreStopLoop StopFlushesEverywhere(const std::string& dir, StopWay way)
{
    return StopEverywhere(dir, way, FlushGenerations, CheckFlushes);
}

StoreStopLoop StopBatchesEverywhere(const std::string& dir, StopWay way)
{
    return StopEverywhere(dir, way, InsertBatches, CheckBatches);
}

std::string ExpectNoProblems(const StoreStopLoop& loop, const std::string& name)
{
    EXPECT_GT(loop.range, 0) << name << ": the counting run made no calls";
    for (const std::string& problem : loop.problems) {
        ADD_FAILURE() << name << ": " << problem;
    }
    return name + '\t' + std::to_string(loop.range) + '\t' + std::to_string(loop.range) + '\t' +
        std::to_string(loop.range - static_cast<int>(loop.problems.size()));
}

} // namespace OHOS::Sim
