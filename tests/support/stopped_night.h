#ifndef TESTS_SUPPORT_STOPPED_NIGHT_H
#define TESTS_SUPPORT_STOPPED_NIGHT_H

#include <map>
#include <string>
#include <vector>

#include "stop_way.h"

namespace OHOS::Sim {

// The four sleep states the plug-in keeps in its preferences, by preference key.
const std::vector<std::string>& StoredSleepStateKeys();

// One stop point of a loop and what was found after it.
struct NightStopResult {
    int point = 0;
    std::string problem;                 // empty when everything held
    std::vector<std::string> activeKeys; // stored states the stopped night left active
};

struct NightStopLoop {
    int range = 0; // calls the counting run made
    std::vector<NightStopResult> results;
    std::map<std::string, int> activeAtStop; // per state key, the points that left it active
};

// Runs the built-in scenario "four-states" (ten nights in which each of the four states is
// published), once to count the calls of `way`, then stopped at about `pointsWanted` points spread
// over the run plus the last call of every span in which a sleep state was published active.
// After each stop: the preferences file must read whole, the database pass integrity_check, and a
// restarted service (in a fresh process) must end and publish as ended every state the preferences
// still held active, publish no other end, and leave no state stored.
// Each run is a forked child with its files under `dir`.
NightStopLoop StopNightsAndRestart(const std::string& dir, StopWay way, int pointsWanted);

// Adds a test failure for every stop that broke a guarantee and for every state that no stop left
// stored active (the loop would prove nothing for it); returns a report line naming `loop`: the
// range, points, survivors and, per state, the points that left it active.
std::string ExpectRecoveredAfterEveryStop(const NightStopLoop& loop, const std::string& name);

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_STOPPED_NIGHT_H
