#ifndef TESTS_SUPPORT_DEPENDENT_MESSAGES_H
#define TESTS_SUPPORT_DEPENDENT_MESSAGES_H

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::Sim {

// What a platform subscription feeds the plug-in, read from a run's timeline, so that a run whose
// subscription failed for a while can be compared with a clean one once the fault is cleared.
struct SubscriptionFeed {
    std::string faultClass;    // "notification_subscribe", "movement_subscribe", "sensor_subscribe"...
    std::vector<int> messages;           // the host messages that exist only while subscribed
    std::vector<std::string> parameters; // the parameters compared (empty: all)
};

// The feed of a platform fault class, or nullptr when the class subscribes to nothing.
const SubscriptionFeed* FeedOf(const std::string& faultClass);

// The next occasion after `clearedMs` at which the plug-in subscribes again: notifications at the
// first end of a deep sleep (the recording period opens), movement at the first screen-off after
// an unlock (the unlock clears its flag), sensors at once (every observation subscribes them).
int64_t NextSubscriptionOccasion(const std::string& timelinePath, const std::string& faultClass, int64_t clearedMs);

// The feed's host messages at or after `fromMs`, each as its time and parameters in text.
std::vector<std::string> FeedMessages(const std::string& timelinePath, const SubscriptionFeed& feed, int64_t fromMs);

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_DEPENDENT_MESSAGES_H
