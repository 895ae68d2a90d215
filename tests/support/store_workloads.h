#ifndef TESTS_SUPPORT_STORE_WORKLOADS_H
#define TESTS_SUPPORT_STORE_WORKLOADS_H

#include <string>
#include <vector>

#include "stop_way.h"

namespace OHOS::Sim {

// Small workloads on the real stores for crash and power-loss loops. Each runs in a child under
// the data root `root`, and after every write the store acknowledged appends one line to the file
// `acknowledged` (a child stopped mid-way has acknowledged exactly those).

// Preferences: kFlushGenerations generations of kFlushKeys long values, each flushed in one write.
constexpr int kFlushGenerations = 12;
constexpr int kFlushKeys = 40; // enough text for several write blocks
int FlushGenerations(const std::string& root, const std::string& acknowledged);
// The generation every value of the file written by FlushGenerations carries, 0 when there is no
// file; -1 with `problem` set when the file is unreadable or mixes generations.
int FileGeneration(const std::string& root, std::string& problem);

// Database: kBatches batches of kBatchRows screen states through the plug-in's database manager; a
// refused batch is not acknowledged and the next one is tried.
constexpr int kBatches = 12;
constexpr int kBatchRows = 10;
int InsertBatches(const std::string& root, const std::string& acknowledged);

// A workload stopped at every call of a way that its counting run made, each point a child in a
// fresh folder under `dir`. After each stop the store must hold every acknowledged write and at
// most the one in progress, whole: the preferences file reads whole with the generation last
// acknowledged or the next one; the database passes integrity_check and holds the acknowledged
// batches, or one more, and no part of a batch.
struct StoreStopLoop {
    int range = 0; // calls the counting run made
    std::vector<std::string> problems;
};
StoreStopLoop StopFlushesEverywhere(const std::string& dir, StopWay way);
StoreStopLoop StopBatchesEverywhere(const std::string& dir, StopWay way);

// Adds a test failure for every problem of the loop; returns a report line naming it: the range
// (every point ran) and the points that kept the promise.
std::string ExpectNoProblems(const StoreStopLoop& loop, const std::string& name);

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_STORE_WORKLOADS_H
