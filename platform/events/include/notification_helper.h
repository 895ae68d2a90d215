#ifndef PLATFORM_INCLUDE_NOTIFICATION_HELPER_H
#define PLATFORM_INCLUDE_NOTIFICATION_HELPER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "call_fault.h"
#include "notification_subscriber.h"

namespace OHOS::AppExecFwk {
class EventHandler;
} // namespace OHOS::AppExecFwk

namespace OHOS::Notification {

// Result codes of the notification service (0 is success).
constexpr int32_t ERR_ANS_SERVICE_NOT_READY = 1600001; // the service was made to fail
constexpr int32_t ERR_ANS_NOT_SUBSCRIBED = 1600002;    // unsubscribing a subscriber that is not subscribed

// The client side of the notification service. Thread-safe.
class NotificationHelper {
public:
    // Starts delivering every notification and badge change to `subscriber` until it is
    // unsubscribed or destroyed. Subscribing it again changes nothing and succeeds.
    // Returns 0, or ERR_ANS_SERVICE_NOT_READY when subscribing was made to fail.
    static int32_t SubscribeNotification(const NotificationSubscriber& subscriber);
    // Stops delivery to `subscriber`. Returns 0, ERR_ANS_NOT_SUBSCRIBED when it was not subscribed,
    // or ERR_ANS_SERVICE_NOT_READY when unsubscribing was made to fail (it then stays subscribed).
    static int32_t UnSubscribeNotification(const NotificationSubscriber& subscriber);
};

} // namespace OHOS::Notification

namespace OHOS::Emulator {

// The service's handle on one subscriber: outlives it, so that a delivery already queued for a
// subscriber that has since been destroyed finds nothing and does nothing.
class SubscriberLink {
public:
    explicit SubscriberLink(Notification::NotificationSubscriber* subscriber) : subscriber_(subscriber) {}
    // Calls `callback` on the subscriber if it still exists.
    void Deliver(const std::function<void(Notification::NotificationSubscriber&)>& callback);
    // Called by the subscriber's destructor: later deliveries do nothing.
    void Detach();

private:
    std::mutex mutex_;
    Notification::NotificationSubscriber* subscriber_;
};

// The simulated notification service: who is subscribed, and the phone's applications posting
// notifications and changing badges. Callbacks are delivered as tasks on the handler set with
// SetHandler, at the virtual time they are due, to the subscribers subscribed when they run;
// without a handler they are delivered at once on the calling thread. Thread-safe.
class NotificationCenter {
public:
    static NotificationCenter& GetInstance();

    // The loop that delivers callbacks (e.g. the host's virtual handler); nullptr: deliver at once.
    void SetHandler(std::shared_ptr<AppExecFwk::EventHandler> handler);

    // An application posts a notification, delivered at `deliveryTimeMs` (at once if that has
    // passed) to OnConsumed, with that time as the request's delivery time. Returns its id.
    int32_t PostNotification(const std::string& bundleName, int64_t deliveryTimeMs);
    // An application's badge number changes at `atTimeMs` (at once if that has passed): OnBadgeChanged.
    void ChangeBadge(const std::string& bundleName, int32_t badgeNumber, int64_t atTimeMs);

    // Fault switches: every following subscribe / unsubscribe fails until cleared.
    void SetSubscribeFails(bool fails);
    void SetUnsubscribeFails(bool fails);
    // Makes the nth subscribe from now fail, and with `persistent` every later one; restarts the
    // count. nth <= 0 disarms.
    void FailNthSubscribe(int nth, bool persistent);
    // Subscribe calls counted since the last FailNthSubscribe or Reset.
    int SubscribeCallCount() const;

    bool IsSubscribed(const Notification::NotificationSubscriber& subscriber) const;
    size_t SubscriberCount() const;
    // Forgets subscribers and handler, clears the fault switches and restarts notification ids.
    void Reset();

    // Called by NotificationHelper and the subscriber's destructor.
    int32_t Subscribe(const Notification::NotificationSubscriber& subscriber);
    int32_t Unsubscribe(const Notification::NotificationSubscriber& subscriber);
    void Forget(const std::shared_ptr<SubscriberLink>& link);

private:
    using Delivery = std::function<void(Notification::NotificationSubscriber&)>;
    NotificationCenter() = default;
    // Runs `task` at `atTimeMs` on the handler, or at once without one.
    void RunAt(int64_t atTimeMs, std::function<void()> task);
    // Delivers to every subscriber subscribed when the delivery runs.
    void DeliverToAllAt(int64_t atTimeMs, const Delivery& delivery);
    std::vector<std::shared_ptr<SubscriberLink>> SubscribedLinks() const;

    mutable std::mutex mutex_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::vector<std::shared_ptr<SubscriberLink>> links_;
    CallFault subscribeFault_;
    bool unsubscribeFails_ = false;
    int32_t nextNotificationId_ = 1;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_NOTIFICATION_HELPER_H
