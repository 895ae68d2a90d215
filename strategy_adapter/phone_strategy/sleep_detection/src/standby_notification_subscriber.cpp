#include "standby_notification_subscriber.h"

#include <string>

#include "standby_message.h"
#include "standby_service_impl.h"
#include "time_provider_ext.h"
#include "want.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int32_t kNotificationPostedEvent = 2007;
constexpr int32_t kBadgeChangedEvent = 2008;

void DispatchNotificationMessage(int32_t eventId, int64_t timestamp, const std::string& pkg)
{
    AAFwk::Want want;
    want.SetParam("timestamp", timestamp);
    want.SetParam("pkg", pkg);
    StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(eventId, "", want));
}

} // namespace

void StandbyNotificationSubscriber::OnCanceled(const std::shared_ptr<OHOS::Notification::Notification>&,
    const std::shared_ptr<OHOS::Notification::NotificationSortingMap>&, int32_t)
{
}

void StandbyNotificationSubscriber::OnConnected() {}

void StandbyNotificationSubscriber::OnConsumed(const std::shared_ptr<OHOS::Notification::Notification>& notification)
{
    if (notification == nullptr) {
        return;
    }
    DispatchNotificationMessage(kNotificationPostedEvent, notification->GetNotificationRequest().GetDeliveryTime(),
        notification->GetBundleName());
}

void StandbyNotificationSubscriber::OnDisconnected() {}

void StandbyNotificationSubscriber::OnUpdate(const std::shared_ptr<OHOS::Notification::NotificationSortingMap>&) {}

void StandbyNotificationSubscriber::OnDied() {}

void StandbyNotificationSubscriber::OnDoNotDisturbDateChange(
    const std::shared_ptr<OHOS::Notification::NotificationDoNotDisturbDate>&)
{
}

void StandbyNotificationSubscriber::OnEnabledNotificationChanged(
    const std::shared_ptr<OHOS::Notification::EnabledNotificationCallbackData>&)
{
}

void StandbyNotificationSubscriber::OnBadgeChanged(
    const std::shared_ptr<OHOS::Notification::BadgeNumberCallbackData>& badgeData)
{
    if (badgeData == nullptr) {
        return;
    }
    DispatchNotificationMessage(kBadgeChangedEvent, TimeProviderExt::GetCurMsecTimestamp(), badgeData->GetBundle());
}

void StandbyNotificationSubscriber::OnBadgeEnabledChanged(
    const std::shared_ptr<OHOS::Notification::EnabledNotificationCallbackData>&)
{
}

void StandbyNotificationSubscriber::OnBatchCanceled(
    const std::vector<std::shared_ptr<OHOS::Notification::Notification>>&,
    const std::shared_ptr<OHOS::Notification::NotificationSortingMap>&, int32_t)
{
}

} // namespace OHOS::DevStandbyMgr
