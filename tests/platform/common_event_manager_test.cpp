#include "common_event_manager.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace OHOS::EventFwk {
namespace {

using Emulator::CommonEventBus;
using Received = std::map<std::string, std::vector<std::string>>;

constexpr const char* kPermission = "ohos.permission.PERCEIVE_SMART_POWER_SCENARIO";
constexpr const char* kOtherPermission = "ohos.permission.OTHER";
constexpr const char* kSleepEvent = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";

class CommonEventManagerTest : public testing::Test {
protected:
    void SetUp() override { CommonEventBus::GetInstance().Reset(); }
    void TearDown() override { CommonEventBus::GetInstance().Reset(); }

    int32_t Subscribe(
        const std::string& who, const std::vector<std::string>& events, const std::vector<std::string>& permissions)
    {
        return CommonEventBus::GetInstance().Subscribe(events, permissions, [this, who](const CommonEventData& data) {
            received_[who].push_back(
                data.GetWant().GetAction() + "/" + std::to_string(data.GetCode()) + "/" + data.GetData());
        });
    }

    static bool Publish(const std::string& action, const std::vector<std::string>& required)
    {
        AAFwk::Want want;
        want.SetAction(action);
        CommonEventPublishInfo info;
        info.SetSubscriberPermissions(required);
        return CommonEventManager::PublishCommonEvent(CommonEventData(want, 1, "sleep"), info);
    }

    Received received_;
};

TEST_F(CommonEventManagerTest, ProtectedEventReachesOnlySubscribersHoldingEveryRequiredPermission)
{
    Subscribe("holder", {kSleepEvent}, {kPermission});
    Subscribe("noPermission", {kSleepEvent}, {});
    Subscribe("otherEvent", {"common.event.OTHER"}, {kPermission});
    Subscribe("everything", {}, {kOtherPermission, kPermission});
    Subscribe("onlyOther", {kSleepEvent}, {kOtherPermission});

    ASSERT_TRUE(Publish(kSleepEvent, {kPermission}));
    const std::vector<std::string> one{std::string(kSleepEvent) + "/1/sleep"};
    EXPECT_EQ(received_, (Received{{"holder", one}, {"everything", one}}));

    received_.clear();
    ASSERT_TRUE(Publish(kSleepEvent, {kPermission, kOtherPermission}));
    EXPECT_EQ(received_, (Received{{"everything", one}}));
}

TEST_F(CommonEventManagerTest, FailingPublishAndUnsubscribedReceiversDeliverNothing)
{
    const int32_t gone = Subscribe("gone", {}, {});
    Subscribe("stays", {}, {});
    CommonEventBus::GetInstance().SetPublishFails(true);
    EXPECT_FALSE(Publish(kSleepEvent, {}));
    EXPECT_TRUE(received_.empty());

    CommonEventBus::GetInstance().SetPublishFails(false);
    CommonEventBus::GetInstance().Unsubscribe(gone);
    EXPECT_TRUE(Publish(CommonEventSupport::COMMON_EVENT_SCREEN_OFF, {}));
    EXPECT_EQ(
        received_, (Received{{"stays", {std::string(CommonEventSupport::COMMON_EVENT_SCREEN_OFF) + "/1/sleep"}}}));
}

} // namespace
} // namespace OHOS::EventFwk
