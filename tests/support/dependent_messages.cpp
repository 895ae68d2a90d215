#include "dependent_messages.h"

#include <algorithm>
#include <fstream>
#include <functional>

#include <nlohmann/json.hpp>

namespace OHOS::Sim {
namespace {

constexpr int kObservationMessage = 2000;
constexpr int kNotificationPostedMessage = 2007;
constexpr int kBadgeChangedMessage = 2008;
constexpr int kStartedMovingMessage = 2009;
// What an observation takes from the sensors at that moment (its other fields also carry what the
// collector remembers of earlier cycles, which a failed period changes for a while).
const std::vector<std::string> kSensorParameters = {"timestamp", "light"};
const std::string kDeepSleepAction = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";

// Calls `visit` with each parsed line of a timeline until it returns false.
void ForEachLine(const std::string& timelinePath, const std::function<bool(const nlohmann::json&)>& visit)
{
    std::ifstream in(timelinePath);
    for (std::string text; std::getline(in, text);) {
        const auto line = nlohmann::json::parse(text, nullptr, false);
        if (!line.is_discarded() && !visit(line)) {
            return;
        }
    }
}

bool IsHostAction(const nlohmann::json& line, const std::string& action)
{
    return line.value("type", "") == "host_message" && line.value("action", "") == action;
}

bool IsDeepSleepEnd(const nlohmann::json& line)
{
    return line.value("type", "") == "common_event" && line.value("action", "") == kDeepSleepAction &&
        !line["want"]["params"].value("isSleep", true);
}

// The parameters of a fed message that come from the subscription itself.
nlohmann::json ComparedParameters(const nlohmann::json& line, const SubscriptionFeed& feed)
{
    const nlohmann::json& want = line["want"];
    if (!want.is_object() || !want.contains("params")) {
        return nlohmann::json::object();
    }
    nlohmann::json compared = nlohmann::json::object();
    for (const auto& [key, value] : want["params"].items()) {
        if (feed.parameters.empty() || std::count(feed.parameters.begin(), feed.parameters.end(), key) > 0) {
            compared[key] = value;
        }
    }
    return compared;
}

} // namespace

const SubscriptionFeed* FeedOf(const std::string& faultClass)
{
    static const std::vector<SubscriptionFeed> feeds = {
        {"notification_subscribe", {kNotificationPostedMessage, kBadgeChangedMessage}, {}},
        {"movement_subscribe", {kStartedMovingMessage}, {}},
        {"sensor_subscribe", {kObservationMessage}, kSensorParameters},
        {"sensor_activate", {kObservationMessage}, kSensorParameters},
    };
    auto it = std::find_if(
        feeds.begin(), feeds.end(), [&faultClass](const SubscriptionFeed& feed) { return feed.faultClass == faultClass; });
    return it == feeds.end() ? nullptr : &*it;
}

int64_t NextSubscriptionOccasion(const std::string& timelinePath, const std::string& faultClass, int64_t clearedMs)
{
    int64_t occasion = INT64_MAX;
    bool unlocked = false;
    ForEachLine(timelinePath, [&](const nlohmann::json& line) {
        const int64_t t = line.value("t", int64_t{0});
        if (t < clearedMs) {
            return true;
        }
        if (faultClass == "notification_subscribe" && IsDeepSleepEnd(line)) {
            occasion = t;
        } else if (faultClass == "movement_subscribe") {
            unlocked = unlocked || IsHostAction(line, "usual.event.SCREEN_UNLOCKED");
            occasion = unlocked && IsHostAction(line, "usual.event.SCREEN_OFF") ? t : occasion;
        } else if (faultClass != "notification_subscribe" && faultClass != "movement_subscribe") {
            occasion = t;
        }
        return occasion == INT64_MAX;
    });
    return occasion;
}

std::vector<std::string> FeedMessages(const std::string& timelinePath, const SubscriptionFeed& feed, int64_t fromMs)
{
    std::vector<std::string> messages;
    ForEachLine(timelinePath, [&](const nlohmann::json& line) {
        const bool fed = line.value("type", "") == "host_message" &&
            std::count(feed.messages.begin(), feed.messages.end(), line.value("id", 0)) > 0;
        if (fed && line.value("t", int64_t{0}) >= fromMs) {
            messages.push_back(line.value("time", "") + " " + std::to_string(line.value("id", 0)) + " " +
                ComparedParameters(line, feed).dump());
        }
        return true;
    });
    return messages;
}

} // namespace OHOS::Sim
