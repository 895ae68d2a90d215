#ifndef PLATFORM_INCLUDE_NOTIFICATION_SUBSCRIBER_H
#define PLATFORM_INCLUDE_NOTIFICATION_SUBSCRIBER_H

#include <cstdint>
#include <memory>
#include <vector>

#include "notification.h"

namespace OHOS::Emulator {
class SubscriberLink;
} // namespace OHOS::Emulator

namespace OHOS::Notification {

// What a client of the notification service implements to hear about notifications. Subscribed
// with NotificationHelper::SubscribeNotification; the callbacks then arrive on the service's
// delivery thread (on this machine: the loop set by Emulator::NotificationCenter::SetHandler).
// Destroying a subscriber ends its subscription; callbacks must not destroy their own subscriber.
class NotificationSubscriber {
public:
    NotificationSubscriber();
    virtual ~NotificationSubscriber();
    NotificationSubscriber(const NotificationSubscriber&) = delete;
    NotificationSubscriber& operator=(const NotificationSubscriber&) = delete;

    // A notification was removed, for `deleteReason`.
    virtual void OnCanceled(const std::shared_ptr<Notification>& request,
        const std::shared_ptr<NotificationSortingMap>& sortingMap, int32_t deleteReason) = 0;
    // The subscription became active.
    virtual void OnConnected() = 0;
    // A notification was posted.
    virtual void OnConsumed(const std::shared_ptr<Notification>& request) = 0;
    // The subscription ended.
    virtual void OnDisconnected() = 0;
    // The order of the shown notifications changed.
    virtual void OnUpdate(const std::shared_ptr<NotificationSortingMap>& sortingMap) = 0;
    // The notification service died.
    virtual void OnDied() = 0;
    virtual void OnDoNotDisturbDateChange(const std::shared_ptr<NotificationDoNotDisturbDate>& date) = 0;
    virtual void OnEnabledNotificationChanged(const std::shared_ptr<EnabledNotificationCallbackData>& callbackData) = 0;
    // An application's badge number changed.
    virtual void OnBadgeChanged(const std::shared_ptr<BadgeNumberCallbackData>& badgeData) = 0;
    virtual void OnBadgeEnabledChanged(const std::shared_ptr<EnabledNotificationCallbackData>& callbackData) = 0;
    // Several notifications were removed at once.
    virtual void OnBatchCanceled(const std::vector<std::shared_ptr<Notification>>& requestList,
        const std::shared_ptr<NotificationSortingMap>& sortingMap, int32_t deleteReason) = 0;

    // The service's handle on this subscriber (emulator plumbing; clients do not use it).
    std::shared_ptr<Emulator::SubscriberLink> GetLink() const { return link_; }

private:
    std::shared_ptr<Emulator::SubscriberLink> link_;
};

} // namespace OHOS::Notification

#endif // PLATFORM_INCLUDE_NOTIFICATION_SUBSCRIBER_H
