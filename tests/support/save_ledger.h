#ifndef TESTS_SUPPORT_SAVE_LEDGER_H
#define TESTS_SUPPORT_SAVE_LEDGER_H

#include <cstdint>
#include <string>
#include <vector>

#include "fault_week.h"

namespace OHOS::Sim {

// The buffers of one save, as the plug-in's log tells it.
struct LoggedBuffer {
    bool empty = false;   // "... records is empty"
    bool refused = false; // "Faired to save ..."
};

// One save of the plug-in's buffers: the time of its "save data to sleep.db" line and its three
// steps: screen states, environment observations, notification records.
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
// at its time, one batch of exactly the screen events since the save before it, or nothing when its
// insert was refused (a refused save empties its buffers and nothing is retried); the environment
// and notification steps write one batch when their buffer was neither empty nor refused and none
// otherwise; and no batch of these tables is written outside a logged save. Returns the problems.
std::vector<std::string> CheckSavedBatches(const std::vector<LoggedSave>& saves,
    const std::vector<int64_t>& screenEvents, const std::vector<StoredBatch>& batches);

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_SAVE_LEDGER_H
