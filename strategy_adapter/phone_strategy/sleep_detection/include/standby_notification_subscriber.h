#ifndef SLEEP_DETECTION_INCLUDE_STANDBY_NOTIFICATION_SUBSCRIBER_H
#define SLEEP_DETECTION_INCLUDE_STANDBY_NOTIFICATION_SUBSCRIBER_H

#include <memory>
#include <vector>

#include "notification_subscriber.h"

namespace OHOS::DevStandbyMgr {

// Turns the notification service's callbacks into host messages: a posted notification becomes
// message 2007, a badge change message 2008, each with "timestamp" and "pkg". Filters nothing;
// the strategy decides whether it listens. Callbacks may come on any thread: they only dispatch.
class StandbyNotificationSubscriber : public OHOS::Notification::NotificationSubscriber {
public:
    StandbyNotificationSubscriber() = default;
    ~StandbyNotificationSubscriber() override = default;

    void OnCanceled(const std::shared_ptr<OHOS::Notification::Notification>& request,
        const std::shared_ptr<OHOS::Notification::NotificationSortingMap>& sortingMap, int32_t deleteReason) override;
    void OnConnected() override;
    // Dispatches 2007 with the request's delivery time and the notification's bundle name.
    void OnConsumed(const std::shared_ptr<OHOS::Notification::Notification>& notification) override;
    void OnDisconnected() override;
    void OnUpdate(const std::shared_ptr<OHOS::Notification::NotificationSortingMap>& sortingMap) override;
    void OnDied() override;
    void OnDoNotDisturbDateChange(
        const std::shared_ptr<OHOS::Notification::NotificationDoNotDisturbDate>& date) override;
    void OnEnabledNotificationChanged(
        const std::shared_ptr<OHOS::Notification::EnabledNotificationCallbackData>& callbackData) override;
    // Dispatches 2008 with the current time (the callback carries none) and the badge's bundle.
    void OnBadgeChanged(const std::shared_ptr<OHOS::Notification::BadgeNumberCallbackData>& badgeData) override;
    void OnBadgeEnabledChanged(
        const std::shared_ptr<OHOS::Notification::EnabledNotificationCallbackData>& callbackData) override;
    void OnBatchCanceled(const std::vector<std::shared_ptr<OHOS::Notification::Notification>>& requestList,
        const std::shared_ptr<OHOS::Notification::NotificationSortingMap>& sortingMap, int32_t deleteReason) override;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_STANDBY_NOTIFICATION_SUBSCRIBER_H
