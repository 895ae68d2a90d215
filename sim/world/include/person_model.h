#ifndef SIM_INCLUDE_PERSON_MODEL_H
#define SIM_INCLUDE_PERSON_MODEL_H

#include <cstdint>
#include <string>
#include <vector>

#include "scenario.h"
#include "sim_random.h"
#include "trace.h"

namespace OHOS::Sim {

// Where the phone rests after a session.
enum class RestPlace { NIGHT_SPOT, DESK, POCKET };

// One time the screen is on: picked up (or not), maybe unlocked, then switched off and put away.
struct PhoneSession {
    int64_t screenOnMs = 0;
    int64_t pickupMs = -1; // -1: the phone stays where it lies (e.g. a call nobody answers)
    int64_t unlockMs = -1; // -1: not unlocked
    int64_t screenOffMs = 0;
    RestPlace placeAfter = RestPlace::DESK;
    bool isCall = false;
    int64_t answerMs = -1; // calls only: -1 when missed
};

struct Notice {
    int64_t postMs = 0;
    const char* pkg = ""; // the posting application's bundle name, a constant text
    int64_t clearMs = -1; // -1: never dealt with within the run
};

// Everything the person does with the phone over the run, before it is turned into sensor events.
struct PersonPlan {
    int64_t startMs = 0;
    int64_t endMs = 0;
    std::vector<NightTruth> nights;
    std::vector<PhoneSession> sessions; // in time order, never overlapping
    std::vector<TimeSpan> charges;      // in time order
    std::vector<Notice> notices;        // in time order
    std::vector<int64_t> alarms;        // ring times, in order
};

// Draws a person's days and nights from the scenario's habits with one seeded generator.
// REQUIRES: the process time zone is the scenario's (SetProcessTimeZone).
PersonPlan PlanPerson(const Scenario& scenario);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_PERSON_MODEL_H
