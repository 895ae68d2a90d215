#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "event_handler.h"
#include "notification_helper.h"
#include "standby_notification_subscriber.h"
#include "standby_service_impl.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int64_t kStartMs = 1710169200000;

class StandbyNotificationSubscriberTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        StandbyServiceImpl::GetInstance()->Reset();
        StandbyServiceImpl::GetInstance()->SetHandler(handler_);
        StandbyServiceImpl::GetInstance()->SetMessageObserver([this](const StandbyMessage& message) {
            const AAFwk::Want want = message.want.value_or(AAFwk::Want()); // a missing Want shows as timestamp -1
            messages_.emplace_back(
                message.eventId, message.action, want.GetLongParam("timestamp", -1), want.GetStringParam("pkg"));
        });
        Emulator::NotificationCenter::GetInstance().Reset();
        Emulator::NotificationCenter::GetInstance().SetHandler(handler_);
    }
    void TearDown() override
    {
        Emulator::NotificationCenter::GetInstance().Reset();
        StandbyServiceImpl::GetInstance()->Reset();
    }

    Emulator::ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<AppExecFwk::EventHandler> handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
    // Event id, action, timestamp and package of every message the host received.
    std::vector<std::tuple<int32_t, std::string, int64_t, std::string>> messages_;
};

// Messages reach the host (no strategy needs to be registered: the subscriber filters nothing).
TEST_F(StandbyNotificationSubscriberTest, NotificationsAndBadgesBecomeHostMessages)
{
    StandbyNotificationSubscriber subscriber;
    ASSERT_EQ(Notification::NotificationHelper::SubscribeNotification(subscriber), 0);
    auto& center = Emulator::NotificationCenter::GetInstance();
    center.PostNotification("com.example.mail", kStartMs + 1000);
    center.PostNotification("", kStartMs + 2000);
    center.ChangeBadge("com.example.chat", 0, kStartMs + 3000);
    handler_->FastForwardBy(5000);
    EXPECT_EQ(messages_, (decltype(messages_){{2007, "", kStartMs + 1000, "com.example.mail"},
                             {2007, "", kStartMs + 2000, ""}, {2008, "", kStartMs + 3000, "com.example.chat"}}));
}

TEST_F(StandbyNotificationSubscriberTest, DeliveryTimeNotArrivalTimeIsTheTimestamp)
{
    StandbyNotificationSubscriber subscriber;
    Notification::NotificationRequest request(7);
    request.SetDeliveryTime(kStartMs - 60000);
    subscriber.OnConsumed(std::make_shared<Notification::Notification>("pkg", request));
    subscriber.OnConsumed(nullptr);
    subscriber.OnBadgeChanged(nullptr);
    handler_->RunUntilIdle();
    EXPECT_EQ(messages_, (decltype(messages_){{2007, "", kStartMs - 60000, "pkg"}}));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
