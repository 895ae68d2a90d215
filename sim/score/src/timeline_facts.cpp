#include "timeline_facts.h"

namespace OHOS::Sim {

namespace {

constexpr int64_t kDeepSleepReportType = 100;

struct StateAction {
    const std::string& action;
    PublishedState state;
};

const StateAction kStateActions[kPublishedStateCount] = {{DEEP_SLEEP_EVENT, PublishedState::DEEP},
    {LIGHT_SLEEP_EVENT, PublishedState::LIGHT}, {EASY_WAKEUP_EVENT, PublishedState::EASY_WAKEUP},
    {NOT_CARE_CHARGE_EVENT, PublishedState::NOT_CARE_CHARGE}};

const TimelineLine* Member(const TimelineLine& object, const char* key)
{
    if (!object.is_object()) {
        return nullptr;
    }
    const auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

std::string StringMember(const TimelineLine& object, const char* key)
{
    const TimelineLine* member = Member(object, key);
    return member != nullptr && member->is_string() ? member->get<std::string>() : std::string();
}

int64_t IntegerMember(const TimelineLine& object, const char* key, int64_t fallback)
{
    const TimelineLine* member = Member(object, key);
    return member != nullptr && member->is_number_integer() ? member->get<int64_t>() : fallback;
}

bool FlagMember(const TimelineLine& object, const char* key)
{
    const TimelineLine* member = Member(object, key);
    return member != nullptr && member->is_boolean() && member->get<bool>();
}

// The "params" of a line's "want", or null.
const TimelineLine* WantParams(const TimelineLine& line)
{
    const TimelineLine* want = Member(line, "want");
    return want == nullptr ? nullptr : Member(*want, "params");
}

TimelineFact PublishedFact(const TimelineLine& line, TimelineFact fact)
{
    const std::string action = StringMember(line, "action");
    const TimelineLine* params = WantParams(line);
    for (const StateAction& known : kStateActions) {
        if (action == known.action && params != nullptr) {
            fact.kind = FactKind::STATE;
            fact.state = known.state;
            fact.on = FlagMember(*params, "isSleep");
            fact.number = IntegerMember(*params, "wakeupTime", -1);
        }
    }
    return fact;
}

TimelineFact MessageFact(const TimelineLine& line, TimelineFact fact)
{
    const int64_t id = IntegerMember(line, "id", 0);
    if (id == OBSERVATION_MESSAGE) {
        fact.kind = FactKind::OBSERVATION;
    } else if (id == TRAINING_FINISHED_MESSAGE) {
        const TimelineLine* params = WantParams(line);
        fact.kind = FactKind::TRAINING;
        fact.on = params != nullptr && FlagMember(*params, "isTrainSuccess");
    } else if (id >= VERDICT_AWAKE && id <= VERDICT_LIGHT) {
        fact.kind = FactKind::VERDICT;
        fact.number = id;
    }
    return fact;
}

TimelineFact SystemEventFact(const TimelineLine& line, TimelineFact fact)
{
    const std::string name = StringMember(line, "name");
    const TimelineLine* params = Member(line, "params");
    if (params == nullptr || !params->is_object()) {
        return fact;
    }
    const int64_t value = IntegerMember(*params, "VALUE", 0);
    if (name == POWER_BRAIN_STATE_EVENT && IntegerMember(*params, "TYPE", 0) == kDeepSleepReportType && value < 0) {
        fact.kind = FactKind::DEEP_STOP_REASON;
        fact.number = value;
    } else if (name == KEY_FEATURE_EVENT) {
        fact.kind = FactKind::KEY_FEATURE;
        fact.number = IntegerMember(*params, "RECORD_TIMESTAMP", -1);
        fact.result = static_cast<int32_t>(IntegerMember(*params, "BAYES_RESULT", -1));
    }
    return fact;
}

} // namespace

TimelineFact ReadTimelineFact(const TimelineLine& line)
{
    TimelineFact fact;
    fact.timeMs = IntegerMember(line, "t", 0);
    const std::string type = StringMember(line, "type");
    if (type == TIMELINE_COMMON_EVENT) {
        return PublishedFact(line, fact);
    }
    if (type == TIMELINE_HOST_MESSAGE) {
        return MessageFact(line, fact);
    }
    if (type == TIMELINE_SYSTEM_EVENT) {
        return SystemEventFact(line, fact);
    }
    if (type == TIMELINE_TRUTH) {
        fact.kind = FactKind::TRUTH;
        fact.on = StringMember(line, "what") == "asleep";
    }
    return fact;
}

bool IsReadSystemEvent(const std::string& name)
{
    return name == POWER_BRAIN_STATE_EVENT || name == KEY_FEATURE_EVENT;
}

bool IsReadMessageWant(int32_t messageId)
{
    return messageId == TRAINING_FINISHED_MESSAGE;
}

} // namespace OHOS::Sim
