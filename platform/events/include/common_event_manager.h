#ifndef PLATFORM_INCLUDE_COMMON_EVENT_MANAGER_H
#define PLATFORM_INCLUDE_COMMON_EVENT_MANAGER_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "want.h"

namespace OHOS::EventFwk {

// The names of the system's common events.
class CommonEventSupport {
public:
    static const std::string COMMON_EVENT_SCREEN_ON;
    static const std::string COMMON_EVENT_SCREEN_OFF;
    static const std::string COMMON_EVENT_SCREEN_UNLOCKED;
    static const std::string COMMON_EVENT_BOOT_COMPLETED;
    static const std::string COMMON_EVENT_POWER_CONNECTED;
    static const std::string COMMON_EVENT_POWER_DISCONNECTED;
    static const std::string COMMON_EVENT_CALL_STATE_CHANGED;
    static const std::string COMMON_EVENT_USER_SWITCHED;
    static const std::string COMMON_EVENT_USER_STOPPING;
};

// One event: a Want (whose action is the event name), a code and a data string.
class CommonEventData {
public:
    CommonEventData() = default;
    explicit CommonEventData(const AAFwk::Want& want);
    CommonEventData(const AAFwk::Want& want, int32_t code, const std::string& data);
    void SetWant(const AAFwk::Want& want);
    const AAFwk::Want& GetWant() const;
    void SetCode(int32_t code);
    int32_t GetCode() const;
    void SetData(const std::string& data);
    const std::string& GetData() const;

private:
    AAFwk::Want want_;
    int32_t code_ = 0;
    std::string data_;
};

// How an event is published: the permissions a subscriber must hold (all of them) to receive it.
class CommonEventPublishInfo {
public:
    void SetSubscriberPermissions(const std::vector<std::string>& permissions);
    const std::vector<std::string>& GetSubscriberPermissions() const;
    void SetOrdered(bool ordered);
    bool IsOrdered() const;
    void SetSticky(bool sticky);
    bool IsSticky() const;

private:
    std::vector<std::string> permissions_;
    bool ordered_ = false;
    bool sticky_ = false;
};

class CommonEventManager {
public:
    // Hands the event to every subscriber of its action that holds all required permissions.
    // Returns false when publishing was made to fail (CommonEventBus::SetPublishFails).
    static bool PublishCommonEvent(const CommonEventData& data, const CommonEventPublishInfo& publishInfo);
};

} // namespace OHOS::EventFwk

namespace OHOS::Emulator {

// The in-process event bus behind CommonEventManager. Delivery is synchronous, on the publishing
// thread, to subscribers in subscription order. Thread-safe; a callback must not subscribe or
// unsubscribe.
class CommonEventBus {
public:
    using Callback = std::function<void(const EventFwk::CommonEventData&)>;
    static CommonEventBus& GetInstance();

    // Receives events whose action is in `events` (all events when empty), provided the subscriber
    // holds every permission the publisher requires. Returns an id for Unsubscribe.
    int32_t Subscribe(
        const std::vector<std::string>& events, const std::vector<std::string>& heldPermissions, Callback callback);
    void Unsubscribe(int32_t id);
    // Makes every following publish fail (return false, deliver nothing) until cleared.
    void SetPublishFails(bool fails);
    // Makes the nth publish from now fail, and with `persistent` every later one; restarts the
    // count. nth <= 0 disarms.
    void FailNthPublish(int nth, bool persistent);
    // Publish calls counted since the last FailNthPublish or Reset.
    int PublishCallCount() const;
    // Drops all subscribers and clears the failure switch.
    void Reset();
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_COMMON_EVENT_MANAGER_H
