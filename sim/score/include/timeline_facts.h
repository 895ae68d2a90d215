#ifndef SIM_INCLUDE_TIMELINE_FACTS_H
#define SIM_INCLUDE_TIMELINE_FACTS_H

#include <cstdint>
#include <string>

#include "timeline.h"

namespace OHOS::Sim {

// Names the plug-in publishes, as they appear in the timeline.
inline const std::string DEEP_SLEEP_EVENT = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";
inline const std::string LIGHT_SLEEP_EVENT = "common.event.USER_LIGHT_SLEEP_STATE_CHANGED";
inline const std::string EASY_WAKEUP_EVENT = "common.event.USER_EASY_WAKEUP_SLP_STATE_CHANGED";
inline const std::string NOT_CARE_CHARGE_EVENT = "common.event.USER_NOT_CARE_CHARGE_SLEEP";
// Statistics events: the deep-sleep state reports, and each observation's key features (its record
// time and Bayes result).
inline const std::string POWER_BRAIN_STATE_EVENT = "POWER_BRAIN_STATE";
inline const std::string KEY_FEATURE_EVENT = "SLEEP_KEY_FEATURE";

// Host messages: an observation is due, a training finished, and the verdicts sent after an
// observation.
constexpr int32_t OBSERVATION_MESSAGE = 2000;
constexpr int32_t TRAINING_FINISHED_MESSAGE = 2001;
constexpr int32_t VERDICT_AWAKE = 2002;
constexpr int32_t VERDICT_ASLEEP = 2003;
constexpr int32_t VERDICT_LIGHT = 2004;

// The states the plug-in publishes, in the order of kPublishedStates.
enum class PublishedState { DEEP, LIGHT, EASY_WAKEUP, NOT_CARE_CHARGE };
constexpr size_t kPublishedStateCount = 4;

enum class FactKind {
    NONE,             // nothing any summary reads
    STATE,            // a published state turned on or off
    DEEP_STOP_REASON, // why deep sleep stopped (a negative code)
    TRAINING,         // a training finished
    OBSERVATION,      // an observation was due
    VERDICT,          // a verdict was sent after the observation of the same time
    KEY_FEATURE,      // the Bayes result of an observation's record
    TRUTH,            // the person fell asleep or woke up
};

// What one timeline line says to everything that summarises a run or a night, so that every
// summary reads a line the same way.
struct TimelineFact {
    FactKind kind = FactKind::NONE;
    int64_t timeMs = 0;
    PublishedState state = PublishedState::DEEP; // STATE
    bool on = false;      // STATE: the state is on; TRAINING: it succeeded; TRUTH: the person is asleep
    int64_t number = -1;  // STATE: the wake-up time announced with a deep start (-1 when none);
                          // DEEP_STOP_REASON: the code; VERDICT: its message id; KEY_FEATURE: the
                          // observation's record time
    int32_t result = -1;  // KEY_FEATURE: the Bayes result
};

// The fact of one timeline line; kind NONE for a line no summary reads, or one of unknown shape.
TimelineFact ReadTimelineFact(const TimelineLine& line);

// Whether a summary reads the parameters of statistics events of this name (the deep-sleep state
// reports and the key features); of the others it reads nothing, so the run need not parse them.
bool IsReadSystemEvent(const std::string& name);
// Whether a summary reads the want of host messages of this id (finished trainings); of the others
// it reads only the id.
bool IsReadMessageWant(int32_t messageId);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TIMELINE_FACTS_H
