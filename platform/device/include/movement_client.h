#ifndef PLATFORM_INCLUDE_MOVEMENT_CLIENT_H
#define PLATFORM_INCLUDE_MOVEMENT_CLIENT_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "refbase.h"

// The movement (device activity) service's client, backed by the simulated phone's still/move
// state (simulated_phone.h).

namespace OHOS::Msdp {

namespace MovementDataUtils {

// Movement types the service reports; only TYPE_STILL is simulated.
enum Type : int32_t {
    TYPE_INVALID = -1,
    TYPE_IN_VEHICLE = 0,
    TYPE_ON_FOOT = 1,
    TYPE_ON_BICYCLE = 2,
    TYPE_RELATIVE_STILL = 3,
    TYPE_STILL = 4,
};

// Which transitions a subscriber wants.
enum ActivityEvent : int32_t {
    EVENT_INVALID = 0,
    ENTER = 1,
    EXIT = 2,
    ENTER_EXIT = 3,
};

// The reported transition: the device entered or left the state of the type.
enum TypeValue : int32_t {
    INVALID = -1,
    VALUE_ENTER = 1,
    VALUE_EXIT = 2,
};

struct MovementData {
    Type type = TYPE_INVALID;
    TypeValue value = INVALID;
};

} // namespace MovementDataUtils

// What a subscriber implements.
class IMovementCallback {
public:
    virtual ~IMovementCallback() = default;
    virtual void OnMovementChanged(const MovementDataUtils::MovementData& data) = 0;
};

// Base of callbacks living in the subscriber's process (the remote-object stub on a phone).
class MovementCallbackStub : public IMovementCallback {};

// Subscriptions are kept by (type, event, callback identity). Changes of the phone's still/move
// state reach each matching subscriber as a task on the phone's event handler at the virtual time
// of the change (none while no handler is set); a subscription made while the phone is still is
// told VALUE_ENTER once, at the time of subscribing. Thread-safe.
class MovementClient {
public:
    static MovementClient& GetInstance();

    // Returns 0, or a failure code when the callback is null, the type is not TYPE_STILL, or the
    // service was made to refuse (PhoneFault::MOVEMENT_SUBSCRIBE). Subscribing the same callback
    // twice keeps one subscription.
    int32_t SubscribeCallback(int32_t type, int32_t event, int64_t latency, const sptr<IMovementCallback>& callback);
    // Returns 0, or a failure code when no such subscription exists or the service was made to
    // refuse (PhoneFault::MOVEMENT_UNSUBSCRIBE).
    int32_t UnsubscribeCallback(int32_t type, int32_t event, const sptr<IMovementCallback>& callback);

    // Emulator: number of live subscriptions; drop them all.
    size_t SubscriptionCount() const;
    void Reset();

private:
    MovementClient();
    struct Subscription {
        int32_t type;
        int32_t event;
        std::shared_ptr<IMovementCallback> callback;
    };
    void DeliverToSubscribers(MovementDataUtils::TypeValue value);
    bool IsSubscribed(const sptr<IMovementCallback>& callback) const;
    static bool Wants(int32_t event, MovementDataUtils::TypeValue value);

    mutable std::mutex mutex_;
    std::vector<Subscription> subscriptions_;
};

} // namespace OHOS::Msdp

#endif // PLATFORM_INCLUDE_MOVEMENT_CLIENT_H
