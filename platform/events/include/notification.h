#ifndef PLATFORM_INCLUDE_NOTIFICATION_H
#define PLATFORM_INCLUDE_NOTIFICATION_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// The value types that the notification service hands to its subscribers. Plain values: copyable,
// not synchronised.

namespace OHOS::Notification {

// What an application asked to show: an id and the time the service delivered it.
class NotificationRequest {
public:
    NotificationRequest() = default;
    explicit NotificationRequest(int32_t notificationId) : notificationId_(notificationId) {}

    void SetNotificationId(int32_t notificationId) { notificationId_ = notificationId; }
    int32_t GetNotificationId() const { return notificationId_; }
    // Wall-clock ms since the epoch at which the notification was delivered (0 when never set).
    void SetDeliveryTime(int64_t deliveryTimeMs) { deliveryTime_ = deliveryTimeMs; }
    int64_t GetDeliveryTime() const { return deliveryTime_; }

private:
    int32_t notificationId_ = 0;
    int64_t deliveryTime_ = 0;
};

// A posted notification: the request and the bundle (application) that posted it.
class Notification {
public:
    Notification() = default;
    Notification(std::string bundleName, const NotificationRequest& request)
        : bundleName_(std::move(bundleName)), request_(request)
    {
    }

    // Empty when the poster is unknown.
    const std::string& GetBundleName() const { return bundleName_; }
    const NotificationRequest& GetNotificationRequest() const { return request_; }

private:
    std::string bundleName_;
    NotificationRequest request_;
};

// An application's badge number changed. Carries no time of its own.
class BadgeNumberCallbackData {
public:
    BadgeNumberCallbackData() = default;
    BadgeNumberCallbackData(std::string bundle, int32_t uid, int32_t badgeNumber)
        : bundle_(std::move(bundle)), uid_(uid), badgeNumber_(badgeNumber)
    {
    }

    const std::string& GetBundle() const { return bundle_; }
    int32_t GetUid() const { return uid_; }
    int32_t GetBadgeNumber() const { return badgeNumber_; }

private:
    std::string bundle_;
    int32_t uid_ = 0;
    int32_t badgeNumber_ = 0;
};

// The order of the notifications currently shown, by notification key.
class NotificationSortingMap {
public:
    NotificationSortingMap() = default;
    explicit NotificationSortingMap(std::vector<std::string> keys) : keys_(std::move(keys)) {}
    const std::vector<std::string>& GetKey() const { return keys_; }

private:
    std::vector<std::string> keys_;
};

// A do-not-disturb period, wall-clock ms.
class NotificationDoNotDisturbDate {
public:
    NotificationDoNotDisturbDate() = default;
    NotificationDoNotDisturbDate(int64_t beginDateMs, int64_t endDateMs) : beginDate_(beginDateMs), endDate_(endDateMs)
    {
    }
    int64_t GetBeginDate() const { return beginDate_; }
    int64_t GetEndDate() const { return endDate_; }

private:
    int64_t beginDate_ = 0;
    int64_t endDate_ = 0;
};

// An application's notifications (or badges) were switched on or off.
class EnabledNotificationCallbackData {
public:
    EnabledNotificationCallbackData() = default;
    EnabledNotificationCallbackData(std::string bundle, int32_t uid, bool enable)
        : bundle_(std::move(bundle)), uid_(uid), enable_(enable)
    {
    }
    const std::string& GetBundle() const { return bundle_; }
    int32_t GetUid() const { return uid_; }
    bool GetEnable() const { return enable_; }

private:
    std::string bundle_;
    int32_t uid_ = 0;
    bool enable_ = false;
};

} // namespace OHOS::Notification

#endif // PLATFORM_INCLUDE_NOTIFICATION_H
