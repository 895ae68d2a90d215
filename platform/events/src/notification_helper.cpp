#include "notification_helper.h"

#include <algorithm>
#include <utility>

#include "event_handler.h"
#include "time_service_client.h"

namespace OHOS::Notification {

int32_t NotificationHelper::SubscribeNotification(const NotificationSubscriber& subscriber)
{
    return Emulator::NotificationCenter::GetInstance().Subscribe(subscriber);
}

int32_t NotificationHelper::UnSubscribeNotification(const NotificationSubscriber& subscriber)
{
    return Emulator::NotificationCenter::GetInstance().Unsubscribe(subscriber);
}

} // namespace OHOS::Notification

namespace OHOS::Emulator {

using Notification::NotificationSubscriber;

void SubscriberLink::Deliver(const std::function<void(NotificationSubscriber&)>& callback)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (subscriber_ != nullptr) {
        callback(*subscriber_);
    }
}

void SubscriberLink::Detach()
{
    std::lock_guard<std::mutex> lock(mutex_);
    subscriber_ = nullptr;
}

NotificationCenter& NotificationCenter::GetInstance()
{
    // Never destroyed: subscribers held by other statics forget themselves here at exit.
    static NotificationCenter* center = new NotificationCenter();
    return *center;
}

void NotificationCenter::SetHandler(std::shared_ptr<AppExecFwk::EventHandler> handler)
{
    std::lock_guard<std::mutex> lock(mutex_);
    handler_ = std::move(handler);
}

int32_t NotificationCenter::PostNotification(const std::string& bundleName, int64_t deliveryTimeMs)
{
    int32_t notificationId = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        notificationId = nextNotificationId_++;
    }
    Notification::NotificationRequest request(notificationId);
    request.SetDeliveryTime(deliveryTimeMs);
    auto notification = std::make_shared<Notification::Notification>(bundleName, request);
    DeliverToAllAt(
        deliveryTimeMs, [notification](NotificationSubscriber& subscriber) { subscriber.OnConsumed(notification); });
    return notificationId;
}

void NotificationCenter::ChangeBadge(const std::string& bundleName, int32_t badgeNumber, int64_t atTimeMs)
{
    constexpr int32_t kSimulatedUid = 20010000;
    auto badge = std::make_shared<Notification::BadgeNumberCallbackData>(bundleName, kSimulatedUid, badgeNumber);
    DeliverToAllAt(atTimeMs, [badge](NotificationSubscriber& subscriber) { subscriber.OnBadgeChanged(badge); });
}

void NotificationCenter::SetSubscribeFails(bool fails)
{
    std::lock_guard<std::mutex> lock(mutex_);
    subscribeFault_.SetAlways(fails);
}

void NotificationCenter::SetUnsubscribeFails(bool fails)
{
    std::lock_guard<std::mutex> lock(mutex_);
    unsubscribeFails_ = fails;
}

void NotificationCenter::FailNthSubscribe(int nth, bool persistent)
{
    subscribeFault_.FailNth(nth, persistent);
}

int NotificationCenter::SubscribeCallCount() const
{
    return subscribeFault_.Calls();
}

bool NotificationCenter::IsSubscribed(const NotificationSubscriber& subscriber) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::find(links_.begin(), links_.end(), subscriber.GetLink()) != links_.end();
}

size_t NotificationCenter::SubscriberCount() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return links_.size();
}

void NotificationCenter::Reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    handler_.reset();
    links_.clear();
    subscribeFault_.Reset();
    unsubscribeFails_ = false;
    nextNotificationId_ = 1;
}

int32_t NotificationCenter::Subscribe(const NotificationSubscriber& subscriber)
{
    auto link = subscriber.GetLink();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (subscribeFault_.OnCall()) {
            return Notification::ERR_ANS_SERVICE_NOT_READY;
        }
        if (std::find(links_.begin(), links_.end(), link) != links_.end()) {
            return 0;
        }
        links_.push_back(link);
    }
    int64_t now = MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs();
    RunAt(now, [link]() { link->Deliver([](NotificationSubscriber& target) { target.OnConnected(); }); });
    return 0;
}

int32_t NotificationCenter::Unsubscribe(const NotificationSubscriber& subscriber)
{
    auto link = subscriber.GetLink();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (unsubscribeFails_) {
            return Notification::ERR_ANS_SERVICE_NOT_READY;
        }
        auto found = std::find(links_.begin(), links_.end(), link);
        if (found == links_.end()) {
            return Notification::ERR_ANS_NOT_SUBSCRIBED;
        }
        links_.erase(found);
    }
    int64_t now = MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs();
    RunAt(now, [link]() { link->Deliver([](NotificationSubscriber& target) { target.OnDisconnected(); }); });
    return 0;
}

void NotificationCenter::Forget(const std::shared_ptr<SubscriberLink>& link)
{
    std::lock_guard<std::mutex> lock(mutex_);
    links_.erase(std::remove(links_.begin(), links_.end(), link), links_.end());
}

void NotificationCenter::RunAt(int64_t atTimeMs, std::function<void()> task)
{
    std::shared_ptr<AppExecFwk::EventHandler> handler;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        handler = handler_;
    }
    if (handler == nullptr) {
        task();
        return;
    }
    int64_t now = MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs();
    handler->PostTask(task, "", std::max<int64_t>(0, atTimeMs - now));
}

void NotificationCenter::DeliverToAllAt(int64_t atTimeMs, const Delivery& delivery)
{
    RunAt(atTimeMs, [this, delivery]() {
        for (const auto& link : SubscribedLinks()) {
            link->Deliver(delivery);
        }
    });
}

std::vector<std::shared_ptr<SubscriberLink>> NotificationCenter::SubscribedLinks() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return links_;
}

} // namespace OHOS::Emulator
