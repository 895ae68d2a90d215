#ifndef TESTS_SUPPORT_SAVE_LEDGER_H
#define TESTS_SUPPORT_SAVE_LEDGER_H

#include <cstdint>
#include <string>
#include <vector>

#include "fault_week.h"

namespace OHOS::Sim {

// The buffers of one save, as the plug-in's log tells it.
struct LoggedBuffer {
    bool refused = false;              // "Faired to save ..."
    std::vector<int64_t> recordTimes;  // the "timestamp: " of each record logged as made since the
                                       // save before (environments, notifications)
};

// One save of the plug-in's buffers: the time of its "save data to sleep.db" line and its three
// steps: screen states, environment observations (one "predict result" line each), notification
// records (one "record{timestamp: ..." line each).
struct LoggedSave {
    int64_t timeMs = 0;
    LoggedBuffer screenStates;
    LoggedBuffer environments;
    LoggedBuffer notifications;
};

// The saves in a run's log, in order. REQUIRES: the process time zone is the run's.
std::vector<LoggedSave> ReadLoggedSaves(const std::string& logPath);

// The screen events the run delivered (screen off, unlock, boot), each of which the plug-in buffers
// as one screen-state row at the event's time, from the run's timeline.
std::vector<int64_t> ScreenEventTimes(const std::string& timelinePath);

// Whether the store wrote exactly what the run's log and timeline say was saved: each save writes,
// at its time, one batch per table of exactly the records made since the save before it (screen
// events from the timeline, observations and notification records from the log), or nothing for a
// table whose insert was refused (a refused save empties its buffers and nothing is retried); and no
// batch of these tables is written outside a logged save. Returns the problems.
std::vector<std::string> CheckSavedBatches(const std::vector<LoggedSave>& saves,
    const std::vector<int64_t>& screenEvents, const std::vector<StoredBatch>& batches);

// Whether no record of a refused save is in the sleep database at `databasePath` (a batch that failed
// part-way left nothing behind): the environment and notification rows are matched by timestamp.
std::vector<std::string> CheckRefusedRecordsAbsent(const std::vector<LoggedSave>& saves, const std::string& databasePath);

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_SAVE_LEDGER_H
